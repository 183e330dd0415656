// Structures, interpreters and databases on several threads at once, each thread with its own
// objects (the structure manager, the tools objects and the random generator are per thread).
// Built with ThreadSanitizer (-DRYKEL_TSAN=ON) this finds any shared state that is not.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "../TestSupport.h"
#include "frame/Convert.h"
#include "frame/mdl_Limits.h"
#include "host/cls_DB.h"
#include "host/sys_Global.h"
#include "interpreter/cls_KEL.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureTools.h"
#include "tools/cls_DBTool.h"

namespace rykel {
namespace {

namespace fs = std::filesystem;

// One thread's whole round of work; returns "" when everything came out as expected.
std::string Work(int t, const fs::path& dir) {
  std::string fail;
  auto check = [&](bool ok, const std::string& what) {
    if (!ok && fail.empty()) fail = "thread " + std::to_string(t) + ": " + what;
  };
  for (int round = 0; round < 20; ++round) {
    // structures: build, write in every text form, read back
    auto s = cls_Structure::New();
    for (int i = 0; i < 50; ++i) s->ITEM_LET("K" + std::to_string(i) + ".V", t * 1000 + i);
    auto back = sys_Global::STRUCT_GET()->UNSERIALIZE(s->SERIALIZE());
    check(back->SERIALIZE() == s->SERIALIZE(), "serialized form");
    auto parsed = cls_Structure::New();
    parsed->PARSE(s->SCRIPT());
    check(parsed->SCRIPT() == s->SCRIPT(), "script form");
    check(CLng(s->CLONE()->ITEM_GET("K7.V")) == t * 1000 + 7, "clone");

    // an interpreter with its variables, loops and includes
    cls_KEL k;
    k.DIRECTORIES->ADD(dir.string());
    k.VARIABLES->ITEM_LET("T", t);
    std::string out = k.PROCESS("{FOR i 1 3 1 {{VAR:T}}}|{INCLUDE part}", nullptr);
    check(out == std::string(3, '0' + t) + "|part " + std::to_string(t), "template: " + out);

    // a database of its own file, saved and opened again; random data from the thread's tools
    const std::string header = (dir / ("h" + std::to_string(t))).string();
    const std::string file = (dir / ("d" + std::to_string(t) + ".ry-dbb")).string();
    cls_DB db;
    db.FIELDCREATE("NAME")->INDEXED = true;
    db.FIELDCREATE("N", ID_DBFieldType_Long);
    check(db.HEADERSAVE(header), "header save");
    check(db.DBOPEN(file, header), "open");
    db.ENTRYCLEAR();
    for (int i = 1; i <= 30; ++i) {
      db.ENTRYFIELD_LET(i, "NAME", sys_Global::DBTOOL_GET()->RANDOM("{NACHNAME}"));
      db.ENTRYFIELD_LET(i, "N", i % 7);
    }
    check(db.DBSAVE(), "save");
    db.DBCLOSE();
    cls_DB again;
    check(again.DBOPENREADONLY(file, header), "reopen");
    check(again.ENTRYCOUNT() == 30, "entries");
    check(again.ENTRYQUERY("N", "==", 3).size() == 4, "query");
    check(again.ENTRYSEARCH("-zzzzzz").size() == 30, "search");
  }
  return fail;
}

TEST(Threads, EachThreadWorksOnItsOwnObjects) {
  const fs::path dir = fs::path(BinaryDir()) / "threads_test";
  fs::remove_all(dir);
  fs::create_directories(dir);
  { std::ofstream(dir / "part.kel") << "part {VAR:T}"; }
  // the limits are process-wide: read on every thread while one thread sets them
  mdl_Limits::LIMIT_LET("STRUCTURE.DEPTH.MAX", 2000);
  constexpr int kThreads = 4;
  std::vector<std::string> results(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) threads.emplace_back([&, t] { results[t] = Work(t + 1, dir); });
  for (int i = 0; i < 100; ++i) mdl_Limits::LIMIT_LET("STRUCTURE.DEPTH.MAX", 1000 + i);
  for (auto& th : threads) th.join();
  mdl_Limits::RESET();
  for (const auto& r : results) EXPECT_EQ(r, "");
  fs::remove_all(dir);
}

}  // namespace
}  // namespace rykel
