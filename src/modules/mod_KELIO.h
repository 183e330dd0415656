// mod_KELIO: the built-in module "IO" for small text, date and output commands ({IO:TAB},
// {IO:DATEFORMAT DATE=2024-05-01 FORMAT="dd.mm.yyyy"}).
#pragma once

#include <memory>
#include <string>

#include "interpreter/cls_KELModuleInterface.h"

namespace rykel {

class mod_KELIO : public cls_KELModuleInterface {
 public:
  mod_KELIO();
  std::string TypeName() const override { return "mod_KELIO"; }
  std::shared_ptr<cls_KELModule> MODULE_GET() override { return module_; }
  // The module's command handler.
  static void MODULE_EXECUTE(const StructurePtr& rResult, bool& rDone, Variant& rValue, const std::string& pCmd,
                             const StructurePtr& pParameters, cls_KEL& pKEL);
  // "0711 / 12 34" -> "0711---12-34": trimmed, "o" -> "0", " " -> "-", "/" -> "-".
  static std::string TELNORM(std::string_view pNumber);

 private:
  std::shared_ptr<cls_KELModule> module_;
};

}  // namespace rykel
