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
    EXPECT_EQ(p.where, r.where);
    EXPECT_EQ(p.message, r.message);
    EXPECT_EQ(p.source, r.source);
    EXPECT_EQ(p.line, r.line);
    EXPECT_EQ(p.column, r.column);
  });
  // the caret keeps the tab, so it stands under the column; everything is escaped
  const std::string overlay = mdl_WebOverlay::OVERLAY({"a:b.kel:2:4: <script>"}, root);
  EXPECT_NE(overlay.find("\tx {IF 1}\n<span style=\"color:#e5484d\">\t  ^</span>"), std::string::npos) << overlay;
  EXPECT_NE(overlay.find("&lt;script&gt;"), std::string::npos);
  EXPECT_EQ(overlay.find("<script>"), std::string::npos);
  EXPECT_EQ(mdl_WebOverlay::LOGTEXT({"a:b.kel:2:4: m"}, root), "a:b.kel:2:4: m\n    \tx {IF 1}\n    \t  ^\n");

  EXPECT_EQ(mdl_WebOverlay::INJECT("<p></BODY></html>", "S"), "<p>S</BODY></html>");
  EXPECT_EQ(mdl_WebOverlay::INJECT("</body><p></body>", "S"), "</body><p>S</body>");
  EXPECT_EQ(mdl_WebOverlay::INJECT("<p>ö", "S"), "<p>öS");
  EXPECT_EQ(mdl_WebOverlay::INJECT("", "S"), "S");
}

}  // namespace
}  // namespace rykel
