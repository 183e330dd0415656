// cls_DBField: one field of a database: its definition (the header's "FIELDS.<id>" record) and
// the text forms of its values (display, HTML and sort texts).
//
// The public members are the definition; STRUCTURE_GET writes them as 20 keys in a fixed order.
// A choice field (ENUM, ENUMNUMERIC, ENUMMULTI) lists its members in MEMBERS, separated by ",";
// a member is "value=Text" or a bare "Text". A bare member's value is its text, or for ENUMNUMERIC
// its 1-based position. A multiple choice value is a "," list of member values.
//
//   auto f = std::make_shared<rykel::cls_DBField>();
//   f->ID = "NAME"; f->TYPE = rykel::ID_DBFieldType_String;
//   auto s = f->STRUCTURE_GET();   // INDEXED, NAME, TEXTSOURCE, ... DESCRIPTION
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "database/enm_DBFieldType.h"
#include "frame/Object.h"
#include "frame/Variant.h"

namespace rykel {

class cls_Structure;

// The definition's members in STRUCTURE_GET order, as X(MEMBER, kind): the one list that the
// structure form (KEYS, STRUCTURE_GET, STRUCTURE_LET) and the Python binding are made from. The
// kind says how STRUCTURE_LET reads the key: Flag (truth words), Text, Number (a whole number),
// Type (a number, keyword or display name), Value (as it stands). A member added here needs its
// declaration below and its default in CLEAR.
// clang-format off
#define RYKEL_DBFIELD_MEMBERS(X)                                                                       \
  X(INDEXED, Flag) X(NAME, Text) X(TEXTSOURCE, Text) X(SORTFIELD, Text) X(SHORTNAME, Text)          \
  X(TYPE, Type) X(DYNAMIC, Flag) X(DEFAULT, Value) X(WRITEONCE, Flag) X(MEMBERS, Text)             \
  X(COLORS, Text) X(FORMATS, Text) X(FILTER, Text) X(CODE, Text) X(REFERENCESOURCE, Text)          \
  X(FORMATALIGN, Number) X(FORMATEMPTY, Text) X(FORMATTYPE, Number) X(FORMATDIGITS, Number)         \
  X(DESCRIPTION, Text)
// clang-format on

class cls_DBField : public Object, public std::enable_shared_from_this<cls_DBField> {
 public:
  cls_DBField() { CLEAR(); }
  std::string TypeName() const override { return "cls_DBField"; }

  // ---- the definition (defaults as after CLEAR) --------------------------------------------
  std::string ID;        // "" ; the key of the field in entries and in the header
  bool INDEXED = false;  // keeps a cls_DBIndex of its values
  std::string NAME;      // display name
  std::string TEXTSOURCE;
  std::string SORTFIELD;
  std::string SHORTNAME;
  int32_t TYPE = ID_DBFieldType_String;  // enm_DBFieldType
  bool DYNAMIC = false;                  // rebuilt from CODE when entries change
  Variant DEFAULT;                       // value of new entries; "{IO:TIMESTAMP}" means the present time
  bool WRITEONCE = false;
  std::string MEMBERS;  // choice members, "," separated
  std::string COLORS;
  std::string FORMATS;
  std::string FILTER;
  std::string CODE;
  std::string REFERENCESOURCE;
  int32_t FORMATALIGN = 0;  // 0 by type, 1 left, 2 centre, 3 right
  std::string FORMATEMPTY;  // shown for an empty value
  int32_t FORMATTYPE = 0;
  int32_t FORMATDIGITS = -1;  // decimals of DOUBLE display texts; -1 as many as needed
  std::string DESCRIPTION;

  // The definition keys (RYKEL_DBFIELD_MEMBERS) in STRUCTURE_GET order.
  static const std::vector<std::string_view>& KEYS();

  // The definition as a new structure, keys in the order of KEYS() (no "ID").
  std::shared_ptr<cls_Structure> STRUCTURE_GET() const;
  // Replaces the definition from a structure: CLEAR first, then every key of KEYS() that is
  // there, and "ID". TYPE may be a number, a keyword in any case ("string") or a German display
  // name; an unknown word gives STRING. A DEFAULT of "_DEFAULT_" means the type's default
  // (DEFAULTRESET). Booleans are read with the German and English truth words. Null: no change.
  void STRUCTURE_LET(const std::shared_ptr<cls_Structure>& pStructure);
  void STRUCTURE_SET(const std::shared_ptr<cls_Structure>& pStructure) { STRUCTURE_LET(pStructure); }
  // Empties the definition: every member back to the default listed above.
  void CLEAR();
  // The type's default value: 0 for numbers, False for BOOL, "{IO:TIMESTAMP}" for DATE, "" else.
  void DEFAULTRESET();
  // DEFAULT as a value for a new entry ("{IO:TIMESTAMP}" becomes the present date and time).
  Variant DEFAULTVALUE_GET() const;

  // Keyword ("LONG") or German display name ("Ganzzahl") of a type value; "" outside 0..10.
  static std::string TYPETEXT(int32_t pType, bool pGerman = false);
  // The type keywords in menu order: LONG, DOUBLE, ENUM, ENUMMULTI, ENUMNUMERIC, REFERENCE,
  // REFERENCENUMERIC, DATE, STRING, BOOL, STRUCT.
  static std::vector<std::string> TYPEMEMBERS();
  // Type value of a keyword or display name (any case); -1 when unknown.
  static int32_t TYPEDECODE(std::string_view pWord);

  std::shared_ptr<cls_DBField> SELF() { return shared_from_this(); }
  std::shared_ptr<cls_DBField> THIS_GET() { return shared_from_this(); }

  // ---- values and their text forms -----------------------------------------------------------
  // A value converted to the field's type: LONG, ENUMNUMERIC, REFERENCENUMERIC a Long (Double
  // past 32 bits), DOUBLE a Double, DATE a Date, BOOL a Boolean, STRUCT unchanged, the rest text.
  // Empty and Null stay as they are; a value that does not convert becomes Empty. Never raises.
  Variant VALUECONVERT(const Variant& pValue) const;

  // Display text. pMode is the value mode of choice fields: 0 the member's text, 1 the stored
  // value, 2 "value - text". Empty values give FORMATEMPTY; BOOL gives "Ja"/"Nein".
  std::string TEXT(const Variant& pValue, int32_t pMode = 0) const;
  // TEXT with "&", "<", ">", '"' escaped and line breaks as "<br>".
  std::string TEXTHTML(const Variant& pValue, int32_t pMode = 0) const;
  // A text whose byte order is the order of the values: numbers of any sign, dates, False before
  // True, choices in member order, texts case-blind with umlauts folded; empty values first.
  // pPrefix sorts by the display text instead (alphabetically). pInvert turns the order round
  // (descending), still as text: inverted texts compare in exactly the opposite order.
  std::string TEXTSORT(const Variant& pValue, bool pPrefix = false, bool pInvert = false) const;

  // The key of a value in the field's index: the sort text, and for texts the exact text after
  // it, so that equal keys mean equal values and the key order is the sort order.
  std::string INDEXKEY(const Variant& pValue) const;

  // Parsed MEMBERS: value and text of each member.
  struct Member {
    std::string value;
    std::string text;
  };
  const std::vector<Member>& MembersParsed() const;

 private:
  std::string hChoiceText(std::string_view pValue, int32_t pMode) const;
  int32_t hMemberPosition(std::string_view pValue) const;  // 1-based, 0 when not a member

  mutable std::string membersParsedFrom_;
  mutable std::vector<Member> membersParsed_;
  mutable bool membersValid_ = false;
};

using DBFieldPtr = std::shared_ptr<cls_DBField>;

// The order-keeping inversion of a sort text (used for descending keys).
std::string hSortTextInvert(std::string_view pSortText);

}  // namespace rykel
