// cls_StructureCompact: the compact form of a structure, a list of pieces joined by a separator
// that occurs in none of them, so no piece is ever escaped or length-prefixed.
//
//   compact -> "QS1:" sep ":" piece { sep piece }
//   sep     -> a run of capital letters "A".."Z" whose first letter occurs only once in it and
//              which occurs in no piece (chosen at random, longer when a try collides)
//   pieces, in this order (pre-order walk of the tree):
//   node    -> header { item }                        one item per used slot, ascending index
//   header  -> flags "@" max "@" used                 decimal: node flag bits (1 DEFAULTMODE,
//                                                     2 HASZERO, 4 CHANGED, 8 ALLOWNOTHING), MAX,
//                                                     the number of items that follow
//   item    -> index ":" type "@" name, then value    name may be "" and may hold "@" or ":"
//   value   -> node                                   when type is "S" (a sub-structure)
//            | text                                   otherwise one piece, by type code:
//              0 Empty, 1 Null: ""      2 Integer, 3 Long, 10 Error: decimal
//              4 Single, 5 Double, 7 Date: shortest round-trip decimal ("0.1", "1e+25", "inf",
//              "-inf", "nan"; a Date is its day number)      6 Currency: the scaled 64-bit integer
//              8 String: the text as it is                   11 Boolean: "1" or "0"
// An Object value is written as Empty (type 0). Slots from BASE to MAX not listed are unused.
// Type codes are the Variant codes: they reach the disk, do not renumber.
//
// The buffer variants hand the pieces over as a list the host keeps (no prefix, no separator):
// SERIALIZEBINARYCOUNT tells how many pieces a node takes, SERIALIZEBINARYBUFFER writes them into
// the list from an index, UNSERIALIZEBINARYBUFFER reads one node back from an index.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "frame/mdl_Limits.h"
#include "structure/cls_StructureManager.h"

namespace rykel {

class cls_StructureCompact {
 public:
  explicit cls_StructureCompact(cls_StructureManager& pManager) : m_(pManager) {}

  // "QS1:" + separator + ":" + the pieces. Raises kInvalidData past MaxDepth() levels.
  std::string Write(int32_t pID);
  // The node's pieces, appended to rPieces.
  void WritePieces(int32_t pID, std::vector<std::string>& rPieces);
  // The number of pieces the node takes.
  int64_t CountPieces(int32_t pID);

  // Empties the node and fills it from a compact text. Raises kInvalidData ("Serialized data
  // invalid") for anything that does not follow the grammar.
  void Read(int32_t pID, std::string_view pText);
  // Empties the node and fills it from pieces[rIndex...]; rIndex moves past the node's pieces.
  void ReadPieces(int32_t pID, const std::vector<std::string_view>& pPieces, int64_t& rIndex);

  static int MaxDepth() { return static_cast<int>(mdl_Limits::Get(mdl_Limits::kSerializedDepth)); }

 private:
  cls_StructureManager& m_;
};

}  // namespace rykel
