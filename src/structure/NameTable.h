// NameTable: the item names of one structure manager, interned.
//
// Every item name is stored upper-cased once; items hold its 32-bit atom, so comparing names is
// comparing integers and a node's name index hashes integers. Atom 0 is the empty name.
// Atoms live as long as the table (names are small and repeat across nodes: field ids, keys).
// Views returned by Name() stay valid for the table's lifetime.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace rykel {

class NameTable {
 public:
  NameTable();
  // The hash every lookup of a name uses: callers that look a name up in several places (the
  // table, a node's name index) compute it once and pass it on.
  static uint32_t Hash(std::string_view s);
  // The atom of an upper-cased name, or 0 when it was never interned (reads never intern).
  uint32_t Find(std::string_view upper) const { return Find(upper, Hash(upper)); }
  uint32_t Find(std::string_view upper, uint32_t hash) const;
  // The atom of an upper-cased name, interning it when new.
  uint32_t Intern(std::string_view upper) { return Intern(upper, Hash(upper)); }
  uint32_t Intern(std::string_view upper, uint32_t hash);
  uint32_t HashOf(uint32_t atom) const { return names_[atom].hash; }
  std::string_view Name(uint32_t atom) const { return {names_[atom].data, names_[atom].size}; }
  size_t Count() const { return names_.size(); }
  size_t BytesUsed() const;

 private:
  struct Entry {
    const char* data;
    uint32_t size;
    uint32_t hash;
  };
  void hGrow();
  const char* hStore(std::string_view s);

  std::vector<Entry> names_;
  std::vector<uint32_t> slots_;  // open addressing, linear probing; 0 = empty, else atom
  std::vector<std::unique_ptr<char[]>> blocks_;
  char* current_ = nullptr;  // the block small names are appended to
  size_t blockUsed_ = 0;
};

}  // namespace rykel
