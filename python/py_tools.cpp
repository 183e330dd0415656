// cls_DBTool.
#include "Bindings.h"
#include "tools/cls_DBTool.h"

namespace rykel::py {

void BindTools(pyb::module_& m) {
  using D = cls_DBTool;
  pyb::class_<D, Object, std::shared_ptr<D>>(m, "cls_DBTool")
      .def(pyb::init([] { return std::make_shared<D>(); }))
      .def("FILTER", &D::FILTER, pyb::arg("pValue"), pyb::arg("pCondition"))
      .def(
          "SORTDECODE", [](D& d, const std::string& t) { return d.SORTDECODE(t); }, pyb::arg("pType"))
      .def(
          "IDGENERATE", [](D& d, const std::string& t) { return d.IDGENERATE(t); }, pyb::arg("pText"))
      // ---- random test data
      .def(
          "RANDOM", [](D& d, const std::string& f, int t, const std::string& m) { return d.RANDOM(f, t, m); },
          pyb::arg("pFieldOrPattern"), pyb::arg("pType") = 1, pyb::arg("pMembers") = "")
      .def("RANDOMIZE", &D::RANDOMIZE, pyb::arg("pSeed") = pyb::none())
      .def("hRand", &D::hRand, pyb::arg("pA"), pyb::arg("pB"))
      .def("hFifty", &D::hFifty)
      .def("CONSONANT", &D::CONSONANT)
      .def("VOWEL", &D::VOWEL)
      .def("CHAR", &D::CHAR)
      .def("DIGIT", &D::DIGIT)
      .def(
          "hWordsToLettersSub", [](D& d, const std::string& c) { return d.hWordsToLettersSub(c); }, pyb::arg("pChunk"));
}

}  // namespace rykel::py
