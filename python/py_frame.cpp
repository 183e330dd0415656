// Errors, error policy and notifier, mdl_Global, mdl_FileTools, sys_Global and CreateObject.
#include "Bindings.h"
#include "frame/Error.h"
#include "frame/Notifier.h"
#include "frame/mdl_Global.h"
#include "host/sys_Global.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureTools.h"
#include "structure/cls_StructureTree.h"
#include "structure/mdl_GlobalStructure.h"
#include "tools/cls_DBTool.h"

namespace rykel::py {

void BindFrame(pyb::module_& m) {
  // rykel.Error(description) with .number, .description and .source
  static pyb::exception<Error> exc(m, "Error");
  pyb::register_exception_translator([](std::exception_ptr p) {
    try {
      if (p) std::rethrow_exception(p);
    } catch (const Error& e) {
      // the message is always a str (a byte that is not UTF-8 shows as \xNN); .description
      // keeps the text itself, bytes when it is not UTF-8
      PyObject* msg =
          PyUnicode_DecodeUTF8(e.description.data(), static_cast<Py_ssize_t>(e.description.size()), "backslashreplace");
      if (!msg) throw pyb::error_already_set();
      pyb::object inst = pyb::handle(exc.ptr())(pyb::reinterpret_steal<pyb::object>(msg));
      inst.attr("number") = e.number;
      inst.attr("description") = e.description;
      inst.attr("source") = e.source;
      PyErr_SetObject(exc.ptr(), inst.ptr());
    }
  });

  m.def(
      "SetErrorPolicy",
      [](pyb::object policy) {
        if (policy.is_none()) return SetErrorPolicy({});
        auto held = std::make_shared<PyHostObject>(std::move(policy));
        SetErrorPolicy([held](const ErrorContext& c) {
          pyb::gil_scoped_acquire gil;
          return held->object()(c.error.number, c.error.description, std::string(c.module), std::string(c.procedure))
              .cast<int>();
        });
      },
      pyb::arg("policy"),
      "policy(number, description, module, operation) -> 1 retry, 3 raise, other: continue; None "
      "restores the default");
  m.def(
      "SetNotifier",
      [](pyb::object notifier) {
        if (notifier.is_none()) return SetNotifier({});
        auto held = std::make_shared<PyHostObject>(std::move(notifier));
        SetNotifier([held](const Notification& n) {
          pyb::gil_scoped_acquire gil;
          return held->object()(n.caption, n.text, n.buttons, n.icon).cast<std::string>();
        });
      },
      pyb::arg("notifier"), "notifier(caption, text, buttons, icon) -> answer; None restores the default");
  // Hooks holding Python callables are dropped while the interpreter still runs: one left for the
  // process end would be released after the interpreter is gone, which aborts the process.
  pyb::module_::import("atexit").attr("register")(pyb::cpp_function([] {
    SetErrorPolicy({});
    SetNotifier({});
    cls_StructureTree::SetClipboard({});
  }));

  auto g = m.def_submodule("mdl_Global", "per-thread globals and shared conversions");
  g.def("Main", &mdl_Global::Main);
  g.def("SMAN_GET", &mdl_Global::SMAN_GET);
  g.def("FLAGSGLOBAL", &mdl_Global::FLAGSGLOBAL, pyb::arg("pKind"));
  g.def(
      "VARSET", [](const Variant&, const Variant& v) { return v; }, pyb::arg("rTarget"), pyb::arg("pValue"));
  g.def(
      "hIsDate", [](const std::string& s) { return mdl_Global::hIsDate(s); }, pyb::arg("pText"));
  g.def("hCBool", &mdl_Global::hCBool, pyb::arg("pValue"));

  auto f = m.def_submodule("mdl_FileTools", "file tools");
  f.def(
      "FILEEXISTS", [](const std::string& p) { return mdl_FileTools::FILEEXISTS(p); }, pyb::arg("pPath"));

  auto s = m.def_submodule("sys_Global", "the global multi-use object");
  for (auto* mod : {&m, &s}) {
    mod->def("STRUCT_GET", &sys_Global::STRUCT_GET);
    mod->def("STRUCTURE_GET", &sys_Global::STRUCTURE_GET);
    mod->def("STRUCTURE_SET", &sys_Global::STRUCTURE_SET, pyb::arg("pValue"));
    mod->def("DBTOOL_GET", &sys_Global::DBTOOL_GET);
  }
  m.def(
      "CreateObject", [](const std::string& n) { return CreateObject(n); }, pyb::arg("pName"));
  m.def("CreatableClasses", &CreatableClasses);
}

}  // namespace rykel::py
