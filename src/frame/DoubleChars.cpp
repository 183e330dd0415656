// DoubleChars: the short path for few decimals, checked by reading back, else std::to_chars.
//
// For k = 0, 1, 2, ... decimals: m = round(|v| * 10^k) is the only candidate while m < 2^50 (the
// value's rounding interval is then narrower than a quarter of one step of 10^-k, and the product's
// own error is far smaller), and m / 10^k, both exact doubles and one correctly rounded division,
// is the double that the text "m with k decimals" reads as. The first k at which it gives v back
// has the fewest significant digits, because more decimals only add digits at the same magnitude.
// The plain text is kept when it is no longer than the exponent form; otherwise, and past 2^50,
// the library decides.
#include "frame/DoubleChars.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace rykel::number {

namespace {

constexpr double kPow10[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
constexpr int kMaxDecimals = static_cast<int>(sizeof kPow10 / sizeof kPow10[0]) - 1;
constexpr double kUnique = 1125899906842624.0;  // 2^50

size_t hLibrary(double v, char* buf) {
  return static_cast<size_t>(std::to_chars(buf, buf + kDoubleChars, v).ptr - buf);
}

int hDigits(uint64_t m) {
  int n = 1;
  while (m >= 10) m /= 10, ++n;
  return n;
}

}  // namespace

size_t ShortestChars(double v, char* buf) {
  const double a = std::fabs(v);
  if (!(a > 0) || !std::isfinite(a)) return hLibrary(v, buf);  // 0, -0, inf, nan
  for (int k = 0; k <= kMaxDecimals; ++k) {
    const double scaled = a * kPow10[k];
    if (scaled >= kUnique) break;
    const auto m = static_cast<uint64_t>(scaled + 0.5);
    if (m == 0 || static_cast<double>(m) / kPow10[k] != a) continue;
    // m has no trailing zero unless k is 0: with one, k - 1 decimals would have matched
    const int digits = hDigits(m);
    int significant = digits;
    if (k == 0)
      for (uint64_t t = m; t % 10 == 0; t /= 10) --significant;
    const int exp10 = digits - 1 - k;  // of the first significant digit
    const int expLen = std::abs(exp10) >= 100 ? 3 : 2;
    const size_t sciLen = static_cast<size_t>(significant + (significant > 1) + 2 + expLen);
    const size_t plainLen = static_cast<size_t>(k == 0 ? digits : digits > k ? digits + 1 : k + 2);
    if (plainLen > sciLen) return hLibrary(v, buf);
    char* q = buf;
    if (v < 0) *q++ = '-';
    char d[24];
    char* e = std::to_chars(d, d + sizeof d, m).ptr;
    if (k == 0) {
      std::memcpy(q, d, static_cast<size_t>(digits));
      q += digits;
    } else if (digits > k) {
      std::memcpy(q, d, static_cast<size_t>(digits - k));
      q += digits - k;
      *q++ = '.';
      std::memcpy(q, e - k, static_cast<size_t>(k));
      q += k;
    } else {
      *q++ = '0';
      *q++ = '.';
      for (int z = digits; z < k; ++z) *q++ = '0';
      std::memcpy(q, d, static_cast<size_t>(digits));
      q += digits;
    }
    return static_cast<size_t>(q - buf);
  }
  return hLibrary(v, buf);
}

}  // namespace rykel::number
