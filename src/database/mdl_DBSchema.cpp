#include "database/mdl_DBSchema.h"

#include "database/cls_DBField.h"
#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "structure/cls_Structure.h"

namespace rykel::mdl_DBSchema {

namespace {

bool hHasValue(const Variant& pValue) {
  return !(pValue.isEmpty() || pValue.isNull() || (pValue.isString() && pValue.str().empty()));
}

DBFieldPtr hField(cls_DBStore& rDB, const std::string& pField) {
  auto field = pField.empty() ? nullptr : rDB.FIELD(Variant(pField));
  if (!field) Raise(err::kInvalidCall, "unknown field " + pField);
  return field;
}

// Checks a change against the field it would give before anything is applied.
void hCheck(const cls_DBField& pField, const FieldChange& pChange) {
  int32_t type = pChange.type.value_or(pField.TYPE);
  if (type < 0 || type > ID_DBFieldType_EnumMulti) Raise(err::kInvalidCall, "unknown field type");
  std::string members = pChange.members.value_or(pField.MEMBERS);
  if (pChange.members && !pChange.members->empty() && !DBFieldTypeIsChoice(type))
    Raise(err::kInvalidCall, "field " + pField.ID + ": members need a choice type (ENUM, ENUMNUMERIC, ENUMMULTI)");
  if (DBFieldTypeIsChoice(type) && members.empty())
    Raise(err::kInvalidCall, "field " + pField.ID + ": a choice type needs members");
}

void hApply(cls_DBField& rField, const FieldChange& pChange) {
  if (pChange.type) rField.TYPE = *pChange.type;
  if (pChange.display) rField.NAME = pChange.display->empty() ? rField.ID : *pChange.display;
  if (pChange.members) rField.MEMBERS = *pChange.members;
  if (pChange.defaultValue) rField.DEFAULT = Variant(*pChange.defaultValue);
  if (pChange.indexed) rField.INDEXED = *pChange.indexed;
}

}  // namespace

StructurePtr SCHEMA(cls_DBStore& rDB) {
  auto out = cls_Structure::New();
  for (int32_t f = 1; f <= rDB.FIELDS(); ++f) {
    auto field = rDB.FIELD(Variant(f));
    auto row = cls_Structure::New();
    row->ITEMBYID_LET("ID", Variant(field->ID));
    row->ITEMBYID_LET("TYPE", Variant(cls_DBField::TYPETEXT(field->TYPE)));
    row->ITEMBYID_LET("NAME", Variant(field->NAME));
    auto members = cls_Structure::New();
    if (DBFieldTypeIsChoice(field->TYPE))
      for (const auto& m : field->MembersParsed()) {
        auto member = cls_Structure::New();
        member->ITEMBYID_LET("VALUE", Variant(m.value));
        member->ITEMBYID_LET("TEXT", Variant(m.text));
        members->ADD(Variant(member));
      }
    row->ITEMBYID_LET("MEMBERS", Variant(members));
    row->ITEMBYID_LET("DEFAULT", field->DEFAULT);
    row->ITEMBYID_LET("INDEXED", Variant(field->INDEXED));
    out->ADD(Variant(row));
  }
  return out;
}

int32_t FIELDUSAGE(cls_DBStore& rDB, const std::string& pField) {
  if (pField.empty() || !rDB.FIELDEXISTS(Variant(pField))) return 0;
  int32_t used = 0;
  for (const auto& id : rDB.ENTRYALL_IDS())
    if (hHasValue(rDB.ENTRYFIELD_GET(id, Variant(pField)))) ++used;
  return used;
}

DBFieldPtr FIELDNEW(cls_DBStore& rDB, const std::string& pID, const FieldChange& pChange) {
  if (pID.empty()) Raise(err::kInvalidCall, "a field needs an ID");
  if (rDB.FIELDEXISTS(Variant(pID))) Raise(err::kInvalidCall, "field " + pID + " exists already");
  auto field = std::make_shared<cls_DBField>();
  field->ID = pID;
  field->NAME = pID;
  hCheck(*field, pChange);
  hApply(*field, pChange);
  rDB.FIELDADD(field);
  rDB.ENTRYREINDEX();
  return field;
}

void FIELDCHANGE(cls_DBStore& rDB, const std::string& pField, const FieldChange& pChange) {
  auto field = hField(rDB, pField);
  hCheck(*field, pChange);
  bool retype = pChange.type && *pChange.type != field->TYPE;
  hApply(*field, pChange);
  if (retype)
    for (const auto& id : rDB.ENTRYALL_IDS()) {
      Variant value = rDB.ENTRYFIELD_GET(id, Variant(field->ID));
      if (hHasValue(value)) rDB.ENTRYFIELD_LET(id, Variant(field->ID), value);
    }
  rDB.FIELDSCHANGED_LET(true);
  rDB.ENTRYREINDEX();
}

void FIELDDROP(cls_DBStore& rDB, const std::string& pField) {
  auto field = hField(rDB, pField);
  for (const auto& id : rDB.ENTRYALL_IDS())
    if (auto entry = rDB.ENTRY(id)) entry->REMOVE(Variant(field->ID));
  rDB.FIELDREMOVE(Variant(field->ID));
  for (int32_t v = 1; v <= rDB.VIEWS(); ++v) rDB.VIEW(Variant(v))->FIELDFORGET(field->ID);
  rDB.ENTRYREINDEX();
}

void SCHEMASAVE(cls_DBStore& rDB) {
  const std::string header = rDB.HEADERFILE_GET();
  if (header.empty()) Raise(err::kInvalidCall, "'" + rDB.DBFILE_GET() + "' names no header file to change");
  const std::string before = fileio::ReadFile(header);
  if (!rDB.HEADERSAVE(header)) Raise(err::kFileIO, "cannot write the header " + header);
  rDB.ENTRYCHANGED_LET(true);
  if (!rDB.DBSAVE()) {
    fileio::WriteFileAtomic(header, before);
    Raise(err::kFileIO,
          "cannot save '" + rDB.DBFILE_GET() + "': " + rDB.DBSAVEERROR_GET() + " (the header is unchanged)");
  }
}

}  // namespace rykel::mdl_DBSchema
