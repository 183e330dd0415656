// DBExportData: the one entry point of the data exports (CSV, TSV, JSON, JSON lines, SQLite),
// which hosts reach as cls_DB::EXPORT.
//
//   mdl_DBExport::EXPORT(store, "csv", "people.csv");
#pragma once

#include <string>

#include "database/cls_DBStore.h"

namespace rykel::mdl_DBExport {

// Writes the entries of view pView (default the first; its filter and sort, or the ids pIDs in
// their order) to pFile in format pFormat, any case: "csv", "tsv", "json", "jsonl" (see
// DBExportText.h) or "sqlite" (DBExportSqlite.h). The file is written under a temporary name and
// renamed when complete, so a failure leaves an existing file as it was. Settings: "NOOSD" (no
// progress reports). Returns true when written; an unknown format word, a missing view or a
// failed write is an error under the common convention (source "cls_DB.EXPORT") and false.
bool EXPORT(cls_DBStore& rDB, const std::string& pFormat, const std::string& pFile, const Variant& pView = 1,
            const cls_DBStore::IDList& pIDs = std::nullopt, const StructurePtr& pSettings = nullptr);

}  // namespace rykel::mdl_DBExport
