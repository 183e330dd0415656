// cls_Collection, cls_CollectionValues, cls_CollectionInt, and the clipboard of COPYCLIPBOARD.
#include "Bindings.h"
#include "frame/cls_Collection.h"
#include "frame/cls_CollectionInt.h"
#include "frame/cls_CollectionValues.h"
#include "structure/cls_StructureTree.h"

namespace rykel::py {

using pyb::arg;

void BindCollections(pyb::module_& m) {
  using C = cls_Collection;
  pyb::class_<C, Object, std::shared_ptr<C>>(m, "cls_Collection",
                                             "Values in insertion order with optional case-insensitive keys.")
      .def(pyb::init([] { return std::make_shared<C>(); }))
      .def(
          "Add", [](C& c, const Variant& v, const std::string& k) { c.Add(v, k); }, arg("pItem"), arg("pKey") = "")
      .def("Item", &C::Item, arg("pIndexOrKey"))
      .def("Count", &C::Count)
      .def("Remove", &C::Remove, arg("pIndexOrKey"))
      .def(
          "Exists", [](C& c, const std::string& k) { return c.Exists(k); }, arg("pKey"))
      .def("Key", &C::Key, arg("pIndex"))
      .def("Clear", &C::Clear)
      .def("__len__", &C::Count);

  using V = cls_CollectionValues;
  pyb::class_<V, Object, std::shared_ptr<V>>(m, "cls_CollectionValues", "Values in insertion order, no keys.")
      .def(pyb::init([] { return std::make_shared<V>(); }))
      .def("Add", &V::Add, arg("pItem"))
      .def("Item", &V::Item, arg("pIndex"))
      .def("Count", &V::Count)
      .def("Remove", &V::Remove, arg("pIndex"))
      .def("Clear", &V::Clear)
      .def("__len__", &V::Count);

  using I = cls_CollectionInt;
  pyb::class_<I, Object, std::shared_ptr<I>>(m, "cls_CollectionInt", "32-bit whole numbers in insertion order.")
      .def(pyb::init([] { return std::make_shared<I>(); }))
      .def("Add", &I::Add, arg("pItem"))
      .def("Item", &I::Item, arg("pIndex"))
      .def("Count", &I::Count)
      .def("Remove", &I::Remove, arg("pIndex"))
      .def("Exists", &I::Exists, arg("pValue"))
      .def("Clear", &I::Clear)
      .def("__len__", &I::Count);

  // COPYCLIPBOARD hands its text to this callable (None removes it); ClipboardText() returns the
  // last text copied on this thread.
  m.def(
      "SetClipboard",
      [](pyb::object f) {
        // The callable is kept outside any static destructor: releasing it after the interpreter
        // has ended would crash, so the last one is left to the process end.
        static pyb::object* current = nullptr;
        pyb::object* next = f.is_none() ? nullptr : new pyb::object(std::move(f));
        if (next)
          cls_StructureTree::SetClipboard([next](const std::string& text) {
            pyb::gil_scoped_acquire gil;
            (*next)(text);
          });
        else cls_StructureTree::SetClipboard({});
        delete current;
        current = next;
      },
      arg("pHandler"));
  m.def("ClipboardText", &cls_StructureTree::CLIPBOARD_GET);
}

}  // namespace rykel::py
