// DBBrowserPages: the HTML pages of the database browser (web/cls_DBBrowser.h), server-rendered
// with a small stylesheet and no scripts. Every name and value is escaped here, in one place
// (hE); nothing is run through the template language. Element ids and classes are stable:
// tests and users' stylesheets rely on them (#entries, #filters, #search, #facets, .choice,
// .count, #pages, #exports, #entry, #edit-form, #delete-form, #add-form, #total).
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/cls_DB.h"
#include "web/DBViewQuery.h"
#include "web/DBWorker.h"

namespace rykel::DBBrowserPages {

// What a page needs besides the database: where it is mounted and whether it takes writes.
struct Context {
  std::string name;  // the database's name under /_db/
  bool writable = false;
  std::string token;  // put into every form that posts
  // A field's facets in the page's view, counted in the given entries when not known already.
  std::function<const DBFacets&(const std::string& pField, const DBWorker::ListMaker& pList)> facets;
};

struct Summary {
  std::string name, file, problem;  // problem: why it cannot be opened ("" when it opens)
  int32_t entries = 0, fields = 0;
};

// /_db/: the databases with their entry and field counts.
std::string Index(const std::vector<Summary>& pDatabases);
// /_db/NAME: the table view of the query's page of its entries pAll, with facets and exports.
std::string Table(cls_DB& rDB, const Context& pContext, const DBViewQuery& pQuery, const cls_DB::IdList& pAll);
// /_db/NAME/ID: one entry. REQUIRES: the entry exists.
std::string Entry(cls_DB& rDB, const Context& pContext, const Variant& pID);
// A failure's page: the status and the message.
std::string Failure(int pStatus, const std::string& pMessage);

// The fields whose facets the table shows: those asked for or chosen, and the choice, yes/no and
// indexed fields.
std::vector<std::string> FacetFields(const cls_DB& pDB, const DBViewQuery& pQuery);

}  // namespace rykel::DBBrowserPages
