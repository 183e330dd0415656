// cls_DBIndex: the index of one field: value keys to entry ids, walked in key order.
//
// Keys are the field's INDEXKEY texts, whose byte order is the sort order of the values, so the
// ordered walk is the field's ascending sort. Ids with equal keys keep the order they were added in.
// The database keeps the index in step with every entry change it makes.
//
//   idx.ADD(field.INDEXKEY(v), id);  auto ids = idx.FINDALL(field.INDEXKEY(v));
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "frame/Object.h"
#include "frame/Variant.h"

namespace rykel {

class cls_DBIndex : public Object {
 public:
  std::string TypeName() const override { return "cls_DBIndex"; }

  // Adds the id under the key (an id may stand under several keys).
  void ADD(const std::string& pKey, const Variant& pID);
  // Removes the id from the key; false when it was not there.
  bool REMOVE(const std::string& pKey, const Variant& pID);
  // Every id under the key, in the order they were added; empty when the key is absent.
  std::vector<Variant> FINDALL(const std::string& pKey) const;
  bool EXISTS(const std::string& pKey) const { return map_.count(pKey) != 0; }
  // All ids in key order (descending keys with pRev; ids of one key always in added order).
  std::vector<Variant> WALK(bool pRev = false) const;
  // Calls pVisit(key, ids) per key in ascending order; stops when it returns false.
  void VISIT(const std::function<bool(const std::string&, const std::vector<Variant>&)>& pVisit) const;
  int32_t COUNT() const { return count_; }  // ids
  int32_t KEYCOUNT() const { return static_cast<int32_t>(map_.size()); }
  void CLEAR() {
    map_.clear();
    count_ = 0;
  }
  // True when both hold the same ids under the same keys (order within a key ignored).
  bool SAMEAS(const cls_DBIndex& pOther) const;

 private:
  std::map<std::string, std::vector<Variant>, std::less<>> map_;
  int32_t count_ = 0;
};

}  // namespace rykel
