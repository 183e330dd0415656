// Number text by the classic Format codes, and decimal rounding. The one place for both.
//
// A number is read at 15 significant digits (as its text form shows it) before it is rounded, so
// 2.675 rounds to 2.68 and 9265750.54999998 to 9265750.55: the binary noise behind the 15th digit
// never decides a rounding. Halves round away from zero.
//
// Format codes, in up to three sections "positive;negative;zero" (an empty negative or zero section
// uses the first one; a negative number shown by the first section gets a leading "-", unless it
// rounds to zero; the negative section shows the number without sign):
//   0        a digit, shown even when it is a leading or trailing zero
//   #        a digit, left out when it is a leading zero or a trailing zero of the fraction
//   .        the decimal point (the first one; written as the decimal separator)
//   ,        between digit placeholders: thousands grouping; right after the last digit
//            placeholder before the point: divides by 1,000 (once per comma)
//   %        multiplies by 100 and is shown
//   E+ E-    scientific notation ("0.00E+00"); E+ always shows the exponent's sign, E- only "-"
//   "text"   literal text; \c the literal character c; any other character is copied
// A section without digit placeholders is shown as its literal text alone. Named formats: "General Number", "Fixed"
// (0.00), "Standard" (#,##0.00), "Percent" (0.00%), "Scientific" (0.00E+00). The separators are the caller's: German
// "1.234,5" or English "1,234.5".
//
//   rykel::number::Format(9265750.54999998, "#,##0.00")                        // "9.265.750,55"
//   rykel::number::Format(-0.5, "0.0%;(0.0%)", rykel::number::kEnglish)      // "(50.0%)"
#pragma once

#include <string>
#include <string_view>

namespace rykel::number {

struct Separators {
  char decimal;
  char group;
};
constexpr Separators kGerman{',', '.'};
constexpr Separators kEnglish{'.', ','};

// How ROUND leaves the digits it drops: halves away from zero, or towards +infinity / -infinity.
enum class RoundMode { Common, Ceil, Floor };

// pValue written with the format codes above. An empty format gives the general number text (up
// to 15 significant digits) with the decimal separator of pSep. Not finite: "NaN", "Inf", "-Inf".
std::string Format(double pValue, std::string_view pFormat, const Separators& pSep = kGerman);

// pValue rounded to pDecimals places (0 to 15; others are taken as the nearest of them).
double Round(double pValue, int pDecimals, RoundMode pMode = RoundMode::Common);

}  // namespace rykel::number
