// cls_Site: a site folder's pages rendered one at a time or built to static files. RENDER's
// variables may be a structure or a dict; BUILD releases the interpreter lock while its threads work.
#include "Bindings.h"
#include "site/cls_Site.h"

namespace rykel::py {

void BindSite(pyb::module_& m) {
  using S = cls_Site;
  using pyb::arg;
  pyb::class_<S>(m, "cls_Site")
      .def(pyb::init<std::string>(), arg("pRoot"))
      .def("ROOT", &S::ROOT)
      .def("DBADD", &S::DBADD, arg("pName"), arg("pFile"))
      .def("PAGES", &S::PAGES)
      .def(
          "RENDER",
          [](const S& s, const std::string& pPage, const StructurePtr& pVariables) {
            auto page = s.RENDER(pPage, pVariables);
            pyb::dict d;
            d["html"] = page.html;
            d["errors"] = page.errors;
            d["cutShort"] = page.cutShort;
            return d;
          },
          arg("pPage"), arg("pVariables") = pyb::none())
      .def(
          "BUILD",
          [](const S& s, const std::string& pOut, int32_t pJobs, bool pClean) {
            S::Report r;
            {
              pyb::gil_scoped_release release;
              r = s.BUILD(pOut, pJobs, pClean);
            }
            pyb::dict d;
            d["built"] = r.built;
            d["skipped"] = r.skipped;
            d["copied"] = r.copied;
            d["failed"] = r.failed;
            d["errors"] = r.errors;
            return d;
          },
          arg("pOut"), arg("pJobs") = 0, arg("pClean") = false);
}

}  // namespace rykel::py
