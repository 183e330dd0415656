// Fuzzes the serialized-text reader: any input must give a clear error or a tree, and a tree
// must write and read back to the same text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "frame/Error.h"
#include "structure/cls_Structure.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool quiet = [] { return setenv("RYKEL_QUIET", "1", 1) == 0; }();
  (void)quiet;
  std::string_view text(reinterpret_cast<const char*>(data), size);
  if (text.substr(0, 2) == "QS") return 0;  // the compact form has its own target
  auto s = rykel::cls_Structure::New();
  try {
    s->UNSERIALIZE(text);
  } catch (const rykel::Error&) { return 0; }
  std::string once = s->SERIALIZE();
  auto again = rykel::cls_Structure::New();
  again->UNSERIALIZE(once);  // what we wrote must read: an error here is a crash
  if (again->SERIALIZE() != once) std::abort();
  return 0;
}
