// mdl_DBQuery: filters (ENTRYFILTER, ENTRYFILTERADVANCED), merging of conditions (FILTERCOMBINE), the
// filter choices offered for a field (FIELDFILTERVALUES...) and FIELDSELECT. Every condition is
// answered by ENTRYQUERY, so filters read conditions exactly as queries do.
#include "query/mdl_DBQuery.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <unordered_set>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Notifier.h"
#include "frame/Text.h"
#include "query/cls_DBCondition.h"

namespace rykel::mdl_DBQuery {

namespace {
constexpr const char* kClass = "cls_DB";

// The items of a structure as (name, value) pairs, in item order.
std::vector<std::pair<std::string, Variant>> hItems(const StructurePtr& s) {
  std::vector<std::pair<std::string, Variant>> out;
  if (!s) return out;
  for (int32_t i = s->BASE(); i <= s->MAX(); ++i) {
    std::string name = s->ID_GET(i);
    if (!name.empty()) out.emplace_back(std::move(name), s->ITEM_GET(Variant(i), {}, true));
  }
  return out;
}

// A condition split as FILTERCOMBINE reads it: an operator prefix of "$=<>![]", or else the first
// blank-separated word, and the value.
std::pair<std::string, std::string> hSplitCondition(std::string_view c) {
  c = text::Trim(c);
  constexpr std::string_view kPrefix = "$=<>![]";
  size_t n = 0;
  while (n < c.size() && kPrefix.find(c[n]) != std::string_view::npos) ++n;
  if (n == 0) {
    n = c.find(' ');
    if (n == std::string_view::npos) return {"", std::string(c)};
  }
  return {text::UCase(c.substr(0, n)), std::string(text::Trim(c.substr(n)))};
}

// Joins the items of both lists, each once, in order of first appearance.
std::string hMerge(std::vector<std::string> a, const std::vector<std::string>& b) {
  for (const auto& item : b)
    if (std::find(a.begin(), a.end(), item) == a.end()) a.push_back(item);
  std::string out;
  for (size_t i = 0; i < a.size(); ++i) out += (i ? "," : "") + a[i];
  return out;
}
}  // namespace

IdList ENTRYFILTER(cls_DBStore& rDB, const Variant& pView, const StructurePtr& pFilters, const std::string& pSort,
                   bool pSortRev, const std::optional<IdList>& pList) {
  return Guard(kClass, "ENTRYFILTER",
               [&] { return ENTRYFILTERADVANCED(rDB, pView, pSort, "", false, pFilters, pList, pSortRev); });
}

IdList ENTRYFILTERADVANCED(cls_DBStore& rDB, const Variant& pView, const std::string& pSortField,
                           const std::string& pSortField2, bool pSortRev2, const StructurePtr& pFilters,
                           const std::optional<IdList>& pList, bool pSortRev) {
  return Guard(kClass, "ENTRYFILTERADVANCED", [&]() -> IdList {
    rDB.DEBUGTRACK_LET("ENTRYFILTER-1");
    std::string sort1 = pSortField, sort2 = pSortField2, action;
    bool rev1 = pSortRev, rev2 = pSortRev2;
    DBViewPtr view;
    if (!(pView.isEmpty() || (pView.isString() && pView.str().empty()))) {
      view = rDB.VIEW(pView);
      if (!view) return {};
      if (sort1.empty()) sort1 = view->SORTFIELD, rev1 = view->SORTREV;
      if (sort2.empty()) sort2 = view->SORTFIELD2, rev2 = view->SORTREV2;
      action = view->ACTION;
    }

    rDB.DEBUGTRACK_LET("ENTRYFILTER-2");
    std::vector<std::pair<std::string, Variant>> conditions;
    std::string mode = "AND";
    if (view) {
      for (const auto& [field, cond] : view->FILTERS) conditions.emplace_back(field, Variant(cond));
      if (!view->FILTERS.empty()) mode = text::UCase(view->FILTERMODE);
    }
    for (auto& [name, value] : hItems(pFilters)) {
      if (text::UCase(name) == "MODE") mode = text::UCase(text::Trim(CStr(value)));
      else conditions.emplace_back(std::move(name), std::move(value));
    }

    rDB.DEBUGTRACK_LET("ENTRYFILTER-3");
    IdList result;
    if (conditions.empty()) {
      result = pList ? *pList : rDB.ENTRYALL_IDS();
    } else if (mode == "OR") {
      // Each condition searches the whole list; an entry any of them keeps is listed once, in the
      // order of the list.
      std::vector<char> kept(static_cast<size_t>(rDB.hEntries().Count()), 0);
      for (size_t i = 0; i < conditions.size(); ++i) {
        rDB.DEBUGTRACK_LET("ENTRYFILTER-9-1-", static_cast<int32_t>(i + 1), static_cast<int32_t>(conditions.size()));
        for (const auto& id : ENTRYQUERY(rDB, Variant(conditions[i].first), "", conditions[i].second, pList)) {
          int32_t p = rDB.hEntries().Position(id);
          if (p >= 0) kept[static_cast<size_t>(p)] = 1;
        }
      }
      rDB.DEBUGTRACK_LET("ENTRYFILTER-10");
      const auto& all = rDB.hEntries().Entries();
      if (pList) {
        for (const auto& id : *pList) {
          int32_t p = rDB.hEntries().Position(rDB.hEntries().NormalizeId(id));
          if (p >= 0 && kept[static_cast<size_t>(p)]) {
            kept[static_cast<size_t>(p)] = 0;
            result.push_back(all[static_cast<size_t>(p)].id);
          }
        }
      } else {
        for (size_t p = 0; p < all.size(); ++p)
          if (kept[p]) result.push_back(all[p].id);
      }
    } else {
      // Each condition searches what the last one kept.
      std::optional<IdList> working = pList;
      for (size_t i = 0; i < conditions.size(); ++i) {
        rDB.DEBUGTRACK_LET("ENTRYFILTER-9-2-", static_cast<int32_t>(i + 1), static_cast<int32_t>(conditions.size()));
        working = ENTRYQUERY(rDB, Variant(conditions[i].first), "", conditions[i].second, working);
        if (working->empty()) break;
      }
      result = std::move(*working);
    }

    rDB.DEBUGTRACK_LET("ENTRYFILTER-11");
    result = ENTRYSORTADVANCED(rDB, sort1, rev1, sort2, result, rev2);
    rDB.DEBUGTRACK_LET("ENTRYFILTER-12");
    // The view's action: a search (as ENTRYSEARCH reads it) that the filtered list must also meet.
    if (!action.empty()) result = ENTRYSEARCH(rDB, action, result);
    rDB.DEBUGTRACK_LET("ENTRYFILTER-13");
    return result;
  });
}

// key (op1 "," op2)         result
// "IN,IN"                   "IN " list1 merged with list2
// "=,=" "==,=="             "IN " v1 "," v2
// "IN,=" "IN,=="            "IN " list1 with v2
// "=,IN" "==,IN"            "IN " list2 with v1
// "CONTAINS,CONTAINS"       "CONTAINSONE " v1 "," v2
// "CONTAINSONE,CONTAINS"    "CONTAINSONE " list1 with v2
// "CONTAINS,CONTAINSONE"    "CONTAINSONE " list2 with v1
std::string FILTERCOMBINE(const std::string& pFilter1, const std::string& pFilter2) {
  return Guard(kClass, "FILTERCOMBINE", [&]() -> std::string {
    auto [op1, v1] = hSplitCondition(pFilter1);
    auto [op2, v2] = hSplitCondition(pFilter2);
    const std::string key = op1 + "," + op2;
    auto list = [](const std::string& v) { return text::Split(v, ","); };
    if (key == "IN,IN") return "IN " + hMerge(list(v1), list(v2));
    if (key == "=,=" || key == "==,==") return "IN " + hMerge({v1}, {v2});
    if (key == "IN,=" || key == "IN,==") return "IN " + hMerge(list(v1), {v2});
    if (key == "=,IN" || key == "==,IN") return "IN " + hMerge(list(v2), {v1});
    if (key == "CONTAINS,CONTAINS") return "CONTAINSONE " + hMerge({v1}, {v2});
    if (key == "CONTAINSONE,CONTAINS") return "CONTAINSONE " + hMerge(list(v1), {v2});
    if (key == "CONTAINS,CONTAINSONE") return "CONTAINSONE " + hMerge(list(v2), {v1});
    return "";
  });
}

int32_t FIELDFILTERCOUNT(cls_DBStore& rDB, const Variant& pField, const std::string& pCondition,
                         const std::optional<IdList>& pList) {
  return Guard(kClass, "FIELDFILTERCOUNT", [&] {
    auto n = static_cast<int32_t>(ENTRYQUERY(rDB, pField, "", Variant(pCondition), pList).size());
    if (n == 0)
      Notify(
          {"RyKEL", "Für diesen Filter gibt es in der aktuellen Liste keine passenden Einträge", "OK", "Information"});
    return n;
  });
}

std::string FIELDSELECT(cls_DBStore& rDB, const std::string& pPreselect) {
  return Guard(kClass, "FIELDSELECT", [&]() -> std::string {
    std::vector<std::string> names;
    for (int32_t i = 1; i <= rDB.FIELDS(); ++i) names.push_back(rDB.FIELD(Variant(i))->ID);
    auto pre = pPreselect.empty() ? nullptr : rDB.hFieldOrNull(Variant(pPreselect));
    std::string preName = pre ? pre->ID : "";
    if (const auto& choose = rDB.FIELDCHOOSER_GET()) return choose("Datenfeld auswählen", names, preName);
    return preName;
  });
}

}  // namespace rykel::mdl_DBQuery
