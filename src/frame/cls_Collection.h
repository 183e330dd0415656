// cls_Collection: an ordered list of values with optional text keys, as hosts know the classic
// Collection object. Positions are 1-based; keys are compared case-insensitively and are unique.
// Lookups by key are O(1); Remove is O(n) (positions after the removed element move down).
//
//   auto c = std::make_shared<rykel::cls_Collection>();
//   c->Add("Anna", "first");
//   rykel::CStr(c->Item("FIRST"));   // "Anna"
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "frame/Object.h"
#include "frame/Variant.h"

namespace rykel {

class cls_Collection : public Object {
 public:
  std::string TypeName() const override { return "cls_Collection"; }

  // Appends pItem, under pKey when it is not empty. Raises 457 when the key is in use already.
  void Add(const Variant& pItem, std::string_view pKey = "");
  // The element at a 1-based position (a number) or under a key (a text).
  // Raises 9 for a position outside 1..Count, 5 for an unknown key.
  Variant Item(const Variant& pIndexOrKey) const;
  int32_t Count() const { return static_cast<int32_t>(items_.size()); }
  // Removes the element at a position or under a key; raises as Item does.
  void Remove(const Variant& pIndexOrKey);
  bool Exists(std::string_view pKey) const;
  // The key of the element at a 1-based position, as it was given ("" for none). Raises 9.
  std::string Key(int32_t pIndex) const;
  void Clear();

 private:
  struct Entry {
    Variant value;
    std::string key;
  };
  size_t hPosition(const Variant& pIndexOrKey) const;

  std::vector<Entry> items_;
  std::unordered_map<std::string, size_t> keys_;  // upper-cased key -> position (0-based)
};

}  // namespace rykel
