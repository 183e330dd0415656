#include "interpreter/cls_KELModule.h"

#include "frame/Error.h"
#include "frame/Text.h"
#include "interpreter/cls_KEL.h"

namespace rykel {

void cls_KELModule::COMMAND(std::string_view pName) { commands_.push_back(text::UCase(pName)); }

Variant cls_KELModule::EXECUTE(cls_KEL& pKEL, const std::string& pCmd, const StructurePtr& pParameters,
                               StructurePtr pResult, bool& rDone) {
  if (!pResult) pResult = cls_Structure::New();
  StructurePtr params = pParameters ? pParameters : cls_Structure::New();
  rDone = true;
  Variant value("__ERR__");
  if (EXECUTEEVENT) {
    try {
      EXECUTEEVENT(pResult, rDone, value, pCmd, params, pKEL);
    } catch (const std::exception& e) {
      rDone = true;
      return pKEL.ERRORS("Could not execute", id_ + ":" + pCmd, false);
    }
  } else {
    rDone = false;
  }
  if (value.isObject()) return value;
  if (value.isString() && value.str() == "__ERR__") {
    if (rDone) return Variant("");
    return pKEL.ERRORS("Module '" + id_ + "' does not support command '" + pCmd + "'", "", false);
  }
  return value;
}

bool cls_KELModule::OFFER(cls_KEL& pKEL, const std::string& pCmd, const StructurePtr& pParameters,
                          const StructurePtr& pResult, Variant& rValue) {
  if (!EXECUTEEVENT) return false;
  bool done = true;
  Variant value("__ERR__");
  EXECUTEEVENT(pResult ? pResult : cls_Structure::New(), done, value, pCmd,
               pParameters ? pParameters : cls_Structure::New(), pKEL);
  if (!done) return false;
  rValue = (value.isString() && value.str() == "__ERR__") ? Variant("") : value;
  return true;
}

void cls_KELModule::SIGNAL(int pSignal, const Variant& pParameters) {
  if (SIGNALEVENT) SIGNALEVENT(pSignal, pParameters);
}

}  // namespace rykel
