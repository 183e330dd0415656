// ServeRun: the running server of `rykel serve` (cls_SiteServer with the database browser) until
// Ctrl-C, in the "serve" plug-in, so that the program loads the HTTP library and its TLS
// libraries only for this command. The signal handler only writes a byte to a pipe; a thread that
// reads it stops the server, so the stop never runs inside the handler.
#include "ServeRun.h"

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

#include "CommandFailure.h"
#include "frame/Notifier.h"
#include "site/cls_Site.h"
#include "web/cls_DBBrowser.h"
#include "web/cls_SiteServer.h"

extern char** environ;

namespace rykel::cli {

namespace {

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

}  // namespace

void hServe(const ServeOptions& o) {
  cls_Site site(o.site);
  // The databases reach the pages' DB module and the database browser (/_db/, /_api/) alike.
  auto browser = std::make_shared<cls_DBBrowser>();
  browser->WRITABLE_LET(o.write);
  cls_SiteServer::Options options;
  for (const auto& [name, file] : o.databases) {
    site.DBADD(name, file);
    browser->DBADD(name, file);
    options.watch.push_back(file);  // a database changed by another program reloads the pages
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
    server.MOUNT(
        [browser](const WebRequest& pRequest, WebResponse& rResponse) { return browser->HANDLE(pRequest, rResponse); });

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
}

}  // namespace rykel::cli

extern "C" const rykel::cli::ServePlugin rykel_plugin_serve = {RYKEL_VERSION, rykel::cli::hServe};
