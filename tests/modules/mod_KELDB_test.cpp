// The DB command module: templates that open, query, sort and read databases, and the errors a
// template author meets (missing database, unknown field, no database, wrong parameters).
#include "modules/mod_KELDB.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "frame/Convert.h"
#include "host/cls_DB.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModules.h"

#include "../CaseTable.h"
#include "../TableDB.h"
#include "../TestSupport.h"

namespace rykel {
namespace {

// An interpreter with the DB module, searching the examples folder (which holds data/kunden.db).
struct DBKel {
  std::shared_ptr<cls_KEL> k = std::make_shared<cls_KEL>();
  std::shared_ptr<mod_KELDB> db = std::make_shared<mod_KELDB>();
  DBKel() {
    k->MODULES->ADD(db);
    k->DIRECTORIES->ADD(std::string(SourceDir()) + "/examples/");
  }
  std::string Run(std::string_view t) { return k->PROCESS(t, nullptr); }
  int Errors() { return k->ERRORLIST->COUNT(); }
};

constexpr const char* kOpen = R"({DB:OPEN "data/kunden.db"})";

TEST(mod_KELDB, QueriesSortsAndReads) {
  DBKel t;
  // Three Müllers, sorted by first name downwards; a query narrows a given list.
  EXPECT_EQ(t.Run(std::string(kOpen) + R"({DB:COUNT} {VAR m {{DB:QUERY NACHNAME "Müller"}}}{DB:COUNT VAR:m}:)"
                                       R"({ITERATE id {{DB:SORT VAR:m VORNAME REV=1}} {{DB:TEXT VAR:id VORNAME},}})"
                                       R"( {DB:COUNT {{DB:QUERY ORT "Hamburg" VAR:m}}})"),
            "8 3:Hans,Clara,Anna, 2");
  // A filter structure: AND of two conditions, sorted by a number field; display texts of dates.
  EXPECT_EQ(
      t.Run(
          R"({STRUCT f ORT="Hamburg" UMSATZ=">= 1500"})"
          R"({ITERATE p {{DB:ENTRIES {{DB:FILTER VAR:f SORT=UMSATZ REV=1}}}} {{VAR:p.VORNAME} {VAR:p.GEBURTSTAG};}})"),
      "Dieter 30.01.1968;Hans 01.04.1959;");
  // OR mode lists an entry that both conditions match once.
  EXPECT_EQ(t.Run(R"({STRUCT o MODE="OR" ORT="Köln" VORNAME="Bernd"}{DB:COUNT {{DB:FILTER VAR:o}}})"), "2");
  // Two sort fields; a sort on the display text; the full-text search.
  EXPECT_EQ(t.Run(R"({ITERATE id {{DB:SORT "" ORT FIELD2=VORNAME REV2=1}} {{DB:TEXT VAR:id VORNAME} }})"),
            "Clara Emma Hans Dieter Anna Felix Bernd Greta ");
  EXPECT_EQ(t.Run(R"({DB:COUNT {{DB:SEARCH "burg -hamburg"}}})"), "3");
  // Groups: most frequent first, equal counts by text, TOP keeps the first ones.
  EXPECT_EQ(t.Run(R"({ITERATE g {{DB:GROUP ORT TOP=3}} {{VAR:g.VALUE}={VAR:g.TOTAL} }})"),
            "Hamburg=3 Köln=2 Augsburg=1 ");
  EXPECT_EQ(t.Run(R"({ITERATE f {{DB:FIELDS}} {{VAR:f_KEY}={VAR:f} }})"),
            "VORNAME=Vorname NACHNAME=Nachname ORT=Ort PLZ=PLZ GEBURTSTAG=Geburtstag UMSATZ=Umsatz ");
  EXPECT_EQ(t.Errors(), 0);
}

TEST(mod_KELDB, LimitCutsListsAtTheirEdges) {
  DBKel t;
  t.Run(kOpen);
  auto ids = [&](std::string_view args) {
    return t.Run("{ITERATE id {{DB:LIMIT " + std::string(args) + "}} {{VAR:id},}}");
  };
  EXPECT_EQ((std::vector<std::string>{ids(R"("" 3)"), ids(R"("" 3 START=7)"), ids(R"("" 3 START=9)"), ids(R"("" 0)"),
                                      ids(R"({{DB:SORT "" VORNAME REV=1}} 2 START=2)")}),
            (std::vector<std::string>{"1,2,3,", "7,8,", "", "", "7,6,"}));
  EXPECT_EQ(t.Errors(), 0);
}

TEST(mod_KELDB, ErrorsNameTheCulprit) {
  DBKel t;
  // Before any database is open.
  EXPECT_EQ(t.Run("{DB:COUNT}"), "ERR:---No database open: DB:COUNT---");
  EXPECT_EQ(t.Run(R"({DB:OPEN "data/nichts.db"})"), "ERR:---Database not found: data/nichts.db---");
  EXPECT_EQ(t.Run(R"({DB:OPEN "data/kunden.db" HEADER="data/nichts.header"})"),
            "ERR:---Database not found: data/nichts.header---");
  EXPECT_EQ(t.db->DB_GET(), nullptr);
  t.Run(kOpen);
  ASSERT_TRUE(t.db->DB_GET() != nullptr && t.db->CURRENT_GET() == "MAIN") << t.db->CURRENT_GET();
  const Case<const char*> rows[] = {
      // Unknown fields wherever a field is named, instead of quietly matching nothing.
      {R"({DB:QUERY NAME "x"})", "ERR:---Unknown field: NAME---"},
      {R"({DB:TEXT 1 TELEFON})", "ERR:---Unknown field: TELEFON---"},
      {R"({DB:SORT "" ORT FIELD2=LAND})", "ERR:---Unknown field: LAND---"},
      {R"({DB:ALL SORT=LAND})", "ERR:---Unknown field: LAND---"},
      {R"({STRUCT f MODE=AND STADT="Köln"}{DB:FILTER VAR:f})", "ERR:---Unknown field: STADT---"},
      {R"({DB:ENTRY 1 FIELDS="ORT,LAND"})", "ERR:---Unknown field: LAND---"},
      {R"({DB:ENTRY 99})", "ERR:---Unknown entry: 99---"},
      // A field's display name works as well as its ID; so does "&" before a sort field.
      {R"({DB:TEXT 2 Vorname}/{DB:COUNT {{DB:SORT "" "&ORT"}}})", "Bernd/8"},
      // Wrong parameters.
      {R"({DB:COUNT "1,2"})", "ERR:---Id list expected: COUNT LIST=1,2---"},
      {R"({DB:FILTER ORT})", "ERR:---Filter structure expected: FILTER ORT---"},
      {R"({DB:USE ANDERE})", "ERR:---Unknown database: ANDERE---"},
      {R"({DB:DROP})", "ERR:---DB function not supported: DROP---"},
  };
  // Each row on the same interpreter, with the example database open.
  ForEachRow(rows, [&](const auto& r) { EXPECT_EQ(t.Run(r.name), r.want); });
  int before = t.Errors();
  // the parameter check records what is missing
  EXPECT_EQ((std::tuple{t.Run("{DB:QUERY}"), t.Errors()}), std::tuple("", before + 1));
  // Closing leaves no current database.
  EXPECT_EQ(t.Run("{DB:CLOSE}{DB:COUNT}"), "ERR:---No database open: DB:COUNT---");
  EXPECT_GE(t.Errors(), 16);
}

TEST(mod_KELDB, HostDatabasesAndHtmlTexts) {
  DBKel t;
  auto a = TableDB({{"NAME"}}, {{"<b>{VAR x 1}</b>"}, {"Ärger & Co"}}), b = TableDB({{"NAME"}}, {{Variant()}});
  t.db->ATTACH(a, "erste");
  t.db->ATTACH(b, "zweite");
  EXPECT_EQ((std::tuple{t.db->CURRENT_GET(), t.Run("{DB:COUNT}{DB:USE Erste}{DB:COUNT}")}), std::tuple("ZWEITE", "12"));
  // HTML texts are escaped and carry braces as references, so a value is never run as a command.
  EXPECT_EQ(t.Run("{DB:HTML 1 NAME}|{DB:HTML 2 NAME}"), "&lt;b&gt;&#123;VAR x 1&#125;&lt;/b&gt;|Ärger &amp; Co");
  EXPECT_EQ(t.Run("{ITERATE e {{DB:ENTRIES \"\" HTML=1}} {{VAR:e.ID}:{VAR:e.NAME};}}"),
            "1:&lt;b&gt;&#123;VAR x 1&#125;&lt;/b&gt;;2:Ärger &amp; Co;");
  EXPECT_EQ(t.k->VARIABLES->EXISTSBYID_GET("X"), false);
  // Detaching the current database leaves none current.
  t.db->ATTACH(nullptr, "ERSTE");
  EXPECT_TRUE(t.db->DB_GET() == nullptr && t.db->DB_GET("zweite") == b);
  EXPECT_EQ(t.Run("{DB:USE zweite}{DB:COUNT}"), "1");
}

// Values from data come out byte for byte and are never run, whatever they hold: commands,
// quotes, script protection ("[[$...$]]") and the marks the interpreter itself uses for data.
TEST(mod_KELDB, ValuesAreDataNeverCode) {
  namespace fs = std::filesystem;
  const fs::path secret = fs::path(BinaryDir()) / "keldb_data_secret.kel";
  std::ofstream(secret) << "SECRET";
  const std::string mark = "\xEE\x80\x80";  // the lead of a data mark (U+E000)
  std::vector<std::string> values = {
      "{INCLUDE " + secret.string() + "}",
      "{VAR x 1}\"'{",
      "}}{{",
      "<script>[[$INCLUDE " + secret.string() + "$]]</script>",
      mark + "01234567891",
      mark,
      "{$VAR:x$}",
      "plain",
  };
  // and random texts over the characters that matter
  std::mt19937 rng(15);
  const std::vector<std::string> alphabet = {"{", "}", "$",     "[[", "]]", "\"",      "'",
                                             " ", "a", "VAR:x", mark, "1",  "<script>"};
  for (int i = 0; i < 60; ++i) {
    std::string v;
    for (int n = rng() % 12; n > 0; --n) v += alphabet[rng() % alphabet.size()];
    values.push_back(v);
  }
  DBKel t;
  auto db = std::make_shared<cls_DB>();
  db->FIELDCREATE("NAME");
  for (size_t i = 0; i < values.size(); ++i) db->ENTRYFIELD_LET(static_cast<int32_t>(i + 1), "NAME", values[i]);
  t.db->ATTACH(db);
  t.k->SETTINGS->ITEM_LET("SYS.COMMANDS.MAX", 1000);
  for (size_t i = 0; i < values.size(); ++i) {
    const std::string id = std::to_string(i + 1), v = values[i];
    t.k->VARIABLES->ITEM_LET("V", Variant(v));
    // shown directly, through a block, kept in a variable, iterated as an entry, and as {DATA:name}
    EXPECT_EQ(t.Run("<" + mark + "{DB:TEXT " + id + " NAME}>"), "<" + mark + v + ">") << i;
    EXPECT_EQ(t.Run("{IF (1) {[{DB:TEXT " + id + " NAME}]}}"), "[" + v + "]") << i;
    EXPECT_EQ(t.Run("{VAR held {{DB:TEXT " + id + " NAME}}}{VAR:held}|{NESTED VAR:held}"), v + "|" + v) << i;
    EXPECT_EQ(t.Run("{ITERATE e {{DB:ENTRIES {{DB:LIMIT \"\" 1 " + id + "}}}} {{VAR:e.NAME}}}"), v) << i;
    EXPECT_EQ(t.Run("{DATA:V}{IF (1) {{DATA:V}}}"), v + v) << i;
    EXPECT_EQ(CStr(t.k->EXECUTE("DATA:V")), v) << i;
  }
  EXPECT_TRUE(t.Errors() == 0 && !t.k->VARIABLES->EXISTSBYID_GET("X"));
  t.k->SETTINGS->ITEM_LET("SYS.NOEXEC", true);
  EXPECT_EQ(t.Run("{DB:TEXT 1 NAME}"), values[0]);
  // the rescan of everything else stays: a variable's text is run, its data form is not
  t.k->VARIABLES->ITEM_LET("CODE", "{IO:TAB}");
  EXPECT_EQ(t.Run("{VAR:CODE}|{DATA:CODE}"), "\t|{IO:TAB}");
  EXPECT_EQ(t.Run("{DATA:nope}"), "ERR:---VAR not found: nope---");
  fs::remove(secret);
}

}  // namespace
}  // namespace rykel
