// The four traps that open docs/KEL.md ("Read this first"): each example gives the output the guide
// shows and is listed as the error the guide names, and the way around each one works.
#include <gtest/gtest.h>

#include <filesystem>

#include "frame/Convert.h"
#include "interpreter/cls_KEL.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

struct Trap {
  std::string templ, output;
};

// The "kel" examples between the guide's markers, each with the "text" block after it.
std::vector<Trap> hTraps() {
  std::string doc = ReadAll(std::filesystem::path(SourceDir()) / "docs/KEL.md");
  size_t from = doc.find("<!-- help kel: begin -->"), to = doc.find("<!-- help kel: end -->");
  EXPECT_NE(from, std::string::npos);
  EXPECT_NE(to, std::string::npos);
  std::string guide = doc.substr(from, to - from);
  auto block = [&](size_t& pos, const std::string& fence) {
    size_t start = guide.find(fence + "\n", pos) + fence.size() + 1;
    size_t end = guide.find("```\n", start);
    pos = end + 3;
    std::string body = guide.substr(start, end - start);
    if (!body.empty()) body.pop_back();  // the block's last line break
    return body;
  };
  std::vector<Trap> traps;
  for (size_t pos = 0; guide.find("```kel\n", pos) != std::string::npos;) {
    std::string templ = block(pos, "```kel");
    traps.push_back({templ, block(pos, "```text")});
  }
  return traps;
}

// The plain messages of the errors a page listed, joined by "|".
std::string hErrors(cls_KEL& k) {
  std::string out;
  for (int32_t i = 1; i <= k.ERRORPLACES->COUNT(); ++i) {
    auto place = k.ERRORPLACES->ITEM_GET(i).as<cls_Structure>();
    out += (out.empty() ? "" : "|") + CStr(place->ITEM_GET("MESSAGE"));
  }
  return out;
}

TEST(cls_KELGuide, TrapsAndTheWayAroundThem) {
  auto traps = hTraps();
  ASSERT_EQ(traps.size(), 4u);
  struct Expect {
    std::string error;               // how the trap is listed (the start of its message)
    std::string fixed, fixedOutput;  // the way around
    std::string setting = "";        // a setting the way around uses
  };
  const Expect expects[] = {
      {"Not parseable", traps[0].templ, "\n<p>" + std::string(128, '1') + "</p>", "SYS.COMMANDS.MAX"},
      {"Syntax error: Unclosed '", "<h1>Hello</h1>\n{VAR name \"O'Brien\"}{VAR:name}", "<h1>Hello</h1>\nO'Brien"},
      {"", "{STRUCT p ANZAHL=7}{VAR name Bob}{STRUCT:GET VAR:p ANZAHL} {TEXT:UPPER VAR:name} {TEXT:UPPER (name)}",
       "7 BOB BOB"},
      {"Syntax error: Unclosed '", "<p>Preise</p>\n{COMMENT \"don't show the old prices\"}", "<p>Preise</p>\n"},
  };
  for (size_t i = 0; i < traps.size(); ++i) {
    cls_KEL k;
    EXPECT_EQ(k.PROCESS(traps[i].templ), traps[i].output) << traps[i].templ;
    EXPECT_EQ(hErrors(k).substr(0, expects[i].error.size()), expects[i].error) << traps[i].templ;
    EXPECT_EQ(expects[i].error.empty(), hErrors(k).empty()) << traps[i].templ;
    cls_KEL fixed;
    if (!expects[i].setting.empty()) fixed.SETTINGS->ITEM_LET(expects[i].setting, 1000);
    EXPECT_EQ(fixed.PROCESS(expects[i].fixed), expects[i].fixedOutput) << expects[i].fixed;
    EXPECT_EQ(hErrors(fixed), "") << expects[i].fixed;
  }
}

}  // namespace
}  // namespace rykel
