// DBBrowserApi: the JSON answers of the database browser's API (web/cls_DBBrowser.h lists the
// routes). Field values are given as stored: numbers and yes/no values as JSON numbers and
// booleans, dates as "yyyy-mm-dd" (with " HH:MM:SS" when they have a time), empty values as null,
// everything else as text.
#pragma once

#include <string>
#include <vector>

#include "host/cls_DB.h"
#include "web/DBBrowserPages.h"
#include "web/DBViewQuery.h"
#include "web/DBWorker.h"

namespace rykel::DBBrowserApi {

// [{"name", "entries", "fields"}, ...] (an unopenable database: {"name", "error"}).
std::string Index(const std::vector<DBBrowserPages::Summary>& pDatabases);
// {"total", "page", "size", "rows": [{"id", "fields": {FIELD: value}}]}: the query's page of its
// entries pAll.
std::string Rows(cls_DB& rDB, const DBViewQuery& pQuery, const cls_DB::IdList& pAll);
// {"field", "total", "choices": [{"label", "condition", "count"}]}: a field's facets.
std::string Facets(const std::string& pField, const DBFacets& pFacets);
// {"id", "fields": {FIELD: value}}. REQUIRES: the entry exists.
std::string Entry(cls_DB& rDB, const Variant& pID);
// {"error": message}
std::string Failure(const std::string& pMessage);

}  // namespace rykel::DBBrowserApi
