// SerialCache: what the serialized text form keeps with a structure manager from call to call, so
// that a stream of small entries (a database file's records) pays for each item name once.
//
// Both halves are tied to one manager's name table (atoms live as long as it): see hCacheFor in
// cls_StructureSerializer.cpp for how the cache follows the manager.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace rykel {

struct SerialCache {
  // The writer's key piece per name ("s:4:\"NAME\";"): atom -> offset << 32 | length in keyText
  // (0 = not made yet).
  std::vector<uint64_t> keyAt;
  std::string keyText;

  // The reader's atoms for names as they are written (before upper-casing), hashed into a small
  // table; a name longer than kNameBytes is not kept.
  static constexpr size_t kNameBytes = 26;
  struct Name {
    uint32_t atom = 0;
    uint8_t size = 0;  // bytes + 1; 0 = a free slot
    char bytes[kNameBytes];
  };
  static constexpr size_t kNames = 256;
  std::array<Name, kNames> names{};
};

}  // namespace rykel
