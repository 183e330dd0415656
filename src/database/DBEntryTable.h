// DBEntryTable: the entries of a database: pairs of an id and a structure of field values, in
// table order, with lookup by id.
//
// Invariants:
// - Ids are normalised by NormalizeId: a number (Long, or Double past 32 bits) in a numeric table,
//   a String (or a number, kept under its text) otherwise. Ids are unique; text ids compare
//   exactly (case matters).
// - Removal leaves a hole (an Empty id) and counts it; holes are squeezed out, and the lookup
//   rebuilt, when positions are asked for (Entries, Position, IdAt) or holes outnumber entries.
//   So removing many entries costs O(n) in all, not O(n) each.
// - Table order is the order of first addition; replacing an entry keeps its place.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "frame/Variant.h"
#include "structure/cls_Structure.h"

namespace rykel {

class DBEntryTable {
 public:
  struct Entry {
    Variant id;         // Empty for a hole
    StructurePtr data;  // may be null: an entry without a structure
  };

  void Clear();
  // Numeric or text ids; changing it empties the table.
  void SetNumeric(bool pNumeric);
  bool Numeric() const { return numeric_; }
  // The id as the table keeps it: numeric tables take the leading number of a text ("12abc" 12,
  // "a.b" 0); text tables the text form.
  Variant NormalizeId(const Variant& pID) const;
  // A number as an id: a Long when it is whole and fits 32 bits, else the Double.
  static Variant NumberId(double pNumber);
  // The leading number of a text, as the classic Val reads it ("12abc" 12, "a" 0, " -3.5x" -3.5).
  static double LeadingNumber(std::string_view pText);

  int32_t Count() const { return static_cast<int32_t>(entries_.size()) - holes_; }
  // The entry of a normalised id, or null.
  const Entry* Find(const Variant& pNormID) const;
  // Adds or replaces. Returns the structure it replaced (null when the id was new).
  StructurePtr Put(const Variant& pNormID, StructurePtr pData);
  // Appends an id known to be new (loading). REQUIRES: the id is not in the table.
  void Append(Variant pNormID, StructurePtr pData);
  // Removes; returns the removed structure through rOld. False when absent.
  bool Remove(const Variant& pNormID, StructurePtr* rOld);

  // The entries in table order, without holes.
  const std::vector<Entry>& Entries();
  // 0-based position of an id in Entries(), -1 when absent.
  int32_t Position(const Variant& pNormID);
  // Largest numeric id (0 when none).
  double MaxId();
  void Reserve(size_t n);

 private:
  int32_t* hSlot(const Variant& pNormID);
  const int32_t* hSlot(const Variant& pNormID) const;
  void hCompact();

  std::vector<Entry> entries_;
  std::unordered_map<double, int32_t> numeric_map_;
  std::unordered_map<std::string, int32_t> text_map_;
  int32_t holes_ = 0;
  bool numeric_ = true;
  double max_id_ = 0;
  bool max_valid_ = true;
};

}  // namespace rykel
