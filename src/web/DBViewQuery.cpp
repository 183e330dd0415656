#include "web/DBViewQuery.h"

#include <algorithm>
#include <charconv>

#include "frame/Error.h"
#include "frame/Text.h"
#include "query/cls_DBCondition.h"

namespace rykel {

namespace {

std::string hFieldID(const cls_DB& pDB, const std::string& pName) {
  if (auto field = pName.empty() ? nullptr : pDB.FIELD(Variant(pName))) return field->ID;
  std::string fields;
  for (int32_t f = 1; f <= pDB.FIELDS(); ++f) fields += (f > 1 ? ", " : "") + pDB.FIELD(f)->ID;
  throw WebFailure{400, "unknown field '" + pName + "'; fields: " + fields};
}

int32_t hNumber(const std::string& pName, const std::string& pText, int32_t pMax) {
  int32_t n = 0;
  auto [end, ec] = std::from_chars(pText.data(), pText.data() + pText.size(), n);
  if (ec != std::errc() || end != pText.data() + pText.size() || n < 1 || n > pMax)
    throw WebFailure{400, pName + ": '" + pText + "' is not a whole number from 1 to " + std::to_string(pMax)};
  return n;
}

// Refuses a condition the reader cannot use as meant: an unknown operator, a bound that is no
// value of the field's type ("> abc" on a number field).
void hCheckCondition(const cls_DB& pDB, const std::string& pField, const std::string& pCondition) {
  auto field = pDB.FIELD(Variant(pField));
  cls_DBCondition c;
  c.READ("", Variant(pCondition));
  c.PREPARE(field->TYPE, field.get());
  if (std::string problem = c.PROBLEM(); !problem.empty())
    throw WebFailure{400, field->ID + ": condition '" + pCondition + "': " + problem};
}

void hSet(std::vector<std::pair<std::string, std::string>>& rList, const std::string& pField, std::string pValue) {
  for (auto& [field, value] : rList)
    if (field == pField) {
      value = std::move(pValue);
      return;
    }
  rList.emplace_back(pField, std::move(pValue));
}

}  // namespace

DBViewQuery DBViewQuery::Read(const WebRequest& pRequest, const cls_DB& pDB) {
  DBViewQuery q;
  for (const auto& [name, value] : pRequest.params) {
    if (name.starts_with("f.") && !text::Trim(value).empty()) {
      hSet(q.typed, hFieldID(pDB, name.substr(2)), value);
    } else if (name == "filter" && !value.empty()) {
      size_t eq = value.find('=');
      if (eq == std::string::npos || eq == 0) throw WebFailure{400, "filter: expected FIELD=CONDITION: " + value};
      hSet(q.typed, hFieldID(pDB, value.substr(0, eq)), value.substr(eq + 1));
    } else if (name.starts_with("c.") && !value.empty()) {
      hSet(q.chosen, hFieldID(pDB, name.substr(2)), value);
    } else if (name == "facet" && !value.empty()) {
      std::string id = hFieldID(pDB, value);
      if (std::find(q.facets.begin(), q.facets.end(), id) == q.facets.end()) q.facets.push_back(id);
    } else if (name == "search") {
      q.search = value;
    } else if (name == "sort" && !value.empty()) {
      q.sort = hFieldID(pDB, value);
    } else if (name == "desc") {
      q.desc = value == "1" || text::UCase(value) == "TRUE";
    } else if (name == "page" && !value.empty()) {
      q.page = hNumber("page", value, 1000000000);
    } else if (name == "size" && !value.empty()) {
      q.size = hNumber("size", value, kMaxPageSize);
    }
  }
  for (const auto& [field, text] : q.typed) hCheckCondition(pDB, field, cls_DBCondition::USERTEXT(text));
  for (const auto& [field, condition] : q.chosen) hCheckCondition(pDB, field, condition);
  return q;
}

std::string DBViewQuery::ConditionOf(const std::string& pField) const {
  for (const auto& [field, condition] : chosen)
    if (field == pField) return condition;
  for (const auto& [field, text] : typed)
    if (field == pField) return cls_DBCondition::USERTEXT(text);
  return {};
}

cls_DB::IdList DBViewQuery::Ids(cls_DB& rDB) const {
  std::optional<cls_DB::IdList> ids;
  std::vector<std::string> fields;
  for (const auto& list : {&chosen, &typed})
    for (const auto& [field, value] : *list)
      if (std::find(fields.begin(), fields.end(), field) == fields.end()) fields.push_back(field);
  for (const auto& field : fields) ids = rDB.ENTRYQUERY(Variant(field), "", Variant(ConditionOf(field)), ids);
  if (!text::Trim(search).empty()) {
    try {
      ids = rDB.ENTRYSEARCH(search, ids);
    } catch (const Error& e) { throw WebFailure{400, "search: " + e.description}; }
  }
  if (!sort.empty()) return rDB.ENTRYSORTADVANCED(sort, desc, "", ids);
  return ids ? std::move(*ids) : rDB.ENTRYALL_IDS();
}

cls_DB::IdList DBViewQuery::Page(const cls_DB::IdList& pAll) const {
  size_t from = static_cast<size_t>(page - 1) * static_cast<size_t>(size);
  if (from >= pAll.size()) return {};
  size_t to = std::min(pAll.size(), from + static_cast<size_t>(size));
  return cls_DB::IdList(pAll.begin() + static_cast<ptrdiff_t>(from), pAll.begin() + static_cast<ptrdiff_t>(to));
}

std::vector<std::pair<std::string, std::string>> DBViewQuery::Params(
    const std::function<void(DBViewQuery&)>& pChange) const {
  DBViewQuery q = *this;
  if (pChange) pChange(q);
  std::vector<std::pair<std::string, std::string>> out;
  for (const auto& [field, value] : q.typed) out.emplace_back("f." + field, value);
  for (const auto& [field, value] : q.chosen) out.emplace_back("c." + field, value);
  for (const auto& field : q.facets) out.emplace_back("facet", field);
  if (!q.search.empty()) out.emplace_back("search", q.search);
  if (!q.sort.empty()) out.emplace_back("sort", q.sort);
  if (q.desc) out.emplace_back("desc", "1");
  if (q.page != 1) out.emplace_back("page", std::to_string(q.page));
  if (q.size != kDefaultPageSize) out.emplace_back("size", std::to_string(q.size));
  return out;
}

std::string DBViewQuery::Key() const {
  return Link([](DBViewQuery& q) {
    q.facets.clear();
    q.sort.clear();
    q.desc = false;
    q.page = 1;
    q.size = kDefaultPageSize;
  });
}

std::string DBViewQuery::OrderKey() const {
  return Link([](DBViewQuery& q) {
    q.facets.clear();
    q.page = 1;
    q.size = kDefaultPageSize;
  });
}

std::string DBViewQuery::Link(const std::function<void(DBViewQuery&)>& pChange) const {
  std::string out;
  for (const auto& [name, value] : Params(pChange))
    out += (out.empty() ? "?" : "&") + text::UrlEncode(name) + "=" + text::UrlEncode(value);
  return out;
}

}  // namespace rykel
