#include "frame/cls_Collection.h"

#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/Text.h"

namespace rykel {

namespace {
constexpr const char* kClass = "cls_Collection";
constexpr int kDuplicateKey = 457;
}  // namespace

void cls_Collection::Add(const Variant& pItem, std::string_view pKey) {
  GuardVoid(kClass, "Add", [&] {
    if (!pKey.empty()) {
      auto [it, added] = keys_.emplace(text::UCase(pKey), items_.size());
      if (!added)
        Raise(kDuplicateKey,
              "This key is already associated with an element of this collection: '" + std::string(pKey) + "'");
    }
    items_.push_back({pItem, std::string(pKey)});
  });
}

size_t cls_Collection::hPosition(const Variant& pIndexOrKey) const {
  if (pIndexOrKey.isString()) {
    auto f = keys_.find(text::UCase(pIndexOrKey.str()));
    if (f == keys_.end())
      Raise(err::kInvalidCall, "No element of this collection has the key '" + std::string(pIndexOrKey.str()) + "'");
    return f->second;
  }
  int32_t i = CLng(pIndexOrKey);
  if (i < 1 || i > Count())
    Raise(err::kOutOfRange, "Subscript out of range: " + std::to_string(i) + " (1 to " + std::to_string(Count()) + ")");
  return static_cast<size_t>(i - 1);
}

Variant cls_Collection::Item(const Variant& pIndexOrKey) const {
  return Guard(kClass, "Item", [&] { return items_[hPosition(pIndexOrKey)].value; });
}

void cls_Collection::Remove(const Variant& pIndexOrKey) {
  GuardVoid(kClass, "Remove", [&] {
    size_t pos = hPosition(pIndexOrKey);
    if (!items_[pos].key.empty()) keys_.erase(text::UCase(items_[pos].key));
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(pos));
    for (size_t i = pos; i < items_.size(); ++i)
      if (!items_[i].key.empty()) keys_[text::UCase(items_[i].key)] = i;
  });
}

bool cls_Collection::Exists(std::string_view pKey) const { return keys_.count(text::UCase(pKey)) > 0; }

std::string cls_Collection::Key(int32_t pIndex) const {
  return Guard(kClass, "Key", [&] { return items_[hPosition(Variant(pIndex))].key; });
}

void cls_Collection::Clear() {
  items_.clear();
  keys_.clear();
}

}  // namespace rykel
