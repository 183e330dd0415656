#include "interpreter/cls_KELModules.h"

#include <algorithm>
#include <cmath>

#include "frame/Convert.h"
#include "frame/Text.h"
#include "interpreter/cls_KEL.h"

namespace rykel {

void cls_KELModules::ADD(KELModulePtr pModule) {
  if (!pModule) return;
  modules_.push_back(std::move(pModule));
  indexed_ = false;
}

void cls_KELModules::INDEXCLEAR() {
  index_.clear();
  catchFirst_.clear();
  catchAll_.clear();
  indexed_ = false;
}

void cls_KELModules::REINDEX() {
  INDEXCLEAR();
  for (const auto& m : modules_) {
    auto mod = m->MODULE_GET();
    if (!mod) continue;
    if (mod->CATCHFIRST_GET()) catchFirst_.push_back(m);
    if (mod->CATCHALL_GET()) catchAll_.push_back(m);
    index_.emplace(text::UCase(mod->ID_GET()), m);
    for (const auto& a : mod->ALIASES_GET()) index_.emplace(text::UCase(a), m);
  }
  indexed_ = true;
}

KELModulePtr cls_KELModules::FIND(std::string_view pName) {
  if (!indexed_) REINDEX();
  auto it = index_.find(text::UCase(pName));
  return it == index_.end() ? nullptr : it->second;
}

KELModulePtr cls_KELModules::MODULE(const Variant& pIDOrIndex) {
  if (pIDOrIndex.isString()) return FIND(pIDOrIndex.str());
  double d;
  if (!NumericValue(pIDOrIndex, d) || pIDOrIndex.isBool()) return nullptr;
  if (d != std::floor(d) || d < 1 || d > COUNT()) return nullptr;
  return modules_[static_cast<size_t>(d) - 1];
}

bool cls_KELModules::hRoute(cls_KEL& pKEL, std::string_view pCmd, const StructurePtr& pParameters,
                            const StructurePtr& pResult, Variant& rValue) {
  if (!indexed_) REINDEX();
  StructurePtr result = pResult ? pResult : cls_Structure::New();
  std::string whole = text::UCase(pCmd);
  size_t colon = whole.find(':');
  std::string alias = colon == std::string::npos ? whole : whole.substr(0, colon);
  std::string cmd = colon == std::string::npos ? std::string() : whole.substr(colon + 1);

  for (const auto& m : catchFirst_)
    if (m->MODULE_GET()->OFFER(pKEL, whole, pParameters, result, rValue)) return true;
  if (auto it = index_.find(alias); it != index_.end()) {
    bool offered = std::find(catchFirst_.begin(), catchFirst_.end(), it->second) != catchFirst_.end();
    if (!offered) {
      bool done = false;
      rValue = it->second->MODULE_GET()->EXECUTE(pKEL, cmd, pParameters, result, done);
      return true;
    }
  }
  for (const auto& m : catchAll_)
    if (m->MODULE_GET()->OFFER(pKEL, whole, pParameters, result, rValue)) return true;
  return false;
}

Variant cls_KELModules::EXECUTE(cls_KEL& pKEL, std::string_view pCmd, const StructurePtr& pParameters,
                                const StructurePtr& pResult) {
  Variant value;
  if (hRoute(pKEL, pCmd, pParameters, pResult, value)) return value;
  std::string whole = text::UCase(pCmd);
  return pKEL.ERRORS("Module not found", whole.substr(0, whole.find(':')), false);
}

void cls_KELModules::SIGNAL(int pSignal, const Variant& pParameters) {
  for (const auto& m : modules_)
    if (auto mod = m->MODULE_GET()) mod->SIGNAL(pSignal, pParameters);
}

}  // namespace rykel
