#include "host/cls_DB.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <regex>

#include "database/DBEntryText.h"
#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "frame/Notifier.h"
#include "frame/Text.h"

#include "../TableDB.h"
#include "../TestSupport.h"

namespace rykel {

namespace fs = std::filesystem;

namespace {

// Collects what the database reports through the notifier.
struct Reports {
  std::vector<Notification> seen;
  Reports() {
    SetNotifier([this](const Notification& n) {
      seen.push_back(n);
      return std::string("OK");
    });
  }
  ~Reports() { SetNotifier({}); }
};

DBPtr hPeopleDB() {
  return TableDB({{"NAME", ID_DBFieldType_String, "Name", true},
                  {"AGE", ID_DBFieldType_Long},
                  {"BORN", ID_DBFieldType_Date},
                  {"ACTIVE", ID_DBFieldType_Boolean}},
                 {{"Anna", 20, "2000-01-01", true},
                  {"Bernd", 21, "2000-01-02", false},
                  {"anna", 22, "2000-01-03", true},
                  {"Clara", 23, "2000-01-04", false}});
}

std::string hDump(cls_DB& db) {
  std::string s;
  for (const auto& id : db.ENTRYALL_IDS()) {
    s += CStr(id) + ":";
    for (int32_t f = 1; f <= db.FIELDS(); ++f) s += " " + db.FIELDTEXT_GET(id, f);
    s += "\n";
  }
  return s;
}

}  // namespace

TEST(cls_DB, ClearHeaderAndViews) {
  cls_DB db;
  EXPECT_EQ(std::tuple(db.DBICON_GET(), db.DBNUMERIC_GET(), db.DBVERSION_GET()), std::tuple("database", true, 7));
  ASSERT_EQ(db.VIEWS(), 1);
  EXPECT_EQ(std::tuple(db.VIEW(1)->ID, db.VIEW(1)->NAME), std::tuple("DEFAULT", "Standard"));

  db.DBNAME_LET("Kunden");
  db.DBNUMERIC_LET(false);
  db.FIELDCREATE("a.b", ID_DBFieldType_Double);
  db.FIELDCREATE("a_c", ID_DBFieldType_EnumMulti)->MEMBERS = "x,y";
  auto view = db.VIEW("DEFAULT");
  view->COLUMNADD("a.b", 80);
  view->COLUMNS.back().SHOWVALUES = true;
  view->COLUMNS.back().SHOWVALUEMODE = 2;
  view->SORTFIELD = "a.b";
  view->SORTREV = true;
  view->SORTFIELD2 = "a_c";
  view->FILTERS.emplace_back("a.b", "> 5");
  view->FILTERMODE = "OR";
  view->FORMATTING.push_back({"a.b", "< 0", "#ff0000 < 0", "#eeeeee"});
  auto h = db.HEADERSTRUCTURE_GET();
  EXPECT_TRUE(h->EXISTS_GET("FIELDS.A_B") && h->EXISTS_GET("FIELDS.A_C"));
  std::vector<std::string> top;
  auto header = h->ITEM_GET("HEADER").as<cls_Structure>();
  for (int32_t i = 1; i <= header->MAX(); ++i) top.push_back(header->ID_GET(i));
  EXPECT_EQ(top, (std::vector<std::string>{"NAME", "ID", "ICON", "DESCRIPTION", "MOVABLE", "EXTENSIBLE", "MASK",
                                           "TYPING", "NUMERIC"}));

  cls_DB other;
  other.HEADERSTRUCTURE_LET(h);
  EXPECT_EQ(std::tuple(other.DBNAME_GET(), other.DBNUMERIC_GET()), std::tuple("Kunden", false));
  ASSERT_EQ(other.FIELDS(), 2);
  // keys are upper-cased names, "_" comes back as "."
  EXPECT_EQ(std::tuple(other.FIELD(1)->ID, other.FIELD(2)->ID, other.FIELD(2)->MEMBERS),
            std::tuple("A.B", "A.C", "x,y"));
  auto v = other.VIEW("default");
  ASSERT_TRUE(v);
  ASSERT_EQ(v->COLUMNS.size(), 1u);
  const auto& c = v->COLUMNS[0];
  EXPECT_EQ(std::tuple(c.FIELD, c.WIDTH, c.SHOWVALUES, c.SHOWVALUEMODE), std::tuple("A.B", 80, true, 2));
  ASSERT_EQ(v->FILTERS.size(), 1u);
  EXPECT_EQ(std::tuple(v->SORTREV, v->SORTFIELD2, v->FILTERS[0].second, v->FILTERMODE),
            std::tuple(true, "a_c", "> 5", "OR"));
  ASSERT_TRUE(v->FORMAT("a_b"));
  EXPECT_EQ(v->FORMAT("a_b")->TEXTCOLOR, "#ff0000 < 0");
  EXPECT_EQ(CStr(v->FILTER_GET()->ITEM_GET("MODE")), "OR");

  db.DBCLEAR();
  EXPECT_EQ(std::tuple(db.FIELDS(), db.VIEWS(), db.DBNAME_GET()), std::tuple(0, 1, ""));
}

TEST(cls_DB, FieldOperations) {
  cls_DB db;
  auto f = db.FIELDCREATE("FIRST.NAME", ID_DBFieldType_String, "Vorname");
  EXPECT_TRUE(db.FIELDSCHANGED_GET());
  EXPECT_EQ(db.FIELDCREATE("first_name").get(), f.get());  // the existing field
  EXPECT_EQ(std::tuple(db.FIELDFIND("first_name"), db.FIELDFIND("Vorname"), db.FIELDFIND("nope")), std::tuple(1, 1, 0));
  EXPECT_TRUE(db.FIELDEXISTS(1) && !db.FIELDEXISTS(2));
  auto g = std::make_shared<cls_DBField>();
  g->ID = "first.NAME";
  EXPECT_FALSE(db.FIELDADD(g));
  g->ID = "AGE";
  g->INDEXED = true;
  EXPECT_TRUE(db.FIELDADD(g));
  EXPECT_TRUE(db.FIELDINDEXED("age") && !db.FIELDINDEXED("FIRST.NAME"));
  EXPECT_EQ(db.FIELD("AGE").get(), g.get());
  EXPECT_TRUE(db.FIELDREMOVE("FIRST.NAME"));
  EXPECT_FALSE(db.FIELDREMOVE("FIRST.NAME"));
  EXPECT_EQ(db.FIELDFIND("AGE"), 1);
  db.FIELDSCLEAR();
  EXPECT_EQ(db.FIELDS(), 0);
  EXPECT_EQ(db.FIELDDB("AGE"), nullptr);
}

TEST(cls_DB, EntriesIndexColumnsAndFreeIds) {
  auto db = hPeopleDB();
  EXPECT_EQ(db->ENTRYCOUNT(), 4);
  EXPECT_EQ(hDump(*db),
            "1: Anna 20 01.01.2000 Ja\n2: Bernd 21 02.01.2000 Nein\n3: anna 22 03.01.2000 Ja\n"
            "4: Clara 23 04.01.2000 Nein\n");
  EXPECT_TRUE(db->ENTRYEXISTS("3"));
  EXPECT_EQ(db->ENTRYFIELD_GET(2, "AGE").type(), VarType::Long);  // stored in the field's type
  EXPECT_EQ(db->ENTRYFIELD_GET(2, "BORN").type(), VarType::Date);

  auto idx = db->FIELDINDEX("NAME");
  ASSERT_TRUE(idx);
  EXPECT_EQ(idx->FINDALL(db->FIELD("NAME")->INDEXKEY(Variant("Anna"))).size(), 1u);  // exact, case counts
  EXPECT_EQ(Ids(idx->WALK()), "1,3,2,4");                                            // Anna, anna, Bernd, Clara
  db->ENTRYFIELD_LET(1, "NAME", "Zora");
  db->ENTRYREMOVE(3);
  EXPECT_EQ(Ids(idx->WALK()), "2,4,1");
  EXPECT_TRUE(db->DBCHECKINDEX());

  // Changes behind the index show in the check.
  db->ENTRY(2)->ITEMBYID_LET("NAME", "Xaver");
  EXPECT_FALSE(db->DBCHECKINDEX());
  EXPECT_TRUE(std::regex_search(db->DBCHECKINDEXREPORT_GET(), std::regex("Datenfeld Name: .* hat asynchronen Index")))
      << db->DBCHECKINDEXREPORT_GET();
  db->ENTRYREINDEX();
  EXPECT_TRUE(db->DBCHECKINDEX());

  // Value columns follow entry changes.
  const auto& col = db->FIELDCOLUMN(1);
  ASSERT_EQ(col.size(), 3u);
  EXPECT_EQ(CStr(col[0]), "Zora");
  db->ENTRYFIELD_LET(4, "NAME", "Clarissa");
  const auto at = db->ENTRYPOSITION(4);
  EXPECT_EQ(std::tuple(CStr(db->FIELDCOLUMN(1)[at]), CStr(db->ENTRYIDAT(at)), db->FIELDSORTCOLUMN(1)[0]),
            std::tuple("Clarissa", "4", "ZORA"));

  // Free ids: the counter, then past the largest id when taken.
  cls_DB ids;
  EXPECT_EQ(CLng(ids.ENTRYFREEID()), 1);
  for (int id : {1, 2, 7}) ids.ENTRYADD(id);
  // the counter's 2 is taken -> past the largest; the even one: 1 is taken -> 8, even and free
  std::vector<int32_t> got{CLng(ids.ENTRYFREEID()), CLng(ids.ENTRYFREEID()), CLng(ids.ENTRYFREEIDEVEN())};
  ids.ENTRYADD(8);
  got.push_back(CLng(ids.ENTRYFREEIDEVEN()));
  EXPECT_EQ(got, (std::vector<int32_t>{8, 9, 8, 10}));
  ids.DBNUMERIC_LET(false);
  EXPECT_TRUE(std::regex_match(CStr(ids.ENTRYFREEID()), std::regex("[^{}-]{32}")));

  // Write-once fields keep their first value.
  auto w = db->FIELDCREATE("CODE");
  w->WRITEONCE = true;
  db->ENTRYFIELD_LET(2, "CODE", "A1");
  SetErrorPolicy([](const ErrorContext&) { return kDecisionRaise; });
  EXPECT_THROW(db->ENTRYFIELD_LET(2, "CODE", "B2"), Error);
  SetErrorPolicy({});
  EXPECT_EQ(CStr(db->ENTRYFIELD_GET(2, "CODE")), "A1");

  // Many removals stay consistent across compaction.
  cls_DB many;
  for (int i = 1; i <= 1000; ++i) many.ENTRYFIELD_LET(i, "X", i);
  for (int i = 1; i <= 1000; i += 2) many.ENTRYREMOVE(i);
  EXPECT_EQ(std::tuple(many.ENTRYCOUNT(), CLng(many.ENTRYALL_IDS().front()), CLng(many.ENTRYFIELD_GET(998, "X")),
                       many.ENTRYEXISTS(999)),
            std::tuple(500, 2, 998, false));
}

TEST(cls_DB, TextFormsValueEventAndTrack) {
  auto db = hPeopleDB();
  auto ref = db->FIELDCREATE("BOSS", ID_DBFieldType_ReferenceNumeric);
  db->ENTRYFIELD_LET(1, "BOSS", 4);
  std::string seen;
  db->VALUEEVENT_SET([&](const cls_DBField& f, const Variant& id, Variant& rValue) {
    seen += f.ID + "@" + CStr(id);
    rValue = Variant("Clara");
  });
  EXPECT_EQ(db->FIELDTEXT_GET(1, "BOSS") + "|" + db->FIELDTEXT_GET(1, "NAME") + "|" + seen, "Clara|Anna|BOSS@1");
  EXPECT_LT(db->FIELDTEXTSORT_GET(1, "AGE"), db->FIELDTEXTSORT_GET(2, "AGE"));
  EXPECT_GT(db->FIELDTEXTSORT_GET(1, "AGE", false, true), db->FIELDTEXTSORT_GET(2, "AGE", false, true));

  db->DEBUGTRACK_LET("ENTRYQUERY-7");
  EXPECT_EQ(db->DEBUGTRACK_GET(), "ENTRYQUERY-7");
  db->DEBUGTRACK_LET("ENTRYQUERY-14-1-", 3, 17);
  EXPECT_EQ(db->DEBUGTRACK_GET(), "ENTRYQUERY-14-1-3/17");
}

TEST(cls_DB, SerializedFormsAndMerge) {
  auto db = hPeopleDB();
  db->ENTRYFIELD_LET(2, "NAME", "B<ernd");
  std::string s = db->SERIALIZE();
  ASSERT_EQ(s.rfind("DBS1:", 0), 0u);
  size_t at = s.find('@');
  std::string sep = s.substr(5, at - 5);
  EXPECT_TRUE(std::regex_match(sep, std::regex("<.+>"))) << sep;  // "<" occurs in a text: a longer separator
  EXPECT_EQ(text::Split(s, sep).size(), 2u * 4 + 3);              // "DBS1:", "@", header, 4 x (id, entry)

  cls_DB copy;
  EXPECT_FALSE(copy.UNSERIALIZE("XYZ"));
  EXPECT_FALSE(copy.UNSERIALIZE("DBS1:<>"));
  EXPECT_TRUE(copy.UNSERIALIZE(s));
  EXPECT_EQ(hDump(copy), hDump(*db));
  EXPECT_EQ(std::tuple(copy.FIELDS(), copy.FIELDINDEXED("NAME"), copy.FIELDINDEX("NAME")->COUNT()),
            std::tuple(db->FIELDS(), true, 4));

  // Ids are read as the text's header says, whatever the reading database was before: text ids
  // into a fresh (numeric) database, numeric ids into a text-id database.
  cls_DB texts;
  texts.DBNUMERIC_LET(false);
  texts.FIELDCREATE("NAME");
  texts.ENTRYFIELD_LET("EFA9ED", "NAME", "Anna");
  texts.ENTRYFIELD_LET("C08B07", "NAME", "Bernd");
  texts.ENTRYFIELD_LET("7up", "NAME", "Clara");  // begins with a digit
  cls_DB fresh;
  EXPECT_TRUE(fresh.UNSERIALIZE(texts.SERIALIZE()) && !fresh.DBNUMERIC_GET());
  EXPECT_EQ(hDump(fresh), hDump(texts));
  EXPECT_EQ(CStr(fresh.ENTRYFIELD_GET("7up", "NAME")), "Clara");
  cls_DB wasText;
  wasText.DBNUMERIC_LET(false);
  EXPECT_TRUE(wasText.UNSERIALIZE(s) && wasText.DBNUMERIC_GET());
  EXPECT_EQ(hDump(wasText), hDump(*db));

  // The older line form.
  cls_DB old;
  std::string line = "DBS0:|@" + hEntryText(db->HEADERSTRUCTURE_GET()) +
                     "|5:" + text::Replace(hEntryText(db->ENTRY(1)), "\r", "\\r") +
                     "|6:a:1:{s:4:\"NAME\";s:3:\"a\\/b\";}";
  EXPECT_TRUE(old.UNSERIALIZE(line));
  EXPECT_EQ(hDump(old), "5: Anna 20 01.01.2000 Ja\n6: a\\b   \n");

  // Merging: without overwrite only new ids come in.
  auto other = std::make_shared<cls_DB>();
  other->ENTRYFIELD_LET(1, "NAME", "Neu");
  other->ENTRYFIELD_LET(9, "NAME", "Ida");
  cls_DB target;
  EXPECT_TRUE(target.DBCOPY(db));
  EXPECT_EQ(hDump(target), hDump(*db));
  target.ENTRYFIELD_LET(1, "NAME", "Changed");
  EXPECT_EQ(CStr(db->ENTRYFIELD_GET(1, "NAME")), "Anna");  // copies do not share entries
  target.DBMERGE(other, false);
  EXPECT_EQ(CStr(target.ENTRYFIELD_GET(1, "NAME")) + "," + CStr(target.ENTRYFIELD_GET(9, "NAME")), "Changed,Ida");
  target.DBMERGE(other, true);
  EXPECT_EQ(CStr(target.ENTRYFIELD_GET(1, "NAME")), "Neu");
}

TEST(cls_DB, OpenMessages) {
  TempDir dir;
  Reports reports;
  cls_DB db;
  std::string D = dir / "x.db", H = dir / "x.header";
  // The message of an open that fails ("opened" when it does not).
  auto refused = [&db](const std::string& d, const std::string& h, auto&&... more) {
    return db.DBOPEN(d, h, more...) ? std::string("opened") : db.DBOPENERROR_GET();
  };

  EXPECT_EQ(refused(D, H), "Header '" + H + "' does not exist");
  ASSERT_EQ(reports.seen.size(), 1u);
  EXPECT_EQ(reports.seen[0].caption, "Database error");
  EXPECT_EQ(reports.seen[0].text.rfind("A database engine error has occured while trying to open a database:\r\n"
                                       "Database: " +
                                           D + "\r\nHeader: " + H + "\r\nError: Header '" + H +
                                           "' does not exist\r\nStructure Info",
                                       0),
            0u);

  EXPECT_FALSE(db.DBOPENREADONLY(D, ""));
  EXPECT_EQ(db.DBOPENERROR_GET(), "DB file '" + D + "' does not exist (Read-only)");
  EXPECT_FALSE(fs::exists(D));
  auto existing = Struct({{"CREATE", false}});  // a write open that must not make the file
  EXPECT_EQ(refused(D, "", false, existing), "DB file '" + D + "' does not exist");
  EXPECT_FALSE(fs::exists(D));

  EXPECT_EQ(refused(dir / "no/such/dir.db", ""),
            "DB file '" + (dir / "no/such/dir.db") + "' does not exist and cannot be created!");

  { std::ofstream(H) << "garbage"; }
  EXPECT_EQ(refused(D, H), "Header file ('" + H + "') invalid!");

  auto good = hPeopleDB();
  ASSERT_TRUE(good->HEADERSAVE(H));
  { std::ofstream(D) << "not a database"; }
  EXPECT_EQ(refused(D, H), "DB entry file ('" + D + "') invalid!");
  std::string B = dir / "x.ry-dbb";
  { std::ofstream(B) << "not a database"; }
  EXPECT_EQ(refused(B, H), "DB entry file ('" + B + "') invalid!");

  // Without a header file the header is located by the name the database file holds.
  std::string B2 = dir / "y.RY-DBB";
  ASSERT_TRUE(good->HEADERSAVE(dir / "people.header"));
  {
    cls_DB w;
    ASSERT_TRUE(w.DBOPEN(B2, dir / "people.header"));
    w.DBCOPY(good);
    ASSERT_TRUE(w.DBCLOSE());
  }
  fs::rename(dir / "people.header", dir / "moved.header");
  EXPECT_EQ(refused(B2, ""), "Header 'people.header' could not be located!");
  fs::create_directories(dir / "hdr");
  fs::rename(dir / "moved.header", dir / "hdr/people.header");
  { std::ofstream(dir / "hdr2.header") << "bad"; }
  db.HEADERLOCATIONS_GET()->ADD(dir / "hdr");
  EXPECT_TRUE(db.DBOPEN(B2, ""));
  EXPECT_EQ(db.HEADERFILE_GET(), dir / "hdr/people.header");
  EXPECT_EQ(hDump(db), hDump(*good));
  db.DBCLOSE();
  fs::remove(dir / "hdr/people.header");
  { std::ofstream(dir / "hdr/people.header") << "bad"; }
  EXPECT_EQ(refused(B2, ""), "Header file ('" + (dir / "hdr/people.header") + "') invalid!");

  // Raising on request.
  SetErrorPolicy([](const ErrorContext&) { return kDecisionRaise; });
  try {
    db.DBOPEN(dir / "missing.db", dir / "missing.header", true);
    ADD_FAILURE() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.source, "cls_DB.DBOPEN");
    EXPECT_EQ(e.description, "Header '" + (dir / "missing.header") + "' does not exist");
  }
  SetErrorPolicy({});
}

TEST(cls_DB, SaveAndReopenInBothForms) {
  TempDir dir;
  Reports reports;
  auto good = hPeopleDB();
  std::string H = dir / "info.header";
  ASSERT_TRUE(good->HEADERSAVE(H));
  for (std::string name : {"p.ry-dbb", "p.Ry-Dbb.tmp", "p.db"}) {
    std::string D = dir / name;
    cls_DB db;
    ASSERT_TRUE(db.DBOPEN(D, H));
    EXPECT_EQ(db.CACHEFILE_GET(), D + ".cache");
    // the same file again: nothing reloaded; copy, changed, saved, unchanged, nothing left to save
    std::vector<bool> steps{db.DBOPEN(D, H), db.DBCOPY(good),       db.ENTRYCHANGED_GET(),
                            db.DBSAVE(),     db.ENTRYCHANGED_GET(), db.DBSAVE()};
    EXPECT_EQ(steps, (std::vector<bool>{true, true, true, true, false, false}));
    db.DBCLOSE();
    const bool binary = fileio::ReadFile(D).substr(0, 40).find("Morvandil KEL DB Binary") != std::string::npos;
    EXPECT_EQ(binary, name != "p.db") << name;

    cls_DB back;
    ASSERT_TRUE(back.DBOPEN(D, "")) << back.DBOPENERROR_GET();  // header found beside the file
    EXPECT_EQ(hDump(back), hDump(*good)) << name;
    EXPECT_TRUE(back.FIELDINDEXED("NAME") && back.FIELDINDEX("NAME")->COUNT() == 4);
  }
  EXPECT_TRUE(reports.seen.empty());

  // Text ids do not survive the binary form: "a.b" is written "a_b" and read as 0.
  cls_DB text;
  text.DBNUMERIC_LET(false);
  text.HEADERSAVE(dir / "text.header");
  ASSERT_TRUE(text.DBOPEN(dir / "t.ry-dbb", dir / "text.header"));
  text.ENTRYFIELD_LET("a.b", "X", "1");
  ASSERT_TRUE(text.DBCLOSE());
  EXPECT_NE(fileio::ReadFile(dir / "t.ry-dbb").find("a_b"), std::string::npos);
  cls_DB textBack;
  ASSERT_TRUE(textBack.DBOPEN(dir / "t.ry-dbb", dir / "text.header"));
  auto ids = textBack.ENTRYALL_IDS();
  ASSERT_EQ(ids.size(), 1u);
  EXPECT_TRUE(ids[0].isNumber() && CLng(ids[0]) == 0) << CStr(ids[0]);
  cls_DB located;  // the header, found by name after the entries were read, keeps them
  ASSERT_TRUE(located.DBOPEN(dir / "t.ry-dbb", ""));
  EXPECT_EQ(std::tuple(located.DBNUMERIC_GET(), located.ENTRYCOUNT(), CStr(located.ENTRYFIELD_GET(0, "X"))),
            std::tuple(false, 1, "1"));

  // A read-only database is never written.
  std::string D = dir / "p.db";
  auto before = fileio::ReadFile(D);
  cls_DB ro;
  ASSERT_TRUE(ro.DBOPENREADONLY(D, H));
  ro.ENTRYFIELD_LET(1, "NAME", "Nobody");
  EXPECT_TRUE(!ro.DBSAVE() && ro.DBCLOSE());
  EXPECT_EQ(fileio::ReadFile(D), before);

  // Every truncation of a binary file is a clear open failure.
  std::string bin = fileio::ReadFile(dir / "p.ry-dbb");
  for (size_t cut : {size_t(1), size_t(10), bin.size() / 2, bin.size() - 1}) {
    std::ofstream(dir / "cut.ry-dbb", std::ios::binary).write(bin.data(), static_cast<std::streamsize>(cut));
    cls_DB c;
    EXPECT_FALSE(c.DBOPEN(dir / "cut.ry-dbb", H));
    EXPECT_EQ(c.DBOPENERROR_GET(), "DB entry file ('" + (dir / "cut.ry-dbb") + "') invalid!");
  }
}

TEST(cls_DB, KilledSavesLeaveOldOrNewFile) {
  TempDir dir;
  Reports reports;
  std::string H = dir / "info.header", D = dir / "big.ry-dbb";
  cls_DB db;
  db.FIELDCREATE("NAME");
  db.FIELDCREATE("N", ID_DBFieldType_Long);
  ASSERT_TRUE(db.HEADERSAVE(H));
  ASSERT_TRUE(db.DBOPEN(D, H));
  for (int i = 1; i <= 20000; ++i) {
    db.ENTRYFIELD_LET(i, "NAME", "Name " + std::to_string(i));
    db.ENTRYFIELD_LET(i, "N", 0);
  }
  ASSERT_TRUE(db.DBSAVE());
  std::mt19937 gen(3);
  for (int round = 0; round < 12; ++round) {
    pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      // Save again and again, each time with every N set to the round number.
      for (int gen2 = 1;; ++gen2) {
        for (int i = 1; i <= 20000; i += 997) db.ENTRYFIELD_LET(i, "N", gen2);
        db.DBSAVE();
      }
    }
    ::usleep(5000 + gen() % 60000);
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    cls_DB check;
    ASSERT_TRUE(check.DBOPENREADONLY(D, H)) << check.DBOPENERROR_GET();
    ASSERT_EQ(check.ENTRYCOUNT(), 20000);
    int32_t n = CLng(check.ENTRYFIELD_GET(1, "N"));
    for (int i = 1; i <= 20000; i += 997) ASSERT_EQ(CLng(check.ENTRYFIELD_GET(i, "N")), n);
  }
}

}  // namespace rykel
