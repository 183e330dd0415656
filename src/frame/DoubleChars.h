// DoubleChars: the shortest text that reads back as the same double, the one place that writes it.
//
// The text is exactly std::to_chars(first, last, value)'s: the fewest significant digits that read
// back to the value (the nearest such digits when several do), written plain ("67.67", "1000",
// "0.001") or in exponent form ("1e+15", "1.5e-07"), whichever is shorter, plain on a tie; "-0",
// "inf", "-inf" and "nan" as to_chars gives them. The library's to_chars costs some six hundred
// instructions a value; numbers that are whole or have a few decimals, the common ones in data,
// take a short exact path here.
//
//   char buf[number::kDoubleChars];
//   std::string_view t(buf, number::ShortestChars(67.67, buf));  // "67.67"
#pragma once

#include <cstddef>

namespace rykel::number {

// Room ShortestChars needs.
constexpr size_t kDoubleChars = 32;

// Writes the shortest text of pValue into buf; returns its length.
// REQUIRES: buf holds at least kDoubleChars characters.
size_t ShortestChars(double pValue, char* buf);

}  // namespace rykel::number
