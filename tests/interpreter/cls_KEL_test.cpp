// The interpreter end to end: decoding, the error list, the front end and the executor's commands.
#include "interpreter/cls_KEL.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "interpreter/cls_KELDecoder.h"
#include "interpreter/cls_KELModules.h"

#include "../TestSupport.h"
#include "RenderTable.h"

namespace rykel {
namespace {

std::string Render(cls_KEL& k, std::string_view t) { return k.PROCESS(t, nullptr); }
std::string LastError(cls_KEL& k) {
  return k.ERRORLIST->COUNT() ? CStr(k.ERRORLIST->ITEM_GET(k.ERRORLIST->MAX())) : std::string();
}

TEST(cls_KEL, DecodeRules) {
  const struct {
    const char* name;  // the parameter text
    VarType type;
    const char* text;  // CStr of the value
  } rows[] = {
      {"2024-01-05", VarType::Date, "05.01.2024"},
      {"\"2024-01-05\"", VarType::Date, "05.01.2024"},
      {"5.1.2024", VarType::Date, "05.01.2024"},
      {"'x y'", VarType::String, "x y"},
      // Times stay text, quoted or not.
      {"12:30", VarType::String, "12:30"},
      {"12:30:15", VarType::String, "12:30:15"},
      {"\"12:30\"", VarType::String, "12:30"},
      {"{$VAR:x}", VarType::String, "VAR:x"},
      {"1.5", VarType::Double, "1.5"},
      {"1,5", VarType::Double, "1.5"},
      {"1234567890", VarType::Double, "1234567890"},
      {"12345678901", VarType::String, "12345678901"},  // 11 characters
      {"#ff", VarType::Long, "255"},
      {"#FF", VarType::Long, "255"},
      {"#FFFFFFFF", VarType::Long, "-1"},
      {"#fg", VarType::String, "#fg"},
      // 32 bits hold eight hexadecimal digits; leading zeros do not count
      {"#00000000000ff", VarType::Long, "255"},
      {"TRUE", VarType::String, "1"},
      {"falsch", VarType::String, "0"},
  };
  ForEachRow(rows, [](const auto& r) {
    cls_KEL k;
    Variant v = k.DECODE(Variant(r.name));
    EXPECT_EQ(v.type(), r.type);
    EXPECT_EQ(CStr(v), r.text);
    EXPECT_EQ(k.ERRORLIST->COUNT(), 0);
  });
  cls_KEL k;
  // More than eight digits overflow.
  EXPECT_EQ(Failure([&] { k.DECODE(Variant("#ffffffffffffffffffffffff")); }),
            std::pair(err::kOverflow,
                      std::string("Overflow: '#ffffffffffffffffffffffff' has more than 8 hexadecimal digits")));
  // Execution only when allowed; "#fg" then runs as a command.
  EXPECT_EQ(k.DECODE(Variant("#fg"), nullptr, {}, true).str(), "ERR:---Cannot execute: #fg---");
  k.VARIABLES->ITEM_LET("X", 7);
  EXPECT_EQ(CStr(k.DECODE(Variant("VAR:x"), nullptr, {}, true)), "7");
  // A quoted template is processed.
  EXPECT_EQ(k.DECODE(Variant("\"<{VAR:x}>\"")).str(), "<7>");
  EXPECT_EQ(k.DECODE(Variant("\"a:{x}\"")).str(), "a:{x}");
  EXPECT_EQ(k.DECODE(Variant(5)).rawLong(), 5);
}

TEST(cls_KEL, EncodeAndLiteral) {
  cls_KEL k;
  Variant d = k.DECODE(Variant("2024-01-05 10:20:30"));
  const struct {
    const char* name;  // what is encoded
    Variant value;
    bool quoted;
    const char* want;
  } rows[] = {
      {"number", 1.5, false, "1.5"},
      {"text", "ab", true, "\"ab\""},
      {"text with \"", "a\"b", true, "'a\"b'"},
      {"text with both quotes", "a\"b'c", true, "\"a'b'c\""},
      {"text unquoted", "a\"b", false, "a\"b"},
      {"truth", true, false, "True"},
      {"date", d, false, "2024-01-05 10:20:30"},
      {"date quoted", d, true, "\"2024-01-05 10:20:30\""},
  };
  ForEachRow(rows, [&](const auto& r) { EXPECT_EQ(k.ENCODE(r.value, r.quoted), r.want); });
  // What ENCODE gives, DECODE reads back.
  for (Variant v : {Variant(2.25), Variant("x y"), Variant("a\"b"), d}) {
    Variant back = k.DECODE(Variant(k.ENCODE(v, true)));
    EXPECT_EQ(CStr(back), CStr(v));
  }
  const Case<const char*> words[] = {{"=", "=="},     {"=>", ">="},   {"=<", "<="},     {"<>", "!="},
                                     {"=!", "!="},    {"=!=", "!="},  {"&", "&&"},      {"and", "&&"},
                                     {"|", "||"},     {"Or", "||"},   {"wahr", "1"},    {"TRUE", "1"},
                                     {"FALSCH", "0"}, {"false", "0"}, {"xand", "xand"}, {"==", "=="}};
  ForEachRow(words, [&](const auto& r) { EXPECT_EQ(k.LITERAL(r.name), r.want); });
}

TEST(cls_KEL, ErrorList) {
  cls_KEL k;
  EXPECT_EQ(k.ERRORS("Title", "", false), "ERR:---Title---");
  EXPECT_EQ(LastError(k), "<b>Title</b>");
  EXPECT_EQ(k.ERRORS("T", "a{b}c", false), "ERR:---T: a(b)c---");
  EXPECT_EQ(LastError(k), "<b>T</b>: a(b)c<br/>");
  std::string d100(100, 'x'), d101(101, 'x');
  EXPECT_EQ(k.ERRORS("T", d100), "ERR:---T: " + d100 + "---");
  EXPECT_EQ(k.ERRORS("T", d101), "ERR:---T: " + d100 + " (...)---");
  // 100 characters, not bytes.
  std::string umlauts;
  for (int i = 0; i < 101; ++i) umlauts += "ä";
  EXPECT_EQ(k.ERRORS("T", umlauts), "ERR:---T: " + umlauts.substr(0, 200) + " (...)---");
  k.TRACE->ADD("one");
  k.TRACE->ADD("two");
  k.ERRORS("T", "d");
  EXPECT_EQ(LastError(k), "<b>T</b>: d<br/><hr><ul><li>one</li><li>two</li></ul>");
  EXPECT_EQ(k.ERRORLIST->COUNT(), 6);
  EXPECT_EQ(std::tuple(k.ERRORTEXT("ERR:---Module not found: OTHER---"), k.ERRORTEXT("--x--")),
            std::tuple("Module not found: OTHER", "x"));
  EXPECT_EQ((std::vector<bool>{k.ISERROR(Variant("ERR:")), k.ISERROR(Variant("ERR")), k.ISERROR(Variant(5))}),
            (std::vector<bool>{true, false, false}));
  int shown = 0;
  k.CRITICALERRORS = [&](const StructurePtr& e) { shown = e->COUNT(); };
  k.ERRORLISTSHOW();
  EXPECT_TRUE(shown == 6 && !k.QUIT_GET()) << shown;
  k.ERRORS("Bad", "", true);
  EXPECT_TRUE(k.QUIT_GET());
}

// One template a row, each on a fresh interpreter; a row that needs a variable sets it first.
TEST(cls_KEL, RenderTable) {
  const RenderRow rows[] = {
      // The front end.
      {"plain text", "plain text"},
      {"<script>if (a) { b(); }</script>", "<script>if (a) [[ b(); ]]</script>"},
      {"<style>p { x: {$VAR x 1$} }</style>{VAR:x}", "<style>p [[ x:  ]]</style>1"},
      {"a{VAR:x", "aERR:---VAR not found: x---"},  // a missing "}" makes the rest the command
      {"{$VAR y 3$}{$VAR:y$}", "3"},               // "$" around a command
      {"a{IO:DIE}b{VAR z 1}", "a"},                // QUITEXEC stops after the command in hand
      // Variables, blocks and references.
      {"{VAR x 5}{VAR:x}", "5"},
      {"{VAR s \"a b\"}[{VAR:s}]", "[a b]"},
      {"{VAR n (2 + 3 * 4)}{VAR:n}", "14"},
      {"{VAR n (2 + 3 * 4)}{VAR c VAR:n}{VAR:c}", "14"},
      {"{VAR x 5}{BLOCK b {<{VAR:x}>}}{BLOCK:b}{VAR x 6}{BLOCK:b}", "<5><6>"},
      {"{BLOCK:nope}", "ERR:---BLOCK not found: nope---"},
      {"{VAR:nope}", "ERR:---VAR not found: nope---"},
      {"{VAR x}", "ERR:---VAR requires 2 parameters, 1 were given!: VAR x---"},
      {"{BLOCK b}", "ERR:---BLOCK requires 2 parameters, 1 were given!: BLOCK b---"},
      {"{LATER}", "ERR:---LATER requires 1 parameter, 0 were given!: LATER---"},
      {"{VAR x 6}{x := 4}{VAR:x}", "44"},
      {"{NOTHING here}", "ERR:---Cannot execute: NOTHING here---"},
      {"{OTHER:X}", "ERR:---Module not found: OTHER---"},
      {"{COMMENT anything {at all}}x", "x"},
      {"{MUTE {{VAR m 1}shown?}}{VAR:m}", "1"},
      // Expressions.
      {"{(1 + 2)}", "3"},
      {"{(10 - 2 + 3)}", "11"},
      {"{(2 * 3 ^ 2)}", "18"},
      {"{(8 / 4 / 2)}", "1"},
      {"{(1<2)}", "1"},
      {"{(2 <= 1)}", "0"},
      {"{(3 = 3)}", "1"},
      {"{(3 <> 3)}", "0"},
      {"{(a == a)}", "1"},
      {"{(TRUE AND FALSE)}", "0"},
      {"{(WAHR OR FALSCH)}", "1"},
      // "||" binds before "&&": 0 && (1 || 1)... read as (0 || 1) && 0 -> 0 with list order.
      {"{(1 || 0 && 0)}", "0"},
      {"{(0 && 0 || 1)}", "0"},
      {"{(5 -1)}", "4"},
      {"{(-2 + 5)}", "3"},
      {"{(\"a\" + \"b\")}", "ab"},
      {"{((1 + 2) * 3)}", "9"},
      {"{(1 / 0)}", "ERR:---Operator failed: Operator implementation failed: /---"},
      {"{VAR i 3}{(i * 2)}", "6"},
      // Conditions.
      {"{IF (1 < 2) {yes}}", "yes"},
      {"{IF (1 > 2) {yes} {no}}", "no"},
      {"{IF (1)}", "ERR:---IF requires 2 or 3 parameters, 1 were given!: IF (1)---"},
      {"{IF 1 < 2 {x}}", "ERR:---IF requires 2 or 3 parameters, 4 were given!: IF 1 < 2 (x)---"},
      {"{VAR v 1}{IF (v == 1) {one}}{ELSEIF (v == 2) {two}}{ELSE {other}}", "one"},
      {"{VAR v 2}{IF (v == 1) {one}}{ELSEIF (v == 2) {two}}{ELSE {other}}", "two"},
      {"{VAR v 3}{IF (v == 1) {one}}{ELSEIF (v == 2) {two}}{ELSE {other}}", "other"},
      // The chain is found through nested commands in the taken block.
      {"{VAR v 3}{IF (1) {{VAR:v}{IF (0) {a}}{ELSE {b}}}}{ELSE {no}}", "3b"},
      {"{ELSE {x}}", "ERR:---ELSE without IF: ELSE (x)---"},
      {"{SWITCH 2 {{CASE 1 {one}}{CASE 2 {two}}{DEFAULT {many}}}}", "two"},
      {"{SWITCH 9 {{CASE 1 {one}}{CASE 2 {two}}{DEFAULT {many}}}}", "many"},
      {"{SWITCH b}{CASE a {A}}{CASE b {B}}{DEFAULT {D}}", "B"},
      {"{SWITCH}", "ERR:---SWITCH requires 1 or 2 parameters, 0 were given!: SWITCH---"},
      {"{SWITCH 1}{CASE 1}", "ERR:---CASE requires 2 parameters, 1 were given!: CASE 1---"},
      // Loops.
      {"{VAR i 0}{WHILE (i < 3) {{i := i + 1}}}", "123"},
      {"{WHILE i < 3 {x}}",
       "ERR:---WHILE requires 2 parameters, 4 were given! Try encapsulating the conditon like "
       "WHILE (i < 10) {...};: WHILE i < 3 (x)---"},
      {"{VAR i 0}{DO {{i := i + 1}} WHILE (i < 3)}", "123"},
      {"{VAR i 0}{DO {{i := i + 1}} UNTIL (i >= 2)}", "12"},
      {"{VAR i 5}{DO {once} WHILE (i < 3)}", "once"},
      {"{DO {x} FOREVER (1)}", "ERR:---Wrong ending for DO loop: DO (x) FOREVER (1)---"},
      {"{FOR i 1 5 2 {[{VAR:i}]}}", "[1][3][5]"},
      {"{FOR i 3 1 -1 {{VAR:i}}}", "321"},
      {"{FOR i 1 3 {x}}", "ERR:---FOR requires 5 parameters, 4 were given!: FOR i 1 3 (x)---"},
      {"{ITERATE x STRUCT:TESTLINEAR {{VAR:x_KEY}={VAR:x};}}", "ALPHA=1;BETA=4;GAMMA=6;"},
      {"{ITERATE x {a}}", "ERR:---ITERATE requires 3 parameters, 2 were given!: ITERATE x (a)---"},
      // Structures, LATER and master commands.
      {"{STRUCT p NAME=\"Anna\" AGE=30}{VAR:p.name} {VAR:p.age}", "Anna 30"},
      {"{STRUCT p NAME=\"Anna\"}{STRUCT:GET VAR:p NAME}|{STRUCT:GET VAR:p MISSING}|"
       "{STRUCT:GET VAR:p MISSING DEFAULT=x}",
       "Anna||x"},
      {"{VAR total 9}x{@@VAR:total}", "x9"},
  };
  CheckRenderRows(rows);
}

TEST(cls_KEL, FrontEnd) {
  cls_KEL k;
  // A result holding a command is executed too.
  k.VARIABLES->ITEM_LET("T", "{VAR:U}");
  k.VARIABLES->ITEM_LET("U", "inner");
  EXPECT_EQ(Render(k, "a{VAR:t}b"), "ainnerb");
  // 100 commands pass, the 101st ends the call with empty output.
  std::string hundred;
  for (int i = 0; i < 100; ++i) hundred += "{COMMENT}";
  EXPECT_EQ(Render(k, hundred + "x"), "x");
  EXPECT_EQ(Render(k, hundred + "{COMMENT}x"), "");
  k.SETTINGS->ITEM_LET("SYS.COMMANDS.MAX", 200);
  EXPECT_EQ(Render(k, hundred + "{COMMENT}x"), "x");
  // After QUITEXEC the next call runs again.
  cls_KEL k2;
  EXPECT_EQ(Render(k2, "{VAR y 3}a{IO:DIE}b{VAR z 1}"), "a");
  EXPECT_EQ(Render(k2, "c{VAR:y}"), "c3");
  std::string s = "x<script>{a}</script>y<script>{$b$}";
  EXPECT_TRUE(k2.ENCAPSULATE(s, "<script", "</script>"));
  EXPECT_EQ(s, "x<script>[[a]]</script>y<script>{$b$}");
}

// What the table cannot hold: run data, the dispose and LATER lists, text set from outside, the
// loop bound.
TEST(cls_KEL, ParametersDisposeAndBounds) {
  cls_KEL k;
  auto data = cls_Structure::New();
  data->ADD("first");
  data->ADD(2);
  EXPECT_EQ(k.PROCESS("{%1}-{%2}", data), "first-2");
  EXPECT_EQ(k.PROCESS("{%3}", data), "ERR:---Missing parameter - %3. Available: \"first\", 2---");
  EXPECT_EQ(k.PROCESS("{%1}", nullptr), "ERR:---No parameter delivered - %1 unavailable---");
  EXPECT_EQ(Render(k, "{VAR x 6}{DISPOSE x}{VAR:x}"), "ERR:---VAR not found: x---");
  EXPECT_EQ(CStr(k.DISPOSELIST->ITEM_GET(1)), "x");
  k.VARIABLES->ITEM_LET("TPL", "<{VAR:m}>");
  EXPECT_EQ(Render(k, "{VAR m 1}{NESTED VAR:tpl}"), "<1>");
  EXPECT_EQ(Render(k, "{(1 << 2)}").substr(0, 20), "ERR:---Operator fail");
  EXPECT_EQ(Render(k, "{DO {x}}").substr(0, 39), "ERR:---DO requires 3 parameters, 1 were");
  EXPECT_EQ(Render(k, "{VAR total 0}a{LATER VAR:total}b{VAR total 9}"), "a9b");
  EXPECT_EQ(k.LATER->COUNT(), 0);
  EXPECT_NE(Render(k, "{NOW}").find('.'), std::string::npos);
  k.SETTINGS->ITEM_LET("SYS.LOOP.MAX", 3);
  EXPECT_EQ(Render(k, "{WHILE (1) {x}}"), "xxxERR:---Loop limit reached: WHILE (1) (x)---");
}

TEST(cls_KEL, NestingBounds) {
  cls_KEL k;
  // A block that expands itself stops at the bound with an error; the text after it still comes.
  std::string out = Render(k, "{BLOCK b {x{BLOCK:b}}}{BLOCK:b}|after");
  EXPECT_TRUE(out.starts_with("xxxxx") && out.find("ERR:---Nesting too deep") != std::string::npos &&
              out.ends_with("|after"))
      << out;
  // Deeply nested brackets give an error, not a crash.
  for (char open : {'{', '('}) {
    cls_KEL k2;
    std::string deep(100000, open);
    std::string r = Render(k2, "{" + deep + "}");
    EXPECT_GT(k2.ERRORLIST->COUNT(), 0) << open;
    std::string r2 = Render(k2, std::string(100000, '{'));
    EXPECT_GT(k2.ERRORLIST->COUNT(), 0) << open;
  }
  // Many commands in a big text: linear, and the limit can be raised.
  std::string big;
  for (int i = 0; i < 5000; ++i) big += std::string(200, 'a') + "{VAR:x}";
  k.VARIABLES->ITEM_LET("X", "b");
  k.SETTINGS->ITEM_LET("SYS.COMMANDS.MAX", 5000);
  EXPECT_EQ(Render(k, big).size(), 5000u * 201u);
}

TEST(cls_KEL, IncludeAndLocate) {
  namespace fs = std::filesystem;
  fs::path dir = fs::path(BinaryDir()) / "kel_include_test";
  fs::remove_all(dir);
  fs::create_directories(dir / "inc");
  fs::create_directories(dir / "pages");
  std::ofstream(dir / "inc" / "head.kel") << "<h>{VAR:title}</h>";
  std::ofstream(dir / "pages" / "page.kel") << "P{INCLUDE head}";
  std::ofstream(dir / "self.kel") << "s{INCLUDE self}";
  std::ofstream(dir / "bad.kel") << "line1\n  {VAR:missing}";
  cls_KEL k;
  k.DIRECTORIES->ADD(dir.string());
  k.VARIABLES->ITEM_LET("TITLE", "T");
  EXPECT_EQ(Render(k, "{INCLUDE page}"), "P<h>T</h>");
  EXPECT_EQ(Render(k, "{INCLUDE inc\\head.kel}"), "<h>T</h>");
  EXPECT_EQ(Render(k, "{INCLUDE nothere}"), "");
  EXPECT_EQ(LastError(k), "<b>Could not include 'nothere'</b>");
  EXPECT_EQ(
      std::tuple(k.LOCATE("inc\\head.kel", "none"), k.LOCATE("nope.kel", "none"), k.LOCATEALL("inc/head.kel").size()),
      std::tuple((dir / "inc/head.kel").string(), "none", 1u));
  // A self-including file stops at the nesting bound with an error; processing goes on.
  k.SETTINGS->ITEM_LET("SYS.NESTING.MAX", 5);
  std::string out = Render(k, "{INCLUDE self}!");
  EXPECT_TRUE(out.starts_with("ssss") && out.find("Nesting too deep") != std::string::npos && out.back() == '!') << out;
  // Error places: the included file, its line and column.
  int before = k.ERRORLIST->COUNT();
  Render(k, "x\n{INCLUDE bad}");
  ASSERT_EQ(k.ERRORLIST->COUNT(), before + 1);
  EXPECT_EQ(LastPlace(k), "VAR not found: missing @ " + (dir / "bad.kel").string() + ":2:3");
  Render(k, "ab\ncd {VAR:nope}");
  EXPECT_EQ(LastPlace(k), "VAR not found: nope @ :2:4");
  // Confined: only inside DIRECTORIES, no way out with "..".
  fs::path outside = dir.parent_path() / "kel_outside.kel";
  std::ofstream(outside) << "secret";
  EXPECT_EQ(k.LOCATE(outside.string(), ""), outside.string());
  k.SETTINGS->ITEM_LET("SYS.LOCATE.CONFINED", true);
  EXPECT_EQ(
      std::tuple(k.LOCATE(outside.string(), ""), k.LOCATE("../kel_outside.kel", ""), k.LOCATE("inc/head.kel", "")),
      std::tuple("", "", (dir / "inc/head.kel").string()));
  fs::remove_all(dir);
  fs::remove(outside);
}

}  // namespace
}  // namespace rykel
