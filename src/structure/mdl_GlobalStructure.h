// mdl_Global, the part that holds structures: the thread's structure manager and the page layout
// defaults. The plain conversions of mdl_Global are in frame/mdl_Global.h.
#pragma once

#include <memory>

namespace rykel {

class cls_StructureManager;
class cls_Structure;

namespace mdl_Global {

// The structure manager of the calling thread, created with its holder on first use.
const std::shared_ptr<cls_StructureManager>& SMAN_GET();
// A new structure: kind 1 gives the default page layout (27 keys), any other kind an empty one.
std::shared_ptr<cls_Structure> FLAGSGLOBAL(int pKind);

}  // namespace mdl_Global

}  // namespace rykel
