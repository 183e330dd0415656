#include "database/cls_DBIndex.h"

#include <algorithm>

#include "frame/Convert.h"

namespace rykel {

namespace {

bool hSameId(const Variant& a, const Variant& b) {
  if (a.isString() || b.isString()) return a.isString() && b.isString() && a.str() == b.str();
  double x, y;
  return NumericValue(a, x) && NumericValue(b, y) && x == y;
}

std::vector<std::string> hIdTexts(const std::vector<Variant>& ids) {
  std::vector<std::string> t;
  t.reserve(ids.size());
  for (const auto& v : ids) t.push_back(CStr(v));
  std::sort(t.begin(), t.end());
  return t;
}

}  // namespace

void cls_DBIndex::ADD(const std::string& pKey, const Variant& pID) {
  map_[pKey].push_back(pID);
  ++count_;
}

bool cls_DBIndex::REMOVE(const std::string& pKey, const Variant& pID) {
  auto it = map_.find(pKey);
  if (it == map_.end()) return false;
  auto& ids = it->second;
  // Recently added ids are the likely ones to go: search from the back.
  for (size_t i = ids.size(); i-- > 0;) {
    if (hSameId(ids[i], pID)) {
      ids.erase(ids.begin() + static_cast<ptrdiff_t>(i));
      if (ids.empty()) map_.erase(it);
      --count_;
      return true;
    }
  }
  return false;
}

std::vector<Variant> cls_DBIndex::FINDALL(const std::string& pKey) const {
  auto it = map_.find(pKey);
  return it == map_.end() ? std::vector<Variant>{} : it->second;
}

std::vector<Variant> cls_DBIndex::WALK(bool pRev) const {
  std::vector<Variant> out;
  out.reserve(static_cast<size_t>(count_));
  if (pRev) {
    for (auto it = map_.rbegin(); it != map_.rend(); ++it) out.insert(out.end(), it->second.begin(), it->second.end());
  } else {
    for (const auto& [key, ids] : map_) out.insert(out.end(), ids.begin(), ids.end());
  }
  return out;
}

void cls_DBIndex::VISIT(const std::function<bool(const std::string&, const std::vector<Variant>&)>& pVisit) const {
  for (const auto& [key, ids] : map_)
    if (!pVisit(key, ids)) return;
}

bool cls_DBIndex::SAMEAS(const cls_DBIndex& pOther) const {
  if (count_ != pOther.count_ || map_.size() != pOther.map_.size()) return false;
  auto a = map_.begin();
  auto b = pOther.map_.begin();
  for (; a != map_.end(); ++a, ++b) {
    if (a->first != b->first || a->second.size() != b->second.size()) return false;
    if (hIdTexts(a->second) != hIdTexts(b->second)) return false;
  }
  return true;
}

}  // namespace rykel
