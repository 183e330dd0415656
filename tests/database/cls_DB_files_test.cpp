// The database file's life among other writers and odd files: the lock, the changed-on-disk check,
// files that are not regular files, and binary files that name one id twice.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Notifier.h"
#include "frame/ValueWriter.h"
#include "host/cls_DB.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

namespace fs = std::filesystem;

StructurePtr Settings(bool lock, double wait = 30) { return Struct({{"LOCK", lock}, {"LOCKWAIT", wait}}); }

// A database file with one field NAME and its header "info.header" in dir.
std::string NewDB(const TempDir& dir, const std::string& name) {
  cls_DB db;
  db.FIELDCREATE("NAME");
  db.HEADERSAVE(dir / "info.header");
  db.DBOPEN(dir / name, dir / "info.header");
  db.ENTRYCHANGED_LET(true);
  db.DBSAVE();
  return dir / name;
}

TEST(DBFiles, ASaveRefusesAFileThatChangedOnDiskUnlessForced) {
  for (const char* name : {"p.ry-dbb", "p.db"}) {
    SCOPED_TRACE(name);
    TempDir dir;
    QuietNotices quiet;
    const std::string file = NewDB(dir, name);
    cls_DB a, b;
    ASSERT_TRUE(a.DBOPEN(file));
    ASSERT_TRUE(b.DBOPEN(file));
    b.ENTRYADD(b.ENTRYFREEID());
    ASSERT_TRUE(b.DBSAVE());
    a.ENTRYADD(a.ENTRYFREEID());  // the same id 1: saving would drop b's entry
    EXPECT_FALSE(a.DBSAVE());
    EXPECT_EQ(a.DBSAVEERROR_GET(), "'" + file +
                                       "' changed on disk since it was opened or last saved; not "
                                       "overwritten (open it again, or force the save)");
    // a close saves too: it refuses and keeps the database open
    EXPECT_TRUE(a.ENTRYCHANGED_GET() && !a.DBCLOSE() && a.DBOPENED_GET());
    // b saves again on top of its own save; then a forces its version over it
    b.ENTRYADD(7);
    EXPECT_TRUE(b.DBSAVE()) << b.DBSAVEERROR_GET();
    EXPECT_EQ((std::tuple{a.DBSAVE(true), a.DBSAVEERROR_GET()}), std::tuple(true, ""));
    a.ENTRYADD(2);
    EXPECT_TRUE(a.DBSAVE()) << "after its own save the file is a's again";
    cls_DB c;
    ASSERT_TRUE(c.DBOPEN(file));
    EXPECT_EQ(c.ENTRYCOUNT(), 2);
  }
}

// A schema change is two files: when the entries cannot be written (here another writer saved in
// between) the header must get its old content back, or header and entries would disagree.
TEST(DBFiles, ASchemaSaveThatCannotWriteTheEntriesRestoresTheHeader) {
  TempDir dir;
  QuietNotices quiet;
  const std::string file = NewDB(dir, "p.ry-dbb");
  const std::string header = ReadAll(dir / "info.header");
  cls_DB a, b;
  ASSERT_TRUE(a.DBOPEN(file));
  ASSERT_TRUE(b.DBOPEN(file));
  b.ENTRYADD(b.ENTRYFREEID());
  ASSERT_TRUE(b.DBSAVE());
  a.FIELDNEW("CITY", {});
  EXPECT_TRUE(Raises(err::kFileIO, "(the header is unchanged)", [&] { a.SCHEMASAVE(); }));
  EXPECT_EQ(ReadAll(dir / "info.header"), header);

  // Without the other writer the change lands in both files, and a removed field leaves the views.
  cls_DB c;
  ASSERT_TRUE(c.DBOPEN(file));
  c.FIELDNEW("CITY", {});
  auto view = c.VIEW(Variant(1));
  view->COLUMNADD("NAME");
  view->COLUMNADD("CITY");
  view->SORTFIELD = "CITY";
  view->SORTFIELD2 = "NAME";
  view->FILTERS.push_back({"CITY", "Kiel"});
  view->FORMATTING.push_back({"CITY", "Kiel", "", ""});
  c.SCHEMASAVE();
  c.FIELDDROP("CITY");
  c.SCHEMASAVE();
  cls_DB d;
  ASSERT_TRUE(d.DBOPEN(file));
  EXPECT_FALSE(d.FIELDEXISTS(Variant("CITY")));
  auto kept = d.VIEW(Variant(1));
  ASSERT_EQ(kept->COLUMNS.size(), 1u);
  EXPECT_EQ(std::tuple(kept->COLUMNS[0].FIELD, kept->SORTFIELD, kept->SORTFIELD2, kept->FILTERS.size(),
                       kept->FORMATTING.size(), d.ENTRYCOUNT()),
            std::tuple("NAME", "NAME", "", 0u, 0u, 1));
}

TEST(DBFiles, TheLockIsHeldFromOpenToCloseAndSharedWithEveryWriter) {
  TempDir dir;
  QuietNotices quiet;
  const std::string file = NewDB(dir, "p.ry-dbb");
  cls_DB holder, other;
  ASSERT_TRUE(holder.DBOPEN(file, "", false, Settings(true)));
  // another opener that wants the lock, and a plain save, both wait and then give up
  EXPECT_FALSE(other.DBOPEN(file, "", false, Settings(true, 0.05)));
  EXPECT_EQ(other.DBOPENERROR_GET(), "'" + file + "' is locked by another process");
  ASSERT_TRUE(other.DBOPEN(file, "", false, Settings(false, 0.05)));
  other.ENTRYADD(5);
  EXPECT_EQ((std::tuple{other.DBSAVE(), other.DBSAVEERROR_GET()}),
            std::tuple(false, "'" + file + "' is locked by another process"));
  // a read-only open never locks
  cls_DB reader;
  EXPECT_TRUE(reader.DBOPENREADONLY(file));
  holder.ENTRYADD(1);
  EXPECT_TRUE(holder.DBSAVE());
  holder.ENTRYADD(2);
  EXPECT_TRUE(holder.DBSAVE() && holder.DBCLOSE()) << "saved twice under one lock";
  EXPECT_FALSE(other.DBSAVE()) << "the lock is free now, but the file changed";
  // opening another database would drop the changes that could not be saved: refused
  EXPECT_FALSE(other.DBOPEN(dir / "q.ry-dbb", dir / "info.header"));
  EXPECT_TRUE(other.DBOPENERROR_GET().starts_with("The open database '" + file + "' could not be saved: ") &&
              other.ENTRYEXISTS(5))
      << other.DBOPENERROR_GET();
  EXPECT_TRUE(holder.DBOPEN(file, "", false, Settings(true, 0.05))) << "closing let the lock go";
}

TEST(DBFiles, ProcessesThatAddAtTheSameTimeKeepEveryEntryUnderItsOwnId) {
  TempDir dir;
  QuietNotices quiet;
  const std::string file = NewDB(dir, "p.ry-dbb");
  constexpr int kProcesses = 3, kAdds = 20;
  std::vector<pid_t> children;
  for (int p = 0; p < kProcesses; ++p) {
    pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      for (int i = 0; i < kAdds; ++i) {
        cls_DB db;
        if (!db.DBOPEN(file, "", false, Settings(true))) ::_exit(1);
        Variant id = db.ENTRYFREEID();
        db.ENTRYADD(id);
        db.ENTRYFIELD_LET(id, "NAME", "p" + std::to_string(p));
        if (!db.DBSAVE()) ::_exit(2);
        db.DBCLOSE();
      }
      ::_exit(0);
    }
    children.push_back(child);
  }
  for (pid_t c : children) {
    int status = 0;
    ::waitpid(c, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  }
  cls_DB db;
  ASSERT_TRUE(db.DBOPEN(file));
  EXPECT_EQ(db.ENTRYCOUNT(), kProcesses * kAdds);
}

TEST(DBFiles, FoldersFifosAndDevicesAreNotDatabases) {
  TempDir dir;
  QuietNotices quiet;
  NewDB(dir, "p.ry-dbb");
  fs::create_directory(dir / "folder.db");
  ASSERT_EQ(::mkfifo((dir / "fifo.ry-dbb").c_str(), 0600), 0);
  for (const std::string& file : {dir / "folder.db", dir / "fifo.ry-dbb", std::string("/dev/null")}) {
    for (bool readOnly : {false, true}) {
      cls_DB db;
      EXPECT_FALSE(readOnly ? db.DBOPENREADONLY(file, dir / "info.header") : db.DBOPEN(file, dir / "info.header"));
      EXPECT_EQ(db.DBOPENERROR_GET(), "DB file '" + file + "' is not a regular file");
    }
  }
  cls_DB db;
  EXPECT_EQ((std::tuple{db.DBOPEN(dir / "p.ry-dbb", dir / "fifo.ry-dbb"), db.DBOPENERROR_GET()}),
            std::tuple(false, "Header '" + (dir / "fifo.ry-dbb") + "' is not a regular file"));
  // a header found by the name the database file records
  fs::rename(dir / "info.header", dir / "saved.header");
  ASSERT_EQ(::mkfifo((dir / "info.header").c_str(), 0600), 0);
  EXPECT_EQ((std::tuple{db.DBOPEN(dir / "p.ry-dbb"), db.DBOPENERROR_GET()}),
            std::tuple(false, "Header '" + (dir / "info.header") + "' is not a regular file"));
  EXPECT_TRUE(fs::is_fifo(dir / "fifo.ry-dbb"));
}

TEST(DBFiles, ABinaryFileThatNamesAnIdTwiceIsReportedNotMerged) {
  TempDir dir;
  QuietNotices quiet;
  NewDB(dir, "p.ry-dbb");
  auto write = [&](const std::vector<int32_t>& ids) {
    ValueWriter w;
    w.WriteString("Morvandil KEL DB Binary");
    w.Write(Variant(static_cast<int16_t>(1)));
    w.WriteString("info.header");
    w.Write(Variant::Date(date::Now()));
    w.Write(Variant(static_cast<int32_t>(ids.size())));
    for (int32_t id : ids) {
      w.Write(Variant(id));
      w.WriteBool(false);
      w.WriteString("a:1:{s:4:\"NAME\";s:1:\"" + std::to_string(id) + "\";}");
    }
    w.WriteString("EOF");
    std::ofstream(dir / "p.ry-dbb", std::ios::binary) << w.Data();
  };
  write({1, 2, 3});
  cls_DB db;
  ASSERT_TRUE(db.DBOPEN(dir / "p.ry-dbb"));
  EXPECT_EQ(db.ENTRYCOUNT(), 3);
  db.DBCLOSE();
  write({4, 2, 5, 2});
  EXPECT_EQ((std::tuple{db.DBOPEN(dir / "p.ry-dbb"), db.DBOPENERROR_GET()}),
            std::tuple(false, "DB entry file ('" + (dir / "p.ry-dbb") +
                                  "') invalid! The id 2 appears twice (records 2 and 4)."));
}

}  // namespace
}  // namespace rykel
