// mdl_Global, the thread's structure manager: the node store every structure of a thread lives in.
// It sits under cls_Structure (a new handle starts on a node of it); the page layout defaults,
// which are structures themselves, are in mdl_GlobalStructure.h.
#pragma once

#include <memory>

namespace rykel {

class cls_StructureManager;

namespace mdl_Global {

// The structure manager of the calling thread, created with its holder on first use and ended
// when the thread ends.
const std::shared_ptr<cls_StructureManager>& SMAN_GET();

}  // namespace mdl_Global

}  // namespace rykel
