// rykel serve: a site folder served over HTTP for a browser (cls_SiteServer) until Ctrl-C. The
// signal handler only writes a byte to a pipe; a thread that reads it stops the server, so the
// stop never runs inside the handler.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Commands.h"
#include "frame/Error.h"
#include "frame/Notifier.h"
#include "site/cls_Site.h"
#include "web/cls_DBBrowser.h"
#include "web/cls_SiteServer.h"

extern char** environ;

namespace rykel::cli {

namespace {

struct ServeOptions {
  std::string site = ".", host = "127.0.0.1";
  std::vector<std::string> databases;
  int port = 8080;
  bool open = false, write = false;
  int64_t requestMax = cls_SiteServer::REQUESTMAX;
};

int gStopPipe[2] = {-1, -1};

void hOnSignal(int) {
  const int saved = errno;
  [[maybe_unused]] auto n = write(gStopPipe[1], "x", 1);
  errno = saved;
}

// The first program of pNames found on PATH, or "".
std::string hOnPath(const std::vector<std::string>& pNames) {
  const char* path = std::getenv("PATH");
  if (!path) return {};
  for (const auto& name : pNames) {
    std::string dirs = path;
    for (size_t start = 0; start <= dirs.size();) {
      size_t end = dirs.find(':', start);
      if (end == std::string::npos) end = dirs.size();
      const std::string file = (end > start ? dirs.substr(start, end - start) : ".") + "/" + name;
      if (access(file.c_str(), X_OK) == 0) return file;
      start = end + 1;
    }
  }
  return {};
}

// Opens pUrl in the desktop's browser, when there is a program for it.
void hOpenBrowser(const std::string& pUrl) {
  const std::string opener = hOnPath({"xdg-open", "sensible-browser", "x-www-browser"});
  if (opener.empty()) {
    std::printf("--open: no xdg-open or browser program found; open %s yourself\n", pUrl.c_str());
    return;
  }
  std::vector<char*> argv{const_cast<char*>(opener.c_str()), const_cast<char*>(pUrl.c_str()), nullptr};
  pid_t pid = 0;
  if (posix_spawn(&pid, opener.c_str(), nullptr, nullptr, argv.data(), environ) != 0)
    std::printf("--open: %s could not be started; open %s yourself\n", opener.c_str(), pUrl.c_str());
  else std::thread([pid] { waitpid(pid, nullptr, 0); }).detach();
}

constexpr const char* kServeFooter =
    "GET /x/y renders SITE/pages/x/y.kel (a folder's index.kel; / is pages/index.kel) with the query\n"
    "parameters as variables: /team?city=Kiel sets {VAR:city}. They are raw text: output them through\n"
    "TEXT:HTML or the DB module's HTML commands. Files of static/, non-template files beside the pages\n"
    "and files at the top of SITE are sent as they are; nothing outside SITE is ever sent.\n"
    "Open pages reload when a file of SITE changes; a page with template errors shows them over its\n"
    "output (file:line:column: message and the line), and the log on stderr prints them once.\n"
    "The --db databases are browsed at /_db/ (tables with sort, search, filters, facets and exports;\n"
    "--write adds forms to add, edit and delete entries) and answer as JSON at /_api/.\n"
    "The server listens on 127.0.0.1 unless --host says otherwise; Ctrl-C stops it. See docs/SERVE.md.";

}  // namespace

void AddServeCommand(CLI::App& app) {
  static ServeOptions o;
  auto* s = app.add_subcommand("serve", "Serve a site folder over HTTP with live reload, for a browser");
  s->footer(kServeFooter);
  s->add_option("-d,--dir", o.site, "site folder (holds pages/; default: the current folder)");
  s->add_option("--db", o.databases, "[NAME=]FILE: a database attached to every page's DB module (repeatable)")
      ->allow_extra_args(false);
  s->add_option("--host", o.host, "address to listen on (default 127.0.0.1: this machine only)");
  s->add_option("-p,--port", o.port, "port (default 8080; 0: a free one)")->check(CLI::Range(0, 65535));
  s->add_flag("--open", o.open, "open the site in the desktop's browser");
  s->add_flag("--write", o.write, "let the database browser add, change and delete entries");
  s->add_option("--request-max", o.requestMax, "bytes of one request body (default 1048576; more: 413)")
      ->check(CLI::Range(int64_t{1}, int64_t{1} << 30));
  s->callback([] {
    SetNotifier([](const Notification& n) { return DefaultAnswer(n); });
    cls_Site site(o.site);
    // The databases reach the pages' DB module and the database browser (/_db/, /_api/) alike.
    auto browser = std::make_shared<cls_DBBrowser>();
    browser->WRITABLE_LET(o.write);
    cls_SiteServer::Options options;
    for (const auto& a : o.databases) {
      const auto db = SplitDatabaseArgument(a);
      site.DBADD(db.name, db.file);
      browser->DBADD(db.name, db.file);
      options.watch.push_back(db.file);  // a database changed by another program reloads the pages
    }
    options.host = o.host;
    options.port = o.port;
    options.write = o.write;
    options.requestMax = o.requestMax;
    options.log = [](const std::string& line) {
      std::fprintf(stderr, "%s\n", line.c_str());
      std::fflush(stderr);
    };
    cls_SiteServer server(std::move(site), options);
    if (!o.databases.empty())
      server.MOUNT([browser](const WebRequest& pRequest, WebResponse& rResponse) {
        return browser->HANDLE(pRequest, rResponse);
      });

    if (pipe2(gStopPipe, O_CLOEXEC) != 0) Fail(kExitError, "cannot make the stop pipe");
    struct sigaction action {};
    action.sa_handler = hOnSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    signal(SIGPIPE, SIG_IGN);

    server.START();
    const std::string url = "http://" + (o.host.find(':') == std::string::npos ? o.host : "[" + o.host + "]") + ":" +
                            std::to_string(server.PORT()) + "/";
    std::printf("Serving %s at %s\n", o.site.c_str(), url.c_str());
    if (!o.databases.empty()) std::printf("Databases at %s_db/ (JSON: %s_api/)\n", url.c_str(), url.c_str());
    if (o.host != "127.0.0.1" && o.host != "localhost" && o.host != "::1")
      std::printf("Note: %s may be reached from other machines; the pages show the site's data to anyone.\n",
                  o.host.c_str());
    if (o.open) hOpenBrowser(url);
    std::fflush(stdout);

    std::thread stopper([&server] {
      char c;
      while (read(gStopPipe[0], &c, 1) < 0 && errno == EINTR) {}
      server.STOP();
    });
    server.WAIT();
    // the server ended on its own (or by the signal): let the stopper finish either way
    hOnSignal(0);
    stopper.join();
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
    std::fprintf(stderr, "Stopped.\n");
  });
}

}  // namespace rykel::cli
