#include "structure/cls_Structure.h"

#include "frame/Error.h"
#include "frame/mdl_Global.h"
#include "structure/HandlePool.h"
#include "structure/mdl_GlobalManager.h"

namespace rykel {

cls_Structure::cls_Structure() : MANAGER(mdl_Global::SMAN_GET().get()) {
  SID = MANAGER->Alloc();
  MANAGER->hHandleCreated();
}

StructurePtr cls_Structure::Attach(cls_StructureManager& pManager, int32_t pID) {
  return std::allocate_shared<cls_Structure>(HandleAllocator<cls_Structure>(&pManager.Pool()), AttachTag{}, &pManager,
                                             pID);
}

StructurePtr cls_Structure::New() {
  cls_StructureManager& m = *mdl_Global::SMAN_GET();
  const int32_t id = m.Alloc();
  try {
    return std::allocate_shared<cls_Structure>(HandleAllocator<cls_Structure>(&m.Pool()), AttachTag{}, &m, id);
  } catch (...) {
    m.Release(id);
    throw;
  }
}

cls_Structure::~cls_Structure() {
  if (!MANAGER) return;
  if (SID != 0) MANAGER->ReleaseNoThrow(SID);
  SID = 0;
  MANAGER->hHandleEnded();  // the last handle may end the manager: nothing after this
}

void cls_Structure::CONNECT(int32_t pID) {
  MANAGER->Release(SID);
  SID = pID;
}

}  // namespace rykel
