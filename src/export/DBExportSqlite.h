// DBExportSqlite: the entries as an SQLite database file, so that the data moves to any SQL engine.
//
// The file holds two tables:
//   "entries"       one column per field, named by field ID, typed by the field: INTEGER for whole
//                   numbers, numbered choices and numbered references, REAL for decimals, INTEGER
//                   1 / 0 for yes/no fields, TEXT for the rest (dates as "yyyy-mm-dd" or
//                   "yyyy-mm-dd HH:MM:SS", structures as JSON); an empty value is NULL. In a
//                   database with numeric ids the entry id is the row's rowid.
//   "rykel_fields"  one row per field in field order: position, id, name (the display name),
//                   type (the type keyword, "LONG"), indexed (1 / 0), members (of choice fields).
// An index "entries_<field ID>" for every indexed field. The values are the plain ones of
// DBExportPlain.h; a value the column's type does not hold (a text in a number field) is stored
// as it is, as SQLite allows.
//
// The file is built under a temporary name beside the target and renamed over it when complete,
// so a failure leaves an existing file as it was.
#pragma once

#include <string>

#include "database/cls_DBStore.h"

namespace rykel::mdl_DBExport {

// Writes the entries of view pView (the view's filter and sort, or the ids pIDs) to the SQLite
// file pFile. Settings: "NOOSD". Raises kInvalidCall for a view that does not exist and
// kPathNotFound (76) / 57 with SQLite's message when the file cannot be written.
void EXPORTSQLITE(cls_DBStore& rDB, const std::string& pFile, const Variant& pView,
                  const cls_DBStore::IDList& pIDs = std::nullopt, const StructurePtr& pSettings = nullptr);

}  // namespace rykel::mdl_DBExport
