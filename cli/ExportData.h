// The data formats of `rykel db export`: csv, tsv, json, jsonl and sqlite.
#pragma once

#include <string>

#include "host/cls_DB.h"

namespace rykel::cli {

// Writes the export when pFormat (upper-cased) is a data format: to pOut, or with pOut "-" to
// standard output for the text formats. False (nothing done) for the other formats, which take
// "-" as no target: a usage error. A failure ends the command with its message (exit 1).
bool ExportData(cls_DB& rDB, const std::string& pFormat, const std::string& pOut, const Variant& pView,
                const cls_DB::IDList& pIDs);

}  // namespace rykel::cli
