// cls_KELModules: the interpreter's registry of command modules (cls_KEL::MODULES).
//
// Invariants: modules_ keeps the order of ADD. index_ maps each upper-cased id and alias to the first
// module that claimed it, and the two catch lists keep the order of ADD; all three are rebuilt by
// REINDEX and are stale (indexed_ false) after every ADD.
//
// Routing of "ALIAS:CMD" (EXECUTE): catch-first modules in order (each gets the whole upper-cased
// command); then the module indexed under ALIAS (gets CMD), unless it was already offered the command
// as a catch-first module; then catch-all modules in order (whole command). No taker: the error text
// "ERR:---Module not found: ALIAS---", recorded in the interpreter's ERRORLIST.
//
//   kel.MODULES->ADD(std::make_shared<MyModule>());
//   auto io = kel.MODULES->MODULE("io");   // found by alias, any case
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "frame/Object.h"
#include "frame/Variant.h"
#include "interpreter/cls_KELModuleInterface.h"

namespace rykel {

class cls_KEL;

class cls_KELModules : public Object {
 public:
  std::string TypeName() const override { return "cls_KELModules"; }

  // Appends the module (a null module is ignored); the index becomes stale.
  void ADD(KELModulePtr pModule);
  int32_t COUNT() const { return static_cast<int32_t>(modules_.size()); }
  // A string: the module with that id or alias (any case). A number 1..COUNT: the module at that
  // position. Anything else, or no match: null.
  KELModulePtr MODULE(const Variant& pIDOrIndex);
  KELModulePtr ITEM(const Variant& pIDOrIndex) { return MODULE(pIDOrIndex); }
  // The module indexed under the name (any case), or null.
  KELModulePtr FIND(std::string_view pName);
  void INDEXCLEAR();
  void REINDEX();
  // Routes one command (see the header comment). pResult may be null (an empty one is made).
  Variant EXECUTE(cls_KEL& pKEL, std::string_view pCmd, const StructurePtr& pParameters,
                  const StructurePtr& pResult = nullptr);
  // Routing without the "Module not found" record: false when no module took the command.
  bool hRoute(cls_KEL& pKEL, std::string_view pCmd, const StructurePtr& pParameters, const StructurePtr& pResult,
              Variant& rValue);
  // Passes the signal to every module, in the order of ADD.
  void SIGNAL(int pSignal, const Variant& pParameters);
  // rDest = pSource.
  void VARSET(Variant& rDest, const Variant& pSource) { rDest = pSource; }

 private:
  std::vector<KELModulePtr> modules_;
  std::unordered_map<std::string, KELModulePtr> index_;
  std::vector<KELModulePtr> catchFirst_, catchAll_;
  bool indexed_ = false;
};

}  // namespace rykel
