// mdl_DBQuery: queries (ENTRYALL, ENTRYQUERY, ENTRYSEARCH). The condition language itself is
// cls_DBCondition; this file finds the field, takes the index fast path and scans the columns.
#include "query/mdl_DBQuery.h"

#include <algorithm>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "query/cls_DBCondition.h"
#include "query/cls_DBSearch.h"

namespace rykel::mdl_DBQuery {

namespace {
constexpr const char* kClass = "cls_DB";

// Appends to rResult the ids, in table order or in the order of pList (ids it lacks skipped), of
// the entries whose position passes pTest.
template <class Test>
void hSelect(DBEntryTable& rEntries, const std::optional<IdList>& pList, Test& pTest, IdList& rResult) {
  const auto& all = rEntries.Entries();
  if (!pList) {
    for (size_t p = 0; p < all.size(); ++p)
      if (pTest(p)) rResult.push_back(all[p].id);
    return;
  }
  for (const auto& id : *pList) {
    int32_t p = rEntries.Position(rEntries.NormalizeId(id));
    if (p >= 0 && pTest(static_cast<size_t>(p))) rResult.push_back(all[static_cast<size_t>(p)].id);
  }
}
}  // namespace

IdList ENTRYALL(cls_DBStore& rDB, const std::string& pSortBy, bool pSortRev) {
  return Guard(kClass, "ENTRYALL", [&]() -> IdList {
    if (!pSortBy.empty()) return ENTRYSORTADVANCED(rDB, pSortBy, pSortRev, "", std::nullopt, false);
    return rDB.ENTRYALL_IDS();
  });
}

IdList ENTRYQUERY(cls_DBStore& rDB, const Variant& pField, const std::string& pOp, const Variant& pValue,
                  const std::optional<IdList>& pList) {
  return Guard(kClass, "ENTRYQUERY", [&]() -> IdList {
    rDB.DEBUGTRACK_LET("ENTRYQUERY-1");
    std::string name;
    if (pField.isNumber()) {
      if (auto f = rDB.hFieldOrNull(pField)) name = f->ID;
    } else {
      name = CStr(pField);
    }
    name = text::Replace(name, "_", ".");

    rDB.DEBUGTRACK_LET("ENTRYQUERY-2");
    cls_DBCondition cond;
    cond.READ(pOp, pValue);

    rDB.DEBUGTRACK_LET("ENTRYQUERY-6");
    int32_t no = 0;
    DBFieldPtr field = name.empty() ? nullptr : rDB.hFieldOrNull(Variant(name), &no);
    int32_t type = field ? field->TYPE : ID_DBFieldType_String;
    cond.PREPARE(type, field.get());

    rDB.DEBUGTRACK_LET("ENTRYQUERY-7");
    // Exact, case-sensitive equality from the index. Dates compare by their date part, which the
    // index keys (date and time) cannot answer, so they scan.
    const std::string& opText = cond.OPERATORTEXT();
    if (!pList && (opText == "=" || opText == "==") && field && field->INDEXED && type != ID_DBFieldType_Date &&
        type != ID_DBFieldType_Structure) {
      IdList ids;
      if (!cond.VALID()) return ids;
      auto index = rDB.FIELDINDEX(Variant(static_cast<int32_t>(no)));
      if (index) {
        ids = index->FINDALL(field->INDEXKEY(cond.LOWER()));
        if (ids.size() > 1) {
          std::vector<std::pair<int32_t, Variant>> keyed;
          keyed.reserve(ids.size());
          for (auto& id : ids) keyed.emplace_back(rDB.ENTRYPOSITION(id), std::move(id));
          std::sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
          for (size_t i = 0; i < keyed.size(); ++i) ids[i] = std::move(keyed[i].second);
        }
        return ids;
      }
    }

    rDB.DEBUGTRACK_LET("ENTRYQUERY-8");
    IdList result;
    if (cond.KIND() == cls_DBCondition::Kind::None || !cond.VALID()) return result;
    const std::vector<Variant>* values = no ? &rDB.FIELDCOLUMN(no) : nullptr;
    const std::vector<std::string>* upper =
        (no && cond.CASEBLIND() && cond.NEEDSTEXT()) ? &rDB.FIELDUPPERCOLUMN(no) : nullptr;
    const Variant empty;

    rDB.DEBUGTRACK_LET("ENTRYQUERY-14");
    auto test = [&](size_t p) {
      rDB.DEBUGTRACK_LET("ENTRYQUERY-14-5-", no, static_cast<int32_t>(p));
      return cond.TEST(values ? (*values)[p] : empty, upper ? &(*upper)[p] : nullptr);
    };
    hSelect(rDB.hEntries(), pList, test, result);
    rDB.DEBUGTRACK_LET("ENTRYQUERY-15");
    return result;
  });
}

IdList ENTRYSEARCH(cls_DBStore& rDB, const std::string& pSearch, const std::optional<IdList>& pList) {
  return Guard(kClass, "ENTRYSEARCH", [&]() -> IdList {
    rDB.DEBUGTRACK_LET("ENTRYSEARCH-1");
    cls_DBSearch search;
    search.READ(pSearch);
    rDB.DEBUGTRACK_LET("ENTRYSEARCH-2");
    std::vector<const std::vector<std::string>*> columns;
    for (int32_t f = 1; f <= rDB.FIELDS(); ++f) columns.push_back(&rDB.FIELDUPPERCOLUMN(f));
    std::vector<std::string_view> texts(columns.size());
    IdList result;
    auto test = [&](size_t p) {
      rDB.DEBUGTRACK_LET("ENTRYSEARCH-3-", static_cast<int32_t>(p));
      for (size_t f = 0; f < columns.size(); ++f) texts[f] = (*columns[f])[p];
      return search.TEST(texts);
    };
    hSelect(rDB.hEntries(), pList, test, result);
    return result;
  });
}

}  // namespace rykel::mdl_DBQuery
