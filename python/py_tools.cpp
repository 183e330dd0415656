// cls_DBTool.
#include "Bindings.h"
#include "tools/cls_DBTool.h"

namespace rykel::py {

void BindTools(pyb::module_& m) {
  using D = cls_DBTool;
  pyb::class_<D, Object, std::shared_ptr<D>>(m, "cls_DBTool")
      .def(pyb::init([] { return std::make_shared<D>(); }))
      .def("SORTDECODE", [](D& d, const std::string& t) { return d.SORTDECODE(t); }, pyb::arg("pType"))
      .def("IDGENERATE", [](D& d, const std::string& t) { return d.IDGENERATE(t); }, pyb::arg("pText"));
}

}  // namespace rykel::py
