// JSON in the rykel program: the library's reader and writer (structure/mdl_StructureJson.h, which
// states the rules), with malformed input reported as the command's usage error.
#pragma once

#include <string>
#include <string_view>

#include "structure/cls_Structure.h"

namespace rykel::cli {

// Pretty-printed with two blanks per level, ending with a line break.
std::string StructToJson(cls_Structure& pStruct);
// A new structure from JSON text. Malformed text, or text nested too deep, ends the command with
// the usage error "pWhere: JSON invalid at line L, column C: reason" (exit 2); pWhere names the
// file or option the text came from.
StructurePtr JsonToStruct(std::string_view pText, const std::string& pWhere);
// True for a file name ending in ".json" (any case): such a file is read as JSON.
bool IsJsonFile(std::string_view pPath);
// Appends a JSON string literal of the text, written as the structures' strings are.
void AppendJsonString(std::string& rOut, std::string_view pText);

}  // namespace rykel::cli
