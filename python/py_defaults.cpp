// None for an optional argument: every bound function and method whose arguments have defaults
// takes None for any of them as "not given" and uses the default (ENTRYSORT("ALTER", True, None)
// sorts the whole table, as ENTRYSORT("ALTER", True) does). An argument whose default is None
// keeps receiving None.
//
// How: after all bindings exist, each function record with such a default gets a dispatch routine
// that puts the default in place of a None argument and then runs the record's own routine. The
// records are pybind11's own; nothing is wrapped in Python, so calls cost one table lookup more.
#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "Bindings.h"

namespace rykel::py {

namespace {

using Impl = pyb::handle (*)(pyb::detail::function_call&);

std::unordered_map<const pyb::detail::function_record*, Impl>& hOriginals() {
  static auto* map = new std::unordered_map<const pyb::detail::function_record*, Impl>();
  return *map;
}

pyb::handle hNoneAsDefault(pyb::detail::function_call& call) {
  const auto& rec = call.func;
  const size_t n = std::min(call.args.size(), rec.args.size());
  for (size_t i = 0; i < n; ++i) {
    const pyb::handle def = rec.args[i].value;
    if (def && !def.is_none() && call.args[i].is_none()) call.args[i] = def;
  }
  return hOriginals().at(&rec)(call);
}

void hPatch(pyb::handle f) {
  pyb::handle fn = pyb::detail::get_function(f);
  if (!fn || !PyCFunction_Check(fn.ptr())) return;
  pyb::handle self = PyCFunction_GET_SELF(fn.ptr());
  if (!self || !pyb::isinstance<pyb::capsule>(self)) return;
  auto cap = pyb::reinterpret_borrow<pyb::capsule>(self);
  if (!pyb::detail::is_function_record_capsule(cap)) return;
  for (auto* rec = cap.get_pointer<pyb::detail::function_record>(); rec; rec = rec->next) {
    if (rec->impl == &hNoneAsDefault) continue;
    bool any = false;
    for (const auto& a : rec->args) any = any || (a.value && !a.value.is_none());
    if (!any) continue;
    hOriginals()[rec] = rec->impl;
    rec->impl = &hNoneAsDefault;
  }
}

// Walks the module, its sub-modules and their classes (each once).
void hPatchAll(pyb::handle pNamespace, std::unordered_set<PyObject*>& rSeen) {
  if (!rSeen.insert(pNamespace.ptr()).second) return;
  // a class's __dict__ is a mapping proxy, not a dict: walk a list of its values
  pyb::list values(pNamespace.attr("__dict__").attr("values")());
  for (pyb::handle v : values) {
    if (PyType_Check(v.ptr())) {
      if (pyb::str(v.attr("__module__")).cast<std::string>().rfind("rykel", 0) == 0) hPatchAll(v, rSeen);
    } else if (PyModule_Check(v.ptr())) {
      if (pyb::str(v.attr("__name__")).cast<std::string>().rfind("rykel", 0) == 0) hPatchAll(v, rSeen);
    } else if (PyObject_TypeCheck(v.ptr(), &PyStaticMethod_Type)) {
      hPatch(v.attr("__func__"));
    } else {
      hPatch(v);
    }
  }
}

}  // namespace

void AcceptNoneForDefaults(pyb::module_& m) {
  std::unordered_set<PyObject*> seen;
  hPatchAll(m, seen);
}

}  // namespace rykel::py
