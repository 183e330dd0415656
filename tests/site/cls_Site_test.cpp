// A site folder rendered page by page and built to static files: includes and data found inside
// the site only, errors named by file and line, and builds that redo only what changed.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "frame/FileIO.h"
#include "site/cls_Site.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

namespace fs = std::filesystem;

void Write(const fs::path& p, const std::string& text) {
  fs::create_directories(p.parent_path());
  std::ofstream(p, std::ios::binary) << text;
}

// TempDir/site: pages index (an include, the data file, a variable), sub/deep and broken (errors,
// and an include of TempDir/outside.kel), static and data files.
struct Site : TempDir {
  fs::path root = path / "site";
  Site() {
    Write(root / "pages/index.kel", "{INCLUDE head}<p>{VAR:team.name}</p>");
    Write(root / "pages/sub/deep.kel", "deep {INCLUDE head}");
    Write(root / "pages/sub/logo.png", "PNG");
    Write(root / "pages/broken.kel", "ok\n{IF (1 == 1)}\n{INCLUDE ../outside}");
    Write(root / "inc/head.kel", "<h1>Kopf</h1>");
    Write(root / "data/team.json", R"({"name": "Blau"})");
    Write(root / "static/css/a.css", "a{}");
    Write(root / "site.css", "b{}");
    Write(path / "outside.kel", "secret");
  }
};

TEST(Site, PagesRenderWithIncludesDataAndVariablesInsideTheSiteOnly) {
  Site s;
  cls_Site site(s.root.string());
  EXPECT_EQ(site.PAGES(), (std::vector<std::string>{"broken", "index", "sub/deep"}));

  auto page = site.RENDER("index");
  EXPECT_EQ(std::tuple(page.html, page.errors.size()), std::tuple("<h1>Kopf</h1><p>Blau</p>", 0u));
  // a host's variables (a request's parameters) come after the data files
  auto vars = cls_Structure::New(), team = cls_Structure::New();
  team->ITEM_LET("name", "x<y");
  vars->ITEM_LET("team", Variant(team));
  EXPECT_EQ(site.RENDER("index", vars).html, "<h1>Kopf</h1><p>x<y</p>");
  EXPECT_EQ(site.RENDER("sub/deep.kel").html, "deep <h1>Kopf</h1>");
  Write(s.root / "pages/sub/index.kel", "I");
  EXPECT_EQ(site.RENDER("sub").html, "I");
  Write(s.root / "pages/sub.kel", "S");  // the page of that name comes before the folder's index
  EXPECT_EQ(site.RENDER("sub").html, "S");
  fs::remove(s.root / "pages/sub.kel");
  fs::remove(s.root / "pages/sub/index.kel");

  auto broken = site.RENDER("broken");
  ASSERT_EQ(broken.errors.size(), 2u);
  EXPECT_TRUE(broken.errors[0].starts_with("pages/broken.kel:2:") && broken.html.find("secret") == std::string::npos)
      << broken.errors[0];

  // Names that leave pages/ are no pages; a page linked from outside is not served.
  for (const char* bad : {"../inc/head", "/etc/passwd", "", "sub/../index"})
    EXPECT_EQ(FailureNumber([&] { site.RENDER(bad); }), err::kInvalidCall) << bad;
  EXPECT_EQ(FailureNumber([&] { site.RENDER("nope"); }), err::kFileNotFound);
  fs::create_symlink(s.path / "outside.kel", s.root / "pages/link.kel");
  EXPECT_EQ(FailureNumber([&] { site.RENDER("link"); }), err::kFileNotFound);
  fs::remove(s.root / "pages/link.kel");

  EXPECT_EQ(FailureNumber([&] { cls_Site(s.root.string() + "/inc"); }), err::kPathNotFound);
  EXPECT_EQ(FailureNumber([&] { site.DBADD("MAIN", (s.root / "none.ry-dbb").string()); }), err::kFileNotFound);
}

TEST(Site, BuildWritesEveryPageAndRedoesOnlyWhatChanged) {
  Site s;
  cls_Site site(s.root.string());
  const fs::path out = s.path / "out";
  int32_t lastDone = -1, lastTotal = -1;
  auto r = site.BUILD(out.string(), 2, false, [&](int32_t done, int32_t total) { lastDone = done, lastTotal = total; });
  EXPECT_EQ((std::vector<int32_t>{r.built, r.skipped, r.copied, r.failed}), (std::vector<int32_t>{3, 0, 3, 1}));
  EXPECT_EQ(std::tuple(lastDone, lastTotal, fileio::ReadFile((out / "sub/deep.html").string()),
                       fileio::ReadFile((out / "css/a.css").string())),
            std::tuple(3, 3, "deep <h1>Kopf</h1>", "a{}"));
  // static files copied, the data and include folders not
  EXPECT_EQ((std::vector<bool>{fs::exists(out / "site.css"), fs::exists(out / "sub/logo.png"), fs::exists(out / "data"),
                               fs::exists(out / "inc")}),
            (std::vector<bool>{true, true, false, false}));
  EXPECT_TRUE(r.errors.front().starts_with("pages/broken.kel:2:")) << r.errors.front();

  // Nothing changed: only the page with errors is tried again.
  r = site.BUILD(out.string(), 1);
  EXPECT_EQ((std::vector<int32_t>{r.built, r.skipped, r.copied, r.failed}), (std::vector<int32_t>{1, 2, 0, 1}));
  // A changed page is built again alone; a changed include builds them all.
  Write(s.root / "pages/sub/deep.kel", "tief {INCLUDE head}");
  r = site.BUILD(out.string(), 2);
  EXPECT_EQ(std::tuple(r.built, fileio::ReadFile((out / "sub/deep.html").string())),
            std::tuple(2, "tief <h1>Kopf</h1>"));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));  // a new modification time
  Write(s.root / "inc/head.kel", "<h1>Neu</h1>!");
  EXPECT_EQ(site.BUILD(out.string(), 2).built, 3);
  // A removed output is written again; --clean removes what was written and builds everything.
  fs::remove(out / "index.html");
  EXPECT_EQ(site.BUILD(out.string(), 2).built, 2);
  Write(out / "mine.txt", "kept");
  fs::remove(s.root / "site.css");
  r = site.BUILD(out.string(), 0, true);
  EXPECT_EQ(std::tuple(r.built, fs::exists(out / "site.css"), fs::exists(out / "mine.txt")),
            std::tuple(3, false, true));
}

}  // namespace
}  // namespace rykel
