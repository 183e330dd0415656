// cls_KEL, cls_KELModules, cls_KELModule and cls_KELModuleInterface, and host modules written in
// Python: any object with ID (and optionally ALIASES, COMMANDS, CATCHFIRST, CATCHALL) and a method
// MODULE_EXECUTE(rResult, rDone, rValue, pCmd, pParameters, pKEL) returning (rDone, rValue) or None.
#include "Bindings.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModules.h"
#include "modules/mod_KELIO.h"
#include "modules/mod_KELStructure.h"
#include "modules/mod_KELText.h"

namespace rykel::py {

using pyb::arg;

namespace {

// The interpreter as a Python object (None for one a C++ host holds without a shared pointer).
pyb::object hKelObject(cls_KEL& k) {
  if (auto sp = k.weak_from_this().lock()) return pyb::cast(sp);
  return pyb::none();
}

// Applies a handler's answer: None leaves both, a tuple (rDone, rValue) sets them.
void hTakeAnswer(const pyb::object& answer, bool& rDone, Variant& rValue) {
  if (answer.is_none()) return;
  if (pyb::isinstance<pyb::tuple>(answer)) {
    auto t = answer.cast<pyb::tuple>();
    if (t.size() >= 1) rDone = pyb::bool_(t[0]);
    if (t.size() >= 2) rValue = ToVariant(t[1]);
    return;
  }
  rValue = ToVariant(answer);
}

cls_KELModule::ExecuteHandler hPyHandler(pyb::object fn) {
  auto holder = std::make_shared<PyHostObject>(std::move(fn));
  return [holder](const StructurePtr& rResult, bool& rDone, Variant& rValue, const std::string& pCmd,
                  const StructurePtr& pParameters, cls_KEL& pKEL) {
    pyb::gil_scoped_acquire gil;
    pyb::object answer = holder->object()(rResult, rDone, FromVariant(rValue), pCmd, pParameters, hKelObject(pKEL));
    hTakeAnswer(answer, rDone, rValue);
  };
}

// A module written in Python.
class PyKELModule : public cls_KELModuleInterface {
 public:
  explicit PyKELModule(pyb::object o) : module_(std::make_shared<cls_KELModule>()) {
    module_->ID_LET(pyb::str(o.attr("ID")).cast<std::string>());
    if (pyb::hasattr(o, "ALIASES"))
      for (auto a : o.attr("ALIASES")) module_->ALIAS(pyb::str(a).cast<std::string>());
    if (pyb::hasattr(o, "COMMANDS"))
      for (auto c : o.attr("COMMANDS")) module_->COMMAND(pyb::str(c).cast<std::string>());
    if (pyb::hasattr(o, "CATCHFIRST")) module_->CATCHFIRST_LET(pyb::bool_(o.attr("CATCHFIRST")));
    if (pyb::hasattr(o, "CATCHALL")) module_->CATCHALL_LET(pyb::bool_(o.attr("CATCHALL")));
    module_->EXECUTEEVENT = hPyHandler(o.attr("MODULE_EXECUTE"));
    if (pyb::hasattr(o, "SIGNAL")) {
      auto fn = std::make_shared<PyHostObject>(o.attr("SIGNAL"));
      module_->SIGNALEVENT = [fn](int s, const Variant& p) {
        pyb::gil_scoped_acquire gil;
        fn->object()(s, FromVariant(p));
      };
    }
    host_ = std::make_shared<PyHostObject>(std::move(o));
  }
  std::string TypeName() const override { return "PyKELModule"; }
  std::shared_ptr<cls_KELModule> MODULE_GET() override { return module_; }

 private:
  std::shared_ptr<cls_KELModule> module_;
  std::shared_ptr<PyHostObject> host_;
};

}  // namespace

void BindKEL(pyb::module_& m) {
  using MI = cls_KELModuleInterface;
  pyb::class_<MI, Object, std::shared_ptr<MI>>(m, "cls_KELModuleInterface").def("MODULE_GET", &MI::MODULE_GET);
  pyb::class_<mod_KELIO, MI, std::shared_ptr<mod_KELIO>>(m, "mod_KELIO")
      .def(pyb::init([] { return std::make_shared<mod_KELIO>(); }))
      .def_static(
          "TELNORM", [](const std::string& s) { return mod_KELIO::TELNORM(s); }, arg("pNumber"));
  pyb::class_<mod_KELStructure, MI, std::shared_ptr<mod_KELStructure>>(m, "mod_KELStructure").def(pyb::init([] {
    return std::make_shared<mod_KELStructure>();
  }));
  pyb::class_<mod_KELText, MI, std::shared_ptr<mod_KELText>>(m, "mod_KELText").def(pyb::init([] {
    return std::make_shared<mod_KELText>();
  }));

  using M = cls_KELModule;
  pyb::class_<M, Object, std::shared_ptr<M>>(m, "cls_KELModule")
      .def(pyb::init([] { return std::make_shared<M>(); }))
      .def("ID_GET", &M::ID_GET)
      .def(
          "ID_LET", [](M& s, const std::string& v) { s.ID_LET(v); }, arg("pID"))
      .def("ALIASES_GET", &M::ALIASES_GET)
      .def(
          "ALIAS", [](M& s, const std::string& v) { s.ALIAS(v); }, arg("pID"))
      .def("COMMANDS_GET", &M::COMMANDS_GET)
      .def(
          "COMMAND", [](M& s, const std::string& v) { s.COMMAND(v); }, arg("pName"))
      .def("CATCHFIRST_GET", &M::CATCHFIRST_GET)
      .def("CATCHFIRST_LET", &M::CATCHFIRST_LET, arg("pValue"))
      .def("CATCHALL_GET", &M::CATCHALL_GET)
      .def("CATCHALL_LET", &M::CATCHALL_LET, arg("pValue"))
      .def(
          "EXECUTEEVENT_SET", [](M& s, pyb::object fn) { s.EXECUTEEVENT = hPyHandler(std::move(fn)); }, arg("pHandler"),
          "handler(rResult, rDone, rValue, pCmd, pParameters, pKEL) -> (rDone, rValue)")
      .def(
          "EXECUTE",
          [](M& s, cls_KEL& k, const std::string& cmd, StructurePtr p, StructurePtr r) {
            bool done = false;
            Variant v = s.EXECUTE(k, cmd, p, r, done);
            return pyb::make_tuple(FromVariant(v), done);
          },
          arg("pKEL"), arg("pCmd"), arg("pParameters") = nullptr, arg("pResult") = nullptr)
      .def("SIGNAL", &M::SIGNAL, arg("pSignal"), arg("pParameters") = Variant());

  using R = cls_KELModules;
  pyb::class_<R, Object, std::shared_ptr<R>>(m, "cls_KELModules")
      .def(pyb::init([] { return std::make_shared<R>(); }))
      .def(
          "ADD",
          [](R& r, pyb::object o) {
            if (pyb::isinstance<MI>(o)) r.ADD(o.cast<std::shared_ptr<MI>>());
            else r.ADD(std::make_shared<PyKELModule>(std::move(o)));
          },
          arg("pModule"))
      .def("COUNT", &R::COUNT)
      .def("MODULE", &R::MODULE, arg("pIDOrIndex"))
      .def("ITEM", &R::ITEM, arg("pIDOrIndex"))
      .def(
          "FIND", [](R& r, const std::string& n) { return r.FIND(n); }, arg("pName"))
      .def("INDEXCLEAR", &R::INDEXCLEAR)
      .def("REINDEX", &R::REINDEX)
      .def(
          "EXECUTE",
          [](R& r, cls_KEL& k, const std::string& cmd, StructurePtr p, StructurePtr res) {
            return r.EXECUTE(k, cmd, p, res);
          },
          arg("pKEL"), arg("pCmd"), arg("pParameters") = nullptr, arg("pResult") = nullptr)
      .def("SIGNAL", &R::SIGNAL, arg("pSignal"), arg("pParameters") = Variant())
      .def(
          "VARSET", [](R&, const Variant&, const Variant& v) { return v; }, arg("rDest"), arg("pSource"));

  using K = cls_KEL;
  pyb::class_<K, Object, std::shared_ptr<K>>(m, "cls_KEL", "The KEL template interpreter.")
      .def(pyb::init([] { return std::make_shared<K>(); }))
      .def_readwrite("DIRECTORIES", &K::DIRECTORIES)
      .def_readwrite("DEVELOPER", &K::DEVELOPER)
      .def_readwrite("TRACE", &K::TRACE)
      .def_readwrite("VARIABLES", &K::VARIABLES)
      .def_readwrite("BLOCKS", &K::BLOCKS)
      .def_readwrite("FUNCTIONS", &K::FUNCTIONS)
      .def_readwrite("RECURSIONS", &K::RECURSIONS)
      .def_readwrite("SETTINGS", &K::SETTINGS)
      .def_readwrite("DISPOSELIST", &K::DISPOSELIST)
      .def_readonly("ERRORLIST", &K::ERRORLIST)
      .def_readonly("ERRORPLACES", &K::ERRORPLACES)
      .def_readwrite("LATER", &K::LATER)
      .def_readonly("MODULES", &K::MODULES)
      .def(
          "DECODE",
          [](K& k, const Variant& p, StructurePtr d, const Variant& add, bool exec) {
            return k.DECODE(p, d, add, exec);
          },
          arg("pPara"), arg("pData") = nullptr, arg("pAdd") = Variant(), arg("pAllowExec") = false)
      .def("ENCODE", &K::ENCODE, arg("pValue"), arg("pQuoteText") = false)
      .def("hToText", &K::hToText, arg("pValue"))
      .def("hData", &K::hData, arg("pText"))
      .def_static("hInArray", &K::hInArray, arg("pValue"), arg("pArray"))
      .def(
          "LITERAL", [](K& k, const std::string& s) { return k.LITERAL(s); }, arg("pText"))
      .def(
          "EXECUTE", [](K& k, const std::string& c, StructurePtr d) { return k.EXECUTE(c, d); }, arg("pCmd"),
          arg("pData") = nullptr)
      .def(
          "PROCESS", [](K& k, const std::string& t, StructurePtr d) { return k.PROCESS(t, d); }, arg("pText"),
          arg("pData") = nullptr)
      .def(
          "CHECK",
          [](K& k, const std::string& t, const std::string& f) {
            pyb::list out;
            for (const auto& x : k.CHECK(t, f)) {
              pyb::dict d;
              d["file"] = x.file;
              d["line"] = x.line;
              d["column"] = x.column;
              d["severity"] = x.severity;
              d["message"] = x.message;
              out.append(d);
            }
            return out;
          },
          arg("pText"), arg("pFile") = "",
          "-> [{'file', 'line', 'column', 'severity', 'message'}], in text order; [] when nothing was found")
      .def(
          "ENCAPSULATE",
          [](K& k, std::string data, const std::string& a, const std::string& b) {
            bool ok = k.ENCAPSULATE(data, a, b);
            return pyb::make_tuple(ok, data);
          },
          arg("rData"), arg("pStartTag"), arg("pEndTag"), "-> (result, rData)")
      .def("QUITEXEC", &K::QUITEXEC)
      .def("QUIT_GET", &K::QUIT_GET)
      .def("CUTSHORT_GET", &K::CUTSHORT_GET)
      .def("AUTOESCAPE_GET", &K::AUTOESCAPE_GET)
      .def("AUTOESCAPE_LET", &K::AUTOESCAPE_LET, arg("pValue"))
      .def(
          "SYNTAXCHECK",
          [](K& k, StructurePtr v, const std::string& w) {
            bool ok = k.SYNTAXCHECK(v, w);
            return pyb::make_tuple(ok, v);
          },
          arg("rValue"), arg("pParaWanted"), "-> (result, rValue)")
      .def(
          "LOCATE", [](K& k, const std::string& f, const std::string& d) { return k.LOCATE(f, d); }, arg("pFile"),
          arg("pDefault") = "")
      .def(
          "LOCATEALL", [](K& k, const std::string& f) { return k.LOCATEALL(f); }, arg("pFile"))
      .def(
          "ERRORS", [](K& k, const std::string& t, const std::string& d, bool c) { return k.ERRORS(t, d, c); },
          arg("pTitle"), arg("pDetail") = "", arg("pCritical") = false)
      .def(
          "ERRORTEXT", [](K& k, const std::string& s) { return k.ERRORTEXT(s); }, arg("pErrMsg"))
      .def("ISERROR", &K::ISERROR, arg("pValue"))
      .def(
          "CRITICAL", [](K& k, const std::string& t, const std::string& x) { k.CRITICAL(t, x); }, arg("pTitle"),
          arg("pText"))
      .def("ERRORLISTSHOW", &K::ERRORLISTSHOW)
      .def("SIGNAL", &K::SIGNAL, arg("pSignal"), arg("pParameters") = Variant())
      .def(
          "VARSET", [](K&, const Variant&, const Variant& v) { return v; }, arg("rDest"), arg("pSource"))
      .def(
          "TRACESTART", [](K& k, const std::string& n) { k.TRACESTART(n); }, arg("pName"))
      .def(
          "TRACEEND", [](K& k, const std::string& n) { k.TRACEEND(n); }, arg("pName"))
      .def(
          "EXE", [](K& k, const std::string& c) { return k.EXE(c); }, arg("pCmd"))
      .def("EXEARRAY", &K::EXEARRAY, arg("pCmds"))
      // Events: assign a Python callable, or None to remove it.
      .def_property(
          "WARNING", [](K&) { return pyb::none(); },
          [](K& k, pyb::object fn) {
            if (fn.is_none()) {
              k.WARNING = nullptr;
              return;
            }
            auto h = std::make_shared<PyHostObject>(std::move(fn));
            k.WARNING = [h](const std::string& msg, bool& rContinue) {
              pyb::gil_scoped_acquire gil;
              pyb::object r = h->object()(msg, rContinue);
              if (!r.is_none()) rContinue = pyb::bool_(r);
            };
          },
          "callback(pMessage, rContinue) -> rContinue")
      .def_property(
          "SIGNALED", [](K&) { return pyb::none(); },
          [](K& k, pyb::object fn) {
            if (fn.is_none()) {
              k.SIGNALED = nullptr;
              return;
            }
            auto h = std::make_shared<PyHostObject>(std::move(fn));
            k.SIGNALED = [h](K& kel, bool& rDone, const Variant& flags) {
              pyb::gil_scoped_acquire gil;
              pyb::object r = h->object()(hKelObject(kel), rDone, FromVariant(flags));
              if (!r.is_none()) rDone = pyb::bool_(r);
            };
          },
          "callback(pKEL, rDone, pFlags) -> rDone")
      .def_property(
          "CRITICALERRORS", [](K&) { return pyb::none(); },
          [](K& k, pyb::object fn) {
            if (fn.is_none()) {
              k.CRITICALERRORS = nullptr;
              return;
            }
            auto h = std::make_shared<PyHostObject>(std::move(fn));
            k.CRITICALERRORS = [h](const StructurePtr& errors) {
              pyb::gil_scoped_acquire gil;
              h->object()(errors);
            };
          },
          "callback(pErrors)");
}

}  // namespace rykel::py
