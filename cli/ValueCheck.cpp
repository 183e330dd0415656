#include "ValueCheck.h"

#include <cmath>

#include "CommandFailure.h"
#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Text.h"

namespace rykel::cli {

namespace {

// "True", "False", or "" for a word that is neither.
std::string hYesNo(std::string_view pText) {
  std::string word = text::UCase(text::Trim(pText));
  for (const char* w : {"TRUE", "JA", "YES", "WAHR", "J", "Y", "T", "X", "1", "-1"})
    if (word == w) return "True";
  for (const char* w : {"FALSE", "NEIN", "NO", "FALSCH", "N", "F", "0"})
    if (word == w) return "False";
  return {};
}

// A date with a day: the time-only form the date reader also knows is no date.
bool hIsDate(std::string_view pText) {
  double d;
  std::string_view s = text::Trim(pText);
  size_t dateEnd = s.find(' ');
  std::string_view datePart = s.substr(0, dateEnd);
  return datePart.find_first_of("-.") != std::string_view::npos && date::Parse(s, d);
}

// The member's key, found by key or by display text (case-blind, as a user types it); nullptr
// when the value names no member.
const std::string* hMemberKey(const cls_DBField& pField, std::string_view pValue) {
  std::string_view v = text::Trim(pValue);
  const auto& members = pField.MembersParsed();
  for (const auto& m : members)
    if (m.value == v) return &m.value;
  for (const auto& m : members)
    if (text::UCase(m.text) == text::UCase(v)) return &m.value;
  return nullptr;
}

std::string hMemberList(const cls_DBField& pField) {
  std::string list;
  for (const auto& m : pField.MembersParsed())
    list += (list.empty() ? "" : ", ") + (m.value == m.text ? m.text : m.value + "=" + m.text);
  return list;
}

}  // namespace

FittedValue FitValue(const cls_DBField& pField, std::string_view pValue) {
  FittedValue out{std::string(pValue), {}};
  if (text::Trim(pValue).empty()) return out;
  const std::string type = cls_DBField::TYPETEXT(pField.TYPE);
  bool choice = pField.TYPE == ID_DBFieldType_Enum || pField.TYPE == ID_DBFieldType_EnumNumeric ||
                pField.TYPE == ID_DBFieldType_EnumMulti;
  if (choice && !pField.MembersParsed().empty()) {
    std::vector<std::string> picked =
        pField.TYPE == ID_DBFieldType_EnumMulti ? text::Split(pValue, ",") : std::vector<std::string>{out.value};
    out.value.clear();
    for (const auto& p : picked) {
      const std::string* key = hMemberKey(pField, p);
      if (!key) {
        out.problem = (picked.size() > 1 ? "holds '" + std::string(text::Trim(p)) + "', which is" : "is") +
                      " not a member of the " + type + " field (" + hMemberList(pField) + ")";
        return out;
      }
      out.value += (out.value.empty() ? "" : ",") + *key;
    }
    return out;
  }
  double d;
  switch (pField.TYPE) {
    case ID_DBFieldType_Date:
      if (!hIsDate(pValue)) out.problem = "is not a " + type + " (a date that exists: yyyy-mm-dd or d.m.yyyy)";
      break;
    case ID_DBFieldType_Long:
    case ID_DBFieldType_EnumNumeric:
    case ID_DBFieldType_ReferenceNumeric:
      if (!ParseNumber(pValue, d) || !std::isfinite(d) || d != std::trunc(d))
        out.problem = "is not a " + type + " (a whole number)";
      break;
    case ID_DBFieldType_Double:
      if (!ParseNumber(pValue, d) || !std::isfinite(d)) out.problem = "is not a " + type + " (a number)";
      break;
    case ID_DBFieldType_Boolean:
      out.value = hYesNo(pValue);
      if (out.value.empty())
        out.problem = "is not a " + type + " (a yes/no word: true, false, ja, nein, yes, no, 1, 0)";
      break;
    default: break;
  }
  return out;
}

std::string CheckValue(const cls_DBField& pField, std::string_view pValue) {
  FittedValue fit = FitValue(pField, pValue);
  if (!fit.problem.empty()) FailUsage(pField.ID + ": '" + std::string(pValue) + "' " + fit.problem);
  return fit.value;
}

}  // namespace rykel::cli
