#include "PyVariant.h"

#include <cmath>

#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/mdl_Limits.h"
#include "structure/cls_StructureManager.h"
#include "structure/mdl_StructureJson.h"
#include "structure/mdl_StructureScript.h"

namespace rykel::py {

namespace {

pyb::object& hDatetimeClass() {
  static pyb::object* cls = new pyb::object(pyb::module_::import("datetime").attr("datetime"));
  return *cls;
}

pyb::object& hDateClass() {
  static pyb::object* cls = new pyb::object(pyb::module_::import("datetime").attr("date"));
  return *cls;
}

// Converts nested plain data: the depth of the container being filled and the unused slots that
// int keys may still open, shared by the whole conversion.
struct PlainReader {
  int64_t gapBudget = mdl_Limits::UnusedSlotBudget(0);

  Variant Value(pyb::handle h, int pDepth) {
    if (IsPlainContainer(h)) return Variant(Fill(h, pDepth + 1));
    return ToVariant(h);
  }

  StructurePtr Fill(pyb::handle h, int pDepth) {
    if (pDepth > mdl_StructureScript::MaxDepth())
      Raise(err::kInvalidData, mdl_Limits::DepthMessage("Python data", mdl_Limits::kStructureDepth));
    auto s = cls_Structure::New();
    cls_StructureManager& m = *s->MANAGER_GET();
    const int32_t id = s->SID_GET();
    if (!PyDict_Check(h.ptr())) {
      for (pyb::handle item : h) m.ADD(id, Value(item, pDepth));
      return s;
    }
    for (auto [key, item] : pyb::reinterpret_borrow<pyb::dict>(h)) {
      if (PyUnicode_Check(key.ptr()) || PyBytes_Check(key.ptr())) {
        m.ITEMBYID_LET(id, ToVariant(key).str(), Value(item, pDepth));
      } else if (PyLong_Check(key.ptr())) {
        int overflow = 0;
        const long long index = PyLong_AsLongLongAndOverflow(key.ptr(), &overflow);
        const long long gap = index - m.MAX(id) - 1;
        if (overflow || index < 0 || (gap > 0 && (gapBudget -= gap) < 0))
          Raise(err::kInvalidData, "numbered key " + pyb::str(key).cast<std::string>() +
                                       " out of range (0 up, opening at most " +
                                       std::to_string(mdl_Limits::UnusedSlotBudget(0)) + " unused items in total)");
        m.ITEM_LET(id, Variant(static_cast<int32_t>(index)), Value(item, pDepth), true);
      } else {
        throw pyb::type_error("a dict key must be str or int to become an item name or index, not " +
                              pyb::str(key.get_type().attr("__name__")).cast<std::string>());
      }
    }
    return s;
  }
};

pyb::object hItemToPython(cls_StructureManager& m, const cls_StructureManager::Item& pItem, int pDepth);

pyb::object hNodeToPython(cls_StructureManager& m, int32_t pID, int pDepth) {
  if (pDepth > mdl_StructureScript::MaxDepth())
    Raise(err::kInvalidData, mdl_Limits::DepthMessage("Structure", mdl_Limits::kStructureDepth));
  const auto& items = m.Items(pID);
  const size_t base = m.HASZERO_GET(pID) ? 0 : 1;
  if (mdl_StructureJson::IsList(m, pID)) {
    pyb::list out(items.size() - base);
    for (size_t i = base; i < items.size(); ++i) out[i - base] = hItemToPython(m, items[i], pDepth);
    return out;
  }
  pyb::dict out;
  for (size_t i = base; i < items.size(); ++i) {
    if (!items[i].used) continue;
    std::string_view name = m.Names().Name(items[i].name);
    pyb::object key = name.empty() ? pyb::object(pyb::int_(i)) : TextToPython(name);
    // the first item of a name is the one lookups find
    if (!out.contains(key)) out[key] = hItemToPython(m, items[i], pDepth);
  }
  return out;
}

pyb::object hItemToPython(cls_StructureManager& m, const cls_StructureManager::Item& pItem, int pDepth) {
  if (pItem.isStruct) return hNodeToPython(m, pItem.child, pDepth + 1);
  int64_t whole = 0;
  if (mdl_StructureJson::IsWideWhole(pItem.value, whole)) return pyb::int_(whole);
  return FromVariant(pItem.value);
}

}  // namespace

bool IsPlainContainer(pyb::handle h) {
  return PyDict_Check(h.ptr()) || PyList_Check(h.ptr()) || PyTuple_Check(h.ptr());
}

StructurePtr ToStructure(pyb::handle h) {
  if (!IsPlainContainer(h))
    throw pyb::type_error("a dict, list or tuple expected, not " +
                          pyb::str(h.get_type().attr("__name__")).cast<std::string>());
  return PlainReader().Fill(h, 1);
}

pyb::object ToPython(cls_Structure& s) { return hNodeToPython(*s.MANAGER_GET(), s.SID_GET(), 1); }

PyHostObject::~PyHostObject() {
  if (!Py_IsInitialized() || _Py_IsFinalizing()) {
    obj_.release();  // the interpreter is gone or going: nothing may be touched any more
    return;
  }
  pyb::gil_scoped_acquire gil;
  obj_ = pyb::object();
}

pyb::object TextToPython(std::string_view s) {
  PyObject* o = PyUnicode_DecodeUTF8(s.data(), static_cast<Py_ssize_t>(s.size()), nullptr);
  if (!o) {
    if (!PyErr_ExceptionMatches(PyExc_UnicodeDecodeError)) throw pyb::error_already_set();
    PyErr_Clear();
    o = PyBytes_FromStringAndSize(s.data(), static_cast<Py_ssize_t>(s.size()));
    if (!o) throw pyb::error_already_set();
  }
  return pyb::reinterpret_steal<pyb::object>(o);
}

std::string PyHostObject::TypeName() const {
  pyb::gil_scoped_acquire gil;
  return pyb::str(obj_.get_type().attr("__name__"));
}

pyb::object NullObject() {
  static pyb::object* null = nullptr;
  if (!null) {
    pyb::module_ m = pyb::module_::import("rykel");
    null = new pyb::object(m.attr("NULL"));
  }
  return *null;
}

Variant ToVariant(pyb::handle h) {
  if (h.is_none()) return Variant();
  if (PyBool_Check(h.ptr())) return Variant(h.ptr() == Py_True);
  if (PyLong_Check(h.ptr())) {
    int overflow = 0;
    long long v = PyLong_AsLongLongAndOverflow(h.ptr(), &overflow);
    if (overflow) return Variant(PyLong_AsDouble(h.ptr()));
    return Variant(v);
  }
  if (PyFloat_Check(h.ptr())) return Variant(PyFloat_AsDouble(h.ptr()));
  if (PyUnicode_Check(h.ptr())) {
    Py_ssize_t size = 0;
    const char* data = PyUnicode_AsUTF8AndSize(h.ptr(), &size);
    if (!data) throw pyb::error_already_set();
    return Variant(std::string_view(data, static_cast<size_t>(size)));
  }
  if (PyBytes_Check(h.ptr()))  // text that is not UTF-8 comes back in as it went out
    return Variant(std::string_view(PyBytes_AS_STRING(h.ptr()), static_cast<size_t>(PyBytes_GET_SIZE(h.ptr()))));
  if (pyb::isinstance(h, hDatetimeClass()) || pyb::isinstance(h, hDateClass())) {
    date::Parts p;
    p.year = h.attr("year").cast<int>();
    p.month = h.attr("month").cast<int>();
    p.day = h.attr("day").cast<int>();
    if (PyBytes_Check(h.ptr()))  // text that is not UTF-8 comes back in as it went out
      return Variant(std::string_view(PyBytes_AS_STRING(h.ptr()), static_cast<size_t>(PyBytes_GET_SIZE(h.ptr()))));
    if (pyb::isinstance(h, hDatetimeClass())) {
      p.hour = h.attr("hour").cast<int>();
      p.minute = h.attr("minute").cast<int>();
      p.second = h.attr("second").cast<int>();
    }
    double d = 0;
    if (!date::FromParts(p, d)) throw pyb::value_error("date out of range");
    return Variant::Date(d);
  }
  if (IsPlainContainer(h)) return Variant(ToStructure(h));
  if (h.is(NullObject())) return Variant::Null();
  if (pyb::isinstance<Object>(h)) return Variant(h.cast<std::shared_ptr<Object>>());
  return Variant(ObjectPtr(std::make_shared<PyHostObject>(pyb::reinterpret_borrow<pyb::object>(h))));
}

pyb::object FromVariant(const Variant& v) {
  switch (v.type()) {
    case VarType::Empty: return pyb::none();
    case VarType::Null: return NullObject();
    case VarType::Integer: return pyb::int_(v.rawInteger());
    case VarType::Long:
    case VarType::Error: return pyb::int_(v.rawLong());
    case VarType::Single: return pyb::float_(v.rawSingle());
    case VarType::Double: return pyb::float_(v.rawDouble());
    case VarType::Currency: return pyb::float_(v.rawCurrency() / 10000.0);
    case VarType::Date: {
      date::Parts p = date::ToParts(v.rawDouble());
      return hDatetimeClass()(p.year, p.month, p.day, p.hour, p.minute, p.second);
    }
    case VarType::String: return TextToPython(v.str());
    case VarType::Boolean: return pyb::bool_(v.rawBool());
    case VarType::Object: {
      const ObjectPtr& o = v.obj();
      if (!o) return pyb::none();
      if (auto host = std::dynamic_pointer_cast<PyHostObject>(o)) return host->object();
      return pyb::cast(o);
    }
  }
  return pyb::none();
}

void BindVariantSupport(pyb::module_& m) {
  struct NullType {};
  pyb::class_<NullType>(m, "_NullType")
      .def("__repr__", [](const NullType&) { return "rykel.NULL"; })
      .def("__bool__", [](const NullType&) { return false; });
  m.attr("NULL") = pyb::cast(NullType{});
  pyb::class_<Object, std::shared_ptr<Object>>(m, "Object").def("TypeName", &Object::TypeName);
}

}  // namespace rykel::py
