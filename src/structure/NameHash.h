// NameHash: the hash of an item name, behind NameTable::Hash and every name lookup of the structure
// store. Inline, so that the lookups of a read or write by name need no call for it.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace rykel {

// The bytes of a text of 1 to 8 bytes in one word, read as at most two overlapping pieces and
// never past the end; the bytes it adds are zero (neither lower-case, high nor a dot).
[[gnu::always_inline]] inline uint64_t ShortTextWord(const char* p, size_t n) {
  if (n >= 4) {
    uint32_t a, b;
    std::memcpy(&a, p, 4);
    std::memcpy(&b, p + n - 4, 4);
    return (static_cast<uint64_t>(a) << 32) | b;
  }
  return (static_cast<uint64_t>(static_cast<unsigned char>(p[0])) << 16) |
         (static_cast<uint64_t>(static_cast<unsigned char>(p[n / 2])) << 8) | static_cast<unsigned char>(p[n - 1]);
}

[[gnu::always_inline]] inline uint32_t NameHash(std::string_view s) {
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
  const uint64_t tail = n > 0 ? ShortTextWord(p, n) : 0;
  h = (h ^ tail) * kMul;
  // the tables index by the low bits: fold the well-mixed high bits down
  h ^= h >> 32;
  h *= 0xD6E8FEB86659FD93ull;
  // 31 bits: a key's hint (cls_StructureManager) keeps the top bit for the key's kind
  return static_cast<uint32_t>(h ^ (h >> 32)) & 0x7FFFFFFFu;
}

}  // namespace rykel
