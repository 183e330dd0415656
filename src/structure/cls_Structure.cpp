#include "structure/cls_Structure.h"

#include "frame/Error.h"
#include "frame/mdl_Global.h"
#include "structure/HandlePool.h"
#include "structure/mdl_GlobalManager.h"

namespace rykel {

cls_Structure::cls_Structure() : MANAGER(mdl_Global::SMAN_GET()) {
  SID = MANAGER->Alloc();
  MANAGER->hHandleCreated();
}

cls_Structure::cls_Structure(AttachTag, std::shared_ptr<cls_StructureManager> pManager, int32_t pID)
    : SID(pID), MANAGER(std::move(pManager)) {
  if (MANAGER) MANAGER->hHandleCreated();
}

StructurePtr cls_Structure::Attach(std::shared_ptr<cls_StructureManager> pManager, int32_t pID) {
  HandlePool* pool = &pManager->Pool();
  return std::allocate_shared<cls_Structure>(HandleAllocator<cls_Structure>(pool), AttachTag{}, std::move(pManager),
                                             pID);
}

StructurePtr cls_Structure::New() {
  const std::shared_ptr<cls_StructureManager>& m = mdl_Global::SMAN_GET();
  const int32_t id = m->Alloc();
  try {
    return std::allocate_shared<cls_Structure>(HandleAllocator<cls_Structure>(&m->Pool()), AttachTag{}, m, id);
  } catch (...) {
    m->Release(id);
    throw;
  }
}

cls_Structure::~cls_Structure() {
  if (SID != 0 && MANAGER) {
    try {
      MANAGER->Release(SID);
    } catch (...) {
      // a destructor must not throw; the error was already reported by the manager
    }
  }
  SID = 0;
  if (MANAGER) MANAGER->hHandleEnded();
}

void cls_Structure::CONNECT(int32_t pID) {
  MANAGER->Release(SID);
  SID = pID;
}

}  // namespace rykel
