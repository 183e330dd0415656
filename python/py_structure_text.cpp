// The script, text and parameter forms and the structure files of cls_Structure and
// cls_StructureManager, added to the classes that py_structure.cpp binds.
#include "Bindings.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureManager.h"

namespace rykel::py {

using pyb::arg;

void BindStructureText(pyb::module_& m) {
  using S = cls_Structure;
  auto s = pyb::reinterpret_borrow<pyb::class_<S, Object, std::shared_ptr<S>>>(m.attr("cls_Structure"));
  using str = const std::string&;
  s.def("SCRIPT", &S::SCRIPT, arg("pIndentation") = 0)
      .def("SCRIPTNOTEMPTY", &S::SCRIPTNOTEMPTY, arg("pIndentation") = 0)
      .def(
          "PARSE", [](S& x, str t) { x.PARSE(t); }, arg("pText"))
      .def("SAVE", &S::SAVE, arg("pFile"))
      .def("LOAD", &S::LOAD, arg("pFile"))
      .def("LOADEX", &S::LOADEX, arg("pFile"))
      .def("SAVESIGNATURE", &S::SAVESIGNATURE, arg("pFile"), arg("pSignature"), arg("pVersion"))
      .def("LOADSIGNATURE", &S::LOADSIGNATURE, arg("pFile"), arg("pSignature"), arg("pVersionMin") = Variant(),
           arg("pVersionMax") = Variant())
      .def("TEXT", &S::TEXT, arg("pIndent") = 0)
      .def("TEXTNOTEMPTY", &S::TEXTNOTEMPTY, arg("pIndent") = 0)
      .def("TEXTSHORT", &S::TEXTSHORT, arg("pCut") = 100)
      .def(
          "TEXTVALUES", [](S& x, str d) { return x.TEXTVALUES(d); }, arg("pDelimeter") = "\r\n")
      .def("HTML", &S::HTML)
      .def("ENCODE", &S::ENCODE)
      .def(
          "DECODE", [](S& x, str t) { x.DECODE(t); }, arg("pText"))
      .def(
          "PARAMETERS", [](S& x, str d) { return x.PARAMETERS(d); }, arg("pDelimeter") = "&")
      .def(
          "PARAMETERSSTRUCTURED", [](S& x, str d) { return x.PARAMETERSSTRUCTURED(d); }, arg("pDelimeter") = "&")
      .def(
          "PARAMETERSSTRUCTUREDINDENT", [](S& x, str i, str d) { return x.PARAMETERSSTRUCTUREDINDENT(i, d); },
          arg("pIndent") = "\t", arg("pDelimeter") = "\r\n")
      .def(
          "VALUELISTTEXT",
          [](S& x, str d, int32_t n, int32_t start, str add) { return x.VALUELISTTEXT(d, n, start, add); },
          arg("pDelimeter") = ", ", arg("pMaxCount") = 0, arg("pStartI") = 0, arg("pAdditional") = "");

  using M = cls_StructureManager;
  auto mm = pyb::reinterpret_borrow<pyb::class_<M, Object, std::shared_ptr<M>>>(m.attr("cls_StructureManager"));
  mm.def("SCRIPT", &M::SCRIPT, arg("pID"), arg("pIndentation") = 0)
      .def("SCRIPTNOTEMPTY", &M::SCRIPTNOTEMPTY, arg("pID"), arg("pIndentation") = 0)
      .def(
          "PARSE", [](M& x, int32_t id, str t) { x.PARSE(id, t); }, arg("pID"), arg("pText"))
      .def("SAVE", &M::SAVE, arg("pID"), arg("pFile"))
      .def("LOAD", &M::LOAD, arg("pID"), arg("pFile"))
      .def("LOADEX", &M::LOADEX, arg("pID"), arg("pFile"))
      .def("SAVESIGNATURE", &M::SAVESIGNATURE, arg("pID"), arg("pFile"), arg("pSignature"), arg("pVersion"))
      .def("LOADSIGNATURE", &M::LOADSIGNATURE, arg("pID"), arg("pFile"), arg("pSignature"),
           arg("pVersionMin") = Variant(), arg("pVersionMax") = Variant())
      .def("TEXT", &M::TEXT, arg("pID"), arg("pIndent") = 0)
      .def("TEXTNOTEMPTY", &M::TEXTNOTEMPTY, arg("pID"), arg("pIndent") = 0)
      .def("TEXTSHORT", &M::TEXTSHORT, arg("pID"), arg("pCut") = 100)
      .def(
          "TEXTVALUES", [](M& x, int32_t id, str d) { return x.TEXTVALUES(id, d); }, arg("pID"),
          arg("pDelimeter") = "\r\n")
      .def("HTML", &M::HTML, arg("pID"))
      .def("ENCODE", &M::ENCODE, arg("pID"))
      .def(
          "DECODE", [](M& x, int32_t id, str t) { x.DECODE(id, t); }, arg("pID"), arg("pText"))
      .def(
          "PARAMETERS", [](M& x, int32_t id, str d) { return x.PARAMETERS(id, d); }, arg("pID"),
          arg("pDelimeter") = "&")
      .def(
          "PARAMETERSSTRUCTURED", [](M& x, int32_t id, str d) { return x.PARAMETERSSTRUCTURED(id, d); }, arg("pID"),
          arg("pDelimeter") = "&")
      .def(
          "PARAMETERSSTRUCTUREDINDENT",
          [](M& x, int32_t id, str i, str d) { return x.PARAMETERSSTRUCTUREDINDENT(id, i, d); }, arg("pID"),
          arg("pIndent") = "\t", arg("pDelimeter") = "\r\n")
      .def(
          "VALUELISTTEXT",
          [](M& x, int32_t id, str d, int32_t n, int32_t start, str add) {
            return x.VALUELISTTEXT(id, d, n, start, add);
          },
          arg("pID"), arg("pDelimeter") = ", ", arg("pMaxCount") = 0, arg("pStartI") = 0, arg("pAdditional") = "");
}

}  // namespace rykel::py
