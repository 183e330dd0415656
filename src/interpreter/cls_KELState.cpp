#include "interpreter/cls_KELState.h"

#include <algorithm>

#include "frame/Convert.h"
#include "frame/mdl_Global.h"
#include "structure/cls_StructureManager.h"

namespace rykel {

namespace {

// A setting's value, as ITEM_GET gives it for the dotted upper-case key: found part by part
// through the name atoms of the settings' manager, with no key text or handle made (every
// outermost PROCESS reads a dozen settings). A structure at the end of the path takes ITEM_GET.
Variant hSetting(const StructurePtr& pSettings, std::string_view pKey, const Variant& pDefault) {
  cls_StructureManager& m = *pSettings->MANAGER_GET();
  int32_t node = pSettings->SID_GET();
  std::string_view rest = pKey;
  while (true) {
    const size_t dot = rest.find('.');
    const uint32_t atom = m.Names().Find(rest.substr(0, dot));
    const int32_t slot = atom ? m.FindSlot(node, atom) : -1;
    if (slot < 0) return pDefault;
    const auto& item = m.Items(node)[slot];
    if (dot == std::string_view::npos) {
      if (item.isStruct) return pSettings->ITEM_GET(Variant(pKey), pDefault);
      return item.value;
    }
    if (!item.isStruct) return pDefault;  // a path through a value
    node = item.child;
    rest.remove_prefix(dot + 1);
  }
}

}  // namespace

bool cls_KELState::Setting(const StructurePtr& pSettings, std::string_view pKey, bool pDefault) {
  Variant v = hSetting(pSettings, pKey, Variant(pDefault));
  if (v.isBool()) return v.rawBool();  // a missing setting gives pDefault so
  try {
    return mdl_Global::hCBool(v);
  } catch (...) { return pDefault; }
}

int32_t cls_KELState::SettingInt(const StructurePtr& pSettings, std::string_view pKey, int32_t pDefault) {
  Variant v = hSetting(pSettings, pKey, Variant());
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
