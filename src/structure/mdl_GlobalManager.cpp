#include "structure/mdl_GlobalManager.h"

#include "structure/cls_StructureManager.h"

namespace rykel {

namespace {

// Holds the thread's manager for the life of the thread and ends it when the thread ends.
struct frm_SManHolder {
  std::shared_ptr<cls_StructureManager> manager = std::make_shared<cls_StructureManager>();
  ~frm_SManHolder() { manager->Terminate(); }
};

thread_local std::unique_ptr<frm_SManHolder> tHolder;
thread_local std::shared_ptr<cls_StructureManager> tManager;

}  // namespace

namespace mdl_Global {

const std::shared_ptr<cls_StructureManager>& SMAN_GET() {
  if (!tManager) {
    if (!tHolder) tHolder = std::make_unique<frm_SManHolder>();
    tManager = tHolder->manager;
  }
  return tManager;
}

}  // namespace mdl_Global

}  // namespace rykel
