#include "export/DBExportData.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdio>
#include <map>

#include "export/DBExportText.h"
#include "frame/Convert.h"
#include "frame/FileIO.h"
#include "host/cls_DB.h"
#include "structure/mdl_StructureJson.h"

#include "../TableDB.h"
#include "../TestSupport.h"

namespace rykel {

namespace {

// Three entries over every kind of value the plain form tells apart; entry 3 is all empty.
DBPtr hData() {
  return TableDB({{"NAME", ID_DBFieldType_String, "Name", true},
                  {"AGE", ID_DBFieldType_Long, "Alter"},
                  {"SCORE", ID_DBFieldType_Double, "Wert"},
                  {"BORN", ID_DBFieldType_Date, "Geboren"},
                  {"ACTIVE", ID_DBFieldType_Boolean, "Aktiv"},
                  {"ZIP", ID_DBFieldType_String, "PLZ"},
                  {"NOTE", ID_DBFieldType_String, "Notiz, \"lang\""},
                  {"COLOR", ID_DBFieldType_Enum, "Farbe", false, "r=Rot,g=Grün"}},
                 {// 2^40: held as a Double
                  {"Müller Ж €", 1099511627776.0, 2.0, "2024-02-29", true, "01234", "a,b \"c\"\r\nd\te\\f", "g"},
                  {"Anna", -5, -0.125, "1999-12-31 23:59:58", false, "Gr\xF6\xDF\x65", " x "},  // Latin-1 bytes
                  {}});
}

std::string hText(cls_DBStore& db, mdl_DBExport::TextFormat f, const cls_DBStore::IDList& ids = std::nullopt) {
  char* data = nullptr;
  size_t size = 0;
  std::FILE* out = ::open_memstream(&data, &size);
  // closed and freed also when the export raises
  auto done = [&] {
    std::fclose(out);
    std::string s(data, size);
    std::free(data);
    return s;
  };
  try {
    mdl_DBExport::EXPORTTEXT(db, out, f, 1, ids);
  } catch (...) {
    done();
    throw;
  }
  return done();
}

}  // namespace

TEST(DBExportData, TextFormatsWriteStoredValuesTyped) {
  auto db = hData();
  using F = mdl_DBExport::TextFormat;
  EXPECT_EQ(hText(*db, F::Csv),
            "NAME,AGE,SCORE,BORN,ACTIVE,ZIP,NOTE,COLOR\r\n"
            "Müller Ж €,1099511627776,2.0,2024-02-29,true,01234,\"a,b \"\"c\"\"\r\nd\te\\f\",g\r\n"
            "Anna,-5,-0.125,1999-12-31 23:59:58,false,Größe, x ,\r\n"
            ",,,,,,,\r\n");
  EXPECT_EQ(hText(*db, F::Tsv),
            "NAME\tAGE\tSCORE\tBORN\tACTIVE\tZIP\tNOTE\tCOLOR\n"
            "Müller Ж €\t1099511627776\t2.0\t2024-02-29\ttrue\t01234\ta,b \"c\"\\r\\nd\\te\\\\f\tg\n"
            "Anna\t-5\t-0.125\t1999-12-31 23:59:58\tfalse\tGröße\t x \t\n"
            "\t\t\t\t\t\t\t\n");
  std::string jsonl = hText(*db, F::Jsonl, std::vector<Variant>{2});
  EXPECT_EQ(jsonl,
            "{\"NAME\":\"Anna\",\"AGE\":-5,\"SCORE\":-0.125,\"BORN\":\"1999-12-31 23:59:58\",\"ACTIVE\":false,"
            "\"ZIP\":\"Größe\",\"NOTE\":\" x \",\"COLOR\":null}\n");
  // The JSON array reads back through the structure reader, typed, in the order asked for.
  auto back = mdl_StructureJson::Read(hText(*db, F::Json, std::vector<Variant>{3, 1}));
  ASSERT_EQ(back->COUNT(), 2);
  auto first = back->ITEM_GET(1).as<cls_Structure>(), second = back->ITEM_GET(2).as<cls_Structure>();
  ASSERT_TRUE(first && second);
  EXPECT_EQ(std::tuple(first->ITEM_GET("NAME").type(), first->COUNT()), std::tuple(VarType::Empty, 8));
  EXPECT_EQ(
      std::tuple(CStr(second->ITEM_GET("NAME")), CDbl(second->ITEM_GET("AGE")), second->ITEM_GET("SCORE").type(),
                 CStr(second->ITEM_GET("NOTE")), second->ITEM_GET("ACTIVE").type(), CStr(second->ITEM_GET("ZIP"))),
      std::tuple("Müller Ж €", 1099511627776.0, VarType::Double, "a,b \"c\"\r\nd\te\\f", VarType::Boolean, "01234"));
  // No entries: a header alone, an empty array, nothing.
  EXPECT_EQ(hText(*db, F::Csv, std::vector<Variant>{}), "NAME,AGE,SCORE,BORN,ACTIVE,ZIP,NOTE,COLOR\r\n");
  EXPECT_EQ(hText(*db, F::Json, std::vector<Variant>{}), "[]\n");
  EXPECT_EQ(hText(*db, F::Jsonl, std::vector<Variant>{}), "");
}

TEST(DBExportData, SqliteHoldsTypedColumnsFieldsAndIndexes) {
  TempDir dir;
  auto db = hData();
  std::string file = dir / "out.sqlite";
  fileio::WriteFileAtomic(file, "old");
  ASSERT_TRUE(db->EXPORT("SQLite", file));
  sqlite3* s = nullptr;
  ASSERT_EQ(sqlite3_open_v2(file.c_str(), &s, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
  auto rows = [&](const std::string& sql) {
    std::vector<std::string> out;
    sqlite3_stmt* st = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(s, sql.c_str(), -1, &st, nullptr), SQLITE_OK) << sqlite3_errmsg(s);
    while (sqlite3_step(st) == SQLITE_ROW) {
      std::string line;
      for (int i = 0; i < sqlite3_column_count(st); ++i) {
        auto* t = sqlite3_column_text(st, i);
        line += (i ? "|" : "") + (t ? std::string(reinterpret_cast<const char*>(t)) : "NULL");
      }
      out.push_back(line);
    }
    sqlite3_finalize(st);
    return out;
  };
  EXPECT_EQ(rows("SELECT name, type FROM pragma_table_info('entries')"),
            (std::vector<std::string>{"NAME|TEXT", "AGE|INTEGER", "SCORE|REAL", "BORN|TEXT", "ACTIVE|INTEGER",
                                      "ZIP|TEXT", "NOTE|TEXT", "COLOR|TEXT"}));
  EXPECT_EQ(rows("SELECT rowid, typeof(AGE), AGE, typeof(SCORE), SCORE, BORN, ACTIVE, ZIP, COLOR FROM entries"),
            (std::vector<std::string>{"1|integer|1099511627776|real|2.0|2024-02-29|1|01234|g",
                                      "2|integer|-5|real|-0.125|1999-12-31 23:59:58|0|Größe|NULL",
                                      "3|null|NULL|null|NULL|NULL|NULL|NULL|NULL"}));
  EXPECT_EQ(rows("SELECT NOTE = 'a,b \"c\"' || char(13, 10) || 'd' || char(9) || 'e\\f' FROM entries WHERE rowid = 1"),
            std::vector<std::string>{"1"});
  EXPECT_EQ(rows("SELECT position, id, name, type, indexed, members FROM rykel_fields WHERE id IN ('NAME', "
                 "'NOTE', 'COLOR')"),
            (std::vector<std::string>{"1|NAME|Name|STRING|1|NULL", "7|NOTE|Notiz, \"lang\"|STRING|0|NULL",
                                      "8|COLOR|Farbe|ENUM|0|r=Rot,g=Grün"}));
  EXPECT_EQ(rows("SELECT name FROM sqlite_master WHERE type = 'index'"), std::vector<std::string>{"entries_NAME"});
  sqlite3_close(s);
  EXPECT_EQ(dir.Count(), 1u) << "no temporary file left beside the target";
}

TEST(DBExportData, FailuresNameTheCauseAndLeaveTheTargetAlone) {
  TempDir dir;
  auto db = hData();
  std::string file = dir / "keep.csv";
  fileio::WriteFileAtomic(file, "old");
  EXPECT_EQ(Failure([&] { db->EXPORT("xml", file); }).second,
            "unknown export format 'xml' (csv, tsv, json, jsonl or sqlite)");
  EXPECT_EQ(FailureNumber([&] { db->EXPORT("csv", file, "NOVIEW"); }), err::kInvalidCall);
  EXPECT_EQ(FailureNumber([&] { db->EXPORT("sqlite", dir / "no/such.sqlite"); }), err::kPathNotFound);
  EXPECT_EQ(std::tuple(ReadAll(file), dir.Count()), std::tuple("old", 1u));
  // Field IDs that need quoting in SQL or take the rowid's names are still columns.
  for (auto id : {"A\"B C", "ROWID", "OID", "_rowid_"}) {
    db->FIELDCREATE(id, ID_DBFieldType_Long);
    db->ENTRYFIELD_LET(1, id, 7);
    EXPECT_TRUE(db->EXPORT("sqlite", dir / "q.sqlite")) << id;
  }
}

TEST(DBExportData, StreamedDatabaseExportsWhatTheLoadedOneDoes) {
  TempDir dir;
  QuietNotices quiet;
  std::string file = dir / "data.ry-dbb";
  auto db = hData();
  for (int i = 4; i <= 3000; ++i) db->ENTRYFIELD_LET(i, "NOTE", std::string(static_cast<size_t>(i % 700), 'x'));
  db->ENTRYFIELD_LET(2000, "NOTE", std::string(600000, 'y'));  // one record larger than a read window
  // items out of field order, and one that is no field
  auto reversed = cls_Structure::New();
  for (const char* item : {"EXTRA", "COLOR", "NOTE", "AGE", "NAME"}) reversed->ITEM_LET(item, std::string(item) + "1");
  reversed->ITEM_LET("AGE", 7);
  db->ENTRYADD(3001, reversed);
  ASSERT_TRUE(db->EXPORTDB(1, Variant(file)));  // the binary form, records across read windows
  auto loaded = std::make_shared<cls_DB>(), streamed = std::make_shared<cls_DB>();
  ASSERT_TRUE(loaded->DBOPEN(file, file + ".header"));
  auto settings = Struct({{"STREAM", true}});
  ASSERT_TRUE(streamed->DBOPEN(file, file + ".header", false, settings));
  EXPECT_TRUE(streamed->DBSTREAMED_GET() && streamed->DBREADONLY_GET() && streamed->ENTRYCOUNT() == 3001);
  using F = mdl_DBExport::TextFormat;
  for (F f : {F::Csv, F::Json}) EXPECT_EQ(hText(*streamed, f), hText(*loaded, f));
  EXPECT_NE(hText(*streamed, F::Csv).find("\r\nNAME1,7,,,,,NOTE1,COLOR1\r\n"), std::string::npos);
  ASSERT_TRUE(streamed->EXPORTFILE(1, dir / "s.htm", "HTM") && loaded->EXPORTFILE(1, dir / "l.htm", "HTM"));
  EXPECT_EQ(ReadAll(dir / "s.htm"), ReadAll(dir / "l.htm"));
  // What needs the entries at hand says so instead of exporting none.
  EXPECT_TRUE(
      Raises(err::kInvalidCall, "opened for streaming", [&] { hText(*streamed, F::Csv, std::vector<Variant>{2}); }));
  EXPECT_EQ(FailureNumber([&] { streamed->EXPORTDB(1, Variant(dir / "copy.ry-dbb")); }), err::kInvalidCall);
  // A view's action (a stored search) keeps the entries that meet it, which needs them at hand too.
  loaded->VIEW(1)->ACTION = streamed->VIEW(1)->ACTION = "Anna";
  EXPECT_EQ(hText(*loaded, F::Csv), hText(*loaded, F::Csv, std::vector<Variant>{2}));
  EXPECT_EQ(FailureNumber([&] { hText(*streamed, F::Csv); }), err::kInvalidCall);
  loaded->VIEW(1)->ACTION = streamed->VIEW(1)->ACTION = "";
  // A file cut short fails the walk with a read error, not with a short export.
  std::string data = ReadAll(file);
  fileio::WriteFileAtomic(file, std::string_view(data).substr(0, data.size() / 2));
  auto cut = std::make_shared<cls_DB>();
  ASSERT_TRUE(cut->DBOPEN(file, file + ".header", false, settings));
  EXPECT_EQ(FailureNumber([&] { hText(*cut, F::Csv); }), err::kInputPastEnd);
}

TEST(DBExportData, StreamedSortReadsTheRecordsInTheLoadedOrder) {
  TempDir dir;
  QuietNotices quiet;
  std::string file = dir / "sorted.ry-dbb";
  auto db = hData();
  // Ties and blanks in every sort field, case that the sort texts fold, numbers whose text order
  // is not their order, and one record larger than a read window in the middle of the order.
  for (int i = 4; i <= 2000; ++i) {
    db->ENTRYFIELD_LET(i, "NOTE", std::string(i % 3 ? "b" : "B") + std::to_string(i % 11));
    if (i % 13) db->ENTRYFIELD_LET(i, "AGE", (i * 7919) % 41 - 20);
    db->ENTRYFIELD_LET(i, "SCORE", (i % 5) * 2.5);
  }
  db->ENTRYFIELD_LET(1000, "NOTE", "b5" + std::string(600000, 'y'));
  ASSERT_TRUE(db->EXPORTDB(1, Variant(file)));
  auto loaded = std::make_shared<cls_DB>(), streamed = std::make_shared<cls_DB>();
  ASSERT_TRUE(loaded->DBOPEN(file, file + ".header"));
  ASSERT_TRUE(streamed->DBOPEN(file, file + ".header", false, Struct({{"STREAM", true}})));
  struct Case {
    const char *field, *field2;
    bool rev, rev2;
  };
  for (auto c : {Case{"NOTE", "", false, false}, Case{"AGE", "", false, false}, Case{"NOTE", "", true, false},
                 Case{"AGE", "", true, false}, Case{"NOTE", "AGE", false, true}, Case{"SCORE", "NOTE", true, false},
                 Case{"", "AGE", false, true}}) {
    for (auto& d : {loaded, streamed}) {
      auto v = d->VIEW(1);
      v->SORTFIELD = c.field, v->SORTREV = c.rev, v->SORTFIELD2 = c.field2, v->SORTREV2 = c.rev2;
    }
    using F = mdl_DBExport::TextFormat;
    for (F f : {F::Csv, F::Json})
      EXPECT_EQ(hText(*streamed, f), hText(*loaded, f)) << c.field << " " << c.field2 << " " << c.rev << c.rev2;
  }
  // An indexed field sorted alone walks its index, which needs the entries at hand.
  streamed->VIEW(1)->SORTFIELD = "NAME", streamed->VIEW(1)->SORTFIELD2 = "";
  EXPECT_EQ(FailureNumber([&] { hText(*streamed, mdl_DBExport::TextFormat::Csv); }), err::kInvalidCall);
}

}  // namespace rykel
