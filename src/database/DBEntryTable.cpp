#include "database/DBEntryTable.h"

#include <cmath>
#include <cstdlib>

#include "frame/Convert.h"
#include "frame/Text.h"

namespace rykel {

double DBEntryTable::LeadingNumber(std::string_view pText) {
  std::string t(text::LTrim(pText));
  char* end = nullptr;
  double d = std::strtod(t.c_str(), &end);
  return end == t.c_str() ? 0 : d;
}

Variant DBEntryTable::NumberId(double pNumber) {
  if (pNumber == std::floor(pNumber) && pNumber >= -2147483648.0 && pNumber <= 2147483647.0)
    return Variant(static_cast<int32_t>(pNumber));
  return Variant(pNumber);
}

void DBEntryTable::Clear() {
  entries_.clear();
  numeric_map_.clear();
  text_map_.clear();
  holes_ = 0;
  max_id_ = 0;
  max_valid_ = true;
}

void DBEntryTable::SetNumeric(bool pNumeric) {
  if (pNumeric == numeric_) return;
  Clear();
  numeric_ = pNumeric;
}

void DBEntryTable::Reserve(size_t n) {
  entries_.reserve(n);
  if (numeric_) numeric_map_.reserve(n);
  else text_map_.reserve(n);
}

Variant DBEntryTable::NormalizeId(const Variant& pID) const {
  if (numeric_) {
    double d;
    if (NumericValue(pID, d)) return NumberId(d);
    if (pID.isString()) {
      if (ParseNumber(pID.str(), d)) return NumberId(d);
      return NumberId(LeadingNumber(pID.str()));
    }
    return Variant(0);
  }
  // Text tables keep numbers as numbers (the binary form reads ids back so) under their text.
  if (pID.isString() || pID.isNumber()) return pID;
  return Variant(CStr(pID));
}

int32_t* DBEntryTable::hSlot(const Variant& pNormID) {
  if (numeric_) {
    double d;
    if (!NumericValue(pNormID, d)) return nullptr;
    auto it = numeric_map_.find(d);
    return it == numeric_map_.end() ? nullptr : &it->second;
  }
  auto it = text_map_.find(pNormID.isString() ? std::string(pNormID.str()) : CStr(pNormID));
  return it == text_map_.end() ? nullptr : &it->second;
}

const int32_t* DBEntryTable::hSlot(const Variant& pNormID) const {
  return const_cast<DBEntryTable*>(this)->hSlot(pNormID);
}

const DBEntryTable::Entry* DBEntryTable::Find(const Variant& pNormID) const {
  const int32_t* slot = hSlot(pNormID);
  return slot ? &entries_[static_cast<size_t>(*slot)] : nullptr;
}

void DBEntryTable::Append(Variant pNormID, StructurePtr pData) {
  int32_t slot = static_cast<int32_t>(entries_.size());
  if (numeric_) {
    double d = 0;
    NumericValue(pNormID, d);
    numeric_map_.emplace(d, slot);
    if (max_valid_ && (entries_.size() == static_cast<size_t>(holes_) || d > max_id_)) max_id_ = d;
  } else {
    text_map_.emplace(pNormID.isString() ? std::string(pNormID.str()) : CStr(pNormID), slot);
  }
  entries_.push_back({std::move(pNormID), std::move(pData)});
}

StructurePtr DBEntryTable::Put(const Variant& pNormID, StructurePtr pData) {
  if (int32_t* slot = hSlot(pNormID)) {
    StructurePtr old = std::move(entries_[static_cast<size_t>(*slot)].data);
    entries_[static_cast<size_t>(*slot)].data = std::move(pData);
    return old;
  }
  Append(pNormID, std::move(pData));
  return nullptr;
}

bool DBEntryTable::Remove(const Variant& pNormID, StructurePtr* rOld) {
  int32_t* slot = hSlot(pNormID);
  if (!slot) return false;
  Entry& e = entries_[static_cast<size_t>(*slot)];
  if (rOld) *rOld = std::move(e.data);
  e.data.reset();
  e.id = Variant();
  if (numeric_) {
    double d = 0;
    NumericValue(pNormID, d);
    if (d >= max_id_) max_valid_ = false;
    numeric_map_.erase(d);
  } else {
    text_map_.erase(pNormID.isString() ? std::string(pNormID.str()) : CStr(pNormID));
  }
  ++holes_;
  if (holes_ > 64 && holes_ * 2 > static_cast<int32_t>(entries_.size())) hCompact();
  return true;
}

void DBEntryTable::hCompact() {
  if (holes_ == 0) return;
  size_t out = 0;
  for (size_t i = 0; i < entries_.size(); ++i) {
    if (entries_[i].id.isEmpty()) continue;
    if (out != i) {
      entries_[out] = std::move(entries_[i]);
      int32_t* slot = hSlot(entries_[out].id);
      *slot = static_cast<int32_t>(out);
    }
    ++out;
  }
  entries_.resize(out);
  holes_ = 0;
}

const std::vector<DBEntryTable::Entry>& DBEntryTable::Entries() {
  hCompact();
  return entries_;
}

int32_t DBEntryTable::Position(const Variant& pNormID) {
  hCompact();
  const int32_t* slot = hSlot(pNormID);
  return slot ? *slot : -1;
}

double DBEntryTable::MaxId() {
  if (!max_valid_) {
    max_id_ = 0;
    bool first = true;
    for (const auto& [d, slot] : numeric_map_)
      if (first || d > max_id_) {
        max_id_ = d;
        first = false;
      }
    max_valid_ = true;
  }
  return Count() ? max_id_ : 0;
}

}  // namespace rykel
