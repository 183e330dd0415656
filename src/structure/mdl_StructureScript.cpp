#include "structure/mdl_StructureScript.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "frame/Text.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureManager.h"

namespace rykel {
namespace mdl_StructureScript {

namespace {

bool hIsBlank(char c) { return c == ' ' || c == '\t'; }

void hAppendDouble(std::string& out, double d, bool single) {
  char buf[64];
  auto r =
      single ? std::to_chars(buf, buf + sizeof buf, static_cast<float>(d)) : std::to_chars(buf, buf + sizeof buf, d);
  std::string_view t(buf, static_cast<size_t>(r.ptr - buf));
  size_t start = out.size();
  out.append(t);
  bool hasMark = false;
  for (size_t i = start; i < out.size(); ++i) {
    if (out[i] == 'e') out[i] = 'E';
    if (out[i] == '.' || out[i] == 'E' || out[i] == 'n' || out[i] == 'i') hasMark = true;
  }
  if (!hasMark) out += ".0";
}

// A character that the quoted form writes as an escape.
inline bool hNeedsEscape(char ch) {
  unsigned char c = static_cast<unsigned char>(ch);
  return c < 0x20 || c == 0x7f || c == '"' || c == '\\';
}

bool hNeedsQuotes(std::string_view s) {
  for (char c : s)
    if (hNeedsEscape(c)) return true;
  return false;
}

// True when the bare text of s would be read back as exactly the string s.
bool hBareStringSafe(std::string_view s) {
  if (s.empty() || hIsBlank(s.front()) || hIsBlank(s.back()) || hNeedsQuotes(s)) return false;
  if (s[0] == '#' || s[0] == '{') return false;
  Variant v;
  bool emptyStruct = false;
  std::string e;
  return ReadLiteral(s, v, emptyStruct, e) && v.isString() && !emptyStruct;
}

// ---- the writer ---------------------------------------------------------------------------------

struct Writer {
  cls_StructureManager& m;
  bool notEmpty;
  std::string& out;

  // Returns false when nothing was written (SCRIPTNOTEMPTY leaves out empty blocks).
  bool Node(int32_t id, int32_t level, int depth) {
    if (depth > MaxDepth())
      Raise(err::kInvalidData,
            "Structure nested deeper than " + std::to_string(MaxDepth()) + " levels (or holding itself)");
    const auto& items = m.Items(id);
    bool any = false;
    for (size_t i = m.HASZERO_GET(id) ? 0 : 1; i < items.size(); ++i) {
      const auto& it = items[i];
      if (!it.used) continue;
      if (it.isStruct) {
        size_t mark = out.size();
        out.append(static_cast<size_t>(level), '\t');
        AppendName(out, m.Names().Name(it.name), static_cast<int32_t>(i));
        out += " {\r\n";
        bool inner = Node(it.child, level + 1, depth + 1);
        if (notEmpty && !inner) {
          out.resize(mark);
          continue;
        }
        out.append(static_cast<size_t>(level), '\t');
        out += "}\r\n";
        any = true;
        continue;
      }
      if (notEmpty && IsEmptyValue(it.value)) continue;
      out.append(static_cast<size_t>(level), '\t');
      AppendName(out, m.Names().Name(it.name), static_cast<int32_t>(i));
      out += " = ";
      ValueLiteral(out, it.value);
      out += "\r\n";
      any = true;
    }
    return any;
  }
};

}  // namespace

// ---- value literals -----------------------------------------------------------------------------

void AppendQuoted(std::string& rOut, std::string_view s) {
  rOut += '"';
  size_t plain = 0;  // start of the run of characters that need no escape
  for (size_t i = 0; i < s.size(); ++i) {
    const char c = s[i];
    if (!hNeedsEscape(c)) continue;
    rOut.append(s.data() + plain, i - plain);
    plain = i + 1;
    switch (c) {
      case '"': rOut += "\\\""; break;
      case '\\': rOut += "\\\\"; break;
      case '\r': rOut += "\\r"; break;
      case '\n': rOut += "\\n"; break;
      case '\t': rOut += "\\t"; break;
      default:
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
          static const char* kHex = "0123456789ABCDEF";
          rOut += "\\x";
          rOut += kHex[(c >> 4) & 15];
          rOut += kHex[c & 15];
        }
    }
  }
  rOut.append(s.data() + plain, s.size() - plain);
  rOut += '"';
}

void ValueLiteral(std::string& rOut, const Variant& v, bool pBareStrings) {
  switch (v.type()) {
    case VarType::Null: rOut += "NULL"; break;
    case VarType::Integer:
      rOut += std::to_string(v.rawInteger());
      rOut += '%';
      break;
    case VarType::Long: {
      char buf[16];
      rOut.append(buf, static_cast<size_t>(std::to_chars(buf, buf + sizeof buf, v.rawLong()).ptr - buf));
      break;
    }
    case VarType::Single:
      if (!std::isfinite(v.rawSingle())) {
        AppendQuoted(rOut, NumberText(v.rawSingle()));
        break;
      }
      hAppendDouble(rOut, v.rawSingle(), true);
      rOut += '!';
      break;
    case VarType::Double:
      if (!std::isfinite(v.rawDouble())) {
        AppendQuoted(rOut, NumberText(v.rawDouble()));
        break;
      }
      hAppendDouble(rOut, v.rawDouble(), false);
      break;
    case VarType::Currency:
      rOut += CurrencyText(v.rawCurrency());
      rOut += '@';
      break;
    case VarType::Date: {
      char buf[20];
      rOut += '#';
      if (date::ToIsoChars(v.rawDouble(), buf)) rOut.append(buf, 19);
      else rOut += date::ToIso(v.rawDouble());
      rOut += '#';
      break;
    }
    case VarType::Boolean: rOut += v.rawBool() ? "True" : "False"; break;
    case VarType::String:
      if (pBareStrings && hBareStringSafe(v.str())) rOut += v.str();
      else AppendQuoted(rOut, v.str());
      break;
    default: break;  // Empty, objects and error values: nothing
  }
}

bool IsEmptyValue(const Variant& v) {
  switch (v.type()) {
    case VarType::Empty:
    case VarType::Null: return true;
    case VarType::String: return v.str().empty();
    case VarType::Integer: return v.rawInteger() == 0;
    case VarType::Long: return v.rawLong() == 0;
    case VarType::Single: return v.rawSingle() == 0;
    case VarType::Double: return v.rawDouble() == 0;
    case VarType::Currency: return v.rawCurrency() == 0;
    default: return false;
  }
}

void AppendName(std::string& rOut, std::string_view pName, int32_t pIndex) {
  if (pName.empty()) {
    rOut += '[';
    rOut += std::to_string(pIndex);
    rOut += ']';
    return;
  }
  bool quote = hNeedsQuotes(pName) || hIsBlank(pName.front()) || hIsBlank(pName.back()) || pName[0] == '#' ||
               pName[0] == '[' || pName.substr(0, 2) == "//" ||
               pName.substr(0, 3) == "\xEF\xBB\xBF" ||  // at the start of a text PARSE drops it as a byte order mark
               pName.find_first_of("={}") != std::string_view::npos;
  if (quote) {
    AppendQuoted(rOut, pName);
    return;
  }
  if (pName.find('.') == std::string_view::npos) {
    rOut.append(pName);
    return;
  }
  for (char c : pName) {
    rOut += c;
    if (c == '.') rOut += '.';
  }
}

// ---- writer, reader, content moves --------------------------------------------------------------

std::string Write(cls_StructureManager& m, int32_t pID, int32_t pIndentation, bool pNotEmpty) {
  std::string out;
  Writer w{m, pNotEmpty, out};
  w.Node(pID, pIndentation < 0 ? 0 : pIndentation, 0);
  return out;
}

void WriteNode(std::string& rOut, cls_StructureManager& m, int32_t pID, int32_t pLevel, int pDepth) {
  Writer w{m, false, rOut};
  w.Node(pID, pLevel, pDepth);
}

void Empty(cls_StructureManager& m, int32_t pID) {
  const auto& items = m.Items(pID);
  if (!items.empty() && items[0].used && items[0].isStruct) m.ITEMDIRECT_LET(pID, 0, "", Variant());
  m.RESIZE(pID, 0);
  m.CLEAR(pID);
  m.CHANGED_LET(pID, true);
}

void MoveContent(cls_StructureManager& m, int32_t pFrom, int32_t pTo) { m.MoveSlots(pFrom, pTo); }

}  // namespace mdl_StructureScript

// ---- the manager's script form and structure files ----------------------------------------------

namespace {
constexpr const char* kClass = "cls_StructureManager";

std::string hFirstLine(std::string_view& rText) {
  size_t end = rText.find('\n');
  if (size_t cr = rText.substr(0, end).find('\r'); cr != std::string_view::npos) end = cr;
  std::string line(rText.substr(0, end));
  if (end == std::string_view::npos) {
    rText = {};
  } else {
    size_t skip = (rText[end] == '\r' && end + 1 < rText.size() && rText[end + 1] == '\n') ? 2 : 1;
    rText.remove_prefix(end + skip);
  }
  while (!line.empty() && (line.back() == ' ' || line.back() == '\t')) line.pop_back();
  return line;
}

// Reads the file into a fresh node and, only when that succeeds, replaces the node's content.
void hLoadInto(cls_StructureManager& m, int32_t pID, std::string_view text) {
  StructurePtr temp = m.CONVERT(m.Alloc());
  mdl_StructureScript::Parse(m, temp->SID_GET(), text);
  mdl_StructureScript::Empty(m, pID);
  mdl_StructureScript::MoveContent(m, temp->SID_GET(), pID);
}

int hCompareVersion(const Variant& a, const Variant& b) {
  double x, y;
  if (IsNumeric(a) && IsNumeric(b)) {
    x = CDbl(a);
    y = CDbl(b);
    return x < y ? -1 : (x > y ? 1 : 0);
  }
  std::string s = CStr(a), t = CStr(b);
  return s < t ? -1 : (s > t ? 1 : 0);
}
}  // namespace

std::string cls_StructureManager::SCRIPT(int32_t pID, int32_t pIndentation) {
  return Guard(kClass, "SCRIPT", [&] { return mdl_StructureScript::Write(*this, pID, pIndentation, false); });
}

std::string cls_StructureManager::SCRIPTNOTEMPTY(int32_t pID, int32_t pIndentation) {
  return Guard(kClass, "SCRIPTNOTEMPTY", [&] { return mdl_StructureScript::Write(*this, pID, pIndentation, true); });
}

void cls_StructureManager::PARSE(int32_t pID, std::string_view pText) {
  GuardVoid(kClass, "PARSE", [&] { mdl_StructureScript::Parse(*this, pID, pText); });
}

bool cls_StructureManager::SAVE(int32_t pID, const std::string& pFile) {
  return Guard(kClass, "SAVE", [&] {
    fileio::WriteFileAtomic(pFile, mdl_StructureScript::Write(*this, pID, 0, false));
    return true;
  });
}

bool cls_StructureManager::LOAD(int32_t pID, const std::string& pFile) {
  return Guard(kClass, "LOAD", [&] {
    hLoadInto(*this, pID, fileio::ReadFile(pFile));
    return true;
  });
}

bool cls_StructureManager::LOADEX(int32_t pID, const std::string& pFile) {
  return Guard(kClass, "LOADEX", [&] {
    std::string text;
    try {
      text = fileio::ReadFile(pFile);
      hLoadInto(*this, pID, text);
    } catch (const Error&) {
      return false;  // missing, unreadable or invalid: the node stays as it was
    }
    return true;
  });
}

bool cls_StructureManager::SAVESIGNATURE(int32_t pID, const std::string& pFile, const Variant& pSignature,
                                         const Variant& pVersion) {
  return Guard(kClass, "SAVESIGNATURE", [&] {
    std::string text = "// " + CStr(pSignature) + "\r\n// Version = " + CStr(pVersion) + "\r\n";
    text += mdl_StructureScript::Write(*this, pID, 0, false);
    fileio::WriteFileAtomic(pFile, text);
    return true;
  });
}

bool cls_StructureManager::LOADSIGNATURE(int32_t pID, const std::string& pFile, const Variant& pSignature,
                                         const Variant& pVersionMin, const Variant& pVersionMax) {
  return Guard(kClass, "LOADSIGNATURE", [&] {
    std::string data = fileio::ReadFile(pFile);
    std::string_view rest(data);
    if (rest.substr(0, 3) == "\xEF\xBB\xBF") rest.remove_prefix(3);
    std::string first = hFirstLine(rest), second = hFirstLine(rest);
    std::string want = "// " + CStr(pSignature);
    if (first != want)
      Raise(err::kInvalidData, "File '" + pFile + "' has not the signature '" + CStr(pSignature) + "'");
    constexpr std::string_view kVersion = "// Version = ";
    if (second.compare(0, kVersion.size(), kVersion) != 0)
      Raise(err::kInvalidData, "File '" + pFile + "' has no '// Version = ' line");
    Variant version(std::string_view(second).substr(kVersion.size()));
    if ((!pVersionMin.isEmpty() && hCompareVersion(version, pVersionMin) < 0) ||
        (!pVersionMax.isEmpty() && hCompareVersion(version, pVersionMax) > 0))
      Raise(err::kInvalidData, "File '" + pFile + "' has version " + CStr(version) + ", expected " +
                                   (pVersionMin.isEmpty() ? std::string("any") : CStr(pVersionMin)) + " to " +
                                   (pVersionMax.isEmpty() ? std::string("any") : CStr(pVersionMax)));
    hLoadInto(*this, pID, rest);
    return true;
  });
}

}  // namespace rykel