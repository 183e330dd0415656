// mdl_Limits: the named bounds on nesting and input size.
#include "Bindings.h"
#include "frame/mdl_Limits.h"

namespace rykel::py {

void BindLimits(pyb::module_& m) {
  auto l = m.def_submodule("mdl_Limits", "named bounds on nesting depth and input size");
  l.def(
      "LIMIT_GET", [](const std::string& n) { return mdl_Limits::LIMIT_GET(n); }, pyb::arg("pName"));
  l.def(
      "LIMIT_LET", [](const std::string& n, int64_t v) { mdl_Limits::LIMIT_LET(n, v); }, pyb::arg("pName"),
      pyb::arg("pValue"));
  l.def("LIMITS", &mdl_Limits::LIMITS);
  l.def("RESET", &mdl_Limits::RESET);
}

}  // namespace rykel::py
