#include "database/DBStructureFile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>

#include "database/DBEntryText.h"
#include "frame/Convert.h"
#include "frame/FileIO.h"
#include "frame/Notifier.h"
#include "host/cls_DB.h"

#include "../TestSupport.h"

namespace rykel {

namespace fs = std::filesystem;

namespace {

// The file without its time stamp line, which differs between two saves.
std::string hWithoutTime(const std::string& file) {
  return std::regex_replace(fileio::ReadFile(file), std::regex("TIMESTAMP = #[^#]*#"), "TIMESTAMP");
}

// Every entry as "id=serialized text", in table order.
std::string hDump(cls_DB& db) {
  std::string s;
  for (const auto& id : db.ENTRYALL_IDS()) {
    auto e = db.ENTRY(id);
    s += CStr(id) + (id.isString() ? "'" : "") + "=" + (e ? e->SERIALIZE() : "-") + "\n";
  }
  return s;
}

StructurePtr hEntry(const std::string& script) {
  auto e = cls_Structure::New();
  e->PARSE(script);
  return e;
}

// The entries as the whole structure gives them.
std::string hGenericDump(const std::string& text, bool numeric) {
  cls_DB db;
  db.DBNUMERIC_LET(numeric);
  db.DBSTRUCTURE_LET(hStructureFromScript(text));
  return hDump(db);
}

}  // namespace

TEST(DBStructureFile, SaveWritesTheBytesOfTheWholeStructure) {
  TempDir dir;
  QuietNotices quiet;
  auto check = [&](cls_DB& db, const std::string& name) {
    std::string streamed = dir / (name + ".db"), whole = dir / (name + "_whole.db");
    db.HEADERSAVE(dir / (name + ".header"));
    ASSERT_TRUE(db.DBOPEN(streamed, dir / (name + ".header")));
    hStructureFileSave(db.DBSTRUCTURE_GET(), whole);
    db.ENTRYADD(db.ENTRYFREEID(), hEntry("LAST = 1"));
    db.ENTRYREMOVE(db.ENTRYALL_IDS().back());
    ASSERT_TRUE(db.DBSAVE());
    EXPECT_EQ(hWithoutTime(streamed), hWithoutTime(whole)) << name;
    cls_DB back;
    back.DBNUMERIC_LET(db.DBNUMERIC_GET());
    ASSERT_TRUE(back.DBOPEN(streamed, dir / (name + ".header"))) << back.DBOPENERROR_GET();
    EXPECT_EQ(hDump(back), hGenericDump(fileio::ReadFile(whole), db.DBNUMERIC_GET())) << name;
  };

  cls_DB numeric;
  numeric.ENTRYADD(1, hEntry("Name = \"Anna \\\"A\\\" \\r\\n\\t\\\\ Müller\"\r\nBorn = #1990-02-03 04:05:06#\r\n"
                             "Score = 1.5\r\nSmall = 0.1!\r\nMoney = 12.5@\r\nShort = 7%\r\nNone = NULL\r\n"
                             "Nothing =\r\nYes = True\r\n\"A.B\" = 2\r\n\"x = y\" = 3\r\n"
                             "Sub {\r\n\tDeep {\r\n\t\tX = \"y\"\r\n\t}\r\n\tEmpty = {}\r\n}\r\n"));
  numeric.ENTRYADD(-5, hEntry("[3] = \"unnamed\"\r\n"));
  numeric.ENTRYADD(2147483647, nullptr);
  numeric.ENTRYADD(7, cls_Structure::New());
  check(numeric, "numeric");

  cls_DB text;
  text.DBNUMERIC_LET(false);
  for (std::string id : {"abc", "x.y", "ünï", "with space", "q\"uote", "{brace}", "12"}) {
    auto e = Struct({{"ID", id}});
    text.ENTRYADD(id, e);
  }
  check(text, "text");

  // Ids that the whole structure folds into one name take the generic way, with the same result.
  cls_DB folded;
  folded.DBNUMERIC_LET(false);
  folded.ENTRYADD("abc", hEntry("N = 1"));
  folded.ENTRYADD("ABC", hEntry("N = 2"));
  check(folded, "folded");
  EXPECT_FALSE(DBStructureFile::Write(dir / "no.db", "h", {{Variant(""), nullptr}}, false));
  EXPECT_FALSE(DBStructureFile::Write(dir / "no.db", "h", {{Variant(2.5), nullptr}}, true));
  EXPECT_FALSE(fs::exists(dir / "no.db"));
}

TEST(DBStructureFile, ReadGivesWhatTheWholeStructureGives) {
  TempDir dir;
  QuietNotices quiet;
  cls_DB header;
  header.HEADERSAVE(dir / "info.header");
  header.HEADERSAVE(dir / "other.header");
  struct Case {
    std::string text;
    bool plain;  // read entry by entry (else through the whole structure)
    bool numeric = true;
  };
  const std::string ok = "INFO {\r\n\tVERSION = 1\r\n\tHEADER = \"other.header\"\r\n}\r\n";
  const Case cases[] = {
      {ok + "ENTRIES {\r\n\t1 {\r\n\t\tA = \"x\"\r\n\t\tB = 2.5\r\n\t}\r\n\t2 {\r\n\t}\r\n}\r\n", true},
      // byte order mark, other line ends, comments, blanks, "name = {", lower case, "{}"
      {"\xEF\xBB\xBF# made by hand\nentries = {\n  // the first\r  3 {\n\n   name=\"a\"  \n  sub = {}\n"
       "  deep {\n x {\n y = 1\n }\n }\n  }\n}\n",
       true},
      {ok + "ENTRIES {\n 1 {\n  A.B = 1\n }\n}\n", false},         // a path
      {ok + "ENTRIES {\n 1 {\n  X = 1\n  x = 2\n }\n}\n", false},  // a name twice
      {ok + "ENTRIES {\n 1 {\n  S {\n  }\n  S {\n  Z = 1\n  }\n }\n}\n", false},
      {ok + "ENTRIES {\n 1 {\n  [3] = 1\n }\n}\n", false},    // an index
      {ok + "ENTRIES {\n \"1\" {\n  X = 1\n }\n}\n", false},  // a quoted name
      {ok + "OTHER = 1\nENTRIES {\n 1 {\n }\n}\n", false},    // another item at the top
      {ok + "ENTRIES {\n 1 {\n  X = 1\n }\n}\nENTRIES {\n 2 {\n }\n}\n", false},
      // one id twice: the whole structure merges the blocks
      {ok + "ENTRIES {\n 1 {\n  X = 1\n }\n 1 {\n  Y = 2\n }\n}\n", true},
      {ok + "ENTRIES {\n 01 {\n  X = 1\n }\n 1 {\n  Y = 2\n }\n}\n", true},
      {ok + "ENTRIES {\n abc {\n  X = 1\n }\n ABC {\n  Y = 2\n }\n}\n", true, false},
      {ok + "ENTRIES {\n Abc {\n  X = 1\n }\n 7 {\n }\n}\n", true, false},
  };
  int n = 0;
  for (const Case& c : cases) {
    std::string file = dir / ("c" + std::to_string(n++) + ".db");
    std::ofstream(file, std::ios::binary) << c.text;
    std::string headerName;
    std::vector<DBStructureFile::Row> rows;
    EXPECT_EQ(DBStructureFile::Read(c.text, headerName, rows), c.plain) << c.text;
    if (c.plain) {
      EXPECT_EQ(headerName, c.text.find("other.header") != std::string::npos ? "other.header" : "info.header");
      EXPECT_FALSE(rows.empty());
    } else {
      EXPECT_TRUE(rows.empty());
    }
    rows.clear();
    cls_DB db;
    if (!c.numeric) {  // the header the file names decides
      db.DBNUMERIC_LET(false);
      db.HEADERSAVE(dir / "other.header");
    }
    ASSERT_TRUE(db.DBOPEN(file, "")) << db.DBOPENERROR_GET() << "\n" << c.text;
    EXPECT_EQ(hDump(db), hGenericDump(c.text, c.numeric)) << c.text;
    EXPECT_FALSE(db.ENTRYCHANGED_GET());
    if (!c.numeric) header.HEADERSAVE(dir / "other.header");
  }

  // Broken files fail to open, whichever reader meets the flaw.
  for (std::string bad : {ok + "ENTRIES {\n 1 {\n  X = 1\n }\n", ok + "ENTRIES {\n 1 {\n  X = \"open\n }\n}\n",
                          ok + "}\n", ok + "ENTRIES {\n 1 {\n  X = #2020-13-45#\n }\n}\n"}) {
    std::string file = dir / "bad.db";
    std::ofstream(file, std::ios::binary | std::ios::trunc) << bad;
    std::string headerName;
    std::vector<DBStructureFile::Row> rows;
    EXPECT_FALSE(DBStructureFile::Read(bad, headerName, rows)) << bad;
    cls_DB db;
    EXPECT_FALSE(db.DBOPEN(file, dir / "info.header")) << bad;
    EXPECT_EQ(db.DBOPENERROR_GET(), "DB entry file ('" + file + "') invalid!");
  }
}

}  // namespace rykel
