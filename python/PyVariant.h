// Conversion between Python values and rykel::Variant for the module's bindings:
// None <-> Empty, rykel.NULL <-> Null, bool <-> Boolean, int <-> Long (Double beyond 32 bits),
// float <-> Double, str <-> String, datetime <-> Date, component objects as themselves, and any
// other Python object carried as an object of its own (PyHostObject).
//
// Text results: every text the module hands to Python (a String value or a std::string result)
// goes through TextToPython: str when it is valid UTF-8, else bytes holding it unchanged (PHP's
// Latin-1 serialized text, say). bytes are accepted wherever text is taken, so such a text
// travels back in as it came out.
#pragma once

#include <pybind11/pybind11.h>

#include <string>
#include <string_view>

#include "frame/Variant.h"
#include "structure/cls_Structure.h"

namespace rykel::py {

namespace pyb = pybind11;

// A Python object travelling inside the component (a host module, a callback, ...). Safe to
// destroy at any time: after the interpreter has finished, the reference is left alone.
class PyHostObject : public Object {
 public:
  explicit PyHostObject(pyb::object o) : obj_(std::move(o)) {}
  ~PyHostObject() override;
  std::string TypeName() const override;
  const pyb::object& object() const { return obj_; }

 private:
  pyb::object obj_;
};

// The rykel.NULL sentinel.
pyb::object NullObject();
Variant ToVariant(pyb::handle h);
pyb::object FromVariant(const Variant& v);
// True for the Python containers that convert to a structure: dict, list and tuple.
bool IsPlainContainer(pyb::handle h);
// A new structure holding a dict's items by name (str keys; int keys as numbered items), or a
// list's or tuple's as numbered items from 1. Raises TypeError for any other object or key type,
// rykel.Error 1000 past STRUCTURE.DEPTH.MAX (a container holding itself included) or when int keys
// open more unused slots than mdl_Limits::UnusedSlotBudget(0).
StructurePtr ToStructure(pyb::handle h);
// The structure as a list (a list-shaped node) or dict, sub-structures converted alike.
pyb::object ToPython(cls_Structure& s);
// str for valid UTF-8, else bytes (see the header comment).
pyb::object TextToPython(std::string_view s);
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
// A structure argument also takes plain data (a dict, list or tuple), converted by ToStructure.
template <>
class type_caster<rykel::StructurePtr> : public copyable_holder_caster<rykel::cls_Structure, rykel::StructurePtr> {
 public:
  bool load(handle src, bool convert) {
    if (copyable_holder_caster::load(src, convert)) return true;
    if (!rykel::py::IsPlainContainer(src)) return false;
    holder = rykel::py::ToStructure(src);
    value = holder.get();
    return true;
  }
};
// std::string results leave as TextToPython makes them; arguments read str or bytes as before.
template <>
struct type_caster<std::string> : string_caster<std::string> {
  static handle cast(const std::string& s, return_value_policy, handle) { return rykel::py::TextToPython(s).release(); }
};
}  // namespace pybind11::detail
