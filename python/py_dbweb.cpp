// cls_DBBrowser: the database browser and JSON API for a host's own web server. HANDLE takes the
// method, the decoded path and the parameters (a dict or a list of pairs, query and form fields
// alike) and gives (status, content type, body bytes), or None for a path that is not the
// browser's; with pWithHeaders also the extra headers (Location, Content-Disposition) as a list
// of pairs. The interpreter lock is released while the browser works.
#include <iterator>
#include <memory>

#include "Bindings.h"
#include "web/cls_DBBrowser.h"

namespace rykel::py {

namespace {

std::vector<std::pair<std::string, std::string>> hParams(const pyb::object& pParams) {
  std::vector<std::pair<std::string, std::string>> out;
  if (pParams.is_none()) return out;
  pyb::object items = pyb::isinstance<pyb::dict>(pParams) ? pParams.attr("items")() : pParams;
  for (const auto& item : items) {
    auto pair = item.cast<std::pair<std::string, std::string>>();
    out.push_back(std::move(pair));
  }
  return out;
}

}  // namespace

void BindDBWeb(pyb::module_& m) {
  using B = cls_DBBrowser;
  using pyb::arg;
  pyb::class_<B, std::shared_ptr<B>>(m, "cls_DBBrowser")
      .def(pyb::init<>())
      .def("DBADD", &B::DBADD, arg("pName"), arg("pFile"))
      .def("WRITABLE_GET", &B::WRITABLE_GET)
      .def("WRITABLE_LET", &B::WRITABLE_LET, arg("pValue"))
      .def_property("WRITABLE", &B::WRITABLE_GET, &B::WRITABLE_LET)
      .def("TOKEN_GET", &B::TOKEN_GET)
      .def(
          "HANDLE",
          [](B& b, const std::string& pMethod, const std::string& pPath, const pyb::object& pParams,
             bool pWithHeaders) -> pyb::object {
            WebRequest request{pMethod, pPath, hParams(pParams), {}, {}};
            WebResponse response;
            std::string body;
            bool handled;
            {
              pyb::gil_scoped_release release;
              handled = b.HANDLE(request, response);
              body = response.file ? response.file->Content() : std::move(response.body);
            }
            if (!handled) return pyb::none();
            pyb::bytes bytes(body);
            if (pWithHeaders) return pyb::make_tuple(response.status, response.contentType, bytes, response.headers);
            return pyb::make_tuple(response.status, response.contentType, bytes);
          },
          arg("pMethod"), arg("pPath"), arg("pParams") = pyb::none(), arg("pWithHeaders") = false);
}

}  // namespace rykel::py
