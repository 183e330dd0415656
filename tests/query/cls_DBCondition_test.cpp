#include "query/cls_DBCondition.h"

#include <gtest/gtest.h>

#include "database/enm_DBFieldType.h"
#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "tools/cls_DBTool.h"

namespace rykel {

namespace {
// "<operator text>|<lower>|<upper>" after READ.
std::string Read(std::string_view op, const Variant& v) {
  cls_DBCondition c;
  c.READ(op, v);
  return c.OPERATORTEXT() + "|" + CStr(c.LOWER()) + "|" + CStr(c.UPPER());
}
bool Filter(const Variant& v, const std::string& cond) { return cls_DBTool().FILTER(v, cond); }
Variant Day(int y, int m, int d, int h = 0) {
  double x = 0;
  date::FromParts({y, m, d, h, 0, 0}, x);
  return Variant::Date(x);
}
}  // namespace

TEST(cls_DBCondition, ReadsOperatorWordPrefixRangeAndDefault) {
  EXPECT_EQ(Read("", Variant("$BEGINS m")), "$BEGINS|m|");
  EXPECT_EQ(Read("", Variant("$>=5")), "$>=|5|");
  EXPECT_EQ(Read("", Variant("!=  x ")), "!=|x|");
  EXPECT_EQ(Read("", Variant("[] 1 10")), "[]|1|10");
  EXPECT_EQ(Read("", Variant("]] 2020-01-01 10:00 2020-02-01")), "]]|2020-01-01|2020-02-01");
  EXPECT_EQ(Read("[[", Variant("3")), "[[|3|3");
  EXPECT_EQ(Read("", Variant("*")), "$==|*|");  // "*" is never split
  EXPECT_EQ(Read("", Variant("Anna")), "$==|Anna|");
  EXPECT_EQ(Read("", Variant(7)), "==|7|");
  EXPECT_EQ(Read("<", Variant(" 7")), "<| 7|");  // a given operator leaves the value alone
  // A blank splits before prefixes are looked at: the operator is "=Anna", unknown.
  cls_DBCondition c;
  c.READ("", Variant("=Anna Maria"));
  EXPECT_EQ(c.OPERATOR(), cls_DBCondition::Op::Unknown);
}

TEST(cls_DBCondition, EveryOperatorAndAlias) {
  EXPECT_TRUE(Filter(5, "= 5"));
  EXPECT_TRUE(Filter(5, "== 5"));
  EXPECT_TRUE(Filter(5, "<> 4"));
  EXPECT_TRUE(Filter(5, "< 6"));
  EXPECT_FALSE(Filter(5, "> 5"));
  EXPECT_TRUE(Filter(5, ">= 5"));
  EXPECT_TRUE(Filter(5, "=> 5"));
  EXPECT_TRUE(Filter(5, "<= 5"));
  EXPECT_TRUE(Filter(5, "=< 5"));
  EXPECT_FALSE(Filter(10, "< 9"));  // numbers compare as numbers, not as text
  EXPECT_TRUE(Filter("Hamburg", "BEGINS Ham"));
  EXPECT_TRUE(Filter("Hamburg", "?... Ham"));
  EXPECT_TRUE(Filter("Hamburg", "ENDS burg"));
  EXPECT_TRUE(Filter("Hamburg", "...? burg"));
  EXPECT_TRUE(Filter("Hamburg", "CONTAINS mbu"));
  EXPECT_TRUE(Filter("Hamburg", "...?... mbu"));
  EXPECT_FALSE(Filter("Hamburg", "CONTAINS MBU"));
  EXPECT_TRUE(Filter("rot,grün blau", "CONTAINSWORD grün"));
  EXPECT_FALSE(Filter("rot,grünlich", "CONTAINSWORD grün"));
  EXPECT_TRUE(Filter("Hamburg", "CONTAINSONE xx,mbu"));
  EXPECT_FALSE(Filter("Hamburg", "CONTAINSONE xx, mbu"));         // items are not trimmed
  EXPECT_TRUE(Filter("rot,grün", "CONTAINSONEWORD gelb, grün"));  // these are
  EXPECT_TRUE(Filter("A", "IN A,B"));
  EXPECT_FALSE(Filter("A,B", "IN A,B"));
  EXPECT_TRUE(Filter(5, "[] 1 5"));
  EXPECT_FALSE(Filter(5, "[[ 1 5"));
  EXPECT_FALSE(Filter(5, "][ 1 5"));
  EXPECT_TRUE(Filter(5, "]] 1 5"));
  EXPECT_FALSE(Filter(1, "]] 1 5"));
  EXPECT_TRUE(Filter(1, "[[ 1 5"));
}

TEST(cls_DBCondition, FlagsInAnyOrderAndNegation) {
  EXPECT_TRUE(Filter("abc", "!IN x,y"));
  EXPECT_FALSE(Filter("x", "!IN x,y"));
  EXPECT_TRUE(Filter("Meier", "meier"));  // default "$==" is case-blind
  EXPECT_FALSE(Filter("Meier", "== meier"));
  EXPECT_TRUE(Filter("Müller", "$== MÜLLER"));
  for (const char* v : {"Hamburg", "Bremen", "hambach"}) {
    EXPECT_EQ(Filter(v, "$!BEGINS HAM"), Filter(v, "!$BEGINS HAM")) << v;
    EXPECT_NE(Filter(v, "CONTAINS am"), Filter(v, "!CONTAINS am")) << v;
  }
  EXPECT_FALSE(Filter("Hamburg", "$!BEGINS ham"));
}

TEST(cls_DBCondition, UnknownOperatorsAndBadBoundsMatchNothing) {
  EXPECT_FALSE(Filter("x", "LIKE x"));
  EXPECT_FALSE(Filter("x", "!LIKE x"));
  EXPECT_FALSE(Filter(5, "> abc"));
  EXPECT_FALSE(Filter(5, "!> abc"));
  EXPECT_FALSE(Filter(Day(2020, 1, 1), "= gestern"));
}

TEST(cls_DBCondition, EmptyValuesAndDates) {
  EXPECT_TRUE(Filter(Variant(), "="));
  EXPECT_TRUE(Filter("", "="));
  EXPECT_FALSE(Filter("x", "="));
  EXPECT_TRUE(Filter("x", "!="));
  // A date bound compares only the date part of the value.
  Variant noon = Day(2020, 5, 1, 12);
  EXPECT_TRUE(Filter(noon, "= 2020-05-01"));
  EXPECT_FALSE(Filter(noon, "> 2020-05-01"));
  EXPECT_TRUE(Filter(noon, "[[ 2020-05-01 2020-05-02"));
  EXPECT_TRUE(Filter(noon, "< 02.05.2020"));
  EXPECT_TRUE(Filter(Day(1850, 3, 1, 18), "= 1850-03-01"));  // before 1899 too
  EXPECT_TRUE(Filter(true, "= True"));
  EXPECT_FALSE(Filter(false, "= Wahr"));
}

TEST(cls_DBTool, SortDecodeAndIdGenerate) {
  cls_DBTool t;
  EXPECT_EQ(t.SORTDECODE("currency"), 1);
  EXPECT_EQ(t.SORTDECODE("Integer"), 0);
  EXPECT_EQ(t.SORTDECODE("single"), 7);
  EXPECT_EQ(t.SORTDECODE("ENUMMULTI"), 10);
  EXPECT_EQ(t.SORTDECODE("structure"), 4);
  EXPECT_EQ(t.SORTDECODE("gibtsnicht"), 1);
  EXPECT_EQ(t.IDGENERATE("  Müller & Söhne "), "MUELLERSOEHN");
  EXPECT_EQ(t.IDGENERATE("Straßenbahnhöfe"), "STRASSENBAHN");
  EXPECT_EQ(t.IDGENERATE("ABCDEFGHIJKÄ"), "ABCDEFGHIJKA");  // the cut falls inside "AE"
}

}  // namespace rykel
