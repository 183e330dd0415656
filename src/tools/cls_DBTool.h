// cls_DBTool: the per-thread database tools object (sys_Global DBTOOL): type words, identifiers,
// and (growing) random test data and single-value filters.
//
//   auto t = rykel::sys_Global::DBTOOL_GET();
//   std::string id = t->IDGENERATE("Müller & Söhne");   // "MUELLERSOEHN"
#pragma once

#include <string>
#include <string_view>

#include "frame/Object.h"

namespace rykel {

class cls_DBTool : public Object {
 public:
  std::string TypeName() const override { return "cls_DBTool"; }

  // Field type code of a type word ("INT" 0, "STRING" and "CURRENCY" 1, "DATE" 2, ...); an unknown
  // word gives 1 (text), the type that can hold anything.
  int SORTDECODE(std::string_view pType);
  // An upper-case identifier of at most 12 characters: digits and A-Z kept, umlauts expanded
  // ("Ä" -> "AE", "ß" -> "SS"), blanks and other characters dropped.
  std::string IDGENERATE(std::string_view pText);
};

}  // namespace rykel
