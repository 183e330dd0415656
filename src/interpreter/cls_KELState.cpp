#include "interpreter/cls_KELState.h"

#include <algorithm>
#include <iterator>

#include "frame/Convert.h"
#include "frame/mdl_Global.h"
#include "interpreter/KELNames.h"
#include "structure/cls_StructureManager.h"

namespace rykel {

namespace {

// A kept setting key has at most this many parts ("SYS.OUTPUT.MAX").
constexpr size_t kSettingParts = 3;

// A setting's value, as ITEM_GET gives it for the dotted upper-case key: found part by part
// through the name atoms of the settings' manager, with no key text or handle made (every
// outermost PROCESS reads a dozen settings). pNames, when given, keeps the parts' names from one
// call to the next. A structure at the end of the path takes ITEM_GET.
Variant hSetting(const StructurePtr& pSettings, std::string_view pKey, const Variant& pDefault,
                 ItemName* pNames = nullptr) {
  cls_StructureManager& m = *pSettings->MANAGER_GET();
  int32_t node = pSettings->SID_GET();
  std::string_view rest = pKey;
  for (size_t part = 0;; ++part) {
    const size_t dot = rest.find('.');
    const std::string_view name = rest.substr(0, dot);
    uint32_t atom;
    if (pNames && part < kSettingParts) {
      ItemName& kept = pNames[part];
      if (kept.hash == 0) kept.hash = NameTable::Hash(name);
      atom = KeptAtom(m.Names(), kept, name);
    } else {
      atom = m.Names().Find(name);
    }
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

// The settings every outermost PROCESS reads, with their parts' names kept per thread.
enum KeptSetting {
  kCommandsMax,
  kNestingMax,
  kOutputMax,
  kValueMax,
  kStepsMax,
  kErrorsMax,
  kHtml,
  kDebug,
  kNoExec,
  kConfined,
  kAutoescape,
  kKeptSettings
};
constexpr std::string_view kKeptKeys[] = {
    "SYS.COMMANDS.MAX", "SYS.NESTING.MAX", "SYS.OUTPUT.MAX", "SYS.VALUE.MAX",       "SYS.STEPS.MAX", "SYS.ERRORS.MAX",
    "SYS.OUTPUT.HTML",  "DEVELOPER.DEBUG", "SYS.NOEXEC",     "SYS.LOCATE.CONFINED", "SYS.AUTOESCAPE"};
static_assert(std::size(kKeptKeys) == kKeptSettings);

ItemName* hKeptNames(KeptSetting pSetting) {
  thread_local ItemName names[kKeptSettings][kSettingParts];
  return names[pSetting];
}

bool hBool(const Variant& v, bool pDefault) {
  if (v.isBool()) return v.rawBool();  // a missing setting gives pDefault so
  try {
    return mdl_Global::hCBool(v);
  } catch (...) { return pDefault; }
}

int32_t hInt(const Variant& v, int32_t pDefault) {
  double d;
  if (v.isEmpty() || !NumericValue(v, d)) {
    if (!v.isString() || !ParseNumber(v.str(), d)) return pDefault;
  }
  return d < 1 ? pDefault : (d > 2e9 ? 2000000000 : static_cast<int32_t>(d));
}

// pUnder: the settings hold the key's first part (SYS, DEVELOPER); without it the key is not there.
bool hKeptBool(const StructurePtr& pSettings, KeptSetting pSetting, bool pDefault, bool pUnder) {
  if (!pUnder) return pDefault;
  return hBool(hSetting(pSettings, kKeptKeys[pSetting], Variant(pDefault), hKeptNames(pSetting)), pDefault);
}

int32_t hKeptInt(const StructurePtr& pSettings, KeptSetting pSetting, int32_t pDefault, bool pUnder) {
  if (!pUnder) return pDefault;
  return hInt(hSetting(pSettings, kKeptKeys[pSetting], Variant(), hKeptNames(pSetting)), pDefault);
}

}  // namespace

bool cls_KELState::Setting(const StructurePtr& pSettings, std::string_view pKey, bool pDefault) {
  return hBool(hSetting(pSettings, pKey, Variant(pDefault)), pDefault);
}

int32_t cls_KELState::SettingInt(const StructurePtr& pSettings, std::string_view pKey, int32_t pDefault) {
  return hInt(hSetting(pSettings, pKey, Variant()), pDefault);
}

void cls_KELState::ReadSettings(const StructurePtr& pSettings) {
  // Every key lies under SYS or DEVELOPER: settings without one of them (the usual case for
  // DEVELOPER, often for both) give its keys' defaults without a lookup each.
  cls_StructureManager& m = *pSettings->MANAGER_GET();
  auto holds = [&](std::string_view pPart) {
    const uint32_t atom = m.Names().Find(pPart);
    return atom && m.FindSlot(pSettings->SID_GET(), atom) >= 0;
  };
  const bool sys = holds("SYS"), developer = holds("DEVELOPER");
  run.commandsMax = hKeptInt(pSettings, kCommandsMax, 100, sys);
  run.nestingMax = hKeptInt(pSettings, kNestingMax, 50, sys);
  run.outputMax = static_cast<size_t>(hKeptInt(pSettings, kOutputMax, 64 << 20, sys));
  run.valueMax = std::min(static_cast<size_t>(hKeptInt(pSettings, kValueMax, 16 << 20, sys)), run.outputMax);
  run.stepsMax = hKeptInt(pSettings, kStepsMax, 10000000, sys);
  run.errorsMax = hKeptInt(pSettings, kErrorsMax, 10000, sys);
  steps = 0;
  errorsListed = 0;
  cutShort = false;
  run.html = hKeptBool(pSettings, kHtml, false, sys);
  run.debug = hKeptBool(pSettings, kDebug, false, developer);
  run.noexec = hKeptBool(pSettings, kNoExec, false, sys);
  run.confined = hKeptBool(pSettings, kConfined, false, sys);
  run.autoescape = hKeptBool(pSettings, kAutoescape, false, sys);
}

void cls_KELState::ShowCalls(const StructurePtr& pRecursions) {
  if (callsShown == calls) return;
  pRecursions->ITEMDIRECT_LET(1, "CALLS", Variant(static_cast<double>(calls)));
  callsShown = calls;
}

}  // namespace rykel
