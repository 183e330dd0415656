#include "query/cls_DBCondition.h"

#include <cmath>

#include "database/cls_DBField.h"
#include "database/enm_DBFieldType.h"
#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Text.h"
#include "structure/cls_Structure.h"

namespace rykel {

namespace {

using Op = cls_DBCondition::Op;
using Kind = cls_DBCondition::Kind;

struct OperatorWord {
  std::string_view word;
  Op op;
};

// Every spelling of every operator. ORDER Op (each operator appears at least once).
constexpr std::array<OperatorWord, 23> kOperatorWords = {{
    {"=", Op::Equal},
    {"==", Op::Equal},
    {"<>", Op::NotEqual},
    {"<", Op::Less},
    {">", Op::Greater},
    {">=", Op::AtLeast},
    {"=>", Op::AtLeast},
    {"<=", Op::AtMost},
    {"=<", Op::AtMost},
    {"BEGINS", Op::Begins},
    {"?...", Op::Begins},
    {"ENDS", Op::Ends},
    {"...?", Op::Ends},
    {"CONTAINS", Op::Contains},
    {"...?...", Op::Contains},
    {"CONTAINSWORD", Op::ContainsWord},
    {"CONTAINSONE", Op::ContainsOne},
    {"CONTAINSONEWORD", Op::ContainsOneWord},
    {"IN", Op::In},
    {"[]", Op::RangeClosed},
    {"[[", Op::RangeLowClosed},
    {"][", Op::RangeOpen},
    {"]]", Op::RangeHighClosed},
}};

// What each operator does with its value, indexed by Op.
constexpr std::array<Kind, static_cast<size_t>(Op::Count)> kOperatorKinds = {{
    Kind::None,     // Unknown
    Kind::Compare,  // Equal
    Kind::Compare,  // NotEqual
    Kind::Compare,  // Less
    Kind::Compare,  // Greater
    Kind::Compare,  // AtLeast
    Kind::Compare,  // AtMost
    Kind::Text,     // Begins
    Kind::Text,     // Ends
    Kind::Text,     // Contains
    Kind::Text,     // ContainsWord
    Kind::List,     // ContainsOne
    Kind::List,     // ContainsOneWord
    Kind::List,     // In
    Kind::Range,    // RangeClosed
    Kind::Range,    // RangeLowClosed
    Kind::Range,    // RangeOpen
    Kind::Range,    // RangeHighClosed
}};
static_assert(kOperatorKinds.size() == static_cast<size_t>(Op::Count), "one kind per operator");

// The characters an operator may be written with in front of a value.
constexpr std::string_view kPrefixChars = "$=<>![]";

bool hIsBlank(const Variant& v) { return v.isEmpty() || v.isNull() || (v.isString() && text::Trim(v.str()).empty()); }

// The text a value is searched in; "" for empty values and structures.
std::string_view hValueText(const Variant& v, std::string& rBuffer) {
  if (v.isString()) return v.str();
  if (v.isEmpty() || v.isNull() || v.isObject()) return {};
  rBuffer = CStr(v);
  return rBuffer;
}

// The date part of a value for a date comparison: dates and numbers lose their time of day,
// texts are read from their first 10 characters. False when the value is no date.
bool hDatePart(const Variant& v, double& rDay) {
  double d = 0;
  if (v.isString()) {
    if (!date::Parse(text::Left(v.str(), 10), d)) return false;
  } else if (!NumericValue(v, d)) {
    return false;
  }
  // Before 1899-12-30 the whole part is negative and the fraction counts forward: cut toward 0.
  rDay = std::trunc(d);
  return true;
}

// " " + text with "," as blanks + " " holds " " + word + " ".
bool hHasWord(std::string_view pText, std::string_view pWord) {
  std::string hay;
  hay.reserve(pText.size() + 2);
  hay += ' ';
  for (char c : pText) hay += (c == ',' ? ' ' : c);
  hay += ' ';
  std::string needle;
  needle.reserve(pWord.size() + 2);
  needle += ' ';
  needle += pWord;
  needle += ' ';
  return hay.find(needle) != std::string::npos;
}

}  // namespace

Op cls_DBCondition::hLookup(std::string_view pWord) {
  std::string upper = text::UCase(pWord);
  for (const auto& w : kOperatorWords)
    if (w.word == upper) return w.op;
  return Op::Unknown;
}

size_t cls_DBCondition::hFlags(std::string_view pOp, bool* rCaseBlind, bool* rNegate) {
  size_t i = 0;
  for (; i < pOp.size(); ++i) {
    if (pOp[i] == '$') {
      if (rCaseBlind) *rCaseBlind = true;
    } else if (pOp[i] == '!') {
      if (rNegate) *rNegate = true;
    } else {
      break;
    }
  }
  return i;
}

int32_t cls_DBCondition::hTypeOf(const Variant& pValue) {
  switch (pValue.type()) {
    case VarType::Integer:
    case VarType::Long: return ID_DBFieldType_Long;
    case VarType::Single:
    case VarType::Double:
    case VarType::Currency: return ID_DBFieldType_Double;
    case VarType::Date: return ID_DBFieldType_Date;
    case VarType::Boolean: return ID_DBFieldType_Boolean;
    case VarType::Object: return ID_DBFieldType_Structure;
    default: return ID_DBFieldType_String;
  }
}

// condition -> [operator] value
// operator  -> word " "            (no operator given, a text value holding a blank; not "*")
//            | { "$" | "=" | "<" | ">" | "!" | "[" | "]" }   (still none, leading characters)
// flags     -> { "$" | "!" }        (at the front of the operator, any order)
// value     -> lower [" " ... " " upper]   (range operators)
void cls_DBCondition::READ(std::string_view pOp, const Variant& pValue) {
  opText_ = std::string(pOp);
  Variant value = pValue;
  if (opText_.empty() && value.isString() && value.str() != "*") {
    std::string_view s = value.str();
    size_t blank = s.find(' ');
    if (blank != std::string_view::npos) {
      opText_ = std::string(s.substr(0, blank));
      value = Variant(text::Trim(s.substr(blank + 1)));
    }
  }
  if (opText_.empty() && value.isString() && !value.str().empty()) {
    std::string_view s = value.str();
    size_t n = 0;
    while (n < s.size() && kPrefixChars.find(s[n]) != std::string_view::npos) ++n;
    opText_ = std::string(s.substr(0, n));
    value = Variant(text::Trim(s.substr(n)));
  }
  const char* fallback = value.isString() ? "$==" : "==";
  if (opText_.empty()) opText_ = fallback;

  caseBlind_ = false;
  bool negate = false;
  size_t start = hFlags(opText_, &caseBlind_, &negate);
  // Flags alone ("!meier") stand before the default operator.
  if (start == opText_.size()) {
    opText_ += fallback;
    start = hFlags(opText_, &caseBlind_, &negate);
  }
  expected_ = !negate;
  op_ = hLookup(std::string_view(opText_).substr(start));
  kind_ = kOperatorKinds[static_cast<size_t>(op_)];

  lo_ = value;
  hi_ = Variant();
  if (kind_ == Kind::Range && value.isString()) {
    std::vector<std::string> parts = text::Split(value.str(), " ");
    if (!parts.empty()) {
      lo_ = Variant(parts.front());
      hi_ = Variant(parts.back());
    }
  }
  valid_ = true;
}

std::string cls_DBCondition::PROBLEM() const {
  if (op_ == Op::Unknown) return "unknown operator '" + opText_ + "'";
  if (valid_) return {};
  std::string buffer;
  std::string bounds(hValueText(lo_, buffer));
  if (kind_ == Kind::Range) bounds += "' or '" + std::string(hValueText(hi_, buffer));
  return "'" + bounds + "' is not a " + cls_DBField::TYPETEXT(type_);
}

std::string cls_DBCondition::USERTEXT(const std::string& pValue) {
  // The reader decides whether the value leads with an operator: it took something off the
  // value, and what it took is an operator it knows ("BEGINS m", ">=10", "!Kiel").
  cls_DBCondition c;
  c.READ("", Variant(pValue));
  if (c.OPERATOR() != Op::Unknown && !(c.LOWER().isString() && c.LOWER().str() == pValue)) return pValue;
  // Operator characters glued to a value with blanks ("=Frankfurt am Main"): read alone, the
  // first word gives them up as its operator; the reader, given the whole text, would take the
  // first word itself for an operator word. A blank after them keeps them the operator.
  if (size_t blank = pValue.find(' '); blank != std::string::npos) {
    std::string first = pValue.substr(0, blank);
    cls_DBCondition head;
    head.READ("", Variant(first));
    std::string rest = head.LOWER().isString() ? std::string(head.LOWER().str()) : first;
    if (head.OPERATOR() != Op::Unknown && rest.size() < first.size() && first.ends_with(rest))
      return first.substr(0, first.size() - rest.size()) + " " + rest + pValue.substr(blank);
  }
  return "$== " + pValue;
}

void cls_DBCondition::PREPARE(int32_t pType, const cls_DBField* pField) {
  type_ = pType;
  if (DBFieldTypeIsNumeric(pType) || pType == ID_DBFieldType_Boolean) mode_ = Mode::Number;
  else if (pType == ID_DBFieldType_Date) mode_ = Mode::Date;
  else mode_ = Mode::Text;
  valid_ = true;
  items_.clear();
  loText_.clear();

  if (kind_ == Kind::Compare || kind_ == Kind::Range) {
    cls_DBField own;
    if (!pField) {
      own.TYPE = pType;
      pField = &own;
    }
    auto convert = [&](Variant& rBound, double& rNum) {
      if (hIsBlank(rBound)) {
        rBound = mode_ == Mode::Text ? Variant("") : Variant();
        return;
      }
      if (pType != ID_DBFieldType_Structure) {
        Variant c = pField->VALUECONVERT(rBound);
        if (c.isEmpty()) {
          valid_ = false;
          return;
        }
        rBound = c;
      }
      if (mode_ == Mode::Text) {
        std::string t = CStr(rBound);
        rBound = Variant(caseBlind_ ? text::UCase(t) : t);
      } else if (!NumericValue(rBound, rNum)) {
        valid_ = false;
      }
    };
    convert(lo_, loNum_);
    if (kind_ == Kind::Range) convert(hi_, hiNum_);
    return;
  }
  if (kind_ == Kind::Text || kind_ == Kind::List) {
    std::string buffer;
    loText_ = std::string(hValueText(lo_, buffer));
    if (caseBlind_) loText_ = text::UCase(loText_);
    if (kind_ == Kind::List) {
      items_ = text::Split(loText_, ",");
      if (op_ != Op::ContainsOne)
        for (auto& item : items_) item = std::string(text::Trim(item));
    }
  }
}

// The value's text as the condition compares it: upper-cased when case-blind (the column's
// upper-cased copy when the caller has it). The view may point into rBuffer.
std::string_view cls_DBCondition::hCompareText(const Variant& pValue, const std::string* pUpper,
                                               std::string& rBuffer) const {
  if (!caseBlind_) return hValueText(pValue, rBuffer);
  if (pUpper) return *pUpper;
  rBuffer = text::UCase(hValueText(pValue, rBuffer));
  return rBuffer;
}

// Three-way comparison of a value with one bound in the condition's mode; rComparable false when
// the value cannot be compared (a text in a number column).
int cls_DBCondition::hCompare(const Variant& pValue, const std::string* pUpper, const Variant& pBound, double pBoundNum,
                              bool* rComparable) const {
  *rComparable = true;
  if (mode_ == Mode::Text) {
    std::string buffer;
    std::string_view x = hCompareText(pValue, pUpper, buffer);
    int c = x.compare(pBound.str());
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
  }
  bool boundEmpty = pBound.isEmpty();
  bool valueEmpty = hIsBlank(pValue);
  if (valueEmpty || boundEmpty) return valueEmpty == boundEmpty ? 0 : (valueEmpty ? -1 : 1);
  double x = 0;
  if (mode_ == Mode::Date) {
    if (!hDatePart(pValue, x)) *rComparable = false;
  } else if (!NumericValue(pValue, x)) {
    if (!pValue.isString() || !ParseNumber(pValue.str(), x)) *rComparable = false;
  }
  if (!*rComparable) return 0;
  return x < pBoundNum ? -1 : (x > pBoundNum ? 1 : 0);
}

bool cls_DBCondition::hTestText(std::string_view x, const Variant& pValue) const {
  switch (op_) {
    case Op::Begins: return x.starts_with(loText_);
    case Op::Ends: return x.ends_with(loText_);
    case Op::Contains: return x.find(loText_) != std::string_view::npos;
    case Op::ContainsWord: return hHasWord(x, loText_);
    case Op::In:
      for (const auto& item : items_)
        if (x == item) return true;
      return false;
    case Op::ContainsOneWord:
      for (const auto& item : items_)
        if (hHasWord(x, item)) return true;
      return false;
    case Op::ContainsOne: {
      if (pValue.isObject()) {
        auto s = pValue.as<cls_Structure>();
        if (!s) return false;
        for (const auto& item : items_)
          if (s->EXISTS_GET(Variant(item))) return true;
        return false;
      }
      if (type_ == ID_DBFieldType_EnumMulti) {
        std::string hay = "," + std::string(x) + ",";
        for (const auto& item : items_)
          if (hay.find("," + item + ",") != std::string::npos) return true;
        return false;
      }
      for (const auto& item : items_)
        if (x.find(item) != std::string_view::npos) return true;
      return false;
    }
    default: return false;
  }
}

bool cls_DBCondition::TEST(const Variant& pValue, const std::string* pUpper) const {
  if (kind_ == Kind::None || !valid_) return false;
  bool outcome = false;
  if (kind_ == Kind::Text || kind_ == Kind::List) {
    std::string buffer;
    std::string_view x = hCompareText(pValue, pUpper, buffer);
    outcome = hTestText(x, pValue);
  } else {
    bool ok = true;
    int lo = hCompare(pValue, pUpper, lo_, loNum_, &ok);
    if (ok && kind_ == Kind::Range) {
      int hi = hCompare(pValue, pUpper, hi_, hiNum_, &ok);
      if (ok) {
        switch (op_) {
          case Op::RangeClosed: outcome = lo >= 0 && hi <= 0; break;
          case Op::RangeLowClosed: outcome = lo >= 0 && hi < 0; break;
          case Op::RangeOpen: outcome = lo > 0 && hi < 0; break;
          default: outcome = lo > 0 && hi <= 0; break;
        }
      }
    } else if (ok) {
      switch (op_) {
        case Op::Equal: outcome = lo == 0; break;
        case Op::NotEqual: outcome = lo != 0; break;
        case Op::Less: outcome = lo < 0; break;
        case Op::Greater: outcome = lo > 0; break;
        case Op::AtLeast: outcome = lo >= 0; break;
        default: outcome = lo <= 0; break;
      }
    }
  }
  return outcome == expected_;
}

}  // namespace rykel
