// mdl_Global: the shared conversions used across the component. The globals that hold structures
// (SMAN_GET, FLAGSGLOBAL) are in structure/mdl_GlobalStructure.h.
#pragma once

#include <memory>
#include <string_view>

#include "frame/Variant.h"

namespace rykel {

namespace mdl_Global {

// Start-up: does nothing, every global is created on first use.
void Main();
// rTarget = pValue (objects are shared, other values copied).
void VARSET(Variant& rTarget, const Variant& pValue);
// True for "yyyy-mm-dd" or "yyyy-mm-dd HH:MM:SS" shaped texts that convert to a date.
bool hIsDate(std::string_view pText);
// Truth of a value with German and English false words ("FALSCH", "NO", "0", " ", ...).
bool hCBool(const Variant& pValue);

}  // namespace mdl_Global

namespace mdl_FileTools {
// True when the path names an existing entry that is not a directory. Within a live
// mdl_Confine::Scope only regular files inside its folders exist.
bool FILEEXISTS(std::string_view pPath);
}  // namespace mdl_FileTools

}  // namespace rykel
