// The filter choices offered for one field: every kind of field, the settings, and the counts.
#include <gtest/gtest.h>

#include "frame/Convert.h"
#include "frame/Text.h"
#include "host/cls_DB.h"
#include "structure/cls_StructureManager.h"

#include "../CaseTable.h"
#include "../TableDB.h"
#include "../TestSupport.h"

namespace rykel {

namespace {

// The choices in item order as "label=condition|..." (item names are kept upper-cased).
std::string Choices(const StructurePtr& s) {
  const auto& m = *s->MANAGER_GET();
  std::string out;
  for (const auto& it : m.Items(s->SID_GET())) {
    if (!it.used) continue;
    out += (out.empty() ? "" : "|") + std::string(m.Names().Name(it.name)) + "=" + CStr(it.value);
  }
  return out;
}

struct Shop {
  DBPtr db =
      TableDB({{"AKTIV", ID_DBFieldType_Boolean},
               {"SEIT", ID_DBFieldType_Date},
               {"MENGE", ID_DBFieldType_Long},
               {"PREIS", ID_DBFieldType_Double},
               {"FARBE", ID_DBFieldType_Enum, "", false, "r=Rot,g=Grün"},
               {"Vorname"},
               {"E-MAIL"},
               {"URL"},
               {"PLZ"},
               {"ORT"}},
              {{true, "2023-12-31 18:00:00", "5", "0.005", "r", "anna", "A@Web.de", "www.a.de", "48149", "Münster"},
               {false, "2024-01-02", "12", "-3.5", "g", "Özgür", "b@gmx.net", "a.de", "48143", "Münster"},
               {true, "2024-01-20", "-7", "250", "", "Bernd", "c@web.de", "www.b.com", "49074", "Osnabrück"},
               {false, "", "", "", "r", "", "", "", "10115", ""},
               {true, "2024-03-05", "0", "0", "g", "  berta", "kein-at", "", "x123", "Bitterfeld"}});
  StructurePtr Settings(bool pUsage, bool pSort = false) { return Struct({{"SHOW.USAGE", pUsage}, {"SORT", pSort}}); }
  // The expected choices "label=condition|..." with the labels upper-cased as item names are.
  static std::string Upper(const std::string& pChoices) {
    std::string out;
    for (const std::string& c : text::Split(pChoices, "|")) {
      size_t eq = c.find('=');
      out += (out.empty() ? "" : "|") + text::UCase(c.substr(0, eq)) + c.substr(eq);
    }
    return out;
  }
  std::string Of(const char* pField, const StructurePtr& pSettings = nullptr,
                 const std::optional<cls_DB::IdList>& pList = std::nullopt) {
    return Choices(db->FIELDFILTERVALUESADVANCED(pField, pList, pSettings));
  }
};

}  // namespace

// The choices of one field a row, under the settings and id list the row names.
TEST(cls_DB_filtervalues, ChoicesTable) {
  Shop s;
  auto usage = s.Settings(true), sorted = s.Settings(false, true);
  // A field list marking "_DEFAULT_" turns a number field into plain values; a field whose name
  // has choices of its own (PLZ) keeps them.
  auto marked = s.Settings(false);
  auto list = cls_Structure::New();
  list->ITEMBYID_LET("MENGE", "_default_");
  list->ITEMBYID_LET("PLZ", "_DEFAULT_");
  marked->ITEM_LET("LIST", Variant(list));
  const struct {
    const char* name;  // the field
    StructurePtr settings;
    std::optional<cls_DB::IdList> list;
    const char* want;  // "label=condition|...", labels as written (items are upper-cased)
  } rows[] = {
      {"AKTIV", usage, {}, "Ja (3)==True|Nein (2)==False|-Leer- (0)==|-Nicht leer- (5)=!="},
      // Months, then years; a time of day does not move an entry out of its month.
      {"SEIT",
       usage,
       {},
       "Dezember 2023 (1)=[[ 2023-12-01 2024-01-01|Januar 2024 (2)=[[ 2024-01-01 2024-02-01|"
       "März 2024 (1)=[[ 2024-03-01 2024-04-01|Jahr 2023 (1)=[[ 2023-01-01 2024-01-01|"
       "Jahr 2024 (3)=[[ 2024-01-01 2025-01-01|-Leer- (1)==|-Nicht leer- (4)=!="},
      // Whole numbers: powers of ten from 1; "Ungleich Null" takes the side that holds values. An
      // empty value is below every number, so "< 0" counts it too.
      {"MENGE",
       usage,
       {},
       "-10 - -1 (1)=]] -10 -1|1 - 10 (1)=[[ 1 10|10 - 100 (1)=[[ 10 100|0 (1)== 0|"
       "Kleiner Null (2)=< 0|Größer Null (2)=> 0|Ungleich Null (2)=> 0|-Leer- (1)==|-Nicht leer- (4)=!="},
      // Decimals: "#0.00" bounds, and the smallest range reaches zero so 0.005 has a home.
      {"PREIS",
       usage,
       {},
       "-10.00 - -1.00 (1)=]] -10.00 -1.00|0.00 - 0.10 (2)=[[ 0.00 0.10|100.00 - 1000.00 (1)=[[ 100.00 1000.00|"
       "0 (1)== 0|Kleiner Null (2)=< 0|Größer Null (2)=> 0|Ungleich Null (2)=> 0|-Leer- (1)==|"
       "-Nicht leer- (4)=!="},
      {"FARBE",
       usage,
       {},
       "Rot (2)=CONTAINS r|Grün (2)=CONTAINS g|Nichts gewählt (1)==|Etwas gewählt (4)=!=|-Leer- (1)==|"
       "-Nicht leer- (4)=!="},
      // Name fields (any spelling of the ID): the initials A-Z that occur, case-blind; "Ö" is none,
      // and a value led by blanks has none either (its "$BEGINS" would not find it).
      {"Vorname", usage, {}, "A (1)=$BEGINS A|B (1)=$BEGINS B|-Leer- (1)==|-Nicht leer- (4)=!="},
      {"E-MAIL", usage, {}, "@gmx.net (1)=$ENDS @gmx.net|@web.de (2)=$ENDS @web.de|-Leer- (1)==|-Nicht leer- (4)=!="},
      {"URL", usage, {}, "a.de (2)=$CONTAINS a.de|b.com (1)=$CONTAINS b.com|-Leer- (2)==|-Nicht leer- (3)=!="},
      // Postal codes: by the first digit, then by the first two; codes not led by a digit are left out.
      {"PLZ",
       usage,
       {},
       "1... (1)=BEGINS 1|4... (3)=BEGINS 4|10... (1)=BEGINS 10|48... (2)=BEGINS 48|49... (1)=BEGINS 49|"
       "-Leer- (0)==|-Nicht leer- (5)=!="},
      {"ORT",
       usage,
       {},
       "Bitterfeld (1)== Bitterfeld|Münster (2)== Münster|Osnabrück (1)== Osnabrück|-Leer- (1)==|"
       "-Nicht leer- (4)=!="},
      // Without usage the labels are bare; a list restricts the values and the counts.
      {"PLZ", nullptr, cls_DB::IdList{4, 2},
       "1...=BEGINS 1|4...=BEGINS 4|10...=BEGINS 10|48...=BEGINS 48|-Leer-==|"
       "-Nicht leer-=!="},
      {"ORT", usage, cls_DB::IdList{2, 4}, "Münster (1)== Münster|-Leer- (1)==|-Nicht leer- (1)=!="},
      {"NOSUCHFIELD", usage, {}, ""},
      {"FARBE",
       sorted,
       {},
       "-Leer-==|-Nicht leer-=!=|Etwas gewählt=!=|Grün=CONTAINS g|Nichts gewählt==|Rot=CONTAINS r"},
      {"MENGE", marked, {}, "-7== -7|0== 0|12== 12|5== 5|-Leer-==|-Nicht leer-=!="},
  };
  ForEachRow(rows, [&](const auto& r) { EXPECT_EQ(s.Of(r.name, r.settings, r.list), Shop::Upper(r.want)); });
  EXPECT_EQ(s.Of("PLZ", marked), s.Of("PLZ"));
}

TEST(cls_DB_filtervalues, TopGroup) {
  // More than 16 distinct values: the 16 most frequent first, keyed "Top 16-<n>", ties in value
  // order; then every value.
  auto db = std::make_shared<cls_DB>();
  db->FIELDCREATE("CODE", ID_DBFieldType_String);
  int id = 0;
  for (int v = 1; v <= 18; ++v)
    for (int k = 0; k < (v == 17 ? 3 : v == 18 ? 2 : 1); ++k) {
      db->ENTRYADD(++id);
      db->ENTRYFIELD_LET(id, "CODE", "c" + std::to_string(v));
    }
  auto top = db->FIELDFILTERVALUES("CODE");
  // c17, c18, then c1, c10..c16, c2..c7
  EXPECT_EQ(std::tuple(top->COUNT(), CStr(top->ITEMBYID_GET("Top 16-1")), CStr(top->ITEMBYID_GET("Top 16-2")),
                       CStr(top->ITEMBYID_GET("Top 16-3")), CStr(top->ITEMBYID_GET("Top 16-16")),
                       top->EXISTSBYID_GET("Top 16-17"), CStr(top->ITEMBYID_GET("c9"))),
            std::tuple(16 + 18 + 2, "= c17", "= c18", "= c1", "= c7", false, "= c9"));
}

}  // namespace rykel
