#include "frame/cls_CollectionValues.h"

#include "frame/Error.h"

namespace rykel {

namespace {
constexpr const char* kClass = "cls_CollectionValues";

void hCheck(int32_t i, int32_t count) {
  if (i < 1 || i > count)
    Raise(err::kOutOfRange, "Subscript out of range: " + std::to_string(i) + " (1 to " + std::to_string(count) + ")");
}
}  // namespace

void cls_CollectionValues::Add(const Variant& pItem) { items_.push_back(pItem); }

Variant cls_CollectionValues::Item(int32_t pIndex) const {
  return Guard(kClass, "Item", [&] {
    hCheck(pIndex, Count());
    return items_[static_cast<size_t>(pIndex - 1)];
  });
}

void cls_CollectionValues::Remove(int32_t pIndex) {
  GuardVoid(kClass, "Remove", [&] {
    hCheck(pIndex, Count());
    items_.erase(items_.begin() + (pIndex - 1));
  });
}

}  // namespace rykel
