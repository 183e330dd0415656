#include "web/DBBrowserApi.h"

#include <nlohmann/json.hpp>

#include "frame/Convert.h"
#include "frame/DateTime.h"

namespace rykel::DBBrowserApi {

namespace {

using nlohmann::json;

json hValue(const Variant& pValue) {
  switch (pValue.type()) {
    case VarType::Empty:
    case VarType::Null: return nullptr;
    case VarType::Boolean: return CBool(pValue);
    case VarType::Integer:
    case VarType::Long: return CLng(pValue);
    case VarType::Single:
    case VarType::Double:
    case VarType::Currency: return CDbl(pValue);
    case VarType::Date: {
      std::string iso = date::ToIso(pValue.rawDouble());
      return iso.ends_with(" 00:00:00") ? iso.substr(0, 10) : iso;
    }
    default: return CStr(pValue);
  }
}

json hEntry(cls_DB& rDB, const Variant& pID) {
  json fields = json::object();
  for (int32_t f = 1; f <= rDB.FIELDS(); ++f) {
    Variant value = rDB.ENTRYFIELD_GET(pID, f);
    // A structure field's value is given as its display text.
    fields[rDB.FIELD(f)->ID] = value.isObject() ? json(rDB.FIELDTEXT_GET(pID, f)) : hValue(value);
  }
  return {{"id", hValue(pID)}, {"fields", std::move(fields)}};
}

// Text that is not valid UTF-8 is written with replacement characters rather than refused.
std::string hDump(const json& pValue) { return pValue.dump(-1, ' ', false, json::error_handler_t::replace); }

}  // namespace

std::string Index(const std::vector<DBBrowserPages::Summary>& pDatabases) {
  json out = json::array();
  for (const auto& d : pDatabases)
    out.push_back(d.problem.empty() ? json{{"name", d.name}, {"entries", d.entries}, {"fields", d.fields}}
                                    : json{{"name", d.name}, {"error", d.problem}});
  return hDump(out);
}

std::string Rows(cls_DB& rDB, const DBViewQuery& pQuery, const cls_DB::IdList& pAll) {
  json rows = json::array();
  for (const auto& id : pQuery.Page(pAll)) rows.push_back(hEntry(rDB, id));
  return hDump({{"total", pAll.size()}, {"page", pQuery.page}, {"size", pQuery.size}, {"rows", std::move(rows)}});
}

std::string Facets(const std::string& pField, const DBFacets& pFacets) {
  json choices = json::array();
  for (const auto& c : pFacets.choices)
    choices.push_back({{"label", c.label}, {"condition", c.condition}, {"count", c.count}});
  return hDump({{"field", pField}, {"total", pFacets.total}, {"choices", std::move(choices)}});
}

std::string Entry(cls_DB& rDB, const Variant& pID) { return hDump(hEntry(rDB, pID)); }

std::string Failure(const std::string& pMessage) { return hDump({{"error", pMessage}}); }

}  // namespace rykel::DBBrowserApi
