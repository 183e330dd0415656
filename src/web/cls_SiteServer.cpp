#include "web/cls_SiteServer.h"

#include <httplib.h>

#include <atomic>
#include <cctype>
#include <condition_variable>
#include <cstdio>
#include <map>
#include <mutex>
#include <thread>
#include <unordered_set>

#include "frame/Error.h"
#include "frame/FileIO.h"
#include "frame/Text.h"
#include "frame/mdl_Confine.h"
#include "web/cls_RenderPool.h"
#include "web/cls_SiteWatcher.h"
#include "web/mdl_WebOverlay.h"
#include "web/mdl_WebPaths.h"

namespace rykel {

using Clock = std::chrono::steady_clock;

namespace {

// Threads serving requests; each open page's change listener holds one while it waits.
constexpr size_t kThreads = 48;
// Change listeners at once; more get 503 (a listener is a page open in a browser tab).
constexpr int32_t kListenersMax = 32;
// A listener is sent a comment this often (so a closed tab is noticed) and ends after kListenMax;
// the browser then connects again.
constexpr auto kListenPing = std::chrono::seconds(10);
constexpr auto kListenMax = std::chrono::seconds(60);
constexpr const char* kEventsPath = "/_rykel/events";
// A static file up to this size is read whole; a larger one is sent from the open file.
constexpr uint64_t kWholeFileMax = 256 * 1024;

const char* hReason(int pStatus) {
  switch (pStatus) {
    case 400: return "Bad Request";
    case 403: return "Forbidden";
    case 404: return "Not Found";
    case 405: return "Method Not Allowed";
    case 408: return "Request Timeout";
    case 413: return "Payload Too Large";
    case 414: return "URI Too Long";
    case 500: return "Internal Server Error";
    case 503: return "Service Unavailable";
    default: return pStatus < 400 ? "OK" : "Error";
  }
}

WebResponse hStatus(int pStatus, const std::string& pText) {
  WebResponse r;
  r.status = pStatus;
  r.body = mdl_WebOverlay::STATUSPAGE(pStatus, hReason(pStatus), pText);
  return r;
}

// A query parameter becomes a variable when its name is one: a letter or "_", then letters,
// digits and "_" (a name with "." would reach into another variable).
bool hVariableName(const std::string& s) {
  if (s.empty() || s.size() > 64 || std::isdigit(static_cast<unsigned char>(s[0]))) return false;
  for (char c : s)
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
  return true;
}

// A request target for the log: printable ASCII only, at most 200 characters.
std::string hLogTarget(const std::string& s) {
  std::string out;
  for (char c : s.substr(0, 200)) out += c > ' ' && c < 127 ? c : '?';
  return s.size() > 200 ? out + "..." : out;
}

bool hLoopback(const std::string& pHost) {
  return pHost == "127.0.0.1" || pHost == "localhost" || pHost == "::1" || pHost == "[::1]";
}

// A server on a loopback address answers only requests addressed to one: a web page elsewhere that
// points its own name at 127.0.0.1 (DNS rebinding) must not read the site or its databases.
bool hHostAllowed(const std::string& pListenHost, const std::string* pHostHeader) {
  if (!pHostHeader || !hLoopback(pListenHost)) return true;
  std::string name = *pHostHeader;
  const size_t colon = name.rfind(':');
  if (colon != std::string::npos && name.find(']', colon) == std::string::npos) name.resize(colon);
  for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return hLoopback(name);
}

// Appends the NAME=VALUE pairs of a query string or form body, in their order. The value is all
// after the first "=" ("filter=ORT=Kiel" is filter, "ORT=Kiel"); the library's own parameter map
// would keep only the text after the last one, and sorts by name.
void hAddParams(const std::string& pText, std::vector<std::pair<std::string, std::string>>& rParams) {
  size_t start = 0;
  while (start <= pText.size()) {
    size_t end = pText.find('&', start);
    if (end == std::string::npos) end = pText.size();
    std::string piece = pText.substr(start, end - start);
    if (!piece.empty()) {
      size_t eq = piece.find('=');
      std::string name = piece.substr(0, eq), value = eq == std::string::npos ? "" : piece.substr(eq + 1);
      rParams.emplace_back(httplib::detail::decode_url(name, true), httplib::detail::decode_url(value, true));
    }
    start = end + 1;
  }
}

// When the request being served on this thread started (set before routing, read by the logger).
thread_local Clock::time_point tStarted;

}  // namespace

struct cls_SiteServer::Impl {
  Impl(cls_SiteServer& pOwner, cls_Site pSite, Options pOptions)
      : owner(pOwner), site(std::move(pSite)), options(std::move(pOptions)) {}

  cls_SiteServer& owner;
  cls_Site site;
  Options options;
  std::vector<Handler> handlers;
  std::unique_ptr<httplib::Server> http;
  std::unique_ptr<cls_SiteWatcher> watcher;
  std::thread thread;
  std::atomic<int32_t> port{0}, listeners{0};
  std::atomic<bool> running{false};
  std::mutex stateLock;  // START and STOP
  std::mutex endLock;
  std::condition_variable ended;
  std::mutex logLock;
  std::mutex shownLock;
  std::map<std::string, std::pair<uint64_t, std::string>> shown;  // page: generation and errors logged
  std::once_flag poolMade;
  std::unique_ptr<cls_RenderPool> pool;  // after site: ends before it

  void Log(const std::string& pLine) {
    std::lock_guard<std::mutex> hold(logLock);
    if (options.log) options.log(pLine);
    else std::fprintf(stderr, "%s\n", pLine.c_str());
  }
  uint64_t Generation() const { return watcher ? watcher->GENERATION() : 0; }

  // A page's errors go to the log once per change of the site (and of the errors).
  void LogErrors(const std::string& pPage, const std::vector<std::string>& pErrors) {
    std::string text = mdl_WebOverlay::LOGTEXT(pErrors, site.ROOT());
    {
      std::lock_guard<std::mutex> hold(shownLock);
      auto& last = shown[pPage];
      const uint64_t generation = Generation();
      if (last.first == generation && last.second == text) return;
      last = {generation, text};
    }
    if (!text.empty() && text.back() == '\n') text.pop_back();
    Log("page " + pPage + ": " + std::to_string(pErrors.size()) + (pErrors.size() == 1 ? " error" : " errors") + "\n" +
        text);
  }

  WebResponse Page(const WebRequest& pRequest, const std::string& pPage) {
    cls_RenderPool::Variables variables;
    std::unordered_set<std::string> seen;  // the first of a repeated name counts
    for (const auto& [name, value] : pRequest.params)
      if (hVariableName(name) && seen.insert(text::UCase(name)).second) variables.emplace_back(name, value);
    const uint64_t generation = Generation();
    cls_Site::Page page;
    try {
      page = Pool().RENDER(pPage, variables);
    } catch (const Error& e) {
      if (e.number == err::kFileNotFound) return hStatus(404, "No page or file at " + pRequest.path + ".");
      page.errors.push_back(e.description);
      page.cutShort = true;
    }
    WebResponse r;
    r.status = page.cutShort ? 500 : 200;
    r.body = std::move(page.html);
    r.headers.emplace_back("Cache-Control", "no-store");
    std::string extra;
    if (!page.errors.empty()) {
      LogErrors(pPage, page.errors);
      extra += mdl_WebOverlay::OVERLAY(page.errors, site.ROOT());
    }
    if (watcher) extra += mdl_WebOverlay::RELOADSCRIPT(generation);
    if (!extra.empty()) r.body = mdl_WebOverlay::INJECT(r.body, extra);
    return r;
  }

  WebResponse File(const WebRequest& pRequest, const std::string& pFile) {
    // opened inside the site and judged by what was opened, so a link swapped in meanwhile fails
    const std::vector<std::string> roots{site.ROOT()};
    const int fd = mdl_Confine::OPEN(pFile, &roots);
    if (fd < 0) return hStatus(404, "No page or file at " + pRequest.path + ".");
    WebResponse r;
    r.contentType = mdl_WebPaths::CONTENTTYPE(pFile);
    auto file = std::make_shared<const WebFile>(fd, pFile);
    // a small file goes out as one body; a large one is read piece by piece while it is sent
    if (file->Size() <= kWholeFileMax) r.body = file->Content();
    else r.file = std::move(file);
    return r;
  }

  // The render threads, started with the first page (HANDLE answers without START too).
  cls_RenderPool& Pool() {
    std::call_once(poolMade, [&] { pool = std::make_unique<cls_RenderPool>(site); });
    return *pool;
  }

  void Listen(const httplib::Request& pRequest, httplib::Response& rResponse);
  void Configure();
};

cls_SiteServer::cls_SiteServer(cls_Site pSite) : cls_SiteServer(std::move(pSite), Options()) {}

cls_SiteServer::cls_SiteServer(cls_Site pSite, Options pOptions)
    : impl_(std::make_unique<Impl>(*this, std::move(pSite), std::move(pOptions))) {}

cls_SiteServer::~cls_SiteServer() { STOP(); }

const cls_Site& cls_SiteServer::SITE() const { return impl_->site; }
const cls_SiteServer::Options& cls_SiteServer::OPTIONS() const { return impl_->options; }
void cls_SiteServer::MOUNT(Handler pHandler) { impl_->handlers.push_back(std::move(pHandler)); }
int32_t cls_SiteServer::PORT() const { return impl_->port.load(); }
bool cls_SiteServer::RUNNING() const { return impl_->running.load(); }

WebResponse cls_SiteServer::HANDLE(const WebRequest& pRequest) {
  try {
    if (!hHostAllowed(impl_->options.host, pRequest.Header("host")))
      return hStatus(403, "This server answers requests to 127.0.0.1 or localhost only.");
    WebResponse r;
    for (const auto& h : impl_->handlers)
      if (h(pRequest, r)) return r;
    if (pRequest.method != "GET" && pRequest.method != "HEAD")
      return hStatus(405, pRequest.method + " is not served here; pages and files are read with GET.");
    const auto target = mdl_WebPaths::RESOLVE(impl_->site.ROOT(), pRequest.path);
    switch (target.kind) {
      case mdl_WebPaths::Target::Kind::kPage: return impl_->Page(pRequest, target.name);
      case mdl_WebPaths::Target::Kind::kFile: return impl_->File(pRequest, target.name);
      case mdl_WebPaths::Target::Kind::kNone: break;
    }
    return hStatus(404, "No page or file at " + pRequest.path + ".");
  } catch (const Error& e) { return hStatus(500, e.description); } catch (const std::exception& e) {
    return hStatus(500, e.what());
  }
}

// A change listener: "retry", then comments until the site changes ("event: reload") or the time
// is up; a listener that asks since an older generation is told at once.
void cls_SiteServer::Impl::Listen(const httplib::Request& pRequest, httplib::Response& rResponse) {
  if (!watcher) {
    rResponse.status = 404;
    return;
  }
  if (listeners.fetch_add(1) >= kListenersMax) {
    listeners.fetch_sub(1);
    rResponse.status = 503;
    return;
  }
  uint64_t since = Generation();
  if (pRequest.has_param("since")) {
    try {
      since = std::stoull(pRequest.get_param_value("since"));
    } catch (const std::exception&) {}
  }
  rResponse.set_header("Cache-Control", "no-store");
  const auto start = Clock::now();
  auto first = std::make_shared<bool>(true);
  rResponse.set_chunked_content_provider(
      "text/event-stream",
      [this, since, start, first](size_t, httplib::DataSink& sink) {
        if (*first) {
          *first = false;
          return sink.write("retry: 1000\n\n", 13);
        }
        const uint64_t now = watcher->WAIT(since, std::chrono::duration_cast<std::chrono::milliseconds>(kListenPing));
        if (watcher->STOPPED() || Clock::now() - start > kListenMax) {
          sink.done();
          return true;
        }
        if (now != since) {
          const std::string event = "event: reload\ndata: " + std::to_string(now) + "\n\n";
          sink.write(event.data(), event.size());
          sink.done();
          return true;
        }
        return sink.write(": ping\n\n", 8);
      },
      [this](bool) { listeners.fetch_sub(1); });
}

void cls_SiteServer::Impl::Configure() {
  http->new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
  http->set_payload_max_length(static_cast<size_t>(options.requestMax));
  http->set_keep_alive_timeout(2);
  // headers and body go out in separate writes: without this a keep-alive client waits for the
  // delayed acknowledgement (40 ms) on every request
  http->set_tcp_nodelay(true);
  // SO_REUSEADDR only: the library's default also sets SO_REUSEPORT, which would let a second
  // server share a port that is taken instead of failing
  http->set_socket_options([](socket_t sock) {
    int yes = 1;
    setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  });
  http->set_read_timeout(10);
  http->set_write_timeout(10);
  http->set_pre_routing_handler([](const httplib::Request& req, httplib::Response& res) {
    tStarted = Clock::now();
    // The library reads a POST body without a length until the client closes or the read timeout
    // ends, holding one of the few threads: such a request is answered at once instead.
    if ((req.method == "POST" || req.method == "PUT" || req.method == "PATCH") && !req.has_header("Content-Length") &&
        !req.has_header("Transfer-Encoding")) {
      res.status = 411;
      res.set_header("Connection", "close");
      return httplib::Server::HandlerResponse::Handled;
    }
    return httplib::Server::HandlerResponse::Unhandled;
  });
  http->set_logger([this](const httplib::Request& req, const httplib::Response& res) {
    if (req.path == kEventsPath) return;
    const auto ms = tStarted == Clock::time_point{}
                        ? 0
                        : std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - tStarted).count();
    tStarted = {};
    Log(req.method + " " + hLogTarget(req.target) + " " + std::to_string(res.status) + " " + std::to_string(ms) +
        " ms");
  });
  // the library's own answers (a bad request line, a body past the limit) get a small page too
  http->set_error_handler(httplib::Server::HandlerWithResponse([](const httplib::Request&, httplib::Response& res) {
    if (!res.body.empty() || res.content_length_ > 0) return httplib::Server::HandlerResponse::Unhandled;
    const std::string text =
        res.status == 413 ? "The request is larger than the server takes." : "The server could not read the request.";
    res.set_content(mdl_WebOverlay::STATUSPAGE(res.status, hReason(res.status), text), "text/html; charset=utf-8");
    return httplib::Server::HandlerResponse::Handled;
  }));
  http->set_exception_handler([](const httplib::Request&, httplib::Response& res, std::exception_ptr) {
    res.status = 500;
    res.set_content(mdl_WebOverlay::STATUSPAGE(500, hReason(500), "The request failed."), "text/html; charset=utf-8");
  });
  http->Get(kEventsPath, [this](const httplib::Request& req, httplib::Response& res) { Listen(req, res); });
  auto serve = [this](const httplib::Request& req, httplib::Response& res) {
    WebRequest w;
    w.method = req.method;
    w.path = req.path;
    w.body = req.body;
    if (size_t q = req.target.find('?'); q != std::string::npos) hAddParams(req.target.substr(q + 1), w.params);
    if (req.method == "POST" && req.get_header_value("Content-Type").starts_with("application/x-www-form-urlencoded"))
      hAddParams(req.body, w.params);
    for (const auto& [name, value] : req.headers) {
      std::string lower = name;
      for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      w.headers.emplace_back(lower, value);
    }
    WebResponse r = owner.HANDLE(w);
    res.status = r.status;
    for (const auto& [name, value] : r.headers) res.set_header(name, value);
    if (!r.file) {
      res.set_content(std::move(r.body), r.contentType);
      return;
    }
    res.set_content_provider(r.file->Size(), r.contentType,
                             [file = r.file](size_t offset, size_t length, httplib::DataSink& sink) {
                               char buffer[65536];
                               const size_t got = file->Read(offset, buffer, std::min(length, sizeof buffer));
                               return got > 0 && sink.write(buffer, got);
                             });
  };
  http->Get(".*", serve);
  http->Post(".*", serve);
  http->Put(".*", serve);
  http->Patch(".*", serve);
  http->Delete(".*", serve);
}

void cls_SiteServer::START() {
  std::lock_guard<std::mutex> hold(impl_->stateLock);
  Impl& m = *impl_;
  if (m.http) Raise(err::kInvalidCall, "the server is started already");
  m.http = std::make_unique<httplib::Server>();
  m.Configure();
  const std::string& host = m.options.host;
  int port = m.options.port;
  if (port == 0) port = m.http->bind_to_any_port(host);
  else if (!m.http->bind_to_port(host, port)) port = -1;
  if (port <= 0) {
    m.http.reset();
    Raise(err::kPermissionDenied, "cannot listen on " + host + ":" + std::to_string(m.options.port) +
                                      ": the address is in use, not allowed or not of this machine");
  }
  m.port = port;
  if (m.options.live) {
    m.watcher =
        std::make_unique<cls_SiteWatcher>(m.site.ROOT(), std::chrono::milliseconds(m.options.watchMs), m.options.watch);
    m.watcher->START();
  }
  m.running = true;
  m.thread = std::thread([&m] {
    m.http->listen_after_bind();
    {
      std::lock_guard<std::mutex> ending(m.endLock);
      m.running = false;
    }
    m.ended.notify_all();
  });
}

void cls_SiteServer::STOP() {
  std::lock_guard<std::mutex> hold(impl_->stateLock);
  Impl& m = *impl_;
  if (!m.http) return;
  // listeners wake and end first, so the pool's threads can be joined
  if (m.watcher) m.watcher->STOP();
  // the listening thread may not have reached the library's loop yet: stop until it has ended
  std::unique_lock<std::mutex> ending(m.endLock);
  while (m.running) {
    m.http->stop();
    m.ended.wait_for(ending, std::chrono::milliseconds(20));
  }
  ending.unlock();
  if (m.thread.joinable()) m.thread.join();
  m.http.reset();
  m.watcher.reset();
}

void cls_SiteServer::WAIT() {
  std::unique_lock<std::mutex> ending(impl_->endLock);
  impl_->ended.wait(ending, [&] { return !impl_->running.load(); });
}

}  // namespace rykel
