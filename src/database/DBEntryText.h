// The text form an entry's structure travels in, inside the binary database form and the
// one-string form: the structure's serialized text.
#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

#include "structure/cls_Structure.h"

namespace rykel {

// The serialized text of an entry (an empty structure's text for a null entry).
std::string hEntryText(const StructurePtr& pEntry);
// A new structure read from serialized text. Raises kInvalidData for malformed text.
StructurePtr hEntryFromText(std::string_view pText);

}  // namespace rykel

namespace rykel {

// A structure file: written atomically, read back whole. Raises a file error or kInvalidData.
void hStructureFileSave(const StructurePtr& pStructure, const std::string& pFile);
StructurePtr hStructureFileLoad(const std::string& pFile);
// A structure read from the text of a structure file (what hStructureFileLoad reads from the file).
StructurePtr hStructureFromScript(std::string_view pText);
// An independent deep copy.
StructurePtr hStructureCopy(const StructurePtr& pStructure);

}  // namespace rykel
