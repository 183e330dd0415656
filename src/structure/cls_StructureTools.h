// cls_StructureTools: the per-thread factory and inspector of structures (sys_Global STRUCT).
//
//   auto t = rykel::sys_Global::STRUCT_GET();
//   bool yes = t->ISSTRUCT(rykel::Variant(rykel::cls_Structure::New()));
#pragma once

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

  int32_t USAGEMANAGED();  // node ids in use
  int32_t USAGEFREE();     // free node ids
  std::string USAGEINFO(); // the manager's node dump
  int32_t USAGEUSED();     // live cls_Structure handles on this thread
  int32_t USAGEBUFFER();   // the node table's upper bound
  std::string PERFORMANCEINFO();

  // Handles report their birth and end, so USAGEUSED counts them.
  static void hHandleCreated();
  static void hHandleEnded();
};

}  // namespace rykel
