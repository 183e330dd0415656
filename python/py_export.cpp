// The exports of cls_DB, added to the class that py_db.cpp binds. Settings may be a
// cls_Structure or a dict of keys ("TITLE.SHOW") and values; the id list a list of ids or None.
#include "Bindings.h"
#include "host/cls_DB.h"
#include "structure/cls_Structure.h"

namespace rykel::py {

using pyb::arg;

namespace {

StructurePtr hSettings(const pyb::object& o) {
  if (o.is_none()) return nullptr;
  if (pyb::isinstance<pyb::dict>(o)) {
    auto s = cls_Structure::New();
    for (auto item : o.cast<pyb::dict>()) s->ITEM_LET(pyb::str(item.first).cast<std::string>(), ToVariant(item.second));
    return s;
  }
  return o.cast<StructurePtr>();
}

}  // namespace

void BindExport(pyb::module_& m) {
  using D = cls_DB;
  using IDs = D::IDList;
  auto db = pyb::reinterpret_borrow<pyb::class_<D, Object, std::shared_ptr<D>>>(m.attr("cls_DB"));
  db.def(
        "EXPORTFILE",
        [](D& d, const Variant& view, const std::string& file, const std::string& format, const IDs& ids,
           const pyb::object& settings) { return d.EXPORTFILE(view, file, format, ids, hSettings(settings)); },
        arg("pView"), arg("pFile"), arg("pFormat"), arg("pIDs") = pyb::none(), arg("pSettings") = pyb::none())
      .def(
          "EXPORTEXCEL",
          [](D& d, const Variant& view, const std::string& file, const IDs& ids, const pyb::object& settings) {
            return d.EXPORTEXCEL(view, file, ids, hSettings(settings));
          },
          arg("pView"), arg("pFile"), arg("pIDs") = pyb::none(), arg("pSettings") = pyb::none())
      .def(
          "EXPORTPDF",
          [](D& d, const Variant& view, const std::string& file, const IDs& ids, const pyb::object& settings) {
            return d.EXPORTPDF(view, file, ids, hSettings(settings));
          },
          arg("pView"), arg("pFile"), arg("pIDs") = pyb::none(), arg("pSettings") = pyb::none())
      .def(
          "EXPORTDB",
          [](D& d, const Variant& view, const Variant& target, const IDs& ids, const pyb::object& settings) {
            return d.EXPORTDB(view, target, ids, hSettings(settings));
          },
          arg("pView"), arg("pTarget"), arg("pIDs") = pyb::none(), arg("pSettings") = pyb::none())
      .def(
          "EXPORT",
          [](D& d, const std::string& format, const std::string& file, const pyb::object& view, const IDs& ids,
             const pyb::object& settings) {
            return d.EXPORT(format, file, view.is_none() ? Variant(1) : ToVariant(view), ids, hSettings(settings));
          },
          arg("pFormat"), arg("pFile"), arg("pView") = pyb::none(), arg("pIDs") = pyb::none(),
          arg("pSettings") = pyb::none())
      .def("EXPORTPROGRESS_SET", &D::EXPORTPROGRESS_SET, arg("pProgress"));
}

}  // namespace rykel::py
