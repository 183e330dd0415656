// cls_CollectionValues: an ordered list of values without keys (positions 1-based). Use it where
// only the order matters; cls_Collection adds keys, cls_CollectionInt holds whole numbers.
//
//   auto c = std::make_shared<rykel::cls_CollectionValues>();
//   c->Add("a"); c->Add(2);
//   c->Count();   // 2
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frame/Object.h"
#include "frame/Variant.h"

namespace rykel {

class cls_CollectionValues : public Object {
 public:
  std::string TypeName() const override { return "cls_CollectionValues"; }

  // Appends a value (any value, objects included).
  void Add(const Variant& pItem);
  // The value at a 1-based position. Raises 9 outside 1..Count.
  Variant Item(int32_t pIndex) const;
  int32_t Count() const { return static_cast<int32_t>(items_.size()); }
  // Removes the value at a position; the values after it move down. Raises 9.
  void Remove(int32_t pIndex);
  void Clear() { items_.clear(); }

 private:
  std::vector<Variant> items_;
};

}  // namespace rykel
