// The script form of structures and structure files: the value literals shared by the script form
// and the encoded form, the writer, the reader (PARSE) and the file operations built on them.
//
// Grammar of the script form (lines end "\r\n"; the reader also takes "\r" or "\n"):
//
//   script   -> { line }
//   line     -> indent ( assign | open | close | comment | blank )
//   indent   -> { TAB | " " }                     one tab per level when written
//   assign   -> name ws "=" ws value
//   open     -> name ws [ "=" ws ] "{"            "{" alone appends an unnamed sub-structure
//   close    -> "}"
//   comment  -> "#" text | "//" text
//   name     -> part { "." part } | quoted        a quoted name is one name, dots included
//   part     -> "[" digits "]" | bare             bare: no = { } " or control chars, not starting
//                                                 with # [ or //; ".." stands for a literal "."
//   value    -> "" | "NULL" | "True" | "False" | "{}" | number | "#" date "#" | quoted | bare text
//   number   -> integer | integer "%" | integer "&" | real | real "!" | decimal "@"
//   quoted   -> '"' { char | "\\" | "\"" | "\r" | "\n" | "\t" | "\xHH" } '"'
//
// Written values: Empty as nothing, Null "NULL", Long "7", Integer "7%", Double "1.5" (always with
// "." or "E", shortest text that reads back exactly), Single "1.5!", Currency "12.5@", Boolean
// "True"/"False", Date "#2024-05-01 12:30:00#", String always quoted. Objects other than structures
// and error values are written as Empty. Unnamed items are written by index as "[3]".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "frame/Variant.h"
#include "frame/mdl_Limits.h"

namespace rykel {

class cls_StructureManager;

namespace mdl_StructureScript {

// Deepest nesting the writers and readers accept (the limit STRUCTURE.DEPTH.MAX); deeper (or
// cyclic) trees raise an error.
inline int MaxDepth() { return static_cast<int>(mdl_Limits::Get(mdl_Limits::kStructureDepth)); }

// Appends the literal of a scalar value. With pBareStrings a string is written without quotes
// whenever it would read back as the same string (the encoded form uses this).
void ValueLiteral(std::string& rOut, const Variant& pValue, bool pBareStrings = false);
// Reads a whole literal (already trimmed). "{}" sets rEmptyStruct. False and rError on bad input.
bool ReadLiteral(std::string_view pText, Variant& rValue, bool& rEmptyStruct, std::string& rError);
// Appends s in double quotes with backslash escapes.
void AppendQuoted(std::string& rOut, std::string_view s);
// Empty, Null, "" and any numeric zero: the values the *NOTEMPTY forms leave out.
bool IsEmptyValue(const Variant& pValue);
// The name of an item as the script form writes it (dots doubled, quoted when needed, "[i]" for
// unnamed items).
void AppendName(std::string& rOut, std::string_view pName, int32_t pIndex);

// One step of a key path: a whole name (dots included) or, with index >= 0, an item index.
struct PathPart {
  std::string name;
  int64_t index = -1;
};
// Writes the value (or, with pEmptyStruct, a new empty sub-structure) under the path, creating or
// replacing sub-structures on the way. Raises 1000 for a path deeper than MaxDepth(), an index
// that skips more than 1024 unused slots, or (with rGapBudget) one that opens more unused slots
// than the budget has left; the budget is lowered by the slots opened.
void AssignPath(cls_StructureManager& m, int32_t pID, const std::vector<PathPart>& pPath, const Variant& pValue,
                bool pEmptyStruct, int64_t* rGapBudget = nullptr);

// The writer behind SCRIPT / SCRIPTNOTEMPTY.
std::string Write(cls_StructureManager& m, int32_t pID, int32_t pIndentation, bool pNotEmpty);
// Appends the lines of the node's items to rOut, as SCRIPT writes them for a node that sits pDepth
// levels deep in the tree being written (the depth limit counts from there), indented pLevel tabs.
// Lets a large file be written node by node.
void WriteNode(std::string& rOut, cls_StructureManager& m, int32_t pID, int32_t pLevel, int pDepth);
// The reader behind PARSE: adds the items of pText to the node. Raises 1000 on bad input, and when
// its "[i]" names open more unused slots in total than mdl_Limits::UnusedSlotBudget allows.
// Lines of the usual shapes are read by a quick way; pQuick false reads every line the general
// way, which must give the same tree or the same error (tests compare the two).
void Parse(cls_StructureManager& m, int32_t pID, std::string_view pText, bool pQuick = true);
// Removes every item of the node (releasing sub-structures) and resets it to a new node's state.
void Empty(cls_StructureManager& m, int32_t pID);
// Moves the items and HASZERO of pFrom into pTo (which must be empty).
void MoveContent(cls_StructureManager& m, int32_t pFrom, int32_t pTo);

}  // namespace mdl_StructureScript
}  // namespace rykel
