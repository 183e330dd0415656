// DBExportPlain: the plain cell of each value, and the walk over the entries the data exports share.
#include "export/DBExportPlain.h"

#include <charconv>
#include <cmath>
#include <cstring>

#include "database/enm_DBFieldType.h"
#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/DoubleChars.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "frame/mdl_Global.h"
#include "structure/cls_Structure.h"
#include "structure/mdl_StructureJson.h"

namespace rykel::mdl_DBExport {

namespace {

constexpr int64_t kProgressStep = 1000;
constexpr double kExactWhole = 9007199254740992.0;  // 2^53: every whole Double up to it is exact

bool hIntegerField(int32_t pType) {
  return pType == ID_DBFieldType_Long || pType == ID_DBFieldType_EnumNumeric ||
         pType == ID_DBFieldType_ReferenceNumeric;
}

void hWhole(int64_t pWhole, PlainCell& c) {
  c.kind = PlainKind::Integer;
  c.whole = pWhole;
  char b[24];
  c.text.append(b, std::to_chars(b, b + sizeof b, pWhole).ptr);
}

void hReal(double pReal, PlainCell& c) {
  if (!std::isfinite(pReal)) {
    c.kind = PlainKind::Null;
    return;
  }
  c.kind = PlainKind::Real;
  c.real = pReal;
  char b[number::kDoubleChars];
  const size_t n = number::ShortestChars(pReal, b);
  c.text.append(b, n);
  // A decimal keeps a fraction or exponent, so that it does not read back as a whole number.
  if (!std::memchr(b, '.', n) && !std::memchr(b, 'e', n)) c.text.append(".0", 2);
}

// Every export is UTF-8: a byte that is not part of a valid UTF-8 character (older Latin-1 text)
// is written as the character of its Latin-1 reading, as the JSON form of structures does.
void hFromLatin1(std::string_view s, std::string& out) {
  for (size_t i = 0; i < s.size();) {
    size_t len = text::Utf8CharLen(s, i);
    if (len) {
      out.append(s, i, len);
      i += len;
      continue;
    }
    auto ch = static_cast<unsigned char>(s[i++]);
    out += static_cast<char>(0xC0 | (ch >> 6));
    out += static_cast<char>(0x80 | (ch & 0x3F));
  }
}

}  // namespace

void PlainOf(const Variant& v, int32_t pFieldType, PlainCell& c) {
  c.kind = PlainKind::Null;
  c.text.clear();
  switch (v.type()) {
    case VarType::Integer: hWhole(v.rawInteger(), c); return;
    case VarType::Long: hWhole(v.rawLong(), c); return;
    case VarType::Single:
    case VarType::Double: {
      double d = v.type() == VarType::Single ? v.rawSingle() : v.rawDouble();
      // Integer fields hold numbers past 32 bits as Doubles.
      if (hIntegerField(pFieldType) && std::isfinite(d) && d == std::trunc(d) && std::fabs(d) <= kExactWhole)
        hWhole(static_cast<int64_t>(d), c);
      else hReal(d, c);
      return;
    }
    case VarType::Currency: hReal(static_cast<double>(v.rawCurrency()) / 10000.0, c); return;
    case VarType::Boolean:
      c.kind = PlainKind::Bool;
      c.whole = v.rawBool() ? 1 : 0;
      c.text = v.rawBool() ? "true" : "false";
      return;
    case VarType::Date: {
      char b[19];
      if (!date::ToIsoChars(v.rawDouble(), b)) {
        c.text = date::ToIso(v.rawDouble());
      } else {
        // A date without a time of day is written as the date alone.
        c.text.append(b, std::memcmp(b + 11, "00:00:00", 8) == 0 ? 10 : 19);
      }
      c.kind = PlainKind::Date;
      return;
    }
    case VarType::String:
      // An empty text is how a number, date or yes/no field is left empty.
      if (v.str().empty() && (DBFieldTypeIsNumeric(pFieldType) || pFieldType == ID_DBFieldType_Date ||
                              pFieldType == ID_DBFieldType_Boolean))
        return;
      c.kind = PlainKind::Text;
      if (text::IsUtf8(v.str())) c.text.append(v.str());
      else hFromLatin1(v.str(), c.text);
      return;
    case VarType::Object:
      if (auto s = v.as<cls_Structure>()) {
        c.kind = PlainKind::Json;
        c.text = mdl_StructureJson::Write(*s, -1);
      }
      return;
    default: return;
  }
}

PlainWalk::PlainWalk(cls_DBStore& rDB, const Variant& pView, const cls_DBStore::IDList& pIDs,
                     const StructurePtr& pSettings)
    : db_(rDB), walk_(rDB, pView, pIDs, pSettings) {
  Variant quiet = pSettings ? pSettings->ITEM_GET("NOOSD") : Variant();
  quiet_ = !quiet.isEmpty() && mdl_Global::hCBool(quiet);
  std::vector<int32_t> nos;
  for (int32_t i = 1; i <= db_.FIELDS(); ++i) {
    fields_.push_back(db_.FIELD(i));
    nos.push_back(i);
  }
  reader_ = db_.ENTRYREADER(nos);
  cells_.resize(fields_.size());
}

const std::vector<PlainCell>& PlainWalk::ROW(int64_t pRow, Variant& rID) {
  if (walk_.INORDER()) {
    if (!cursor_) cursor_ = walk_.CURSOR(reader_);
    if (!cursor_->Next(rID, values_)) Raise(err::kInvalidData, "the database has fewer entries than it counts");
  } else {
    rID = walk_.IDS()[static_cast<size_t>(pRow)];
    db_.ENTRYVALUES(db_.ENTRYPOSITION(rID), reader_, values_);
  }
  for (size_t i = 0; i < fields_.size(); ++i) PlainOf(values_[i], fields_[i]->TYPE, cells_[i]);
  const auto& progress = db_.EXPORTPROGRESS_GET();
  int64_t total = ROWS();
  if (!quiet_ && progress && ((pRow + 1) % kProgressStep == 0 || pRow + 1 == total)) progress(pRow + 1, total);
  return cells_;
}

}  // namespace rykel::mdl_DBExport
