#include "StructJson.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "structure/cls_StructureManager.h"

namespace rykel::cli {

namespace {

constexpr int kMaxDepth = 1000;

// Valid UTF-8 is copied; a byte that is not part of a valid character (PHP's Latin-1 text) is
// written as \u00XX, its Latin-1 reading, so the output is always valid JSON and every byte shows.
void hString(std::string& out, std::string_view s) {
  out += '"';
  for (size_t i = 0; i < s.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(s[i]);
    if (c >= 0x80) {
      const size_t len = text::Utf8CharLen(s, i);
      if (len == 0) {
        char buf[8];
        std::snprintf(buf, sizeof buf, "\\u%04x", c);
        out += buf;
      } else {
        out.append(s, i, len);
        i += len - 1;
      }
      continue;
    }
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (c < 0x20) {
          char buf[8];
          std::snprintf(buf, sizeof buf, "\\u%04x", c);
          out += buf;
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  out += '"';
}

void hNumber(std::string& out, double d) {
  if (!std::isfinite(d)) {
    out += "null";
    return;
  }
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, d);
  out.append(buf, r.ptr);
}

void hValue(std::string& out, const Variant& v) {
  switch (v.type()) {
    case VarType::Integer:
    case VarType::Long: out += std::to_string(CLng(v)); break;
    case VarType::Single:
    case VarType::Double: hNumber(out, CDbl(v)); break;
    case VarType::Currency: out += CurrencyText(v.rawCurrency()); break;
    case VarType::Boolean: out += v.rawBool() ? "true" : "false"; break;
    case VarType::Date: hString(out, date::ToIso(v.rawDouble())); break;
    case VarType::String: hString(out, v.str()); break;
    default: out += "null";
  }
}

void hNode(std::string& out, cls_StructureManager& m, int32_t id, int level) {
  if (level > kMaxDepth) Raise(err::kInvalidData, "Structure nested deeper than 1000 levels");
  const auto& items = m.Items(id);
  const size_t base = m.HASZERO_GET(id) ? 0 : 1;
  bool array = true;
  size_t used = 0;
  for (size_t i = base; i < items.size(); ++i) {
    if (!items[i].used || items[i].name != 0) array = false;
    used += items[i].used;
  }
  if (used == 0) {
    out += array && items.size() > base ? "[]" : "{}";
    return;
  }
  out += array ? "[\n" : "{\n";
  bool first = true;
  const std::string pad(static_cast<size_t>(level + 1) * 2, ' ');
  for (size_t i = base; i < items.size(); ++i) {
    const auto& it = items[i];
    if (!it.used) continue;
    if (!first) out += ",\n";
    first = false;
    out += pad;
    if (!array) {
      std::string_view n = m.Names().Name(it.name);
      hString(out, n.empty() ? "[" + std::to_string(i) + "]" : std::string(n));
      out += ": ";
    }
    if (it.isStruct) hNode(out, m, it.child, level + 1);
    else hValue(out, it.value);
  }
  out += '\n';
  out.append(static_cast<size_t>(level) * 2, ' ');
  out += array ? ']' : '}';
}

// Recursive descent over the JSON text; positions are byte offsets.
class Reader {
 public:
  explicit Reader(std::string_view s) : s_(s) {}

  void Top(cls_Structure& target) {
    hWs();
    if (hPeek() != '{' && hPeek() != '[') hFail("'{' or '[' expected");
    hContainer(target, 0);
    hWs();
    if (p_ != s_.size()) hFail("text after the end");
  }

 private:
  [[noreturn]] void hFail(const std::string& what) {
    Raise(err::kInvalidData, "JSON invalid at offset " + std::to_string(p_) + ": " + what);
  }
  char hPeek() const { return p_ < s_.size() ? s_[p_] : '\0'; }
  void hWs() {
    while (p_ < s_.size() && (s_[p_] == ' ' || s_[p_] == '\t' || s_[p_] == '\n' || s_[p_] == '\r')) ++p_;
  }
  void hExpect(char c) {
    hWs();
    if (hPeek() != c) hFail(std::string("'") + c + "' expected");
    ++p_;
  }

  // container -> "{" [ string ":" value { "," string ":" value } ] "}" | "[" [ value { "," value } ] "]"
  void hContainer(cls_Structure& target, int depth) {
    if (depth >= kMaxDepth) hFail("nested deeper than 1000 levels");
    bool object = s_[p_++] == '{';
    char close = object ? '}' : ']';
    hWs();
    if (hPeek() == close) {
      ++p_;
      return;
    }
    for (;;) {
      hWs();
      std::string key;
      if (object) {
        if (hPeek() != '"') hFail("a key in quotes expected");
        key = hString();
        hExpect(':');
      }
      hWs();
      Variant v = hValue(depth);
      if (object) target.ITEMBYID_LET(key, v);
      else target.ADD(v);
      hWs();
      if (hPeek() == ',') {
        ++p_;
        continue;
      }
      if (hPeek() == close) {
        ++p_;
        return;
      }
      hFail(std::string("',' or '") + close + "' expected");
    }
  }

  Variant hValue(int depth) {
    char c = hPeek();
    if (c == '{' || c == '[') {
      auto sub = cls_Structure::New();
      hContainer(*sub, depth + 1);
      return Variant(sub);
    }
    if (c == '"') return Variant(hString());
    if (s_.substr(p_, 4) == "true") {
      p_ += 4;
      return Variant(true);
    }
    if (s_.substr(p_, 5) == "false") {
      p_ += 5;
      return Variant(false);
    }
    if (s_.substr(p_, 4) == "null") {
      p_ += 4;
      return Variant();
    }
    size_t start = p_;
    while (p_ < s_.size() && std::string_view("+-0123456789.eE").find(s_[p_]) != std::string_view::npos) ++p_;
    std::string_view num = s_.substr(start, p_ - start);
    if (num.empty()) hFail("a value expected");
    long long whole;
    auto ri = std::from_chars(num.data(), num.data() + num.size(), whole);
    if (ri.ec == std::errc() && ri.ptr == num.data() + num.size() && whole >= INT32_MIN && whole <= INT32_MAX)
      return Variant(static_cast<int32_t>(whole));
    double d;
    auto rd = std::from_chars(num.data(), num.data() + num.size(), d);
    if (rd.ec != std::errc() || rd.ptr != num.data() + num.size()) {
      p_ = start;
      hFail("invalid number");
    }
    return Variant(d);
  }

  unsigned hHex4() {
    if (p_ + 4 > s_.size()) hFail("four hexadecimal digits expected");
    unsigned v = 0;
    for (int i = 0; i < 4; ++i) {
      char c = s_[p_++];
      v <<= 4;
      if (c >= '0' && c <= '9') v |= c - '0';
      else if (c >= 'a' && c <= 'f') v |= c - 'a' + 10;
      else if (c >= 'A' && c <= 'F') v |= c - 'A' + 10;
      else hFail("four hexadecimal digits expected");
    }
    return v;
  }

  static void hUtf8(std::string& out, unsigned cp) {
    if (cp < 0x80) {
      out += static_cast<char>(cp);
    } else if (cp < 0x800) {
      out += static_cast<char>(0xC0 | (cp >> 6));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
      out += static_cast<char>(0xE0 | (cp >> 12));
      out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (cp >> 18));
      out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    }
  }

  std::string hString() {
    ++p_;  // opening quote
    std::string out;
    while (p_ < s_.size()) {
      char c = s_[p_++];
      if (c == '"') return out;
      if (static_cast<unsigned char>(c) < 0x20) hFail("control character in a string");
      if (c != '\\') {
        out += c;
        continue;
      }
      if (p_ >= s_.size()) break;
      switch (s_[p_++]) {
        case '"': out += '"'; break;
        case '\\': out += '\\'; break;
        case '/': out += '/'; break;
        case 'b': out += '\b'; break;
        case 'f': out += '\f'; break;
        case 'n': out += '\n'; break;
        case 'r': out += '\r'; break;
        case 't': out += '\t'; break;
        case 'u': {
          unsigned cp = hHex4();
          if (cp >= 0xD800 && cp < 0xDC00 && s_.substr(p_, 2) == "\\u") {
            p_ += 2;
            unsigned lo = hHex4();
            if (lo < 0xDC00 || lo > 0xDFFF) hFail("invalid surrogate pair");
            cp = 0x10000 + ((cp - 0xD800) << 10) + (lo - 0xDC00);
          } else if (cp >= 0xD800 && cp <= 0xDFFF) {
            hFail("invalid surrogate pair");
          }
          hUtf8(out, cp);
          break;
        }
        default: --p_; hFail("unknown escape");
      }
    }
    hFail("unfinished string");
  }

  std::string_view s_;
  size_t p_ = 0;
};

}  // namespace

std::string StructToJson(cls_Structure& pStruct) {
  std::string out;
  hNode(out, *pStruct.MANAGER_GET(), pStruct.SID_GET(), 0);
  out += '\n';
  return out;
}

void JsonToStruct(std::string_view pText, cls_Structure& rStruct) { Reader(pText).Top(rStruct); }

void AppendJsonString(std::string& rOut, std::string_view pText) { hString(rOut, pText); }

}  // namespace rykel::cli
