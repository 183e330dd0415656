#include "interpreter/cls_KELState.h"

#include <algorithm>

#include "frame/Convert.h"
#include "frame/mdl_Global.h"

namespace rykel {

bool cls_KELState::Setting(const StructurePtr& pSettings, std::string_view pKey, bool pDefault) {
  Variant v = pSettings->ITEM_GET(Variant(pKey), Variant(pDefault));
  try {
    return mdl_Global::hCBool(v);
  } catch (...) { return pDefault; }
}

int32_t cls_KELState::SettingInt(const StructurePtr& pSettings, std::string_view pKey, int32_t pDefault) {
  Variant v = pSettings->ITEM_GET(Variant(pKey));
  double d;
  if (v.isEmpty() || !NumericValue(v, d)) {
    if (!v.isString() || !ParseNumber(v.str(), d)) return pDefault;
  }
  return d < 1 ? pDefault : (d > 2e9 ? 2000000000 : static_cast<int32_t>(d));
}

void cls_KELState::ReadSettings(const StructurePtr& pSettings) {
  run.commandsMax = SettingInt(pSettings, "SYS.COMMANDS.MAX", 100);
  run.nestingMax = SettingInt(pSettings, "SYS.NESTING.MAX", 50);
  run.outputMax = static_cast<size_t>(SettingInt(pSettings, "SYS.OUTPUT.MAX", 64 << 20));
  run.valueMax = std::min(static_cast<size_t>(SettingInt(pSettings, "SYS.VALUE.MAX", 16 << 20)), run.outputMax);
  run.stepsMax = SettingInt(pSettings, "SYS.STEPS.MAX", 10000000);
  run.errorsMax = SettingInt(pSettings, "SYS.ERRORS.MAX", 10000);
  steps = 0;
  errorsListed = 0;
  cutShort = false;
  run.html = Setting(pSettings, "SYS.OUTPUT.HTML", false);
  run.debug = Setting(pSettings, "DEVELOPER.DEBUG", false);
  run.noexec = Setting(pSettings, "SYS.NOEXEC", false);
  run.confined = Setting(pSettings, "SYS.LOCATE.CONFINED", false);
  run.autoescape = Setting(pSettings, "SYS.AUTOESCAPE", false);
}

void cls_KELState::ShowCalls(const StructurePtr& pRecursions) {
  if (callsShown == calls) return;
  pRecursions->ITEMDIRECT_LET(1, "CALLS", Variant(static_cast<double>(calls)));
  callsShown = calls;
}

}  // namespace rykel
