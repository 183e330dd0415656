// Command texts are decoded once and kept: what the kept form gives must follow every change of
// the variables between uses, as decoding the text again would.
#include "interpreter/cls_KEL.h"

#include <gtest/gtest.h>

#include <string>

#include "frame/Convert.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

TEST(cls_KELPlans, KeptCommandsFollowTheVariables) {
  cls_KEL k;
  const std::string page = "[{VAR:row.name}|{IF (row.active) {on} {off}}]";
  auto row = cls_Structure::New();
  LetAll(*row, "NAME", "Anna", "ACTIVE", 1);
  k.VARIABLES->ITEM_LET("ROW", row);
  EXPECT_EQ(k.PROCESS(page, nullptr), "[Anna|on]");

  // The same texts again after the row changed in place, was replaced, became a scalar, was removed.
  LetAll(*row, "NAME", "Berta", "ACTIVE", 0);
  EXPECT_EQ(k.PROCESS(page, nullptr), "[Berta|off]");
  auto other = Struct({{"NAME", "Carl"}});
  k.VARIABLES->ITEM_LET("ROW", other);
  EXPECT_EQ(k.PROCESS(page, nullptr), "[Carl|on]");  // ACTIVE missing: its name is the (true) value
  k.VARIABLES->ITEM_LET("ROW", "plain");
  EXPECT_EQ(k.ERRORLIST->COUNT(), 0);
  std::string scalar = k.PROCESS(page, nullptr);
  EXPECT_NE(scalar.find("ERR:---VAR not found: row.name---"), std::string::npos) << scalar;

  // Variables written before ROW move it to another slot; an earlier slot of the same name wins.
  // COUNT is the item count, never a slot.
  k.VARIABLES->REMOVE("ROW");
  LetAll(*k.VARIABLES, "A", 1, "ROW", row);
  EXPECT_EQ(k.PROCESS(page, nullptr), "[Berta|off]");
  EXPECT_EQ(k.PROCESS("{VAR:row.count}", nullptr), "2");
  // Zero-based structures and names in other letter cases.
  auto zero = cls_Structure::New();
  zero->ITEM_LET(0, "null");
  zero->ITEM_LET("X", "x");
  k.VARIABLES->ITEM_LET("Z", zero);
  EXPECT_EQ(k.PROCESS("{VAR:Z.x}{VAR:z.X}", nullptr), "xx");
}

TEST(cls_KELPlans, LoopRoundsSeeTheirOwnRow) {
  cls_KEL k;
  auto rows = cls_Structure::New();
  for (int i = 1; i <= 3; ++i) {
    auto r = cls_Structure::New();
    LetAll(*r, "N", i, "ON", i % 2);
    rows->ADD(r);
  }
  k.VARIABLES->ITEM_LET("ROWS", rows);
  EXPECT_EQ(k.PROCESS("{ITERATE row VAR:rows {{VAR:row.n}{IF (row.on) {+} {-}}}}", nullptr), "1+2-3+");
  // The block changes the loop variable itself: later commands of the round see the change.
  EXPECT_EQ(k.PROCESS("{ITERATE row VAR:rows {{VAR row 7}{VAR:row}{IF (row.on) {+} {-}}}}", nullptr), "7+7+7+");

  // Big variable tables take the general lookup and give the same.
  for (int i = 0; i < 100; ++i) k.VARIABLES->ITEM_LET("V" + std::to_string(i), i);
  EXPECT_EQ(k.PROCESS("{ITERATE row VAR:rows {{VAR:row.n}{IF (row.on) {+} {-}}}}", nullptr), "1+2-3+");
  EXPECT_EQ(k.PROCESS("{VAR:v99}", nullptr), "99");
}

// ITERATE stores its loop variables straight into their slots: what it leaves must be what
// writing them with ITEM_LET leaves, however the block treats them.
TEST(cls_KELPlans, LoopVariablesAreBoundAsItemLetBindsThem) {
  cls_KEL k;
  StructurePtr probe;  // one of the rows, to count its references
  {
    auto rows = cls_Structure::New();
    for (int i = 1; i <= 3; ++i) {
      auto r = cls_Structure::New();
      r->ITEM_LET("N", i);
      rows->ITEM_LET("K" + std::to_string(i), r);
    }
    k.VARIABLES->ITEM_LET("ROWS", rows);
    probe = rows->ITEM_GET("K2").as<cls_Structure>();
  }
  const struct {
    const char* page;
    const char* want;
  } cases[] = {
      // the block removes the variables each round: the next round binds them again
      {"{ITERATE row VAR:rows {{VAR:row.n}{VAR:row_key}{DISPOSE row row_key}}}{VAR:row_index}", "1K12K23K33"},
      {"{VAR:row}", "ERR:---VAR not found: row---"},
      // a dotted name is a path, as ITEM_LET makes it
      {"{ITERATE o.row VAR:rows {{VAR:o.row.n}}}{VAR:o.row_index}", "1233"},
      // a scalar structure and another loop over the same name
      {"{ITERATE row VAR:o {{VAR:row_key}}}", "ROWROW_KEYROW_INDEX"},
  };
  for (const auto& c : cases) EXPECT_EQ(k.PROCESS(c.page, nullptr), c.want) << c.page;

  // In DEFAULTMODE nothing is overwritten: the first binding of ROW stays for every round, and
  // ROW_INDEX keeps the value the last loop left.
  k.VARIABLES->REMOVE("ROW");
  k.VARIABLES->DEFAULTMODE_LET(true);
  EXPECT_EQ(k.PROCESS("{ITERATE row VAR:rows {{VAR:row.n}{VAR:row_index}}}", nullptr), "131313");
  k.VARIABLES->DEFAULTMODE_LET(false);

  // A row's references are its parent's, the probe's and a loop variable's: once the loop
  // variables are gone, the first two are left.
  k.VARIABLES->REMOVE("ROW");
  k.VARIABLES->REMOVE("O");
  EXPECT_EQ(probe->MANAGER_GET()->REFCOUNT(probe->SID_GET()), 2);
}

// An IF on a bare name between plain texts is answered from its plan: the branch, the chain it
// leaves for ELSEIF and ELSE, and the count of commands must be what running it gives.
TEST(cls_KELPlans, PlainIfsKeepTheirChainsAndCounts) {
  const char* chain = "{IF (x) {a}}-{ELSEIF (y) {c}}{ELSE {d}}|{IF (x) {a} {b}}{ELSE {e}}";
  const struct {
    Variant x;
    const char* want;
  } cases[] = {
      {Variant("1"), "a-|a"},
      {Variant("0"), "-d|b"},
      {Variant(""), "-d|b"},
      {Variant(0), "-d|b"},
      {Variant(2.5), "a-|a"},
      {Variant(false), "-d|b"},
      {Variant::Null(), "a-|a"},  // a Null variable is missing: its name "x" is the (true) value
      {Variant(cls_Structure::New()), "a-|a"},
  };
  for (const auto& c : cases) {
    cls_KEL k;
    k.VARIABLES->ITEM_LET("X", c.x);
    k.VARIABLES->ITEM_LET("Y", 0);
    EXPECT_EQ((std::tuple{k.PROCESS(chain, nullptr), CDbl(k.RECURSIONS->ITEM_GET("CALLS")), k.ERRORLIST->COUNT()}),
              std::tuple(c.want, 5.0, 0))
        << c.x.vartype();
  }
  cls_KEL k;
  EXPECT_EQ(k.PROCESS(chain, nullptr), "a-|a");  // no X at all
  // The step bound stops at the same command whichever way the commands run.
  k.VARIABLES->ITEM_LET("X", "v");
  k.SETTINGS->ITEM_LET("SYS.STEPS.MAX", 3);
  std::string out = k.PROCESS("{VAR:x}{IF (x) {a}}{VAR:x}{VAR:x}{VAR:x}", nullptr);
  EXPECT_EQ(out.substr(0, 6), "vavERR") << out;
}

TEST(cls_KELPlans, TheSameTextAtManyPlacesAndLongTexts) {
  cls_KEL k;
  k.VARIABLES->ITEM_LET("X", "a");
  // Texts built anew each time lie at new addresses: each is still decoded right.
  for (int i = 0; i < 50; ++i) {
    std::string t = "{VAR:x}" + std::string(static_cast<size_t>(i), ' ') + "{IF (x) {" + std::to_string(i) + "}}";
    k.VARIABLES->ITEM_LET("X", i % 2 ? "a" : "");
    std::string want = (i % 2 ? "a" : "") + std::string(static_cast<size_t>(i), ' ') + (i % 2 ? std::to_string(i) : "");
    ASSERT_EQ(k.PROCESS(t, nullptr), want) << i;
  }
  // A text with more distinct commands than it keeps plans for: the rest are decoded as they run.
  std::string many, want;
  for (int i = 0; i < 90; ++i) {
    k.VARIABLES->ITEM_LET("V" + std::to_string(i), i);
    many += "<{VAR:v" + std::to_string(i) + "}>";
    want += "<" + std::to_string(i) + ">";
  }
  EXPECT_EQ(k.PROCESS(many, nullptr), want);
  EXPECT_EQ(k.PROCESS(many, nullptr), want);  // kept
  // A command longer than any kept one.
  std::string longName(300, 'q');
  k.VARIABLES->ITEM_LET(longName, "long");
  EXPECT_EQ(k.PROCESS("{IF (" + longName + ") {yes} {no}}{VAR:" + longName + "}", nullptr), "yeslong");
}

}  // namespace
}  // namespace rykel
