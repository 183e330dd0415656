#include "StructJson.h"

#include "CommandFailure.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "structure/mdl_StructureJson.h"

namespace rykel::cli {

std::string StructToJson(cls_Structure& pStruct) { return mdl_StructureJson::Write(pStruct); }

StructurePtr JsonToStruct(std::string_view pText, const std::string& pWhere) {
  try {
    return mdl_StructureJson::Read(pText);
  } catch (const Error& e) {
    if (e.number != err::kInvalidData) throw;
    FailUsage(pWhere + ": " + e.description);
  }
}

bool LooksLikeJson(std::string_view v) {
  if (v.empty() || (v[0] != '{' && v[0] != '[')) return false;
  size_t i = v.find_first_not_of(" \t\r\n", 1);
  if (i == std::string_view::npos) return false;
  std::string_view rest = v.substr(i);
  if (v[0] == '{') return rest[0] == '"' || rest[0] == '}';
  return std::string_view("\"{[]-0123456789").find(rest[0]) != std::string_view::npos || rest.starts_with("true") ||
         rest.starts_with("false") || rest.starts_with("null");
}

bool IsJsonFile(std::string_view pPath) {
  return pPath.size() > 5 && text::UCase(pPath.substr(pPath.size() - 5)) == ".JSON";
}

void AppendJsonString(std::string& rOut, std::string_view pText) { rOut += mdl_StructureJson::Quote(pText); }

}  // namespace rykel::cli
