// mdl_DBExport: the exports of a database store (HTML table, batch file, workbook, PDF, another
// database). Each walks the store's entries once through cls_DBExport and keeps nothing of its
// own; cls_DB offers them as its members. The store's EXPORTPROGRESS hook hears the walk's
// progress.
//
// Errors follow the common convention (Guard / ERRHANDLE) under the source "cls_DB.<function>".
//
//   mdl_DBExport::EXPORTFILE(store, "DEFAULT", "people.htm", "HTML");
#pragma once

#include <string>

#include "database/cls_DBStore.h"

namespace rykel::mdl_DBExport {

using IDList = cls_DBStore::IDList;

// Writes the entries of view pView (number or ID) to pFile. pFormat, upper-cased:
//   "HTM" / "HTML"  the spreadsheet-dialect HTML table (Windows-1252)
//   "XLS" / "XLSX"  the same HTML table under the given name
//   "BAT" / "CMD"   the table as Data/<base>.htm beside pFile, and pFile a batch file opening it
//   "PDF"           EXPORTPDF;  "DB"  EXPORTDB with pFile as the target
// Settings (all optional): "TITLE.SHOW", "TITLE.TEXT", "TITLE.COLOR" (red + 256 green + 65536
// blue; default the page layout's), "INDEX" (a leading running-number column "Nr."), "NOOSD"
// (no progress reports), "SHOWINFO" (a notice when done).
// Returns true when written. An unknown format word writes nothing and returns false; a
// failure part way leaves a partly written file and returns false.
bool EXPORTFILE(cls_DBStore& rDB, const Variant& pView, const std::string& pFile, const std::string& pFormat,
                const IDList& pIDs = std::nullopt, const StructurePtr& pSettings = nullptr);
// Writes a workbook (.xlsx) with the built-in writer: sheet "Alle" with every entry and, with
// "SUBSHEET" and "TABFILTER", one sheet per value of that field. Settings as EXPORTFILE plus
// "SUBSHEET", "TABFILTER", "CONSTANTMEMORY" (forced on from 50,000 rows). False on failure.
bool EXPORTEXCEL(cls_DBStore& rDB, const Variant& pView, const std::string& pFile, const IDList& pIDs = std::nullopt,
                 const StructurePtr& pSettings = nullptr);
// Writes a paginated PDF table following the page layout keys of FLAGS(1) (settings override).
bool EXPORTPDF(cls_DBStore& rDB, const Variant& pView, const std::string& pFile, const IDList& pIDs = std::nullopt,
               const StructurePtr& pSettings = nullptr);
// Copies the view's fields and the entries into another database: pTarget is a database object
// (entries added, not saved) or a file name (a new database saved there, with its header file
// "<file>.header"). False on failure.
bool EXPORTDB(cls_DBStore& rDB, const Variant& pView, const Variant& pTarget, const IDList& pIDs = std::nullopt,
              const StructurePtr& pSettings = nullptr);

}  // namespace rykel::mdl_DBExport
