// cls_DB: the filter choices offered for one field (FIELDFILTERVALUES, FIELDFILTERVALUESADVANCED):
// labels and the condition texts they stand for, built from the values the listed entries hold.
#include <algorithm>
#include <cmath>
#include <map>

#include "database/cls_DB.h"
#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/mdl_Global.h"
#include "frame/Error.h"
#include "frame/Text.h"

namespace rykel {

namespace {
constexpr const char* kClass = "cls_DB";
constexpr size_t kTopValues = 16;

bool hNameIs(const std::string& pUpper, std::initializer_list<std::string_view> pNames) {
  for (auto n : pNames)
    if (pUpper == n) return true;
  return false;
}

std::string hNumber(double d, bool pDecimals) {
  char b[64];
  std::snprintf(b, sizeof b, pDecimals ? "%.2f" : "%.0f", d);
  return b;
}

std::string hIsoDay(int y, int m) {
  char b[16];
  std::snprintf(b, sizeof b, "%04d-%02d", y, m);
  return b;
}
}  // namespace

StructurePtr cls_DB::FIELDFILTERVALUES(const Variant& pField, const std::optional<IdList>& pList) {
  return Guard(kClass, "FIELDFILTERVALUES", [&] { return FIELDFILTERVALUESADVANCED(pField, pList, nullptr); });
}

StructurePtr cls_DB::FIELDFILTERVALUESADVANCED(const Variant& pField, const std::optional<IdList>& pList,
                                               const StructurePtr& pSettings) {
  return Guard(kClass, "FIELDFILTERVALUESADVANCED", [&]() -> StructurePtr {
    auto out = cls_Structure::New();
    int32_t no = 0;
    DBFieldPtr field = hFieldOrNull(pField, &no);
    if (!field) return out;
    const cls_DBField& f = *field;
    const auto& column = FIELDCOLUMN(no);

    std::vector<const Variant*> values;
    if (pList) {
      for (const auto& id : *pList) {
        int32_t p = entries_.Position(entries_.NormalizeId(id));
        if (p >= 0) values.push_back(&column[static_cast<size_t>(p)]);
      }
    } else {
      for (const auto& v : column) values.push_back(&v);
    }
    auto blank = [](const Variant& v) { return v.isEmpty() || v.isNull() || (v.isString() && v.str().empty()); };

    std::vector<std::pair<std::string, std::string>> choices;  // label, condition
    const std::string name = text::UCase(f.ID);
    if (f.TYPE == ID_DBFieldType_Boolean) {
      choices = {{"Ja", "=True"}, {"Nein", "=False"}};
    } else if (f.TYPE == ID_DBFieldType_Date) {
      std::map<int, int> months;  // year * 100 + month
      for (const Variant* v : values) {
        double d;
        if (!blank(*v) && NumericValue(*v, d)) {
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
        choices.emplace_back(date::Format(first, "mmmm yyyy"), "[[ " + hIsoDay(y, m) + "-01 " + hIsoDay(ny, nm) + "-01");
      }
      for (const auto& [y, one] : years)
        choices.emplace_back("Jahr " + std::to_string(y),
                             "[[ " + std::to_string(y) + "-01-01 " + std::to_string(y + 1) + "-01-01");
    } else if (DBFieldTypeIsNumeric(f.TYPE) && !DBFieldTypeIsChoice(f.TYPE)) {
      // Ranges by powers of ten: [10^k, 10^(k+1)) above zero, (-10^(k+1), -10^k] below it.
      bool decimals = f.TYPE == ID_DBFieldType_Double;
      std::map<int, int> positive, negative;
      bool anyNegative = false;
      for (const Variant* v : values) {
        double d;
        if (blank(*v) || !NumericValue(*v, d) || d == 0) continue;
        int k = static_cast<int>(std::floor(std::log10(std::fabs(d))));
        (d > 0 ? positive : negative)[k] = 1;
        anyNegative = anyNegative || d < 0;
      }
      for (auto it = negative.rbegin(); it != negative.rend(); ++it) {
        double lo = -std::pow(10.0, it->first + 1), hi = -std::pow(10.0, it->first);
        choices.emplace_back(hNumber(lo, decimals) + " - " + hNumber(hi, decimals),
                             "]] " + hNumber(lo, decimals) + " " + hNumber(hi, decimals));
      }
      for (const auto& [k, one] : positive) {
        double lo = std::pow(10.0, k), hi = std::pow(10.0, k + 1);
        choices.emplace_back(hNumber(lo, decimals) + " - " + hNumber(hi, decimals),
                             "[[ " + hNumber(lo, decimals) + " " + hNumber(hi, decimals));
      }
      choices.emplace_back("0", "= 0");
      choices.emplace_back("Kleiner Null", "< 0");
      choices.emplace_back("Größer Null", "> 0");
      choices.emplace_back("Ungleich Null", anyNegative && positive.empty() ? "< 0" : "> 0");
    } else if (DBFieldTypeIsChoice(f.TYPE)) {
      for (const auto& m : f.MembersParsed()) choices.emplace_back(m.text, "CONTAINS " + m.value);
      choices.emplace_back("Nichts gewählt", "=");
      choices.emplace_back("Etwas gewählt", "!=");
    } else if (hNameIs(name, {"TITLE", "NAME", "FIRSTNAME", "VORNAME", "NACHNAME", "LASTNAME", "STRASSE", "STREET",
                              "STRAßE", "FIRMA", "COMPANY"})) {
      std::map<std::string, int> letters;
      for (const Variant* v : values) {
        std::string u = text::UCase(text::Left(text::Trim(CStr(*v)), 1));
        if (u.size() == 1 && u[0] >= 'A' && u[0] <= 'Z') letters[u] = 1;
      }
      for (const auto& [l, one] : letters) choices.emplace_back(l, "$BEGINS " + l);
    } else if (hNameIs(name, {"EMAIL", "E-MAIL"})) {
      std::map<std::string, int> domains;
      for (const Variant* v : values) {
        std::string s = text::LCase(CStr(*v));
        size_t at = s.find('@');
        if (at != std::string::npos) domains[s.substr(at)] = 1;
      }
      for (const auto& [d, one] : domains) choices.emplace_back(d, "$ENDS " + d);
    } else if (hNameIs(name, {"WEBSITE", "WEB", "URL"})) {
      std::map<std::string, int> sites;
      for (const Variant* v : values) {
        std::string s = text::LCase(text::Trim(CStr(*v)));
        if (s.starts_with("www.")) s.erase(0, 4);
        if (!s.empty()) sites[s] = 1;
      }
      for (const auto& [s, one] : sites) choices.emplace_back(s, "$CONTAINS " + s);
    } else if (hNameIs(name, {"PLZ", "ZIPCODE", "POSTLEITZAHL"})) {
      std::map<std::string, int> groups;
      for (const Variant* v : values) {
        std::string s(text::Trim(CStr(*v)));
        if (!s.empty() && s[0] >= '0' && s[0] <= '9') groups[s.substr(0, 1)] = 1;
      }
      for (const auto& [g, one] : groups) choices.emplace_back(g + "...", "BEGINS " + g);
    } else {
      // The values that occur; the most frequent kTopValues first, keyed "Top 16-<n>".
      std::map<std::string, int> counts;
      for (const Variant* v : values)
        if (!blank(*v)) ++counts[CStr(*v)];
      std::vector<std::pair<std::string, int>> byCount(counts.begin(), counts.end());
      std::stable_sort(byCount.begin(), byCount.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
      if (byCount.size() > kTopValues) {
        for (size_t i = 0; i < kTopValues; ++i)
          choices.emplace_back("Top 16-" + std::to_string(i + 1), "= " + byCount[i].first);
      }
      for (const auto& [v, n] : counts) choices.emplace_back(v, "= " + v);
    }
    choices.emplace_back("-Leer-", "=");
    choices.emplace_back("-Nicht leer-", "!=");

    bool sort = false, usage = false, listOnly = false;
    if (pSettings) {
      sort = mdl_Global::hCBool(pSettings->ITEM_GET("SORT", false));
      usage = mdl_Global::hCBool(pSettings->ITEM_GET("SHOW.USAGE", false));
      listOnly = mdl_Global::hCBool(pSettings->ITEM_GET("LIST", false));
    }
    if (sort) std::stable_sort(choices.begin(), choices.end(), [](const auto& a, const auto& b) {
        return text::UCase(a.first) < text::UCase(b.first);
      });
    for (auto& [label, cond] : choices) {
      if (usage) {
        IdList ids = pList ? ENTRYQUERY(Variant(no), "", Variant(cond), pList) : ENTRYQUERY(Variant(no), "", Variant(cond));
        label += " (" + std::to_string(ids.size()) + ")";
      }
      if (listOnly) out->ADD(Variant(label));
      else out->ITEMBYID_LET(label, Variant(cond));
    }
    return out;
  });
}

}  // namespace rykel
