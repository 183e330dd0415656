// cls_DBBrowser: the database browser and its JSON API, for a web server to mount. It answers
//   GET  /_db/                  the databases: name, entries, fields
//   GET  /_db/NAME              a table view: sortable headers, paging, a search box, a filter
//                               input per field, a facets sidebar and export buttons
//                               (the view's parameters: web/DBViewQuery.h)
//   GET  /_db/NAME?export=FMT   the current view as xlsx, htm, pdf, csv or json (a download)
//   GET  /_db/NAME/ID           one entry (with WRITABLE: its edit and delete forms)
//   POST /_db/NAME              add an entry (fields as v.FIELD)     } WRITABLE only; each POST
//   POST /_db/NAME/ID           action=save (v.FIELD) or delete     } carries token=TOKEN_GET()
//   GET  /_api/                 the databases as JSON
//   GET  /_api/NAME             {"total", "page", "size", "rows": [{"id", "fields": {...}}]}
//   GET  /_api/NAME/facets/FIELD  {"field", "total", "choices": [{"label", "condition", "count"}]}
//   GET  /_api/NAME/ID          {"id", "fields": {...}}
// and no other path (HANDLE is false). Every name and value on a page is HTML-escaped; nothing
// is run through the template language. Failures answer 400 (bad parameter, a value that does
// not fit its field), 403 (a POST without the right token, or not WRITABLE), 404 (unknown
// database, entry or path) or 500, as an HTML page or {"error": "..."}.
//
// Threads: HANDLE may be called from many threads at once. Each database lives on a thread of
// its own (web/DBWorker.h), opened once and again only when its file changed on disk. Writes
// open the file with its lock, check every value, save atomically and close, as `rykel db set`.
//
//   cls_DBBrowser b;  b.DBADD("kunden", "kunden.ry-dbb");  b.WRITABLE_LET(true);
//   WebResponse r;    b.HANDLE(WebRequest{"GET", "/_api/kunden", {{"sort", "NAME"}}}, r);
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "web/DBWorker.h"
#include "web/WebExchange.h"

namespace rykel {

class cls_DBBrowser {
 public:
  cls_DBBrowser();
  ~cls_DBBrowser();

  // Adds a database under pName (letters, digits, "-", "_" and "."; the first character no dot)
  // from pFile, opened on first use. Raises 5 for another name or one taken already.
  void DBADD(const std::string& pName, const std::string& pFile);
  // Whether the forms to add, edit and delete entries are offered and accepted. Default false.
  bool WRITABLE_GET() const { return writable_; }
  void WRITABLE_LET(bool pValue) { writable_ = pValue; }
  // The token every POST must carry: random, made once per browser object.
  const std::string& TOKEN_GET() const { return token_; }

  // Answers a request for /_db or /_api (and below); false, with rResponse untouched, for any
  // other path.
  bool HANDLE(const WebRequest& pRequest, WebResponse& rResponse);

 private:
  DBWorker& hWorker(const std::string& pName);
  void hRoute(const WebRequest& pRequest, WebResponse& rResponse, bool pApi);
  void hWrite(DBWorker& rWorker, const WebRequest& pRequest, const std::string& pID, WebResponse& rResponse);
  void hExport(DBWorker& rWorker, const WebRequest& pRequest, const std::string& pFormat, WebResponse& rResponse);

  mutable std::mutex mutex_;
  std::map<std::string, std::unique_ptr<DBWorker>> workers_;
  std::atomic<bool> writable_ = false;
  std::string token_;
};

}  // namespace rykel
