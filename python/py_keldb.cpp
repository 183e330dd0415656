// mod_KELDB, the command module that lets templates read databases:
//   m = rykel.mod_KELDB(); k.MODULES.ADD(m); m.ATTACH(db)   # or {DB:OPEN file} in the template
#include "Bindings.h"
#include "host/cls_DB.h"
#include "modules/mod_KELDB.h"

namespace rykel::py {

using pyb::arg;

void BindKELDB(pyb::module_& m) {
  using D = mod_KELDB;
  pyb::class_<D, cls_KELModuleInterface, std::shared_ptr<D>>(m, "mod_KELDB")
      .def(pyb::init([] { return std::make_shared<D>(); }))
      .def(
          "ATTACH", [](D& d, const DBPtr& db, const std::string& name) { d.ATTACH(db, name); }, arg("pDB"),
          arg("pName") = "MAIN")
      .def(
          "DB_GET",
          [](const D& d, const std::string& name) { return std::dynamic_pointer_cast<cls_DB>(d.DB_GET(name)); },
          arg("pName") = "")
      .def("CURRENT_GET", &D::CURRENT_GET);
}

}  // namespace rykel::py
