// mdl_Global, the part that holds structures: the page layout defaults, and (through
// mdl_GlobalManager.h) the thread's structure manager. The plain conversions of mdl_Global are in
// frame/mdl_Global.h.
#pragma once

#include <memory>

#include "structure/mdl_GlobalManager.h"

namespace rykel {

class cls_Structure;

namespace mdl_Global {

// A new structure: kind 1 gives the default page layout (27 keys), any other kind an empty one.
std::shared_ptr<cls_Structure> FLAGSGLOBAL(int pKind);

}  // namespace mdl_Global

}  // namespace rykel
