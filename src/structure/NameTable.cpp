#include "structure/NameTable.h"

#include "structure/NameHash.h"
#include "structure/SameText.h"

#include <atomic>
#include <cstring>

namespace rykel {

namespace {
constexpr size_t kBlock = 64 * 1024;
std::atomic<uint32_t> sTables{0};

// Serials are never given twice: a key may still carry an atom of a table that has ended.
uint32_t hNextSerial() {
  uint32_t n = sTables.load(std::memory_order_relaxed);
  while (n < 255 && !sTables.compare_exchange_weak(n, n + 1, std::memory_order_relaxed)) {}
  return n < 255 ? n + 1 : 0;
}
}  // namespace

NameTable::NameTable() : serial_(hNextSerial()) {
  chunks_.emplace_back(new Entry[size_t{1} << kChunkBits]);
  chunks_[0][0] = {"", 0, Hash("")};  // atom 0: the empty name
  count_ = 1;
  slots_.assign(64, Slot{0, 0});
}

uint32_t NameTable::Hash(std::string_view s) { return NameHash(s); }

uint32_t NameTable::Find(std::string_view s, uint32_t h) const {
  if (s.empty()) return 0;
  size_t mask = slots_.size() - 1;
  for (size_t i = h & mask;; i = (i + 1) & mask) {
    const Slot& sl = slots_[i];
    if (sl.atom == 0) return 0;
    if (sl.hash != h) continue;
    const Entry& e = hEntry(sl.atom);
    if (SameText({e.data, e.size}, s)) return sl.atom;
  }
}

const char* NameTable::hStore(std::string_view s) {
  if (s.size() > kBlock / 4) {  // large names get a block of their own
    blocks_.emplace_back(new char[s.size()]);
    std::memcpy(blocks_.back().get(), s.data(), s.size());
    return blocks_.back().get();
  }
  if (!current_ || blockUsed_ + s.size() > kBlock) {
    blocks_.emplace_back(new char[kBlock]);
    current_ = blocks_.back().get();
    blockUsed_ = 0;
  }
  char* p = current_ + blockUsed_;
  std::memcpy(p, s.data(), s.size());
  blockUsed_ += s.size();
  return p;
}

uint32_t NameTable::Intern(std::string_view s, uint32_t h) {
  if (s.empty()) return 0;
  size_t mask = slots_.size() - 1;
  size_t i = h & mask;
  for (;; i = (i + 1) & mask) {
    const Slot& sl = slots_[i];
    if (sl.atom == 0) break;
    if (sl.hash != h) continue;
    const Entry& e = hEntry(sl.atom);
    if (SameText({e.data, e.size}, s)) return sl.atom;
  }
  const uint32_t atom = count_++;
  if ((atom >> kChunkBits) == chunks_.size()) chunks_.emplace_back(new Entry[size_t{1} << kChunkBits]);
  chunks_[atom >> kChunkBits][atom & ((1u << kChunkBits) - 1)] = {hStore(s), static_cast<uint32_t>(s.size()), h};
  chars_ += s.size();
  slots_[i] = {h, atom};
  if (count_ * 5 > slots_.size() * 4) hGrow();
  return atom;
}

void NameTable::hGrow() {
  std::vector<Slot> fresh(slots_.size() * 2, Slot{0, 0});
  size_t mask = fresh.size() - 1;
  for (const Slot& sl : slots_) {
    if (sl.atom == 0) continue;
    size_t i = sl.hash & mask;
    while (fresh[i].atom != 0) i = (i + 1) & mask;
    fresh[i] = sl;
  }
  slots_.swap(fresh);
}

size_t NameTable::BytesUsed() const {
  return chunks_.size() * (sizeof(Entry) << kChunkBits) + slots_.capacity() * sizeof(Slot) + chars_;
}

}  // namespace rykel
