// cls_DB: sorting of id lists (ENTRYSORT, ENTRYSORTADVANCED) by the fields' sort texts.
#include <algorithm>
#include <numeric>

#include "database/cls_DB.h"
#include "frame/Convert.h"
#include "frame/Error.h"

namespace rykel {

namespace {
constexpr const char* kClass = "cls_DB";

// Removes a leading "&" (sort by display text) and reports it.
bool hTakePrefix(std::string& rField) {
  if (!rField.starts_with('&')) return false;
  rField.erase(0, 1);
  return true;
}
}  // namespace

cls_DB::IdList cls_DB::ENTRYSORT(const std::string& pField, bool pRev, const IdList& pBase) {
  return Guard(kClass, "ENTRYSORT", [&] {
    return ENTRYSORTADVANCED(pField, pRev, "", pBase.empty() ? std::nullopt : std::optional<IdList>(pBase), false);
  });
}

// Keys per entry position: the first field's sort text, then the second's. The order is key 1,
// then key 2 (as if joined by a character below every sort-text character, so a key that is a
// prefix of another sorts first); equal keys keep the order of the list. Under a descending first
// field the second is inverted first, and the whole order is then reversed, so the second field
// still runs its own direction: here that is the comparison "key 2 descending when pRevSecond".
cls_DB::IdList cls_DB::ENTRYSORTADVANCED(const std::string& pField, bool pRev, const std::string& pFieldSecond,
                                         const std::optional<IdList>& pList, bool pRevSecond) {
  return Guard(kClass, "ENTRYSORTADVANCED", [&]() -> IdList {
    DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-1");
    std::string f1 = pField, f2 = pFieldSecond;
    bool prefix1 = hTakePrefix(f1), prefix2 = hTakePrefix(f2);
    bool rev1 = pRev, rev2 = pRevSecond;

    DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-2");
    if (f1.empty() && !f2.empty()) {
      f1 = f2, prefix1 = prefix2, rev1 = rev2;
      f2.clear(), prefix2 = false, rev2 = false;
    }

    DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-3");
    int32_t no1 = 0, no2 = 0;
    DBFieldPtr field1 = f1.empty() ? nullptr : hFieldOrNull(Variant(f1), &no1);
    DBFieldPtr field2 = f2.empty() ? nullptr : hFieldOrNull(Variant(f2), &no2);
    if (field1) f1 = field1->ID;
    if (field2) f2 = field2->ID;

    DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-4");
    IdList result;
    if (entries_.Count() == 0) return result;
    const auto& all = entries_.Entries();

    // The positions to sort: the list's entries (ids naming no entry are left out) or all.
    std::vector<int32_t> positions;
    if (pList) {
      positions.reserve(pList->size());
      for (const auto& id : *pList) {
        int32_t p = entries_.Position(entries_.NormalizeId(id));
        if (p >= 0) positions.push_back(p);
      }
    } else {
      positions.resize(all.size());
      std::iota(positions.begin(), positions.end(), 0);
    }

    if (f1.empty()) {
      DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-6");
      for (int32_t p : positions) result.push_back(all[static_cast<size_t>(p)].id);
      return result;
    }

    if (f2.empty() && field1 && field1->INDEXED && !prefix1) {
      DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-7");
      auto index = FIELDINDEX(Variant(no1));
      if (index) {
        std::vector<char> wanted;
        if (pList) {
          wanted.assign(all.size(), 0);
          for (int32_t p : positions) wanted[static_cast<size_t>(p)] = 1;
        }
        for (auto& id : index->WALK(rev1)) {
          if (pList) {
            int32_t p = entries_.Position(id);
            if (p < 0 || !wanted[static_cast<size_t>(p)]) continue;
            wanted[static_cast<size_t>(p)] = 0;  // an id listed twice is sorted once
          }
          result.push_back(std::move(id));
        }
        return result;
      }
    }

    DEBUGTRACK_LET(f2.empty() ? "ENTRYFILTER-ADVANCED-8" : "ENTRYFILTER-ADVANCED-9");
    // Sort texts by position: the cached column, or (prefix flag, unknown field) made here.
    std::vector<std::string> own1, own2;
    auto keys = [&](const DBFieldPtr& f, int32_t no, bool prefix, std::vector<std::string>& own)
        -> const std::vector<std::string>* {
      if (f && !prefix) return &FIELDSORTCOLUMN(no);
      own.assign(all.size(), std::string());
      if (f) {
        for (int32_t p : positions) {
          DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-9-", no, p);
          own[static_cast<size_t>(p)] = FIELDTEXTSORT_GET(all[static_cast<size_t>(p)].id, Variant(no), true);
        }
      }
      return &own;
    };
    const std::vector<std::string>& k1 = *keys(field1, no1, prefix1, own1);
    const std::vector<std::string>* k2 = f2.empty() ? nullptr : keys(field2, no2, prefix2, own2);

    DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-10");
    std::stable_sort(positions.begin(), positions.end(), [&](int32_t a, int32_t b) {
      int c = k1[static_cast<size_t>(a)].compare(k1[static_cast<size_t>(b)]);
      if (c != 0) return rev1 ? c > 0 : c < 0;
      if (!k2) return false;
      c = (*k2)[static_cast<size_t>(a)].compare((*k2)[static_cast<size_t>(b)]);
      return rev2 ? c > 0 : c < 0;
    });
    result.reserve(positions.size());
    for (int32_t p : positions) result.push_back(all[static_cast<size_t>(p)].id);
    return result;
  });
}

}  // namespace rykel
