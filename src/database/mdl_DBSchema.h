// The fields of a store as data, and changes to them that keep the entries in step: a removed
// field's values leave every entry, a field whose type changes has its values stored again as the
// new type.
#pragma once

#include <optional>
#include <string>

#include "database/cls_DBStore.h"

namespace rykel::mdl_DBSchema {

// What a field gets; members left empty stay as they are (on a new field: the defaults).
struct FieldChange {
  std::optional<int32_t> type;         // enm_DBFieldType
  std::optional<std::string> display;  // display name
  std::optional<std::string> members;  // choice members, "a,b" or "key=text,..."
  std::optional<std::string> defaultValue;
  std::optional<bool> indexed;
};

// A list with one {ID, TYPE, NAME, MEMBERS, DEFAULT, INDEXED} per field in order: TYPE the type
// word (LONG, STRING, ...), MEMBERS a list of {VALUE, TEXT} (empty for fields without choices),
// DEFAULT the default as the header stores it, INDEXED true or false.
StructurePtr SCHEMA(cls_DBStore& rDB);

// How many entries hold a value (not empty) in the field; 0 for an unknown field.
int32_t FIELDUSAGE(cls_DBStore& rDB, const std::string& pField);

// Adds the field pID with pChange applied. Raises 5 when the ID is empty or taken, or the
// change is not valid (see FIELDCHANGE).
DBFieldPtr FIELDNEW(cls_DBStore& rDB, const std::string& pID, const FieldChange& pChange);

// Applies pChange to the field pField. A new type stores every entry's value again, converted
// as ENTRYFIELD_LET converts. Raises 5 for an unknown field, members on a type without choices,
// or a choice type without members. Indexes are rebuilt.
void FIELDCHANGE(cls_DBStore& rDB, const std::string& pField, const FieldChange& pChange);

// Removes the field and its value from every entry. Raises 5 for an unknown field.
void FIELDDROP(cls_DBStore& rDB, const std::string& pField);

// Saves a schema change: the header file first, then the database file with every entry. When the
// database file cannot be written the header gets its old content back, so the two files never
// disagree. Raises 5 when the store names no header file; on a failed write raises the error of
// that write, for the database file with " (the header is unchanged)" added.
void SCHEMASAVE(cls_DBStore& rDB);

}  // namespace rykel::mdl_DBSchema
