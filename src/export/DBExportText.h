// DBExportText: the entries as text data: CSV, TSV, a JSON array or JSON lines, written entry by
// entry to a stdio stream (a file or standard output), never held whole in memory.
//
// Columns and values are the plain form of DBExportPlain.h (every field, keyed by field ID).
//   CSV    RFC 4180: a header row of field IDs, "," between cells, CRLF after each row; a cell
//          holding ",", '"', CR or LF is quoted, its quotes doubled. UTF-8, no byte order mark.
//   TSV    a header row of field IDs, tab between cells, LF after each row; a backslash, tab, CR
//          or LF inside a cell is written "\\", "\t", "\r", "\n".
//   JSON   an array of objects, one per entry, keyed by field ID; numbers and booleans typed,
//          dates as text, structures nested, empty values null; one entry per line.
//   JSONL  the same objects, one per line and nothing around them.
//
//   mdl_DBExport::EXPORTTEXT(store, stdout, TextFormat::Csv, 1);
#pragma once

#include <cstdio>
#include <string_view>

#include "database/cls_DBStore.h"

namespace rykel::mdl_DBExport {

enum class TextFormat { Csv, Tsv, Json, Jsonl };

// The format of a word ("csv", "TSV", "json", "jsonl", any case); false for any other word.
bool TEXTFORMAT(std::string_view pWord, TextFormat& rFormat);

// Writes the entries of view pView (the view's filter and sort, or the ids pIDs in their order)
// to pOut. Settings: "NOOSD" (no progress reports). Raises kInvalidCall for a view that does not
// exist; the caller checks pOut for write errors.
void EXPORTTEXT(cls_DBStore& rDB, std::FILE* pOut, TextFormat pFormat, const Variant& pView,
                const cls_DBStore::IDList& pIDs = std::nullopt, const StructurePtr& pSettings = nullptr);

}  // namespace rykel::mdl_DBExport
