// cls_DB, cls_DBField, cls_DBView, cls_DBIndex and the field types.
#include "Bindings.h"
#include "PyVariant.h"
#include "host/cls_DB.h"

namespace rykel::py {

using pyb::arg;

namespace {
// A result that is a list: [] when empty (an empty structure would convert to {}).
pyb::object hList(cls_Structure& pList) { return pList.COUNT() == 0 ? pyb::list() : ToPython(pList); }
}  // namespace

void BindDB(pyb::module_& m) {
  auto types = pyb::enum_<enm_DBFieldType>(m, "enm_DBFieldType");
  for (int32_t t = 0; t < kDBFieldTypeCount; ++t) {
    static const char* names[] = {"ID_DBFieldType_Long",        "ID_DBFieldType_String",
                                  "ID_DBFieldType_Date",        "ID_DBFieldType_Boolean",
                                  "ID_DBFieldType_Structure",   "ID_DBFieldType_Enum",
                                  "ID_DBFieldType_EnumNumeric", "ID_DBFieldType_Double",
                                  "ID_DBFieldType_Reference",   "ID_DBFieldType_ReferenceNumeric",
                                  "ID_DBFieldType_EnumMulti"};
    types.value(names[t], static_cast<enm_DBFieldType>(t));
    m.attr(names[t]) = t;
  }

  using F = cls_DBField;
  pyb::class_<F, Object, std::shared_ptr<F>> field(m, "cls_DBField",
                                                   "One field of a database: definition and text forms.");
  field.def(pyb::init([] { return std::make_shared<F>(); })).def_readwrite("ID", &F::ID);
#define RYKEL_PY_MEMBER(member, kind) field.def_readwrite(#member, &F::member);
  RYKEL_DBFIELD_MEMBERS(RYKEL_PY_MEMBER)
#undef RYKEL_PY_MEMBER
  field.def("STRUCTURE_GET", &F::STRUCTURE_GET)
      .def("STRUCTURE_LET", &F::STRUCTURE_LET, arg("pStructure"))
      .def("STRUCTURE_SET", &F::STRUCTURE_SET, arg("pStructure"))
      .def("CLEAR", &F::CLEAR)
      .def("DEFAULTRESET", &F::DEFAULTRESET)
      .def_static("TYPETEXT", &F::TYPETEXT, arg("pType"), arg("pGerman") = false)
      .def_static("TYPEMEMBERS", &F::TYPEMEMBERS)
      .def("SELF", &F::SELF)
      .def("THIS_GET", &F::THIS_GET)
      .def("VALUECONVERT", &F::VALUECONVERT, arg("pValue"))
      .def("TEXT", &F::TEXT, arg("pValue"), arg("pMode") = 0)
      .def("TEXTHTML", &F::TEXTHTML, arg("pValue"), arg("pMode") = 0)
      .def("TEXTSORT", &F::TEXTSORT, arg("pValue"), arg("pPrefix") = false, arg("pInvert") = false)
      .def("INDEXKEY", &F::INDEXKEY, arg("pValue"))
      .def("DEFAULTVALUE_GET", &F::DEFAULTVALUE_GET);

  using V = cls_DBView;
  pyb::class_<V, Object, std::shared_ptr<V>> view(m, "cls_DBView", "A list layout of a database.");
  pyb::class_<V::Column>(view, "Column")
      .def_readwrite("FIELD", &V::Column::FIELD)
      .def_readwrite("WIDTH", &V::Column::WIDTH)
      .def_readwrite("SHOWVALUES", &V::Column::SHOWVALUES)
      .def_readwrite("SHOWVALUEMODE", &V::Column::SHOWVALUEMODE);
  view.def(pyb::init([] { return std::make_shared<V>(); }))
      .def_readwrite("ID", &V::ID)
      .def_readwrite("NAME", &V::NAME)
      .def_readwrite("SORTFIELD", &V::SORTFIELD)
      .def_readwrite("SORTREV", &V::SORTREV)
      .def_readwrite("SORTFIELD2", &V::SORTFIELD2)
      .def_readwrite("SORTREV2", &V::SORTREV2)
      .def_readwrite("ACTION", &V::ACTION)
      .def_readwrite("FILTERMODE", &V::FILTERMODE)
      .def_readwrite("FILTERS", &V::FILTERS)
      .def_property_readonly("COLUMNS", [](V& v) { return v.COLUMNS; })
      .def("COLUMNADD", &V::COLUMNADD, arg("pField"), arg("pWidth") = 100)
      .def("WIDTH", &V::WIDTH)
      .def("CLEAR", &V::CLEAR)
      .def("FILTER_GET", &V::FILTER_GET)
      .def("STRUCTURE_GET", &V::STRUCTURE_GET)
      .def("STRUCTURE_LET", &V::STRUCTURE_LET, arg("pStructure"));

  using I = cls_DBIndex;
  pyb::class_<I, Object, std::shared_ptr<I>>(m, "cls_DBIndex", "Value keys of one field to entry ids.")
      .def(pyb::init([] { return std::make_shared<I>(); }))
      .def("ADD", &I::ADD, arg("pKey"), arg("pID"))
      .def("REMOVE", &I::REMOVE, arg("pKey"), arg("pID"))
      .def("FINDALL", &I::FINDALL, arg("pKey"))
      .def("EXISTS", &I::EXISTS, arg("pKey"))
      .def("WALK", &I::WALK, arg("pRev") = false)
      .def("COUNT", &I::COUNT)
      .def("KEYCOUNT", &I::KEYCOUNT)
      .def("CLEAR", &I::CLEAR);

  using D = cls_DB;
  pyb::class_<D, Object, std::shared_ptr<D>>(m, "cls_DB", "A file database of entries with typed fields.")
      .def(pyb::init([] { return std::make_shared<D>(); }))
      .def("DBICON_GET", &D::DBICON_GET)
      .def("DBICON_LET", &D::DBICON_LET, arg("pValue"))
      .def("DBDESCRIPTION_GET", &D::DBDESCRIPTION_GET)
      .def("DBDESCRIPTION_LET", &D::DBDESCRIPTION_LET, arg("pValue"))
      .def("DBNAME_GET", &D::DBNAME_GET)
      .def("DBNAME_LET", &D::DBNAME_LET, arg("pValue"))
      .def("DBID_GET", &D::DBID_GET)
      .def("DBID_LET", &D::DBID_LET, arg("pValue"))
      .def("DBEXTENSIBLE_GET", &D::DBEXTENSIBLE_GET)
      .def("DBEXTENSIBLE_LET", &D::DBEXTENSIBLE_LET, arg("pValue"))
      .def("DBNUMERIC_GET", &D::DBNUMERIC_GET)
      .def("DBNUMERIC_LET", &D::DBNUMERIC_LET, arg("pValue"))
      .def("DBMOVABLE_GET", &D::DBMOVABLE_GET)
      .def("DBMOVABLE_LET", &D::DBMOVABLE_LET, arg("pValue"))
      .def("DBMASK_GET", &D::DBMASK_GET)
      .def("DBMASK_LET", &D::DBMASK_LET, arg("pValue"))
      .def("DBTYPING_GET", &D::DBTYPING_GET)
      .def("DBTYPING_LET", &D::DBTYPING_LET, arg("pValue"))
      .def("KEL_GET", &D::KEL_GET)
      .def("KEL_SET", &D::KEL_SET, arg("pValue"))
      .def("HEADERLOCATIONS_GET", &D::HEADERLOCATIONS_GET)
      .def("HEADERLOCATIONS_SET", &D::HEADERLOCATIONS_SET, arg("pValue"))
      .def("ENTRYCHANGED_GET", &D::ENTRYCHANGED_GET)
      .def("ENTRYCHANGED_LET", &D::ENTRYCHANGED_LET, arg("pValue"))
      .def("DBOPENED_GET", &D::DBOPENED_GET)
      .def("DBVERSION_GET", &D::DBVERSION_GET)
      .def("DBFILE_GET", &D::DBFILE_GET)
      .def("HEADERFILE_GET", &D::HEADERFILE_GET)
      .def("CACHEFILE_GET", &D::CACHEFILE_GET)
      .def("DBREADONLY_GET", &D::DBREADONLY_GET)
      .def("DBOPENERROR_GET", &D::DBOPENERROR_GET)
      .def("DBOPEN", &D::DBOPEN, arg("pDBFile"), arg("pHeaderFile") = "", arg("pRaiseErrors") = false,
           arg("pSettings") = StructurePtr())
      .def("DBOPENREADONLY", &D::DBOPENREADONLY, arg("pDBFile"), arg("pHeaderFile") = "", arg("pRaiseErrors") = false)
      .def("DBCLOSE", &D::DBCLOSE)
      .def("DBSAVE", &D::DBSAVE, arg("pForce") = false)
      .def("DBSAVEERROR_GET", &D::DBSAVEERROR_GET)
      .def("DBCLEAR", &D::DBCLEAR)
      .def("DBSTRUCTURE_GET", &D::DBSTRUCTURE_GET)
      .def("DBSTRUCTURE_LET", &D::DBSTRUCTURE_LET, arg("pStructure"))
      .def("DBCOMPLETE_GET", &D::DBCOMPLETE_GET)
      .def("DBCOMPLETE_LET", &D::DBCOMPLETE_LET, arg("pStructure"))
      .def("SERIALIZE", &D::SERIALIZE)
      .def("UNSERIALIZE", &D::UNSERIALIZE, arg("pText"))
      .def("DBSERIAL_GET", &D::DBSERIAL_GET)
      .def("DBSERIAL_LET", &D::DBSERIAL_LET, arg("pText"))
      .def(
          "DBCOPY", [](D& d, const DBPtr& other) { return d.DBCOPY(other); }, arg("pOther"))
      .def(
          "DBMERGE", [](D& d, const DBPtr& other, bool overwrite) { return d.DBMERGE(other, overwrite); },
          arg("pOtherDB"), arg("pOverwrite") = false)
      .def("DBCHECKINDEX", &D::DBCHECKINDEX)
      .def("DBCHECKINDEXREPORT_GET", &D::DBCHECKINDEXREPORT_GET)
      .def("FLAGS", &D::FLAGS, arg("pKind") = 1)
      .def("HEADERSTRUCTURE_GET", &D::HEADERSTRUCTURE_GET)
      .def("HEADERSTRUCTURE_LET", &D::HEADERSTRUCTURE_LET, arg("pHeader"))
      .def("HEADERLOAD", &D::HEADERLOAD, arg("pFile"))
      .def("HEADERSAVE", &D::HEADERSAVE, arg("pFile"))
      .def("FIELDS", &D::FIELDS)
      .def("FIELDADD", &D::FIELDADD, arg("pField"))
      .def("FIELDCREATE", &D::FIELDCREATE, arg("pID"), arg("pType") = 1, arg("pName") = "")
      .def("FIELDREMOVE", &D::FIELDREMOVE, arg("pField"))
      .def("FIELDSCLEAR", &D::FIELDSCLEAR)
      .def("FIELD", &D::FIELD, arg("pField"))
      .def("FIELDEXISTS", &D::FIELDEXISTS, arg("pField"))
      .def("FIELDFIND", &D::FIELDFIND, arg("pField"))
      .def("FIELDINDEXED", &D::FIELDINDEXED, arg("pField"))
      .def("FIELDSCHANGED_GET", &D::FIELDSCHANGED_GET)
      .def("FIELDSCHANGED_LET", &D::FIELDSCHANGED_LET, arg("pValue"))
      .def("FIELDDB", &D::FIELDDB, arg("pField"))
      .def("FIELDINDEX", &D::FIELDINDEX, arg("pField"))
      .def("VIEWS", &D::VIEWS)
      .def("VIEW", &D::VIEW, arg("pView"))
      .def("VIEWADD", &D::VIEWADD, arg("pView"))
      .def("VIEWREMOVE", &D::VIEWREMOVE, arg("pView"))
      .def("ENTRY", &D::ENTRY, arg("pID"))
      .def("ENTRYEXISTS", &D::ENTRYEXISTS, arg("pID"))
      .def("ENTRYADD", &D::ENTRYADD, arg("pID"), arg("pData") = StructurePtr())
      .def("ENTRYFIELD_GET", &D::ENTRYFIELD_GET, arg("pID"), arg("pField"))
      .def("ENTRYFIELD_LET", &D::ENTRYFIELD_LET, arg("pID"), arg("pField"), arg("pValue"))
      .def("ENTRYREMOVE", &D::ENTRYREMOVE, arg("pID"))
      .def("ENTRYCOUNT", &D::ENTRYCOUNT)
      .def("ENTRYCLEAR", &D::ENTRYCLEAR)
      .def("ENTRYREINDEX", &D::ENTRYREINDEX)
      .def("ENTRYSTRUCTURE_GET", &D::ENTRYSTRUCTURE_GET)
      .def("ENTRYSTRUCTURE_LET", &D::ENTRYSTRUCTURE_LET, arg("pEntries"))
      .def("ENTRYFREEID", &D::ENTRYFREEID)
      .def("ENTRYFREEIDEVEN", &D::ENTRYFREEIDEVEN)
      .def("ENTRYALL_IDS", &D::ENTRYALL_IDS)
      .def("ENTRYALL", &D::ENTRYALL, arg("pSortBy") = "", arg("pSortRev") = false)
      .def("ENTRYSEARCH", &D::ENTRYSEARCH, arg("pSearch"), arg("pList") = pyb::none())
      .def("ENTRYQUERY", &D::ENTRYQUERY, arg("pField"), arg("pOp"), arg("pValue"), arg("pList") = pyb::none())
      .def("ENTRYFILTER", &D::ENTRYFILTER, arg("pView"), arg("pFilters"), arg("pSort") = "", arg("pSortRev") = false,
           arg("pList") = pyb::none())
      .def("ENTRYFILTERADVANCED", &D::ENTRYFILTERADVANCED, arg("pView"), arg("pSortField"), arg("pSortField2"),
           arg("pSortRev2"), arg("pFilters"), arg("pList") = pyb::none(), arg("pSortRev") = false)
      .def_static("FILTERCOMBINE", &D::FILTERCOMBINE, arg("pFilter1"), arg("pFilter2"))
      .def("FIELDFILTERVALUES", &D::FIELDFILTERVALUES, arg("pField"), arg("pList") = pyb::none())
      .def("FIELDFILTERVALUESADVANCED", &D::FIELDFILTERVALUESADVANCED, arg("pField"), arg("pList") = pyb::none(),
           arg("pSettings") = nullptr)
      .def("FIELDFILTERCOUNT", &D::FIELDFILTERCOUNT, arg("pField"), arg("pCondition"), arg("pList") = pyb::none())
      .def("FIELDCHOOSER_SET", &D::FIELDCHOOSER_SET, arg("pChooser"))
      .def("FIELDSELECT", &D::FIELDSELECT, arg("pPreselect") = "")
      // Summaries and the schema as plain lists and dicts (see mdl_DBStats and mdl_DBSchema).
      .def(
          "FIELDFACETS",
          [](D& d, const Variant& pField, std::optional<D::IdList> pList) {
            return hList(*d.FIELDFACETS(pField, pList));
          },
          arg("pField"), arg("pList") = pyb::none())
      .def(
          "ENTRYSTATS",
          [](D& d, const std::vector<std::string>& pFields, const std::string& pGroupBy,
             std::optional<D::IdList> pList) { return hList(*d.ENTRYSTATS(pFields, pGroupBy, pList)); },
          arg("pFields") = std::vector<std::string>{}, arg("pGroupBy") = "", arg("pList") = pyb::none())
      .def("SCHEMA", [](D& d) { return hList(*d.SCHEMA()); })
      .def("FIELDUSAGE", &D::FIELDUSAGE, arg("pField"))
      .def(
          "FIELDNEW",
          [](D& d, const std::string& pID, std::optional<int32_t> type, std::optional<std::string> display,
             std::optional<std::string> members, std::optional<std::string> dflt, std::optional<bool> indexed) {
            return d.FIELDNEW(pID, {type, display, members, dflt, indexed});
          },
          arg("pID"), arg("type") = pyb::none(), arg("display") = pyb::none(), arg("members") = pyb::none(),
          arg("default") = pyb::none(), arg("indexed") = pyb::none())
      .def(
          "FIELDCHANGE",
          [](D& d, const std::string& pField, std::optional<int32_t> type, std::optional<std::string> display,
             std::optional<std::string> members, std::optional<std::string> dflt, std::optional<bool> indexed) {
            d.FIELDCHANGE(pField, {type, display, members, dflt, indexed});
          },
          arg("pField"), arg("type") = pyb::none(), arg("display") = pyb::none(), arg("members") = pyb::none(),
          arg("default") = pyb::none(), arg("indexed") = pyb::none())
      .def("FIELDDROP", &D::FIELDDROP, arg("pField"))
      .def("SCHEMASAVE", &D::SCHEMASAVE)
      .def("ENTRYSORT", &D::ENTRYSORT, arg("pField"), arg("pRev") = false, arg("pBase") = D::IdList{})
      .def("ENTRYSORTADVANCED", &D::ENTRYSORTADVANCED, arg("pField"), arg("pRev") = false, arg("pFieldSecond") = "",
           arg("pList") = pyb::none(), arg("pRevSecond") = false)
      .def(
          "FIELDCOLUMN", [](D& d, int32_t no) { return d.FIELDCOLUMN(no); }, arg("pFieldNo"))
      // The Python callback gets (field, id, value) and returns the value to show (None: unchanged).
      .def(
          "VALUEEVENT_SET",
          [](D& d, pyb::object cb) {
            if (cb.is_none()) return d.VALUEEVENT_SET({});
            d.VALUEEVENT_SET([cb](const cls_DBField& f, const Variant& id, Variant& rValue) {
              pyb::gil_scoped_acquire gil;
              pyb::object r =
                  cb(pyb::cast(const_cast<cls_DBField&>(f), pyb::return_value_policy::reference), id, rValue);
              if (!r.is_none()) rValue = ToVariant(r);
            });
          },
          arg("pEvent"))
      .def("FIELDTEXT_GET", &D::FIELDTEXT_GET, arg("pID"), arg("pField"), arg("pMode") = 0)
      .def("FIELDTEXTHTML_GET", &D::FIELDTEXTHTML_GET, arg("pID"), arg("pField"), arg("pMode") = 0)
      .def("FIELDTEXTSORT_GET", &D::FIELDTEXTSORT_GET, arg("pID"), arg("pField"), arg("pPrefix") = false,
           arg("pInvert") = false)
      .def("DEBUGTRACK_GET", &D::DEBUGTRACK_GET);
}

}  // namespace rykel::py
