// A database made from a table of fields and rows, for tests that need known entries.
#pragma once

#include <initializer_list>
#include <vector>

#include "host/cls_DB.h"

namespace rykel {

// One field of a TableDB: its id, type, display name, whether it is indexed, its choice members.
struct FieldSpec {
  const char* id;
  int32_t type = ID_DBFieldType_String;
  const char* name = "";
  bool indexed = false;
  const char* members = "";
};

// A database with the fields and one entry a row (ids 1, 2, ...). A row holds the fields' values
// in their order; an Empty value (Variant()) leaves the field unset, "" sets it empty.
inline DBPtr TableDB(std::initializer_list<FieldSpec> pFields, std::initializer_list<std::vector<Variant>> pRows) {
  auto db = std::make_shared<cls_DB>();
  for (const auto& f : pFields) {
    auto field = db->FIELDCREATE(f.id, f.type, f.name);
    field->INDEXED = f.indexed;
    field->MEMBERS = f.members;
  }
  int32_t id = 0;
  for (const auto& row : pRows) {
    db->ENTRYADD(++id);
    for (size_t i = 0; i < row.size(); ++i)
      if (!row[i].isEmpty()) db->ENTRYFIELD_LET(id, (pFields.begin() + i)->id, row[i]);
  }
  return db;
}

}  // namespace rykel
