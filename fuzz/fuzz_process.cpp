// Fuzzes PROCESS of the template interpreter: any template text must give an output text and
// never escape as an exception, crash or hang. Includes are confined to a temporary folder that
// holds a few templates (one that includes itself), so the fuzzer can reach INCLUDE without
// reading anything else on the machine.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "FuzzCommon.h"
#include "interpreter/cls_KEL.h"

namespace {
namespace fs = std::filesystem;

const std::string& Folder() {
  static const std::string dir = [] {
    std::string t = (fs::temp_directory_path() / "rykel_fuzz_kel_XXXXXX").string();
    std::string made = ::mkdtemp(t.data()) ? t : std::string();
    fs::create_directories(made + "/inc");
    fs::create_directories(made + "/pages");
    std::ofstream(made + "/inc/head.kel") << "<h1>{VAR:TITLE}</h1>";
    std::ofstream(made + "/inc/self.kel") << "x{INCLUDE self}";
    std::ofstream(made + "/pages/list.kel") << "{FOR i 1 3 1 {[{VAR:i}]}}";
    return made;
  }();
  return dir;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  rykel::fuzz::Quiet();
  rykel::cls_KEL k;
  k.DIRECTORIES->ADD(rykel::Variant(Folder()));
  k.SETTINGS->ITEM_LET("SYS.LOCATE.CONFINED", true);
  // small bounds keep one input fast; the bounds themselves are tested in the interpreter's tests
  k.SETTINGS->ITEM_LET("SYS.LOOP.MAX", 200);
  k.SETTINGS->ITEM_LET("SYS.STEPS.MAX", 5000);
  k.SETTINGS->ITEM_LET("SYS.OUTPUT.MAX", 64 << 10);
  k.VARIABLES->ITEM_LET("TITLE", "Start");
  std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string out = k.PROCESS(text, nullptr);
  (void)out;
  return 0;
}
