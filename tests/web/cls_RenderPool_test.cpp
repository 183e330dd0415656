// The render threads of a served site: pages rendered on them for many callers at once, a changed
// data file seen by the next page, and a render's error raised to its caller.
#include "web/cls_RenderPool.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "frame/Error.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

namespace fs = std::filesystem;

TEST(RenderPool, PagesForManyCallersFollowTheirDataAndRaiseTheirErrors) {
  TempDir dir;
  const fs::path root = dir.path / "site";
  fs::create_directories(root / "pages");
  fs::create_directories(root / "data");
  std::ofstream(root / "pages/index.kel") << "{VAR:team.name}/{VAR:q}";
  std::ofstream(root / "data/team.json") << R"({"name": "Blau"})";
  cls_Site site(root.string());
  cls_RenderPool pool(site, 2);

  std::vector<std::thread> callers;
  std::vector<std::string> got(8);
  for (size_t i = 0; i < got.size(); ++i)
    callers.emplace_back([&, i] { got[i] = pool.RENDER("index", {{"q", std::to_string(i)}}).html; });
  for (auto& t : callers) t.join();
  for (size_t i = 0; i < got.size(); ++i) EXPECT_EQ(got[i], "Blau/" + std::to_string(i));

  std::ofstream(root / "data/team.json") << R"({"name": "Grün und Gelb"})";  // another size: a change
  // every thread sees the change, and no request's variables are left for the next one
  for (int i = 0; i < 4; ++i) EXPECT_EQ(pool.RENDER("index", {}).html, "Grün und Gelb/ERR:---VAR not found: q---");

  EXPECT_EQ(Failure([&] { pool.RENDER("nope", {}); }).first, err::kFileNotFound);
  EXPECT_EQ(pool.RENDER("index", {{"q", "still"}}).html, "Grün und Gelb/still");
}

}  // namespace
}  // namespace rykel
