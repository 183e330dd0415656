// SameText: whether two texts are equal, for the name comparisons of lookups (the name table, a
// node's name index). Names are short, so up to 16 bytes are compared as at most two overlapping
// words here instead of in a library call. No byte past either text is read.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace rykel {

inline bool SameText(std::string_view a, std::string_view b) {
  const size_t n = a.size();
  if (n != b.size()) return false;
  const char* p = a.data();
  const char* q = b.data();
  if (n > 16) return std::memcmp(p, q, n) == 0;
  auto same = [&](size_t at, auto word) {
    decltype(word) x, y;
    std::memcpy(&x, p + at, sizeof x);
    std::memcpy(&y, q + at, sizeof y);
    return x == y;
  };
  if (n >= 8) return same(0, uint64_t{}) && same(n - 8, uint64_t{});
  if (n >= 4) return same(0, uint32_t{}) && same(n - 4, uint32_t{});
  for (size_t i = 0; i < n; ++i)
    if (p[i] != q[i]) return false;
  return true;
}

}  // namespace rykel
