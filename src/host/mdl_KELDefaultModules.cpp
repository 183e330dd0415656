// Gives every new interpreter the IO, STRUCTURE and TEXT modules. The modules sit above the interpreter,
// so the interpreter asks through a hook that this file installs when the library is loaded.
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModules.h"
#include "modules/mod_KELIO.h"
#include "modules/mod_KELStructure.h"
#include "modules/mod_KELText.h"

namespace rykel {

namespace {

void hAddDefaultModules(cls_KELModules& rModules) {
  rModules.ADD(std::make_shared<mod_KELIO>());
  rModules.ADD(std::make_shared<mod_KELStructure>());
  rModules.ADD(std::make_shared<mod_KELText>());
}

const bool kInstalled = [] {
  cls_KEL::SetDefaultModules(hAddDefaultModules);
  return true;
}();

}  // namespace

}  // namespace rykel
