#include "PyVariant.h"

#include <cmath>

#include "frame/DateTime.h"

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

}  // namespace

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
