// cls_SiteServer: a site folder served over HTTP (`rykel serve`). Each GET renders a page through
// cls_Site::RENDER (a fresh interpreter, confined to the site, the site's databases attached) with
// the request's query parameters as variables, or sends a file of the site (mdl_WebPaths says
// which; nothing outside the site is ever sent). Handlers added with MOUNT (the database browser)
// are asked first. A page whose render recorded errors gets an overlay listing them with their
// template lines, and the log shows them once per change of the site; a page a limit cut short is
// answered with 500. With live reload on, every page carries a script that reloads it when a file
// of the site changes (server-sent events at /_rykel/events).
//
// The HTTP library (cpp-httplib) is used only in the .cpp. Requests are served on a pool of
// threads; each render makes its structures on the thread that serves it.
//
//   rykel::cls_SiteServer server(rykel::cls_Site("site"));
//   server.START();                        // listens on 127.0.0.1, a free port
//   std::printf("http://127.0.0.1:%d/\n", server.PORT());
//   server.WAIT();                         // until STOP (from another thread)
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "site/cls_Site.h"
#include "web/WebExchange.h"

namespace rykel {

class cls_SiteServer {
 public:
  // Answers a request it knows (true: the response is filled) or passes (false).
  using Handler = std::function<bool(const WebRequest&, WebResponse&)>;
  // Takes one log line (no final line break): a request, a page's errors, a server event.
  using LogSink = std::function<void(const std::string&)>;

  // The largest request body taken by default; a larger one is answered with 413.
  static constexpr int64_t REQUESTMAX = int64_t{1} << 20;

  struct Options {
    std::string host = "127.0.0.1";   // the address to listen on
    int32_t port = 0;                 // 0: a free port (PORT tells which)
    bool write = false;               // mounted handlers may change data (the browser's forms)
    bool live = true;                 // reload script in every page, the site watched for changes
    int64_t requestMax = REQUESTMAX;  // bytes of one request body
    int32_t watchMs = 300;            // how often the watcher looks at the site
    std::vector<std::string> watch;   // further files whose changes reload the pages (databases)
    LogSink log;                      // null: standard error
  };

  explicit cls_SiteServer(cls_Site pSite);
  cls_SiteServer(cls_Site pSite, Options pOptions);
  ~cls_SiteServer();  // stops the server
  cls_SiteServer(const cls_SiteServer&) = delete;
  cls_SiteServer& operator=(const cls_SiteServer&) = delete;

  const cls_Site& SITE() const;
  const Options& OPTIONS() const;
  // Adds a handler, asked before the pages in the order added. REQUIRES: before START.
  void MOUNT(Handler pHandler);

  // Binds the address and serves on a thread of its own. Raises 70 "cannot listen on H:P ..."
  // when the address cannot be bound (in use, not allowed), 5 when already started.
  void START();
  // Ends the server: open connections and change listeners are closed, the threads joined. A
  // server not started or stopped already is left as it is.
  void STOP();
  // Blocks until the server has ended (after STOP from another thread, or a failure).
  void WAIT();
  // The port listened on (the free one chosen for port 0), 0 before START.
  int32_t PORT() const;
  bool RUNNING() const;

  // The answer to one request without the network: the mounted handlers, then pages and files,
  // else 404 (405 for a method other than GET or HEAD). Never raises: a failure is a 500 page.
  WebResponse HANDLE(const WebRequest& pRequest);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace rykel
