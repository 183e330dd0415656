#include "frame/Text.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include <unicode/uchar.h>
#include <unicode/utf8.h>
#include <unicode/uvernum.h>

#include "frame/Error.h"

namespace rykel::text {

namespace {

// ICU's case mapping, loaded with the first text beyond ASCII: a process that sees only ASCII
// (most exports) neither maps libicuuc nor resolves its symbols at start-up. The names are ICU's
// versioned ones (u_toupper is a macro for u_toupper_72), so the library must be the version the
// headers are of.
#define RYKEL_TEXT_NAME2(x) #x
#define RYKEL_TEXT_NAME(x) RYKEL_TEXT_NAME2(x)
struct IcuCase {
  UChar32 (*upper)(UChar32);
  UChar32 (*lower)(UChar32);
};

const IcuCase& hIcu() {
  static const IcuCase icu = [] {
    const char* file = "libicuuc.so." U_ICU_VERSION_SHORT;
    void* lib = ::dlopen(file, RTLD_NOW | RTLD_LOCAL);
    if (!lib) Raise(err::kFileNotFound, std::string("cannot load ICU for the case of a text: ") + ::dlerror());
    IcuCase found{reinterpret_cast<UChar32 (*)(UChar32)>(::dlsym(lib, RYKEL_TEXT_NAME(u_toupper))),
                  reinterpret_cast<UChar32 (*)(UChar32)>(::dlsym(lib, RYKEL_TEXT_NAME(u_tolower)))};
    if (!found.upper || !found.lower)
      Raise(err::kFileIO, std::string(file) + " lacks " RYKEL_TEXT_NAME(u_toupper) " or " RYKEL_TEXT_NAME(u_tolower));
    return found;
  }();
  return icu;
}

// Length of the UTF-8 sequence starting with byte c (1 for stray bytes).
inline size_t hSeqLen(unsigned char c) {
  if (c < 0x80) return 1;
  if ((c & 0xE0) == 0xC0) return 2;
  if ((c & 0xF0) == 0xE0) return 3;
  if ((c & 0xF8) == 0xF0) return 4;
  return 1;
}

template <class Map>
std::string hMapCase(std::string_view s, Map map) {
  std::string out;
  out.reserve(s.size() + 4);
  int32_t i = 0;
  const int32_t n = static_cast<int32_t>(s.size());
  const auto* p = reinterpret_cast<const uint8_t*>(s.data());
  while (i < n) {
    int32_t start = i;
    UChar32 c;
    U8_NEXT(p, i, n, c);
    if (c < 0) {  // keep invalid bytes as they are
      out.append(s.substr(start, i - start));
      continue;
    }
    UChar32 m = map(c);
    char buf[4];
    int32_t len = 0;
    UBool failed = false;
    U8_APPEND(reinterpret_cast<uint8_t*>(buf), len, 4, m, failed);
    (void)failed;  // a mapped code point always fits in four bytes
    out.append(buf, len);
  }
  return out;
}

}  // namespace

size_t Utf8CharLen(std::string_view s, size_t i) {
  if (i >= s.size()) return 0;
  if (static_cast<unsigned char>(s[i]) < 0x80) return 1;
  const auto* p = reinterpret_cast<const uint8_t*>(s.data());
  const int32_t n = static_cast<int32_t>(std::min<size_t>(s.size(), i + 4));
  int32_t k = static_cast<int32_t>(i);
  UChar32 c;
  U8_NEXT(p, k, n, c);
  return c < 0 ? 0 : static_cast<size_t>(k) - i;
}

bool IsUtf8(std::string_view s) {
  size_t i = 0;
  for (; i + 8 <= s.size(); i += 8) {  // a plain ASCII start eight bytes at a time
    uint64_t w;
    std::memcpy(&w, s.data() + i, 8);
    if (w & 0x8080808080808080ull) break;
  }
  while (i < s.size()) {
    if (static_cast<unsigned char>(s[i]) < 0x80) {
      ++i;
      continue;
    }
    const size_t len = Utf8CharLen(s, i);
    if (len == 0) return false;
    i += len;
  }
  return true;
}

size_t Len(std::string_view s) {
  size_t n = 0;
  for (size_t i = 0; i < s.size(); ++n) {
    size_t l = hSeqLen(static_cast<unsigned char>(s[i]));
    i += (i + l <= s.size()) ? l : 1;
  }
  return n;
}

size_t ByteOffset(std::string_view s, size_t chars) {
  size_t i = 0;
  while (chars > 0 && i < s.size()) {
    size_t l = hSeqLen(static_cast<unsigned char>(s[i]));
    i += (i + l <= s.size()) ? l : 1;
    --chars;
  }
  return i;
}

std::string_view Left(std::string_view s, size_t n) { return s.substr(0, ByteOffset(s, n)); }

std::string_view Right(std::string_view s, size_t n) {
  size_t len = Len(s);
  if (n >= len) return s;
  return s.substr(ByteOffset(s, len - n));
}

std::string_view Mid(std::string_view s, size_t start, size_t n) {
  if (start < 1) start = 1;
  size_t b = ByteOffset(s, start - 1);
  std::string_view rest = s.substr(b);
  if (n == std::string_view::npos) return rest;
  return rest.substr(0, ByteOffset(rest, n));
}

size_t InStr(size_t start, std::string_view hay, std::string_view needle) {
  if (start < 1) start = 1;
  size_t b = ByteOffset(hay, start - 1);
  if (b > hay.size()) return 0;
  size_t pos = hay.find(needle, b);
  if (pos == std::string_view::npos) return 0;
  return Len(hay.substr(0, pos)) + 1;
}

bool IsAscii(std::string_view s) {
  size_t i = 0;
  for (; i + 8 <= s.size(); i += 8) {
    uint64_t w;
    std::memcpy(&w, s.data() + i, 8);
    if (w & 0x8080808080808080ull) return false;
  }
  for (; i < s.size(); ++i)
    if (static_cast<unsigned char>(s[i]) >= 0x80) return false;
  return true;
}

std::string UCase(std::string_view s) {
  if (IsAscii(s)) {
    std::string out(s);
    for (char& c : out)
      if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    return out;
  }
  return hMapCase(s, hIcu().upper);
}

void UCaseInPlace(std::string& s) {
  if (IsAscii(s)) {
    for (char& c : s)
      if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    return;
  }
  s = UCase(s);
}

std::string LCase(std::string_view s) {
  if (IsAscii(s)) {
    std::string out(s);
    for (char& c : out)
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    return out;
  }
  return hMapCase(s, hIcu().lower);
}

std::string_view LTrim(std::string_view s) {
  size_t i = 0;
  while (i < s.size() && s[i] == ' ') ++i;
  return s.substr(i);
}

std::string_view RTrim(std::string_view s) {
  size_t n = s.size();
  while (n > 0 && s[n - 1] == ' ') --n;
  return s.substr(0, n);
}

std::string_view Trim(std::string_view s) { return RTrim(LTrim(s)); }

std::vector<std::string> Split(std::string_view s, std::string_view delim) {
  std::vector<std::string> out;
  if (s.empty()) return out;
  if (delim.empty()) {
    out.emplace_back(s);
    return out;
  }
  size_t start = 0;
  for (;;) {
    size_t pos = s.find(delim, start);
    if (pos == std::string_view::npos) {
      out.emplace_back(s.substr(start));
      return out;
    }
    out.emplace_back(s.substr(start, pos - start));
    start = pos + delim.size();
  }
}

namespace {

enum class HtmlMode { Lines, Strict, Text };

void hAppendHtml(std::string& out, std::string_view s, HtmlMode pMode) {
  const char* lineBreak = pMode == HtmlMode::Strict ? "<br/>" : "<br>";
  for (size_t i = 0; i < s.size(); ++i) {
    char c = s[i];
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      case '\'':
        if (pMode == HtmlMode::Lines) out.push_back(c);
        else out += "&#39;";
        break;
      case '{':
      case '}':
        if (pMode != HtmlMode::Strict) out.push_back(c);
        else out += c == '{' ? "&#123;" : "&#125;";
        break;
      case '\r':
        if (pMode == HtmlMode::Text) {
          out.push_back(c);
          break;
        }
        if (i + 1 < s.size() && s[i + 1] == '\n') ++i;
        out += lineBreak;
        break;
      case '\n':
        if (pMode == HtmlMode::Text) out.push_back(c);
        else out += lineBreak;
        break;
      default: out.push_back(c);
    }
  }
}

}  // namespace

void AppendHtmlEscaped(std::string& out, std::string_view s, bool pStrict) {
  hAppendHtml(out, s, pStrict ? HtmlMode::Strict : HtmlMode::Lines);
}

std::string HtmlEscapeText(std::string_view s) {
  std::string out;
  out.reserve(s.size() + 8);
  hAppendHtml(out, s, HtmlMode::Text);
  return out;
}

std::string UrlEncode(std::string_view s) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(s.size() + 8);
  for (char ch : s) {
    auto c = static_cast<unsigned char>(ch);
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
        c == '.' || c == '~') {
      out.push_back(ch);
    } else {
      out.push_back('%');
      out.push_back(kHex[c >> 4]);
      out.push_back(kHex[c & 15]);
    }
  }
  return out;
}

std::string HtmlEscape(std::string_view s) {
  std::string out;
  out.reserve(s.size() + 8);
  AppendHtmlEscaped(out, s, false);
  return out;
}

std::string Replace(std::string_view s, std::string_view find, std::string_view with) {
  if (find.empty()) return std::string(s);
  std::string out;
  out.reserve(s.size());
  size_t start = 0;
  for (;;) {
    size_t pos = s.find(find, start);
    if (pos == std::string_view::npos) break;
    out.append(s.substr(start, pos - start));
    out.append(with);
    start = pos + find.size();
  }
  out.append(s.substr(start));
  return out;
}

}  // namespace rykel::text
