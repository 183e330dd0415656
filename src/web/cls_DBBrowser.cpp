#include "web/cls_DBBrowser.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <random>
#include <vector>

#include "database/mdl_DBValueFit.h"
#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "frame/Text.h"
#include "structure/cls_Structure.h"
#include "web/DBBrowserApi.h"
#include "web/DBBrowserPages.h"
#include "web/DBViewQuery.h"

namespace rykel {

namespace {

struct ExportFormat {
  const char* word;         // the export parameter's value, also the file's extension
  const char* contentType;  // as sent
};
constexpr ExportFormat kExportFormats[] = {
    {"xlsx", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"},
    {"htm", "text/html; charset=windows-1252"},  // the table export writes Windows-1252
    {"pdf", "application/pdf"},
    {"csv", "text/csv; charset=utf-8"},
    {"json", "application/json"},
};

std::string hToken() {
  std::random_device device;
  std::string out;
  char buf[9];
  for (int i = 0; i < 4; ++i) {
    std::snprintf(buf, sizeof buf, "%08x", static_cast<unsigned>(device()));
    out += buf;
  }
  return out;
}

// Compares in a time that does not tell how much of a guess was right.
bool hSameText(const std::string& pA, const std::string& pB) {
  if (pA.size() != pB.size()) return false;
  unsigned char diff = 0;
  for (size_t i = 0; i < pA.size(); ++i) diff |= static_cast<unsigned char>(pA[i] ^ pB[i]);
  return diff == 0;
}

bool hValidName(const std::string& pName) {
  if (pName.empty() || pName.front() == '.') return false;
  for (unsigned char c : pName)
    if (!std::isalnum(c) && c != '-' && c != '_' && c != '.') return false;
  return true;
}

// The path's parts after the mount ("/_db/kunden/12/" -> "kunden", "12"); empty parts dropped.
std::vector<std::string> hParts(std::string_view pPath) {
  std::vector<std::string> parts;
  for (const auto& part : text::Split(pPath, "/"))
    if (!part.empty()) parts.push_back(part);
  return parts;
}

// The entry's id as the database holds it; WebFailure 404 when there is none.
Variant hEntryID(cls_DB& rDB, const std::string& pName, const std::string& pText) {
  if (!rDB.ENTRYEXISTS(Variant(pText))) throw WebFailure{404, "no entry '" + pText + "' in " + pName};
  return rDB.ENTRYIDAT(rDB.ENTRYPOSITION(Variant(pText)));
}

void hRequireField(const cls_DB& pDB, const std::string& pName, const std::string& pField) {
  if (!pDB.FIELDEXISTS(Variant(pField))) throw WebFailure{404, "no field '" + pField + "' in " + pName};
}

// The form's v.FIELD values checked against their fields (every one before the first is stored):
// field ID and the value to store. WebFailure 400 for an unknown field or a value that does not fit.
std::vector<std::pair<std::string, std::string>> hCheckedValues(const cls_DB& pDB, const WebRequest& pRequest) {
  std::vector<std::pair<std::string, std::string>> out;
  for (const auto& [name, value] : pRequest.params) {
    if (!name.starts_with("v.")) continue;
    auto field = pDB.FIELD(Variant(name.substr(2)));
    if (!field) throw WebFailure{400, "unknown field '" + name.substr(2) + "'"};
    if (text::Trim(value).empty()) {
      out.emplace_back(field->ID, value);
      continue;
    }
    auto fit = mdl_DBValueFit::FIT(*field, value);
    if (fit.problem != mdl_DBValueFit::Problem::None)
      throw WebFailure{400, field->ID + ": '" + value + "' " + mdl_DBValueFit::PROBLEMTEXT(*field, value, fit)};
    out.emplace_back(field->ID, std::move(fit.value));
  }
  return out;
}

}  // namespace

cls_DBBrowser::cls_DBBrowser() : token_(hToken()) {}

cls_DBBrowser::~cls_DBBrowser() = default;

void cls_DBBrowser::DBADD(const std::string& pName, const std::string& pFile) {
  if (!hValidName(pName))
    Raise(err::kInvalidCall, "database name '" + pName + "': letters, digits, '-', '_' and '.' only",
          "cls_DBBrowser.DBADD");
  std::lock_guard lock(mutex_);
  if (workers_.count(pName)) Raise(err::kInvalidCall, "database name '" + pName + "' is taken", "cls_DBBrowser.DBADD");
  workers_.emplace(pName, std::make_unique<DBWorker>(pName, pFile));
}

DBWorker& cls_DBBrowser::hWorker(const std::string& pName) {
  std::lock_guard lock(mutex_);
  auto it = workers_.find(pName);
  if (it == workers_.end()) throw WebFailure{404, "no database '" + pName + "'"};
  return *it->second;
}

bool cls_DBBrowser::HANDLE(const WebRequest& pRequest, WebResponse& rResponse) {
  const std::string& path = pRequest.path;
  auto under = [&](std::string_view pMount) {
    return path.starts_with(pMount) && (path.size() == pMount.size() || path[pMount.size()] == '/');
  };
  bool api = under("/_api");
  if (!api && !under("/_db")) return false;
  WebResponse out;
  try {
    hRoute(pRequest, out, api);
  } catch (const WebFailure& f) {
    out = WebResponse{};
    out.status = f.status;
    if (api) out.contentType = "application/json";
    out.body = api ? DBBrowserApi::Failure(f.message) : DBBrowserPages::Failure(f.status, f.message);
  } catch (const std::exception& e) {
    out = WebResponse{};
    out.status = 500;
    if (api) out.contentType = "application/json";
    std::string message = e.what();
    if (auto* error = dynamic_cast<const Error*>(&e)) message = error->description;
    out.body = api ? DBBrowserApi::Failure(message) : DBBrowserPages::Failure(500, message);
  }
  rResponse = std::move(out);
  return true;
}

void cls_DBBrowser::hRoute(const WebRequest& pRequest, WebResponse& rResponse, bool pApi) {
  std::vector<std::string> parts = hParts(pRequest.path);
  parts.erase(parts.begin());  // the mount
  const bool post = pRequest.method == "POST";
  if (!post && pRequest.method != "GET" && pRequest.method != "HEAD")
    throw WebFailure{405, "method " + pRequest.method + " is not allowed here"};
  if (pApi) rResponse.contentType = "application/json";

  if (parts.empty()) {
    if (post) throw WebFailure{405, "method POST is not allowed here"};
    std::vector<DBBrowserPages::Summary> list;
    std::vector<DBWorker*> workers;
    {
      std::lock_guard lock(mutex_);
      for (auto& [name, worker] : workers_) workers.push_back(worker.get());
    }
    for (auto* w : workers) {
      DBBrowserPages::Summary s{w->Name(), w->File(), {}};
      try {
        w->Run([&](cls_DB& db) {
          s.entries = db.ENTRYCOUNT();
          s.fields = db.FIELDS();
        });
      } catch (const WebFailure& f) { s.problem = f.message; }
      list.push_back(std::move(s));
    }
    rResponse.body = pApi ? DBBrowserApi::Index(list) : DBBrowserPages::Index(list);
    return;
  }

  DBWorker& worker = hWorker(parts[0]);
  if (post) {
    if (pApi || parts.size() > 2) throw WebFailure{405, "method POST is not allowed here"};
    return hWrite(worker, pRequest, parts.size() == 2 ? parts[1] : std::string(), rResponse);
  }
  if (!pApi && parts.size() == 1)
    if (const std::string* format = pRequest.Param("export")) return hExport(worker, pRequest, *format, rResponse);
  worker.Run([&](cls_DB& db) {
    DBBrowserPages::Context context{parts[0], writable_, token_, {}};
    std::string viewKey;
    context.facets = [&](const std::string& pField, const DBWorker::ListMaker& pList) -> const DBFacets& {
      return worker.Facets(db, pField, viewKey, pList);
    };
    if (parts.size() == 1) {
      DBViewQuery query = DBViewQuery::Read(pRequest, db);
      viewKey = query.Key();
      const cls_DB::IdList& all = worker.Ids(db, query);
      rResponse.body = pApi ? DBBrowserApi::Rows(db, query, all) : DBBrowserPages::Table(db, context, query, all);
    } else if (parts.size() == 2) {
      Variant id = hEntryID(db, parts[0], parts[1]);
      rResponse.body = pApi ? DBBrowserApi::Entry(db, id) : DBBrowserPages::Entry(db, context, id);
    } else if (pApi && parts.size() == 3 && parts[1] == "facets") {
      hRequireField(db, parts[0], parts[2]);
      const std::string field = db.FIELD(Variant(parts[2]))->ID;
      DBViewQuery query = DBViewQuery::Read(pRequest, db);
      const DBFacets& facets = worker.Facets(db, field, query.Key(), [&]() -> const cls_DB::IdList* {
        return query.Narrows() ? &worker.Ids(db, query) : nullptr;
      });
      rResponse.body = DBBrowserApi::Facets(field, facets);
    } else {
      throw WebFailure{404, "no such page: " + pRequest.path};
    }
  });
}

void cls_DBBrowser::hWrite(DBWorker& rWorker, const WebRequest& pRequest, const std::string& pID,
                           WebResponse& rResponse) {
  if (!writable_) throw WebFailure{403, "this database browser is read-only"};
  const std::string* token = pRequest.Param("token");
  if (!token || !hSameText(*token, token_))
    throw WebFailure{403, "the form's token is missing or wrong; reload the page"};
  const std::string* actionParam = pRequest.Param("action");
  const std::string action = pID.empty() ? "add" : actionParam ? *actionParam : "save";
  if (action != "add" && action != "save" && action != "delete")
    throw WebFailure{400, "action: '" + action + "' is none of save, delete"};
  std::string location = "/_db/" + text::UrlEncode(rWorker.Name());
  rWorker.Run([&](cls_DB&) {
    // The route of `rykel db set`: the file opened with its lock held until the save, every value
    // checked before the first is stored, the save atomic.
    auto db = std::make_shared<cls_DB>();
    auto settings = cls_Structure::New();
    settings->ITEM_LET("LOCK", true);
    settings->ITEM_LET("CREATE", false);  // a database removed meanwhile is not made anew
    if (!db->DBOPEN(rWorker.File(), "", false, settings))
      throw WebFailure{500, "cannot open '" + rWorker.Name() + "' for writing: " + db->DBOPENERROR_GET()};
    auto values = hCheckedValues(*db, pRequest);
    Variant id;
    if (action == "add") {
      id = db->ENTRYFREEID();
      db->ENTRYADD(id);
    } else {
      id = hEntryID(*db, rWorker.Name(), pID);
    }
    if (action == "delete") db->ENTRYREMOVE(id);
    else
      for (const auto& [field, value] : values) db->ENTRYFIELD_LET(id, field, value);
    db->ENTRYCHANGED_LET(true);
    if (!db->DBSAVE()) throw WebFailure{500, "cannot save '" + rWorker.Name() + "': " + db->DBSAVEERROR_GET()};
    db->DBCLOSE();
    if (action != "delete") location += "/" + text::UrlEncode(CStr(id));
  });
  rResponse.status = 303;
  rResponse.headers.emplace_back("Location", location);
  rResponse.body = "<!DOCTYPE html><p>Saved: <a href=\"" + text::HtmlEscapeText(location) + "\">continue</a></p>\n";
}

void cls_DBBrowser::hExport(DBWorker& rWorker, const WebRequest& pRequest, const std::string& pFormat,
                            WebResponse& rResponse) {
  const ExportFormat* format = nullptr;
  for (const auto& f : kExportFormats)
    if (text::LCase(pFormat) == f.word) format = &f;
  if (!format) throw WebFailure{400, "export: '" + pFormat + "' is none of xlsx, htm, pdf, csv, json"};
  std::string ext = std::string(".") + format->word;
  std::string file = (std::filesystem::temp_directory_path() / ("rykel-export-XXXXXX" + ext)).string();
  int fd = ::mkstemps(file.data(), static_cast<int>(ext.size()));
  if (fd < 0) throw WebFailure{500, "cannot make a temporary file for the export"};
  ::close(fd);
  try {
    rWorker.Run([&](cls_DB& db) {
      const cls_DB::IdList& ids = rWorker.Ids(db, DBViewQuery::Read(pRequest, db));
      const std::string word = format->word;
      bool ok;
      if (word == "xlsx") {
        auto settings = cls_Structure::New();
        settings->ITEM_LET("FORMAT", "XLSX");
        ok = db.EXPORTEXCEL(1, file, ids, settings);
      } else if (word == "htm" || word == "pdf") {
        ok = db.EXPORTFILE(1, file, text::UCase(word), ids);
      } else {
        ok = db.EXPORT(word, file, 1, ids);
      }
      if (!ok) throw WebFailure{500, "the " + word + " export of '" + rWorker.Name() + "' failed"};
    });
    // the exporters write a new file in the temporary's place: open that one
    rResponse.file = std::make_shared<const WebFile>(fileio::OpenRegularFile(file), file, file);
  } catch (...) {
    std::filesystem::remove(file);
    throw;
  }
  rResponse.contentType = format->contentType;
  rResponse.headers.emplace_back("Content-Disposition",
                                 "attachment; filename=\"" + rWorker.Name() + "." + format->word + "\"");
}

}  // namespace rykel
