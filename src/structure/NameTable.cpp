#include "structure/NameTable.h"

#include <cstring>

namespace rykel {

namespace {
constexpr size_t kBlock = 64 * 1024;
}

NameTable::NameTable() {
  names_.push_back({"", 0, Hash("")});
  slots_.assign(64, 0);
}

uint32_t NameTable::Hash(std::string_view s) {
  uint32_t h = 2166136261u;  // FNV-1a
  for (unsigned char c : s) h = (h ^ c) * 16777619u;
  // FNV's low bits depend on the low bits of every step only: mix the high bits in, as the tables
  // index by the low bits
  h ^= h >> 15;
  h *= 0x2c1b3c6du;
  return h ^ (h >> 13);
}

uint32_t NameTable::Find(std::string_view s, uint32_t h) const {
  if (s.empty()) return 0;
  size_t mask = slots_.size() - 1;
  for (size_t i = h & mask;; i = (i + 1) & mask) {
    uint32_t a = slots_[i];
    if (a == 0) return 0;
    const Entry& e = names_[a];
    if (e.hash == h && e.size == s.size() && std::memcmp(e.data, s.data(), s.size()) == 0) return a;
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
    uint32_t a = slots_[i];
    if (a == 0) break;
    const Entry& e = names_[a];
    if (e.hash == h && e.size == s.size() && std::memcmp(e.data, s.data(), s.size()) == 0) return a;
  }
  uint32_t atom = static_cast<uint32_t>(names_.size());
  names_.push_back({hStore(s), static_cast<uint32_t>(s.size()), h});
  slots_[i] = atom;
  if (names_.size() * 2 > slots_.size()) hGrow();
  return atom;
}

void NameTable::hGrow() {
  std::vector<uint32_t> fresh(slots_.size() * 2, 0);
  size_t mask = fresh.size() - 1;
  for (uint32_t a = 1; a < names_.size(); ++a) {
    size_t i = names_[a].hash & mask;
    while (fresh[i] != 0) i = (i + 1) & mask;
    fresh[i] = a;
  }
  slots_.swap(fresh);
}

size_t NameTable::BytesUsed() const {
  size_t chars = 0;
  for (const auto& e : names_) chars += e.size;
  return names_.capacity() * sizeof(Entry) + slots_.capacity() * sizeof(uint32_t) + chars;
}

}  // namespace rykel
