// cls_DB: each member hands its work to the query or export function of the same name. The
// functions stay out of the installed header, so hosts see the class and nothing below it.
#include "host/cls_DB.h"

#include "export/DBExportData.h"
#include "export/mdl_DBExport.h"
#include "query/mdl_DBQuery.h"
#include "query/mdl_DBStats.h"
#include "tools/mdl_DBImport.h"

namespace rykel {

namespace {
// The databases the library makes below the host layer are cls_DB objects.
const bool kInstalled = [] {
  cls_DBStore::SetFactory([]() -> DBStorePtr { return std::make_shared<cls_DB>(); });
  return true;
}();
}  // namespace

// A reference field's database was made by New(), so it is a cls_DB.
DBPtr cls_DB::FIELDDB(const Variant& pField) { return std::dynamic_pointer_cast<cls_DB>(cls_DBStore::FIELDDB(pField)); }

using mdl_DBQuery::IdList;

IdList cls_DB::ENTRYALL(const std::string& pSortBy, bool pSortRev) {
  return mdl_DBQuery::ENTRYALL(*this, pSortBy, pSortRev);
}
IdList cls_DB::ENTRYSEARCH(const std::string& pSearch, const std::optional<IdList>& pList) {
  return mdl_DBQuery::ENTRYSEARCH(*this, pSearch, pList);
}
IdList cls_DB::ENTRYQUERY(const Variant& pField, const std::string& pOp, const Variant& pValue,
                          const std::optional<IdList>& pList) {
  return mdl_DBQuery::ENTRYQUERY(*this, pField, pOp, pValue, pList);
}
IdList cls_DB::ENTRYFILTER(const Variant& pView, const StructurePtr& pFilters, const std::string& pSort, bool pSortRev,
                           const std::optional<IdList>& pList) {
  return mdl_DBQuery::ENTRYFILTER(*this, pView, pFilters, pSort, pSortRev, pList);
}
IdList cls_DB::ENTRYFILTERADVANCED(const Variant& pView, const std::string& pSortField, const std::string& pSortField2,
                                   bool pSortRev2, const StructurePtr& pFilters, const std::optional<IdList>& pList,
                                   bool pSortRev) {
  return mdl_DBQuery::ENTRYFILTERADVANCED(*this, pView, pSortField, pSortField2, pSortRev2, pFilters, pList, pSortRev);
}
std::string cls_DB::FILTERCOMBINE(const std::string& pFilter1, const std::string& pFilter2) {
  return mdl_DBQuery::FILTERCOMBINE(pFilter1, pFilter2);
}
StructurePtr cls_DB::FIELDFILTERVALUES(const Variant& pField, const std::optional<IdList>& pList) {
  return mdl_DBQuery::FIELDFILTERVALUES(*this, pField, pList);
}
StructurePtr cls_DB::FIELDFILTERVALUESADVANCED(const Variant& pField, const std::optional<IdList>& pList,
                                               const StructurePtr& pSettings) {
  return mdl_DBQuery::FIELDFILTERVALUESADVANCED(*this, pField, pList, pSettings);
}
int32_t cls_DB::FIELDFILTERCOUNT(const Variant& pField, const std::string& pCondition,
                                 const std::optional<IdList>& pList) {
  return mdl_DBQuery::FIELDFILTERCOUNT(*this, pField, pCondition, pList);
}
std::string cls_DB::FIELDSELECT(const std::string& pPreselect) { return mdl_DBQuery::FIELDSELECT(*this, pPreselect); }
StructurePtr cls_DB::SCHEMA() { return mdl_DBSchema::SCHEMA(*this); }
int32_t cls_DB::FIELDUSAGE(const std::string& pField) { return mdl_DBSchema::FIELDUSAGE(*this, pField); }
DBFieldPtr cls_DB::FIELDNEW(const std::string& pID, const mdl_DBSchema::FieldChange& pChange) {
  return mdl_DBSchema::FIELDNEW(*this, pID, pChange);
}
void cls_DB::FIELDCHANGE(const std::string& pField, const mdl_DBSchema::FieldChange& pChange) {
  mdl_DBSchema::FIELDCHANGE(*this, pField, pChange);
}
void cls_DB::FIELDDROP(const std::string& pField) { mdl_DBSchema::FIELDDROP(*this, pField); }
void cls_DB::SCHEMASAVE() { mdl_DBSchema::SCHEMASAVE(*this); }
StructurePtr cls_DB::FIELDFACETS(const Variant& pField, const std::optional<IdList>& pList) {
  return mdl_DBStats::FIELDFACETS(*this, pField, pList);
}
StructurePtr cls_DB::ENTRYSTATS(const std::vector<std::string>& pFields, const std::string& pGroupBy,
                                const std::optional<IdList>& pList) {
  return mdl_DBStats::ENTRYSTATS(*this, pFields, pGroupBy, pList);
}
IdList cls_DB::ENTRYSORT(const std::string& pField, bool pRev, const IdList& pBase) {
  return mdl_DBQuery::ENTRYSORT(*this, pField, pRev, pBase);
}
IdList cls_DB::ENTRYSORTADVANCED(const std::string& pField, bool pRev, const std::string& pFieldSecond,
                                 const std::optional<IdList>& pList, bool pRevSecond) {
  return mdl_DBQuery::ENTRYSORTADVANCED(*this, pField, pRev, pFieldSecond, pList, pRevSecond);
}

bool cls_DB::EXPORTFILE(const Variant& pView, const std::string& pFile, const std::string& pFormat, const IDList& pIDs,
                        const StructurePtr& pSettings) {
  return mdl_DBExport::EXPORTFILE(*this, pView, pFile, pFormat, pIDs, pSettings);
}
bool cls_DB::EXPORTEXCEL(const Variant& pView, const std::string& pFile, const IDList& pIDs,
                         const StructurePtr& pSettings) {
  return mdl_DBExport::EXPORTEXCEL(*this, pView, pFile, pIDs, pSettings);
}
bool cls_DB::EXPORTPDF(const Variant& pView, const std::string& pFile, const IDList& pIDs,
                       const StructurePtr& pSettings) {
  return mdl_DBExport::EXPORTPDF(*this, pView, pFile, pIDs, pSettings);
}
bool cls_DB::EXPORTDB(const Variant& pView, const Variant& pTarget, const IDList& pIDs, const StructurePtr& pSettings) {
  return mdl_DBExport::EXPORTDB(*this, pView, pTarget, pIDs, pSettings);
}
bool cls_DB::EXPORT(const std::string& pFormat, const std::string& pFile, const Variant& pView, const IDList& pIDs,
                    const StructurePtr& pSettings) {
  return mdl_DBExport::EXPORT(*this, pFormat, pFile, pView, pIDs, pSettings);
}

StructurePtr cls_DB::IMPORTFILE(const std::string& pFile, const StructurePtr& pOptions) {
  return mdl_DBImport::IMPORTFILE(*this, pFile, pOptions);
}

}  // namespace rykel
