// The server's answers without the network: mounted handlers first, then pages (variables, the
// overlay, 500 for a page cut short) and files, 404 and 405; and a start on a taken port.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "frame/Error.h"
#include "web/cls_SiteServer.h"

#include "../CaseTable.h"
#include "../TestSupport.h"

namespace rykel {
namespace {

namespace fs = std::filesystem;

void Write(const fs::path& p, const std::string& text) {
  fs::create_directories(p.parent_path());
  std::ofstream(p, std::ios::binary) << text;
}

TEST(SiteServer, HandlersPagesFilesAndStatuses) {
  TempDir dir;
  Write(dir.path / "pages/index.kel", "<body>Hallo {VAR:name}</body>");
  Write(dir.path / "pages/bad.kel", "a\n{IF 1}");
  Write(dir.path / "pages/loop.kel", "{WHILE (1 == 1) {x}}");
  Write(dir.path / "static/a.svg", "<svg/>");
  cls_SiteServer::Options options;
  options.live = false;
  options.log = [](const std::string&) {};
  cls_SiteServer server(cls_Site(dir.path.string()), options);
  server.MOUNT([](const WebRequest& q, WebResponse& r) {
    if (!q.path.starts_with("/_db/")) return false;
    r.contentType = "application/json";
    r.body = q.method + " " + q.path;
    return true;
  });
  struct Row {
    const char* name;  // method and path
    const char* query;
    int status;
    const char* type;
    const char* body;  // a part of the body
  };
  static const Row kRows[] = {
      {"GET /", "Anna", 200, "text/html; charset=utf-8", "<body>Hallo Anna</body>"},
      {"GET /index.html", "<b>", 200, "text/html; charset=utf-8", "Hallo <b>"},
      {"GET /bad", "", 200, "text/html; charset=utf-8", "pages/bad.kel:2:1</span>"},
      {"GET /loop", "", 500, "text/html; charset=utf-8", "Loop limit reached"},
      {"GET /a.svg", "", 200, "image/svg+xml; charset=utf-8", "<svg/>"},
      {"GET /_db/x", "", 200, "application/json", "GET /_db/x"},
      {"POST /_db/x", "", 200, "application/json", "POST /_db/x"},
      {"POST /", "", 405, "text/html; charset=utf-8", "405 Method Not Allowed"},
      {"GET /../x", "", 404, "text/html; charset=utf-8", "No page or file at /../x."},
      {"GET /nope", "", 404, "text/html; charset=utf-8", "404 Not Found"},
  };
  ForEachRow(kRows, [&](const Row& row) {
    WebRequest q;
    const std::string name = row.name;
    q.method = name.substr(0, name.find(' '));
    q.path = name.substr(name.find(' ') + 1);
    q.params = {{"name", row.query}, {"name", "second"}, {"a.b", "no variable"}};
    const WebResponse r = server.HANDLE(q);
    EXPECT_EQ(r.status, row.status);
    EXPECT_EQ(r.contentType, row.type);
    EXPECT_NE(r.body.find(row.body), std::string::npos) << r.body;
    EXPECT_EQ(r.body.find("rykel-reload"), std::string::npos);  // live reload off
  });

  // a port that is taken cannot be served twice
  server.START();
  EXPECT_GT(server.PORT(), 0);
  EXPECT_TRUE(server.RUNNING());
  options.port = server.PORT();
  cls_SiteServer second(cls_Site(dir.path.string()), options);
  EXPECT_THROW(second.START(), Error);
  EXPECT_THROW(server.START(), Error);
  server.STOP();
  EXPECT_FALSE(server.RUNNING());
  server.WAIT();  // returns at once
}

}  // namespace
}  // namespace rykel
