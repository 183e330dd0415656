// The interpreter's bounds for templates it cannot trust: output size, loop rounds, nesting of
// blocks and includes, and includes confined to DIRECTORIES (links included).
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <thread>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/FileIO.h"
#include "frame/ValueWriter.h"
#include "host/cls_DB.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModules.h"
#include "modules/mod_KELDB.h"

#include "../CaseTable.h"
#include "../TestSupport.h"

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
  // processing stopped, as after QUITEXEC
  EXPECT_TRUE(out.find("after") == std::string::npos && k.QUIT_GET() &&
              LastError(k).find("Output too large") != std::string::npos);

  // plain text handed back by commands counts too, loop or not
  k.VARIABLES->ITEM_LET("BIG", std::string(600, 'b'));
  out = k.PROCESS("{VAR:BIG}{VAR:BIG}{VAR:BIG}", nullptr);
  EXPECT_EQ(out.substr(0, 600), std::string(600, 'b'));
  EXPECT_TRUE(out.find("Output too large") != std::string::npos && out.size() < 1400u) << out.size();

  // under the bound nothing changes, and the next PROCESS runs again
  EXPECT_EQ((std::tuple{k.PROCESS("{FOR i 1 3 1 {ab}}!", nullptr), k.QUIT_GET()}), std::tuple("ababab!", false));
  // every loop form is bounded
  k.SETTINGS->ITEM_LET("SYS.LOOP.MAX", 1000000);
  for (const char* t : {"{WHILE (1) {0123456789}}", "{DO {0123456789} WHILE (1)}"}) {
    out = k.PROCESS(t, nullptr);
    EXPECT_TRUE(out.find("Output too large") != std::string::npos && out.size() < 1200u) << t << ": " << out.size();
  }
}

TEST(cls_KELLimits, StepsBoundNestedLoopsAndBlocksThatCallBlocks) {
  cls_KEL k;
  k.SETTINGS->ITEM_LET("SYS.STEPS.MAX", 5000);
  // each loop keeps to SYS.LOOP.MAX, but nested they would run 200^3 rounds
  k.SETTINGS->ITEM_LET("SYS.LOOP.MAX", 200);
  std::string out = k.PROCESS("{FOR a 1 200 1 {{FOR b 1 200 1 {{FOR c 1 200 1 {.}}}}}}after", nullptr);
  EXPECT_NE(out.find("ERR:---Step limit reached: more than 5000 steps (SYS.STEPS.MAX)---"), std::string::npos);
  // stopped, and reported once, not once per level
  EXPECT_TRUE(out.find("after") == std::string::npos && out.size() < 5100u && k.ERRORLIST->COUNT() == 1) << out.size();

  // the budget is per outermost PROCESS: the next call starts afresh
  EXPECT_EQ(k.PROCESS("{FOR i 1 3 1 {x}}", nullptr), "xxx");

  // without loops, commands that run commands count as well
  k.SETTINGS->ITEM_LET("SYS.STEPS.MAX", 50);
  std::string many;
  for (int i = 0; i < 40; ++i) many += "{VAR x " + std::to_string(i) + "}{VAR:x}";
  out = k.PROCESS(many, nullptr);
  EXPECT_NE(out.find("Step limit reached"), std::string::npos);
  LetAll(*k.SETTINGS, "SYS.COMMANDS.MAX", 1000, "SYS.STEPS.MAX", 100000);
  EXPECT_EQ(k.PROCESS(many, nullptr).find("ERR:"), std::string::npos);
}

TEST(cls_KELLimits, IncludesStayInsideTheirFolderThroughLinks) {
  const fs::path root = fs::path(BinaryDir()) / "kel_limits_confined";
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
  EXPECT_EQ((std::tuple{k.PROCESS("{INCLUDE leak}", nullptr), LastError(k), k.PROCESS("{INCLUDE door/secret}", nullptr),
                        k.LOCATE("inc/leak.kel", "none"), k.LOCATEALL("door/secret.kel").size()}),
            std::tuple("", "<b>Could not include 'leak'</b>", "", "none", 0u));
  // a link that stays inside the folder, and plain files, still work
  EXPECT_EQ(k.PROCESS("{INCLUDE ok}+{INCLUDE inside}", nullptr), "fine+fine");
  // a folder named through a link is followed anew when the link is made to point elsewhere
  fs::create_directory_symlink(root / "site", root / "alias");
  fs::create_directories(root / "private" / "inc");
  std::ofstream(root / "private" / "inc" / "ok.kel") << "moved";
  cls_KEL a;
  a.DIRECTORIES->ADD((root / "alias").string());
  a.SETTINGS->ITEM_LET("SYS.LOCATE.CONFINED", true);
  EXPECT_EQ(a.PROCESS("{INCLUDE ok}", nullptr), "fine");
  fs::remove(root / "alias");
  fs::create_directory_symlink(root / "private", root / "alias");
  EXPECT_EQ(a.PROCESS("{INCLUDE ok}", nullptr), "moved");
  fs::remove_all(root);
}

TEST(cls_KELLimits, JoinedAndStoredTextsStayWithinValueMax) {
  // "(s + s)" doubles a text each round without any output: only a bound on values stops it.
  const char* doubling = "{VAR s \"ab\"}{WHILE (1) {{VAR s (s + s)}}}after";
  const struct {
    const char* name;  // the setting
    int value;
    const char* message;
  } cases[] = {
      {"SYS.VALUE.MAX", 1000, "<b>Value too large</b>: more than 1000 bytes (SYS.VALUE.MAX)<br/>"},
      {"SYS.OUTPUT.MAX", 700, "<b>Value too large</b>: more than 700 bytes (SYS.VALUE.MAX)<br/>"},    // tied
      {"SYS.LOOP.MAX", 26, "<b>Value too large</b>: more than 16777216 bytes (SYS.VALUE.MAX)<br/>"},  // default
  };
  ForEachRow(cases, [&](const auto& c) {
    cls_KEL k;
    k.SETTINGS->ITEM_LET(c.name, c.value);
    EXPECT_EQ(k.PROCESS(doubling, nullptr).find("after"), std::string::npos);  // stopped
    EXPECT_EQ(std::tuple(k.ERRORLIST->COUNT(), LastError(k)), std::tuple(1, c.message));
    EXPECT_LE(CStr(k.VARIABLES->ITEM_GET("S")).size(), 16u << 20);
  });
  // VAR and ":=" of a text made otherwise (a block, a quoted template) are bounded as well
  for (const char* t : {"{VAR s \"ab\"}{WHILE (1) {{VAR s {{VAR:s}{VAR:s}}}}}",
                        "{VAR s \"ab\"}{WHILE (1) {{(s := \"{VAR:s}{VAR:s}\")}}}"}) {
    cls_KEL k;
    k.SETTINGS->ITEM_LET("SYS.VALUE.MAX", 1000);
    k.PROCESS(t, nullptr);
    EXPECT_EQ(LastError(k), cases[0].message) << t;
    EXPECT_LE(CStr(k.VARIABLES->ITEM_GET("S")).size(), 1000u) << t;
  }
  // texts up to the bound are untouched
  cls_KEL k;
  k.SETTINGS->ITEM_LET("SYS.VALUE.MAX", 8);
  EXPECT_EQ((std::tuple{k.PROCESS("{VAR s \"abcd\"}{VAR t (s + s)}{VAR:t}", nullptr), k.ERRORLIST->COUNT()}),
            std::tuple("abcdabcd", 0));
}

// The name is swapped between a file inside the folder and a link to an outside file while a
// confined template includes it again and again: it must never deliver the outside file.
TEST(cls_KELLimits, ConfinedIncludeReadsTheFileItChecked) {
  const fs::path root = fs::path(BinaryDir()) / "kel_limits_swap";
  fs::remove_all(root);
  fs::create_directories(root / "site");
  fs::create_directories(root / "private");
  std::ofstream(root / "private" / "secret.kel") << "SECRET";
  cls_KEL k;
  k.DIRECTORIES->ADD((root / "site").string());
  LetAll(*k.SETTINGS, "SYS.LOCATE.CONFINED", true, "SYS.COMMANDS.MAX", 1000);
  const fs::path name = root / "site" / "page.kel";
  std::ofstream(name) << "fine";
  std::atomic<bool> stop{false};
  std::thread swapper([&] {
    const fs::path file = root / "site" / "file.tmp", link = root / "site" / "link.tmp";
    for (bool toLink = true; !stop; toLink = !toLink) {
      std::error_code ec;
      if (toLink) fs::create_symlink(root / "private" / "secret.kel", link, ec);
      else std::ofstream(file) << "fine";
      std::rename((toLink ? link : file).c_str(), name.c_str());  // atomic: the name always exists
    }
  });
  std::string page;
  for (int i = 0; i < 400; ++i) page += "{INCLUDE page}";
  int leaked = 0, read = 0;
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(2);
  while (std::chrono::steady_clock::now() < until) {
    std::string out = k.PROCESS(page, nullptr);
    for (size_t at = out.find("SECRET"); at != std::string::npos; at = out.find("SECRET", at + 1)) ++leaked;
    for (size_t at = out.find("fine"); at != std::string::npos; at = out.find("fine", at + 1)) ++read;
  }
  stop = true;
  swapper.join();
  EXPECT_TRUE(leaked == 0 && read > 0) << leaked << " leaked, " << read << " read";
  fs::remove_all(root);
}

// A database file names its header; a confined template that opens it reaches no file outside
// DIRECTORIES through that name, and cannot tell an outside file from a missing one.
TEST(cls_KELLimits, DatabaseHeadersAreConfinedLikeIncludes) {
  const fs::path root = fs::path(BinaryDir()) / "kel_limits_dbheader";
  fs::remove_all(root);
  fs::create_directories(root / "site");
  fs::create_directories(root / "private");
  cls_DB header;
  header.FIELDCREATE("GEHEIM");
  ASSERT_TRUE(header.HEADERSAVE((root / "private" / "secret.header").string()));
  auto evil = [&](const std::string& file, const std::string& headerName) {
    ValueWriter w;
    w.WriteString("Morvandil KEL DB Binary");
    w.Write(Variant(static_cast<int16_t>(1)));
    w.WriteString(headerName);
    w.Write(Variant::Date(date::Now()));
    w.Write(Variant(static_cast<int32_t>(0)));
    w.WriteString("EOF");
    fileio::WriteFileAtomic((root / "site" / file).string(), w.Data());
  };
  evil("evil.ry-dbb", "../private/secret.header");
  evil("probe.ry-dbb", "../private/nothing.header");
  auto k = std::make_shared<cls_KEL>();
  k->MODULES->ADD(std::make_shared<mod_KELDB>());
  k->DIRECTORIES->ADD((root / "site").string());
  EXPECT_EQ(k->PROCESS("{DB:OPEN \"evil.ry-dbb\"}{DB:FIELDS}", nullptr), "GEHEIM: GEHEIM");
  k->SETTINGS->ITEM_LET("SYS.LOCATE.CONFINED", true);
  std::string outside = k->PROCESS("{DB:OPEN \"evil.ry-dbb\" NAME=x}", nullptr);
  std::string missing = k->PROCESS("{DB:OPEN \"probe.ry-dbb\" NAME=y}", nullptr);
  EXPECT_TRUE(std::regex_search(outside, std::regex("ERR:---Database error: Header '.*could not be located!")))
      << outside;
  auto shape = [](std::string s, const std::string& name) { return s.replace(s.find(name), name.size(), "*"); };
  EXPECT_EQ(shape(outside, "secret"), shape(missing, "nothing"));
  fs::remove_all(root);
}

}  // namespace
}  // namespace rykel
