// The named limits: reading and setting them by name, and the clear error each one gives when
// input goes past it (structures, serialized and compact forms, files, databases, templates).
#include "frame/mdl_Limits.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "host/cls_DB.h"
#include "host/sys_Global.h"
#include "interpreter/cls_KEL.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureTools.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

namespace fs = std::filesystem;

// Puts every limit back to its default when a test ends, passed or failed.
struct LimitsReset {
  ~LimitsReset() { mdl_Limits::RESET(); }
};

// A chain of n nested structures under "A".
StructurePtr Chain(int n) {
  auto top = cls_Structure::New();
  auto at = top;
  for (int i = 0; i < n; ++i) {
    auto next = cls_Structure::New();
    at->ITEM_LET("A", next);
    at = next;
  }
  at->ITEM_LET("X", 1);
  return top;
}

TEST(mdl_Limits, ByNameWithRangeChecks) {
  LimitsReset reset;
  EXPECT_EQ(std::tuple(mdl_Limits::LIMIT_GET("structure.depth.max"), mdl_Limits::LIMIT_GET(" SERIALIZED.DEPTH.MAX "),
                       mdl_Limits::LIMIT_GET("INPUT.SIZE.MAX")),
            std::tuple(1000, 100, int64_t{1} << 30));
  mdl_Limits::LIMIT_LET("STRUCTURE.DEPTH.MAX", 5000);  // the cap itself is allowed
  EXPECT_EQ(mdl_Limits::Get(mdl_Limits::kStructureDepth), 5000);
  EXPECT_EQ(Failure([] { mdl_Limits::LIMIT_LET("STRUCTURE.DEPTH.MAX", 5001); }),
            std::pair(err::kInvalidCall, std::string("STRUCTURE.DEPTH.MAX must be from 1 to 5000, not 5001")));
  EXPECT_EQ(Failure([] { mdl_Limits::LIMIT_LET("INPUT.SIZE.MAX", 0); }).first, err::kInvalidCall);
  EXPECT_EQ(Failure([] { mdl_Limits::LIMIT_GET("NO.SUCH"); }).second, "Unknown limit 'NO.SUCH'");
  EXPECT_EQ(mdl_Limits::Get(mdl_Limits::kStructureDepth), 5000);  // a refused value changes nothing
  mdl_Limits::RESET();
  EXPECT_EQ(mdl_Limits::LIMIT_GET("STRUCTURE.DEPTH.MAX"), 1000);
}

TEST(mdl_Limits, StructureDepthBoundsScriptReadingWritingAndTreeOperations) {
  LimitsReset reset;
  mdl_Limits::LIMIT_LET("STRUCTURE.DEPTH.MAX", 10);
  // exactly at the limit: written and read back
  auto ok = Chain(9);
  const std::string text = ok->SCRIPT();
  auto back = cls_Structure::New();
  back->PARSE(text);
  EXPECT_EQ(back->SCRIPT(), text);

  auto deep = Chain(11);
  EXPECT_TRUE(Raises(err::kInvalidData, "nested deeper than 10 levels", [&] { deep->SCRIPT(); }));
  std::string nested;
  for (int i = 0; i < 11; ++i) nested += "A {\n";
  EXPECT_TRUE(Raises(err::kInvalidData, "nested deeper than 10 levels", [&] { cls_Structure::New()->PARSE(nested); }));
  // a dotted path counts its levels too
  EXPECT_EQ(Failure([] { cls_Structure::New()->PARSE("A.A.A.A.A.A.A.A.A.A.A.A = 1"); }).first, err::kInvalidData);
  // whole-tree operations stop with the same error instead of running the stack out
  EXPECT_EQ(Failure([&] { deep->CLONE(); }).first, err::kInvalidData);

  mdl_Limits::RESET();
  EXPECT_NO_THROW(deep->SCRIPT());
}

TEST(mdl_Limits, SerializedDepthBoundsBothTextForms) {
  LimitsReset reset;
  mdl_Limits::LIMIT_LET("SERIALIZED.DEPTH.MAX", 4);
  auto deep = Chain(5);
  mdl_Limits::RESET();
  const std::string serial = deep->SERIALIZE(), compact = deep->SERIALIZEBINARY();
  mdl_Limits::LIMIT_LET("SERIALIZED.DEPTH.MAX", 4);
  auto s = cls_Structure::New();
  // writing and reading, in both forms
  EXPECT_EQ((std::vector<int>{
                FailureNumber([&] { deep->SERIALIZE(); }), FailureNumber([&] { deep->SERIALIZEBINARY(); }),
                FailureNumber([&] { s->UNSERIALIZE(serial); }), FailureNumber([&] { s->UNSERIALIZE(compact); })}),
            std::vector<int>(4, err::kInvalidData));
  // one level less reads
  auto shallow = Chain(3);
  EXPECT_NO_THROW(s->UNSERIALIZE(shallow->SERIALIZE()));
  EXPECT_NO_THROW(s->UNSERIALIZE(shallow->SERIALIZEBINARY()));
}

TEST(mdl_Limits, InputSizeBoundsEveryReader) {
  LimitsReset reset;
  const fs::path dir = fs::path(BinaryDir()) / "limits_test";
  fs::remove_all(dir);
  fs::create_directories(dir);
  auto big = Struct({{"TEXT", std::string(300, 'x')}});
  const std::string script = big->SCRIPT(), serial = big->SERIALIZE(), compact = big->SERIALIZEBINARY();
  ASSERT_TRUE(big->SAVE((dir / "big.txt").string()));
  auto db = std::make_shared<cls_DB>();
  db->FIELDCREATE("NAME");
  db->ENTRYFIELD_LET(1, "NAME", std::string(300, 'y'));
  const std::string dbText = db->SERIALIZE();
  ASSERT_TRUE(db->HEADERSAVE((dir / "info.header").string()));
  ASSERT_TRUE(db->DBOPEN((dir / "big.db").string(), (dir / "info.header").string()));
  db->ENTRYFIELD_LET(1, "NAME", std::string(20000, 'y'));  // far larger than the header
  ASSERT_TRUE(db->DBSAVE());
  db->DBCLOSE();
  std::ofstream(dir / "big.kel") << std::string(300, 'k');

  mdl_Limits::LIMIT_LET("INPUT.SIZE.MAX", 200);
  auto s = cls_Structure::New();
  auto other = std::make_shared<cls_DB>();
  EXPECT_TRUE(Raises(err::kInvalidData, "is larger than INPUT.SIZE.MAX (200 bytes)", [&] { s->PARSE(script); }));
  EXPECT_EQ(
      (std::vector<int>{FailureNumber([&] { s->UNSERIALIZE(serial); }), FailureNumber([&] { s->UNSERIALIZE(compact); }),
                        FailureNumber([&] { sys_Global::STRUCT_GET()->UNSERIALIZE(serial); }),
                        FailureNumber([&] { other->UNSERIALIZE(dbText); })}),
      std::vector<int>(4, err::kInvalidData));
  EXPECT_TRUE(Raises(err::kInvalidData, "big.txt", [&] { s->LOAD((dir / "big.txt").string()); }));
  EXPECT_FALSE(s->LOADEX((dir / "big.txt").string()));
  EXPECT_EQ(std::tuple(s->COUNT(), other->ENTRYCOUNT()), std::tuple(0, 0));
  // the header fits, the database file does not
  mdl_Limits::LIMIT_LET("INPUT.SIZE.MAX", static_cast<int64_t>(fs::file_size(dir / "info.header")) + 1);
  EXPECT_FALSE(other->DBOPEN((dir / "big.db").string(), (dir / "info.header").string()) || other->DBOPENED_GET());
  EXPECT_NE(other->DBOPENERROR_GET().find("is larger than INPUT.SIZE.MAX"), std::string::npos)
      << other->DBOPENERROR_GET();
  mdl_Limits::LIMIT_LET("INPUT.SIZE.MAX", 200);

  cls_KEL k;
  k.DIRECTORIES->ADD(dir.string());
  EXPECT_EQ(k.PROCESS(std::string(201, 'a'), nullptr).rfind("ERR:---Input too large", 0), 0u);
  EXPECT_EQ(k.PROCESS("{INCLUDE big}", nullptr), "");
  EXPECT_NE(CStr(k.ERRORLIST->ITEM_GET(k.ERRORLIST->MAX())).find("INPUT.SIZE.MAX"), std::string::npos);

  mdl_Limits::RESET();
  EXPECT_TRUE(s->LOAD((dir / "big.txt").string()));
  EXPECT_EQ(k.PROCESS("{INCLUDE big}", nullptr), std::string(300, 'k'));
  fs::remove_all(dir);
}

// A source whose size is not known in advance (a device, a pipe) stops at the limit instead of
// growing without end.
TEST(Limits, EndlessSourcesStopAtTheInputLimit) {
  LimitsReset reset;
  mdl_Limits::LIMIT_LET("INPUT.SIZE.MAX", 1 << 20);
  EXPECT_EQ(
      Failure([] { fileio::ReadFile("/dev/zero"); }),
      std::pair(err::kInvalidData, std::string("File '/dev/zero' is larger than INPUT.SIZE.MAX (1048576 bytes)")));

  int fds[2];
  ASSERT_EQ(::pipe(fds), 0);
  auto oldPipe = std::signal(SIGPIPE, SIG_IGN);  // the writer outlives the reader's interest
  std::thread writer([w = fds[1]] {
    std::string chunk(4096, 'x');
    for (int i = 0; i < 300; ++i)                             // 1.2 MB, then end of data
      if (::write(w, chunk.data(), chunk.size()) < 0) break;  // the reader has given up
    ::close(w);
  });
  auto [n2, m2] = Failure([&] { fileio::ReadDescriptor(fds[0], "standard input"); });
  ::close(fds[0]);
  writer.join();
  std::signal(SIGPIPE, oldPipe);
  EXPECT_EQ(std::pair(n2, m2),
            std::pair(err::kInvalidData, std::string("Standard input is larger than INPUT.SIZE.MAX (1048576 bytes)")));

  // exactly at the limit is fine
  ASSERT_EQ(::pipe(fds), 0);
  std::thread exact([w = fds[1]] {
    std::string all(1 << 20, 'y');
    for (size_t at = 0; at < all.size();) {
      ssize_t n = ::write(w, all.data() + at, all.size() - at);
      if (n <= 0) break;
      at += static_cast<size_t>(n);
    }
    ::close(w);
  });
  EXPECT_EQ(fileio::ReadDescriptor(fds[0], "standard input").size(), size_t{1} << 20);
  ::close(fds[0]);
  exact.join();
}

}  // namespace
}  // namespace rykel
