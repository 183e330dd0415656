// The server's answers without the network: mounted handlers come before the pages and take any
// method; other methods get 405; the first of a repeated parameter is the variable.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "web/cls_SiteServer.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

TEST(SiteServer, MountedHandlersFirstThenPages) {
  TempDir dir;
  std::filesystem::create_directories(dir.path / "pages/_db");
  std::ofstream(dir.path / "pages/index.kel") << "<body>Hallo {VAR:name}</body>";
  std::ofstream(dir.path / "pages/_db/x.kel") << "a page the handler hides";
  cls_SiteServer::Options options;
  options.live = false;
  cls_SiteServer server(cls_Site(dir.path.string()), options);
  server.MOUNT([](const WebRequest& q, WebResponse& r) {
    if (!q.path.starts_with("/_db/")) return false;
    r.body = q.method + " " + q.path;
    return true;
  });
  auto answer = [&](std::string pMethod, std::string pPath) {
    WebRequest q{pMethod, pPath, {{"name", "<b>"}, {"name", "second"}, {"a.b", "no name"}}};
    WebResponse r = server.HANDLE(q);
    return std::to_string(r.status) + " " + r.body.substr(0, r.body.find('\n'));
  };
  EXPECT_EQ(answer("GET", "/_db/x"), "200 GET /_db/x");
  EXPECT_EQ(answer("POST", "/_db/x"), "200 POST /_db/x");
  EXPECT_EQ(answer("GET", "/"), "200 <body>Hallo <b></body>");  // no reload script: live is off
  EXPECT_EQ(answer("POST", "/"), "405 <!DOCTYPE html>");
  EXPECT_EQ(answer("GET", "/nope"), "404 <!DOCTYPE html>");
}

}  // namespace
}  // namespace rykel
