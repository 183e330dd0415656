// The rykel Python module: the component's classes under their own names, for host scripts.
#include "Bindings.h"

PYBIND11_MODULE(rykel, m) {
  m.doc() = "RyKEL: templates (KEL), structures and a small file database";
  m.attr("__version__") = RYKEL_PY_VERSION;
  rykel::py::BindVariantSupport(m);
  rykel::py::BindFrame(m);
  rykel::py::BindStructure(m);
  rykel::py::BindStructureText(m);
  rykel::py::BindPlain(m);
  rykel::py::BindTools(m);
  rykel::py::BindCollections(m);
  rykel::py::BindDB(m);
  rykel::py::BindExport(m);
  rykel::py::BindImport(m);
  rykel::py::BindKEL(m);
  rykel::py::BindKELDB(m);
  rykel::py::BindLimits(m);
  rykel::py::BindSite(m);
  rykel::py::BindDBWeb(m);
  rykel::py::BindWeb(m);
  rykel::py::AcceptNoneForDefaults(m);
}
