// Structures from and to plain data: Python dicts and lists, and JSON text. Adds to the
// cls_Structure class that py_structure.cpp binds.
#include "Bindings.h"
#include "structure/cls_Structure.h"
#include "structure/mdl_StructureJson.h"

namespace rykel::py {

using pyb::arg;

void BindPlain(pyb::module_& m) {
  using S = cls_Structure;
  auto cls = pyb::reinterpret_borrow<pyb::class_<S, Object, std::shared_ptr<S>>>(m.attr("cls_Structure"));
  cls.def(
         "to_python", [](S& s) { return ToPython(s); },
         "The structure as plain data: a list when every item is numbered (BASE..MAX, no gap), else a dict "
         "keyed by the names as stored (upper case), with an unnamed item under its index as an int; an "
         "empty structure is {}.")
      .def(
          "to_json", [](S& s, int indent) { return mdl_StructureJson::Write(s, indent); }, arg("indent") = 2,
          "The JSON text; indent < 0 writes one line.");
  m.def(
      "from_python", [](pyb::handle o) { return ToStructure(o); }, arg("obj"),
      "A new structure from a dict, list or tuple (nested ones become sub-structures).");
  m.def(
      "from_json", [](std::string_view text) { return mdl_StructureJson::Read(text); }, arg("text"),
      "A new structure from JSON text (an object or an array).");
}

}  // namespace rykel::py
