// cls_CollectionInt: an ordered list of 32-bit whole numbers (ids, counters), positions 1-based.
// Add converts its argument to a whole number; Exists answers in O(1) whether a number is held.
//
//   auto c = std::make_shared<rykel::cls_CollectionInt>();
//   c->Add(7); c->Add("8");
//   c->Exists(8);   // true
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "frame/Object.h"
#include "frame/Variant.h"

namespace rykel {

class cls_CollectionInt : public Object {
 public:
  std::string TypeName() const override { return "cls_CollectionInt"; }

  // Appends the value as a whole number (rounded half to even). Raises 13 for a value that is not
  // numeric, 6 for one outside 32 bits.
  void Add(const Variant& pItem);
  // The number at a 1-based position. Raises 9 outside 1..Count.
  int32_t Item(int32_t pIndex) const;
  int32_t Count() const { return static_cast<int32_t>(items_.size()); }
  // Removes the number at a position; the numbers after it move down. Raises 9.
  void Remove(int32_t pIndex);
  // True when the list holds the number.
  bool Exists(int32_t pValue) const { return counts_.count(pValue) > 0; }
  void Clear();

 private:
  std::vector<int32_t> items_;
  std::unordered_map<int32_t, int32_t> counts_;  // number -> how often it is held
};

}  // namespace rykel
