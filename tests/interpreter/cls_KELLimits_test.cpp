// The interpreter's bounds for templates it cannot trust: output size, loop rounds, nesting of
// blocks and includes, and includes confined to DIRECTORIES (links included).
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "frame/Convert.h"
#include "interpreter/cls_KEL.h"

namespace rykel {
namespace {

namespace fs = std::filesystem;

std::string LastError(cls_KEL& k) { return CStr(k.ERRORLIST->ITEM_GET(k.ERRORLIST->MAX())); }

TEST(cls_KELLimits, OutputSizeStopsLoopsAndSelfDoublingText) {
  cls_KEL k;
  k.SETTINGS->ITEM_LET("SYS.OUTPUT.MAX", 1000);
  // a loop whose rounds are each small stops as soon as its total passes the bound
  std::string out = k.PROCESS("{FOR i 1 100000 1 {0123456789}}after", nullptr);
  EXPECT_LT(out.size(), 1200u);
  EXPECT_NE(out.find("ERR:---Output too large: more than 1000 bytes (SYS.OUTPUT.MAX)---"), std::string::npos);
  EXPECT_EQ(out.find("after"), std::string::npos);  // processing stopped, as after QUITEXEC
  EXPECT_TRUE(k.QUIT_GET());
  EXPECT_NE(LastError(k).find("Output too large"), std::string::npos);

  // plain text handed back by commands counts too, loop or not
  k.VARIABLES->ITEM_LET("BIG", std::string(600, 'b'));
  out = k.PROCESS("{VAR:BIG}{VAR:BIG}{VAR:BIG}", nullptr);
  EXPECT_EQ(out.substr(0, 600), std::string(600, 'b'));
  EXPECT_NE(out.find("Output too large"), std::string::npos);
  EXPECT_LT(out.size(), 1400u);

  // under the bound nothing changes, and the next PROCESS runs again
  EXPECT_EQ(k.PROCESS("{FOR i 1 3 1 {ab}}!", nullptr), "ababab!");
  EXPECT_FALSE(k.QUIT_GET());
  // every loop form is bounded
  for (const char* t : {"{WHILE (1) {0123456789}}", "{DO {0123456789} WHILE (1)}"}) {
    k.SETTINGS->ITEM_LET("SYS.LOOP.MAX", 1000000);
    out = k.PROCESS(t, nullptr);
    EXPECT_NE(out.find("Output too large"), std::string::npos) << t;
    EXPECT_LT(out.size(), 1200u) << t;
  }
}

TEST(cls_KELLimits, StepsBoundNestedLoopsAndBlocksThatCallBlocks) {
  cls_KEL k;
  k.SETTINGS->ITEM_LET("SYS.STEPS.MAX", 5000);
  // each loop keeps to SYS.LOOP.MAX, but nested they would run 200^3 rounds
  k.SETTINGS->ITEM_LET("SYS.LOOP.MAX", 200);
  std::string out = k.PROCESS("{FOR a 1 200 1 {{FOR b 1 200 1 {{FOR c 1 200 1 {.}}}}}}after", nullptr);
  EXPECT_NE(out.find("ERR:---Step limit reached: more than 5000 steps (SYS.STEPS.MAX)---"), std::string::npos);
  EXPECT_EQ(out.find("after"), std::string::npos);
  EXPECT_LT(out.size(), 5100u);
  EXPECT_EQ(k.ERRORLIST->COUNT(), 1);  // reported once, not once per level

  // the budget is per outermost PROCESS: the next call starts afresh
  EXPECT_EQ(k.PROCESS("{FOR i 1 3 1 {x}}", nullptr), "xxx");

  // without loops, commands that run commands count as well
  k.SETTINGS->ITEM_LET("SYS.STEPS.MAX", 50);
  std::string many;
  for (int i = 0; i < 40; ++i) many += "{VAR x " + std::to_string(i) + "}{VAR:x}";
  out = k.PROCESS(many, nullptr);
  EXPECT_NE(out.find("Step limit reached"), std::string::npos);
  k.SETTINGS->ITEM_LET("SYS.COMMANDS.MAX", 1000);
  k.SETTINGS->ITEM_LET("SYS.STEPS.MAX", 100000);
  EXPECT_EQ(k.PROCESS(many, nullptr).find("ERR:"), std::string::npos);
}

TEST(cls_KELLimits, IncludesStayInsideTheirFolderThroughLinks) {
  const fs::path root = fs::path(RYKEL_BINARY_DIR) / "kel_limits_confined";
  fs::remove_all(root);
  fs::create_directories(root / "site" / "inc");
  fs::create_directories(root / "private");
  std::ofstream(root / "private" / "secret.kel") << "SECRET";
  std::ofstream(root / "site" / "inc" / "ok.kel") << "fine";
  fs::create_symlink(root / "private" / "secret.kel", root / "site" / "inc" / "leak.kel");
  fs::create_directory_symlink(root / "private", root / "site" / "door");
  fs::create_symlink(root / "site" / "inc" / "ok.kel", root / "site" / "inside.kel");

  cls_KEL k;
  k.DIRECTORIES->ADD((root / "site").string());
  // not confined: links are followed like any file
  EXPECT_EQ(k.PROCESS("{INCLUDE leak}", nullptr), "SECRET");
  k.SETTINGS->ITEM_LET("SYS.LOCATE.CONFINED", true);
  EXPECT_EQ(k.PROCESS("{INCLUDE leak}", nullptr), "");
  EXPECT_EQ(LastError(k), "<b>Could not include 'leak'</b>");
  EXPECT_EQ(k.PROCESS("{INCLUDE door/secret}", nullptr), "");
  EXPECT_EQ(k.LOCATE("inc/leak.kel", "none"), "none");
  EXPECT_TRUE(k.LOCATEALL("door/secret.kel").empty());
  // a link that stays inside the folder, and plain files, still work
  EXPECT_EQ(k.PROCESS("{INCLUDE ok}+{INCLUDE inside}", nullptr), "fine+fine");
  fs::remove_all(root);
}

}  // namespace
}  // namespace rykel
