#include "ValueCheck.h"

#include <cmath>

#include "CommandFailure.h"
#include "database/mdl_DBValueFit.h"
#include "frame/Text.h"

namespace rykel::cli {

namespace {

std::string hMemberList(const cls_DBField& pField) {
  std::string list;
  for (const auto& m : pField.MembersParsed())
    list += (list.empty() ? "" : ", ") + (m.value == m.text ? m.text : m.value + "=" + m.text);
  return list;
}

}  // namespace

FittedValue FitValue(const cls_DBField& pField, std::string_view pValue) {
  if (text::Trim(pValue).empty()) return {std::string(pValue), {}};
  using mdl_DBValueFit::Problem;
  mdl_DBValueFit::Result fit = mdl_DBValueFit::FIT(pField, pValue);
  FittedValue out{std::move(fit.value), {}};
  const std::string type = cls_DBField::TYPETEXT(pField.TYPE);
  switch (fit.problem) {
    case Problem::None: break;
    case Problem::NotMember: {
      bool several = pField.TYPE == ID_DBFieldType_EnumMulti && pValue.find(',') != std::string_view::npos;
      out.problem = (several ? "holds '" + fit.member + "', which is" : std::string("is")) + " not a member of the " +
                    type + " field (" + hMemberList(pField) + ")";
      break;
    }
    case Problem::NotDate: out.problem = "is not a " + type + " (a date that exists: yyyy-mm-dd or d.m.yyyy)"; break;
    case Problem::NotWhole: out.problem = "is not a " + type + " (a whole number)"; break;
    case Problem::NotNumber: out.problem = "is not a " + type + " (a number)"; break;
    case Problem::NotYesNo:
      out.problem = "is not a " + type + " (a yes/no word: true, false, ja, nein, yes, no, 1, 0)";
      break;
  }
  return out;
}

std::string CheckValue(const cls_DBField& pField, std::string_view pValue) {
  FittedValue fit = FitValue(pField, pValue);
  if (!fit.problem.empty()) FailUsage(pField.ID + ": '" + std::string(pValue) + "' " + fit.problem);
  return fit.value;
}

}  // namespace rykel::cli
