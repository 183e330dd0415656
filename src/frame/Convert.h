// Conversions of Variant values, with the classic runtime's rules. The one place for them.
//
// Text of numbers uses "." as the decimal separator; reading numbers accepts "," or ".".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/Variant.h"

namespace rykel {

// Text form: Empty and Null give "", Boolean "True"/"False", dates "dd.mm.yyyy[ HH:MM:SS]",
// numbers in the general format (up to 15 significant digits for Double, 7 for Single).
// An object gives "" (structures have their own text forms).
std::string CStr(const Variant& v);

// Numbers. Empty is 0, True is -1, a date is its serial number, a string must be numeric.
// Raises 13 (type mismatch) for other values, 94 for Null, 6 (overflow) when out of range.
double CDbl(const Variant& v);
int32_t CLng(const Variant& v);  // rounds half to even
int16_t CInt(const Variant& v);
int64_t CCur(const Variant& v);  // scaled by 10,000
// Numbers are true when not 0; strings "True"/"False" (any case) or numeric. Raises 13 otherwise.
bool CBool(const Variant& v);
// Dates from numbers, dates and date texts (see date::Parse). Raises 13 otherwise.
double CDate(const Variant& v);

// True for numbers, Boolean, Empty and numeric strings.
bool IsNumeric(const Variant& v);
// A whole numeric text: optional blanks and sign, digits with at most one "," or "." decimal
// separator (thousands grouping with the other one allowed), an optional exponent.
bool ParseNumber(std::string_view s, double& rOut);
bool IsNumericText(std::string_view s);

// General number text: "1.5", "-3", "1E+20", "1E-05"; digits is 15 for Double, 7 for Single.
std::string NumberText(double d, int digits = 15);
std::string CurrencyText(int64_t scaled);

// The value as Double for comparisons when it is a number, Boolean or Date (else false).
bool NumericValue(const Variant& v, double& rOut);

}  // namespace rykel
