// mdl_DBQuery: the filter choices offered for one field (FIELDFILTERVALUES, FIELDFILTERVALUESADVANCED):
// labels and the condition texts they stand for, built from the values the listed entries hold.
#include "query/mdl_DBQuery.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "frame/mdl_Global.h"

namespace rykel::mdl_DBQuery {

namespace {
constexpr const char* kClass = "cls_DB";
constexpr size_t kTopValues = 16;

// How a text field's choices are built, by the field's name.
enum class NameRow : uint8_t { Values, Initials, MailDomains, Sites, PostalGroups };

struct NamedRow {
  std::string_view name;
  NameRow row;
};
constexpr NamedRow kNamedRows[] = {
    {"TITLE", NameRow::Initials},
    {"NAME", NameRow::Initials},
    {"FIRSTNAME", NameRow::Initials},
    {"VORNAME", NameRow::Initials},
    {"NACHNAME", NameRow::Initials},
    {"LASTNAME", NameRow::Initials},
    {"STRASSE", NameRow::Initials},
    {"STREET", NameRow::Initials},
    {"STRAßE", NameRow::Initials},
    {"FIRMA", NameRow::Initials},
    {"COMPANY", NameRow::Initials},
    {"EMAIL", NameRow::MailDomains},
    {"E-MAIL", NameRow::MailDomains},
    {"WEBSITE", NameRow::Sites},
    {"WEB", NameRow::Sites},
    {"URL", NameRow::Sites},
    {"PLZ", NameRow::PostalGroups},
    {"ZIPCODE", NameRow::PostalGroups},
    {"POSTLEITZAHL", NameRow::PostalGroups},
};

NameRow hNameRow(const std::string& pUpper) {
  for (const auto& r : kNamedRows)
    if (pUpper == r.name) return r.row;
  return NameRow::Values;
}

// True when the settings' field list ("LIST": field ID -> mark) marks the field "_DEFAULT_".
bool hMarkedDefault(const StructurePtr& pSettings, const std::string& pFieldID) {
  if (!pSettings) return false;
  Variant list = pSettings->ITEM_GET("LIST");
  if (!list.isObject()) return false;
  auto fields = list.as<cls_Structure>();
  if (!fields) return false;
  return text::UCase(CStr(fields->ITEMBYID_GET(pFieldID, Variant("")))) == "_DEFAULT_";
}

std::string hNumber(double d, bool pDecimals) {
  if (d == 0) d = 0;  // no "-0.00"
  char b[64];
  std::snprintf(b, sizeof b, pDecimals ? "%.2f" : "%.0f", d);
  return b;
}

std::string hIsoDay(int y, int m) {
  char b[16];
  std::snprintf(b, sizeof b, "%04d-%02d", y, m);
  return b;
}

using Values = std::vector<const Variant*>;
using Choices = std::vector<std::pair<std::string, std::string>>;  // label, condition

bool hBlank(const Variant& v) { return v.isEmpty() || v.isNull() || (v.isString() && v.str().empty()); }

// One choice per month that occurs ("Mai 1984": "[[ 1984-05-01 1984-06-01"), then one per year
// ("Jahr 1984": "[[ 1984-01-01 1985-01-01").
void hDateChoices(const Values& pValues, Choices& rChoices) {
  std::map<int, int> months;  // year * 100 + month
  for (const Variant* v : pValues) {
    double d;
    if (!hBlank(*v) && NumericValue(*v, d)) {
      auto parts = date::ToParts(d);
      months[parts.year * 100 + parts.month] = 1;
    }
  }
  std::map<int, int> years;
  for (const auto& [ym, one] : months) {
    int y = ym / 100, m = ym % 100;
    years[y] = 1;
    double first = 0;
    date::FromParts({y, m, 1}, first);
    int ny = m == 12 ? y + 1 : y, nm = m == 12 ? 1 : m + 1;
    rChoices.emplace_back(date::Format(first, "mmmm yyyy"), "[[ " + hIsoDay(y, m) + "-01 " + hIsoDay(ny, nm) + "-01");
  }
  for (const auto& [y, one] : years)
    rChoices.emplace_back("Jahr " + std::to_string(y),
                          "[[ " + std::to_string(y) + "-01-01 " + std::to_string(y + 1) + "-01-01");
}

// Ranges by powers of ten that hold values: [10^k, 10^(k+1)) above zero written "[[ lo hi",
// (-10^(k+1), -10^k] below it written "]] lo hi". Whole numbers start at 1; numbers shown with
// decimals go down to 0.01, and their smallest range reaches zero ("[[ 0.00 0.10"), so that no
// value is left without a range.
void hNumberChoices(const Values& pValues, bool pDecimals, Choices& rChoices) {
  const int lowest = pDecimals ? -2 : 0;
  std::map<int, int> positive, negative;
  for (const Variant* v : pValues) {
    double d;
    if (hBlank(*v) || !NumericValue(*v, d) || d == 0) continue;
    int k = std::max(lowest, static_cast<int>(std::floor(std::log10(std::fabs(d)))));
    (d > 0 ? positive : negative)[k] = 1;
  }
  auto add = [&](const char* pOp, double lo, double hi) {
    std::string a = hNumber(lo, pDecimals), b = hNumber(hi, pDecimals);
    rChoices.emplace_back(a + " - " + b, pOp + a + " " + b);
  };
  auto bound = [&](int k) { return k == lowest && pDecimals ? 0.0 : std::pow(10.0, k); };
  for (auto it = negative.rbegin(); it != negative.rend(); ++it)
    add("]] ", -std::pow(10.0, it->first + 1), -bound(it->first));
  for (const auto& [k, one] : positive) add("[[ ", bound(k), std::pow(10.0, k + 1));
  rChoices.emplace_back("0", "= 0");
  rChoices.emplace_back("Kleiner Null", "< 0");
  rChoices.emplace_back("Größer Null", "> 0");
  rChoices.emplace_back("Ungleich Null", !negative.empty() && positive.empty() ? "< 0" : "> 0");
}

// The initial letters A-Z that occur (the first character itself, as "$BEGINS" tests it).
void hInitialChoices(const Values& pValues, Choices& rChoices) {
  std::map<std::string, int> letters;
  for (const Variant* v : pValues) {
    std::string t = CStr(*v);
    char c = t.empty() ? 0 : t[0];
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    if (c >= 'A' && c <= 'Z') letters[std::string(1, c)] = 1;
  }
  for (const auto& [l, one] : letters) rChoices.emplace_back(l, "$BEGINS " + l);
}

// The mail domains that occur, from "@" on: "@web.de": "$ENDS @web.de".
void hMailChoices(const Values& pValues, Choices& rChoices) {
  std::map<std::string, int> domains;
  for (const Variant* v : pValues) {
    std::string s = text::LCase(text::Trim(CStr(*v)));
    size_t at = s.find('@');
    if (at != std::string::npos && at + 1 < s.size()) domains[s.substr(at)] = 1;
  }
  for (const auto& [d, one] : domains) rChoices.emplace_back(d, "$ENDS " + d);
}

// The web addresses that occur, a leading "www." set aside: "beispiel.de": "$CONTAINS beispiel.de".
void hSiteChoices(const Values& pValues, Choices& rChoices) {
  std::map<std::string, int> sites;
  for (const Variant* v : pValues) {
    std::string s = text::LCase(text::Trim(CStr(*v)));
    if (s.starts_with("www.")) s.erase(0, 4);
    if (!s.empty()) sites[s] = 1;
  }
  for (const auto& [site, one] : sites) rChoices.emplace_back(site, "$CONTAINS " + site);
}

// Postal codes grouped by their leading digits: one group per first digit ("4...": "BEGINS 4"),
// then one per first two digits ("48...": "BEGINS 48"), for the codes that occur.
void hPostalChoices(const Values& pValues, Choices& rChoices) {
  auto digit = [](char c) { return c >= '0' && c <= '9'; };
  std::map<std::string, int> zones, regions;
  for (const Variant* v : pValues) {
    std::string t = CStr(*v);
    std::string_view s = text::Trim(t);
    if (s.empty() || !digit(s[0])) continue;
    zones[std::string(s.substr(0, 1))] = 1;
    if (s.size() > 1 && digit(s[1])) regions[std::string(s.substr(0, 2))] = 1;
  }
  for (const auto* groups : {&zones, &regions})
    for (const auto& [g, one] : *groups) rChoices.emplace_back(g + "...", "BEGINS " + g);
}

// The values that occur, "= " and the value; when there are more than kTopValues, the most
// frequent kTopValues come first as well, keyed "Top 16-1", "Top 16-2", ...
void hValueChoices(const Values& pValues, Choices& rChoices) {
  std::map<std::string, int> counts;
  for (const Variant* v : pValues)
    if (!hBlank(*v)) ++counts[CStr(*v)];
  if (counts.size() > kTopValues) {
    std::vector<std::pair<std::string, int>> byCount(counts.begin(), counts.end());
    std::stable_sort(byCount.begin(), byCount.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
    for (size_t i = 0; i < kTopValues; ++i)
      rChoices.emplace_back("Top 16-" + std::to_string(i + 1), "= " + byCount[i].first);
  }
  for (const auto& [v, n] : counts) rChoices.emplace_back(v, "= " + v);
}
}  // namespace

StructurePtr FIELDFILTERVALUES(cls_DBStore& rDB, const Variant& pField, const std::optional<IdList>& pList) {
  return Guard(kClass, "FIELDFILTERVALUES", [&] { return FIELDFILTERVALUESADVANCED(rDB, pField, pList, nullptr); });
}

std::vector<std::pair<std::string, std::string>> FIELDFILTERCHOICES(cls_DBStore& rDB, const Variant& pField,
                                                                    const std::optional<IdList>& pList,
                                                                    const StructurePtr& pSettings) {
  return Guard(kClass, "FIELDFILTERCHOICES", [&]() -> Choices {
    int32_t no = 0;
    DBFieldPtr field = rDB.hFieldOrNull(pField, &no);
    if (!field) return {};
    const cls_DBField& f = *field;
    const auto& column = rDB.FIELDCOLUMN(no);

    Values values;
    if (pList) {
      for (const auto& id : *pList) {
        int32_t p = rDB.hEntries().Position(rDB.hEntries().NormalizeId(id));
        if (p >= 0) values.push_back(&column[static_cast<size_t>(p)]);
      }
    } else {
      for (const auto& v : column) values.push_back(&v);
    }

    Choices choices;
    const std::string name = text::UCase(f.ID);
    NameRow named = hNameRow(name);
    // A field the settings' list marks "_DEFAULT_" offers its plain values whatever its type,
    // unless its name already selects a row of its own.
    bool plain = named == NameRow::Values && hMarkedDefault(pSettings, f.ID);
    if (plain) {
      hValueChoices(values, choices);
    } else if (f.TYPE == ID_DBFieldType_Boolean) {
      choices = {{"Ja", "=True"}, {"Nein", "=False"}};
    } else if (f.TYPE == ID_DBFieldType_Date) {
      hDateChoices(values, choices);
    } else if (DBFieldTypeIsNumeric(f.TYPE) && !DBFieldTypeIsChoice(f.TYPE)) {
      hNumberChoices(values, f.TYPE == ID_DBFieldType_Double, choices);
    } else if (DBFieldTypeIsChoice(f.TYPE)) {
      for (const auto& m : f.MembersParsed()) choices.emplace_back(m.text, "CONTAINS " + m.value);
      choices.emplace_back("Nichts gewählt", "=");
      choices.emplace_back("Etwas gewählt", "!=");
    } else {
      switch (named) {
        case NameRow::Initials: hInitialChoices(values, choices); break;
        case NameRow::MailDomains: hMailChoices(values, choices); break;
        case NameRow::Sites: hSiteChoices(values, choices); break;
        case NameRow::PostalGroups: hPostalChoices(values, choices); break;
        case NameRow::Values: hValueChoices(values, choices); break;
      }
    }
    choices.emplace_back("-Leer-", "=");
    choices.emplace_back("-Nicht leer-", "!=");

    bool sort = pSettings && mdl_Global::hCBool(pSettings->ITEM_GET("SORT", false));
    if (sort) {
      std::vector<std::pair<std::string, size_t>> keys;  // upper-cased label, position
      for (size_t i = 0; i < choices.size(); ++i) keys.emplace_back(text::UCase(choices[i].first), i);
      std::stable_sort(keys.begin(), keys.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
      Choices sorted;
      for (const auto& k : keys) sorted.push_back(std::move(choices[k.second]));
      choices = std::move(sorted);
    }
    return choices;
  });
}

StructurePtr FIELDFILTERVALUESADVANCED(cls_DBStore& rDB, const Variant& pField, const std::optional<IdList>& pList,
                                       const StructurePtr& pSettings) {
  return Guard(kClass, "FIELDFILTERVALUESADVANCED", [&]() -> StructurePtr {
    auto out = cls_Structure::New();
    Choices choices = FIELDFILTERCHOICES(rDB, pField, pList, pSettings);
    if (choices.empty()) return out;
    const Variant no(rDB.FIELDFIND(pField));
    bool usage = pSettings && mdl_Global::hCBool(pSettings->ITEM_GET("SHOW.USAGE", false));
    for (auto& [label, cond] : choices) {
      if (usage) {
        IdList ids = pList ? ENTRYQUERY(rDB, no, "", Variant(cond), pList) : ENTRYQUERY(rDB, no, "", Variant(cond));
        label += " (" + std::to_string(ids.size()) + ")";
      }
      out->ITEMBYID_LET(label, Variant(cond));
    }
    return out;
  });
}

}  // namespace rykel::mdl_DBQuery
