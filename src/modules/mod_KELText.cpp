#include "modules/mod_KELText.h"

#include <cmath>
#include <optional>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/NumberFormat.h"
#include "frame/Text.h"
#include "frame/mdl_Global.h"
#include "interpreter/KELCommandTable.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELState.h"

namespace rykel {

namespace {

// What one command sees: the interpreter and its parameters (completed by SYNTAXCHECK).
struct TextCall {
  cls_KEL& k;
  const StructurePtr& p;

  Variant Get(std::string_view key) const { return p->ITEM_GET(Variant(key)); }
  // A parameter as text: a structure by its output form, data by its characters.
  std::string Str(std::string_view key) const { return Text(Get(key)); }
  std::string Text(const Variant& v) const {
    std::string s;
    if (v.isObject()) {
      s = k.hToText(v);
    } else {
      try {
        s = CStr(v);
      } catch (const std::exception&) {}
    }
    k.hDataFinish(s);
    return s;
  }
  // Every text the module gives is data: never run, whatever it holds.
  Variant Out(std::string_view s) const { return Variant(k.hData(s)); }
  Variant Fail(std::string_view title, std::string_view detail) const { return Variant(k.ERRORS(title, detail)); }
};

using Failed = std::optional<Variant>;

bool hIsEmpty(const Variant& v) {
  if (v.isEmpty() || v.isNull()) return true;
  if (v.isString()) return v.str().empty();
  if (auto s = v.as<cls_Structure>()) return s->ISEMPTY();
  return false;
}

// A number from a number, a truth value or a numeric text ("1234,5" and "1234.5" alike); dates are
// no numbers here.
bool hNumber(const TextCall& c, const Variant& v, double& rOut) {
  if (v.isDate()) return false;
  if (NumericValue(v, rOut)) return true;
  if (!v.isString()) return false;
  std::string s = c.Text(v);
  return ParseNumber(text::Trim(s), rOut);
}

Failed hSeparators(const TextCall& c, number::Separators& rSep) {
  std::string locale = c.Str("LOCALE");
  if (locale.empty()) locale = c.Text(c.k.SETTINGS->ITEM_GET(Variant("SYS.LOCALE"), Variant("de")));
  std::string u = text::UCase(locale);
  bool language = u.size() == 2 || (u.size() > 2 && (u[2] == '-' || u[2] == '_'));
  if (language && u.starts_with("DE")) rSep = number::kGerman;
  else if (language && u.starts_with("EN")) rSep = number::kEnglish;
  else return c.Fail("Unknown locale", locale);
  return std::nullopt;
}

std::string hDateText(double d, const std::string& pFormat) {
  return pFormat.empty() ? date::ToText(d) : date::Format(d, pFormat);
}

Variant hFormat(TextCall& c) {
  number::Separators sep{};
  if (auto e = hSeparators(c, sep)) return *e;
  Variant v = c.Get("VALUE");
  std::string format = c.Str("FORMAT");
  if (v.isEmpty() || v.isNull() || (v.isString() && v.str().empty())) return c.Out("");
  if (v.isDate()) return c.Out(hDateText(v.rawDouble(), format));
  double d;
  if (hNumber(c, v, d)) return c.Out(number::Format(d, format, sep));
  std::string s = c.Text(v);
  if (date::Parse(s, d)) return c.Out(hDateText(d, format));
  return c.Fail("Not a number or date", s);
}

Variant hRound(TextCall& c) {
  double d, places;
  if (!hNumber(c, c.Get("VALUE"), d)) return c.Fail("Not a number", c.Str("VALUE"));
  if (!hNumber(c, c.Get("DECIMALS"), places) || places < 0 || places > 15 || places != std::floor(places))
    return c.Fail("Decimals out of range", c.Str("DECIMALS"));
  std::string method = text::UCase(c.Str("METHOD"));
  number::RoundMode mode = number::RoundMode::Common;
  if (method == "CEIL") mode = number::RoundMode::Ceil;
  else if (method == "FLOOR") mode = number::RoundMode::Floor;
  else if (method != "COMMON" && !method.empty()) return c.Fail("Unknown rounding method", c.Str("METHOD"));
  return Variant(number::Round(d, static_cast<int>(places), mode));
}

// The characters at both ends that are blanks, tabs or line breaks, or (pChars given) among pChars.
std::string hTrim(std::string_view s, std::string_view pChars) {
  auto cut = [&](std::string_view ch) {
    if (pChars.empty()) return ch.size() == 1 && std::string_view(" \t\r\n\f\v").find(ch[0]) != std::string_view::npos;
    return pChars.find(ch) != std::string_view::npos;
  };
  size_t from = 0, to = s.size();
  while (from < to) {
    size_t n = std::max<size_t>(1, text::Utf8CharLen(s, from));
    if (!cut(s.substr(from, n))) break;
    from += n;
  }
  while (to > from) {
    size_t start = to - 1;
    while (start > from && (static_cast<unsigned char>(s[start]) & 0xC0) == 0x80) --start;
    if (!cut(s.substr(start, to - start))) break;
    to = start;
  }
  return std::string(s.substr(from, to - from));
}

Variant hCapitalize(TextCall& c) {
  std::string s = c.Str("VALUE");
  size_t n = s.empty() ? 0 : std::max<size_t>(1, text::Utf8CharLen(s, 0));
  return c.Out(text::UCase(std::string_view(s).substr(0, n)) + text::LCase(std::string_view(s).substr(n)));
}

// Numbers, dates and truth values come back as they are; texts and structures (by their output
// text) as data.
Variant hDefault(TextCall& c) {
  Variant v = c.Get("VALUE");
  if (hIsEmpty(v)) v = c.Get("DEFAULT");
  return v.isString() || v.isObject() ? c.Out(c.Text(v)) : v;
}

Variant hJoin(TextCall& c) {
  Variant v = c.Get("LIST");
  auto list = v.as<cls_Structure>();
  if (!list) return hIsEmpty(v) ? c.Out("") : c.Fail("Structure expected", "TEXT:JOIN " + c.Text(v));
  std::string separator = c.Str("SEPARATOR"), attribute = c.Str("ATTRIBUTE"), out;
  bool first = true;
  for (int32_t i = list->BASE(); i <= list->MAX(); ++i) {
    if (!list->EXISTS_GET(i)) continue;
    Variant item = list->ITEM_GET(i);
    if (!attribute.empty())
      if (auto sub = item.as<cls_Structure>()) item = sub->ITEM_GET(Variant(attribute));
    if (!first) out += separator;
    out += c.Text(item);
    first = false;
  }
  return c.Out(out);
}

Variant hLength(TextCall& c) {
  Variant v = c.Get("VALUE");
  if (auto s = v.as<cls_Structure>()) {
    int32_t n = 0;
    for (int32_t i = s->BASE(); i <= s->MAX(); ++i) n += s->EXISTS_GET(i) ? 1 : 0;
    return Variant(n);
  }
  return Variant(static_cast<int32_t>(text::Len(c.Text(v))));
}

Variant hAutoescape(TextCall& c) {
  try {
    c.k.hState().run.autoescape = mdl_Global::hCBool(c.Get("VALUE"));
  } catch (const std::exception&) { return c.Fail("Not a truth value", c.Str("VALUE")); }
  return Variant("");
}

struct TextCommand {
  std::string_view name;
  std::string_view wanted;  // for SYNTAXCHECK; empty: no check
  Variant (*run)(TextCall& c);
};

Variant hHtml(TextCall& c) { return c.Out(text::HtmlEscapeText(c.Str("VALUE"))); }
Variant hUrl(TextCall& c) { return c.Out(text::UrlEncode(c.Str("VALUE"))); }

constexpr TextCommand kTextCommands[] = {
    {"HTML", "VALUE", hHtml},
    {"ESCAPE", "VALUE", hHtml},
    {"E", "VALUE", hHtml},
    {"URL", "VALUE", hUrl},
    {"URLENCODE", "VALUE", hUrl},
    {"FORMAT", "VALUE,FORMAT='',LOCALE=''", hFormat},
    {"ROUND", "VALUE,DECIMALS=0,METHOD=common", hRound},
    {"UPPER", "VALUE", [](TextCall& c) { return c.Out(text::UCase(c.Str("VALUE"))); }},
    {"LOWER", "VALUE", [](TextCall& c) { return c.Out(text::LCase(c.Str("VALUE"))); }},
    {"CAPITALIZE", "VALUE", hCapitalize},
    {"TRIM", "VALUE,CHARS=''", [](TextCall& c) { return c.Out(hTrim(c.Str("VALUE"), c.Str("CHARS"))); }},
    {"DEFAULT", "VALUE,DEFAULT", hDefault},
    {"JOIN", "LIST,SEPARATOR='',ATTRIBUTE=''", hJoin},
    {"REPLACE", "VALUE,OLD,NEW",
     [](TextCall& c) { return c.Out(text::Replace(c.Str("VALUE"), c.Str("OLD"), c.Str("NEW"))); }},
    {"LENGTH", "VALUE", hLength},
    {"RAW", "VALUE", [](TextCall& c) { return c.Out(c.Str("VALUE")); }},
    {"LBRACE", "", [](TextCall& c) { return c.Out("{"); }},
    {"RBRACE", "", [](TextCall& c) { return c.Out("}"); }},
    {"AUTOESCAPE", "VALUE", hAutoescape},
};

}  // namespace

mod_KELText::mod_KELText() : module_(std::make_shared<cls_KELModule>()) {
  module_->ID_LET("TEXT");
  module_->EXECUTEEVENT = &mod_KELText::MODULE_EXECUTE;
  ListCommands(*module_, kTextCommands);
}

void mod_KELText::MODULE_EXECUTE(const StructurePtr&, bool& rDone, Variant& rValue, const std::string& pCmd,
                                 const StructurePtr& pParameters, cls_KEL& pKEL) {
  if (!RunCommand(kTextCommands, pCmd, pParameters, pKEL, rValue, [&](const TextCommand& row) {
        TextCall c{pKEL, pParameters};
        return row.run(c);
      }))
    rValue = Variant(pKEL.ERRORS("TEXT function not supported", pCmd));
}

}  // namespace rykel
