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

bool IsJsonFile(std::string_view pPath) {
  return pPath.size() > 5 && text::UCase(pPath.substr(pPath.size() - 5)) == ".JSON";
}

void AppendJsonString(std::string& rOut, std::string_view pText) { rOut += mdl_StructureJson::Quote(pText); }

}  // namespace rykel::cli
