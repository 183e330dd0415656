// enm_DBFieldType: the type of a database field. The values are stored in header files and
// compared by code elsewhere (queries, exports, test data): do not renumber.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace rykel {

enum enm_DBFieldType : int32_t {
  ID_DBFieldType_Long = 0,
  ID_DBFieldType_String = 1,
  ID_DBFieldType_Date = 2,
  ID_DBFieldType_Boolean = 3,
  ID_DBFieldType_Structure = 4,
  ID_DBFieldType_Enum = 5,
  ID_DBFieldType_EnumNumeric = 6,
  ID_DBFieldType_Double = 7,
  ID_DBFieldType_Reference = 8,
  ID_DBFieldType_ReferenceNumeric = 9,
  ID_DBFieldType_EnumMulti = 10,
};

constexpr int32_t kDBFieldTypeCount = 11;

// Keyword and German display name per type value, in value order.
struct DBFieldTypeName {
  std::string_view keyword;
  std::string_view german;
};
constexpr std::array<DBFieldTypeName, kDBFieldTypeCount> kDBFieldTypeNames = {{
    {"LONG", "Ganzzahl"},
    {"STRING", "Text"},
    {"DATE", "Datum"},
    {"BOOL", "Ja/Nein"},
    {"STRUCT", "Struktur"},
    {"ENUM", "Auswahl"},
    {"ENUMNUMERIC", "Auswahl (Numerisch)"},
    {"DOUBLE", "Zahl"},
    {"REFERENCE", "Referenz"},
    {"REFERENCENUMERIC", "Referenz (Numerisch)"},
    {"ENUMMULTI", "Mehrfachauswahl"},
}};
static_assert(kDBFieldTypeNames.size() == ID_DBFieldType_EnumMulti + 1, "one name per type value");

// Numbers of every kind, whose values compare numerically.
constexpr bool DBFieldTypeIsNumeric(int32_t t) {
  return t == ID_DBFieldType_Long || t == ID_DBFieldType_Double || t == ID_DBFieldType_EnumNumeric ||
         t == ID_DBFieldType_ReferenceNumeric;
}
constexpr bool DBFieldTypeIsChoice(int32_t t) {
  return t == ID_DBFieldType_Enum || t == ID_DBFieldType_EnumNumeric || t == ID_DBFieldType_EnumMulti;
}
constexpr bool DBFieldTypeIsReference(int32_t t) {
  return t == ID_DBFieldType_Reference || t == ID_DBFieldType_ReferenceNumeric;
}

}  // namespace rykel
