// OLE automation dates: a double counting days since 1899-12-30, the fraction being the time of day.
// Before 1899-12-30 the whole part is negative while the fraction still counts forward in the day.
#pragma once

#include <string>
#include <string_view>

namespace rykel::date {

struct Parts {
  int year = 1899, month = 12, day = 30, hour = 0, minute = 0, second = 0;
};

// False when a part is out of range (month 13, 30 February, hour 24, year outside 100..9999).
bool FromParts(const Parts& p, double& rDate);
Parts ToParts(double oleDate);

// Reads "yyyy-mm-dd", "yyyy-mm-dd HH:MM:SS", "d.m.yyyy", "d.m.yyyy H:MM[:SS]" and "H:MM[:SS]".
// A number such as "1.5" is never a date.
bool Parse(std::string_view text, double& rDate);

// Formats with the classic date format codes: d dd ddd dddd, m mm mmm mmmm (month, or minutes right
// after an hour code or before a seconds code), yy yyyy, h hh, n nn, s ss; H and M read as h and m.
// Day and month names are German. Other characters are copied; text in double quotes is literal.
std::string Format(double oleDate, std::string_view format);

// "yyyy-mm-dd HH:MM:SS": the form the serialized text and ENCODE use.
std::string ToIso(double oleDate);
// The 19 characters of ToIso written into buf, with no allocation, for dates of the years 100 to
// 9999; false (buf untouched) for any other value.
bool ToIsoChars(double oleDate, char* buf);
// The classic text of a date: "dd.mm.yyyy", "HH:MM:SS", or both joined by a blank.
std::string ToText(double oleDate);

double Now();
double Today();

}  // namespace rykel::date
