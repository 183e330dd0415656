#include "frame/NumberFormat.h"

#include <gtest/gtest.h>

#include <cmath>

namespace rykel::number {
namespace {

TEST(NumberFormat, FormatCodes) {
  struct Case {
    double value;
    const char* format;
    Separators sep;
    const char* expected;
  };
  const Case cases[] = {
      // grouping, decimals and the two separator sets
      {9265750.54999998, "#,##0.00", kGerman, "9.265.750,55"},
      {9265750.54999998, "#,##0.00", kEnglish, "9,265,750.55"},
      {1e20, "#,##0", kEnglish, "100,000,000,000,000,000,000"},
      {0, "#,##0.00", kGerman, "0,00"},
      {999.999, "#,##0.00", kGerman, "1.000,00"},  // the carry reaches a new group
      // rounding at 15 significant digits, halves away from zero
      {2.675, "0.00", kGerman, "2,68"},
      {1.005, "0.00", kEnglish, "1.01"},
      {99.5, "0", kGerman, "100"},
      {-0.05, "0.0", kEnglish, "-0.1"},
      {-0.001, "0.00", kEnglish, "0.00"},  // rounds to zero: no sign
      // "#" drops leading and trailing zeros, "0" keeps them
      {0.5, "#.##", kEnglish, ".5"},
      {42, "00000", kGerman, "00042"},
      {1.5, "0.0#", kEnglish, "1.5"},
      {1.25, "0.0#", kEnglish, "1.25"},
      // literals, quotes and escapes between the digits
      {1234, "##-##", kGerman, "12-34"},
      {123456, "##-##", kGerman, "1234-56"},
      {1234.5, "\"EUR \"#,##0.00", kGerman, "EUR 1.234,50"},
      {1234.5, "#,##0.00 €", kGerman, "1.234,50 €"},
      {5, "\\#0", kGerman, "#5"},
      // scaling commas and percent
      {1234567, "#,##0,", kGerman, "1.235"},
      {0.256, "0.0%", kGerman, "25,6%"},
      // sections: the negative one shows no sign, a zero section, a literal-only section
      {-5, "0;(0)", kGerman, "(5)"},
      {-5, "0", kGerman, "-5"},
      {-5, "0;", kGerman, "-5"},
      {0, "0;(0);\"null\"", kGerman, "null"},
      {0, "0;;zero", kGerman, "zero"},
      {-5, "0;\"neg\"", kGerman, "neg"},
      {-2.5, "0.0;[0.0]", kEnglish, "[2.5]"},
      // scientific
      {12345, "0.00E+00", kEnglish, "1.23E+04"},
      {0.000123, "0.00E-00", kEnglish, "1.23E-04"},
      {12345, "0.00E-00", kEnglish, "1.23E04"},
      {9.996, "0.00E+00", kEnglish, "1.00E+01"},
      {12345, "00.0E+0", kEnglish, "12.3E+3"},
      {0, "0.0E+00", kEnglish, "0.0E+00"},
      // named formats and the general form
      {1234.5, "Standard", kGerman, "1.234,50"},
      {0.5, "percent", kGerman, "50,00%"},
      {3, "Fixed", kEnglish, "3.00"},
      {123.456, "", kGerman, "123,456"},
      {123.456, "General Number", kEnglish, "123.456"},
      {NAN, "0.00", kGerman, "NaN"},
      // formats that take the value out of range, and stray quotes and escapes
      {4.9e-324, "0.0E+0", kEnglish, "4.94065645841247E-324"},
      {5, "0\\", kGerman, "5\\"},
      {5, "0\"abc", kGerman, "5abc"},
      {5, "0;\\;x", kGerman, "5"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(Format(c.value, c.format, c.sep), c.expected) << c.value << " with \"" << c.format << "\"";
  EXPECT_EQ(Format(5, "0" + std::string(200, '%')), "Inf");
}

TEST(NumberFormat, Round) {
  struct Case {
    double value;
    int decimals;
    RoundMode mode;
    double expected;
  };
  const Case cases[] = {
      {2.675, 2, RoundMode::Common, 2.68},
      {2.5, 0, RoundMode::Common, 3},
      {-2.5, 0, RoundMode::Common, -3},
      {0.125, 2, RoundMode::Common, 0.13},
      {3.14159, 2, RoundMode::Floor, 3.14},
      {3.14159, 1, RoundMode::Ceil, 3.2},
      {-3.14159, 1, RoundMode::Ceil, -3.1},
      {-3.14159, 1, RoundMode::Floor, -3.2},
      {3.0, 1, RoundMode::Ceil, 3.0},
      {9.99, 1, RoundMode::Common, 10},
      {1e-20, 2, RoundMode::Common, 0},
      {123456789012.5, 0, RoundMode::Common, 123456789013},
      {1.23456, 99, RoundMode::Common, 1.23456},  // more than 15 places: 15
  };
  for (const auto& c : cases)
    EXPECT_DOUBLE_EQ(Round(c.value, c.decimals, c.mode), c.expected) << c.value << " to " << c.decimals;
  EXPECT_TRUE(std::isinf(Round(INFINITY, 2)));
}

}  // namespace
}  // namespace rykel::number
