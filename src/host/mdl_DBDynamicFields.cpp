// Lets a database render its dynamic fields with the interpreter, which sits above the database.
// Installed when the library is loaded.
#include "database/cls_DBStore.h"
#include "interpreter/cls_KEL.h"

namespace rykel {

namespace {

std::function<Variant(const std::string&)> hBind(ObjectPtr& rKEL, const StructurePtr& pEntry) {
  auto kel = std::dynamic_pointer_cast<cls_KEL>(rKEL);
  if (!kel) {
    kel = std::make_shared<cls_KEL>();
    rKEL = kel;
  }
  if (!pEntry) return {};
  kel->VARIABLES->ITEM_LET("ENTRY", Variant(pEntry));
  return [kel](const std::string& pCode) { return Variant(kel->PROCESS(pCode)); };
}

const bool kInstalled = [] {
  cls_DBStore::SetDynamicFields(hBind);
  return true;
}();

}  // namespace

}  // namespace rykel
