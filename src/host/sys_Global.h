// sys_Global: the global multi-use object. Its members give the per-thread tools objects.
//
//   auto t = rykel::sys_Global::STRUCT_GET();      // the thread's cls_StructureTools
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "frame/Object.h"
#include "frame/Variant.h"

namespace rykel {

class cls_StructureTools;
class cls_DBTool;

namespace sys_Global {
const std::shared_ptr<cls_StructureTools>& STRUCT_GET();
// The same object as STRUCT_GET.
const std::shared_ptr<cls_StructureTools>& STRUCTURE_GET();
// Accepts an object and ignores it.
void STRUCTURE_SET(const Variant& pValue);
const std::shared_ptr<cls_DBTool>& DBTOOL_GET();
}  // namespace sys_Global

// Creates a public class by name: "RyKEL.cls_KEL" or the bare "cls_KEL". Raises 429 for an
// unknown name.
ObjectPtr CreateObject(std::string_view pName);
// The names CreateObject knows, bare, in alphabetical order.
std::vector<std::string> CreatableClasses();

}  // namespace rykel
