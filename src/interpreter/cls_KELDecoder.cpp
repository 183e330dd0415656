#include "interpreter/cls_KELDecoder.h"

#include <algorithm>
#include <unordered_map>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "frame/mdl_Global.h"
#include "interpreter/TextCache.h"
#include "interpreter/mdl_KELStructText.h"
#include "structure/cls_Structure.h"

namespace rykel {

namespace {

struct LiteralRow {
  std::string_view from, to;
};
constexpr LiteralRow kLiterals[] = {
    {"=", "=="},   {"=>", ">="}, {"=<", "<="}, {"<>", "!="},  {"=!", "!="},  {"=!=", "!="},   {"&", "&&"},
    {"AND", "&&"}, {"|", "||"},  {"OR", "||"}, {"WAHR", "1"}, {"TRUE", "1"}, {"FALSCH", "0"}, {"FALSE", "0"},
};

const LiteralRow* hLiteralRow(std::string_view s) {
  if (s.empty() || s.size() > 6) return nullptr;
  char up[6];
  for (size_t i = 0; i < s.size(); ++i) up[i] = (s[i] >= 'a' && s[i] <= 'z') ? s[i] - 32 : s[i];
  std::string_view u(up, s.size());
  for (const auto& row : kLiterals)
    if (row.from == u) return &row;
  return nullptr;
}

bool hIsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

}  // namespace

bool cls_KELDecoder::IsTimeText(std::string_view s) {
  if (s.size() != 5 && s.size() != 8) return false;
  for (size_t i = 0; i < s.size(); ++i) {
    bool colon = (i % 3) == 2;
    if (colon ? s[i] != ':' : !(s[i] >= '0' && s[i] <= '9')) return false;
  }
  return true;
}

std::string cls_KELDecoder::LITERAL(std::string_view pText) {
  if (const LiteralRow* row = hLiteralRow(pText)) return std::string(row->to);
  return std::string(pText);
}

bool cls_KELDecoder::IsLiteralWord(std::string_view pText) { return hLiteralRow(pText) != nullptr; }

KELParam cls_KELDecoder::ClassifyUncached(std::string_view s) {
  KELParam p;
  double d;
  // 1: an ISO date.
  if (mdl_Global::hIsDate(s) && date::Parse(s, d)) {
    p.kind = enm_KELParamKind::Date;
    p.value = Variant::Date(d);
    return p;
  }
  // 2: quoted text.
  if (s.size() >= 2 && (s.front() == '"' || s.front() == '\'') && s.back() == s.front()) {
    std::string_view inner = s.substr(1, s.size() - 2);
    if (inner.find('{') != std::string_view::npos && inner.substr(0, 2) != "a:") {
      p.kind = enm_KELParamKind::QuotedTemplate;
      p.inner = std::string(inner);
      return p;
    }
    p.kind = enm_KELParamKind::Quoted;
    if (mdl_Global::hIsDate(inner) && date::Parse(inner, d)) p.value = Variant::Date(d);
    else p.value = Variant(inner);
    return p;
  }
  // 3: a time stays text.
  if (IsTimeText(s)) {
    p.kind = enm_KELParamKind::Time;
    p.value = Variant(s);
    return p;
  }
  // 4: "{$...}" unevaluated.
  if (s.size() >= 3 && s.substr(0, 2) == "{$" && s.back() == '}') {
    p.kind = enm_KELParamKind::Raw;
    p.value = Variant(s.substr(2, s.size() - 3));
    return p;
  }
  // 5: a date written with points.
  if (s.find('.') != std::string_view::npos && date::Parse(s, d) && d >= 0) {
    p.kind = enm_KELParamKind::DottedDate;
    p.value = Variant::Date(d);
    return p;
  }
  // 6: a short number.
  if (text::Len(s) <= 10 && IsNumericText(s) && ParseNumber(s, d)) {
    p.kind = enm_KELParamKind::Number;
    p.value = Variant(d);
    return p;
  }
  // 7: "#" and hexadecimal digits.
  if (s.size() >= 2 && s[0] == '#') {
    bool hex = true;
    for (size_t i = 1; i < s.size() && hex; ++i) hex = hIsHexDigit(s[i]);
    if (hex) {
      // 32 bits hold eight digits ("#FFFFFFFF" is -1); more, past leading zeros, do not fit
      const size_t first = std::min(s.find_first_not_of('0', 1), s.size());
      if (s.size() - first > 8)
        Raise(err::kOverflow, "Overflow: '" + std::string(s) + "' has more than 8 hexadecimal digits");
      uint32_t v = 0;
      for (size_t i = 1; i < s.size(); ++i) {
        char c = s[i] >= 'a' ? s[i] - 32 : s[i];
        v = v * 16 + static_cast<uint32_t>(c <= '9' ? c - '0' : c - 'A' + 10);
      }
      p.kind = enm_KELParamKind::Hex;
      p.value = Variant(static_cast<int>(static_cast<int32_t>(v)));
      return p;
    }
  }
  // 8: operator and truth words.
  if (const LiteralRow* row = hLiteralRow(s)) {
    p.kind = enm_KELParamKind::Literal;
    p.value = Variant(row->to);
    return p;
  }
  p.kind = enm_KELParamKind::Other;
  p.value = Variant(s);
  return p;
}

KELParam cls_KELDecoder::Classify(std::string_view pText) {
  thread_local TextCache<KELParam> cache(8192);
  if (auto found = cache.Find(pText)) return *found;
  if (pText.size() > 1024) return ClassifyUncached(pText);  // long texts are not kept
  return cache.Put(pText, ClassifyUncached(pText));
}

std::string cls_KELDecoder::ENCODE(const Variant& v, bool pQuoteText) {
  switch (v.type()) {
    case VarType::Single:
    case VarType::Double: return text::Replace(CStr(v), ",", ".");
    case VarType::Date: {
      std::string s = date::ToIso(v.rawDouble());
      return pQuoteText ? "\"" + s + "\"" : s;
    }
    case VarType::String: {
      std::string_view s = v.str();
      if (!pQuoteText) return std::string(s);
      if (s.find('"') == std::string_view::npos) return "\"" + std::string(s) + "\"";
      if (s.find('\'') == std::string_view::npos) return "'" + std::string(s) + "'";
      return "\"" + text::Replace(s, "\"", "'") + "\"";
    }
    case VarType::Object: return mdl_KELStructText::Text(v, mdl_KELStructText::Form::Short);
    case VarType::Boolean: return v.rawBool() ? "True" : "False";
    default: return CStr(v);
  }
}

}  // namespace rykel
