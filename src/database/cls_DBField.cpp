#include "database/cls_DBField.h"

#include <cmath>
#include <cstring>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "frame/mdl_Global.h"
#include "structure/cls_Structure.h"

namespace rykel {

namespace {

constexpr const char* kClass = "cls_DBField";
constexpr std::string_view kTimestamp = "{IO:TIMESTAMP}";

bool hIsBlank(const Variant& v) { return v.isEmpty() || v.isNull() || (v.isString() && v.str().empty()); }

// Sixteen hex digits whose text order is the numeric order of doubles (negative ones included):
// the IEEE bits with the sign bit flipped for positives and all bits flipped for negatives.
std::string hNumberSortText(double d) {
  if (d == 0) d = 0;  // -0 sorts as 0
  uint64_t u;
  std::memcpy(&u, &d, sizeof u);
  u = (u & 0x8000000000000000ULL) ? ~u : (u | 0x8000000000000000ULL);
  static const char* kHex = "0123456789ABCDEF";
  std::string s(16, '0');
  for (int i = 15; i >= 0; --i, u >>= 4) s[static_cast<size_t>(i)] = kHex[u & 0xF];
  return s;
}

// Upper case with the German umlauts folded onto their base letters ("Ä" -> "A", "ß" -> "SS").
std::string hFoldText(std::string_view s) {
  if (text::IsAscii(s)) {
    std::string r(s);
    for (char& c : r)
      if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    return r;
  }
  std::string u = text::UCase(s);
  std::string r;
  r.reserve(u.size());
  for (size_t i = 0; i < u.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(u[i]);
    if (c == 0xC3 && i + 1 < u.size()) {
      unsigned char d = static_cast<unsigned char>(u[i + 1]);
      const char* rep = nullptr;
      if (d == 0x84) rep = "A";        // Ä
      else if (d == 0x96) rep = "O";   // Ö
      else if (d == 0x9C) rep = "U";   // Ü
      else if (d == 0x9F) rep = "SS";  // ß
      if (rep) {
        r += rep;
        ++i;
        continue;
      }
    }
    r.push_back(static_cast<char>(c));
  }
  return r;
}

std::string hPos6(int32_t n) {
  char b[16];
  std::snprintf(b, sizeof b, "%06d", n);
  return b;
}

// Readers of one definition key, by the member's kind; a key that is not there changes nothing.
void hReadText(cls_Structure& s, std::string_view pKey, std::string& rOut) {
  if (s.EXISTSBYID_GET(pKey)) rOut = CStr(s.ITEMBYID_GET(pKey));
}

void hReadFlag(cls_Structure& s, std::string_view pKey, bool& rOut) {
  if (s.EXISTSBYID_GET(pKey)) rOut = mdl_Global::hCBool(s.ITEMBYID_GET(pKey));
}

void hReadValue(cls_Structure& s, std::string_view pKey, Variant& rOut) {
  if (s.EXISTSBYID_GET(pKey)) rOut = s.ITEMBYID_GET(pKey);
}

// A number, or a numeric text ("3", "3,5"); anything else changes nothing.
bool hReadWhole(cls_Structure& s, std::string_view pKey, int32_t& rOut) {
  if (!s.EXISTSBYID_GET(pKey)) return true;
  Variant v = s.ITEMBYID_GET(pKey);
  double d;
  if (!NumericValue(v, d) && !(v.isString() && ParseNumber(v.str(), d))) return false;
  rOut = static_cast<int32_t>(d);
  return true;
}

void hReadNumber(cls_Structure& s, std::string_view pKey, int32_t& rOut) { hReadWhole(s, pKey, rOut); }

// A type number, or a keyword or display name in any case; an unknown word gives STRING.
void hReadType(cls_Structure& s, std::string_view pKey, int32_t& rOut) {
  if (hReadWhole(s, pKey, rOut)) return;
  int32_t code = cls_DBField::TYPEDECODE(CStr(s.ITEMBYID_GET(pKey)));
  rOut = code < 0 ? ID_DBFieldType_String : code;
}

}  // namespace

const std::vector<std::string_view>& cls_DBField::KEYS() {
#define RYKEL_KEY(member, kind) #member,
  static const std::vector<std::string_view> keys = {RYKEL_DBFIELD_MEMBERS(RYKEL_KEY)};
#undef RYKEL_KEY
  return keys;
}

void cls_DBField::CLEAR() {
  ID.clear();
  INDEXED = false;
  NAME.clear();
  TEXTSOURCE.clear();
  SORTFIELD.clear();
  SHORTNAME.clear();
  TYPE = ID_DBFieldType_String;
  DYNAMIC = false;
  DEFAULT = Variant();
  WRITEONCE = false;
  MEMBERS.clear();
  COLORS.clear();
  FORMATS.clear();
  FILTER.clear();
  CODE.clear();
  REFERENCESOURCE.clear();
  FORMATALIGN = 0;
  FORMATEMPTY.clear();
  FORMATTYPE = 0;
  FORMATDIGITS = -1;
  DESCRIPTION.clear();
}

void cls_DBField::DEFAULTRESET() {
  GuardVoid(kClass, "DEFAULTRESET", [&] {
    if (DBFieldTypeIsNumeric(TYPE)) DEFAULT = Variant(0);
    else if (TYPE == ID_DBFieldType_Boolean) DEFAULT = Variant(false);
    else if (TYPE == ID_DBFieldType_Date) DEFAULT = Variant(kTimestamp);
    else DEFAULT = Variant("");
  });
}

Variant cls_DBField::DEFAULTVALUE_GET() const {
  if (DEFAULT.isString() && DEFAULT.str() == kTimestamp) return Variant::Date(date::Now());
  return VALUECONVERT(DEFAULT);
}

std::shared_ptr<cls_Structure> cls_DBField::STRUCTURE_GET() const {
  return Guard(kClass, "STRUCTURE.GET", [&] {
    auto s = cls_Structure::New();
#define RYKEL_PUT(member, kind) s->ITEM_LET(#member, member);
    RYKEL_DBFIELD_MEMBERS(RYKEL_PUT)
#undef RYKEL_PUT
    return s;
  });
}

void cls_DBField::STRUCTURE_LET(const std::shared_ptr<cls_Structure>& pStructure) {
  GuardVoid(kClass, "STRUCTURE.LET", [&] {
    if (!pStructure) return;
    cls_Structure& s = *pStructure;
    CLEAR();
    hReadText(s, "ID", ID);
#define RYKEL_READ(member, kind) hRead##kind(s, #member, member);
    RYKEL_DBFIELD_MEMBERS(RYKEL_READ)
#undef RYKEL_READ
    if (DEFAULT.isString() && text::UCase(DEFAULT.str()) == "_DEFAULT_") DEFAULTRESET();
  });
}

std::string cls_DBField::TYPETEXT(int32_t pType, bool pGerman) {
  if (pType < 0 || pType >= kDBFieldTypeCount) return {};
  const auto& n = kDBFieldTypeNames[static_cast<size_t>(pType)];
  return std::string(pGerman ? n.german : n.keyword);
}

std::vector<std::string> cls_DBField::TYPEMEMBERS() {
  return {"LONG", "DOUBLE", "ENUM", "ENUMMULTI", "ENUMNUMERIC", "REFERENCE", "REFERENCENUMERIC",
          "DATE", "STRING", "BOOL", "STRUCT"};
}

int32_t cls_DBField::TYPEDECODE(std::string_view pWord) {
  std::string w = text::UCase(text::Trim(pWord));
  for (int32_t i = 0; i < kDBFieldTypeCount; ++i) {
    const auto& n = kDBFieldTypeNames[static_cast<size_t>(i)];
    if (w == n.keyword || w == text::UCase(n.german)) return i;
  }
  return -1;
}

// ---- members of choice fields -----------------------------------------------------------------

const std::vector<cls_DBField::Member>& cls_DBField::MembersParsed() const {
  if (membersValid_ && membersParsedFrom_ == MEMBERS) return membersParsed_;
  membersParsed_.clear();
  int32_t pos = 0;
  for (const std::string& raw : text::Split(MEMBERS, ",")) {
    std::string_view m = text::Trim(raw);
    if (m.empty()) continue;
    ++pos;
    Member mem;
    size_t eq = m.find('=');
    if (eq != std::string_view::npos) {
      mem.value = std::string(text::Trim(m.substr(0, eq)));
      mem.text = std::string(text::Trim(m.substr(eq + 1)));
    } else {
      mem.text = std::string(m);
      mem.value = TYPE == ID_DBFieldType_EnumNumeric ? std::to_string(pos) : mem.text;
    }
    membersParsed_.push_back(std::move(mem));
  }
  membersParsedFrom_ = MEMBERS;
  membersValid_ = true;
  return membersParsed_;
}

int32_t cls_DBField::hMemberPosition(std::string_view pValue) const {
  const auto& ms = MembersParsed();
  for (size_t i = 0; i < ms.size(); ++i)
    if (ms[i].value == pValue) return static_cast<int32_t>(i + 1);
  return 0;
}

std::string cls_DBField::hChoiceText(std::string_view pValue, int32_t pMode) const {
  if (pMode == 1) return std::string(pValue);
  int32_t pos = hMemberPosition(pValue);
  std::string shown = pos ? MembersParsed()[static_cast<size_t>(pos - 1)].text : std::string(pValue);
  if (pMode == 2 && pos) return std::string(pValue) + " - " + shown;
  return shown;
}

// ---- values and text forms --------------------------------------------------------------------

Variant cls_DBField::VALUECONVERT(const Variant& pValue) const {
  if (pValue.isEmpty() || pValue.isNull() || pValue.isObject()) return pValue;
  try {
    switch (TYPE) {
      case ID_DBFieldType_Long:
      case ID_DBFieldType_EnumNumeric:
      case ID_DBFieldType_ReferenceNumeric: {
        if (pValue.isString() && text::Trim(pValue.str()).empty()) return Variant();
        double d = std::round(CDbl(pValue));
        if (d >= -2147483648.0 && d <= 2147483647.0) return Variant(static_cast<int32_t>(d));
        return Variant(d);
      }
      case ID_DBFieldType_Double:
        if (pValue.isString() && text::Trim(pValue.str()).empty()) return Variant();
        return Variant(CDbl(pValue));
      case ID_DBFieldType_Date:
        if (pValue.isString() && text::Trim(pValue.str()).empty()) return Variant();
        return Variant::Date(CDate(pValue));
      case ID_DBFieldType_Boolean: return Variant(mdl_Global::hCBool(pValue));
      case ID_DBFieldType_Structure: return pValue;
      default: return pValue.isString() ? pValue : Variant(CStr(pValue));
    }
  } catch (const Error&) { return Variant(); }
}

std::string cls_DBField::TEXT(const Variant& pValue, int32_t pMode) const {
  if (hIsBlank(pValue)) return FORMATEMPTY;
  switch (TYPE) {
    case ID_DBFieldType_Boolean: return mdl_Global::hCBool(pValue) ? "Ja" : "Nein";
    case ID_DBFieldType_Date: {
      Variant d = VALUECONVERT(pValue);
      return d.isDate() ? date::ToText(d.rawDouble()) : CStr(pValue);
    }
    case ID_DBFieldType_Double: {
      Variant d = VALUECONVERT(pValue);
      if (!d.isNumber()) return CStr(pValue);
      if (FORMATDIGITS >= 0) {
        char b[64];
        std::snprintf(b, sizeof b, "%.*f", std::min(FORMATDIGITS, 15), d.rawDouble());
        return b;
      }
      return CStr(d);
    }
    case ID_DBFieldType_Structure: return pValue.isObject() ? std::string() : CStr(pValue);
    case ID_DBFieldType_Enum:
    case ID_DBFieldType_EnumNumeric: return hChoiceText(CStr(pValue), pMode);
    case ID_DBFieldType_EnumMulti: {
      std::string out;
      for (const std::string& part : text::Split(CStr(pValue), ",")) {
        std::string_view v = text::Trim(part);
        if (v.empty()) continue;
        if (!out.empty()) out += ", ";
        out += hChoiceText(v, pMode);
      }
      return out;
    }
    default: return CStr(pValue);
  }
}

std::string cls_DBField::TEXTHTML(const Variant& pValue, int32_t pMode) const {
  return text::HtmlEscape(TEXT(pValue, pMode));
}

std::string cls_DBField::TEXTSORT(const Variant& pValue, bool pPrefix, bool pInvert) const {
  std::string s;
  if (hIsBlank(pValue)) {
    s.clear();
  } else if (pPrefix) {
    s = hFoldText(TEXT(pValue));
  } else {
    switch (TYPE) {
      case ID_DBFieldType_Long:
      case ID_DBFieldType_Double:
      case ID_DBFieldType_ReferenceNumeric: {
        Variant v = VALUECONVERT(pValue);
        double d;
        s = NumericValue(v, d) ? hNumberSortText(d) : hFoldText(CStr(pValue));
        break;
      }
      case ID_DBFieldType_Date: {
        Variant v = VALUECONVERT(pValue);
        s = v.isDate() ? date::ToIso(v.rawDouble()) : hFoldText(CStr(pValue));
        break;
      }
      case ID_DBFieldType_Boolean: s = mdl_Global::hCBool(pValue) ? "1" : "0"; break;
      case ID_DBFieldType_Structure: s.clear(); break;
      case ID_DBFieldType_Enum:
      case ID_DBFieldType_EnumNumeric:
      case ID_DBFieldType_EnumMulti: {
        // Member positions in MEMBERS order; values that are no member follow, alphabetically.
        for (const std::string& part : text::Split(CStr(pValue), TYPE == ID_DBFieldType_EnumMulti ? "," : "")) {
          std::string_view v = TYPE == ID_DBFieldType_EnumMulti ? text::Trim(part) : std::string_view(part);
          if (v.empty()) continue;
          if (!s.empty()) s += ".";
          int32_t pos = hMemberPosition(v);
          s += pos ? hPos6(pos) : "999999" + hFoldText(v);
        }
        break;
      }
      default: s = hFoldText(CStr(pValue));
    }
  }
  return pInvert ? hSortTextInvert(s) : s;
}

std::string cls_DBField::INDEXKEY(const Variant& pValue) const {
  std::string k = TEXTSORT(pValue);
  switch (TYPE) {
    case ID_DBFieldType_String:
    case ID_DBFieldType_Reference:
    case ID_DBFieldType_Enum:
    case ID_DBFieldType_EnumMulti:
      if (!(pValue.isEmpty() || pValue.isNull() || pValue.isObject())) {
        k.push_back('\x1F');
        k += CStr(pValue);
      }
      break;
    default: break;
  }
  return k;
}

std::string hSortTextInvert(std::string_view pSortText) {
  // Every byte becomes two letters "a".."p" of its complement, and a final "z" (above every
  // letter used) makes a text sort before the inverted texts of its own prefixes.
  std::string r;
  r.reserve(pSortText.size() * 2 + 1);
  for (unsigned char c : pSortText) {
    unsigned char x = static_cast<unsigned char>(255 - c);
    r.push_back(static_cast<char>('a' + (x >> 4)));
    r.push_back(static_cast<char>('a' + (x & 0xF)));
  }
  r.push_back('z');
  return r;
}

}  // namespace rykel
