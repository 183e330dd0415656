// Pages cut short by a bound are always listed, at the place where they were cut; MASTER of a
// missing file keeps the page; the error list is bounded; results scanned again join the rest of
// the text as before, without copying it.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "frame/Convert.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELTokenizer.h"

#include "../CaseTable.h"
#include "../TestSupport.h"
#include "RenderTable.h"

namespace rykel {
namespace {

namespace fs = std::filesystem;

std::string Repeat(const std::string& s, int n) {
  std::string out;
  for (int i = 0; i < n; ++i) out += s;
  return out;
}

TEST(cls_KELCutShort, ListedAtThePlaceWhereThePageWasCut) {
  const fs::path dir = fs::path(BinaryDir()) / "kel_cut_short";
  fs::remove_all(dir);
  fs::create_directories(dir);
  std::ofstream(dir / "quote.kel") << "one\ntwo\n  ab {VAR a 'x}";
  const std::string quoteFile = (dir / "quote.kel").string();
  const struct {
    std::string name;  // the page
    bool debug;
    std::string output, place;
  } cases[] = {
      // the command past SYS.COMMANDS.MAX: the 101st "{"
      {Repeat("{VAR a 1}", 101), false, "", "Not parseable: (VAR a 1) @ :1:901"},
      {"x\n" + Repeat("{VAR a 1}", 101), true, "ERR:---Not parseable: (VAR a 1)---",
       "Not parseable: (VAR a 1) @ :2:901"},
      // an unclosed quote: the quote itself, also with DEVELOPER.DEBUG
      {"ab\ncd {VAR a \"x}", false, "", "Syntax error: Unclosed \": (VAR a \"x) @ :2:11"},
      {"ab\ncd {VAR a \"x}", true, "ERR:---Syntax error: Unclosed \": (VAR a \"x)---",
       "Syntax error: Unclosed \": (VAR a \"x) @ :2:11"},
      // in an included file: its own line and column
      {"{INCLUDE quote}", false, "", "Syntax error: Unclosed ': (VAR a 'x) @ " + quoteFile + ":3:13"},
      // a quote brought in by a command's result: that command's place
      {"x\n  {VAR:open}yz", false, "", "Syntax error: Unclosed \": (VAR c \"yz @ :2:3"},
      // commands brought in by a result count where that result's command stood
      {"ab{VAR:many}", false, "", "Not parseable: (COMMENT)(COMMENT) @ :1:3"},
      // a nested level cut short: listed, the rest of the page goes on
      {"a{IF 1 {" + Repeat("{COMMENT}", 101) + "}}b", false, "ab", "Not parseable: (COMMENT) @ :1:2"},
      // the other bounds were listed already; they cut the page short as well
      {"{FOR i 1 10 1 {x}}", false, "xxxERR:---Loop limit reached: FOR i 1 10 1 (x)---",
       "Loop limit reached: FOR i 1 10 1 (x) @ :1:1"},
  };
  ForEachRow(cases, [&](const auto& c) {
    cls_KEL k;
    k.DIRECTORIES->ADD(dir.string());
    k.SETTINGS->ITEM_LET("DEVELOPER.DEBUG", c.debug);
    k.SETTINGS->ITEM_LET("SYS.LOOP.MAX", 3);
    k.VARIABLES->ITEM_LET("OPEN", "{VAR c \"");
    k.VARIABLES->ITEM_LET("MANY", Repeat("{COMMENT}", 101));
    EXPECT_EQ(k.PROCESS(c.name, nullptr), c.output);
    EXPECT_EQ(k.ERRORLIST->COUNT(), 1);
    EXPECT_EQ(LastPlace(k), c.place);
    EXPECT_TRUE(k.CUTSHORT_GET());
    // the next page starts afresh; an ordinary error does not cut it short
    EXPECT_EQ(k.PROCESS("{VAR:nope}", nullptr), "ERR:---VAR not found: nope---");
    EXPECT_FALSE(k.CUTSHORT_GET());
  });
  fs::remove_all(dir);
}

TEST(cls_KELCutShort, MasterOfAMissingFileKeepsThePage) {
  const fs::path dir = fs::path(BinaryDir()) / "kel_master_missing";
  fs::remove_all(dir);
  fs::create_directories(dir / "inc");
  std::ofstream(dir / "inc" / "frame.kel") << "<m>{VAR:CONTENT}</m>";
  cls_KEL k;
  k.DIRECTORIES->ADD(dir.string());
  EXPECT_EQ(k.PROCESS("a\n b{MASTER missing}hello", nullptr), "a\n bhello");
  EXPECT_EQ(LastPlace(k), "Could not include 'missing' @ :2:3");
  EXPECT_EQ(k.PROCESS("{MASTER frame}hello", nullptr), "<m>hello</m>");
  EXPECT_EQ(k.ERRORLIST->COUNT(), 1);
  fs::remove_all(dir);
}

TEST(cls_KELCutShort, TheErrorListIsBoundedAndTheOutputIsNot) {
  cls_KEL k;
  k.SETTINGS->ITEM_LET("SYS.ERRORS.MAX", 5);
  std::string out = k.PROCESS("{FOR i 1 20 1 {{VAR:nope}}}", nullptr);
  EXPECT_EQ(out, Repeat("ERR:---VAR not found: nope---", 20));
  ASSERT_EQ(k.ERRORLIST->COUNT(), 6);
  EXPECT_EQ(CStr(k.ERRORLIST->ITEM_GET(6)),
            "<b>Too many errors</b>: more than 5 (SYS.ERRORS.MAX); the rest are not listed<br/>");
  EXPECT_FALSE(k.CUTSHORT_GET());
  k.PROCESS("{VAR:nope}", nullptr);  // counted per page
  EXPECT_EQ(k.ERRORLIST->COUNT(), 7);
}

TEST(cls_KELCutShort, ResultsJoinTheRestOfTheTextWithoutCopyingIt) {
  // A result holding "{" is scanned again in front of the rest, and a command may begin in it and
  // end in the text after it.
  const Case<const char*> cases[] = {
      {"{VAR:open}xy}{VAR:c}", "xy"},  // "{VAR c " + "xy}"
      {"{VAR:if}A}}B", "AB"},          // "{IF 1 {" + "A}}"
      {"{VAR:two}{VAR:two}", "C-C-"},  // a command in the result, then the text
      {"<{VAR:deep}>", "<C>"},         // results of results
      {"{VAR:pair}x{VAR:c}", "CCxC"},  // two commands in one result
      {"{VAR:q}}b'}!{VAR:c}", "!C"},   // a quote opened in the result closes in the text
  };
  cls_KEL k;
  LetAll(*k.VARIABLES, "OPEN", "{VAR c ", "IF", "{IF 1 {", "C", "C", "TWO", "{VAR:c}-", "DEEP", "{VAR:two2}", "TWO2",
         "{VAR:c}", "PAIR", "{VAR:c}{VAR:c}", "Q", "{VAR d 'a");
  ForEachRow(cases, [&](const auto& c) {
    k.VARIABLES->ITEM_LET("C", "C");
    EXPECT_EQ(k.PROCESS(c.name, nullptr), c.want);
  });
  EXPECT_EQ(CStr(k.VARIABLES->ITEM_GET("D")), "a}b");
  EXPECT_EQ(k.ERRORLIST->COUNT(), 0);

  // Long command texts are tokenized in place: a nested level holds no copy of its text.
  std::string longText = "{" + std::string(5000, 'x') + "} y";
  auto cached = cls_KELTokenizer::TokenizeCached(longText);
  EXPECT_EQ(cached->text.data(), longText.data());
  EXPECT_EQ(cached->tokens.size(), 2u);
  auto shortOne = cls_KELTokenizer::TokenizeCached("{x} y");
  EXPECT_EQ(shortOne->text, "{x} y");
}

}  // namespace
}  // namespace rykel
