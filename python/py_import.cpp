// The import of cls_DB, added to the class that py_db.cpp binds. The options may be a cls_Structure
// or a dict ({"CREATE": True, "MAP": ["Column=FIELD"]}); the result is a structure with IMPORTED,
// FIELDS and SKIPPED.
#include "Bindings.h"
#include "host/cls_DB.h"
#include "structure/cls_Structure.h"

namespace rykel::py {

void BindImport(pyb::module_& m) {
  using D = cls_DB;
  auto db = pyb::reinterpret_borrow<pyb::class_<D, Object, std::shared_ptr<D>>>(m.attr("cls_DB"));
  db.def("IMPORTFILE", &D::IMPORTFILE, pyb::arg("pFile"), pyb::arg("pOptions") = pyb::none());
}

}  // namespace rykel::py
