// mod_KELStructure: the built-in module "STRUCTURE" (alias "STRUCT") that gives templates access
// to structures ({STRUCT:GET VAR:person NAME}, {STRUCT:SPLIT "a,b" ","}).
#pragma once

#include <memory>
#include <string>

#include "interpreter/cls_KELModuleInterface.h"

namespace rykel {

class mod_KELStructure : public cls_KELModuleInterface {
 public:
  mod_KELStructure();
  std::string TypeName() const override { return "mod_KELStructure"; }
  std::shared_ptr<cls_KELModule> MODULE_GET() override { return module_; }
  static void MODULE_EXECUTE(const StructurePtr& rResult, bool& rDone, Variant& rValue, const std::string& pCmd,
                             const StructurePtr& pParameters, cls_KEL& pKEL);

 private:
  std::shared_ptr<cls_KELModule> module_;
};

}  // namespace rykel
