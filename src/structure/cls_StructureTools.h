// cls_StructureTools: the per-thread factory and inspector of structures (sys_Global STRUCT).
//
//   auto t = rykel::sys_Global::STRUCT_GET();
//   bool yes = t->ISSTRUCT(rykel::Variant(rykel::cls_Structure::New()));
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "frame/Object.h"
#include "frame/Variant.h"
#include "structure/cls_Structure.h"

namespace rykel {

class cls_StructureTools : public Object {
 public:
  std::string TypeName() const override { return "cls_StructureTools"; }

  // A structure made from the values:
  // - none, or one missing (Empty) value: a new empty structure;
  // - one structure: that structure itself (the same handle);
  // - one cls_Collection: its elements in order, under their keys (an element without a key is
  //   numbered); one cls_CollectionValues or cls_CollectionInt: numbered items 1..Count;
  // - one other value: the structure literal "{STRUCT " + value + "}" as decoded by the installed
  //   literal decoder (the template interpreter); when there is none or it fails, a new structure
  //   whose item "ERROR" says why;
  // - several values: key/value pairs, CREATE("A", 1, "B.C", 2) = A=1 and B.C=2 (dotted keys
  //   nest); an empty key appends the value as a numbered item; a last key without a value gets
  //   an empty value.
  // Raises 13 for one object of another class.
  StructurePtr CREATE(const std::vector<Variant>& pValues = {});
  // Decodes the text of a structure literal ("{STRUCT ...}") into a structure, or raises.
  using LiteralDecoder = std::function<StructurePtr(const std::string&)>;
  // Installs the decoder CREATE uses for a single plain value (process-wide; empty to remove).
  static void SetLiteralDecoder(LiteralDecoder pDecoder);
  // The installed decoder (empty when none).
  static LiteralDecoder hLiteralDecoder();

  // The value itself when it is a structure, else a new empty structure.
  StructurePtr CAST(const Variant& pValue);
  // True exactly when the value is a cls_Structure object.
  bool ISSTRUCT(const Variant& pValue);
  // True for a structure whose COUNT is not 0.
  bool ISFILLEDSTRUCT(const Variant& pValue);
  // A new structure filled from serialized (or compact) text by UNSERIALIZE. Errors are reported
  // as "STRUCTURE.UNSERIALIZE" of cls_StructureManager.
  StructurePtr UNSERIALIZE(std::string_view rSerialData);
  // rTarget = pValue (objects shared, other values copied).
  void VARSET(Variant& rTarget, const Variant& pValue);

  int32_t USAGEMANAGED();   // node ids in use
  int32_t USAGEFREE();      // free node ids
  std::string USAGEINFO();  // the manager's node dump
  int32_t USAGEUSED();      // live cls_Structure handles on this thread
  int32_t USAGEBUFFER();    // the node table's upper bound
  std::string PERFORMANCEINFO();
};

}  // namespace rykel
