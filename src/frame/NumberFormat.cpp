#include "frame/NumberFormat.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "frame/Convert.h"
#include "frame/Text.h"

namespace rykel::number {

namespace {

// A non-negative number as decimal digits: the whole part without leading zeros ("" for zero) and
// exactly pDecimals fraction digits, rounded by pMode (pNegative tells which way Ceil and Floor go).
struct Digits {
  std::string whole, fraction;
  bool IsZero() const { return whole.empty() && fraction.find_first_not_of('0') == std::string::npos; }
};

// Adds one unit in the last place of the digit text; false when it carried out of the front.
bool hIncrement(std::string& rDigits) {
  for (size_t i = rDigits.size(); i-- > 0;) {
    if (rDigits[i] != '9') {
      ++rDigits[i];
      return true;
    }
    rDigits[i] = '0';
  }
  return false;
}

// REQUIRES: pAbs finite and not negative.
Digits hDigits(double pAbs, int pDecimals, RoundMode pMode, bool pNegative) {
  Digits d;
  if (pAbs != 0) {
    char buf[48];
    std::snprintf(buf, sizeof buf, "%.14e", pAbs);  // "d.dddddddddddddde+XX": 15 significant digits
    const char* e = std::strchr(buf, 'e');
    std::string m(1, buf[0]);
    m.append(buf + 2, static_cast<size_t>(e - buf - 2));
    int point = std::atoi(e + 1) + 1;  // digits before the decimal point
    int n = static_cast<int>(m.size());
    if (point <= 0) d.fraction = std::string(static_cast<size_t>(-point), '0') + m;
    else if (point >= n) d.whole = m + std::string(static_cast<size_t>(point - n), '0');
    else d.whole = m.substr(0, static_cast<size_t>(point)), d.fraction = m.substr(static_cast<size_t>(point));
  }
  const size_t places = static_cast<size_t>(pDecimals);
  bool up = false;
  if (d.fraction.size() > places) {
    std::string_view dropped = std::string_view(d.fraction).substr(places);
    bool rest = dropped.find_first_not_of('0') != std::string_view::npos;
    switch (pMode) {
      case RoundMode::Common: up = dropped[0] >= '5'; break;
      case RoundMode::Ceil: up = rest && !pNegative; break;
      case RoundMode::Floor: up = rest && pNegative; break;
    }
    d.fraction.resize(places);
  }
  d.fraction.resize(places, '0');
  if (up && !hIncrement(d.fraction) && !hIncrement(d.whole)) d.whole.insert(0, 1, '1');
  d.whole.erase(0, std::min(d.whole.find_first_not_of('0'), d.whole.size()));
  return d;
}

// ---- format codes --------------------------------------------------------------------------------

enum class Tok { Zero, Hash, Point, Comma, Literal, Exponent };

struct Token {
  Tok kind;
  std::string text;   // Literal: the text; Exponent: "E" or "e"
  bool plus = false;  // Exponent: "E+" (sign always shown)
  int expZeros = 0;   // Exponent: "0" placeholders after it (the fewest exponent digits)
  bool IsDigit() const { return kind == Tok::Zero || kind == Tok::Hash; }
};

// One section, read: its tokens and what the commas and percent signs do to the value.
struct Section {
  std::vector<Token> toks;
  bool grouping = false;
  int scale = 0;    // commas that divide by 1,000
  int percent = 0;  // "%" signs
  bool anyDigit = false;
};

// section -> { "0" | "#" | "." | "," | "%" | exponent | literal }
// exponent -> ("E" | "e") ("+" | "-") { "0" | "#" }
// literal -> '"' text '"' | "\" char | char
Section hReadSection(std::string_view s) {
  Section sec;
  bool point = false, exponent = false;
  auto literal = [&](std::string_view t) {
    if (!sec.toks.empty() && sec.toks.back().kind == Tok::Literal) sec.toks.back().text.append(t);
    else sec.toks.push_back({Tok::Literal, std::string(t)});
  };
  for (size_t i = 0; i < s.size(); ++i) {
    char c = s[i];
    if (c == '"') {
      size_t end = s.find('"', i + 1);
      if (end == std::string_view::npos) end = s.size();
      literal(s.substr(i + 1, end - i - 1));
      i = end;
    } else if (c == '\\' && i + 1 < s.size()) {
      size_t n = std::max<size_t>(1, text::Utf8CharLen(s, i + 1));
      literal(s.substr(i + 1, n));
      i += n;
    } else if ((c == '0' || c == '#') && !exponent) {
      sec.toks.push_back({c == '0' ? Tok::Zero : Tok::Hash, {}});
      sec.anyDigit = true;
    } else if (c == '.' && !point && !exponent) {
      sec.toks.push_back({Tok::Point, {}});
      point = true;
    } else if (c == ',' && !point && !exponent) {
      sec.toks.push_back({Tok::Comma, {}});
    } else if (c == ',' && point) {
      // a comma in the fraction means nothing
    } else if ((c == 'E' || c == 'e') && !exponent && i + 1 < s.size() && (s[i + 1] == '+' || s[i + 1] == '-')) {
      Token t{Tok::Exponent, std::string(1, c)};
      t.plus = s[i + 1] == '+';
      i += 2;
      while (i < s.size() && (s[i] == '0' || s[i] == '#')) t.expZeros += s[i++] == '0';
      --i;
      sec.toks.push_back(std::move(t));
      exponent = true;
    } else {
      if (c == '%') ++sec.percent;
      literal(s.substr(i, 1));
    }
  }
  // Commas of the whole part: between digit placeholders they group, after the last one they scale.
  size_t wholeEnd = sec.toks.size();
  for (size_t i = 0; i < sec.toks.size(); ++i)
    if (sec.toks[i].kind == Tok::Point || sec.toks[i].kind == Tok::Exponent) {
      wholeEnd = i;
      break;
    }
  std::vector<Token> kept;
  for (size_t i = 0; i < sec.toks.size(); ++i) {
    if (sec.toks[i].kind != Tok::Comma) {
      kept.push_back(std::move(sec.toks[i]));
      continue;
    }
    auto digitIn = [&](size_t from, size_t to) {
      return std::any_of(sec.toks.begin() + static_cast<long>(from), sec.toks.begin() + static_cast<long>(to),
                         [](const Token& t) { return t.IsDigit(); });
    };
    bool before = digitIn(0, i), after = digitIn(i + 1, wholeEnd);
    if (before && after) sec.grouping = true;
    else if (before) ++sec.scale;
    else kept.push_back({Tok::Literal, ","});
  }
  sec.toks = std::move(kept);
  return sec;
}

// The format split at ";" outside quotes and escapes.
std::vector<std::string_view> hSections(std::string_view f) {
  std::vector<std::string_view> out;
  size_t start = 0;
  bool quoted = false;
  for (size_t i = 0; i < f.size(); ++i) {
    if (f[i] == '"') quoted = !quoted;
    else if (f[i] == '\\' && !quoted) ++i;
    else if (f[i] == ';' && !quoted) {
      out.push_back(f.substr(start, i - start));
      start = i + 1;
    }
  }
  out.push_back(f.substr(std::min(start, f.size())));
  return out;
}

std::string_view hNamed(std::string_view f) {
  static constexpr std::pair<std::string_view, std::string_view> kNamed[] = {
      {"FIXED", "0.00"}, {"STANDARD", "#,##0.00"}, {"PERCENT", "0.00%"}, {"SCIENTIFIC", "0.00E+00"}};
  std::string u = text::UCase(f);
  for (const auto& [name, codes] : kNamed)
    if (u == name) return codes;
  return u == "GENERAL NUMBER" ? std::string_view() : f;
}

// Writes the section for the non-negative pAbs; rZero tells whether the digits shown are all 0.
std::string hRender(const Section& sec, double pAbs, const Separators& pSep, bool pNegative, bool& rZero) {
  double a = pAbs * std::pow(100.0, sec.percent) / std::pow(1000.0, sec.scale);
  if (!std::isfinite(a)) return NumberText(a);  // "%%%..." past the largest double
  const auto& toks = sec.toks;
  size_t point = toks.size(), expAt = toks.size();
  for (size_t i = 0; i < toks.size(); ++i) {
    if (toks[i].kind == Tok::Point && point == toks.size()) point = i;
    if (toks[i].kind == Tok::Exponent) expAt = i;
  }
  size_t wholeEnd = std::min(point, expAt);
  int places = 0, wholePlaces = 0;
  for (size_t i = 0; i < toks.size(); ++i) {
    if (!toks[i].IsDigit()) continue;
    if (i < wholeEnd) ++wholePlaces;
    else if (i < expAt) ++places;
  }
  int exp10 = 0;
  Digits d;
  if (expAt < toks.size()) {
    // Scientific: as many whole digits as the format has placeholders for (at least one).
    int k = std::max(wholePlaces, 1);
    if (a != 0) {
      exp10 = static_cast<int>(std::floor(std::log10(a))) - (k - 1);
      for (int tries = 0; tries < 3; ++tries) {
        double mantissa = a / std::pow(10.0, exp10);
        if (!std::isfinite(mantissa)) return NumberText(a);  // near the smallest doubles
        d = hDigits(mantissa, places, RoundMode::Common, pNegative);
        if (static_cast<int>(d.whole.size()) > k) ++exp10;
        else if (static_cast<int>(d.whole.size()) < k && !d.IsZero()) --exp10;
        else break;
      }
    } else {
      d = hDigits(0, places, RoundMode::Common, pNegative);
    }
  } else {
    d = hDigits(a, places, RoundMode::Common, pNegative);
  }
  rZero = d.IsZero();

  // The whole part, right to left: each placeholder takes one digit, the leftmost takes the rest.
  size_t firstDigit = wholeEnd;
  for (size_t i = 0; i < wholeEnd; ++i)
    if (toks[i].IsDigit()) {
      firstDigit = i;
      break;
    }
  std::vector<std::string> pieces;  // in reverse order
  size_t left = d.whole.size();
  int shown = 0;
  auto digit = [&](char c) {
    if (sec.grouping && shown > 0 && shown % 3 == 0) pieces.emplace_back(1, pSep.group);
    pieces.emplace_back(1, c);
    ++shown;
  };
  if (firstDigit == wholeEnd && sec.anyDigit)
    while (left > 0) digit(d.whole[--left]);  // no whole placeholder: the digits stand before the point
  for (size_t i = wholeEnd; i-- > 0;) {
    const Token& t = toks[i];
    if (!t.IsDigit()) {
      pieces.push_back(t.text);
      continue;
    }
    if (i == firstDigit) {
      if (left == 0 && t.kind == Tok::Zero) digit('0');
      while (left > 0) digit(d.whole[--left]);
    } else if (left > 0) {
      digit(d.whole[--left]);
    } else if (t.kind == Tok::Zero) {
      digit('0');
    }
  }
  std::string out;
  for (auto it = pieces.rbegin(); it != pieces.rend(); ++it) out += *it;

  // The fraction, left to right: "#" drops the trailing zeros.
  size_t lastShown = d.fraction.find_last_not_of('0');
  size_t next = 0;
  for (size_t i = wholeEnd; i < toks.size(); ++i) {
    const Token& t = toks[i];
    switch (t.kind) {
      case Tok::Point: out += pSep.decimal; break;
      case Tok::Zero:
      case Tok::Hash:
        if (t.kind == Tok::Zero || (lastShown != std::string::npos && next <= lastShown)) out += d.fraction[next];
        ++next;
        break;
      case Tok::Exponent: {
        std::string digits = std::to_string(std::abs(exp10));
        out += t.text;
        if (exp10 < 0) out += '-';
        else if (t.plus) out += '+';
        if (static_cast<int>(digits.size()) < t.expZeros)
          out.append(static_cast<size_t>(t.expZeros) - digits.size(), '0');
        out += digits;
        break;
      }
      default: out += t.text;
    }
  }
  return out;
}

}  // namespace

std::string Format(double pValue, std::string_view pFormat, const Separators& pSep) {
  if (!std::isfinite(pValue)) return NumberText(pValue);
  std::string_view codes = hNamed(pFormat);
  if (codes.empty()) {
    std::string s = NumberText(pValue);
    std::replace(s.begin(), s.end(), '.', pSep.decimal);
    return s;
  }
  auto sections = hSections(codes);
  std::string_view chosen = sections[0];
  bool sign = pValue < 0;
  if (pValue < 0 && sections.size() >= 2 && !sections[1].empty()) {
    chosen = sections[1];
    sign = false;
  } else if (pValue == 0 && sections.size() >= 3 && !sections[2].empty()) {
    chosen = sections[2];
  }
  Section sec = hReadSection(chosen);
  if (!sec.anyDigit) {
    std::string out;
    for (const auto& t : sec.toks) out += t.text;
    return out;
  }
  bool zero = false;
  std::string out = hRender(sec, std::fabs(pValue), pSep, pValue < 0, zero);
  return sign && !zero ? "-" + out : out;
}

double Round(double pValue, int pDecimals, RoundMode pMode) {
  if (!std::isfinite(pValue)) return pValue;
  Digits d = hDigits(std::fabs(pValue), std::clamp(pDecimals, 0, 15), pMode, pValue < 0);
  std::string s = (d.whole.empty() ? "0" : d.whole) + "." + d.fraction;
  double r = 0;
  std::from_chars(s.data(), s.data() + s.size(), r);
  return pValue < 0 ? -r : r;
}

}  // namespace rykel::number
