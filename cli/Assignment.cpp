// KEY=VALUE assignments typed on the command line (struct set, tree) and --db NAME=FILE arguments.
#include "Commands.h"

#include "frame/Convert.h"

namespace rykel::cli {

Variant AssignmentValue(const std::string& pText) {
  double d;
  if (pText.find(',') != std::string::npos || !ParseNumber(pText, d)) return Variant(pText);
  if (d == static_cast<double>(static_cast<int64_t>(d)) && d >= -2147483648.0 && d <= 2147483647.0)
    return Variant(static_cast<int32_t>(d));
  return Variant(d);
}

std::pair<std::string, Variant> SplitAssignment(const std::string& pAssignment) {
  auto eq = pAssignment.find('=');
  if (eq == std::string::npos) throw CLI::ValidationError("assignment", "expected KEY=VALUE: " + pAssignment);
  return {pAssignment.substr(0, eq), AssignmentValue(pAssignment.substr(eq + 1))};
}

DatabaseArgument SplitDatabaseArgument(const std::string& pArgument) {
  auto eq = pArgument.find('=');
  if (eq == std::string::npos) return {"MAIN", pArgument};
  return {pArgument.substr(0, eq), pArgument.substr(eq + 1)};
}

}  // namespace rykel::cli
