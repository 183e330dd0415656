// Fuzzes the compact-form reader: any input must give a clear error or a tree, and a tree must
// come back equal (same pieces) through SERIALIZEBINARY and UNSERIALIZEBINARY.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "frame/Error.h"
#include "structure/cls_Structure.h"

namespace {
std::vector<std::string> Pieces(rykel::cls_Structure& s) {
  std::vector<std::string> out;
  int64_t at = 0;
  s.SERIALIZEBINARYBUFFER(out, at);
  return out;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool quiet = [] { return setenv("RYKEL_QUIET", "1", 1) == 0; }();
  (void)quiet;
  std::string text = "QS1:";
  text.append(reinterpret_cast<const char*>(data), size);
  auto s = rykel::cls_Structure::New();
  try {
    s->UNSERIALIZEBINARY(text);
  } catch (const rykel::Error&) { return 0; }
  auto again = rykel::cls_Structure::New();
  again->UNSERIALIZEBINARY(s->SERIALIZEBINARY());
  if (Pieces(*again) != Pieces(*s)) std::abort();
  // the serialized text must be writable too (it may fail only on depth, never crash)
  try {
    s->SERIALIZE();
  } catch (const rykel::Error&) {}
  return 0;
}
