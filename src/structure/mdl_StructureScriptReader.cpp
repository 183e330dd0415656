// The reading half of the script form: value literals, key paths and PARSE (the grammar is at the
// top of mdl_StructureScript.h).
#include "structure/mdl_StructureScript.h"

#include <charconv>
#include <cstring>
#include <limits>
#include <vector>

#include "frame/DateTime.h"
#include "frame/Error.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureManager.h"

namespace rykel {
namespace mdl_StructureScript {

namespace {

constexpr int32_t kMaxIndexGap = 1024;  // a "[i]" name may skip at most this many unused slots

bool hIsBlank(char c) { return c == ' ' || c == '\t'; }

// Offset of the first line break at or after from (npos when none): the first "\n", unless a "\r"
// comes before it. Two vectorised scans instead of a test of every byte against both.
size_t hLineEnd(std::string_view s, size_t from = 0) {
  if (from >= s.size()) return std::string_view::npos;
  const char* p = s.data() + from;
  const auto* nl = static_cast<const char*>(std::memchr(p, '\n', s.size() - from));
  const size_t upTo = nl ? static_cast<size_t>(nl - p) : s.size() - from;
  if (const auto* cr = static_cast<const char*>(std::memchr(p, '\r', upTo))) return from + (cr - p);
  return nl ? from + upTo : std::string_view::npos;
}

std::string_view hTrimWs(std::string_view s) {
  while (!s.empty() && hIsBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && hIsBlank(s.back())) s.remove_suffix(1);
  return s;
}

bool hIEquals(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char x = a[i], y = b[i];
    if (x >= 'a' && x <= 'z') x = static_cast<char>(x - 32);
    if (y >= 'a' && y <= 'z') y = static_cast<char>(y - 32);
    if (x != y) return false;
  }
  return true;
}

// An integer text: optional "-" and 1..20 digits.
bool hIntText(std::string_view s, int64_t& out) {
  size_t i = (!s.empty() && (s[0] == '-' || s[0] == '+')) ? 1 : 0;
  if (i == s.size() || s.size() - i > 18) return false;
  int64_t v = 0;
  for (size_t k = i; k < s.size(); ++k) {
    if (s[k] < '0' || s[k] > '9') return false;
    v = v * 10 + (s[k] - '0');
  }
  out = s[0] == '-' ? -v : v;
  return true;
}

// A real number text in the "C" form ("1.5", "-2E+10", ".5"); the whole text must be used.
bool hRealText(std::string_view s, double& out) {
  if (s.empty()) return false;
  char c = s[0];
  if (!(c == '-' || c == '+' || c == '.' || (c >= '0' && c <= '9'))) return false;
  if (c == '+') s.remove_prefix(1);
  if (s.empty()) return false;
  auto r = std::from_chars(s.data(), s.data() + s.size(), out);
  return r.ec == std::errc() && r.ptr == s.data() + s.size();
}

// A decimal text with at most four decimals as a currency value scaled by 10,000.
bool hCurrencyText(std::string_view s, int64_t& out) {
  bool neg = !s.empty() && s[0] == '-';
  if (neg) s.remove_prefix(1);
  size_t dot = s.find('.');
  std::string_view whole = s.substr(0, dot);
  std::string_view frac = dot == std::string_view::npos ? std::string_view() : s.substr(dot + 1);
  if (whole.empty() || whole.size() > 15 || frac.size() > 4) return false;
  int64_t w = 0, f = 0;
  if (!hIntText(whole, w) || whole[0] == '-' || whole[0] == '+') return false;
  for (size_t i = 0; i < 4; ++i) {
    char d = i < frac.size() ? frac[i] : '0';
    if (d < '0' || d > '9') return false;
    f = f * 10 + (d - '0');
  }
  out = w * 10000 + f;
  if (neg) out = -out;
  return true;
}

int hHex(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Reads a quoted text starting at s[0] == '"'; rEnd is the offset after the closing quote.
bool hReadQuoted(std::string_view s, std::string& rOut, size_t& rEnd, std::string& rError) {
  rOut.clear();
  size_t i = 1;
  while (i < s.size()) {
    size_t stop = i;
    while (stop < s.size() && s[stop] != '"' && s[stop] != '\\') ++stop;
    if (stop == s.size()) break;
    rOut.append(s.data() + i, stop - i);
    i = stop;
    if (s[i] == '"') {
      rEnd = i + 1;
      return true;
    }
    if (++i == s.size()) break;
    switch (s[i]) {
      case '\\': rOut += '\\'; break;
      case '"': rOut += '"'; break;
      case 'r': rOut += '\r'; break;
      case 'n': rOut += '\n'; break;
      case 't': rOut += '\t'; break;
      case 'x': {
        int h1 = i + 1 < s.size() ? hHex(s[i + 1]) : -1;
        int h2 = i + 2 < s.size() ? hHex(s[i + 2]) : -1;
        if (h1 < 0 || h2 < 0) {
          rError = "'\\x' needs two hexadecimal digits";
          return false;
        }
        rOut += static_cast<char>(h1 * 16 + h2);
        i += 2;
        break;
      }
      default: rError = std::string("unknown escape '\\") + s[i] + "'"; return false;
    }
    ++i;
  }
  rError = "unfinished string (closing '\"' expected)";
  return false;
}

// ---- the reader ---------------------------------------------------------------------------------

using Part = PathPart;

struct Block {
  StructurePtr handle;  // keeps the node alive while it is open
  int32_t id;
  std::string name;
  size_t line;
  size_t depth;  // nesting level of the block's node (the top node is 0)
};

[[noreturn]] void hFailAt(size_t line, const std::string& what) {
  if (line == 0) Raise(err::kInvalidData, "Data invalid: " + what);
  Raise(err::kInvalidData, "Script data invalid (line " + std::to_string(line) + "): " + what);
}

// rBudget: unused slots the text being read may still open (nullptr: only the per-key gap rule).
void hAssignPart(cls_StructureManager& m, int32_t node, const Part& p, const Variant& value, size_t line,
                 int64_t* rBudget) {
  if (p.index < 0) {
    // A new name goes after the last item, not into an unused slot below it: the writer lists
    // items in slot order, so this keeps a written node's order when it is read back.
    const ItemName name = m.NAME(p.name);
    if (m.FindSlot(node, name) >= 0) m.ITEM_LET(node, name, value);
    else if (value.isObject()) m.ITEMDIRECT_LET(node, m.MAX(node) + 1, p.name, value);
    else m.AppendItem(node, name.atom, Variant(value));
    return;
  }
  if (p.index > static_cast<int64_t>(m.MAX(node)) + kMaxIndexGap)
    hFailAt(line, "index [" + std::to_string(p.index) + "] skips more than " + std::to_string(kMaxIndexGap) +
                      " unused items");
  if (const int64_t gap = p.index - static_cast<int64_t>(m.MAX(node)) - 1; gap > 0 && rBudget) {
    *rBudget -= gap;
    if (*rBudget < 0)
      hFailAt(line, "numbered items leave too many unused items (at most 1048576 plus 16 per byte of text)");
  }
  m.ITEM_LET(node, Variant(static_cast<int32_t>(p.index)), value, true);
}

// A new empty sub-structure under the part (replacing what was there).
int32_t hNewChildOf(cls_StructureManager& m, int32_t node, const Part& p, std::vector<StructurePtr>& keep, size_t line,
                    int64_t* rBudget) {
  const int32_t id = m.Alloc();
  StructurePtr h = m.CONVERT(id);  // holds the reference Alloc gave
  const ItemName name = p.index < 0 ? m.NAME(p.name) : ItemName{};
  if (p.index < 0 && m.FindSlot(node, name) < 0) {
    // a new name: the slot after the last item takes a reference of its own
    m.AddRef(id);
    m.AppendItem(node, name.atom, Variant(), id);
  } else {
    hAssignPart(m, node, p, Variant(h), line, rBudget);
  }
  keep.push_back(std::move(h));
  return id;
}

// The sub-structure under the part, created when missing or a scalar.
int32_t hChildOf(cls_StructureManager& m, int32_t node, const Part& p, std::vector<StructurePtr>& keep, size_t line,
                 int64_t* rBudget) {
  Variant v = p.index >= 0 ? m.ITEM_GET(node, Variant(static_cast<int32_t>(p.index)), {}, true)
                           : m.ITEM_GET(node, m.NAME(p.name));
  if (auto h = v.as<cls_Structure>()) {
    int32_t id = h->SID_GET();
    keep.push_back(std::move(h));
    return id;
  }
  return hNewChildOf(m, node, p, keep, line, rBudget);
}

class Parser {
 public:
  Parser(cls_StructureManager& m, int32_t id, size_t textBytes)
      : m_(m), gapBudget_(mdl_Limits::UnusedSlotBudget(textBytes)) {
    stack_.push_back({nullptr, id, "", 0, 0});
  }

  void Line(std::string_view raw, size_t lineNo) {
    line_ = lineNo;
    keep_.clear();
    std::string_view s = hTrimWs(raw);
    if (s.empty() || s[0] == '#' || s.substr(0, 2) == "//") return;
    if (s == "}") {
      if (stack_.size() == 1) hFail("'}' without an open block");
      stack_.pop_back();
      return;
    }
    // name
    std::vector<Part>& parts = parts_;
    parts.clear();
    size_t pos = 0;
    if (s[0] == '"') {
      Part p;
      std::string err;
      if (!hReadQuoted(s, p.name, pos, err)) hFail(err);
      if (p.name.empty()) hFail("empty name");
      parts.push_back(std::move(p));
    } else if (s[0] != '{') {
      while (pos < s.size() && s[pos] != '=' && s[pos] != '{') ++pos;
      hSplitName(hTrimWs(s.substr(0, pos)), parts);
    }
    std::string_view rest = hTrimWs(s.substr(pos));
    if (rest.empty()) hFail("'=' or '{' expected after the name");
    if (rest[0] == '{') {
      if (rest.size() > 1) hFail("nothing may follow '{' on its line");
      hOpen(parts);
      return;
    }
    if (rest[0] != '=') hFail("'=' or '{' expected after the name");
    rest = hTrimWs(rest.substr(1));
    if (rest == "{") {
      hOpen(parts);
      return;
    }
    if (parts.empty()) hFail("a value needs a name");
    Variant value;
    bool emptyStruct = false;
    if (!ReadLiteral(rest, value, emptyStruct, err_)) hFail(err_);
    int32_t node = hWalk(parts, parts.size() - 1);
    if (emptyStruct) {
      hNewChild(node, parts.back());
      return;
    }
    hAssign(node, parts.back(), value);
  }

  void Finish() {
    if (stack_.size() > 1) {
      const Block& b = stack_.back();
      line_ = 0;
      Raise(err::kInvalidData,
            "Script data invalid: '}' expected (to close '" + b.name + "' at line " + std::to_string(b.line) + ")");
    }
  }

 private:
  [[noreturn]] void hFail(const std::string& what) { hFailAt(line_, what); }

  // Splits a bare name at single dots; ".." is a literal dot; "[i]" parts are indexes.
  void hSplitName(std::string_view s, std::vector<Part>& parts) {
    if (s.empty()) hFail("empty name");
    // the usual name: one part, no dot, bracket or character that needs a closer look
    if (s[0] != '[' && !hIsBlank(s.back())) {
      size_t i = 0;
      while (i < s.size() && s[i] != '.' && s[i] != '"' && s[i] != '}' && static_cast<unsigned char>(s[i]) >= 0x20) ++i;
      if (i == s.size()) {
        parts.emplace_back().name.assign(s);
        return;
      }
    }
    Part cur;
    for (size_t i = 0; i < s.size(); ++i) {
      char c = s[i];
      if (c == '.') {
        if (i + 1 < s.size() && s[i + 1] == '.') {
          cur.name += '.';
          ++i;
          continue;
        }
        hFinishPart(cur, parts);
        cur = Part();
        continue;
      }
      if (c == '"' || c == '}' || static_cast<unsigned char>(c) < 0x20) hFail("invalid character in the name");
      cur.name += c;
    }
    hFinishPart(cur, parts);
  }

  void hFinishPart(Part& p, std::vector<Part>& parts) {
    std::string_view t = hTrimWs(p.name);
    if (t.empty()) hFail("empty part in the name (a literal '.' is written '..')");
    if (t.front() == '[' && t.back() == ']') {
      int64_t n;
      if (!hIntText(t.substr(1, t.size() - 2), n) || n < 0) hFail("'[' index ']' expected");
      p.index = n;
      p.name.clear();
    } else {
      p.name = std::string(t);
    }
    parts.push_back(std::move(p));
  }

  void hDepthCheck(size_t extra) {
    if (stack_.back().depth + extra > static_cast<size_t>(MaxDepth()))
      hFail("nested deeper than " + std::to_string(MaxDepth()) + " levels");
  }

  // The node that holds the last part: walks (creating) the sub-structures of the parts before it.
  int32_t hWalk(const std::vector<Part>& parts, size_t upTo) {
    hDepthCheck(upTo + 1);
    int32_t node = stack_.back().id;
    for (size_t i = 0; i < upTo; ++i) node = hChild(node, parts[i]);
    return node;
  }

  int32_t hChild(int32_t node, const Part& p) { return hChildOf(m_, node, p, keep_, line_, &gapBudget_); }
  int32_t hNewChild(int32_t node, const Part& p) { return hNewChildOf(m_, node, p, keep_, line_, &gapBudget_); }
  void hAssign(int32_t node, const Part& p, const Variant& value) {
    hAssignPart(m_, node, p, value, line_, &gapBudget_);
  }

  void hOpen(const std::vector<Part>& parts) {
    size_t levels = parts.empty() ? 1 : parts.size();
    hDepthCheck(levels);
    int32_t child;
    std::string name;
    if (parts.empty()) {
      // "{" alone: a new unnamed sub-structure appended to the open block
      StructurePtr h = m_.CONVERT(m_.Alloc());
      m_.ADD(stack_.back().id, Variant(h));
      child = h->SID_GET();
      keep_.push_back(std::move(h));
      name = "{";
    } else {
      int32_t node = hWalk(parts, parts.size() - 1);
      child = hChild(node, parts.back());
      const Part& last = parts.back();
      name = last.index >= 0 ? "[" + std::to_string(last.index) + "]" : last.name;
    }
    stack_.push_back({keep_.back(), child, std::move(name), line_, stack_.back().depth + levels});
    keep_.clear();
  }

  cls_StructureManager& m_;
  int64_t gapBudget_;  // unused slots the "[i]" names of this text may still open
  std::vector<Block> stack_;
  std::vector<StructurePtr> keep_;  // handles met on the current line
  std::vector<Part> parts_;         // the name of the current line
  std::string err_;
  size_t line_ = 0;
};

}  // namespace

// ---- value literals, paths, PARSE ------------------------------------------------------------------

bool ReadLiteral(std::string_view s, Variant& rValue, bool& rEmptyStruct, std::string& rError) {
  rEmptyStruct = false;
  rValue = Variant();
  if (s.empty()) return true;
  if (s[0] == '"') {
    // the usual case, a text without escapes closing the literal, needs no buffer
    size_t stop = 1;
    while (stop < s.size() && s[stop] != '"' && s[stop] != '\\') ++stop;
    if (stop + 1 == s.size() && s[stop] == '"') {
      rValue = Variant(s.substr(1, stop - 1));
      return true;
    }
    std::string t;
    size_t end = 0;
    if (!hReadQuoted(s, t, end, rError)) return false;
    if (!hTrimWs(s.substr(end)).empty()) {
      rError = "nothing may follow the closing '\"'";
      return false;
    }
    rValue = Variant(t);
    return true;
  }
  if (s == "{}") {
    rEmptyStruct = true;
    return true;
  }
  if (s.size() >= 2 && s.front() == '#' && s.back() == '#') {
    double d;
    if (!date::Parse(s.substr(1, s.size() - 2), d)) {
      rError = "invalid date '" + std::string(s) + "'";
      return false;
    }
    rValue = Variant::Date(d);
    return true;
  }
  if (hIEquals(s, "NULL")) {
    rValue = Variant::Null();
    return true;
  }
  if (hIEquals(s, "TRUE")) {
    rValue = Variant(true);
    return true;
  }
  if (hIEquals(s, "FALSE")) {
    rValue = Variant(false);
    return true;
  }
  char first = s[0];
  if (first == '-' || first == '+' || first == '.' || (first >= '0' && first <= '9')) {
    char suffix = s.back();
    std::string_view body = s.substr(0, s.size() - 1);
    int64_t n;
    double d;
    switch (suffix) {
      case '%':
        if (hIntText(body, n) && n >= -32768 && n <= 32767) {
          rValue = Variant(static_cast<int16_t>(n));
          return true;
        }
        break;
      case '&':
        if (hIntText(body, n) && n >= INT32_MIN && n <= INT32_MAX) {
          rValue = Variant(static_cast<int32_t>(n));
          return true;
        }
        break;
      case '!':
        if (hRealText(body, d)) {
          rValue = Variant(static_cast<float>(d));
          return true;
        }
        break;
      case '@':
        if (hCurrencyText(body, n)) {
          rValue = Variant::Currency(n);
          return true;
        }
        break;
      default:
        if (hIntText(s, n) && n >= INT32_MIN && n <= INT32_MAX) {
          rValue = Variant(static_cast<int32_t>(n));
          return true;
        }
        if (hRealText(s, d)) {
          rValue = Variant(d);
          return true;
        }
    }
  }
  rValue = Variant(s);  // bare text
  return true;
}

void Parse(cls_StructureManager& m, int32_t pID, std::string_view pText) {
  mdl_Limits::CheckInputSize(pText.size(), "Script text");
  if (pText.substr(0, 3) == "\xEF\xBB\xBF") pText.remove_prefix(3);  // UTF-8 byte order mark
  Parser p(m, pID, pText.size());
  size_t lineNo = 0;
  while (!pText.empty()) {
    size_t end = hLineEnd(pText);
    std::string_view line = pText.substr(0, end);
    ++lineNo;
    p.Line(line, lineNo);
    if (end == std::string_view::npos) break;
    size_t skip = (pText[end] == '\r' && end + 1 < pText.size() && pText[end + 1] == '\n') ? 2 : 1;
    pText.remove_prefix(end + skip);
  }
  p.Finish();
}

void AssignPath(cls_StructureManager& m, int32_t pID, const std::vector<PathPart>& pPath, const Variant& pValue,
                bool pEmptyStruct, int64_t* rGapBudget) {
  if (pPath.empty()) hFailAt(0, "empty name");
  if (pPath.size() > static_cast<size_t>(MaxDepth()))
    hFailAt(0, "nested deeper than " + std::to_string(MaxDepth()) + " levels");
  std::vector<StructurePtr> keep;
  int32_t node = pID;
  for (size_t i = 0; i + 1 < pPath.size(); ++i) node = hChildOf(m, node, pPath[i], keep, 0, rGapBudget);
  if (pEmptyStruct) hNewChildOf(m, node, pPath.back(), keep, 0, rGapBudget);
  else hAssignPart(m, node, pPath.back(), pValue, 0, rGapBudget);
}

}  // namespace mdl_StructureScript
}  // namespace rykel
