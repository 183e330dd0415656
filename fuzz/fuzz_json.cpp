// libFuzzer target for the JSON reader. Any input must either read or raise rykel::Error; what the
// writer makes of it must always read again, and after one more round the text must be stable
// (the first round may still merge names: "[2]" written for an unnamed item meets a name "[2]").
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "FuzzCommon.h"
#include "structure/cls_StructureManager.h"
#include "structure/mdl_StructureJson.h"

namespace {

std::string hRound(std::string_view pText) {
  auto s = rykel::mdl_StructureJson::Read(pText);
  return rykel::mdl_StructureJson::Write(*s->MANAGER_GET(), s->SID_GET(), -1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  rykel::fuzz::Quiet();
  std::string once;
  try {
    once = hRound(std::string_view(reinterpret_cast<const char*>(data), size));
  } catch (const rykel::Error&) { return 0; }
  const std::string twice = hRound(once);  // must not raise: the writer's output is valid JSON
  if (hRound(twice) != twice) __builtin_trap();
  return 0;
}
