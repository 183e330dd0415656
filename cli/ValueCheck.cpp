#include "ValueCheck.h"

#include "CommandFailure.h"
#include "database/mdl_DBValueFit.h"
#include "frame/Text.h"

namespace rykel::cli {

FittedValue FitValue(const cls_DBField& pField, std::string_view pValue) {
  if (text::Trim(pValue).empty()) return {std::string(pValue), {}};
  mdl_DBValueFit::Result fit = mdl_DBValueFit::FIT(pField, pValue);
  std::string problem = mdl_DBValueFit::PROBLEMTEXT(pField, pValue, fit);
  return {std::move(fit.value), std::move(problem)};
}

std::string CheckValue(const cls_DBField& pField, std::string_view pValue) {
  FittedValue fit = FitValue(pField, pValue);
  if (!fit.problem.empty()) FailUsage(pField.ID + ": '" + std::string(pValue) + "' " + fit.problem);
  return fit.value;
}

}  // namespace rykel::cli
