// The import: type inference, the CSV and JSON readers on awkward but valid input, line numbers of
// bad rows, and that a failed import adds no entry and no field.
#include "tools/mdl_DBImport.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "frame/Convert.h"
#include "frame/mdl_Limits.h"

namespace rykel {
namespace {

std::string hWrite(const TempDir& dir, const std::string& name, const std::string& bytes) {
  std::ofstream(dir / name, std::ios::binary) << bytes;
  return dir / name;
}

// Every entry as "v1|v2|..." by field number, one line each.
std::string hDump(cls_DBStore& db) {
  std::string out;
  for (const auto& id : db.ENTRYALL_IDS()) {
    for (int32_t f = 1; f <= db.FIELDS(); ++f) out += (f > 1 ? "|" : "") + CStr(db.ENTRYFIELD_GET(id, f));
    out += "\n";
  }
  return out;
}

TEST(DBImport, InfersTypesFromAllValues) {
  struct Case {
    std::vector<std::string> values;
    int32_t type;
  };
  const Case cases[] = {
      {{"1", "-42", "", "2147483647"}, ID_DBFieldType_Long},
      {{"1", "2147483648"}, ID_DBFieldType_String},  // past 32 bits: an identifier, not a count
      {{"0421", "28195"}, ID_DBFieldType_String},    // postal codes keep their zero
      {{"0"}, ID_DBFieldType_Long},
      {{"1", "1,5", "-0.25"}, ID_DBFieldType_Double},
      {{"007.5"}, ID_DBFieldType_String},
      {{"1."}, ID_DBFieldType_String},
      {{"2024-02-29", "1.3.2001 10:15"}, ID_DBFieldType_Date},
      {{"2023-02-29"}, ID_DBFieldType_String},  // no such day
      {{"1.5"}, ID_DBFieldType_Double},         // a number, never a date
      {{"yes", "Nein", "TRUE"}, ID_DBFieldType_Boolean},
      {{"1", "0"}, ID_DBFieldType_Long},  // 1/0 are numbers here
      {{"j", "n"}, ID_DBFieldType_String},
      {{"+49 40 123"}, ID_DBFieldType_String},
      {{"", ""}, ID_DBFieldType_String},
  };
  for (const auto& c : cases) EXPECT_EQ(mdl_DBImport::InferType(c.values), c.type) << c.values[0];
}

TEST(DBImport, ReadsQuotedCsvAsWritten) {
  QuietNotices quiet;
  TempDir dir;
  // BOM, CR LF, a quoted delimiter, a doubled quote, a line break inside quotes, a blank line,
  // a last record without a line break.
  std::string file = hWrite(dir, "a.csv",
                            "\xEF\xBB\xBFName,Note,Zip\r\n"
                            "\"Meier, Bob\",\"say \"\"hi\"\"\",01234\r\n"
                            "\r\n"
                            "Anna,\"two\nlines\",\r\n"
                            "\"\",x,99999");
  cls_DBStore db;
  mdl_DBImport::Options o;
  o.create = true;
  auto r = mdl_DBImport::Import(db, file, o);
  EXPECT_EQ(std::tuple(r.imported, r.fieldsCreated, db.FIELD("ZIP")->TYPE, hDump(db)),
            std::tuple(3, std::vector<std::string>{"NAME", "NOTE", "ZIP"}, ID_DBFieldType_String,
                       "Meier, Bob|say \"hi\"|01234\nAnna|two\nlines|\n|x|99999\n"));

  // Into the same database by display name and --map, ";" delimited, cp1252 bytes.
  db.FIELD("NOTE")->NAME = "Bemerkung";
  std::string other = hWrite(dir, "b.csv", "Bemerkung;Wer\nK\xF6ln \x80;M\xFCller\n");
  mdl_DBImport::Options m;
  m.delimiter = ";";
  m.encoding = "cp1252";
  m.map = {{"wer", "name"}};
  EXPECT_EQ(mdl_DBImport::Import(db, other, m).imported, 1);
  EXPECT_EQ(std::tuple(CStr(db.ENTRYFIELD_GET(4, "NOTE")), CStr(db.ENTRYFIELD_GET(4, "NAME"))),
            std::tuple("K\xC3\xB6ln \xE2\x82\xAC", "M\xC3\xBCller"));
}

TEST(DBImport, BadRowsNameTheirLineAndChangeNothing) {
  QuietNotices quiet;
  TempDir dir;
  struct Case {
    const char* name;
    const char* bytes;
    const char* message;
  };
  const Case cases[] = {
      {"ragged.csv", "A,B\n1,2\n\"x\ny\"\n", "ragged.csv:3: expected 2 values, found 1"},
      {"quote.csv", "A,B\n1,2\n3,4\"\n", "quote.csv:3: a quote inside an unquoted value"},
      {"after.csv", "A,B\n\"1\"x,2\n", "after.csv:2: text after a closing quote"},
      {"open.csv", "A,B\n1,2\n3,\"4\n", "open.csv:3: a quote opened on this line is never closed"},
      {"type.csv", "A,B\n1,2\nzwei,3\n", "type.csv:3: A: 'zwei' is not a whole number"},
      {"utf8.csv", "A,B\n1,\xE4\n", "utf8.csv:2: invalid UTF-8"},
      {"arr.json", "[{\"A\": 1},\n\n {\"A\": \"x\"}]", "arr.json:3: A: 'x' is not a whole number"},
      {"nest.json", "[{\"A\": 1},\n {\"A\": [1]}]", "nest.json:2: \"A\" holds a nested object"},
      {"syntax.json", "[{\"A\": 1},\n {\"A\" 2}]", "syntax.json:2: malformed JSON: line 2"},
      {"obj.json", "{\"A\": 1}", "obj.json:1: expected a JSON array of objects"},
      {"lines.jsonl", "{\"A\": 1}\n\n{\"A\": 1,}\n", "lines.jsonl:3: malformed JSON"},
      {"col.jsonl", "{\"A\": 1}\n{\"C\": 1}\n", "col.jsonl:2: column 'C' matches no field"},
  };
  for (const auto& c : cases) {
    cls_DBStore db;
    db.FIELDCREATE("A", ID_DBFieldType_Long);
    db.FIELDCREATE("B", ID_DBFieldType_String);
    db.ENTRYADD(db.ENTRYFREEID());
    db.ENTRYCHANGED_LET(false);
    db.FIELDSCHANGED_LET(false);
    std::string file = hWrite(dir, c.name, c.bytes);
    auto [number, message] = Failure([&] { mdl_DBImport::Import(db, file, {}); });
    EXPECT_EQ(std::tuple(number, message.starts_with(dir / c.message), db.ENTRYCOUNT(), db.ENTRYCHANGED_GET()),
              std::tuple(1000, true, 1, false))
        << message;
  }
  // A record or JSONL line past IMPORT.LINE.MAX stops the reading at its line, also in quotes.
  mdl_Limits::LIMIT_LET("IMPORT.LINE.MAX", 8);
  for (auto [name, bytes, message] : {std::tuple{"long.csv", "A,B\n1,2\n1234,5678\n", "long.csv:3: the record is"},
                                      std::tuple{"q.csv", "A,B\n\"1\n2\n3\n4\n5\",1\n", "q.csv:2: the record is"},
                                      std::tuple{"long.jsonl", "{}\n{\"A\": 12}\n", "long.jsonl:2: the line is"}}) {
    cls_DBStore db;
    db.FIELDCREATE("A", ID_DBFieldType_Long);
    db.FIELDCREATE("B", ID_DBFieldType_Long);
    auto [number, text] =
        Failure([&, name = name, bytes = bytes] { mdl_DBImport::Import(db, hWrite(dir, name, bytes), {}); });
    EXPECT_TRUE(number == 1000 && text.starts_with(dir / message) &&
                text.find("longer than IMPORT.LINE.MAX (8 bytes)") != std::string::npos)
        << text;
  }
  mdl_Limits::RESET();
  // With create, the fields made for a file that then fails are taken back.
  cls_DBStore db;
  mdl_DBImport::Options o;
  o.create = true;
  EXPECT_EQ((std::tuple{FailureNumber([&] { mdl_DBImport::Import(db, dir / "ragged.csv", o); }), db.FIELDS(),
                        db.FIELDSCHANGED_GET()}),
            std::tuple(1000, 0, false));
  // Skipping keeps the good rows and lists the bad ones in file order.
  o.skipBad = true;
  std::string mixed = hWrite(dir, "mixed.csv", "A,B\n1,x\n2\n3,\"y\n\"\"z\"\"\"\n4,5,6\n7,w\n");
  auto r = mdl_DBImport::Import(db, mixed, o);
  EXPECT_EQ(std::tuple(r.imported, r.skipped, hDump(db)),
            std::tuple(3, std::vector<int64_t>{3, 6}, "1|x\n3|y\n\"z\"\n7|w\n"));
}

// Rows handed on as text are what the entries the import would add serialize to, also when two
// columns fill one field (the later value wins, in the first one's place).
TEST(DBImport, TextSinkGivesTheEntriesSerializedText) {
  QuietNotices quiet;
  TempDir dir;
  const std::string rows = "Anna,31,2024-02-29,Berta\n\"B\u00e4r\",,1.3.2001,\n";
  for (std::string header : {"name,age,when,other\n", "name,age,when,Name\n"}) {
    std::string file = hWrite(dir, "t.csv", header + rows);
    cls_DBStore db, direct;
    mdl_DBImport::Options o;
    o.create = true;
    mdl_DBImport::Import(db, file, o);
    std::string expected, got;
    for (const auto& id : db.ENTRYALL_IDS()) expected += db.ENTRY(id)->SERIALIZE() + "\n";
    o.textSink = [&](std::string_view pText, int64_t pRows) {
      EXPECT_EQ(pRows, 2);
      got += std::string(pText) + "\n";
    };
    EXPECT_EQ(mdl_DBImport::Import(direct, file, o).imported, 2);
    EXPECT_EQ(got, expected) << header;
  }
}

TEST(DBImport, JsonRowsAndOptions) {
  QuietNotices quiet;
  TempDir dir;
  std::string file = hWrite(dir, "p.json",
                            "[{\"name\": \"Anna\", \"age\": 31, \"ok\": true},\n"
                            " {\"name\": \"B\\u00e4r\", \"score\": 1.5, \"ok\": false, \"age\": null}]");
  cls_DBStore db;
  mdl_DBImport::Options o;
  o.create = true;
  EXPECT_EQ(mdl_DBImport::Import(db, file, o).imported, 2);
  EXPECT_EQ(std::tuple(db.FIELD("AGE")->TYPE, db.FIELD("OK")->TYPE, db.FIELD("SCORE")->TYPE, hDump(db)),
            std::tuple(ID_DBFieldType_Long, ID_DBFieldType_Boolean, ID_DBFieldType_Double,
                       "Anna|31|True|\nB\xC3\xA4r||False|1.5\n"));

  // Options that cannot work are refused before anything is read.
  auto with = [](auto set) {
    mdl_DBImport::Options b;
    set(b);
    return b;
  };
  for (const auto& bad : {with([](auto& b) { b.format = "xml"; }), with([](auto& b) { b.delimiter = "ab"; }),
                          with([](auto& b) { b.encoding = "latin9"; }),
                          with([](auto& b) { b.format = "json", b.encoding = "cp1252"; }), with([](auto& b) {
                            b.map = {{"name", "NOSUCH"}};
                          })})
    EXPECT_EQ(FailureNumber([&] { mdl_DBImport::Import(db, file, bad); }), 5);
  EXPECT_EQ(db.ENTRYCOUNT(), 2);
}

}  // namespace
}  // namespace rykel
