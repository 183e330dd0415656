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
// The fast way in once the manager exists: a plain pointer needs no thread-exit guard, so reading
// it costs one thread-local lookup instead of one per variable and its initialisation check.
thread_local const std::shared_ptr<cls_StructureManager>* tReady = nullptr;

}  // namespace

namespace mdl_Global {

namespace {

// The thread's first call: the manager is made (or taken up again) here, apart from the fast way.
[[gnu::noinline]] const std::shared_ptr<cls_StructureManager>& hFirstUse() {
  if (!tManager) {
    if (!tHolder) tHolder = std::make_unique<frm_SManHolder>();
    tManager = tHolder->manager;
  }
  tReady = &tManager;
  return tManager;
}

}  // namespace

const std::shared_ptr<cls_StructureManager>& SMAN_GET() {
  if (const auto* ready = tReady) [[likely]]
    return *ready;
  return hFirstUse();
}

}  // namespace mdl_Global

}  // namespace rykel
