#include "query/mdl_DBStats.h"

#include <algorithm>
#include <limits>
#include <map>
#include <unordered_map>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Text.h"
#include "query/cls_DBCondition.h"
#include "query/mdl_DBQuery.h"
#include "structure/cls_Structure.h"

namespace rykel::mdl_DBStats {

namespace {

// Running figures of one field within one group.
struct Tally {
  int32_t count = 0;
  double min = std::numeric_limits<double>::infinity(), max = -std::numeric_limits<double>::infinity(), sum = 0;
};

// The value as a number (days for a date), or nothing for an empty or unreadable value.
std::optional<double> hNumber(const cls_DBField& pField, const Variant& pValue) {
  if (pValue.isEmpty() || pValue.isNull()) return std::nullopt;
  if (pField.TYPE == ID_DBFieldType_Date) {
    if (pValue.isDate() || pValue.isNumber()) return CDbl(pValue);
    double date = 0;
    if (pValue.isString() && date::Parse(pValue.str(), date)) return date;
    return std::nullopt;
  }
  if (pValue.isNumber()) return CDbl(pValue);
  return std::nullopt;
}

bool hHasValue(const Variant& pValue) {
  return !(pValue.isEmpty() || pValue.isNull() || (pValue.isString() && pValue.str().empty()));
}

StructurePtr hFigures(const cls_DBField& pField, const Tally& pTally) {
  auto out = cls_Structure::New();
  out->ITEMBYID_LET("COUNT", Variant(pTally.count));
  bool date = pField.TYPE == ID_DBFieldType_Date;
  bool number = pField.TYPE == ID_DBFieldType_Long || pField.TYPE == ID_DBFieldType_Double;
  if ((!date && !number) || pTally.sum != pTally.sum || pTally.min > pTally.max) return out;
  auto value = [&](double d) { return date ? Variant::Date(d) : Variant(d); };
  out->ITEMBYID_LET("MIN", value(pTally.min));
  out->ITEMBYID_LET("MAX", value(pTally.max));
  if (!date) out->ITEMBYID_LET("SUM", Variant(pTally.sum));
  out->ITEMBYID_LET("MEAN", value(pTally.sum / pTally.count));
  return out;
}

// The entries' values of one field (those of pList, an id listed twice counted twice), each
// distinct value once: the position of an entry holding it and how many entries do. A condition
// answers alike for equal values, so a choice's count is the sum over the values it accepts,
// and each value is tested once per choice instead of each entry.
struct DistinctValues {
  std::vector<size_t> position;
  std::vector<int32_t> count;
};

DistinctValues hDistinct(cls_DBStore& rDB, int32_t pFieldNo, const std::optional<IdList>& pList) {
  const auto& values = rDB.FIELDCOLUMN(pFieldNo);
  DistinctValues out;
  std::unordered_map<std::string, size_t> seen;
  std::string key;
  auto add = [&](size_t p) {
    const Variant& v = values[p];
    key.assign(1, static_cast<char>(v.vartype()));
    if (v.isString()) key += v.str();
    else if (v.isNumber() || v.isDate()) {
      double d = v.isDate() ? v.rawDouble() : CDbl(v);
      key.append(reinterpret_cast<const char*>(&d), sizeof d);
    } else if (!v.isEmpty() && !v.isNull() && !v.isObject()) key += CStr(v);
    else if (v.isObject()) key += std::to_string(p);  // structures are not compared as equal
    auto [at, added] = seen.emplace(key, out.position.size());
    if (added) {
      out.position.push_back(p);
      out.count.push_back(0);
    }
    ++out.count[at->second];
  };
  auto& entries = rDB.hEntries();
  if (!pList) {
    for (size_t p = 0; p < values.size(); ++p) add(p);
    return out;
  }
  for (const auto& id : *pList) {
    int32_t p = entries.Position(entries.NormalizeId(id));
    if (p >= 0) add(static_cast<size_t>(p));
  }
  return out;
}

}  // namespace

StructurePtr FIELDFACETS(cls_DBStore& rDB, const Variant& pField, const std::optional<IdList>& pList) {
  // Labels equal but for case are one choice, as in FIELDFILTERVALUES: the first place, the
  // last condition.
  std::vector<std::pair<std::string, std::string>> choices;
  std::map<std::string, size_t> seen;
  for (auto& [label, condition] : mdl_DBQuery::FIELDFILTERCHOICES(rDB, pField, pList)) {
    auto [at, added] = seen.emplace(text::UCase(label), choices.size());
    if (added) choices.emplace_back(label, condition);
    else choices[at->second].second = condition;
  }
  auto out = cls_Structure::New();
  int32_t no = 0;
  DBFieldPtr field = rDB.hFieldOrNull(pField, &no);
  if (!field) return out;
  // Choices often share a condition (a field's most used values are offered twice: ranked and in
  // order); each condition is counted once.
  std::map<std::string, int32_t> counted;
  std::optional<DistinctValues> distinct;
  for (const auto& [label, condition] : choices) {
    auto [at, added] = counted.emplace(condition, 0);
    if (added) {
      cls_DBCondition c;
      c.READ("", Variant(condition));
      c.PREPARE(field->TYPE, field.get());
      const std::string& op = c.OPERATORTEXT();
      if (!pList && (op == "=" || op == "==") && field->INDEXED && field->TYPE != ID_DBFieldType_Date &&
          field->TYPE != ID_DBFieldType_Structure) {
        // The index answers exact equality.
        at->second = static_cast<int32_t>(mdl_DBQuery::ENTRYQUERY(rDB, Variant(no), "", Variant(condition)).size());
      } else if (c.KIND() != cls_DBCondition::Kind::None && c.VALID()) {
        if (!distinct) distinct = hDistinct(rDB, no, pList);
        const auto& values = rDB.FIELDCOLUMN(no);
        const std::vector<std::string>* upper = c.CASEBLIND() && c.NEEDSTEXT() ? &rDB.FIELDUPPERCOLUMN(no) : nullptr;
        for (size_t i = 0; i < distinct->position.size(); ++i) {
          size_t p = distinct->position[i];
          if (c.TEST(values[p], upper ? &(*upper)[p] : nullptr)) at->second += distinct->count[i];
        }
      }
    }
    auto row = cls_Structure::New();
    row->ITEMBYID_LET("LABEL", Variant(label));
    row->ITEMBYID_LET("CONDITION", Variant(condition));
    row->ITEMBYID_LET("COUNT", Variant(at->second));
    out->ADD(Variant(row));
  }
  return out;
}

StructurePtr ENTRYSTATS(cls_DBStore& rDB, const std::vector<std::string>& pFields, const std::string& pGroupBy,
                        const std::optional<IdList>& pList) {
  std::vector<DBFieldPtr> fields;
  for (const auto& name : pFields)
    if (auto f = rDB.FIELD(Variant(name))) fields.push_back(f);
  if (pFields.empty())
    for (int32_t f = 1; f <= rDB.FIELDS(); ++f) {
      auto field = rDB.FIELD(Variant(f));
      bool ranged = field->TYPE == ID_DBFieldType_Long || field->TYPE == ID_DBFieldType_Double ||
                    field->TYPE == ID_DBFieldType_Date;
      if (ranged) fields.push_back(field);
    }

  struct Group {
    int32_t count = 0;
    std::vector<Tally> tallies;
  };
  std::map<std::string, Group> groups;
  const IdList ids = pList ? *pList : rDB.ENTRYALL_IDS();
  for (const auto& id : ids) {
    std::string key = pGroupBy.empty() ? std::string() : rDB.FIELDTEXT_GET(id, Variant(pGroupBy));
    Group& g = groups[key];
    if (g.tallies.empty()) g.tallies.resize(fields.size());
    ++g.count;
    for (size_t f = 0; f < fields.size(); ++f) {
      Variant value = rDB.ENTRYFIELD_GET(id, Variant(fields[f]->ID));
      if (!hHasValue(value)) continue;
      Tally& t = g.tallies[f];
      ++t.count;
      if (auto d = hNumber(*fields[f], value)) {
        t.min = std::min(t.min, *d);
        t.max = std::max(t.max, *d);
        t.sum += *d;
      } else {
        t.sum = std::numeric_limits<double>::quiet_NaN();  // a value that is no number: no figures
      }
    }
  }
  if (pGroupBy.empty() && groups.empty()) groups[""].tallies.resize(fields.size());

  std::vector<std::pair<std::string, const Group*>> order;
  for (const auto& [key, g] : groups) order.emplace_back(key, &g);
  std::stable_sort(order.begin(), order.end(),
                   [](const auto& a, const auto& b) { return a.second->count > b.second->count; });
  auto out = cls_Structure::New();
  for (const auto& [key, g] : order) {
    auto group = cls_Structure::New();
    if (!pGroupBy.empty()) group->ITEMBYID_LET("VALUE", Variant(key));
    group->ITEMBYID_LET("COUNT", Variant(g->count));
    auto figures = cls_Structure::New();
    for (size_t f = 0; f < fields.size(); ++f)
      figures->ITEMBYID_LET(fields[f]->ID, Variant(hFigures(*fields[f], g->tallies[f])));
    group->ITEMBYID_LET("FIELDS", Variant(figures));
    out->ADD(Variant(group));
  }
  return out;
}

}  // namespace rykel::mdl_DBStats
