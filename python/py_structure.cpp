// cls_StructureManager, cls_Structure and cls_StructureTools.
#include "Bindings.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureManager.h"
#include "structure/cls_StructureTools.h"

namespace rykel::py {

using pyb::arg;

namespace {

// An operation that changes the structure and gives it back for chaining: in Python it gives the
// very object it was called on.
template <class F, class... A>
auto hChain(F pDo, void (F::*)(cls_Structure&, A...) const) {
  return [pDo](pyb::object self, A... args) {
    pDo(self.cast<cls_Structure&>(), std::forward<A>(args)...);
    return self;
  };
}
template <class F>
auto Chain(F pDo) {
  return hChain(pDo, &F::operator());
}

}  // namespace

void BindStructure(pyb::module_& m) {
  using M = cls_StructureManager;
  pyb::class_<M, Object, std::shared_ptr<M>>(m, "cls_StructureManager")
      .def("Alloc", &M::Alloc)
      .def("Release", &M::Release, arg("pID"))
      .def("Ref", &M::Ref, arg("pID"))
      .def("CONVERT", &M::CONVERT, arg("pID"))
      .def("Initialize", &M::Initialize, arg("pID"))
      .def("Terminate", &M::Terminate)
      .def("USAGE", &M::USAGE)
      .def("USAGEFREE", &M::USAGEFREE)
      .def("BUFFER", &M::BUFFER)
      .def("INFO", &M::INFO)
      .def("USAGEINFO", &M::USAGEINFO)
      .def(
          "PERFORMANCE", [](M& s, const std::string& k, double t) { s.PERFORMANCE(k, t); }, arg("pKey"),
          arg("pSeconds"))
      .def("PERFORMANCEINFO", &M::PERFORMANCEINFO)
      .def("REFCOUNT", &M::REFCOUNT, arg("pID"))
      .def("DEFAULTMODE_GET", &M::DEFAULTMODE_GET, arg("pID"))
      .def("DEFAULTMODE_LET", &M::DEFAULTMODE_LET, arg("pID"), arg("pValue"))
      .def("HASZERO_GET", &M::HASZERO_GET, arg("pID"))
      .def("HASZERO_LET", &M::HASZERO_LET, arg("pID"), arg("pValue"))
      .def("CHANGED_GET", &M::CHANGED_GET, arg("pID"))
      .def("CHANGED_LET", &M::CHANGED_LET, arg("pID"), arg("pValue"))
      .def("ALLOWNOTHING_GET", &M::ALLOWNOTHING_GET, arg("pID"))
      .def("ALLOWNOTHING_LET", &M::ALLOWNOTHING_LET, arg("pID"), arg("pValue"))
      .def("VALUEBOUND_GET", &M::VALUEBOUND_GET, arg("pID"))
      .def("VALUEBOUND_LET", &M::VALUEBOUND_LET, arg("pID"), arg("pValue"))
      .def("OBJECTBOUND_GET", &M::OBJECTBOUND_GET, arg("pID"))
      .def("OBJECTBOUND_SET", &M::OBJECTBOUND_SET, arg("pID"), arg("pObject"))
      .def("ITEM_GET", pyb::overload_cast<int32_t, const Variant&, const Variant&, bool>(&M::ITEM_GET), arg("pID"),
           arg("pKey"), arg("pDefault") = Variant(), arg("pForceIndex") = false)
      .def("ITEM_LET", pyb::overload_cast<int32_t, const Variant&, const Variant&, bool>(&M::ITEM_LET), arg("pID"),
           arg("pKey"), arg("pValue"), arg("pForceIndex") = false)
      .def("ITEM_SET", &M::ITEM_SET, arg("pID"), arg("pKey"), arg("pValue"), arg("pForceIndex") = false)
      .def("BASE", &M::BASE, arg("pID"))
      .def("MAX", &M::MAX, arg("pID"))
      .def("COUNT", &M::COUNT, arg("pID"))
      .def("ADD", &M::ADD, arg("pID"), arg("pValue"))
      .def(
          "FIND", [](M& s, int32_t id, const std::string& n) { return s.FIND(id, n); }, arg("pID"), arg("pName"))
      .def("CLEAR", &M::CLEAR, arg("pID"))
      .def("REMOVE", &M::REMOVE, arg("pID"), arg("pKey"))
      // ---- the operations the handle forwards, each with the node id first, as in C++
      .def(
          "ItemGetDirect_GET",
          [](M& s, int32_t id, const std::string& k, int t, const Variant& d, bool f) {
            return s.ItemGetDirect_GET(id, k, t, d, f);
          },
          arg("pID"), arg("pKey"), arg("pKeyType"), arg("pDefault") = Variant(), arg("pForceIndex") = false)
      .def("DEFAULT", &M::DEFAULT, arg("pID"), arg("pKey"), arg("pValue"))
      .def("EXISTS_GET", pyb::overload_cast<int32_t, const Variant&>(&M::EXISTS_GET), arg("pID"), arg("pKey"))
      .def("EXISTSVALUE_GET", &M::EXISTSVALUE_GET, arg("pID"), arg("pValue"))
      .def("ITEMINDEX_GET", &M::ITEMINDEX_GET, arg("pID"), arg("pKey"))
      .def("ID_GET", &M::ID_GET, arg("pID"), arg("pIndex"))
      .def(
          "ID_LET", [](M& s, int32_t id, int32_t i, const std::string& n) { s.ID_LET(id, i, n); }, arg("pID"),
          arg("pIndex"), arg("pNewID"))
      .def(
          "ITEMBYID_GET",
          [](M& s, int32_t id, const std::string& k, const Variant& d) { return s.ITEMBYID_GET(id, k, d); }, arg("pID"),
          arg("pItemID"), arg("pDefault") = Variant())
      .def(
          "ITEMBYID_LET", [](M& s, int32_t id, const std::string& k, const Variant& v) { s.ITEMBYID_LET(id, k, v); },
          arg("pID"), arg("pItemID"), arg("pValue"))
      .def(
          "ITEMBYID_SET", [](M& s, int32_t id, const std::string& k, const Variant& v) { s.ITEMBYID_SET(id, k, v); },
          arg("pID"), arg("pItemID"), arg("pValue"))
      .def(
          "EXISTSBYID_GET", [](M& s, int32_t id, const std::string& k) { return s.EXISTSBYID_GET(id, k); }, arg("pID"),
          arg("pItemID"))
      .def(
          "ITEMRECURSIVE_GET",
          [](M& s, int32_t id, const std::string& k, const Variant& d) { return s.ITEMRECURSIVE_GET(id, k, d); },
          arg("pID"), arg("pItemID"), arg("pDefault") = Variant())
      .def(
          "ITEMPARENT_GET", [](M& s, int32_t id, const std::string& k) { return s.ITEMPARENT_GET(id, k); }, arg("pID"),
          arg("pPath"))
      .def("COUNTSUBSTRUCTS", &M::COUNTSUBSTRUCTS, arg("pID"))
      .def("COUNTALL", &M::COUNTALL, arg("pID"))
      .def("RESIZE", &M::RESIZE, arg("pID"), arg("pMax"))
      .def("INDEX", &M::INDEX, arg("pID"), arg("pPosition"))
      .def(
          "ITEMDIRECT_LET",
          [](M& s, int32_t id, int32_t i, const std::string& n, const Variant& v) { s.ITEMDIRECT_LET(id, i, n, v); },
          arg("pID"), arg("pIndex"), arg("pName"), arg("pValue"))
      .def("ISEMPTY", &M::ISEMPTY, arg("pID"))
      .def("SERIALIZE", &M::SERIALIZE, arg("pID"))
      .def(
          "UNSERIALIZE", [](M& s, int32_t id, const std::string& t) { s.UNSERIALIZE(id, t); }, arg("pID"),
          arg("rSerialData"))
      .def(
          "UNSERIALIZE2",
          [](M& s, int32_t id, const std::string& t, int64_t rIndex) {
            Variant v = s.UNSERIALIZE2(id, t, rIndex);
            return pyb::make_tuple(v, rIndex);
          },
          arg("pID"), arg("rSerialData"), arg("rIndex") = 0)
      .def("SERIALIZEBINARY", &M::SERIALIZEBINARY, arg("pID"))
      .def(
          "SERIALIZEBINARYBUFFER",
          [](M& s, int32_t id, std::vector<std::string> rBuffer, int64_t rIndex) {
            s.SERIALIZEBINARYBUFFER(id, rBuffer, rIndex);
            return pyb::make_tuple(rBuffer, rIndex);
          },
          arg("pID"), arg("rBuffer") = std::vector<std::string>(), arg("rIndex") = 0)
      .def("SERIALIZEBINARYCOUNT", &M::SERIALIZEBINARYCOUNT, arg("pID"))
      .def(
          "UNSERIALIZEBINARY", [](M& s, int32_t id, const std::string& t) { s.UNSERIALIZEBINARY(id, t); }, arg("pID"),
          arg("rSerialData"))
      .def(
          "UNSERIALIZEBINARYBUFFER",
          [](M& s, int32_t id, const std::vector<std::string>& pBuffer, int64_t rIndex) {
            s.UNSERIALIZEBINARYBUFFER(id, pBuffer, rIndex);
            return rIndex;
          },
          arg("pID"), arg("pBuffer"), arg("rIndex") = 0)
      .def(
          "JOIN", [](M& s, int32_t id, const std::string& g) { return s.JOIN(id, g); }, arg("pID"), arg("pGlue") = "")
      .def(
          "MERGE", [](M& s, int32_t id, const StructurePtr& o, const std::string& p, bool k) { s.MERGE(id, o, p, k); },
          arg("pID"), arg("pStructure"), arg("pPrefix") = "", arg("pKeepOrder") = false)
      .def("COPY", &M::COPY, arg("pID"))
      .def("CLONE", &M::CLONE, arg("pID"))
      .def("DIFFERENCE", &M::DIFFERENCE, arg("pID"), arg("pDefaults"))
      .def("UPDATE", &M::UPDATE, arg("pID"), arg("pStructure"))
      .def(
          "RESTRUCTURE", [](M& s, int32_t id, const std::string& c) { return s.RESTRUCTURE(id, c); }, arg("pID"),
          arg("pConvertToStructChar") = ".")
      .def(
          "FLATADD", [](M& s, int32_t id, const StructurePtr& o, const std::string& c) { s.FLATADD(id, o, c); },
          arg("pID"), arg("pStructure"), arg("pConvertStructChar") = ".")
      .def(
          "FLATTEN", [](M& s, int32_t id, const std::string& c) { return s.FLATTEN(id, c); }, arg("pID"),
          arg("pConvertStructChar") = ".")
      .def("LINEARADD", &M::LINEARADD, arg("pID"), arg("pStructure"))
      .def("LINEAR", &M::LINEAR, arg("pID"))
      .def("IDLISTADD", &M::IDLISTADD, arg("pID"), arg("pStructure"))
      .def("IDLIST", &M::IDLIST, arg("pID"))
      .def("MOVE", &M::MOVE, arg("pID"), arg("pIndex"), arg("pMoveTo"))
      .def("SWAP", &M::SWAP, arg("pID"), arg("pI1"), arg("pI2"))
      .def(
          "RENAME", [](M& s, int32_t id, const std::string& o, const std::string& n) { return s.RENAME(id, o, n); },
          arg("pID"), arg("pOldID"), arg("pNewID"))
      .def(
          "MENU", [](M& s, int32_t id, const std::string& p) { return s.MENU(id, p); }, arg("pID"), arg("pMenu") = "")
      .def("SELECTION", &M::SELECTION, arg("pID"), arg("pSelected") = Variant())
      .def("INCREASE", &M::INCREASE, arg("pID"), arg("pIncreaseBy") = Variant(1), arg("pKey") = Variant())
      .def("DECREASE", &M::DECREASE, arg("pID"), arg("pDecreaseBy") = Variant(1), arg("pKey") = Variant())
      .def("COPYCLIPBOARD", &M::COPYCLIPBOARD, arg("pID"))
      .def("COPYCLIPBOARDNOTEMPTY", &M::COPYCLIPBOARDNOTEMPTY, arg("pID"));

  using S = cls_Structure;
  pyb::class_<S, Object, std::shared_ptr<S>>(
      m, "cls_Structure", "A structure handle: named and numbered items, nested by dotted key paths.")
      .def(pyb::init(&S::New))
      .def("MANAGER_GET", &S::MANAGER_GET)
      .def("MANAGER_SET", &S::MANAGER_SET, arg("pManager"))
      .def("IDENTICAL", &S::IDENTICAL, arg("pOther"))
      .def("SID_GET", &S::SID_GET)
      .def("CONNECT", &S::CONNECT, arg("pID"))
      .def("Ref", &S::Ref)
      .def("HASZERO_GET", &S::HASZERO_GET)
      .def("HASZERO_LET", &S::HASZERO_LET, arg("pValue"))
      .def("CHANGED_GET", &S::CHANGED_GET)
      .def("CHANGED_LET", &S::CHANGED_LET, arg("pValue"))
      .def("ALLOWNOTHING_GET", &S::ALLOWNOTHING_GET)
      .def("ALLOWNOTHING_LET", &S::ALLOWNOTHING_LET, arg("pValue"))
      .def("DEFAULTMODE_GET", &S::DEFAULTMODE_GET)
      .def("DEFAULTMODE_LET", &S::DEFAULTMODE_LET, arg("pValue"))
      .def("VALUEBOUND_GET", &S::VALUEBOUND_GET)
      .def("VALUEBOUND_LET", &S::VALUEBOUND_LET, arg("pValue"))
      .def("VALUEBOUND_SET", &S::VALUEBOUND_SET, arg("pValue"))
      .def("OBJECTBOUND_GET", &S::OBJECTBOUND_GET)
      .def("OBJECTBOUND_SET", &S::OBJECTBOUND_SET, arg("pObject"))
      .def("SCHEMACLEAR", &S::SCHEMACLEAR)
      .def("SCHEMASET", &S::SCHEMASET, arg("pI2S"), arg("pS2I"))
      .def("ITEM_GET", pyb::overload_cast<const Variant&, const Variant&, bool>(&S::ITEM_GET), arg("pKey"),
           arg("pDefault") = Variant(), arg("pForceIndex") = false)
      .def(
          "ItemGetDirect_GET",
          [](S& s, const std::string& k, int t, const Variant& d, bool f) { return s.ItemGetDirect_GET(k, t, d, f); },
          arg("pKey"), arg("pKeyType"), arg("pDefault") = Variant(), arg("pForceIndex") = false)
      .def("ITEM_LET", pyb::overload_cast<const Variant&, const Variant&, bool>(&S::ITEM_LET), arg("pKey"),
           arg("pValue"), arg("pForceIndex") = false)
      .def("ITEM_SET", &S::ITEM_SET, arg("pKey"), arg("pValue"), arg("pForceIndex") = false)
      .def("DEFAULT", &S::DEFAULT, arg("pKey"), arg("pValue"))
      .def("BASE", &S::BASE)
      .def("MAX", &S::MAX)
      .def("COUNT", &S::COUNT)
      .def("ADD", &S::ADD, arg("pValue"))
      .def(
          "FIND", [](S& s, const std::string& n) { return s.FIND(n); }, arg("pName"))
      .def("CLEAR", &S::CLEAR)
      .def("REMOVE", &S::REMOVE, arg("pKey"))
      .def("EXISTS_GET", pyb::overload_cast<const Variant&>(&S::EXISTS_GET), arg("pKey"))
      .def("EXISTSVALUE_GET", &S::EXISTSVALUE_GET, arg("pValue"))
      .def("ITEMINDEX_GET", &S::ITEMINDEX_GET, arg("pKey"))
      .def("ID_GET", &S::ID_GET, arg("pIndex"))
      .def(
          "ID_LET", [](S& s, int32_t i, const std::string& n) { s.ID_LET(i, n); }, arg("pIndex"), arg("pNewID"))
      .def(
          "ITEMBYID_GET", [](S& s, const std::string& k, const Variant& d) { return s.ITEMBYID_GET(k, d); },
          arg("pItemID"), arg("pDefault") = Variant())
      .def(
          "ITEMBYID_LET", [](S& s, const std::string& k, const Variant& v) { s.ITEMBYID_LET(k, v); }, arg("pItemID"),
          arg("pValue"))
      .def(
          "ITEMBYID_SET", [](S& s, const std::string& k, const Variant& v) { s.ITEMBYID_SET(k, v); }, arg("pItemID"),
          arg("pValue"))
      .def(
          "EXISTSBYID_GET", [](S& s, const std::string& k) { return s.EXISTSBYID_GET(k); }, arg("pItemID"))
      .def(
          "ITEMRECURSIVE_GET", [](S& s, const std::string& k, const Variant& d) { return s.ITEMRECURSIVE_GET(k, d); },
          arg("pItemID"), arg("pDefault") = Variant())
      .def(
          "ITEMPARENT_GET", [](S& s, const std::string& k) { return s.ITEMPARENT_GET(k); }, arg("pPath"))
      .def("COUNTSUBSTRUCTS", &S::COUNTSUBSTRUCTS)
      .def("COUNTALL", &S::COUNTALL)
      .def("RESIZE", &S::RESIZE, arg("pMax"))
      .def("INDEX", &S::INDEX, arg("pPosition"))
      .def(
          "ITEMDIRECT_LET", [](S& s, int32_t i, const std::string& n, const Variant& v) { s.ITEMDIRECT_LET(i, n, v); },
          arg("pIndex"), arg("pName"), arg("pValue"))
      .def("ISEMPTY", &S::ISEMPTY)
      .def("SELF", [](pyb::object self) { return self; })
      // ---- serialized and compact forms
      .def("SERIALIZE", &S::SERIALIZE)
      .def(
          "UNSERIALIZE", [](S& s, const std::string& t) { s.UNSERIALIZE(t); }, arg("rSerialData"))
      .def(
          "UNSERIALIZE2",
          [](S& s, const std::string& t, int64_t rIndex) {
            Variant v = s.UNSERIALIZE2(t, rIndex);
            return pyb::make_tuple(v, rIndex);
          },
          arg("rSerialData"), arg("rIndex") = 0,
          "Reads one value at the byte offset rIndex; returns (scalar or None, rIndex after it).")
      .def("SERIALIZEBINARY", &S::SERIALIZEBINARY)
      .def(
          "SERIALIZEBINARYBUFFER",
          [](S& s, std::vector<std::string> rBuffer, int64_t rIndex) {
            s.SERIALIZEBINARYBUFFER(rBuffer, rIndex);
            return pyb::make_tuple(rBuffer, rIndex);
          },
          arg("rBuffer") = std::vector<std::string>(), arg("rIndex") = 0,
          "Writes the compact pieces into rBuffer from rIndex on; returns (rBuffer, rIndex after them).")
      .def("SERIALIZEBINARYCOUNT", &S::SERIALIZEBINARYCOUNT)
      .def(
          "UNSERIALIZEBINARY", [](S& s, const std::string& t) { s.UNSERIALIZEBINARY(t); }, arg("rSerialData"))
      .def(
          "UNSERIALIZEBINARYBUFFER",
          [](S& s, const std::vector<std::string>& pBuffer, int64_t rIndex) {
            s.UNSERIALIZEBINARYBUFFER(pBuffer, rIndex);
            return rIndex;
          },
          arg("pBuffer"), arg("rIndex") = 0, "Reads one structure's pieces at rIndex; returns rIndex after them.")
      // ---- script, text and parameter forms, structure files
      // ---- whole-tree operations
      .def(
          "JOIN", [](S& s, const std::string& g) { return s.JOIN(g); }, arg("pGlue") = "")
      .def("MERGE", Chain([](S& s, const StructurePtr& o, const std::string& p, bool k) { s.MERGE(o, p, k); }),
           arg("pStructure"), arg("pPrefix") = "", arg("pKeepOrder") = false)
      .def("COPY", &S::COPY)
      .def("CLONE", &S::CLONE)
      .def("DIFFERENCE", &S::DIFFERENCE, arg("pDefaults"))
      .def("UPDATE", Chain([](S& s, const StructurePtr& o) { s.UPDATE(o); }), arg("pStructure"))
      .def(
          "RESTRUCTURE", [](S& s, const std::string& c) { return s.RESTRUCTURE(c); }, arg("pConvertToStructChar") = ".")
      .def("FLATADD", Chain([](S& s, const StructurePtr& o, const std::string& c) { s.FLATADD(o, c); }),
           arg("pStructure"), arg("pConvertStructChar") = ".")
      .def(
          "FLATTEN", [](S& s, const std::string& c) { return s.FLATTEN(c); }, arg("pConvertStructChar") = ".")
      .def("LINEARADD", Chain([](S& s, const StructurePtr& o) { s.LINEARADD(o); }), arg("pStructure"))
      .def("LINEAR", &S::LINEAR)
      .def("IDLISTADD", Chain([](S& s, const StructurePtr& o) { s.IDLISTADD(o); }), arg("pStructure"))
      .def("IDLIST", &S::IDLIST)
      .def("MOVE", Chain([](S& s, int32_t i, int32_t to) { s.MOVE(i, to); }), arg("pIndex"), arg("pMoveTo"))
      .def("SWAP", Chain([](S& s, int32_t a, int32_t b) { s.SWAP(a, b); }), arg("pI1"), arg("pI2"))
      .def(
          "RENAME", [](S& s, const std::string& o, const std::string& n) { return s.RENAME(o, n); }, arg("pOldID"),
          arg("pNewID"))
      .def(
          "MENU", [](S& s, const std::string& p) { return s.MENU(p); }, arg("pMenu") = "")
      .def("SELECTION", &S::SELECTION, arg("pSelected") = Variant())
      .def("INCREASE", Chain([](S& s, const Variant& by, const Variant& k) { s.INCREASE(by, k); }),
           arg("pIncreaseBy") = Variant(1), arg("pKey") = Variant())
      .def("DECREASE", Chain([](S& s, const Variant& by, const Variant& k) { s.DECREASE(by, k); }),
           arg("pDecreaseBy") = Variant(1), arg("pKey") = Variant())
      .def("COPYCLIPBOARD", &S::COPYCLIPBOARD)
      .def("COPYCLIPBOARDNOTEMPTY", &S::COPYCLIPBOARDNOTEMPTY);

  using T = cls_StructureTools;
  pyb::class_<T, Object, std::shared_ptr<T>>(m, "cls_StructureTools")
      .def(pyb::init([] { return std::make_shared<T>(); }))
      .def("CREATE",
           [](T& t, pyb::args a) {
             std::vector<Variant> v;
             for (auto h : a) v.push_back(ToVariant(h));
             return t.CREATE(v);
           })
      .def(
          "UNSERIALIZE", [](T& t, const std::string& d) { return t.UNSERIALIZE(d); }, arg("rSerialData"))
      .def("CAST", &T::CAST, arg("pValue"))
      .def("ISSTRUCT", &T::ISSTRUCT, arg("pValue"))
      .def("ISFILLEDSTRUCT", &T::ISFILLEDSTRUCT, arg("pValue"))
      .def(
          "VARSET", [](T&, const Variant&, const Variant& v) { return v; }, arg("rTarget"), arg("pValue"))
      .def("USAGEMANAGED", &T::USAGEMANAGED)
      .def("USAGEFREE", &T::USAGEFREE)
      .def("USAGEINFO", &T::USAGEINFO)
      .def("USAGEUSED", &T::USAGEUSED)
      .def("USAGEBUFFER", &T::USAGEBUFFER)
      .def("PERFORMANCEINFO", &T::PERFORMANCEINFO);
}

}  // namespace rykel::py
