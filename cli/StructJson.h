// The JSON view of structures used by "rykel struct": a writer and a reader.
//
// Writing: a node whose items are all unnamed and numbered BASE, BASE+1, ... without gaps is an
// array; any other node an object keyed by item name (an unnamed item in an object gets the key
// "[i]"). Numbers stay numbers, Boolean true/false, Empty and Null null, dates the text
// "yyyy-mm-dd HH:MM:SS", strings strings. The output is always valid UTF-8: a byte of a string
// that is not part of a valid UTF-8 character (Latin-1 text, say) is written as the escape
// \u00XX of that byte, which reads it as Latin-1 (the byte E4 becomes "\u00e4", "ä").
// Reading: objects give named items, arrays numbered items from 1, whole numbers within 32 bits
// Long and other numbers Double, null Empty. Nesting deeper than 1000 levels is refused.
#pragma once

#include <string>
#include <string_view>

#include "structure/cls_Structure.h"

namespace rykel::cli {

// Pretty-printed with two blanks per level, ending with a line break.
std::string StructToJson(cls_Structure& pStruct);
// Adds the items of a JSON object or array to the structure. Raises 1000 "JSON invalid at
// offset N: ..." on bad input.
void JsonToStruct(std::string_view pText, cls_Structure& rStruct);
// Appends a JSON string literal of the text, written as the structures' strings are.
void AppendJsonString(std::string& rOut, std::string_view pText);

}  // namespace rykel::cli
