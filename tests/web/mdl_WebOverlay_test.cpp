// The pure parts of the web layer: error lines taken apart for the overlay (file names and messages
// with colons, lines past the end, links that lead out) and the snippet put before </body>.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "web/mdl_WebOverlay.h"

#include "../CaseTable.h"
#include "../TestSupport.h"

namespace rykel {
namespace {

namespace fs = std::filesystem;

TEST(WebOverlay, PlacesLinesAndInjection) {
  TempDir dir;
  fs::create_directories(dir.path / "pages");
  std::ofstream(dir.path / "pages/a:b.kel") << "one\n\tx {IF 1}\r\nthree";
  std::ofstream(dir.path / "outside.kel") << "secret\nsecret";
  fs::create_symlink(dir.path / "outside.kel", dir.path / "pages/link.kel");
  const std::string root = (dir.path / "pages").string();
  struct Row {
    const char* name;
    const char* where;
    const char* message;
    const char* source;
    int line, column;
  };
  static const Row kRows[] = {
      {"a:b.kel:2:4: IF: needs 2", "a:b.kel:2:4", "IF: needs 2", "\tx {IF 1}", 2, 4},
      {"a:b.kel:9:1: past the end", "a:b.kel:9:1", "past the end", "", 9, 1},
      {"link.kel:1:1: a link that leads out", "link.kel:1:1", "a link that leads out", "", 1, 1},
      {"Too many errors: more than 5", "", "Too many errors: more than 5", "", 0, 0},
      {"x.kel:1:y: not a place", "", "x.kel:1:y: not a place", "", 0, 0},
  };
  ForEachRow(kRows, [&](const Row& r) {
    const auto p = mdl_WebOverlay::PLACE(r.name, root);
    EXPECT_EQ(std::tuple(p.where, p.message, p.source, p.line, p.column),
              std::tuple(r.where, r.message, r.source, r.line, r.column));
  });
  // the caret keeps the tab, so it stands under the column; everything is escaped
  const std::string overlay = mdl_WebOverlay::OVERLAY({"a:b.kel:2:4: <script>"}, root);
  EXPECT_TRUE(overlay.find("\tx {IF 1}\n<span style=\"color:#e5484d\">\t  ^</span>") != std::string::npos &&
              overlay.find("&lt;script&gt;") != std::string::npos && overlay.find("<script>") == std::string::npos)
      << overlay;
  EXPECT_EQ(mdl_WebOverlay::LOGTEXT({"a:b.kel:2:4: m"}, root), "a:b.kel:2:4: m\n    \tx {IF 1}\n    \t  ^\n");

  for (const auto& [page, want] : {std::pair{"<p></BODY></html>", "<p>S</BODY></html>"},
                                   {"</body><p></body>", "</body><p>S</body>"},
                                   {"<p>ö", "<p>öS"},
                                   {"", "S"}})
    EXPECT_EQ(mdl_WebOverlay::INJECT(page, "S"), want);
}

}  // namespace
}  // namespace rykel
