#include "export/cls_DBExportCalc.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "export/OfficeProcess.h"
#include "export/cls_DBExportWorkbook.h"
#include "frame/Notifier.h"
#include "host/cls_DB.h"

#include "../TableDB.h"
#include "../TestSupport.h"

namespace rykel {

namespace fs = std::filesystem;

namespace {

// A scratch folder that is also TMPDIR while it lives, so the office's profile folders land in
// it and a test can see that none is left behind.
struct Scratch {
  fs::path path;
  std::string oldTmp;
  bool hadTmp;
  std::vector<std::string> said;
  Scratch() {
    static int n = 0;
    path = fs::temp_directory_path() / ("rykel_calc_" + std::to_string(::getpid()) + "_" + std::to_string(n++));
    fs::create_directories(path);
    const char* t = std::getenv("TMPDIR");
    hadTmp = t != nullptr;
    if (t) oldTmp = t;
    ::setenv("TMPDIR", path.c_str(), 1);
    SetNotifier([this](const Notification& note) {
      said.push_back(note.text);
      return std::string("OK");
    });
  }
  ~Scratch() {
    SetNotifier({});
    if (hadTmp) ::setenv("TMPDIR", oldTmp.c_str(), 1);
    else ::unsetenv("TMPDIR");
    fs::remove_all(path);
  }
  std::string operator/(const std::string& name) const { return (path / name).string(); }
  size_t profiles() const {
    size_t n = 0;
    for (const auto& e : fs::directory_iterator(path)) n += e.path().filename().string().rfind("rykel-office-", 0) == 0;
    return n;
  }
};

DBPtr hSmall() {
  return TableDB({{"NAME", ID_DBFieldType_String, "Name"}, {"ZIP", ID_DBFieldType_String, "PLZ"}}, {{"Anna", "01067"}});
}

bool hOfficeInstalled() {
  for (const char* dir : {"/usr/bin", "/usr/local/bin"}) {
    if (fs::exists(fs::path(dir) / "soffice")) return true;
  }
  return false;
}

// True while pid names a live process (a zombie counts as gone).
bool hAlive(pid_t pid) {
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string line;
  if (!std::getline(stat, line)) return false;
  size_t paren = line.rfind(')');
  return paren != std::string::npos && paren + 2 < line.size() && line[paren + 2] != 'Z';
}

}  // namespace

TEST(DBExportSheets, PlanCleansNamesKeepsThemUniqueAndTitlesThem) {
  std::string longValue(40, 'x');
  auto plan = cls_DBExportWorkbook::hSheetPlan("Liste", {"Alle", "Frankfurt a.M.", "a.b", "ab", "", longValue});
  ASSERT_EQ(plan.size(), 7u);
  // the value "Alle" may not take the all-entries sheet's name; a title keeps its value as it is
  std::vector<std::string> names;
  for (const auto& sheet : plan) names.push_back(sheet.first);
  EXPECT_EQ(names,
            (std::vector<std::string>{"Alle", "Alle2", "Frankfurt aM", "ab", "ab2", "Leer", std::string(31, 'x')}));
  EXPECT_EQ(std::tuple(plan[0].second, plan[2].second), std::tuple("Liste - Gesamt", "Liste - Frankfurt a.M."));

  auto alone = cls_DBExportWorkbook::hSheetPlan("", {});
  ASSERT_EQ(alone.size(), 1u);
  EXPECT_EQ(alone[0].second, "") << "no \" - Gesamt\" without split sheets";
  EXPECT_EQ(cls_DBExportWorkbook::hSheetPlan("", {"Köln"})[1].second, "Köln");

  // Case-blind: "ALLE" also clashes, and a cut name keeps room for its number.
  auto clash = cls_DBExportWorkbook::hSheetPlan("", {"ALLE", longValue, longValue + "y"});
  EXPECT_EQ(std::tuple(clash[1].first, clash[3].first), std::tuple("ALLE2", std::string(30, 'x') + "2"));
  // characters a sheet name may not hold are dropped; the cut counts characters, not bytes
  EXPECT_EQ(cls_DBExportWorkbook::hSheetName("a\\b/c:d.e,f;g<h>i?j*k[l]"), "abcdefghijkl");
  EXPECT_EQ(cls_DBExportWorkbook::hSheetName("Ärzte über Öl Ärzte über Öl Ärzte"), "Ärzte über Öl Ärzte über Öl Ärz");
}

TEST(DBExportCalc, FileUrlsEncodeWhatAUrlCannotHold) {
  EXPECT_EQ(OfficeProcess::hFileUrl("/tmp/a b/Müller.xlsx"), "file:///tmp/a%20b/M%C3%BCller.xlsx");
  EXPECT_EQ(OfficeProcess::hFileUrl("/x/./y/../z#1.xls"), "file:///x/z%231.xls");
  EXPECT_EQ(OfficeProcess::hFileUrl("rel.xlsx"), "file://" + (fs::current_path() / "rel.xlsx").string());
}

TEST(DBExportCalc, AnOfficeThatCannotStartGivesTheMessageAndFalse) {
  Scratch dir;
  auto db = hSmall();
  std::string out = dir / "a.xlsx";
  // Missing program, a program that exits at once, and one that never listens (killed by the
  // time limit together with everything it started).
  std::string hang = dir / "hang.sh";
  std::string childPid = dir / "child.pid";
  {
    std::ofstream s(hang);
    s << "#!/bin/sh\nsleep 60 &\necho $! > '" << childPid << "'\nexec sleep 60\n";
  }
  fs::permissions(hang, fs::perms::owner_all);
  for (const std::string& program : {dir / "no-such-office", std::string("/bin/false"), hang}) {
    SCOPED_TRACE(program);
    dir.said.clear();
    auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(db->EXPORTEXCEL(1, out, std::nullopt, Struct({{"EXCEL.PROGRAM", program}, {"EXCEL.TIMEOUT", 1}})));
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_LT(seconds, 20) << "the time limit ends a silent office";
    EXPECT_EQ(dir.said, std::vector<std::string>{"Excel konnte nicht gestartet werden!"});
    // no file, and the profile folder is removed
    EXPECT_EQ(std::tuple(fs::exists(out), dir.profiles()), std::tuple(false, 0u));
  }
  std::ifstream pidFile(childPid);
  pid_t child = 0;
  ASSERT_TRUE(pidFile >> child) << "the hanging office ran";
  for (int i = 0; i < 100 && hAlive(child); ++i) ::usleep(10000);
  EXPECT_FALSE(hAlive(child)) << "the whole process group is killed";
}

TEST(DBExportCalc, PasswordWorkbookIsEncryptedAndReplacesTheTarget) {
  if (!cls_DBExportCalc::AVAILABLE() || !hOfficeInstalled()) {
    GTEST_SKIP() << "LibreOffice Calc or its SDK is not installed (scripts/setup installs both)";
  }
  Scratch dir;
  auto db = hSmall();
  std::string out = dir / "geheim.xlsx";
  { std::ofstream(out) << "old"; }
  ASSERT_TRUE(db->EXPORTEXCEL(1, out, std::nullopt, Struct({{"EXCEL.PASSWORD", "Geheim1"}})));
  std::string bytes = ReadAll(out);
  ASSERT_GE(bytes.size(), 512u);
  EXPECT_EQ(bytes.substr(0, 4), std::string("\xD0\xCF\x11\xE0", 4)) << "a compound file, not a plain zip";
  // The encrypted package's streams, named in UTF-16.
  std::string info;
  for (char c : std::string("EncryptionInfo")) info += std::string{c, '\0'};
  EXPECT_NE(bytes.find(info), std::string::npos);
  EXPECT_EQ(bytes.find("Anna"), std::string::npos) << "no cell text in the clear";
  // nothing said, no profile folder or temporary file left
  EXPECT_EQ(std::tuple(dir.said.size(), dir.profiles(), fs::exists(out + ".rykel-tmp")), std::tuple(0u, 0u, false));
}

}  // namespace rykel
