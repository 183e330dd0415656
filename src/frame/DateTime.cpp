#include "frame/DateTime.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace rykel::date {

namespace {

constexpr const char* kMonths[] = {"Januar", "Februar", "März",      "April",   "Mai",      "Juni",
                                   "Juli",   "August",  "September", "Oktober", "November", "Dezember"};
constexpr const char* kDays[] = {"Sonntag", "Montag", "Dienstag", "Mittwoch", "Donnerstag", "Freitag", "Samstag"};

bool hLeap(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

int hDaysInMonth(int y, int m) {
  static const int d[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return (m == 2 && hLeap(y)) ? 29 : d[m - 1];
}

// Days from 1970-01-01 (proleptic Gregorian); Howard Hinnant's algorithm.
long hDaysFromCivil(long y, unsigned m, unsigned d) {
  y -= m <= 2;
  const long era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<long>(doe) - 719468;
}

void hCivilFromDays(long z, int& y, int& m, int& d) {
  z += 719468;
  const long era = (z >= 0 ? z : z - 146096) / 146097;
  const unsigned doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const long yy = static_cast<long>(yoe) + era * 400;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  y = static_cast<int>(yy + (m <= 2));
}

constexpr long kEpochOffset = 25569;  // 1970-01-01 as an OLE date

// Reads 1..maxDigits digits at s[i]; advances i.
bool hNum(std::string_view s, size_t& i, int minDigits, int maxDigits, int& out) {
  int n = 0, v = 0;
  while (i < s.size() && n < maxDigits && s[i] >= '0' && s[i] <= '9') {
    v = v * 10 + (s[i] - '0');
    ++i;
    ++n;
  }
  if (n < minDigits) return false;
  out = v;
  return true;
}

bool hTime(std::string_view s, size_t& i, Parts& p) {
  if (!hNum(s, i, 1, 2, p.hour) || i >= s.size() || s[i] != ':') return false;
  ++i;
  if (!hNum(s, i, 2, 2, p.minute)) return false;
  if (i < s.size() && s[i] == ':') {
    ++i;
    if (!hNum(s, i, 2, 2, p.second)) return false;
  }
  return true;
}

}  // namespace

bool FromParts(const Parts& p, double& rDate) {
  if (p.year < 100 || p.year > 9999 || p.month < 1 || p.month > 12 || p.day < 1 ||
      p.day > hDaysInMonth(p.year, p.month) || p.hour < 0 || p.hour > 23 || p.minute < 0 || p.minute > 59 ||
      p.second < 0 || p.second > 59)
    return false;
  long days = hDaysFromCivil(p.year, p.month, p.day) + kEpochOffset;
  double frac = (p.hour * 3600 + p.minute * 60 + p.second) / 86400.0;
  rDate = days >= 0 ? days + frac : days - frac;
  return true;
}

Parts ToParts(double ole) {
  Parts p;
  if (!std::isfinite(ole)) return p;
  double whole = std::trunc(ole);
  double frac = std::fabs(ole - whole);
  long secs = std::lround(frac * 86400.0);
  long days = static_cast<long>(whole);
  if (secs >= 86400) {  // rounding reached the next day
    secs -= 86400;
    days += ole >= 0 ? 1 : -1;
  }
  hCivilFromDays(days - kEpochOffset, p.year, p.month, p.day);
  p.hour = static_cast<int>(secs / 3600);
  p.minute = static_cast<int>(secs / 60 % 60);
  p.second = static_cast<int>(secs % 60);
  return p;
}

bool Parse(std::string_view s, double& rDate) {
  while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
  while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
  Parts p;
  size_t i = 0;
  int a = 0;
  if (!hNum(s, i, 1, 4, a)) return false;
  if (i < s.size() && s[i] == '-' && i == 4) {  // yyyy-mm-dd [HH:MM[:SS]]
    p.year = a;
    ++i;
    if (!hNum(s, i, 1, 2, p.month) || i >= s.size() || s[i] != '-') return false;
    ++i;
    if (!hNum(s, i, 1, 2, p.day)) return false;
  } else if (i < s.size() && s[i] == '.' && i <= 2) {  // d.m.yyyy [H:MM[:SS]]
    p.day = a;
    ++i;
    if (!hNum(s, i, 1, 2, p.month) || i >= s.size() || s[i] != '.') return false;
    ++i;
    size_t y0 = i;
    if (!hNum(s, i, 4, 4, p.year) || i - y0 != 4) return false;
  } else if (i < s.size() && s[i] == ':' && i <= 2) {  // H:MM[:SS]
    i = 0;
    if (!hTime(s, i, p) || i != s.size()) return false;
    if (p.hour > 23 || p.minute > 59 || p.second > 59) return false;
    rDate = (p.hour * 3600 + p.minute * 60 + p.second) / 86400.0;
    return true;
  } else {
    return false;
  }
  if (i < s.size()) {
    if (s[i] != ' ' && s[i] != 'T') return false;
    while (i < s.size() && (s[i] == ' ' || s[i] == 'T')) ++i;
    if (!hTime(s, i, p) || i != s.size()) return false;
  }
  return FromParts(p, rDate);
}

std::string Format(double ole, std::string_view f) {
  Parts p = ToParts(ole);
  long days = static_cast<long>(std::trunc(ole)) - kEpochOffset;
  int weekday = static_cast<int>(((days % 7) + 7 + 4) % 7);  // 1970-01-01 was a Thursday
  std::string out;
  char buf[16];
  bool afterHour = false;
  for (size_t i = 0; i < f.size();) {
    char c = f[i];
    char lc = (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
    size_t run = 1;
    while (i + run < f.size() && (f[i + run] == c || f[i + run] == lc || f[i + run] == lc - 32)) ++run;
    if (c == '"') {
      size_t end = f.find('"', i + 1);
      if (end == std::string_view::npos) end = f.size();
      out.append(f.substr(i + 1, end - i - 1));
      i = end + 1;
      continue;
    }
    switch (lc) {
      case 'd':
        if (run >= 4) out += kDays[weekday];
        else if (run == 3) out.append(kDays[weekday], 2);
        else {
          std::snprintf(buf, sizeof buf, run == 2 ? "%02d" : "%d", p.day);
          out += buf;
        }
        break;
      case 'm': {
        // minutes right after an hour code, or right before a seconds code
        size_t j = i + run;
        while (j < f.size() && (f[j] == ':' || f[j] == ' ')) ++j;
        bool minutes = afterHour || (j < f.size() && (f[j] == 's' || f[j] == 'S'));
        if (minutes && run <= 2) {
          std::snprintf(buf, sizeof buf, run == 2 ? "%02d" : "%d", p.minute);
          out += buf;
        } else if (run >= 4) out += kMonths[p.month - 1];
        else if (run == 3) out.append(std::string(kMonths[p.month - 1]).substr(0, 3));
        else {
          std::snprintf(buf, sizeof buf, run == 2 ? "%02d" : "%d", p.month);
          out += buf;
        }
        afterHour = false;
        break;
      }
      case 'y':
        if (run >= 3) std::snprintf(buf, sizeof buf, "%04d", p.year);
        else std::snprintf(buf, sizeof buf, "%02d", p.year % 100);
        out += buf;
        break;
      case 'h':
        std::snprintf(buf, sizeof buf, run >= 2 ? "%02d" : "%d", p.hour);
        out += buf;
        afterHour = true;
        i += run;
        continue;
      case 'n':
        std::snprintf(buf, sizeof buf, run >= 2 ? "%02d" : "%d", p.minute);
        out += buf;
        break;
      case 's':
        std::snprintf(buf, sizeof buf, run >= 2 ? "%02d" : "%d", p.second);
        out += buf;
        break;
      default:
        out.append(f.substr(i, run));
        i += run;
        continue;  // separators keep the "after hour" state
    }
    if (lc != 'm') afterHour = false;
    i += run;
  }
  return out;
}

bool ToIsoChars(double ole, char* buf) {
  if (!(ole >= -657434.0 && ole < 2958466.0)) return false;  // 0100-01-01 .. 9999-12-31
  Parts d = ToParts(ole);
  auto two = [](char* p, int v) {
    p[0] = static_cast<char>('0' + v / 10 % 10);
    p[1] = static_cast<char>('0' + v % 10);
  };
  two(buf, d.year / 100);
  two(buf + 2, d.year % 100);
  buf[4] = '-';
  two(buf + 5, d.month);
  buf[7] = '-';
  two(buf + 8, d.day);
  buf[10] = ' ';
  two(buf + 11, d.hour);
  buf[13] = ':';
  two(buf + 14, d.minute);
  buf[16] = ':';
  two(buf + 17, d.second);
  return true;
}

std::string ToIso(double ole) {
  char buf[19];
  if (ToIsoChars(ole, buf)) return std::string(buf, 19);
  return Format(ole, "yyyy-mm-dd hh:nn:ss");
}

std::string ToText(double ole) {
  double whole = std::trunc(ole);
  bool hasTime = std::fabs(ole - whole) > 0.5 / 86400.0;
  if (whole == 0 && hasTime) return Format(ole, "hh:nn:ss");
  if (!hasTime) return Format(ole, "dd.mm.yyyy");
  return Format(ole, "dd.mm.yyyy hh:nn:ss");
}

double Now() {
  std::time_t t = std::time(nullptr);
  std::tm tm{};
  localtime_r(&t, &tm);
  Parts p{tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
  double d = 0;
  FromParts(p, d);
  return d;
}

double Today() { return std::trunc(Now()); }

}  // namespace rykel::date
