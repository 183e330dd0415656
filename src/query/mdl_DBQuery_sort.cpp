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

// Orders the positions by their keys: k1[p], with k2 the composite of hJoinedCompare.
void hOrderByKeys(std::vector<int32_t>& rPositions, const std::vector<std::string>& k1,
                  const std::vector<std::string>* k2, bool rev1, bool rev2) {
  const bool invert2 = rev1 != rev2;
  auto key = [&](int32_t p) {
    static const std::string kNone;
    return JoinedKey{k1[static_cast<size_t>(p)], k2 ? (*k2)[static_cast<size_t>(p)] : kNone, invert2, k2 != nullptr};
  };
  // The first 16 bytes of each key as two big-endian words decide most comparisons without
  // touching the texts; ties fall back to the whole keys.
  std::vector<SortItem> items(rPositions.size());
  for (size_t i = 0; i < rPositions.size(); ++i) items[i] = hSortItem(key(rPositions[i]), rPositions[i]);
  std::stable_sort(items.begin(), items.end(), [&](const SortItem& a, const SortItem& b) {
    int c = a.head != b.head   ? (a.head < b.head ? -1 : 1)
            : a.tail != b.tail ? (a.tail < b.tail ? -1 : 1)
                               : hJoinedCompare(key(a.pos), key(b.pos));
    return rev1 ? c > 0 : c < 0;
  });
  for (size_t i = 0; i < items.size(); ++i) rPositions[i] = items[i].pos;
}

// The sort fields as ENTRYSORTADVANCED reads them: a leading "&" taken off, a lone second field
// moved first.
struct SortOrder {
  std::string f1, f2;
  bool prefix1 = false, prefix2 = false, rev1 = false, rev2 = false;
};

SortOrder hSortOrder(const std::string& pField, bool pRev, const std::string& pFieldSecond, bool pRevSecond) {
  SortOrder s{pField, pFieldSecond};
  s.prefix1 = hTakePrefix(s.f1), s.prefix2 = hTakePrefix(s.f2);
  s.rev1 = pRev, s.rev2 = pRevSecond;
  if (s.f1.empty() && !s.f2.empty()) {
    s.f1 = s.f2, s.prefix1 = s.prefix2, s.rev1 = s.rev2;
    s.f2.clear(), s.prefix2 = false, s.rev2 = false;
  }
  return s;
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
    rDB.DEBUGTRACK_LET("ENTRYFILTER-ADVANCED-2");
    auto [f1, f2, prefix1, prefix2, rev1, rev2] = hSortOrder(pField, pRev, pFieldSecond, pRevSecond);

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
    hOrderByKeys(positions, k1, k2, rev1, rev2);
    result.reserve(positions.size());
    for (int32_t p : positions) result.push_back(all[static_cast<size_t>(p)].id);
    return result;
  });
}

}  // namespace rykel::mdl_DBQuery

namespace rykel::mdl_DBQuery {

bool ENTRYSORTSTREAMS(cls_DBStore& rDB, const std::string& pField, const std::string& pFieldSecond) {
  auto order = hSortOrder(pField, false, pFieldSecond, false);
  if (order.f1.empty() || order.prefix1 || order.prefix2) return false;
  DBFieldPtr field1 = rDB.hFieldOrNull(Variant(order.f1));
  DBFieldPtr field2 = order.f2.empty() ? nullptr : rDB.hFieldOrNull(Variant(order.f2));
  // An unknown field, or an indexed one sorted alone (ENTRYSORTADVANCED walks its index), needs
  // the entries at hand.
  return field1 && (order.f2.empty() || field2) && (field2 || !field1->INDEXED);
}

std::optional<std::vector<cls_DBStore::RecordSpan>> ENTRYSORTSTREAM(cls_DBStore& rDB, const std::string& pField,
                                                                    bool pRev, const std::string& pFieldSecond,
                                                                    bool pRevSecond) {
  return Guard(kClass, "ENTRYSORTSTREAM", [&]() -> std::optional<std::vector<cls_DBStore::RecordSpan>> {
    if (!rDB.DBSTREAMED_GET() || !ENTRYSORTSTREAMS(rDB, pField, pFieldSecond)) return std::nullopt;
    auto [f1, f2, prefix1, prefix2, rev1, rev2] = hSortOrder(pField, pRev, pFieldSecond, pRevSecond);
    int32_t no1 = 0, no2 = 0;
    DBFieldPtr field1 = rDB.hFieldOrNull(Variant(f1), &no1);
    DBFieldPtr field2 = f2.empty() ? nullptr : rDB.hFieldOrNull(Variant(f2), &no2);

    // The first pass: each record's place and its sort texts, in file order.
    std::vector<int32_t> nos{no1};
    if (field2) nos.push_back(no2);
    auto cursor = rDB.ENTRYCURSOR(rDB.ENTRYREADER(nos));
    std::vector<cls_DBStore::RecordSpan> records;
    std::vector<std::string> k1, k2;
    Variant id;
    std::vector<Variant> values;
    while (cursor->Next(id, values)) {
      records.push_back(cursor->Span());
      k1.push_back(field1->TEXTSORT(values[0]));
      if (field2) k2.push_back(field2->TEXTSORT(values[1]));
    }
    std::vector<int32_t> positions(records.size());
    std::iota(positions.begin(), positions.end(), 0);
    hOrderByKeys(positions, k1, field2 ? &k2 : nullptr, rev1, rev2);
    std::vector<cls_DBStore::RecordSpan> order;
    order.reserve(positions.size());
    for (int32_t p : positions) order.push_back(records[static_cast<size_t>(p)]);
    return order;
  });
}

}  // namespace rykel::mdl_DBQuery
