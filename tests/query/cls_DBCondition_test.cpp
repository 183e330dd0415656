#include "query/cls_DBCondition.h"

#include <gtest/gtest.h>

#include "database/enm_DBFieldType.h"
#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "tools/cls_DBTool.h"

#include "../CaseTable.h"

namespace rykel {

namespace {
Variant Day(int y, int m, int d, int h = 0) {
  double x = 0;
  date::FromParts({y, m, d, h, 0, 0}, x);
  return Variant::Date(x);
}
}  // namespace

// How a condition text splits into operator and bounds: "<operator text>|<lower>|<upper>".
TEST(cls_DBCondition, ReadsOperatorWordPrefixRangeAndDefault) {
  const struct {
    const char* name;  // the condition
    const char* op;    // the operator given beside it
    Variant value;
    const char* want;
  } rows[] = {
      {"word", "", "$BEGINS m", "$BEGINS|m|"},
      {"prefix", "", "$>=5", "$>=|5|"},
      {"blanks trimmed", "", "!=  x ", "!=|x|"},
      {"range", "", "[] 1 10", "[]|1|10"},
      {"date range, time dropped", "", "]] 2020-01-01 10:00 2020-02-01", "]]|2020-01-01|2020-02-01"},
      {"given range, one value", "[[", "3", "[[|3|3"},
      {"\"*\" is never split", "", "*", "$==|*|"},
      {"text alone", "", "Anna", "$==|Anna|"},
      {"number alone", "", 7, "==|7|"},
      {"a given operator leaves the value alone", "<", " 7", "<| 7|"},
  };
  ForEachRow(rows, [](const auto& r) {
    cls_DBCondition c;
    c.READ(r.op, r.value);
    EXPECT_EQ(c.OPERATORTEXT() + "|" + CStr(c.LOWER()) + "|" + CStr(c.UPPER()), r.want);
  });
  // A blank splits before prefixes are looked at: the operator is "=Anna", unknown.
  cls_DBCondition c;
  c.READ("", Variant("=Anna Maria"));
  EXPECT_EQ(c.OPERATOR(), cls_DBCondition::Op::Unknown);
}

// Whether a value passes a condition, one row a case.
TEST(cls_DBCondition, FilterTable) {
  const Variant noon = Day(2020, 5, 1, 12);
  const struct {
    const char* name;  // the condition
    Variant value;
    bool want;
  } rows[] = {
      // Every operator and alias.
      {"= 5", 5, true},
      {"== 5", 5, true},
      {"<> 4", 5, true},
      {"< 6", 5, true},
      {"> 5", 5, false},
      {">= 5", 5, true},
      {"=> 5", 5, true},
      {"<= 5", 5, true},
      {"=< 5", 5, true},
      {"< 9", 10, false},  // numbers compare as numbers, not as text
      {"BEGINS Ham", "Hamburg", true},
      {"?... Ham", "Hamburg", true},
      {"ENDS burg", "Hamburg", true},
      {"...? burg", "Hamburg", true},
      {"CONTAINS mbu", "Hamburg", true},
      {"...?... mbu", "Hamburg", true},
      {"CONTAINS MBU", "Hamburg", false},
      {"CONTAINSWORD grün", "rot,grün blau", true},
      {"CONTAINSWORD grün", "rot,grünlich", false},
      {"CONTAINSONE xx,mbu", "Hamburg", true},
      {"CONTAINSONE xx, mbu", "Hamburg", false},         // items are not trimmed
      {"CONTAINSONEWORD gelb, grün", "rot,grün", true},  // these are
      {"IN A,B", "A", true},
      {"IN A,B", "A,B", false},
      {"[] 1 5", 5, true},
      {"[[ 1 5", 5, false},
      {"][ 1 5", 5, false},
      {"]] 1 5", 5, true},
      {"]] 1 5", 1, false},
      {"[[ 1 5", 1, true},
      // Flags in any order, and negation.
      {"!IN x,y", "abc", true},
      {"!IN x,y", "x", false},
      {"meier", "Meier", true},  // the default "$==" is case-blind
      {"== meier", "Meier", false},
      {"$== MÜLLER", "Müller", true},
      {"$!BEGINS ham", "Hamburg", false},
      // Unknown operators and bounds of the wrong kind match nothing, negated or not.
      {"LIKE x", "x", false},
      {"!LIKE x", "x", false},
      {"> abc", 5, false},
      {"!> abc", 5, false},
      {"= gestern", Day(2020, 1, 1), false},
      // Empty values.
      {"=", Variant(), true},
      {"=", "", true},
      {"=", "x", false},
      {"!=", "x", true},
      // A date bound compares only the date part of the value.
      {"= 2020-05-01", noon, true},
      {"> 2020-05-01", noon, false},
      {"[[ 2020-05-01 2020-05-02", noon, true},
      {"< 02.05.2020", noon, true},
      {"= 1850-03-01", Day(1850, 3, 1, 18), true},  // before 1899 too
      {"= True", true, true},
      {"= Wahr", false, false},
  };
  ForEachRow(rows, [](const auto& r) { EXPECT_EQ(cls_DBTool().FILTER(r.value, r.name), r.want) << CStr(r.value); });
}

// "$" and "!" may come in either order, and "!" turns every answer round.
TEST(cls_DBCondition, FlagsInAnyOrderAndNegation) {
  cls_DBTool t;
  for (const char* v : {"Hamburg", "Bremen", "hambach"}) {
    EXPECT_EQ(t.FILTER(v, "$!BEGINS HAM"), t.FILTER(v, "!$BEGINS HAM")) << v;
    EXPECT_NE(t.FILTER(v, "CONTAINS am"), t.FILTER(v, "!CONTAINS am")) << v;
  }
}

TEST(cls_DBTool, SortDecodeAndIdGenerate) {
  const Case<int> sorts[] = {{"currency", 1},   {"Integer", 0},   {"single", 7},
                             {"ENUMMULTI", 10}, {"structure", 4}, {"gibtsnicht", 1}};
  ForEachRow(sorts, [](const auto& r) { EXPECT_EQ(cls_DBTool().SORTDECODE(r.name), r.want); });
  const Case<const char*> ids[] = {
      {"  Müller & Söhne ", "MUELLERSOEHN"},
      {"Straßenbahnhöfe", "STRASSENBAHN"},
      {"ABCDEFGHIJKÄ", "ABCDEFGHIJKA"},  // the cut falls inside "AE"
  };
  ForEachRow(ids, [](const auto& r) { EXPECT_EQ(cls_DBTool().IDGENERATE(r.name), r.want); });
}

}  // namespace rykel
