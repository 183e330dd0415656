#include "structure/mdl_StructureJson.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "frame/mdl_Limits.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureManager.h"
#include "structure/mdl_StructureScript.h"

namespace rykel::mdl_StructureJson {

namespace {

// The library's value type carries single names and values to its serializer, and its parser's
// events to the Builder below; no document is ever built.
using Json = nlohmann::json;

constexpr double kWideLimit = 9007199254740992.0;  // 2^53: every whole number up to it is exact

// ---- writer ------------------------------------------------------------------------------------

// Valid UTF-8 as it is; a byte that is not part of a valid character becomes the character of its
// Latin-1 reading, so the document is always valid and every byte shows.
std::string hUtf8(std::string_view s) {
  if (text::IsUtf8(s)) return std::string(s);
  std::string out;
  out.reserve(s.size() + 8);
  for (size_t i = 0; i < s.size();) {
    const size_t len = text::Utf8CharLen(s, i);
    if (len > 0) {
      out.append(s, i, len);
      i += len;
      continue;
    }
    const auto c = static_cast<unsigned char>(s[i++]);
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
  return out;
}

Json hNumber(double d) {
  if (!std::isfinite(d)) return nullptr;
  return d;
}

Json hScalar(const Variant& v) {
  int64_t whole = 0;
  switch (v.type()) {
    case VarType::Integer: return v.rawInteger();
    case VarType::Long: return v.rawLong();
    case VarType::Single: return hNumber(v.rawSingle());
    case VarType::Double:
      if (IsWideWhole(v, whole)) return whole;
      return hNumber(v.rawDouble());
    case VarType::Currency:
      if (v.rawCurrency() % 10000 == 0) return v.rawCurrency() / 10000;
      return static_cast<double>(v.rawCurrency()) / 10000.0;
    case VarType::Boolean: return v.rawBool();
    case VarType::Date: return date::ToIso(v.rawDouble());
    case VarType::String: return hUtf8(v.str());
    default: return nullptr;
  }
}

// Walks the tree and writes the document as it goes: the layout (brackets, commas, indentation) is
// the library's own dump layout, and every name and value is written by the library's serializer,
// straight into the output. No document tree is built, so a large structure costs no second copy.
class Writer {
 public:
  Writer(std::string& rOut, int pIndent)
      : out_(rOut), ser_(nlohmann::detail::output_adapter<char, std::string>(rOut), ' '), indent_(pIndent) {}

  void Node(cls_StructureManager& m, int32_t pID, int pDepth) {
    if (pDepth > mdl_StructureScript::MaxDepth())
      Raise(err::kInvalidData, mdl_Limits::DepthMessage("Structure", mdl_Limits::kStructureDepth));
    const auto& items = m.Items(pID);
    const size_t base = m.HASZERO_GET(pID) ? 0 : 1;
    const bool list = IsList(m, pID);
    bool first = true;
    out_ += list ? '[' : '{';
    for (size_t i = base; i < items.size(); ++i) {
      const auto& it = items[i];
      if (!it.used) continue;
      if (!first) out_ += ',';
      first = false;
      hBreak(pDepth + 1);
      if (!list) {
        // a node may hold a name twice: both are written, in slot order
        std::string_view name = m.Names().Name(it.name);
        hDump(Json(name.empty() ? IndexKey(static_cast<int32_t>(i)) : hUtf8(name)));
        out_ += indent_ >= 0 ? ": " : ":";
      }
      if (it.isStruct) Node(m, it.child, pDepth + 1);
      else hDump(hScalar(it.value));
    }
    if (!first) hBreak(pDepth);
    out_ += list ? ']' : '}';
  }

 private:
  void hBreak(int pLevel) {
    if (indent_ < 0) return;
    out_ += '\n';
    out_.append(static_cast<size_t>(pLevel) * static_cast<size_t>(indent_), ' ');
  }
  void hDump(const Json& j) { ser_.dump(j, false, false, 0); }

  std::string& out_;
  nlohmann::detail::serializer<Json> ser_;
  int indent_;
};

// ---- reader ------------------------------------------------------------------------------------

// "line L, column C" of a byte offset; the column counts characters.
std::string hPlace(std::string_view pText, size_t pOffset) {
  pOffset = std::min(pOffset, pText.size());
  const size_t lineStart = pText.rfind('\n', pOffset == 0 ? std::string_view::npos : pOffset - 1);
  const size_t from = lineStart == std::string_view::npos ? 0 : lineStart + 1;
  size_t line = 1;
  for (size_t i = 0; i < from; ++i) line += pText[i] == '\n';
  return "line " + std::to_string(line) + ", column " +
         std::to_string(text::Len(pText.substr(from, pOffset - from)) + 1);
}

[[noreturn]] void hFail(std::string_view pText, size_t pOffset, std::string_view pReason) {
  Raise(err::kInvalidData, "JSON invalid at " + hPlace(pText, pOffset) + ": " + std::string(pReason));
}

// The library's message without its tag, its position (given in characters instead) and the token
// it last read, which may quote invalid bytes: "[json.exception.parse_error.101] parse error at line
// 1, column 5: syntax error ... - invalid literal; last read: 'tru'" gives "syntax error ... -
// invalid literal".
std::string hReason(const std::string& pWhat) {
  size_t at = pWhat.find("column ");
  at = at == std::string::npos ? pWhat.find("] ") : pWhat.find(": ", at);
  std::string reason = at == std::string::npos ? pWhat : pWhat.substr(at + 2);
  if (size_t last = reason.find("; last read: "); last != std::string::npos) reason.erase(last);
  return reason;
}

// Builds the structure from the parser's events: a stack of open nodes, each an object (items by
// the pending key) or an array (items appended).
class Builder {
 public:
  using string_t = Json::string_t;
  using binary_t = Json::binary_t;

  Builder(cls_StructureManager& m, int32_t pRoot) : m_(m), root_(pRoot) {}

  bool null() { return hValue(Variant()); }
  bool boolean(bool b) { return hValue(Variant(b)); }
  bool number_integer(Json::number_integer_t v) { return hValue(Variant(static_cast<long long>(v))); }
  bool number_unsigned(Json::number_unsigned_t v) {
    if (v <= static_cast<uint64_t>(INT64_MAX)) return hValue(Variant(static_cast<long long>(v)));
    return hValue(Variant(static_cast<double>(v)));
  }
  bool number_float(Json::number_float_t d, const string_t&) { return hValue(Variant(d)); }
  bool string(string_t& s) { return hValue(Variant(s)); }
  bool binary(binary_t&) { return false; }  // JSON text has no binary values
  bool start_object(std::size_t) { return hOpen(true); }
  bool start_array(std::size_t) { return hOpen(false); }
  bool key(string_t& k) {
    key_ = std::move(k);
    return true;
  }
  bool end_object() { return hClose(); }
  bool end_array() { return hClose(); }
  bool parse_error(std::size_t pPosition, const std::string&, const nlohmann::detail::exception& ex) {
    failOffset = pPosition > 0 ? pPosition - 1 : 0;
    failReason = hReason(ex.what());
    return false;
  }

  bool tooDeep = false;
  size_t failOffset = 0;
  std::string failReason;

 private:
  struct Open {
    int32_t id;
    bool object;
  };

  bool hValue(const Variant& v) {
    const Open& top = stack_.back();
    if (top.object) m_.ITEMBYID_LET(top.id, key_, v);
    else m_.ADD(top.id, v);
    return true;
  }

  bool hOpen(bool pObject) {
    if (stack_.empty()) {
      stack_.push_back({root_, pObject});
      return true;
    }
    if (static_cast<int>(stack_.size()) >= mdl_StructureScript::MaxDepth()) {
      tooDeep = true;
      return false;
    }
    // the parent's item holds the new node; the handle only lives until then
    auto sub = cls_Structure::New();
    hValue(Variant(sub));
    stack_.push_back({sub->SID_GET(), pObject});
    return true;
  }

  bool hClose() {
    stack_.pop_back();
    return true;
  }

  cls_StructureManager& m_;
  int32_t root_;
  std::vector<Open> stack_;
  std::string key_;
};

}  // namespace

bool IsList(cls_StructureManager& m, int32_t pID) {
  const auto& items = m.Items(pID);
  const size_t base = m.HASZERO_GET(pID) ? 0 : 1;
  if (items.size() <= base) return false;
  for (size_t i = base; i < items.size(); ++i)
    if (!items[i].used || items[i].name != 0) return false;
  return true;
}

bool IsWideWhole(const Variant& pValue, int64_t& rWhole) {
  if (pValue.type() != VarType::Double) return false;
  const double d = pValue.rawDouble();
  if (!(std::fabs(d) <= kWideLimit) || std::trunc(d) != d) return false;
  if (d >= -2147483648.0 && d <= 2147483647.0) return false;
  rWhole = static_cast<int64_t>(d);
  return true;
}

bool LooksLikeJson(std::string_view v) {
  if (v.empty() || (v[0] != '{' && v[0] != '[')) return false;
  size_t i = v.find_first_not_of(" \t\r\n", 1);
  if (i == std::string_view::npos) return false;
  std::string_view rest = v.substr(i);
  if (v[0] == '{') return rest[0] == '"' || rest[0] == '}';
  return std::string_view("\"{[]-0123456789").find(rest[0]) != std::string_view::npos || rest.starts_with("true") ||
         rest.starts_with("false") || rest.starts_with("null");
}

FileForm FormOf(std::string_view pText, std::string_view pName) {
  std::string_view start = pText;
  if (start.starts_with("\xEF\xBB\xBF")) start.remove_prefix(3);
  start.remove_prefix(std::min(start.size(), start.find_first_not_of(" \t\r\n")));
  const bool jsonName = pName.size() > 5 && text::UCase(pName.substr(pName.size() - 5)) == ".JSON";
  if (jsonName || LooksLikeJson(start)) return FileForm::Json;
  if (start.starts_with("a:") || start.starts_with("O:") || start.starts_with("QS")) return FileForm::Serialized;
  return FileForm::Script;
}

std::string IndexKey(int32_t pIndex) { return "[" + std::to_string(pIndex) + "]"; }

std::string Write(cls_StructureManager& m, int32_t pID, int pIndent) {
  std::string out;
  Writer(out, pIndent).Node(m, pID, 0);
  if (pIndent >= 0) out += '\n';
  return out;
}

std::string Write(cls_Structure& s, int pIndent) { return Write(*s.MANAGER_GET(), s.SID_GET(), pIndent); }

StructurePtr Read(std::string_view pText) {
  mdl_Limits::CheckInputSize(pText.size(), "The JSON text");
  // one object or array: a lone scalar has no items to give
  size_t first = pText.starts_with("\xEF\xBB\xBF") ? 3 : 0;
  while (first < pText.size() && std::string_view(" \t\r\n").find(pText[first]) != std::string_view::npos) ++first;
  if (first >= pText.size() || (pText[first] != '{' && pText[first] != '['))
    hFail(pText, first, "an object or array expected");
  auto result = cls_Structure::New();
  Builder b(*result->MANAGER_GET(), result->SID_GET());
  if (!Json::sax_parse(pText.begin(), pText.end(), &b, Json::input_format_t::json, true, false)) {
    if (b.tooDeep) Raise(err::kInvalidData, mdl_Limits::DepthMessage("JSON", mdl_Limits::kStructureDepth));
    hFail(pText, b.failOffset, b.failReason);
  }
  return result;
}

std::string Quote(std::string_view pText) { return Json(hUtf8(pText)).dump(); }

}  // namespace rykel::mdl_StructureJson
