// The JSON form of structures, and the plain-data rules it shares with the hosts (the Python
// module's dict/list conversions follow the same shape and number rules).
//
// Shape. A node whose used items are all unnamed and fill BASE..MAX without a gap is a list (a JSON
// array); any other node with items is a mapping (a JSON object) keyed by item name, where an
// unnamed item of a mixed node is keyed "[i]" by its index. A node without items is an empty
// mapping, so an empty JSON array reads back as {}.
//
// Writing values: Long and Integer as whole numbers; Double and Single as JSON numbers with a
// fraction or exponent ("2.5", "3.0", "1e+20"), except a whole Double outside 32 bits and within
// +-2^53, which is written whole (a JSON integer beyond 32 bits reads as such a Double, so it comes
// back unchanged); NaN and the infinities as null; Currency as its number; Boolean true/false;
// Empty, Null, error values and objects that are not structures as null; dates as the text
// "yyyy-mm-dd HH:MM:SS"; strings as strings. Output is always valid UTF-8: a byte of a string that
// is not part of a valid UTF-8 character (PHP's Latin-1 text) is written as the character of that
// byte's Latin-1 reading (the byte E4 becomes "ä").
//
// Reading: an object gives named items (names upper-cased, dots part of the name, a later
// duplicate key overwrites the earlier one, the empty key appends a numbered item), an array
// numbered items from 1; whole numbers within 32 bits are Long, other numbers Double (-0 is 0,
// -0.0 stays -0.0; integers beyond +-2^53 are rounded to the nearest Double, as in JavaScript);
// true/false Boolean, null Empty, strings String (they must be valid UTF-8). The text must be one
// object or array (a UTF-8 byte order mark before it is skipped), at most INPUT.SIZE.MAX bytes and
// nested at most STRUCTURE.DEPTH.MAX levels.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/Variant.h"

namespace rykel {

class cls_Structure;
class cls_StructureManager;
using StructurePtr = std::shared_ptr<cls_Structure>;

namespace mdl_StructureJson {

// The node's JSON text: with pIndent >= 0 pretty-printed with that many blanks per level and a
// final line break, with pIndent < 0 on one line without one. Raises 1000 for a tree nested deeper
// than STRUCTURE.DEPTH.MAX (a cycle included).
std::string Write(cls_StructureManager& m, int32_t pID, int pIndent = 2);
// Write for a handle: rykel::mdl_StructureJson::Write(*s) gives the pretty text.
std::string Write(cls_Structure& s, int pIndent = 2);
// A new structure holding the JSON text's items. Raises 1000 "JSON invalid at line L, column C:
// reason" (column in characters) on malformed text, "JSON nested deeper than N levels" past
// STRUCTURE.DEPTH.MAX, and INPUT.SIZE.MAX's error for a text over that size.
StructurePtr Read(std::string_view pText);

// ---- the plain-data rules, shared with the hosts' own conversions ----------------------------
// True when the node is a list (see the shape rule above).
bool IsList(cls_StructureManager& m, int32_t pID);
// True (and the number in rWhole) for a whole Double outside 32 bits and within +-2^53: such a
// value is written as an integer, since integers of that size are read as Doubles.
bool IsWideWhole(const Variant& pValue, int64_t& rWhole);
// The key of an unnamed item in a mapping: "[3]".
std::string IndexKey(int32_t pIndex);
// True when the text starts as a JSON object or array: "{" then (after blanks) '"' or "}", or "["
// then a JSON value's first character. Template text such as "{COMMENT}" or "[draft]" does not,
// and neither does the script form (it starts with a name).
bool LooksLikeJson(std::string_view pText);
// The form of a structure file's text: JSON when pName ends in ".json" (any case) or the text
// starts as JSON after a byte order mark and blanks; serialized text when it starts "a:", "O:" or
// "QS"; else the script form.
enum class FileForm { Json, Serialized, Script };
FileForm FormOf(std::string_view pText, std::string_view pName);
// A JSON string literal of the text, quotes included, written as the structures' strings are.
std::string Quote(std::string_view pText);

}  // namespace mdl_StructureJson
}  // namespace rykel
