#include "frame/cls_CollectionInt.h"

#include "frame/Convert.h"
#include "frame/Error.h"

namespace rykel {

namespace {
constexpr const char* kClass = "cls_CollectionInt";

void hCheck(int32_t i, int32_t count) {
  if (i < 1 || i > count)
    Raise(err::kOutOfRange, "Subscript out of range: " + std::to_string(i) + " (1 to " + std::to_string(count) + ")");
}
}  // namespace

void cls_CollectionInt::Add(const Variant& pItem) {
  GuardVoid(kClass, "Add", [&] {
    int32_t v = CLng(pItem);
    items_.push_back(v);
    ++counts_[v];
  });
}

int32_t cls_CollectionInt::Item(int32_t pIndex) const {
  return Guard(kClass, "Item", [&] {
    hCheck(pIndex, Count());
    return items_[static_cast<size_t>(pIndex - 1)];
  });
}

void cls_CollectionInt::Remove(int32_t pIndex) {
  GuardVoid(kClass, "Remove", [&] {
    hCheck(pIndex, Count());
    int32_t v = items_[static_cast<size_t>(pIndex - 1)];
    if (--counts_[v] == 0) counts_.erase(v);
    items_.erase(items_.begin() + (pIndex - 1));
  });
}

void cls_CollectionInt::Clear() {
  items_.clear();
  counts_.clear();
}

}  // namespace rykel
