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
  std::string_view Name(uint32_t atom) const {
    const Entry& e = hEntry(atom);
    return {e.data, e.size};
  }
  uint32_t HashOf(uint32_t atom) const { return hEntry(atom).hash; }
  size_t Count() const { return count_; }
  size_t BytesUsed() const;
  // A number no other table of the process ever has (1 to 255; 0 for tables made after those):
  // a key text may note its atom in this table under it (cls_StructureManager's key hints).
  uint32_t Serial() const { return serial_; }

 private:
  struct Entry {
    const char* data;
    uint32_t size;
    uint32_t hash;
  };
  // Probe slots carry the hash, so a probe reads entries only for a likely match.
  struct Slot {
    uint32_t hash;
    uint32_t atom;  // 0 = empty
  };
  // Entries sit in fixed chunks: no doubling slack, and an entry never moves.
  static constexpr uint32_t kChunkBits = 12;
  const Entry& hEntry(uint32_t atom) const { return chunks_[atom >> kChunkBits][atom & ((1u << kChunkBits) - 1)]; }
  void hGrow();
  const char* hStore(std::string_view s);

  std::vector<std::unique_ptr<Entry[]>> chunks_;
  uint32_t count_ = 0;
  std::vector<Slot> slots_;  // open addressing, linear probing, at most 80% full
  std::vector<std::unique_ptr<char[]>> blocks_;
  char* current_ = nullptr;  // the block small names are appended to
  size_t blockUsed_ = 0;
  size_t chars_ = 0;
  uint32_t serial_;
};

}  // namespace rykel
