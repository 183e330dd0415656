#include "structure/cls_StructureTools.h"

#include "frame/Error.h"
#include "frame/mdl_Global.h"
#include "structure/cls_StructureSerializer.h"

namespace rykel {

namespace {
constexpr const char* kClass = "cls_StructureTools";
thread_local int32_t tLiveHandles = 0;
}  // namespace

void cls_StructureTools::hHandleCreated() { ++tLiveHandles; }
void cls_StructureTools::hHandleEnded() { --tLiveHandles; }

StructurePtr cls_StructureTools::CAST(const Variant& pValue) {
  return Guard(kClass, "CAST", [&] {
    if (auto s = pValue.as<cls_Structure>()) return s;
    return cls_Structure::New();
  });
}

bool cls_StructureTools::ISSTRUCT(const Variant& pValue) { return pValue.as<cls_Structure>() != nullptr; }

bool cls_StructureTools::ISFILLEDSTRUCT(const Variant& pValue) {
  return Guard(kClass, "ISFILLEDSTRUCT", [&] {
    auto s = pValue.as<cls_Structure>();
    return s && s->COUNT() != 0;
  });
}

StructurePtr cls_StructureTools::UNSERIALIZE(std::string_view rSerialData) {
  return Guard("cls_StructureManager", "STRUCTURE.UNSERIALIZE", [&] {
    auto s = cls_Structure::New();
    cls_StructureSerializer(*s->MANAGER_GET()).Unserialize(s->SID_GET(), rSerialData);
    return s;
  });
}

void cls_StructureTools::VARSET(Variant& rTarget, const Variant& pValue) { rTarget = pValue; }

int32_t cls_StructureTools::USAGEMANAGED() { return mdl_Global::SMAN_GET()->USAGE(); }
int32_t cls_StructureTools::USAGEFREE() { return mdl_Global::SMAN_GET()->USAGEFREE(); }
std::string cls_StructureTools::USAGEINFO() { return mdl_Global::SMAN_GET()->USAGEINFO(); }
int32_t cls_StructureTools::USAGEUSED() { return tLiveHandles; }
int32_t cls_StructureTools::USAGEBUFFER() { return mdl_Global::SMAN_GET()->BUFFER(); }
std::string cls_StructureTools::PERFORMANCEINFO() { return mdl_Global::SMAN_GET()->PERFORMANCEINFO(); }

}  // namespace rykel
