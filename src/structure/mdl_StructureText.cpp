// The readable and exchange text forms of structures: TEXT, TEXTNOTEMPTY, TEXTSHORT, TEXTVALUES,
// HTML, ENCODE / DECODE, PARAMETERS, PARAMETERSSTRUCTURED, PARAMETERSSTRUCTUREDINDENT and
// VALUELISTTEXT. Examples of each are in docs/API.md; the encoded form's grammar:
//
//   encoded -> [ pair { "&" pair } ]
//   pair    -> key [ "=" value ]            a pair without "=" assigns Empty
//   key     -> part { "." part }            parts percent-encoded; "%2E" is a literal dot,
//                                           "[i]" (encoded "%5Bi%5D") an unnamed item's index
//   value   -> the percent-encoded script literal of the value, strings bare when they read back
//              as the same string ("Anna"), quoted otherwise ("%22007%22"); "{}" an empty
//              sub-structure; "+" reads as a blank
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureManager.h"
#include "structure/mdl_StructureScript.h"

namespace rykel {

namespace {

constexpr const char* kClass = "cls_StructureManager";
using mdl_StructureScript::MaxDepth;

void hDepthGuard(int depth) {
  if (depth > MaxDepth())
    Raise(err::kInvalidData,
          "Structure nested deeper than " + std::to_string(MaxDepth()) + " levels (or holding itself)");
}

// Calls f(index, item) for every used item of the node, in index order.
template <class F>
void hEach(cls_StructureManager& m, int32_t id, F&& f) {
  const auto& items = m.Items(id);
  for (size_t i = m.HASZERO_GET(id) ? 0 : 1; i < items.size(); ++i)
    if (items[i].used) f(static_cast<int32_t>(i), items[i]);
}

// The label of an item in the readable forms: its name, or its index for an unnamed item.
std::string hLabel(cls_StructureManager& m, int32_t i, const cls_StructureManager::Item& it, bool brackets) {
  std::string_view n = m.Names().Name(it.name);
  if (!n.empty()) return std::string(n);
  return brackets ? "[" + std::to_string(i) + "]" : std::to_string(i);
}

// ---- TEXT ---------------------------------------------------------------------------------------

void hText(cls_StructureManager& m, int32_t id, int level, bool notEmpty, std::string& out, int depth) {
  hDepthGuard(depth);
  hEach(m, id, [&](int32_t i, const auto& it) {
    if (!it.isStruct && notEmpty && mdl_StructureScript::IsEmptyValue(it.value)) return;
    size_t mark = out.size();
    if (!out.empty()) out += "\r\n";
    out.append(static_cast<size_t>(level) * 2, ' ');
    out += hLabel(m, i, it, true);
    out += ':';
    if (it.isStruct) {
      size_t before = out.size();
      hText(m, it.child, level + 1, notEmpty, out, depth + 1);
      if (notEmpty && out.size() == before) out.resize(mark);
      return;
    }
    std::string v = CStr(it.value);
    if (!v.empty()) {
      out += ' ';
      out += v;
    }
  });
}

// ---- TEXTSHORT and the values of VALUELISTTEXT --------------------------------------------------

// Appends the short form; stops (returning false) once out holds more than limit bytes.
bool hShort(cls_StructureManager& m, int32_t id, std::string& out, size_t limit, int depth) {
  hDepthGuard(depth);
  bool first = true, ok = true;
  const auto& items = m.Items(id);
  for (size_t i = m.HASZERO_GET(id) ? 0 : 1; i < items.size() && ok; ++i) {
    const auto& it = items[i];
    if (!it.used) continue;
    if (!first) out += ", ";
    first = false;
    std::string_view n = m.Names().Name(it.name);
    if (!n.empty()) {
      out += n;
      out += ": ";
    }
    if (it.isStruct) {
      out += '(';
      ok = hShort(m, it.child, out, limit, depth + 1);
      out += ')';
    } else {
      for (char c : CStr(it.value)) out += (c == '\r' || c == '\n') ? ' ' : c;
    }
    if (out.size() > limit) ok = false;
  }
  return ok;
}

std::string hCut(std::string s, int32_t pCut) {
  if (pCut <= 0 || text::Len(s) <= static_cast<size_t>(pCut)) return s;
  if (pCut <= 3) return std::string(text::Left(s, static_cast<size_t>(pCut)));
  return std::string(text::Left(s, static_cast<size_t>(pCut) - 3)) + "...";
}

std::string hShortText(cls_StructureManager& m, int32_t id, int32_t pCut) {
  std::string out;
  size_t limit = pCut > 0 ? static_cast<size_t>(pCut) * 4 + 4 : SIZE_MAX;
  hShort(m, id, out, limit, 0);
  return hCut(std::move(out), pCut);
}

// The value text of an item in the list forms: a sub-structure as "(" short text ")".
std::string hItemText(cls_StructureManager& m, const cls_StructureManager::Item& it, int depth) {
  if (!it.isStruct) return CStr(it.value);
  std::string out = "(";
  hShort(m, it.child, out, SIZE_MAX, depth + 1);
  return out + ")";
}

// ---- TEXTVALUES ---------------------------------------------------------------------------------

void hValues(cls_StructureManager& m, int32_t id, std::string_view delim, std::string& out, bool& first, int depth) {
  hDepthGuard(depth);
  hEach(m, id, [&](int32_t, const auto& it) {
    if (it.isStruct) {
      hValues(m, it.child, delim, out, first, depth + 1);
      return;
    }
    if (!first) out += delim;
    first = false;
    out += CStr(it.value);
  });
}

// ---- HTML ---------------------------------------------------------------------------------------

void hHtml(cls_StructureManager& m, int32_t id, std::string& out, int depth) {
  hDepthGuard(depth);
  out += "<ul>";
  hEach(m, id, [&](int32_t, const auto& it) {
    out += "<li>";
    std::string_view n = m.Names().Name(it.name);
    if (!n.empty()) {
      out += "<b>";
      text::AppendHtmlEscaped(out, n, true);
      out += "</b>";
    }
    if (it.isStruct) {
      hHtml(m, it.child, out, depth + 1);
    } else {
      if (!n.empty()) out += ": ";
      text::AppendHtmlEscaped(out, CStr(it.value), true);
    }
    out += "</li>";
  });
  out += "</ul>";
}

// ---- ENCODE / DECODE ----------------------------------------------------------------------------

void hPercent(std::string& out, std::string_view s, bool keepDots) {
  static const char* kHex = "0123456789ABCDEF";
  for (unsigned char c : s) {
    bool keep = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
                c == '~' || (c == '.' && keepDots);
    if (keep) {
      out += static_cast<char>(c);
    } else {
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 15];
    }
  }
}

bool hUnpercent(std::string_view s, std::string& out) {
  out.clear();
  auto hex = [](char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
  };
  for (size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '+') {
      out += ' ';
    } else if (s[i] == '%') {
      if (i + 2 >= s.size()) return false;
      int a = hex(s[i + 1]), b = hex(s[i + 2]);
      if (a < 0 || b < 0) return false;
      out += static_cast<char>(a * 16 + b);
      i += 2;
    } else {
      out += s[i];
    }
  }
  return true;
}

void hEncode(cls_StructureManager& m, int32_t id, std::string& prefix, std::string& out, int depth) {
  hDepthGuard(depth);
  hEach(m, id, [&](int32_t i, const auto& it) {
    size_t mark = prefix.size();
    if (!prefix.empty()) prefix += '.';
    std::string_view n = m.Names().Name(it.name);
    if (n.empty()) hPercent(prefix, "[" + std::to_string(i) + "]", false);
    else hPercent(prefix, n, false);
    if (it.isStruct && !m.ISEMPTY(it.child)) {
      hEncode(m, it.child, prefix, out, depth + 1);
    } else {
      if (!out.empty()) out += '&';
      out += prefix;
      out += '=';
      std::string lit;
      if (it.isStruct) lit = "{}";
      else mdl_StructureScript::ValueLiteral(lit, it.value, true);
      hPercent(out, lit, true);
    }
    prefix.resize(mark);
  });
}

void hDecode(cls_StructureManager& m, int32_t id, std::string_view text) {
  std::vector<mdl_StructureScript::PathPart> path;
  std::string piece;
  size_t pairNo = 0;
  int64_t gapBudget = mdl_Limits::UnusedSlotBudget(text.size());
  auto fail = [&](const std::string& what) {
    Raise(err::kInvalidData, "Encoded data invalid (pair " + std::to_string(pairNo) + "): " + what);
  };
  while (!text.empty()) {
    size_t amp = text.find('&');
    std::string_view pair = text.substr(0, amp);
    text = amp == std::string_view::npos ? std::string_view() : text.substr(amp + 1);
    if (pair.empty()) continue;
    ++pairNo;
    size_t eq = pair.find('=');
    std::string_view key = pair.substr(0, eq);
    std::string_view val = eq == std::string_view::npos ? std::string_view() : pair.substr(eq + 1);
    path.clear();
    while (true) {
      size_t dot = key.find('.');
      if (!hUnpercent(key.substr(0, dot), piece)) fail("bad '%' escape in the key");
      if (piece.empty()) fail("empty part in the key");
      mdl_StructureScript::PathPart p;
      int64_t n = 0;
      bool isIndex = piece.size() > 2 && piece.size() < 12 && piece.front() == '[' && piece.back() == ']';
      for (size_t k = 1; isIndex && k + 1 < piece.size(); ++k) {
        if (piece[k] < '0' || piece[k] > '9') isIndex = false;
        else n = n * 10 + (piece[k] - '0');
      }
      if (isIndex) p.index = n;
      else p.name = piece;
      path.push_back(std::move(p));
      if (path.size() > static_cast<size_t>(MaxDepth())) fail("key nested too deeply");
      if (dot == std::string_view::npos) break;
      key = key.substr(dot + 1);
    }
    if (!hUnpercent(val, piece)) fail("bad '%' escape in the value");
    Variant v;
    bool emptyStruct = false;
    std::string err;
    if (!mdl_StructureScript::ReadLiteral(piece, v, emptyStruct, err)) fail(err);
    mdl_StructureScript::AssignPath(m, id, path, v, emptyStruct, &gapBudget);
  }
}

// ---- PARAMETERS ---------------------------------------------------------------------------------

void hStructured(cls_StructureManager& m, int32_t id, std::string& prefix, std::string_view indent,
                 std::string_view delim, int level, std::string& out, bool& first, int depth) {
  hDepthGuard(depth);
  hEach(m, id, [&](int32_t i, const auto& it) {
    size_t mark = prefix.size();
    if (!prefix.empty()) prefix += '.';
    prefix += hLabel(m, i, it, false);
    if (it.isStruct) {
      hStructured(m, it.child, prefix, indent, delim, level + 1, out, first, depth + 1);
    } else {
      if (!first) out += delim;
      first = false;
      for (int k = 0; k < level; ++k) out += indent;
      out += prefix;
      out += '=';
      out += CStr(it.value);
    }
    prefix.resize(mark);
  });
}

}  // namespace

std::string cls_StructureManager::TEXT(int32_t pID, int32_t pIndent) {
  return Guard(kClass, "TEXT", [&] {
    std::string out;
    hText(*this, pID, pIndent < 0 ? 0 : pIndent, false, out, 0);
    return out;
  });
}

std::string cls_StructureManager::TEXTNOTEMPTY(int32_t pID, int32_t pIndent) {
  return Guard(kClass, "TEXTNOTEMPTY", [&] {
    std::string out;
    hText(*this, pID, pIndent < 0 ? 0 : pIndent, true, out, 0);
    return out;
  });
}

std::string cls_StructureManager::TEXTSHORT(int32_t pID, int32_t pCut) {
  return Guard(kClass, "TEXTSHORT", [&] { return hShortText(*this, pID, pCut); });
}

std::string cls_StructureManager::TEXTVALUES(int32_t pID, std::string_view pDelimeter) {
  return Guard(kClass, "TEXTVALUES", [&] {
    std::string out;
    bool first = true;
    hValues(*this, pID, pDelimeter, out, first, 0);
    return out;
  });
}

std::string cls_StructureManager::HTML(int32_t pID) {
  return Guard(kClass, "HTML", [&] {
    std::string out;
    hHtml(*this, pID, out, 0);
    return out;
  });
}

std::string cls_StructureManager::ENCODE(int32_t pID) {
  return Guard(kClass, "ENCODE", [&] {
    std::string out, prefix;
    hEncode(*this, pID, prefix, out, 0);
    return out;
  });
}

void cls_StructureManager::DECODE(int32_t pID, std::string_view pText) {
  GuardVoid(kClass, "DECODE", [&] { hDecode(*this, pID, pText); });
}

std::string cls_StructureManager::PARAMETERS(int32_t pID, std::string_view pDelimeter) {
  return Guard(kClass, "PARAMETERS", [&] {
    std::string out;
    bool first = true;
    hEach(*this, pID, [&](int32_t i, const Item& it) {
      if (!first) out += pDelimeter;
      first = false;
      out += hLabel(*this, i, it, false);
      out += '=';
      out += hItemText(*this, it, 0);
    });
    return out;
  });
}

std::string cls_StructureManager::PARAMETERSSTRUCTURED(int32_t pID, std::string_view pDelimeter) {
  return Guard(kClass, "PARAMETERSSTRUCTURED", [&] {
    std::string out, prefix;
    bool first = true;
    hStructured(*this, pID, prefix, "", pDelimeter, 0, out, first, 0);
    return out;
  });
}

std::string cls_StructureManager::PARAMETERSSTRUCTUREDINDENT(int32_t pID, std::string_view pIndent,
                                                             std::string_view pDelimeter) {
  return Guard(kClass, "PARAMETERSSTRUCTUREDINDENT", [&] {
    std::string out, prefix;
    bool first = true;
    hStructured(*this, pID, prefix, pIndent, pDelimeter, 0, out, first, 0);
    return out;
  });
}

std::string cls_StructureManager::VALUELISTTEXT(int32_t pID, std::string_view pDelimeter, int32_t pMaxCount,
                                                int32_t pStartI, std::string_view pAdditional) {
  return Guard(kClass, "VALUELISTTEXT", [&] {
    std::string out;
    int32_t taken = 0;
    bool cut = false;
    const auto& items = Items(pID);
    size_t start = static_cast<size_t>(std::max(pStartI, BASE(pID)));
    for (size_t i = start; i < items.size(); ++i) {
      if (!items[i].used) continue;
      if (pMaxCount > 0 && taken == pMaxCount) {
        cut = true;
        break;
      }
      if (taken++) out += pDelimeter;
      out += hItemText(*this, items[i], 0);
    }
    if (cut) out += pAdditional;
    return out;
  });
}

}  // namespace rykel
