// Faults of real files under the whole-file reader and the crash-safe writer, seen through the
// structure files and the database: a full disk (the file size limit), a folder we may not write
// to, files that vanish while being read, and a writer killed in the middle of a save. Afterwards
// a file is always its old or its new version, never a mix, and failures come as errors.
#include "frame/FileIO.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/Notifier.h"
#include "host/cls_DB.h"
#include "structure/cls_Structure.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

namespace fs = std::filesystem;

// A structure whose script form is large: n items, each holding the generation mark.
StructurePtr Big(int n, int mark) {
  auto s = cls_Structure::New();
  for (int i = 0; i < n; ++i) s->ITEM_LET("ITEM" + std::to_string(i), "generation " + std::to_string(mark));
  return s;
}

// Makes db a database with the field NAME on pFile, its header "info.header" beside it, and saves
// it with one entry.
void OpenSaved(cls_DB& db, const TempDir& dir, const std::string& pFile) {
  db.FIELDCREATE("NAME");
  ASSERT_TRUE(db.HEADERSAVE(dir / "info.header"));
  ASSERT_TRUE(db.DBOPEN(pFile, dir / "info.header"));
  db.ENTRYFIELD_LET(1, "NAME", "Anna");
  ASSERT_TRUE(db.DBSAVE());
}

// Lowers the file size limit for the current process while alive; writes past it fail with EFBIG
// instead of killing the process.
struct FileSizeLimit {
  struct rlimit old {};
  void (*oldHandler)(int);
  explicit FileSizeLimit(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &old);
    oldHandler = ::signal(SIGXFSZ, SIG_IGN);
    struct rlimit small = old;
    small.rlim_cur = bytes;
    ::setrlimit(RLIMIT_FSIZE, &small);
  }
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &old);
    ::signal(SIGXFSZ, oldHandler);
  }
};

TEST(FileIO, FullDiskKeepsTheOldFileAndRaisesAFileError) {
  TempDir dir;
  const std::string file = dir / "data.txt";
  ASSERT_TRUE(Big(10, 1)->SAVE(file));
  const std::string before = ReadAll(file);
  auto big = Big(5000, 2);
  int number;
  {
    FileSizeLimit limit(8192);
    number = FailureNumber([&] { big->SAVE(file); });
  }
  EXPECT_TRUE(number == err::kDiskFull || number == err::kFileIO) << number;
  EXPECT_EQ(ReadAll(file), before);
  EXPECT_EQ(dir.Count(), 1u);  // no temporary file left
  // the same write goes through once there is room again
  EXPECT_TRUE(big->SAVE(file));
  auto back = cls_Structure::New();
  ASSERT_TRUE(back->LOAD(file));
  EXPECT_EQ(back->COUNT(), 5000);
}

// The checks in a folder the process may not write to; "" when all held.
std::string ReadOnlyChecks(const std::string& file, const std::string& header, const std::string& dbFile, cls_DB& db,
                           const std::string& oldScript, const std::string& oldDB) {
  std::string fail;
  auto check = [&](bool ok, const char* what) {
    if (!ok) fail += std::string(what) + "; ";
  };
  check(FailureNumber([&] { Big(3, 2)->SAVE(file); }) == err::kPermissionDenied, "SAVE raises 70");
  db.ENTRYFIELD_LET(1, "NAME", "Bernd");
  check(!db.DBSAVE(), "DBSAVE answers false");
  check(db.ENTRYCHANGED_GET(), "the change waits for the next save");
  check(FailureNumber([&] { db.HEADERSAVE(header); }) == err::kPermissionDenied, "HEADERSAVE raises 70");
  check(ReadAll(file) == oldScript, "structure file unchanged");
  check(ReadAll(dbFile) == oldDB, "database file unchanged");
  return fail;
}

TEST(FileIO, ReadOnlyFolderRefusesSavesOfStructuresAndDatabases) {
  TempDir dir;
  QuietNotices quiet;
  const std::string file = dir / "data.txt", header = dir / "info.header", dbFile = dir / "p.ry-dbb";
  ASSERT_TRUE(Big(3, 1)->SAVE(file));
  cls_DB db;
  OpenSaved(db, dir, dbFile);
  const std::string oldScript = ReadAll(file), oldDB = ReadAll(dbFile);

  fs::permissions(dir.path,
                  fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read | fs::perms::others_exec,
                  fs::perm_options::replace);
  if (::access(dir.path.c_str(), W_OK) != 0) {
    EXPECT_EQ(ReadOnlyChecks(file, header, dbFile, db, oldScript, oldDB), "");
  } else {
    // Root may write anywhere: run the checks in a child that gives up its rights first.
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      ::close(fds[0]);
      std::string fail = (::setgid(65534) == 0 && ::setuid(65534) == 0)
                             ? ReadOnlyChecks(file, header, dbFile, db, oldScript, oldDB)
                             : std::string("could not give up root");
      ssize_t w = ::write(fds[1], fail.data(), fail.size());
      (void)w;
      ::_exit(0);
    }
    ::close(fds[1]);
    std::string fail;
    char buf[256];
    for (ssize_t n; (n = ::read(fds[0], buf, sizeof buf)) > 0;) fail.append(buf, static_cast<size_t>(n));
    ::close(fds[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(fail, "");
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    db.ENTRYFIELD_LET(1, "NAME", "Bernd");  // the child's change, made here too
  }

  fs::permissions(dir.path, fs::perms::owner_all, fs::perm_options::add);
  EXPECT_TRUE(db.DBSAVE());
  db.DBCLOSE();
  cls_DB back;
  ASSERT_TRUE(back.DBOPENREADONLY(dbFile, header));
  EXPECT_EQ(CStr(back.ENTRYFIELD_GET(1, "NAME")), "Bernd");
}

TEST(FileIO, FilesThatVanishWhileReadGiveWholeDataOrAClearError) {
  TempDir dir;
  QuietNotices quiet;
  const std::string file = dir / "data.txt", header = dir / "info.header", dbFile = dir / "p.db";
  const std::string script = Big(2000, 7)->SCRIPT();
  cls_DB db;
  db.FIELDCREATE("NAME");
  ASSERT_TRUE(db.HEADERSAVE(header));
  ASSERT_TRUE(db.DBOPEN(dbFile, header));
  for (int i = 1; i <= 500; ++i) db.ENTRYFIELD_LET(i, "NAME", "Name " + std::to_string(i));
  ASSERT_TRUE(db.DBSAVE());
  db.DBCLOSE();
  const std::string dbText = ReadAll(dbFile);

  // Another process keeps deleting the files and putting them back (by rename, as savers do).
  std::atomic<bool> stop{false};
  std::thread churn([&] {
    for (int round = 0; !stop; ++round) {
      std::error_code ec;
      fs::remove(file, ec);
      fs::remove(dbFile, ec);
      std::ofstream(file + ".new", std::ios::binary) << script;
      fs::rename(file + ".new", file, ec);
      std::ofstream(dbFile + ".new", std::ios::binary) << dbText;
      fs::rename(dbFile + ".new", dbFile, ec);
    }
  });
  int loaded = 0, missing = 0, opened = 0, refused = 0;
  for (int i = 0; i < 150; ++i) {
    auto s = cls_Structure::New();
    int number = FailureNumber([&] { s->LOAD(file); });
    if (number == 0) {
      ++loaded;
      EXPECT_EQ(s->COUNT(), 2000);
    } else {
      ++missing;
      EXPECT_EQ(number, err::kFileNotFound);
      EXPECT_EQ(s->COUNT(), 0);
    }
    cls_DB d;
    if (d.DBOPENREADONLY(dbFile, header)) {
      ++opened;
      EXPECT_EQ(d.ENTRYCOUNT(), 500);
    } else {
      ++refused;
      EXPECT_NE(d.DBOPENERROR_GET(), "");
    }
  }
  stop = true;
  churn.join();
  EXPECT_EQ(loaded + missing, 150);
  EXPECT_EQ(opened + refused, 150);
}

TEST(FileIO, KilledStructureSavesLeaveTheOldOrTheNewFile) {
  TempDir dir;
  const std::string file = dir / "big.txt";
  ASSERT_TRUE(Big(20000, 0)->SAVE(file));
  std::mt19937 gen(11);
  for (int round = 0; round < 10; ++round) {
    pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      for (int mark = 1;; ++mark) Big(20000, mark)->SAVE(file);  // until killed
    }
    ::usleep(5000 + gen() % 80000);
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    auto back = cls_Structure::New();
    ASSERT_NO_THROW(back->LOAD(file)) << "round " << round;
    ASSERT_EQ(back->COUNT(), 20000);
    // one generation throughout: never the front of one save and the tail of another
    const std::string first = CStr(back->ITEM_GET("ITEM0"));
    ASSERT_EQ(CStr(back->ITEM_GET("ITEM19999")), first);
    ASSERT_EQ(CStr(back->ITEM_GET("ITEM10000")), first);
  }
  // a killed writer may leave its temporary file; it never replaces the real one, and the next
  // successful save of the file removes it
  ASSERT_TRUE(Big(3, 1)->SAVE(file));
  EXPECT_EQ(dir.Count(), 1u);
}

// A process id that is surely not running: a child that has ended and been waited for.
pid_t DeadPid() {
  pid_t child = ::fork();
  if (child == 0) ::_exit(0);
  ::waitpid(child, nullptr, 0);
  return child;
}

TEST(FileIO, StaleTemporaryFilesOfTheSameTargetAreRemovedOnlyWhenTheirWriterIsGone) {
  TempDir dir;
  const std::string file = dir / "d.ry-dbb", dead = std::to_string(DeadPid());
  std::vector<std::pair<std::string, bool>> cases = {
      // name, stays
      {"d.ry-dbb.~" + dead + ".k3j9x0a1b2.tmp", false},
      {"d.ry-dbb.~" + dead + ".tmp", false},                                  // the older writer's name
      {"d.ry-dbb.~1.a1b2c3d4e5.tmp", true},                                   // a live writer (init)
      {"d.ry-dbb.~" + std::to_string(::getpid()) + ".zzzzzzzzzz.tmp", true},  // this process's own
      {"other.ry-dbb.~" + dead + ".aaaaaaaaaa.tmp", true},                    // another target
      {"d.ry-dbb.~x" + dead + ".tmp", true},                                  // not the pattern
  };
  for (const auto& [name, stays] : cases) std::ofstream(dir / name) << "orphan";
  fileio::WriteFileAtomic(file, "data");
  for (const auto& [name, stays] : cases) EXPECT_EQ(fs::exists(dir / name), stays) << name;
}

TEST(FileIO, WritesNeverFollowAPlantedLinkKeepPermissionsAndWriteThroughALinkedTarget) {
  TempDir dir;
  QuietNotices quiet;
  fs::create_directory(dir / "real");
  const std::string victim = dir / "victim.txt", db = dir / "p.ry-dbb";
  std::ofstream(victim) << "keep me";
  cls_DB a;
  OpenSaved(a, dir, db);
  ::chmod(db.c_str(), 0600);
  // the temporary file names an older writer used, planted as links to another file
  fs::create_symlink(victim, db + ".~" + std::to_string(::getpid()) + ".tmp");
  a.ENTRYADD(2);
  ASSERT_TRUE(a.DBSAVE()) << a.DBSAVEERROR_GET();
  EXPECT_EQ(ReadAll(victim), "keep me");
  EXPECT_EQ(fs::status(db).permissions() & fs::perms::all, fs::perms::owner_read | fs::perms::owner_write);
  a.DBCLOSE();

  // a database reached through a link: the link stays, its target gets the data, and the header
  // is found beside the target
  fs::rename(db, dir / "real/p.ry-dbb");
  fs::rename(dir / "info.header", dir / "real/info.header");
  fs::create_symlink("real/p.ry-dbb", db);
  cls_DB b;
  ASSERT_TRUE(b.DBOPEN(db)) << b.DBOPENERROR_GET();
  b.ENTRYADD(3);
  ASSERT_TRUE(b.DBSAVE()) << b.DBSAVEERROR_GET();
  b.DBCLOSE();
  EXPECT_TRUE(fs::is_symlink(db));
  cls_DB c;
  ASSERT_TRUE(c.DBOPEN(dir / "real/p.ry-dbb"));
  EXPECT_EQ(std::tuple(c.ENTRYCOUNT(), fs::status(dir / "real/p.ry-dbb").permissions() & fs::perms::all),
            std::tuple(3, fs::perms::owner_read | fs::perms::owner_write));
}

TEST(FileIO, MissingFoldersAndFullDisksAreNamedAsSuch) {
  TempDir dir;
  QuietNotices quiet;
  EXPECT_EQ(Failure([&] { fileio::WriteFileAtomic(dir / "nodir/x.txt", "x"); }),
            std::pair(err::kPathNotFound, "Folder '" + (dir / "nodir") + "' does not exist (cannot write '" +
                                              (dir / "nodir/x.txt") + "')"));

  const std::string db = dir / "f.ry-dbb", txt = dir / "s.txt";
  cls_DB a;
  OpenSaved(a, dir, db);
  ASSERT_TRUE(Big(3, 1)->SAVE(txt));
  const std::string oldDB = ReadAll(db), oldTxt = ReadAll(txt);
  // the device fills up half way: the first bytes of each write go through, then it is full
  fileio::SetWriteHook([](int fd, const char* data, size_t size) -> ssize_t {
    if (size > 4) return ::write(fd, data, 4);
    errno = ENOSPC;
    return -1;
  });
  a.ENTRYADD(2);
  EXPECT_FALSE(a.DBSAVE());                                // the binary form, written through a stdio stream
  auto [n1, t1] = Failure([&] { Big(3, 2)->SAVE(txt); });  // the structure text
  auto [n2, t2] = Failure([&] { a.EXPORTFILE(1, dir / "out.htm", "HTM"); });  // an export table
  fileio::SetWriteHook({});
  EXPECT_EQ(a.DBSAVEERROR_GET().rfind("Disk full: ", 0), 0u) << a.DBSAVEERROR_GET();
  EXPECT_EQ(t1.rfind("Disk full: ", 0), 0u) << t1;
  EXPECT_EQ(std::tuple(n1, n2, ReadAll(db), ReadAll(txt), a.ENTRYCHANGED_GET()),
            std::tuple(err::kDiskFull, err::kDiskFull, oldDB, oldTxt, true));
  EXPECT_TRUE(a.DBSAVE());                                 // room again: nothing was lost
  EXPECT_EQ(dir.Count(), 4u) << "no temporary file left";  // f.ry-dbb, its lock, info.header, s.txt
}

}  // namespace
}  // namespace rykel
