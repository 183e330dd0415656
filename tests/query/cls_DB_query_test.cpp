// Queries, search, filters and sorting of cls_DB on a small database of known entries.
#include <gtest/gtest.h>

#include "TableDB.h"
#include "TestSupport.h"

#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/Notifier.h"
#include "host/cls_DB.h"

#include "../CaseTable.h"

namespace rykel {

namespace {

struct People {
  DBPtr db = TableDB({{"NAME", ID_DBFieldType_String, "", true},
                      {"CITY"},
                      {"AGE", ID_DBFieldType_Long, "", true},
                      {"BORN", ID_DBFieldType_Date},
                      {"TAGS", ID_DBFieldType_EnumMulti, "", false, "a=Alpha,b=Beta,ab=AlphaBeta"},
                      {"DATA", ID_DBFieldType_Structure},
                      {"ADDR.ZIP"}},
                     {{"Meier", "Hamburg", 40, "1984-05-01 13:30:00", "a,b", Variant(), "20095"},
                      {"meier", "Bad Homburg", 12, "2012-01-31", "ab", Variant(), "61348"},
                      {"Müller", "München", 40, "1984-05-02", "b", Variant(), "80331"},
                      {"Schmidt", "Hamburg-Altona", -3, "1850-03-01 18:00:00", "", Variant(), "22765"},
                      {"Anna Maria", "", 7, "", "a", Variant(), ""}});
  People() {
    auto data = Struct({{"KEY1", 1}});
    db->ENTRYFIELD_LET(1, "DATA", Variant(data));
  }
  std::string Q(const Variant& field, const std::string& op, const Variant& v) {
    return Ids(db->ENTRYQUERY(field, op, v));
  }
};

}  // namespace

TEST(cls_DB_query, DefaultIsCaseBlindAndExactEqualityUsesTheIndex) {
  People p;
  EXPECT_EQ(p.Q("NAME", "", "MEIER"), "1,2");
  EXPECT_EQ(p.db->DEBUGTRACK_GET().rfind("ENTRYQUERY-15", 0), 0u);  // scanned
  EXPECT_EQ(p.Q("NAME", "==", "Meier"), "1");
  EXPECT_EQ(p.db->DEBUGTRACK_GET(), "ENTRYQUERY-7");  // answered by the index
  EXPECT_EQ(p.Q("NAME", "", "==meier"), "2");
  EXPECT_EQ(p.Q("NAME", "", "$==meier"), "1,2");
  EXPECT_EQ(p.Q("AGE", "", 40), "1,3");  // a number: "==" from the index
  EXPECT_EQ(p.db->DEBUGTRACK_GET(), "ENTRYQUERY-7");
  // With a list the index is not used, and the list's order is kept.
  EXPECT_EQ(Ids(p.db->ENTRYQUERY("AGE", "=", 40, cls_DB::IdList{3, 99, 1})), "3,1");
  EXPECT_EQ(p.Q("NAME", "", "Anna Maria"), "");  // read as the operator "Anna": unknown
  EXPECT_EQ(p.Q("NAME", "", "= Anna Maria"), "5");
}

// One query a row: the field (by name, number or spelling), the operator given beside the
// condition, and the ids found.
TEST(cls_DB_query, QueryTable) {
  People p;
  const struct {
    const char* name;  // the condition
    Variant field;
    const char* op;
    const char* want;
  } rows[] = {
      // Fields by number, "_" for ".", any letter case; unknown fields compare as empty text.
      {"$BEGINS ham", 2, "", "1,4"},
      {"2", "ADDR_ZIP", "BEGINS", "1,4"},
      {"BEGINS 2", "addr.zip", "", "1,4"},
      {"=", "NOSUCH", "", "1,2,3,4,5"},
      {"x", "NOSUCH", "", ""},
      {"LIKE x", "NAME", "", ""},
      // Operators on typed fields.
      {">= 12", "AGE", "", "1,2,3"},
      {"< 0", "AGE", "", "4"},
      {"[] 7 12", "AGE", "", "2,5"},
      {"][ 7 12", "AGE", "", ""},
      {"IN 7,40", "AGE", "", "1,3,5"},
      {"= 1984-05-01", "BORN", "", "1"},  // date part only
      {"[] 1984-05-01 1984-05-02", "BORN", "", "1,3"},
      {"< 1900-01-01", "BORN", "", "4,5"},  // an empty value is the least of all
      {"=", "BORN", "", "5"},
      {"CONTAINS burg", "CITY", "", "1,2,4"},
      {"!CONTAINS burg", "CITY", "", "3,5"},
      {"CONTAINSWORD Homburg", "CITY", "", "2"},
      // Multiple choice: whole members only; structures: item names.
      {"CONTAINSONE a", "TAGS", "", "1,5"},
      {"CONTAINSONE ab,x", "TAGS", "", "2"},
      {"CONTAINS a", "TAGS", "", "1,2,5"},
      {"CONTAINSONE x,key1", "DATA", "", "1"},
  };
  ForEachRow(rows, [&](const auto& r) { EXPECT_EQ(p.Q(r.field, r.op, r.name), r.want) << CStr(r.field); });
  EXPECT_EQ(p.Q("CITY", "", "$!CONTAINS BURG"), p.Q("CITY", "", "!$CONTAINS BURG"));
}

TEST(cls_DB_query, ColumnsFollowEntryChanges) {
  People p;
  EXPECT_EQ(p.Q("CITY", "", "$CONTAINS BURG"), "1,2,4");
  p.db->ENTRYFIELD_LET(3, "CITY", "Freiburg");
  p.db->ENTRYREMOVE(1);
  EXPECT_EQ(p.Q("CITY", "", "$CONTAINS BURG"), "2,3,4");
  EXPECT_EQ(p.Q("NAME", "==", "Meier"), "");
}

TEST(cls_DB_query, Search) {
  People p;
  const Case<const char*> rows[] = {
      {"hamburg", "1,4"},
      {"hamburg meier", "1"},
      {"hamburg -bad", "1,4"},
      {"\"bad homburg\"", "2"},
      {"müller | schmidt", "3,4"},
      {"müller OR schmidt ODER anna", "3,4,5"},
      {"^ham", "1,4"},  // at the start of a value
      {"meier -(bad | 40)", ""},
      {"(meier | müller) -münchen", "1,2"},
      {"", "1,2,3,4,5"},
  };
  ForEachRow(rows, [&](const auto& r) { EXPECT_EQ(Ids(p.db->ENTRYSEARCH(r.name)), r.want); });
  EXPECT_EQ(Ids(p.db->ENTRYSEARCH("meier", cls_DB::IdList{2, 1})), "2,1");
  std::string deep(40, '(');
  EXPECT_THROW(p.db->ENTRYSEARCH(deep + "x"), Error);
  EXPECT_EQ(Ids(p.db->ENTRYSEARCH(std::string(33, ')') + "anna")), "5");
}

TEST(cls_DB_query, Sorting) {
  People p;
  EXPECT_EQ(Ids(p.db->ENTRYSORT("CITY")), "5,2,1,4,3");
  EXPECT_EQ(Ids(p.db->ENTRYSORT("AGE", true)), "1,3,2,5,4");  // index walk: equal keys in added order
  EXPECT_EQ(p.db->DEBUGTRACK_GET(), "ENTRYFILTER-ADVANCED-7");
  EXPECT_EQ(Ids(p.db->ENTRYSORT("&AGE", true)), "5,1,3,2,4");  // display text, no index
  EXPECT_EQ(p.db->DEBUGTRACK_GET(), "ENTRYFILTER-ADVANCED-10");
  EXPECT_EQ(Ids(p.db->ENTRYSORTADVANCED("", false, "CITY")), "5,2,1,4,3");  // shifted
  EXPECT_EQ(Ids(p.db->ENTRYSORTADVANCED("CITY", false, "")), "5,2,1,4,3");
  // Descending first, ascending second: groups high to low, inside them low to high.
  EXPECT_EQ(Ids(p.db->ENTRYSORTADVANCED("AGE", true, "CITY", std::nullopt, false)), "1,3,2,5,4");
  EXPECT_EQ(Ids(p.db->ENTRYSORTADVANCED("AGE", true, "CITY", std::nullopt, true)), "3,1,2,5,4");
  EXPECT_EQ(Ids(p.db->ENTRYSORTADVANCED("AGE", false, "NAME", cls_DB::IdList{3, 4, 1}, true)), "4,3,1");
  EXPECT_EQ(Ids(p.db->ENTRYSORT("", false, {3, 1})), "3,1");
  EXPECT_EQ(Ids(p.db->ENTRYALL("NAME")), "5,1,2,3,4");
  EXPECT_EQ(Ids(p.db->ENTRYALL()), "1,2,3,4,5");
}

// Two-field sorts order by the joined key key1 "_" key2 (key2 inverted when the directions
// differ), byte by byte, stable in both directions. The reference here builds those keys as
// strings from the fields' sort texts; prefixes, "_" and blanks inside the first key are where
// the joined order differs from "field 1, then field 2".
TEST(cls_DB_query, TwoFieldSortsUseTheJoinedKey) {
  auto db = std::make_shared<cls_DB>();
  db->FIELDCREATE("W", ID_DBFieldType_String);
  db->FIELDCREATE("V", ID_DBFieldType_String);
  db->FIELDCREATE("N", ID_DBFieldType_Long);
  const char* w[] = {"A", "AB", "A_B", "A B", "", "a", "A_", "AB", "", "A"};
  const char* v[] = {"x", "", "y", "x", "b", "a", "", "xy", "a", "x"};
  for (int i = 0; i < 10; ++i) {
    db->ENTRYADD(i + 1);
    db->ENTRYFIELD_LET(i + 1, "W", w[i]);
    db->ENTRYFIELD_LET(i + 1, "V", v[i]);
    db->ENTRYFIELD_LET(i + 1, "N", i % 3 ? Variant(i * 7 % 5) : Variant(""));
  }
  // The joined keys, spelled out: 4 "A B_X" < 2 "AB_" < 8 "AB_XY" < 6 "A_A" < 3 "A_B_Y" < 1, 10
  // "A_X" < 7 "A__" < 9 "_A" < 5 "_B". So "A_B" comes between two "A" entries, and empty first
  // values come last.
  EXPECT_EQ(Ids(db->ENTRYSORTADVANCED("W", false, "V")), "4,2,8,6,3,1,10,7,9,5");
  // Descending first, ascending second: V is inverted (every byte complemented, longer texts
  // first), then the whole order runs backwards; equal keys (1 and 10) keep their order.
  EXPECT_EQ(Ids(db->ENTRYSORTADVANCED("W", true, "V")), "9,5,6,1,10,7,3,2,8,4");
  // One field: the sort text alone, no "_" appended.
  EXPECT_EQ(Ids(db->ENTRYSORT("W")), "5,9,1,6,10,4,2,8,7,3");

  auto reference = [&](std::string f1, bool rev1, std::string f2, bool rev2) {
    bool p1 = f1.starts_with('&'), p2 = f2.starts_with('&');
    if (p1) f1.erase(0, 1);
    if (p2) f2.erase(0, 1);
    std::vector<std::pair<std::string, int>> keyed;
    for (int id = 1; id <= 10; ++id)
      keyed.emplace_back(db->FIELDTEXTSORT_GET(id, f1, p1) + "_" + db->FIELDTEXTSORT_GET(id, f2, p2, rev1 != rev2), id);
    std::stable_sort(keyed.begin(), keyed.end(),
                     [&](const auto& a, const auto& b) { return rev1 ? a.first > b.first : a.first < b.first; });
    std::string out;
    for (const auto& k : keyed) out += (out.empty() ? "" : ",") + std::to_string(k.second);
    return out;
  };
  for (const char* f1 : {"W", "N", "&N", "V"})
    for (const char* f2 : {"V", "W", "&W", "N"})
      for (bool rev1 : {false, true})
        for (bool rev2 : {false, true}) {
          if (std::string(f1) == f2) continue;
          EXPECT_EQ(Ids(db->ENTRYSORTADVANCED(f1, rev1, f2, std::nullopt, rev2)), reference(f1, rev1, f2, rev2))
              << f1 << rev1 << " " << f2 << rev2;
        }
  EXPECT_EQ(db->DEBUGTRACK_GET(), "ENTRYFILTER-ADVANCED-10");
}

TEST(cls_DB_query, Filters) {
  People p;
  auto f = cls_Structure::New();
  f->ITEMBYID_LET("CITY", "$CONTAINS BURG");
  f->ITEMBYID_LET("AGE", "> 20");
  EXPECT_EQ(Ids(p.db->ENTRYFILTER("", f)), "1");
  f->ITEMBYID_LET("MODE", "or");
  EXPECT_EQ(Ids(p.db->ENTRYFILTER("", f, "AGE")), "4,2,1,3");  // 1 matches both, listed once
  auto onlyMode = cls_Structure::New();
  onlyMode->ITEMBYID_LET("MODE", "AND");
  EXPECT_EQ(Ids(p.db->ENTRYFILTER("", onlyMode, "NAME", true)), "4,3,2,1,5");
  EXPECT_EQ(Ids(p.db->ENTRYFILTER("NOVIEW", onlyMode)), "");
  // The view's own filter comes first, and its sort fields are used when none are given.
  auto view = p.db->VIEW(1);
  view->FILTERS = {{"AGE", ">= 0"}};
  view->SORTFIELD = "AGE";
  view->SORTREV = true;
  auto g = cls_Structure::New();
  g->ITEMBYID_LET("NAME", "!= Müller");
  EXPECT_EQ(Ids(p.db->ENTRYFILTERADVANCED(1, "", "", false, g)), "1,2,5");
  EXPECT_EQ(Ids(p.db->ENTRYFILTERADVANCED(1, "NAME", "", false, g, cls_DB::IdList{5, 2, 4})), "5,2");
}

// Two conditions on one field joined into one, or "" when they cannot be.
TEST(cls_DB_query, FilterCombine) {
  const struct {
    const char* name;  // the first condition
    const char* other;
    const char* want;
  } rows[] = {
      {"IN a,b", "IN b,c", "IN a,b,c"},
      {"=a", "= b", "IN a,b"},
      {"==a", "==b", "IN a,b"},
      {"IN a,b", "= c", "IN a,b,c"},
      {"== c", "IN a,b", "IN a,b,c"},
      {"CONTAINS x", "CONTAINS y", "CONTAINSONE x,y"},
      {"CONTAINSONE x,y", "CONTAINS z", "CONTAINSONE x,y,z"},
      {"CONTAINS z", "CONTAINSONE x,y", "CONTAINSONE x,y,z"},
      {"= a", "== b", ""},
      {"> 1", "< 5", ""},
  };
  ForEachRow(rows, [](const auto& r) { EXPECT_EQ(cls_DB::FILTERCOMBINE(r.name, r.other), r.want) << r.other; });
}

TEST(cls_DB_query, FilterChoicesCountAndSelect) {
  People p;
  auto v = p.db->FIELDFILTERVALUES("NAME"), born = p.db->FIELDFILTERVALUES("BORN");
  auto age = p.db->FIELDFILTERVALUESADVANCED("AGE", std::nullopt, Struct({{"SHOW.USAGE", true}}));
  EXPECT_EQ(
      (std::vector<std::string>{CStr(v->ITEMBYID_GET("M")), CStr(v->ITEMBYID_GET("-Nicht leer-")),
                                CStr(born->ITEMBYID_GET("Mai 1984")), CStr(born->ITEMBYID_GET("Jahr 2012")),
                                CStr(age->ITEMBYID_GET("10 - 100 (3)")), CStr(age->ITEMBYID_GET("Kleiner Null (1)"))}),
      (std::vector<std::string>{"$BEGINS M", "!=", "[[ 1984-05-01 1984-06-01", "[[ 2012-01-01 2013-01-01", "[[ 10 100",
                                "< 0"}));

  std::vector<std::string> said;
  SetNotifier([&](const Notification& n) {
    said.push_back(n.text);
    return std::string("OK");
  });
  // a count of none is said, once
  EXPECT_EQ((std::tuple{p.db->FIELDFILTERCOUNT("CITY", "$CONTAINS BURG"), said.size(),
                        p.db->FIELDFILTERCOUNT("CITY", "Berlin"), said}),
            std::tuple(
                3, 0u, 0,
                std::vector<std::string>{"Für diesen Filter gibt es in der aktuellen Liste keine passenden Einträge"}));
  SetNotifier({});

  EXPECT_EQ(p.db->FIELDSELECT("city"), "CITY");
  p.db->FIELDCHOOSER_SET([](const std::string& title, const std::vector<std::string>& names, const std::string& pre) {
    return title + ":" + std::to_string(names.size()) + ":" + pre;
  });
  EXPECT_EQ(p.db->FIELDSELECT("age"), "Datenfeld auswählen:7:AGE");
}

}  // namespace rykel
