// cls_SiteServer: a site served over HTTP inside the Python process, on threads of its own. START
// and STOP release the interpreter lock; the server never calls back into Python (its log goes to
// standard error, or nowhere with pLog=False). MOUNT adds a database browser (rykel.cls_DBBrowser),
// kept alive by the server, before START.
#include "Bindings.h"
#include "web/cls_DBBrowser.h"
#include "web/cls_SiteServer.h"

namespace rykel::py {

void BindWeb(pyb::module_& m) {
  using S = cls_SiteServer;
  using pyb::arg;
  pyb::class_<S>(m, "cls_SiteServer")
      .def(pyb::init([](const cls_Site& pSite, const std::string& pHost, int32_t pPort, bool pWrite, bool pLive,
                        int64_t pRequestMax, bool pLog) {
             S::Options o;
             o.host = pHost;
             o.port = pPort;
             o.write = pWrite;
             o.live = pLive;
             o.requestMax = pRequestMax;
             if (!pLog) o.log = [](const std::string&) {};
             return std::make_unique<S>(pSite, o);
           }),
           arg("pSite"), arg("pHost") = "127.0.0.1", arg("pPort") = 0, arg("pWrite") = false, arg("pLive") = true,
           arg("pRequestMax") = S::REQUESTMAX, arg("pLog") = true)
      .def(
          "MOUNT",
          [](S& s, std::shared_ptr<cls_DBBrowser> pBrowser) {
            s.MOUNT([pBrowser](const WebRequest& pRequest, WebResponse& rResponse) {
              return pBrowser->HANDLE(pRequest, rResponse);
            });
          },
          arg("pBrowser"))
      .def("START", &S::START, pyb::call_guard<pyb::gil_scoped_release>())
      .def("STOP", &S::STOP, pyb::call_guard<pyb::gil_scoped_release>())
      .def("PORT", &S::PORT)
      .def("RUNNING", &S::RUNNING)
      .def("URL", [](const S& s) { return "http://" + s.OPTIONS().host + ":" + std::to_string(s.PORT()) + "/"; })
      .def("__enter__",
           [](pyb::object self) {
             S& s = self.cast<S&>();
             {
               pyb::gil_scoped_release release;
               s.START();
             }
             return self;
           })
      .def("__exit__", [](S& s, pyb::args) {
        pyb::gil_scoped_release release;
        s.STOP();
      });
}

}  // namespace rykel::py
