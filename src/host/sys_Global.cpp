#include "host/sys_Global.h"

#include <algorithm>
#include <functional>

#include "frame/Error.h"
#include "frame/cls_Collection.h"
#include "frame/cls_CollectionInt.h"
#include "frame/cls_CollectionValues.h"
#include "host/cls_DB.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModules.h"
#include "modules/mod_KELDB.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureTools.h"
#include "tools/cls_DBTool.h"

namespace rykel {

namespace sys_Global {

const std::shared_ptr<cls_StructureTools>& STRUCT_GET() {
  thread_local std::shared_ptr<cls_StructureTools> tools = std::make_shared<cls_StructureTools>();
  return tools;
}

const std::shared_ptr<cls_StructureTools>& STRUCTURE_GET() { return STRUCT_GET(); }

void STRUCTURE_SET(const Variant&) {}

const std::shared_ptr<cls_DBTool>& DBTOOL_GET() {
  thread_local std::shared_ptr<cls_DBTool> tool = std::make_shared<cls_DBTool>();
  return tool;
}

}  // namespace sys_Global

namespace {

struct Creatable {
  const char* name;
  std::function<ObjectPtr()> make;
};

// Every class a host may create by name. One row per class.
const std::vector<Creatable>& hCreatables() {
  static const std::vector<Creatable> rows = {
      {"cls_Structure", [] { return ObjectPtr(cls_Structure::New()); }},
      {"cls_StructureTools", [] { return ObjectPtr(std::make_shared<cls_StructureTools>()); }},
      {"cls_DBTool", [] { return ObjectPtr(std::make_shared<cls_DBTool>()); }},
      {"cls_Collection", [] { return ObjectPtr(std::make_shared<cls_Collection>()); }},
      {"cls_CollectionValues", [] { return ObjectPtr(std::make_shared<cls_CollectionValues>()); }},
      {"cls_CollectionInt", [] { return ObjectPtr(std::make_shared<cls_CollectionInt>()); }},
      {"cls_DB", [] { return ObjectPtr(std::make_shared<cls_DB>()); }},
      {"cls_DBField", [] { return ObjectPtr(std::make_shared<cls_DBField>()); }},
      {"cls_DBIndex", [] { return ObjectPtr(std::make_shared<cls_DBIndex>()); }},
      {"cls_DBView", [] { return ObjectPtr(std::make_shared<cls_DBView>()); }},
      {"cls_KEL", [] { return ObjectPtr(std::make_shared<cls_KEL>()); }},
      {"cls_KELModules", [] { return ObjectPtr(std::make_shared<cls_KELModules>()); }},
      {"cls_KELModule", [] { return ObjectPtr(std::make_shared<cls_KELModule>()); }},
      {"mod_KELDB", [] { return ObjectPtr(std::make_shared<mod_KELDB>()); }},
  };
  return rows;
}

}  // namespace

ObjectPtr CreateObject(std::string_view pName) {
  return Guard("sys_Global", "CreateObject", [&]() -> ObjectPtr {
    std::string_view name = pName;
    if (name.size() > 6 && (name.substr(0, 6) == "RyKEL." || name.substr(0, 6) == "rykel.")) name.remove_prefix(6);
    for (const auto& row : hCreatables())
      if (name == row.name) return row.make();
    Raise(429, "ActiveX component can't create object: " + std::string(pName));
  });
}

std::vector<std::string> CreatableClasses() {
  std::vector<std::string> names;
  for (const auto& row : hCreatables()) names.emplace_back(row.name);
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace rykel
