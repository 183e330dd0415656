#include "database/mdl_DBValueFit.h"

#include <cmath>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Text.h"

namespace rykel::mdl_DBValueFit {

namespace {

std::string hMemberList(const cls_DBField& pField) {
  std::string list;
  for (const auto& m : pField.MembersParsed())
    list += (list.empty() ? "" : ", ") + (m.value == m.text ? m.text : m.value + "=" + m.text);
  return list;
}

}  // namespace

std::string YESNO(std::string_view pText, bool pStrict) {
  std::string word = text::UCase(text::Trim(pText));
  for (const char* w : {"TRUE", "JA", "YES", "WAHR", "J", "Y", "T", "X", "1", "-1"})
    if (word == w && (!pStrict || (word.size() > 1 && word != "-1"))) return "True";
  for (const char* w : {"FALSE", "NEIN", "NO", "FALSCH", "N", "F", "0"})
    if (word == w && (!pStrict || word.size() > 1)) return "False";
  return {};
}

namespace {

// ISDATE, with the date read (of the trimmed text) in rDate.
bool hIsDate(std::string_view pText, double& rDate) {
  std::string_view s = text::Trim(pText);
  for (char c : s) {
    if (c == ' ') return false;  // no "-" or "." in the day part
    if (c == '-' || c == '.') return date::Parse(s, rDate);
  }
  return false;
}

}  // namespace

bool ISDATE(std::string_view pText) {
  double d;
  return hIsDate(pText, d);
}

Result FIT(const cls_DBField& pField, std::string_view pValue) {
  Result out{std::string(pValue), Problem::None, {}};
  if (DBFieldTypeIsChoice(pField.TYPE) && !pField.MembersParsed().empty()) {
    const auto& members = pField.MembersParsed();
    std::vector<std::string> picked =
        pField.TYPE == ID_DBFieldType_EnumMulti ? text::Split(pValue, ",") : std::vector<std::string>{out.value};
    out.value.clear();
    for (const auto& p : picked) {
      std::string_view v = text::Trim(p);
      const std::string* key = nullptr;
      for (const auto& m : members)
        if (m.value == v) key = &m.value;
      for (size_t i = 0; !key && i < members.size(); ++i)
        if (text::UCase(members[i].text) == text::UCase(v)) key = &members[i].value;
      if (!key) {
        out.problem = Problem::NotMember;
        out.member = std::string(v);
        return out;
      }
      out.value += (out.value.empty() ? "" : ",") + *key;
    }
    return out;
  }
  double d;
  switch (pField.TYPE) {
    case ID_DBFieldType_Date:
      if (!hIsDate(pValue, d)) out.problem = Problem::NotDate;
      else if (text::Trim(pValue).size() == pValue.size()) out.isDate = true, out.number = d;
      break;
    case ID_DBFieldType_Long:
    case ID_DBFieldType_EnumNumeric:
    case ID_DBFieldType_ReferenceNumeric:
      if (!ParseNumber(pValue, d) || !std::isfinite(d) || d != std::trunc(d)) out.problem = Problem::NotWhole;
      else out.isNumber = true, out.number = d;
      break;
    case ID_DBFieldType_Double:
      if (!ParseNumber(pValue, d) || !std::isfinite(d)) out.problem = Problem::NotNumber;
      else out.isNumber = true, out.number = d;
      break;
    case ID_DBFieldType_Boolean:
      out.value = YESNO(pValue);
      if (out.value.empty()) out.problem = Problem::NotYesNo;
      break;
    default: break;
  }
  return out;
}

std::string PROBLEMTEXT(const cls_DBField& pField, std::string_view pValue, const Result& pFit) {
  const std::string type = cls_DBField::TYPETEXT(pField.TYPE);
  switch (pFit.problem) {
    case Problem::None: return {};
    case Problem::NotMember: {
      bool several = pField.TYPE == ID_DBFieldType_EnumMulti && pValue.find(',') != std::string_view::npos;
      return (several ? "holds '" + pFit.member + "', which is" : std::string("is")) + " not a member of the " + type +
             " field (" + hMemberList(pField) + ")";
    }
    case Problem::NotDate: return "is not a " + type + " (a date that exists: yyyy-mm-dd or d.m.yyyy)";
    case Problem::NotWhole: return "is not a " + type + " (a whole number)";
    case Problem::NotNumber: return "is not a " + type + " (a number)";
    case Problem::NotYesNo: return "is not a " + type + " (a yes/no word: true, false, ja, nein, yes, no, 1, 0)";
  }
  return {};
}

}  // namespace rykel::mdl_DBValueFit
