// cls_KELModuleInterface: what the registry holds. A command module derives from it and gives its
// cls_KELModule through MODULE_GET; the module object carries the identity and the handler.
#pragma once

#include <memory>
#include <string>

#include "frame/Object.h"
#include "interpreter/cls_KELModule.h"

namespace rykel {

class cls_KELModuleInterface : public Object {
 public:
  std::string TypeName() const override { return "cls_KELModuleInterface"; }
  virtual std::shared_ptr<cls_KELModule> MODULE_GET() = 0;
};

using KELModulePtr = std::shared_ptr<cls_KELModuleInterface>;

}  // namespace rykel
