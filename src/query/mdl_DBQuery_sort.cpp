// mdl_DBQuery: sorting of id lists (ENTRYSORT, ENTRYSORTADVANCED) by the fields' sort texts.
#include "query/mdl_DBQuery.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string_view>

#include "frame/Convert.h"
#include "frame/Error.h"

namespace rykel::mdl_DBQuery {

namespace {
constexpr const char* kClass = "cls_DB";

// Removes a leading "&" (sort by display text) and reports it.
bool hTakePrefix(std::string& rField) {
  if (!rField.starts_with('&')) return false;
  rField.erase(0, 1);
  return true;
}

// One composite sort key, key1 + "_" + key2, with key2 in its inverted form (see hSortTextInvert:
// every byte as two letters "a".."p" of its complement, then "z") when invert is set.
// Without joined, the key is key1 alone.
struct JoinedKey {
  std::string_view key1, key2;
  bool invert;
  bool joined = true;

  size_t Size() const { return joined ? key1.size() + 1 + (invert ? key2.size() * 2 + 1 : key2.size()) : key1.size(); }
  unsigned char At(size_t i) const {
    if (i < key1.size()) return static_cast<unsigned char>(key1[i]);
    if (i == key1.size()) return '_';
    size_t j = i - key1.size() - 1;
    if (!invert) return static_cast<unsigned char>(key2[j]);
    if (j == key2.size() * 2) return 'z';
    unsigned x = 255u - static_cast<unsigned char>(key2[j / 2]);
    return static_cast<unsigned char>('a' + (j % 2 ? x & 0xF : x >> 4));
  }
};

int hSign(int c) { return (c > 0) - (c < 0); }

// Byte order of two composite keys, as if both were built as strings, without building them.
// REQUIRES: both keys have the same invert flag.
int hJoinedCompare(const JoinedKey& a, const JoinedKey& b) {
  if (!a.joined) return hSign(a.key1.compare(b.key1));
  size_t n = std::min(a.key1.size(), b.key1.size());
  if (int c = a.key1.substr(0, n).compare(b.key1.substr(0, n))) return hSign(c);
  if (a.key1.size() == b.key1.size()) {
    // The same first key and "_": the second keys decide; their inverted forms order exactly
    // the other way round.
    int c = hSign(a.key2.compare(b.key2));
    return a.invert ? -c : c;
  }
  // One first key is a prefix of the other (rare): walk the bytes from there.
  size_t na = a.Size(), nb = b.Size();
  for (size_t i = n; i < na && i < nb; ++i) {
    unsigned char x = a.At(i), y = b.At(i);
    if (x != y) return x < y ? -1 : 1;
  }
  return na < nb ? -1 : (na > nb ? 1 : 0);
}

// An entry position with the first 16 bytes of its key (zero-padded; sort texts hold no zero
// bytes, so a shorter key still sorts first).
struct SortItem {
  uint64_t head = 0, tail = 0;
  int32_t pos = 0;
};

SortItem hSortItem(const JoinedKey& pKey, int32_t pPos) {
  SortItem it;
  it.pos = pPos;
  size_t n = std::min<size_t>(pKey.Size(), 16);
  for (size_t i = 0; i < 16; ++i) {
    uint64_t byte = i < n ? pKey.At(i) : 0;
    (i < 8 ? it.head : it.tail) |= byte << (8 * (7 - i % 8));
  }
  return it;
}
}  // namespace

IdList ENTRYSORT(cls_DBStore& rDB, const std::string& pField, bool pRev, const IdList& pBase) {
  return Guard(kClass, "ENTRYSORT", [&] {
    return ENTRYSORTADVANCED(rDB, pField, pRev, "", pBase.empty() ? std::nullopt : std::optional<IdList>(pBase), false);
  });
}

// A list is ordered by one key per entry: the first field's sort text alone, or with a second field
// the composite key1 + "_" + key2, where key2 is the second field's sort text, inverted when the
// second direction differs from the first (the whole order is reversed under a descending first
// field, so the inverted key still runs the second field's own way). Keys compare as bytes;
// entries with equal keys keep the order of the list in both directions. The composite is never
// built: hJoinedCompare compares two of them in place.
IdList ENTRYSORTADVANCED(cls_DBStore& rDB, const std::string& pField, bool pRev, const std::string& pFieldSecond,
                         const std::optional<IdList>& pList, bool pRevSecond) {
  return Guard(kClass, "ENTRYSORTADVANCED", [&]() -> IdList {
    rDB.DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-1");
    std::string f1 = pField, f2 = pFieldSecond;
    bool prefix1 = hTakePrefix(f1), prefix2 = hTakePrefix(f2);
    bool rev1 = pRev, rev2 = pRevSecond;

    rDB.DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-2");
    if (f1.empty() && !f2.empty()) {
      f1 = f2, prefix1 = prefix2, rev1 = rev2;
      f2.clear(), prefix2 = false, rev2 = false;
    }

    rDB.DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-3");
    int32_t no1 = 0, no2 = 0;
    DBFieldPtr field1 = f1.empty() ? nullptr : rDB.hFieldOrNull(Variant(f1), &no1);
    DBFieldPtr field2 = f2.empty() ? nullptr : rDB.hFieldOrNull(Variant(f2), &no2);
    if (field1) f1 = field1->ID;
    if (field2) f2 = field2->ID;

    rDB.DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-4");
    IdList result;
    if (rDB.hEntries().Count() == 0) return result;
    const auto& all = rDB.hEntries().Entries();

    // The positions to sort: the list's entries (ids naming no entry are left out) or all.
    std::vector<int32_t> positions;
    if (pList) {
      positions.reserve(pList->size());
      for (const auto& id : *pList) {
        int32_t p = rDB.hEntries().Position(rDB.hEntries().NormalizeId(id));
        if (p >= 0) positions.push_back(p);
      }
    } else {
      positions.resize(all.size());
      std::iota(positions.begin(), positions.end(), 0);
    }

    if (f1.empty()) {
      rDB.DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-6");
      for (int32_t p : positions) result.push_back(all[static_cast<size_t>(p)].id);
      return result;
    }

    if (f2.empty() && field1 && field1->INDEXED && !prefix1) {
      rDB.DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-7");
      auto index = rDB.FIELDINDEX(Variant(no1));
      if (index) {
        std::vector<char> wanted;
        if (pList) {
          wanted.assign(all.size(), 0);
          for (int32_t p : positions) wanted[static_cast<size_t>(p)] = 1;
        }
        for (auto& id : index->WALK(rev1)) {
          if (pList) {
            int32_t p = rDB.hEntries().Position(id);
            if (p < 0 || !wanted[static_cast<size_t>(p)]) continue;
            wanted[static_cast<size_t>(p)] = 0;  // an id listed twice is sorted once
          }
          result.push_back(std::move(id));
        }
        return result;
      }
    }

    rDB.DEBUGTRACK_LET(f2.empty() ? "ENTRYFILTER-ADVANCED-8" : "ENTRYFILTER-ADVANCED-9");
    // Sort texts by position: the cached column, or (prefix flag, unknown field) made here.
    std::vector<std::string> own1, own2;
    auto keys = [&](const DBFieldPtr& f, int32_t no, bool prefix,
                    std::vector<std::string>& own) -> const std::vector<std::string>* {
      if (f && !prefix) return &rDB.FIELDSORTCOLUMN(no);
      own.assign(all.size(), std::string());
      if (f) {
        for (int32_t p : positions) {
          rDB.DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-9-", no, p);
          own[static_cast<size_t>(p)] = rDB.FIELDTEXTSORT_GET(all[static_cast<size_t>(p)].id, Variant(no), true);
        }
      }
      return &own;
    };
    const std::vector<std::string>& k1 = *keys(field1, no1, prefix1, own1);
    const std::vector<std::string>* k2 = f2.empty() ? nullptr : keys(field2, no2, prefix2, own2);

    rDB.DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-10");
    const bool invert2 = rev1 != rev2;
    auto key = [&](int32_t p) {
      static const std::string kNone;
      return JoinedKey{k1[static_cast<size_t>(p)], k2 ? (*k2)[static_cast<size_t>(p)] : kNone, invert2, k2 != nullptr};
    };
    // The first 16 bytes of each key as two big-endian words decide most comparisons without
    // touching the texts; ties fall back to the whole keys.
    std::vector<SortItem> items(positions.size());
    for (size_t i = 0; i < positions.size(); ++i) items[i] = hSortItem(key(positions[i]), positions[i]);
    std::stable_sort(items.begin(), items.end(), [&](const SortItem& a, const SortItem& b) {
      int c = a.head != b.head   ? (a.head < b.head ? -1 : 1)
              : a.tail != b.tail ? (a.tail < b.tail ? -1 : 1)
                                 : hJoinedCompare(key(a.pos), key(b.pos));
      return rev1 ? c > 0 : c < 0;
    });
    for (size_t i = 0; i < items.size(); ++i) positions[i] = items[i].pos;
    result.reserve(positions.size());
    for (int32_t p : positions) result.push_back(all[static_cast<size_t>(p)].id);
    return result;
  });
}

}  // namespace rykel::mdl_DBQuery
