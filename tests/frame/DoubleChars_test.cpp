#include "frame/DoubleChars.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

namespace rykel {

namespace {

std::string hOurs(double d) {
  char buf[number::kDoubleChars];
  return std::string(buf, number::ShortestChars(d, buf));
}

std::string hLibrary(double d) {
  char buf[64];
  return std::string(buf, std::to_chars(buf, buf + sizeof buf, d).ptr);
}

}  // namespace

// The short path must give the library's text for every double: both signs of whole numbers,
// few decimals, the plain/exponent switch (1e4 plain, 1e5 exponent; 0.001 plain, 0.0001 not),
// the 2^50 bound and beyond, sums that are not their decimals, denormals and the special values.
TEST(DoubleChars, SameTextAsToChars) {
  const char* const cases =
      "0 -0 1 -1 10 100 1000 1e4 1e5 123450 1e14 1e15 1e16 1e17 999999999999999 1125899906842623 "
      "1125899906842624 1125899906842625 9007199254740993 0.1 0.2 0.30000000000000004 0.3 67.67 -67.67 "
      "2.675 1.005 0.001 0.0001 0.00015 0.0005 1.5e-7 123.456e-5 5e-324 2.2250738585072014e-308 1e-310 "
      "1.7976931348623157e308 inf -inf nan 4.35 0.07 1.1e-3 99.99999999999999 0.10000000000000002 "
      "12345678.9 1234567890.123456";
  for (const char* p = cases; *p;) {
    char* next;
    const double d = std::strtod(p, &next);
    ASSERT_NE(next, p) << p;
    EXPECT_EQ(hOurs(d), hLibrary(d)) << d;
    p = next;
  }
  std::mt19937_64 rng(16);
  for (int i = 0; i < 300000; ++i) {
    // a whole number of up to 16 digits with 0 to 17 decimals, and a random bit pattern
    const int digits = 1 + static_cast<int>(rng() % 16);
    const auto whole = static_cast<double>(rng() % static_cast<uint64_t>(std::pow(10.0, digits)));
    const double d = (rng() & 1 ? -1 : 1) * whole / std::pow(10.0, static_cast<double>(rng() % 18));
    ASSERT_EQ(hOurs(d), hLibrary(d)) << d;
    uint64_t bits = rng();
    double r;
    std::memcpy(&r, &bits, sizeof r);
    ASSERT_EQ(hOurs(r), hLibrary(r)) << bits;
  }
}

}  // namespace rykel
