// Conversion between Python values and rykel::Variant for the module's bindings:
// None <-> Empty, rykel.NULL <-> Null, bool <-> Boolean, int <-> Long (Double beyond 32 bits),
// float <-> Double, str <-> String, datetime <-> Date, component objects as themselves, and any
// other Python object carried as an object of its own (PyHostObject).
#pragma once

#include <pybind11/pybind11.h>

#include <string>

#include "frame/Variant.h"

namespace rykel::py {

namespace pyb = pybind11;

// A Python object travelling inside the component (a host module, a callback, ...).
class PyHostObject : public Object {
 public:
  explicit PyHostObject(pyb::object o) : obj_(std::move(o)) {}
  ~PyHostObject() override {
    pyb::gil_scoped_acquire gil;
    obj_ = pyb::object();
  }
  std::string TypeName() const override;
  const pyb::object& object() const { return obj_; }

 private:
  pyb::object obj_;
};

// The rykel.NULL sentinel.
pyb::object NullObject();
Variant ToVariant(pyb::handle h);
pyb::object FromVariant(const Variant& v);
void BindVariantSupport(pyb::module_& m);

}  // namespace rykel::py

namespace pybind11::detail {
template <>
struct type_caster<rykel::Variant> {
  PYBIND11_TYPE_CASTER(rykel::Variant, const_name("Any"));
  bool load(handle src, bool) {
    value = rykel::py::ToVariant(src);
    return true;
  }
  static handle cast(const rykel::Variant& v, return_value_policy, handle) {
    return rykel::py::FromVariant(v).release();
  }
};
}  // namespace pybind11::detail
