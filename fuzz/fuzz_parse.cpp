// libFuzzer target for PARSE, the reader of the script form. Any input must either parse or raise
// rykel::Error; whatever parses must write back (SCRIPT) to a text that parses to the same script.
// The reader's quick way and its general way must give the same tree or the same error.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "frame/Error.h"
#include "structure/cls_Structure.h"
#include "structure/mdl_StructureScript.h"

namespace {

// The tree (SCRIPT) or the error and what was written before it.
std::string hRead(std::string_view text, bool quick) {
  auto s = rykel::cls_Structure::New();
  try {
    rykel::mdl_StructureScript::Parse(*s->MANAGER_GET(), s->SID_GET(), text, quick);
  } catch (const rykel::Error& e) { return e.description + "\n" + s->SCRIPT(); }
  return s->SCRIPT();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool quiet = [] {
    rykel::SetErrorPolicy([](const rykel::ErrorContext&) { return rykel::kDecisionRaise; });
    return true;
  }();
  (void)quiet;
  std::string_view text(reinterpret_cast<const char*>(data), size);
  if (hRead(text, true) != hRead(text, false)) __builtin_trap();
  auto s = rykel::cls_Structure::New();
  try {
    s->PARSE(text);
  } catch (const rykel::Error&) { return 0; }
  const std::string once = s->SCRIPT();  // must not raise: the reader keeps to the writer's depth
  auto again = rykel::cls_Structure::New();
  again->PARSE(once);  // must not raise: SCRIPT output is always valid
  if (again->SCRIPT() != once) __builtin_trap();
  return 0;
}
