#include "frame/Convert.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Text.h"

namespace rykel {

namespace {

[[noreturn]] void hTypeMismatch() { Raise(err::kTypeMismatch, "Type mismatch"); }

double hRoundEven(double d) { return std::nearbyint(d); }  // default rounding mode: half to even

}  // namespace

std::string NumberText(double d, int digits) {
  if (std::isnan(d)) return "NaN";
  if (std::isinf(d)) return d > 0 ? "Inf" : "-Inf";
  if (d == 0) return "0";
  char buf[40];
  std::snprintf(buf, sizeof buf, "%.*E", digits - 1, d);
  // buf: [-]D.DDDDE[+-]XX -> mantissa digits and exponent
  std::string s(buf);
  size_t e = s.find('E');
  int exp = std::atoi(s.c_str() + e + 1);
  std::string mant = s.substr(0, e);
  bool neg = mant[0] == '-';
  if (neg) mant.erase(0, 1);
  std::string digitsStr;
  for (char c : mant)
    if (c != '.') digitsStr += c;
  while (digitsStr.size() > 1 && digitsStr.back() == '0') digitsStr.pop_back();
  std::string out = neg ? "-" : "";
  // Plain notation for exponents -5..digits-1, scientific outside (as the classic runtime does).
  if (exp >= digits || exp < -5) {
    out += digitsStr.substr(0, 1);
    if (digitsStr.size() > 1) out += "." + digitsStr.substr(1);
    char eb[16];
    std::snprintf(eb, sizeof eb, "E%c%02d", exp < 0 ? '-' : '+', std::abs(exp));
    return out + eb;
  }
  if (exp < 0) {
    out += "0." + std::string(static_cast<size_t>(-exp - 1), '0') + digitsStr;
  } else if (static_cast<int>(digitsStr.size()) <= exp + 1) {
    out += digitsStr + std::string(static_cast<size_t>(exp + 1 - digitsStr.size()), '0');
  } else {
    out += digitsStr.substr(0, exp + 1) + "." + digitsStr.substr(exp + 1);
  }
  return out;
}

std::string CurrencyText(int64_t scaled) {
  bool neg = scaled < 0;
  uint64_t a = neg ? 0 - static_cast<uint64_t>(scaled) : static_cast<uint64_t>(scaled);
  std::string out = (neg ? "-" : "") + std::to_string(a / 10000);
  uint64_t frac = a % 10000;
  if (frac) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "%04llu", static_cast<unsigned long long>(frac));
    std::string f(buf);
    while (f.back() == '0') f.pop_back();
    out += "." + f;
  }
  return out;
}

std::string CStr(const Variant& v) {
  switch (v.type()) {
    case VarType::Empty:
    case VarType::Null:
    case VarType::Object: return {};
    case VarType::Integer: return std::to_string(v.rawInteger());
    case VarType::Long:
    case VarType::Error: return std::to_string(v.rawLong());
    case VarType::Single: return NumberText(v.rawSingle(), 7);
    case VarType::Double: return NumberText(v.rawDouble(), 15);
    case VarType::Currency: return CurrencyText(v.rawCurrency());
    case VarType::Date: return date::ToText(v.rawDouble());
    case VarType::String: return std::string(v.str());
    case VarType::Boolean: return v.rawBool() ? "True" : "False";
  }
  return {};
}

bool ParseNumber(std::string_view s, double& rOut) {
  // Plain digits, the common case (ids, counts, amounts), are read straight, with at most one
  // separator between digits (then the decimal one): up to 15 digits are exact, and so is their
  // quotient by a power of ten up to 10^15, the correctly rounded value strtod would give.
  if (!s.empty() && s.size() <= 16) {
    constexpr double kPowers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    int64_t v = 0;
    size_t i = 0, sep = std::string_view::npos;
    for (; i < s.size(); ++i) {
      const char c = s[i];
      if (c >= '0' && c <= '9') v = v * 10 + (c - '0');
      else if ((c == '.' || c == ',') && sep == std::string_view::npos && i > 0 && i + 1 < s.size()) sep = i;
      else break;
    }
    if (i == s.size() && (sep != std::string_view::npos || s.size() <= 15)) {
      rOut =
          sep == std::string_view::npos ? static_cast<double>(v) : static_cast<double>(v) / kPowers[s.size() - 1 - sep];
      return true;
    }
  }
  // So are plain decimals, "-12.75": digits on both sides of one ".", nothing else; read as the
  // general way below reads them (correctly rounded), without copying the text first.
  if (s.size() >= 3 && s.size() <= 32) {
    size_t i = s[0] == '-' ? 1 : 0, intDigits = 0, fracDigits = 0;
    for (; i < s.size() && s[i] >= '0' && s[i] <= '9'; ++i) ++intDigits;
    if (i < s.size() && s[i] == '.') {
      for (++i; i < s.size() && s[i] >= '0' && s[i] <= '9'; ++i) ++fracDigits;
      if (i == s.size() && intDigits && fracDigits) {
        auto r = std::from_chars(s.data(), s.data() + s.size(), rOut);
        if (r.ec == std::errc() && r.ptr == s.data() + s.size() && std::isfinite(rOut)) return true;
      }
    }
  }
  s = text::Trim(s);
  while (!s.empty() && (s.front() == '\t')) s.remove_prefix(1);
  if (s.empty()) return false;
  // &H hexadecimal and &O octal, as the classic runtime reads them
  if (s.size() > 2 && s[0] == '&' && (s[1] == 'H' || s[1] == 'h' || s[1] == 'O' || s[1] == 'o')) {
    int base = (s[1] == 'H' || s[1] == 'h') ? 16 : 8;
    long long v = 0;
    auto r = std::from_chars(s.data() + 2, s.data() + s.size(), v, base);
    if (r.ec != std::errc() || r.ptr != s.data() + s.size()) return false;
    rOut = static_cast<double>(v);
    return true;
  }
  {
    // after the sign, a number begins with a digit or a separator (no text is built for a word)
    const size_t first = s[0] == '+' || s[0] == '-' ? 1 : 0;
    if (first >= s.size()) return false;
    const char c = s[first];
    if (!(c >= '0' && c <= '9') && c != '.' && c != ',') return false;
  }
  std::string buf;
  buf.reserve(s.size());
  size_t i = 0;
  if (s[i] == '+' || s[i] == '-') buf += s[i++];
  // the last "," or "." before any exponent is the decimal separator; the other kind groups
  size_t expPos = s.find_first_of("eE", i);
  std::string_view mant = s.substr(i, expPos == std::string_view::npos ? std::string_view::npos : expPos - i);
  size_t lastSep = mant.find_last_of(",.");
  char decSep = lastSep == std::string_view::npos ? 0 : mant[lastSep];
  int digits = 0;
  for (size_t k = 0; k < mant.size(); ++k) {
    char c = mant[k];
    if (c >= '0' && c <= '9') {
      buf += c;
      ++digits;
    } else if (k == lastSep) {
      buf += '.';
    } else if ((c == ',' || c == '.') && c != decSep && decSep != 0) {
      // grouping separator: must sit between digits
      if (k == 0 || !(mant[k - 1] >= '0' && mant[k - 1] <= '9')) return false;
    } else {
      return false;
    }
  }
  if (digits == 0) return false;
  if (expPos != std::string_view::npos) {
    std::string_view ex = s.substr(expPos + 1);
    buf += 'e';
    size_t j = 0;
    if (j < ex.size() && (ex[j] == '+' || ex[j] == '-')) buf += ex[j++];
    if (j >= ex.size()) return false;
    for (; j < ex.size(); ++j) {
      if (ex[j] < '0' || ex[j] > '9') return false;
      buf += ex[j];
    }
  }
  char* end = nullptr;
  rOut = std::strtod(buf.c_str(), &end);
  return end == buf.c_str() + buf.size() && std::isfinite(rOut);
}

bool IsNumericText(std::string_view s) {
  double d;
  return ParseNumber(s, d);
}

bool NumericValue(const Variant& v, double& rOut) {
  switch (v.type()) {
    case VarType::Integer: rOut = v.rawInteger(); return true;
    case VarType::Long: rOut = v.rawLong(); return true;
    case VarType::Single: rOut = v.rawSingle(); return true;
    case VarType::Double:
    case VarType::Date: rOut = v.rawDouble(); return true;
    case VarType::Currency: rOut = v.rawCurrency() / 10000.0; return true;
    case VarType::Boolean: rOut = v.rawBool() ? -1 : 0; return true;
    default: return false;
  }
}

double CDbl(const Variant& v) {
  double d;
  if (NumericValue(v, d)) return d;
  switch (v.type()) {
    case VarType::Empty: return 0;
    case VarType::Null: Raise(err::kInvalidUseOfNull, "Invalid use of Null");
    case VarType::String:
      if (ParseNumber(v.str(), d)) return d;
      if (text::Trim(v.str()) == "True" || text::UCase(text::Trim(v.str())) == "TRUE") return -1;
      if (text::UCase(text::Trim(v.str())) == "FALSE") return 0;
      hTypeMismatch();
    default: hTypeMismatch();
  }
}

int32_t CLng(const Variant& v) {
  if (v.type() == VarType::Long) return v.rawLong();
  double d = hRoundEven(CDbl(v));
  if (d < std::numeric_limits<int32_t>::min() || d > std::numeric_limits<int32_t>::max())
    Raise(err::kOverflow, "Overflow");
  return static_cast<int32_t>(d);
}

int16_t CInt(const Variant& v) {
  double d = hRoundEven(CDbl(v));
  if (d < -32768 || d > 32767) Raise(err::kOverflow, "Overflow");
  return static_cast<int16_t>(d);
}

int64_t CCur(const Variant& v) {
  if (v.type() == VarType::Currency) return v.rawCurrency();
  double d = hRoundEven(CDbl(v) * 10000.0);
  if (std::fabs(d) > 9.2e18) Raise(err::kOverflow, "Overflow");
  return static_cast<int64_t>(d);
}

bool CBool(const Variant& v) {
  if (v.isBool()) return v.rawBool();
  if (v.isString()) {
    std::string u = text::UCase(text::Trim(v.str()));
    if (u == "TRUE") return true;
    if (u == "FALSE") return false;
  }
  return CDbl(v) != 0;
}

double CDate(const Variant& v) {
  if (v.isDate()) return v.rawDouble();
  if (v.isString()) {
    double d;
    if (date::Parse(v.str(), d)) return d;
    if (ParseNumber(v.str(), d)) return d;
    hTypeMismatch();
  }
  if (v.isObject() || v.isNull()) hTypeMismatch();
  return CDbl(v);
}

bool IsNumeric(const Variant& v) {
  switch (v.type()) {
    case VarType::Empty:
    case VarType::Integer:
    case VarType::Long:
    case VarType::Single:
    case VarType::Double:
    case VarType::Currency:
    case VarType::Boolean: return true;
    case VarType::String: return IsNumericText(v.str());
    default: return false;
  }
}

}  // namespace rykel
