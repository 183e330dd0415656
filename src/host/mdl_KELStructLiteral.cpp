// Lets cls_StructureTools.CREATE read the structure literal of a plain value ("{STRUCT A=1 B=x}")
// with the interpreter's STRUCT command. Installed when the library is loaded.
#include <memory>
#include <string>
#include <string_view>

#include "interpreter/cls_KEL.h"
#include "structure/cls_StructureTools.h"

namespace rykel {

namespace {

StructurePtr hDecodeLiteral(const std::string& pLiteral) {
  thread_local std::shared_ptr<cls_KEL> tKel;
  if (!tKel) tKel = std::make_shared<cls_KEL>();
  std::string_view text = pLiteral;
  if (text.starts_with("{") && text.ends_with("}")) text = text.substr(1, text.size() - 2);
  return tKel->DECODE(Variant(text), nullptr, Variant(), true).as<cls_Structure>();
}

const bool kInstalled = [] {
  cls_StructureTools::SetLiteralDecoder(hDecodeLiteral);
  return true;
}();

}  // namespace

}  // namespace rykel
