// Fuzzes the random-data pattern expander: any text must expand without an exception, with the
// text before the first "{" copied unchanged, and with output bounded by the repeat cap.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tools/cls_DBTool.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static rykel::cls_DBTool tool;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  tool.RANDOMIZE(static_cast<int64_t>(size));
  std::string out;
  tool.hRandomAppend(out, input, static_cast<int>(size % 12));
  const size_t open = input.find('{');
  if (open == std::string_view::npos) return 0;  // a field name: any value will do
  if (out.compare(0, open, input.substr(0, open)) != 0) std::abort();
  // A placeholder needs at least two bytes and yields at most kMaxRepeat values of a few
  // hundred bytes each.
  if (out.size() > size + size * rykel::cls_DBToolRandom::kMaxRepeat * 256) std::abort();
  return 0;
}
