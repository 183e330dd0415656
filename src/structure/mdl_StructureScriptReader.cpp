// The reading half of the script form: value literals, key paths and PARSE (the grammar is at the
// top of mdl_StructureScript.h).
#include "structure/mdl_StructureScript.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <limits>
#include <vector>

#include "frame/DateTime.h"
#include "frame/Error.h"
#include "structure/SameText.h"
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
  // digits "." digits with at most 15 digits in all: the digits as a whole number are exact in a
  // double, and so is the power of ten, so one division rounds as from_chars does
  static constexpr double kTen[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  const bool neg = s[0] == '-';
  size_t i = neg ? 1 : 0, dot = 0, digits = 0;
  int64_t whole = 0;
  for (; i < s.size() && digits <= 15; ++i) {
    if (s[i] >= '0' && s[i] <= '9') {
      whole = whole * 10 + (s[i] - '0');
      ++digits;
    } else if (s[i] == '.' && dot == 0 && digits > 0 && i + 1 < s.size()) {
      dot = i;
    } else {
      break;
    }
  }
  if (i == s.size() && digits > 0 && digits <= 15) {
    const double d = dot ? static_cast<double>(whole) / kTen[s.size() - dot - 1] : static_cast<double>(whole);
    out = neg ? -d : d;
    return true;
  }
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

// The character of the escape whose letter is at p (after the backslash; end: the text's end),
// with in rUsed the characters it takes from p on; -1 when it is none (an "\x" needs two hex digits).
int hEscape(const char* p, const char* end, int& rUsed) {
  rUsed = 1;
  switch (*p) {
    case '\\': return '\\';
    case '"': return '"';
    case 'r': return '\r';
    case 'n': return '\n';
    case 't': return '\t';
    case 'x': {
      const int h1 = end - p > 1 ? hHex(p[1]) : -1;
      const int h2 = end - p > 2 ? hHex(p[2]) : -1;
      if (h1 < 0 || h2 < 0) return -1;
      rUsed = 3;
      return h1 * 16 + h2;
    }
    default: return -1;
  }
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
    int used;
    const int c = hEscape(s.data() + i, s.data() + s.size(), used);
    if (c < 0) {
      rError = s[i] == 'x' ? "'\\x' needs two hexadecimal digits" : std::string("unknown escape '\\") + s[i] + "'";
      return false;
    }
    rOut += static_cast<char>(c);
    i += static_cast<size_t>(used);
  }
  rError = "unfinished string (closing '\"' expected)";
  return false;
}

// What hLiteral read: a value, "{}" or nothing valid (rError says why).
enum class Literal { kValue, kEmptyStruct, kError };

// The value of a whole literal (already trimmed). The first character decides the kind, so each
// text is compared only with the forms that start like it.
Variant hLiteral(std::string_view s, Literal& rKind, std::string& rError) {
  rKind = Literal::kValue;
  if (s.empty()) return Variant();
  const char first = s[0];
  if (first == '-' || first == '+' || first == '.' || (first >= '0' && first <= '9')) {
    const char suffix = s.back();
    const std::string_view body = s.substr(0, s.size() - 1);
    int64_t n;
    double d;
    switch (suffix) {
      case '%':
        if (hIntText(body, n) && n >= -32768 && n <= 32767) return Variant(static_cast<int16_t>(n));
        break;
      case '&':
        if (hIntText(body, n) && n >= INT32_MIN && n <= INT32_MAX) return Variant(static_cast<int32_t>(n));
        break;
      case '!':
        if (hRealText(body, d)) return Variant(static_cast<float>(d));
        break;
      case '@':
        if (hCurrencyText(body, n)) return Variant::Currency(n);
        break;
      default:
        if (hIntText(s, n) && n >= INT32_MIN && n <= INT32_MAX) return Variant(static_cast<int32_t>(n));
        if (hRealText(s, d)) return Variant(d);
    }
    return Variant(s);  // bare text
  }
  switch (first) {
    case '"': {
      // the usual case, a text without escapes closing the literal, needs no buffer
      size_t stop = 1;
      while (stop < s.size() && s[stop] != '"' && s[stop] != '\\') ++stop;
      if (stop + 1 == s.size() && s[stop] == '"') return Variant(s.substr(1, stop - 1));
      std::string t;
      size_t end = 0;
      if (!hReadQuoted(s, t, end, rError)) break;
      if (!hTrimWs(s.substr(end)).empty()) {
        rError = "nothing may follow the closing '\"'";
        break;
      }
      return Variant(t);
    }
    case '{':
      if (s != "{}") return Variant(s);
      rKind = Literal::kEmptyStruct;
      return Variant();
    case '#':
      if (s.size() >= 2 && s.back() == '#') {
        double d;
        if (date::Parse(s.substr(1, s.size() - 2), d)) return Variant::Date(d);
        rError = "invalid date '" + std::string(s) + "'";
        break;
      }
      return Variant(s);
    case 'n':
    case 'N': return hIEquals(s, "NULL") ? Variant::Null() : Variant(s);
    case 't':
    case 'T': return hIEquals(s, "TRUE") ? Variant(true) : Variant(s);
    case 'f':
    case 'F': return hIEquals(s, "FALSE") ? Variant(false) : Variant(s);
    default: return Variant(s);  // bare text
  }
  rKind = Literal::kError;
  return Variant();
}

// ---- the reader ---------------------------------------------------------------------------------

using Part = PathPart;

// An open block. Its reference on the node keeps it alive while it is open.
struct Block {
  int32_t id;
  size_t line;
  size_t depth;           // nesting level of the block's node (the top node is 0)
  bool fresh;             // the node had no named items when opened, and only this reader names them
  uint64_t names = 0;     // in a fresh node: bit (atom mod 64) set for every name it holds
  int32_t lastItems = 0;  // MAX of the last fresh block closed inside this one
  std::string_view name;  // the name as the quick way read it (in the text)
  std::string ownName;    // the name as the general way read it
  std::string_view Name() const { return ownName.empty() ? name : std::string_view(ownName); }
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

// The reader walks the text once. A line of the shapes SCRIPT writes (a bare name without dots,
// then "= value", "{" or "= {"; "}"; blank and comment lines) is read in place and written
// straight into the slots of the open block; any other line, and any line that would fail, goes
// the general way (Line), which splits it into a path and gives every error message. The quick
// way only ever takes lines the general way reads to the same tree.
class Parser {
 public:
  Parser(cls_StructureManager& m, int32_t id, size_t textBytes)
      : m_(m), gapBudget_(mdl_Limits::UnusedSlotBudget(textBytes)), maxDepth_(static_cast<size_t>(MaxDepth())) {
    // a node without items is fresh: only this reader gives it names
    const bool fresh = m.Valid(id) && m.Items(id).size() == 1 && !m.Items(id)[0].used;
    stack_.push_back({id, 0, 0, fresh, 0, 0, {}, {}});
  }
  Parser(const Parser&) = delete;
  Parser& operator=(const Parser&) = delete;
  ~Parser() {
    for (size_t i = 1; i < stack_.size(); ++i) m_.ReleaseNoThrow(stack_[i].id);
  }

  // Reads every line; pFast false takes each line the general way (for tests that compare).
  void Run(std::string_view text, bool pFast) {
    const char* p = text.data();
    const char* const end = p + text.size();
    size_t lineNo = 0;
    while (p < end) {
      line_ = ++lineNo;
      if (!keep_.empty()) keep_.clear();
      if (pFast) {
        if (const char* next = hQuickLine(p, end)) {
          p = next;
          continue;
        }
      }
      const size_t from = static_cast<size_t>(p - text.data());
      const size_t stop = hLineEnd(text, from);
      Line(text.substr(from, stop == std::string_view::npos ? std::string_view::npos : stop - from), lineNo);
      if (stop == std::string_view::npos) break;
      p = hNextLine(text.data() + stop, end);
    }
    Finish();
  }

  void Line(std::string_view raw, size_t lineNo) {
    line_ = lineNo;
    keep_.clear();
    stack_.back().fresh = false;  // what this line writes is not tracked
    std::string_view s = hTrimWs(raw);
    if (s.empty() || s[0] == '#' || s.substr(0, 2) == "//") return;
    if (s == "}") {
      if (stack_.size() == 1) hFail("'}' without an open block");
      hPop();
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
      Raise(err::kInvalidData, "Script data invalid: '}' expected (to close '" + std::string(b.Name()) + "' at line " +
                                   std::to_string(b.line) + ")");
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
    if (stack_.back().depth + extra > maxDepth_) hFail("nested deeper than " + std::to_string(maxDepth_) + " levels");
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
    hPush(child, levels, false);
    stack_.back().ownName = std::move(name);
    keep_.clear();
  }

  // The open block holds a reference on its node until it closes.
  void hPush(int32_t child, size_t levels, bool fresh) {
    stack_.push_back({child, line_, stack_.back().depth + levels, fresh, 0, 0, {}, {}});
    m_.AddRef(child);
  }
  void hPop() {
    const int32_t id = stack_.back().id;
    const bool fresh = stack_.back().fresh;
    stack_.pop_back();
    if (fresh) stack_.back().lastItems = m_.MAX(id);
    m_.Release(id);
  }

  // ---- the quick way ----------------------------------------------------------------------------

  // Bytes of a bare name the quick way takes (not blanks, "=", "{", "}", ".", '"', control chars).
  static constexpr std::array<bool, 256> kNameByte = [] {
    std::array<bool, 256> t{};
    for (int c = 0x20; c < 256; ++c) t[c] = true;
    for (char c : {' ', '=', '{', '}', '.', '"'}) t[static_cast<unsigned char>(c)] = false;
    return t;
  }();
  // Bytes that end a run of plain text in a quoted value.
  static constexpr std::array<bool, 256> kQuoteStop = [] {
    std::array<bool, 256> t{};
    for (char c : {'"', '\\', '\r', '\n'}) t[static_cast<unsigned char>(c)] = true;
    return t;
  }();

  static const char* hSkipBlanks(const char* p, const char* end) {
    while (p < end && hIsBlank(*p)) ++p;
    return p;
  }
  static bool hAtLineEnd(const char* p, const char* end) { return p == end || *p == '\n' || *p == '\r'; }
  // Past the line break at p ("\r\n", "\r" or "\n"; nothing at the end of the text).
  static const char* hNextLine(const char* p, const char* end) {
    if (p == end) return end;
    if (*p++ == '\r' && p < end && *p == '\n') ++p;
    return p;
  }
  static const char* hToLineEnd(const char* p, const char* end) {
    while (p < end && *p != '\n' && *p != '\r') ++p;
    return p;
  }

  // Reads the line at p when it has one of the usual shapes and nothing in it fails; returns the
  // start of the next line, or nullptr (with nothing written) to leave the line to Line.
  const char* hQuickLine(const char* p, const char* end) {
    p = hSkipBlanks(p, end);
    if (hAtLineEnd(p, end)) return hNextLine(p, end);
    const auto c = static_cast<unsigned char>(*p);
    if (c == '#' || (c == '/' && end - p >= 2 && p[1] == '/')) return hNextLine(hToLineEnd(p, end), end);
    if (c == '}') {
      p = hSkipBlanks(p + 1, end);
      if (!hAtLineEnd(p, end) || stack_.size() == 1) return nullptr;
      hPop();
      return hNextLine(p, end);
    }
    if (!kNameByte[c] || c == '[' || c == '/') return nullptr;
    const char* const nameStart = p;
    while (p < end && kNameByte[static_cast<unsigned char>(*p)]) ++p;
    const std::string_view name(nameStart, static_cast<size_t>(p - nameStart));
    p = hSkipBlanks(p, end);
    if (p == end || stack_.back().depth + 1 > maxDepth_) return nullptr;
    if (*p == '{') {
      p = hSkipBlanks(p + 1, end);
      if (!hAtLineEnd(p, end)) return nullptr;
      hQuickOpen(name);
      return hNextLine(p, end);
    }
    if (*p != '=') return nullptr;
    p = hSkipBlanks(p + 1, end);
    if (p < end && *p == '"') {
      std::string_view text;
      p = hQuickQuoted(p + 1, end, text);
      if (!p) return nullptr;
      p = hSkipBlanks(p, end);
      if (!hAtLineEnd(p, end)) return nullptr;
      hQuickAssign(name, Variant(text));
      return hNextLine(p, end);
    }
    const char* const from = p;
    p = hToLineEnd(p, end);
    const char* to = p;
    while (to > from && hIsBlank(to[-1])) --to;
    const std::string_view text(from, static_cast<size_t>(to - from));
    if (text.size() == 1 && text[0] == '{') {
      hQuickOpen(name);
      return hNextLine(p, end);
    }
    Literal kind;
    Variant value = hLiteral(text, kind, err_);
    if (kind == Literal::kError) return nullptr;
    if (kind == Literal::kEmptyStruct) hQuickChild(name);
    else hQuickAssign(name, std::move(value));
    return hNextLine(p, end);
  }

  // The text of a quoted value from just after its opening quote; returns the position after the
  // closing quote, or nullptr for what the general way refuses (a bad escape, no closing quote).
  const char* hQuickQuoted(const char* p, const char* end, std::string_view& rText) {
    const char* run = p;
    while (p < end && !kQuoteStop[static_cast<unsigned char>(*p)]) ++p;
    if (p < end && *p == '"') {
      rText = std::string_view(run, static_cast<size_t>(p - run));
      return p + 1;
    }
    std::string& buf = text_;
    buf.clear();
    for (;;) {
      buf.append(run, static_cast<size_t>(p - run));
      if (p == end || *p == '\r' || *p == '\n') return nullptr;
      if (*p == '"') break;
      if (++p == end) return nullptr;  // after the backslash
      int used;
      const int c = hEscape(p, end, used);
      if (c < 0) return nullptr;
      buf += static_cast<char>(c);
      run = p += used;
      while (p < end && !kQuoteStop[static_cast<unsigned char>(*p)]) ++p;
    }
    rText = buf;
    return p + 1;
  }

  // The name's atom, from a small cache of names as written: a name met before in this text is
  // not upper-cased and looked up again.
  ItemName hQuickName(std::string_view s) {
    const auto b = [&](size_t i) { return static_cast<uint32_t>(static_cast<unsigned char>(s[i])); };
    const uint32_t mix = (b(0) | b(s.size() / 2) << 8 | b(s.size() - 1) << 16) ^ static_cast<uint32_t>(s.size()) << 24;
    NameSlot& e = names_[(mix * 0x9E3779B1u) >> (32 - kNameBits)];
    if (SameText({e.data, e.size}, s)) return e.name;
    const ItemName name = m_.NAME(s);
    e = {s.data(), s.size(), name};
    return name;
  }

  // True when the open block holds no item of this name. A fresh block knows its names by a bit
  // per atom (atom mod 64): a clear bit is a new name without a lookup.
  bool hIsNew(ItemName name) {
    Block& b = stack_.back();
    const uint64_t bit = uint64_t{1} << (name.atom & 63);
    const bool known = !b.fresh || (b.names & bit);
    b.names |= bit;
    return !known || m_.FindSlot(b.id, name) < 0;
  }

  // name = value, into the open block: the rule of hAssignPart for a scalar.
  void hQuickAssign(std::string_view pName, Variant&& value) {
    const ItemName name = hQuickName(pName);
    const int32_t node = stack_.back().id;
    if (hIsNew(name)) m_.AppendItem(node, name.atom, std::move(value));
    else m_.ITEM_LET(node, name, value);
  }

  // A new sub-structure under a name the open block does not hold yet; the slot owns it.
  int32_t hQuickNewChild(uint32_t atom) {
    const int32_t node = stack_.back().id;
    const int32_t child = m_.Alloc();
    try {
      m_.AppendItem(node, atom, Variant(), child);
    } catch (...) {
      m_.Release(child);
      throw;
    }
    return child;
  }

  // name = {}: a new empty sub-structure, replacing what the name held.
  void hQuickChild(std::string_view pName) {
    const ItemName name = hQuickName(pName);
    if (hIsNew(name)) {
      hQuickNewChild(name.atom);
      return;
    }
    Part part;
    part.name.assign(pName);
    hNewChild(stack_.back().id, part);
  }

  // name { : opens the sub-structure under the name, made when missing or a scalar. A new block
  // gets room for as many items as the block before it at this level had: records repeat.
  void hQuickOpen(std::string_view pName) {
    const ItemName name = hQuickName(pName);
    if (hIsNew(name)) {
      const int32_t items = stack_.back().lastItems;
      const int32_t child = hQuickNewChild(name.atom);
      if (items > 0) m_.ReserveSlots(child, static_cast<size_t>(std::min(items, kReserveMax)));
      hPush(child, 1, true);
    } else {
      Part part;
      part.name.assign(pName);
      hPush(hChild(stack_.back().id, part), 1, false);
      keep_.clear();
    }
    stack_.back().name = pName;
  }

  struct NameSlot {
    const char* data = nullptr;  // the name as written, in the text being read
    size_t size = 0;
    ItemName name;
  };
  static constexpr int kNameBits = 7;
  static constexpr int32_t kReserveMax = 64;  // items reserved for a new block at most

  cls_StructureManager& m_;
  int64_t gapBudget_;  // unused slots the "[i]" names of this text may still open
  const size_t maxDepth_;
  std::vector<Block> stack_;
  std::vector<StructurePtr> keep_;  // handles met on the current line
  std::vector<Part> parts_;         // the name of the current line
  std::string err_;
  std::string text_;  // a quoted value with escapes
  std::array<NameSlot, 1 << kNameBits> names_{};
  size_t line_ = 0;
};

}  // namespace

// ---- value literals, paths, PARSE ------------------------------------------------------------------

bool ReadLiteral(std::string_view s, Variant& rValue, bool& rEmptyStruct, std::string& rError) {
  Literal kind;
  rValue = hLiteral(s, kind, rError);
  rEmptyStruct = kind == Literal::kEmptyStruct;
  return kind != Literal::kError;
}

void Parse(cls_StructureManager& m, int32_t pID, std::string_view pText, bool pQuick) {
  mdl_Limits::CheckInputSize(pText.size(), "Script text");
  if (pText.substr(0, 3) == "\xEF\xBB\xBF") pText.remove_prefix(3);  // UTF-8 byte order mark
  Parser(m, pID, pText.size()).Run(pText, pQuick);
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
