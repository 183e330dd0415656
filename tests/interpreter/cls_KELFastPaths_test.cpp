// The interpreter's shortcuts give what the general paths give: bare names in conditions, variable
// paths, loop rounds appended to one buffer, the IF chain record and the command count shown in
// RECURSIONS.
#include "interpreter/cls_KEL.h"

#include <gtest/gtest.h>

#include <string>

#include "frame/Convert.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

double Calls(cls_KEL& k) { return CDbl(k.RECURSIONS->ITEM_GET("CALLS")); }

TEST(cls_KELFastPaths, RecursionsShowTheCountWhenSomeoneLooks) {
  cls_KEL k;
  k.VARIABLES->ITEM_LET("X", "a");
  EXPECT_EQ((std::tuple{k.PROCESS("{VAR:x}{VAR:x}", nullptr), Calls(k), CStr(k.EXECUTE("VAR:x")), Calls(k)}),
            std::tuple("aa", 2, "a", 3));

  // Events see the count of the commands run so far.
  double atEnd = -1, atWarning = -1;
  k.SIGNALED = [&](cls_KEL& kel, bool&, const Variant& flags) {
    if (CLng(flags) == kelSignalProcessEnd) atEnd = Calls(kel);
  };
  k.WARNING = [&](const std::string&, bool&) { atWarning = Calls(k); };
  k.SETTINGS->ITEM_LET("SYS.COMMANDS.MAX", 2);
  EXPECT_EQ(k.PROCESS("{VAR:x}{VAR:x}{VAR:x}", nullptr), "");  // the third is one too many
  EXPECT_EQ(std::tuple(atWarning, atEnd, Calls(k)), std::tuple(5, 5, 5));
}

TEST(cls_KELFastPaths, BareNamesAndPathsReadAsTheTokenizerWouldHaveThem) {
  cls_KEL k;
  auto row = cls_Structure::New();
  LetAll(*row, "ACTIVE", true, "NAME", "Jörg", "LEER", "");
  k.VARIABLES->ITEM_LET("ROW", Variant(row));
  k.VARIABLES->ITEM_LET("ÄRGER", 1);
  std::string longName(70, 'n');
  k.VARIABLES->ITEM_LET(longName, 1);
  // "( name )" goes through the tokenizer, "(name)" does not: both must agree.
  for (const std::string& name :
       std::initializer_list<std::string>{"row.active", "ROW.Active", "row.leer", "row.missing", "row.name.x", "ärger",
                                          "nothing", "row.count", longName, "true", "falsch"}) {
    std::string fast = k.PROCESS("{IF (" + name + ") {y} {n}}", nullptr);
    std::string slow = k.PROCESS("{IF ( " + name + " ) {y} {n}}", nullptr);
    EXPECT_EQ(fast, slow) << name;
  }
  EXPECT_EQ(k.PROCESS("{IF (row.active) {y} {n}}{IF (row.leer) {y} {n}}{IF (ärger) {y} {n}}", nullptr), "yny");
  EXPECT_EQ(k.PROCESS("{VAR:row.name}|{VAR:Row.Name}|{VAR:ROW.COUNT}|{VAR:ärger}", nullptr), "Jörg|Jörg|3|1");
  int before = k.ERRORLIST->COUNT();  // a path through a text
  EXPECT_EQ((std::tuple{k.PROCESS("{VAR:row.name.x}", nullptr).substr(0, 4), k.ERRORLIST->COUNT()}),
            std::tuple("ERR:", before + 1));
}

TEST(cls_KELFastPaths, LoopRoundsAppendWhatEachRoundWouldGiveAlone) {
  cls_KEL k;
  auto rows = cls_Structure::New();
  rows->ITEM_LET("first", "a");
  for (const char* v : {"b", "c", "d"}) rows->ADD(v);
  rows->REMOVE(3);  // an unused slot is skipped
  k.VARIABLES->ITEM_LET("ROWS", Variant(rows));
  EXPECT_EQ(k.PROCESS("{ITERATE r VAR:rows {[{VAR:r_index}:{VAR:R_KEY}={VAR:r}]}}", nullptr),
            "[1:FIRST=a][2:2=b][3:4=d]");
  // The body may change the structure it walks: later rounds see the change (the new item takes
  // the unused slot 3).
  EXPECT_EQ(k.PROCESS("{ITERATE r VAR:rows {{VAR:r}{VAR rows.added x}}}", nullptr), "abxd");
  // A round that the command bound stops gives nothing (or only its error text); the rounds
  // before it keep theirs.
  k.SETTINGS->ITEM_LET("SYS.COMMANDS.MAX", 2);
  std::string body = "<{VAR:r}{VAR:r}{VAR:r}>";
  EXPECT_EQ(k.PROCESS("{ITERATE r VAR:rows {" + body + "}}", nullptr), "");
  k.SETTINGS->ITEM_LET("DEVELOPER.DEBUG", true);
  std::string looped = k.PROCESS("{ITERATE r VAR:rows {" + body + "}}", nullptr);
  size_t errors = 0;
  for (size_t at = looped.find("ERR:---Not parseable"); at != std::string::npos;
       at = looped.find("ERR:---Not parseable", at + 1))
    ++errors;
  EXPECT_TRUE(errors == 4u && looped.find('<') == std::string::npos) << looped;
}

TEST(cls_KELFastPaths, IfChainsAcrossNestedLevelsAndLoops) {
  cls_KEL k;
  // Each chain at the start of its own page; a command between IF and ELSE breaks the chain.
  const std::pair<const char*, const char*> chains[] = {
      {"{IF (0) {a}}{ELSE {b}}", "b"},
      {"{IF (1) {{IF (0) {x}}{ELSE {y}}}}{ELSE {z}}", "y"},
      {"{IF (0) {a}}{ELSEIF (0) {b}}{ELSEIF (1) {c}}{ELSE {d}}", "c"},
      {"{FOR i 1 4 1 {{IF (i = 2) {two}}{ELSEIF (i = 3) {three}}{ELSE {-}}}}", "-twothree-"}};
  for (const auto& [page, want] : chains) EXPECT_EQ(k.PROCESS(page, nullptr), want) << page;
  EXPECT_EQ(k.PROCESS("{IF (0) {a}}{VAR x 1}{ELSE {b}}", nullptr).substr(0, 4), "ERR:");
}

}  // namespace
}  // namespace rykel
