#include "database/DBEntryText.h"

#include <cstdlib>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "frame/Text.h"

namespace rykel {

std::string hEntryText(const StructurePtr& pEntry) {
  if (!pEntry) return cls_Structure::New()->SERIALIZE();
  return pEntry->SERIALIZE();
}

StructurePtr hEntryFromText(std::string_view pText) {
  auto st = cls_Structure::New();
  st->UNSERIALIZE(pText);
  return st;
}

void hStructureFileSave(const StructurePtr& pStructure, const std::string& pFile) { pStructure->SAVE(pFile); }

StructurePtr hStructureFileLoad(const std::string& pFile) {
  auto st = cls_Structure::New();
  st->LOAD(pFile);
  return st;
}

StructurePtr hStructureFromScript(std::string_view pText) {
  auto st = cls_Structure::New();
  st->PARSE(pText);
  return st;
}

StructurePtr hStructureCopy(const StructurePtr& pStructure) {
  return pStructure ? hEntryFromText(hEntryText(pStructure)) : nullptr;
}

}  // namespace rykel
