#include "structure/NameTable.h"

#include "structure/SameText.h"

#include <cstring>

namespace rykel {

namespace {
constexpr size_t kBlock = 64 * 1024;
}

NameTable::NameTable() {
  chunks_.emplace_back(new Entry[size_t{1} << kChunkBits]);
  chunks_[0][0] = {"", 0, Hash("")};  // atom 0: the empty name
  count_ = 1;
  slots_.assign(64, Slot{0, 0});
}

uint32_t NameTable::Hash(std::string_view s) {
  // Eight bytes per step: one multiply per word instead of one per byte, so a key's hash costs a
  // few cycles whatever its length. The tail is read as two overlapping words (or bytes), never
  // past the end of the text.
  constexpr uint64_t kMul = 0x9E3779B97F4A7C15ull;
  const char* p = s.data();
  size_t n = s.size();
  uint64_t h = 0xCBF29CE484222325ull ^ (n * kMul);
  auto word = [](const char* q) {
    uint64_t w;
    std::memcpy(&w, q, 8);
    return w;
  };
  for (; n > 8; p += 8, n -= 8) {
    h = (h ^ word(p)) * kMul;
    h ^= h >> 29;
  }
  uint64_t tail = 0;
  if (n >= 4) {
    uint32_t a, b;
    std::memcpy(&a, p, 4);
    std::memcpy(&b, p + n - 4, 4);
    tail = (static_cast<uint64_t>(a) << 32) | b;
  } else if (n > 0) {
    tail = (static_cast<uint64_t>(static_cast<unsigned char>(p[0])) << 16) |
           (static_cast<uint64_t>(static_cast<unsigned char>(p[n / 2])) << 8) | static_cast<unsigned char>(p[n - 1]);
  }
  h = (h ^ tail) * kMul;
  // the tables index by the low bits: fold the well-mixed high bits down
  h ^= h >> 32;
  h *= 0xD6E8FEB86659FD93ull;
  return static_cast<uint32_t>(h ^ (h >> 32));
}

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
