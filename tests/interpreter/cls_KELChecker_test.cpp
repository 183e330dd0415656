// The template check (cls_KEL::CHECK). tests/check/broken holds one template per mistake, NAME.kel,
// and beside it NAME.expected with the findings it must give ("NAME.kel:line:column: message"); the
// templates of the examples, the demo and the benchmarks must give none.
#include <gtest/gtest.h>

#include <filesystem>

#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModule.h"
#include "interpreter/cls_KELModules.h"
#include "modules/mod_KELDB.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

namespace fs = std::filesystem;

// An interpreter as `rykel check -d DIR` sets one up.
std::shared_ptr<cls_KEL> hKel(const fs::path& pDir) {
  auto k = std::make_shared<cls_KEL>();
  k->MODULES->ADD(std::make_shared<mod_KELDB>());
  k->DIRECTORIES->ADD(pDir.string() + "/");
  return k;
}

std::string hFindings(cls_KEL& k, std::string_view pText, std::string_view pFile = {}) {
  std::string out;
  for (const auto& f : k.CHECK(pText, pFile)) out += f.Text() + "\n";
  return out;
}

TEST(cls_KELChecker, EachBrokenTemplateGivesItsFinding) {
  const fs::path dir = fs::path(SourceDir()) / "tests/check/broken";
  int files = 0;
  for (const auto& e : fs::directory_iterator(dir)) {
    if (e.path().extension() != ".kel") continue;
    ++files;
    auto expected = fs::path(e.path()).replace_extension(".expected");
    ASSERT_TRUE(fs::exists(expected)) << expected;
    auto k = hKel(dir);
    EXPECT_EQ(hFindings(*k, ReadAll(e.path()), e.path().filename().string()), ReadAll(expected)) << e.path();
  }
  EXPECT_GE(files, 25);
}

TEST(cls_KELChecker, ExamplesDemoAndBenchmarkTemplatesAreClean) {
  const fs::path src(SourceDir());
  // Each folder as the demo and the benchmarks render it: -d with the folder.
  int files = 0;
  for (const char* folder : {"examples/site", "examples/report", "bench/kel_w2", "tests/interpreter/cases"}) {
    for (const auto& e : fs::recursive_directory_iterator(src / folder)) {
      if (e.path().extension() != ".kel") continue;
      auto k = hKel(e.path().parent_path().filename() == "pages" || e.path().parent_path().filename() == "inc"
                        ? e.path().parent_path().parent_path()
                        : e.path().parent_path());
      std::string found = hFindings(*k, ReadAll(e.path()));
      if (e.path().filename() == "broken.kel") {
        // The demo's page with deliberate mistakes: exactly those three.
        EXPECT_EQ(found,
                  "2:5: IF requires 2 or 3 parameters, 1 were given!\n"
                  "3:5: Could not include 'missing_page' (not found as given, under pages/ or inc/)\n"
                  "4:5: unknown command 'UNKNOWNCOMMAND'\n");
        continue;
      }
      ++files;
      EXPECT_EQ(found, "") << e.path();
    }
  }
  EXPECT_GE(files, 12);
}

// A module that says which commands it takes.
struct ListedModule : cls_KELModuleInterface {
  std::shared_ptr<cls_KELModule> m = std::make_shared<cls_KELModule>();
  ListedModule(std::string_view pID, std::initializer_list<std::string_view> pCommands, bool pCatchAll = false) {
    m->ID_LET(pID);
    for (auto c : pCommands) m->COMMAND(c);
    m->CATCHALL_LET(pCatchAll);
  }
  std::shared_ptr<cls_KELModule> MODULE_GET() override { return m; }
};

TEST(cls_KELChecker, ReadsRegistryFunctionsAndSettingsAsTheyAreNow) {
  struct Case {
    const char* text;
    const char* found;
  };
  cls_KEL k;
  EXPECT_EQ(hFindings(k, "{MARK:HTML VAR:x}"), "1:2: unknown module 'MARK' in 'MARK:HTML'\n");
  // The default modules list their commands.
  EXPECT_EQ(hFindings(k, "{TEXT:HTLM VAR:x}"), "1:2: unknown command 'TEXT:HTLM' (did you mean 'TEXT:HTML'?)\n");
  // A module added later is known by its listed commands; one that lists none takes any command.
  k.MODULES->ADD(std::make_shared<ListedModule>("MARK", std::initializer_list<std::string_view>{"HTML", "URL"}));
  k.MODULES->ADD(std::make_shared<ListedModule>("FREE", std::initializer_list<std::string_view>{}));
  k.FUNCTIONS->ITEMBYID_LET("GREET", "Hallo %1");
  const Case cases[] = {
      {"{MARK:HTML VAR:x}{mark:url VAR:x}{FREE:anything}{GREET Anna}", ""},
      {"{MARK:HTLM VAR:x}", "1:2: unknown command 'MARK:HTLM' (did you mean 'MARK:HTML'?)\n"},
      {"{GRET Anna}", "1:2: unknown command 'GRET' (did you mean 'GREET'?)\n"},
      {"{MRAK:HTML x}", "1:2: unknown module 'MRAK' in 'MRAK:HTML' (did you mean 'MARK'?)\n"},
      {"{HTML x}", "1:2: unknown command 'HTML' (did you mean 'TEXT:HTML'?)\n"},
      {"{URL x}", "1:2: unknown command 'URL' (did you mean 'TEXT:URL'?)\n"},
      {"{VAR:a}\n{VAR:b}\n{VAR:c}", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(hFindings(k, c.text), c.found) << c.text;
  // The bounds come from SETTINGS.
  k.SETTINGS->ITEM_LET("SYS.COMMANDS.MAX", 2);
  EXPECT_EQ(hFindings(k, "{VAR:a}\n{VAR:b}\n{VAR:c}"),
            "3:1: more than SYS.COMMANDS.MAX (2) commands in one text: it comes out empty (move some into a BLOCK "
            "or an INCLUDE)\n");
  k.SETTINGS->ITEM_LET("SYS.ERRORS.MAX", 2);
  EXPECT_EQ(hFindings(k, "} } }"),
            "1:1: unmatched '}': it is printed as it is\n1:3: unmatched '}': it is printed as it is\n"
            "1:5: more than 2 findings (SYS.ERRORS.MAX): the rest are not listed\n");
  // A catch-all module may take any word, so no word is unknown.
  k.MODULES->ADD(std::make_shared<ListedModule>("ALL", std::initializer_list<std::string_view>{}, true));
  EXPECT_EQ(hFindings(k, "{FRO x}{NOPE:x}"), "");
}

TEST(cls_KELChecker, RunsNothingAndSurvivesHostileText) {
  cls_KEL k;
  auto f = k.CHECK("{VAR x 5}{IO:DIE}{INCLUDE x}{VAR:y}", "page.kel");
  ASSERT_EQ(f.size(), 1u);
  // nothing ran: no variable set, no error listed, no quit
  EXPECT_EQ(std::tuple(f[0].Text(), f[0].severity, k.VARIABLES->COUNT(), k.ERRORLIST->COUNT(), k.QUIT_GET()),
            std::tuple("page.kel:1:19: Could not include 'x' (not found as given, under pages/ or inc/)", "error", 0, 0,
                       false));
  // Deep nesting is reported once and never overflows the stack; long texts are read in one pass.
  std::string deep = std::string(100000, '{') + std::string(100000, '}');
  EXPECT_EQ(hFindings(k, deep),
            "1:101: nested more than SYS.NESTING.MAX (50) levels deep: processing stops there "
            "with \"Nesting too deep\"\n");
  std::string parens = "{VAR x " + std::string(100000, '(') + "1" + std::string(100000, ')') + "}";
  EXPECT_NE(hFindings(k, parens).find("nested more than SYS.NESTING.MAX"), std::string::npos);
  EXPECT_EQ(hFindings(k, std::string(1 << 20, 'a') + "{IO:DAET}").substr(0, 12), "1:1048578: u");
}

}  // namespace
}  // namespace rykel
