#include "database/cls_DBField.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "structure/cls_Structure.h"

#include "../TestSupport.h"

namespace rykel {

// The key order and the round trip of every member: EveryTableMemberTravelsThroughTheStructure.
TEST(cls_DBField, StructureReadsTypeWordsTruthWordsAndTheDefaultMark) {
  auto g = std::make_shared<cls_DBField>();
  g->NAME = "Postleitzahl";
  auto w = cls_Structure::New();
  LetAll(*w, "TYPE", "string", "INDEXED", "Falsch", "WRITEONCE", "ja");
  g->STRUCTURE_LET(w);
  // STRUCTURE_LET starts from a cleared definition: the name is gone
  EXPECT_EQ(std::tuple(g->TYPE, g->INDEXED, g->WRITEONCE, g->NAME), std::tuple(ID_DBFieldType_String, false, true, ""));
  LetAll(*w, "TYPE", "Datum", "DEFAULT", "_DEFAULT_");
  g->STRUCTURE_LET(w);
  EXPECT_EQ(std::tuple(g->TYPE, CStr(g->DEFAULT), g->DEFAULTVALUE_GET().type()),
            std::tuple(ID_DBFieldType_Date, "{IO:TIMESTAMP}", VarType::Date));
  g->CLEAR();
  EXPECT_EQ(std::tuple(g->TYPE, g->DEFAULT.isEmpty()), std::tuple(ID_DBFieldType_String, true));
  EXPECT_TRUE(g->SELF().get() == g.get() && g->THIS_GET().get() == g.get());
}

namespace {
// A value unlike the member's default, by the member's type.
void hUnlikeDefault(bool& r, const char*) { r = true; }
void hUnlikeDefault(int32_t& r, const char*) { r = 7; }
void hUnlikeDefault(std::string& r, const char* pKey) { r = std::string("text of ") + pKey; }
void hUnlikeDefault(Variant& r, const char* pKey) { r = Variant(std::string("value of ") + pKey); }
template <class T>
bool hSame(const T& a, const T& b) {
  return a == b;
}
bool hSame(const Variant& a, const Variant& b) { return a.isEmpty() == b.isEmpty() && CStr(a) == CStr(b); }
}  // namespace

// Every member of the one member table is in KEYS, written by STRUCTURE_GET in that order, read
// back by STRUCTURE_LET and reset by CLEAR: a member added to the table is covered here as well.
TEST(cls_DBField, EveryTableMemberTravelsThroughTheStructure) {
  cls_DBField f, g;
  std::vector<std::string> table;
#define RYKEL_SET(member, kind) \
  table.push_back(#member);     \
  hUnlikeDefault(f.member, #member);
  RYKEL_DBFIELD_MEMBERS(RYKEL_SET)
#undef RYKEL_SET
  auto s = f.STRUCTURE_GET();
  std::vector<std::string> written, keys(cls_DBField::KEYS().begin(), cls_DBField::KEYS().end());
  for (int32_t i = s->BASE(); i <= s->MAX(); ++i) written.push_back(s->ID_GET(i));
  EXPECT_EQ(written, table);
  EXPECT_EQ(keys, table);
  g.STRUCTURE_LET(s);
  cls_DBField fresh;
#define RYKEL_CHECK(member, kind)                                      \
  EXPECT_TRUE(hSame(g.member, f.member)) << #member << " read back";   \
  EXPECT_FALSE(hSame(g.member, fresh.member)) << #member << " is set"; \
  g.CLEAR();                                                           \
  EXPECT_TRUE(hSame(g.member, fresh.member)) << #member << " cleared"; \
  g.STRUCTURE_LET(s);
  RYKEL_DBFIELD_MEMBERS(RYKEL_CHECK)
#undef RYKEL_CHECK
}

TEST(cls_DBField, TypeTextsAndMembers) {
  EXPECT_EQ((std::vector<std::string>{cls_DBField::TYPETEXT(10), cls_DBField::TYPETEXT(10, true),
                                      cls_DBField::TYPETEXT(6, true), cls_DBField::TYPETEXT(3),
                                      cls_DBField::TYPETEXT(11), cls_DBField::TYPETEXT(-1, true)}),
            (std::vector<std::string>{"ENUMMULTI", "Mehrfachauswahl", "Auswahl (Numerisch)", "BOOL", "", ""}));
  auto m = cls_DBField::TYPEMEMBERS();
  ASSERT_EQ(m.size(), 11u);
  EXPECT_EQ(std::tuple(m.front(), m[3], m.back()), std::tuple("LONG", "ENUMMULTI", "STRUCT"));
  for (int32_t t = 0; t < kDBFieldTypeCount; ++t) {
    EXPECT_EQ(cls_DBField::TYPEDECODE(cls_DBField::TYPETEXT(t)), t);
    EXPECT_EQ(cls_DBField::TYPEDECODE(cls_DBField::TYPETEXT(t, true)), t);
  }
}

TEST(cls_DBField, DisplayTextsAndValueModes) {
  cls_DBField f;
  f.TYPE = ID_DBFieldType_Boolean;
  f.FORMATEMPTY = "-";
  EXPECT_EQ(std::tuple(f.TEXT(Variant(true)), f.TEXT(Variant("falsch")), f.TEXT(Variant())),
            std::tuple("Ja", "Nein", "-"));
  f.TYPE = ID_DBFieldType_Date;
  EXPECT_EQ(f.TEXT(Variant("2024-02-29")), "29.02.2024");
  f.TYPE = ID_DBFieldType_Double;
  f.FORMATDIGITS = 2;
  EXPECT_EQ(f.TEXT(Variant(3.14159)), "3.14");
  f.TYPE = ID_DBFieldType_String;
  EXPECT_EQ(f.TEXTHTML(Variant("a<b & \"c\"\r\nd")), "a&lt;b &amp; &quot;c&quot;<br>d");

  f.TYPE = ID_DBFieldType_Enum;
  f.MEMBERS = "r=Rot, g=Grün ,Blau";
  EXPECT_EQ(std::tuple(f.TEXT(Variant("g")), f.TEXT(Variant("g"), 1), f.TEXT(Variant("g"), 2), f.TEXT(Variant("Blau")),
                       f.TEXT(Variant("x"))),
            std::tuple("Grün", "g", "g - Grün", "Blau", "x"));
  f.TYPE = ID_DBFieldType_EnumMulti;
  EXPECT_EQ(f.TEXT(Variant("r,Blau")), "Rot, Blau");
  f.TYPE = ID_DBFieldType_EnumNumeric;
  f.MEMBERS = "Klein,Mittel,Groß";
  EXPECT_EQ(std::tuple(f.TEXT(Variant(2)), f.VALUECONVERT(Variant("3")).type()), std::tuple("Mittel", VarType::Long));
  f.TYPE = ID_DBFieldType_Long;
  EXPECT_TRUE(f.VALUECONVERT(Variant("abc")).isEmpty() && CLng(f.VALUECONVERT(Variant("12"))) == 12);
}

namespace {

// Sorting values by their sort texts gives the order of the values themselves, both ways round.
template <class T, class Less>
void hExpectSortOrder(const cls_DBField& f, std::vector<T> values, std::function<Variant(const T&)> make, Less less) {
  std::vector<std::pair<std::string, T>> keyed;
  for (const auto& v : values) keyed.emplace_back(f.TEXTSORT(make(v)), v);
  std::stable_sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  for (size_t i = 1; i < keyed.size(); ++i) EXPECT_FALSE(less(keyed[i].second, keyed[i - 1].second)) << i;
  keyed.clear();
  for (const auto& v : values) keyed.emplace_back(f.TEXTSORT(make(v), false, true), v);
  std::stable_sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  for (size_t i = 1; i < keyed.size(); ++i) EXPECT_FALSE(less(keyed[i - 1].second, keyed[i].second)) << i;
}

}  // namespace

TEST(cls_DBField, SortTextsOrderRandomValuesOfEveryType) {
  std::mt19937 gen(7);
  cls_DBField f;

  f.TYPE = ID_DBFieldType_Double;
  std::vector<double> ds = {0, -0.0, 1e-300, -1e-300, 1e300, -1e300, 0.5, -0.5};
  std::uniform_real_distribution<double> ud(-1e6, 1e6);
  for (int i = 0; i < 2000; ++i) ds.push_back(i % 3 ? ud(gen) : std::round(ud(gen) / 1000));
  hExpectSortOrder<double>(
      f, ds, [](const double& d) { return Variant(d); }, std::less<double>());

  f.TYPE = ID_DBFieldType_Long;
  std::uniform_int_distribution<int32_t> ui(-2000000000, 2000000000);
  std::vector<int32_t> ls = {0, -1, 1, 2147483647, -2147483647};
  for (int i = 0; i < 2000; ++i) ls.push_back(ui(gen) / (i % 5 + 1));
  hExpectSortOrder<int32_t>(
      f, ls, [](const int32_t& v) { return Variant(v); }, std::less<int32_t>());

  f.TYPE = ID_DBFieldType_Date;
  std::uniform_real_distribution<double> udate(-600000, 2900000);  // years 257 .. 9839
  std::vector<double> dates;
  for (int i = 0; i < 2000; ++i) dates.push_back(std::round(udate(gen) * 86400) / 86400);
  hExpectSortOrder<double>(
      f, dates, [](const double& d) { return Variant::Date(d); },
      [](double a, double b) {  // OLE dates before 1899 count the time of day forward
        auto pa = date::ToParts(a), pb = date::ToParts(b);
        return std::tie(pa.year, pa.month, pa.day, pa.hour, pa.minute, pa.second) <
               std::tie(pb.year, pb.month, pb.day, pb.hour, pb.minute, pb.second);
      });

  f.TYPE = ID_DBFieldType_Boolean;
  std::vector<int> bs;
  for (int i = 0; i < 200; ++i) bs.push_back(static_cast<int>(gen() % 2));
  hExpectSortOrder<int>(
      f, bs, [](const int& b) { return Variant(b != 0); }, std::less<int>());

  f.TYPE = ID_DBFieldType_Enum;
  f.MEMBERS = "z=Zebra,a=Affe,m=Maus";
  std::vector<int> pos;
  const char* vals[] = {"z", "a", "m"};
  for (int i = 0; i < 300; ++i) pos.push_back(static_cast<int>(gen() % 3));
  hExpectSortOrder<int>(
      f, pos, [&](const int& p) { return Variant(vals[p]); }, std::less<int>());

  f.TYPE = ID_DBFieldType_String;
  std::vector<std::string> ss = {"", "a", "A", "ab", "b", "Zz", "zz", "a b"};
  for (int i = 0; i < 1000; ++i) {
    std::string s;
    for (int n = static_cast<int>(gen() % 6); n > 0; --n) s.push_back(static_cast<char>('a' + gen() % 26));
    ss.push_back(s);
  }
  auto upperLess = [](const std::string& a, const std::string& b) {
    std::string x = a, y = b;
    for (char& c : x) c = static_cast<char>(toupper(c));
    for (char& c : y) c = static_cast<char>(toupper(c));
    return x < y;
  };
  hExpectSortOrder<std::string>(
      f, ss, [](const std::string& s) { return Variant(s); }, upperLess);

  // Umlauts sort with their base letters, and empty values come first.
  EXPECT_LT(f.TEXTSORT(Variant("Äpfel")), f.TEXTSORT(Variant("Birne")));
  // ASCII past 'z' stays as it is
  EXPECT_EQ(std::tuple(f.TEXTSORT(Variant("Straße")), f.TEXTSORT(Variant("a{b}~"))), std::tuple("STRASSE", "A{B}~"));
  f.TYPE = ID_DBFieldType_Long;
  EXPECT_LT(f.TEXTSORT(Variant()), f.TEXTSORT(Variant(-5)));
  // With the prefix flag a number sorts by its text.
  EXPECT_LT(f.TEXTSORT(Variant(10), true), f.TEXTSORT(Variant(9), true));
  EXPECT_GT(f.TEXTSORT(Variant(10)), f.TEXTSORT(Variant(9)));
}

}  // namespace rykel
