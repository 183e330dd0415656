// cls_DB: the database class hosts use (C++, Python, the rykel program, CreateObject("cls_DB")).
// It is a database store (database/cls_DBStore.h: state, fields, entries, indexes, views, files,
// all inherited) whose queries, filters, sorting and exports are members that hand the work to
// the query and export functions (mdl_DBQuery, mdl_DBExport) with this database.
//
// Every database the library makes for a host (a reference field's database, one opened by the
// DB module, an export's new database) is a cls_DB.
//
// Threads: a database and its structures belong to the thread that created them.
//
//   auto db = std::make_shared<rykel::cls_DB>();
//   db->DBOPEN("people.ry-dbb", "info.header", false);
//   auto ids = db->ENTRYQUERY("CITY", "=", "Berlin");
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "database/cls_DBStore.h"
#include "database/mdl_DBSchema.h"

namespace rykel {

class cls_DB : public cls_DBStore {
 public:
  std::string TypeName() const override { return "cls_DB"; }

  // The database a reference field points to: REFERENCESOURCE opened (relative to this
  // database's directory), kept for later calls; null when none or it cannot be opened.
  std::shared_ptr<cls_DB> FIELDDB(const Variant& pField);

  // ---- queries (contracts: query/mdl_DBQuery.h) -------------------------------------------------
  // Every id in table order; with pSortBy ordered by that field ("&" prefix: by display text).
  IdList ENTRYALL(const std::string& pSortBy = "", bool pSortRev = false);
  // Ids of the entries (of pList, in its order) whose values' text holds the search (words,
  // "phrases", "|" / " OR " / " ODER ", "(" ")", "-", "^"). Case-blind.
  IdList ENTRYSEARCH(const std::string& pSearch, const std::optional<IdList>& pList = std::nullopt);
  // Ids of the entries (of pList, in its order) whose value of pField meets pOp + pValue.
  IdList ENTRYQUERY(const Variant& pField, const std::string& pOp, const Variant& pValue,
                    const std::optional<IdList>& pList = std::nullopt);

  // ---- filters -----------------------------------------------------------------------------------
  IdList ENTRYFILTER(const Variant& pView, const StructurePtr& pFilters, const std::string& pSort = "",
                     bool pSortRev = false, const std::optional<IdList>& pList = std::nullopt);
  // The view's filters and then pFilters ("MODE" "AND" / "OR"), then sorted.
  IdList ENTRYFILTERADVANCED(const Variant& pView, const std::string& pSortField, const std::string& pSortField2,
                             bool pSortRev2, const StructurePtr& pFilters,
                             const std::optional<IdList>& pList = std::nullopt, bool pSortRev = false);
  // One condition matching what either of two conditions on one field matches, or "".
  static std::string FILTERCOMBINE(const std::string& pFilter1, const std::string& pFilter2);
  StructurePtr FIELDFILTERVALUES(const Variant& pField, const std::optional<IdList>& pList = std::nullopt);
  // Filter choices for a field: items label -> condition text.
  StructurePtr FIELDFILTERVALUESADVANCED(const Variant& pField, const std::optional<IdList>& pList = std::nullopt,
                                         const StructurePtr& pSettings = nullptr);
  // How many entries of the list meet the condition; at 0 the notifier is told so.
  int32_t FIELDFILTERCOUNT(const Variant& pField, const std::string& pCondition,
                           const std::optional<IdList>& pList = std::nullopt);
  // Chooses a field through the chooser (FIELDCHOOSER_SET), else the preselected field's name.
  std::string FIELDSELECT(const std::string& pPreselect = "");
  // The fields as data, and changes that keep the entries in step (see mdl_DBSchema).
  StructurePtr SCHEMA();
  int32_t FIELDUSAGE(const std::string& pField);
  DBFieldPtr FIELDNEW(const std::string& pID, const mdl_DBSchema::FieldChange& pChange);
  void FIELDCHANGE(const std::string& pField, const mdl_DBSchema::FieldChange& pChange);
  void FIELDDROP(const std::string& pField);
  void SCHEMASAVE();
  // The filter choices of a field with their counts: a list of {LABEL, CONDITION, COUNT}.
  StructurePtr FIELDFACETS(const Variant& pField, const std::optional<IdList>& pList = std::nullopt);
  // Count, and for number and date fields MIN, MAX, SUM, MEAN, optionally per value of pGroupBy
  // (see mdl_DBStats::ENTRYSTATS).
  StructurePtr ENTRYSTATS(const std::vector<std::string>& pFields = {}, const std::string& pGroupBy = "",
                          const std::optional<IdList>& pList = std::nullopt);

  // ---- sorting -----------------------------------------------------------------------------------
  IdList ENTRYSORT(const std::string& pField, bool pRev = false, const IdList& pBase = {});
  // By the fields' sort texts: pField, then pFieldSecond; equal keys keep their order.
  IdList ENTRYSORTADVANCED(const std::string& pField, bool pRev = false, const std::string& pFieldSecond = "",
                           const std::optional<IdList>& pList = std::nullopt, bool pRevSecond = false);

  // ---- exports (contracts: export/mdl_DBExport.h) ------------------------------------------------
  // pFormat "HTM" / "HTML", "XLS" / "XLSX", "BAT" / "CMD", "PDF" or "DB".
  bool EXPORTFILE(const Variant& pView, const std::string& pFile, const std::string& pFormat,
                  const IDList& pIDs = std::nullopt, const StructurePtr& pSettings = nullptr);
  // A workbook (.xlsx) with the built-in writer, or through the spreadsheet program.
  bool EXPORTEXCEL(const Variant& pView, const std::string& pFile, const IDList& pIDs = std::nullopt,
                   const StructurePtr& pSettings = nullptr);
  // A paginated PDF table following the page layout keys of FLAGS(1).
  bool EXPORTPDF(const Variant& pView, const std::string& pFile, const IDList& pIDs = std::nullopt,
                 const StructurePtr& pSettings = nullptr);
  // The view's fields and the entries into another database (an object, or a new file).
  bool EXPORTDB(const Variant& pView, const Variant& pTarget, const IDList& pIDs = std::nullopt,
                const StructurePtr& pSettings = nullptr);
  // The entries as data (contracts: export/DBExportData.h): pFormat "csv", "tsv", "json", "jsonl"
  // or "sqlite"; every field, keyed by field ID; the view chooses and orders the entries.
  bool EXPORT(const std::string& pFormat, const std::string& pFile, const Variant& pView = 1,
              const IDList& pIDs = std::nullopt, const StructurePtr& pSettings = nullptr);

  // ---- import (contract: tools/mdl_DBImport.h) ---------------------------------------------------
  // Adds a CSV, TSV, JSON or JSONL file's rows as new entries, all or none; does not save.
  // Options: "FORMAT", "DELIMITER", "ENCODING", "CREATE", "SKIPBAD", "MAP" ("COLUMN=FIELD" texts).
  // Returns "IMPORTED", "FIELDS" (the fields made) and "SKIPPED" (lines left out with "SKIPBAD").
  StructurePtr IMPORTFILE(const std::string& pFile, const StructurePtr& pOptions = nullptr);
};

using DBPtr = std::shared_ptr<cls_DB>;

}  // namespace rykel
