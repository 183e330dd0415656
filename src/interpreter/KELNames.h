// KELNames: the interpreter's names kept as name atoms (ItemName) of the thread's structure
// manager, so that a name read again and again is neither upper-cased nor hashed again.
#pragma once

#include <string_view>

#include "structure/cls_StructureManager.h"

namespace rykel {

// The atom of rName, whose upper-cased text is pUpper and whose hash rName keeps: the kept atom
// while it is still the table's atom with that hash, else looked up again (0 while the table does
// not hold the name; it is never added). A table only grows and never renames an atom: a kept
// atom goes wrong only with another manager, whose atom with that number would also need the
// same hash.
[[gnu::always_inline]] inline uint32_t KeptAtom(const NameTable& pNames, ItemName& rName, std::string_view pUpper) {
  if (rName.atom == 0 || rName.atom >= pNames.Count() || pNames.HashOf(rName.atom) != rName.hash) [[unlikely]]
    rName.atom = pNames.Find(pUpper, rName.hash);
  return rName.atom;
}

}  // namespace rykel
