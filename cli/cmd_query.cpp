// rykel db query / filter / search / sort: id lists from the shell, one id a line, or with --show
// or --as the entries in the form EntryPrinter gives them.
#include <algorithm>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "Commands.h"
#include "EntryPrinter.h"
#include "frame/Convert.h"
#include "host/cls_DB.h"
#include "query/cls_DBCondition.h"

namespace rykel::cli {

namespace {

struct QueryArgs {
  std::string db, field, condition, text, as;
  FilterRequest filter;
  bool show = false;
};

// The ids, one a line; with --show or --as the entries themselves.
void hPrint(cls_DB& db, const cls_DB::IdList& ids, const QueryArgs& pArgs) {
  if (pArgs.show || !pArgs.as.empty()) return PrintEntries(db, ids, pArgs.as);
  for (const auto& id : ids) std::printf("%s\n", CStr(id).c_str());
}

}  // namespace

void CheckField(const cls_DB& pDB, const std::string& pName) {
  std::string_view bare = pName;
  if (bare.starts_with('&')) bare.remove_prefix(1);
  if (!bare.empty() && pDB.FIELDEXISTS(Variant(bare))) return;
  std::string fields;
  for (int32_t f = 1; f <= pDB.FIELDS(); ++f) fields += (f > 1 ? ", " : "") + pDB.FIELD(f)->ID;
  FailUsage("unknown field " + pName + "; fields: " + fields);
}

std::string ConditionText(const std::string& pValue, bool pRaw) {
  return pRaw ? pValue : cls_DBCondition::USERTEXT(pValue);
}

cls_DB::IdList FilterEntries(cls_DB& pDB, const Variant& pView, const FilterRequest& pRequest,
                             const std::string& pOption) {
  for (const auto& s : {pRequest.sort, pRequest.then})
    if (!s.empty()) CheckField(pDB, s);
  // A filter structure holds one condition per field; a field named again opens the next layer.
  std::vector<StructurePtr> layers;
  for (const auto& c : pRequest.conditions) {
    size_t eq = c.find('=');
    if (eq == std::string::npos || eq == 0) FailUsage(pOption + ": expected FIELD=CONDITION: " + c);
    std::string field = c.substr(0, eq);
    CheckField(pDB, field);
    auto layer =
        std::find_if(layers.begin(), layers.end(), [&](const StructurePtr& l) { return !l->EXISTSBYID_GET(field); });
    if (layer == layers.end()) layer = layers.insert(layers.end(), cls_Structure::New());
    (*layer)->ITEMBYID_LET(field, Variant(ConditionText(c.substr(eq + 1), pRequest.raw)));
  }
  const auto& r = pRequest;
  if (layers.size() <= 1) {
    auto filter = layers.empty() ? cls_Structure::New() : layers.front();
    if (r.orMode) filter->ITEMBYID_LET("MODE", "OR");
    return pDB.ENTRYFILTERADVANCED(pView, r.sort, r.then, r.thenRev, filter, std::nullopt, r.rev);
  }
  if (!r.orMode) {
    // Every condition: each layer narrows the list the one before left.
    std::optional<cls_DB::IdList> ids;
    for (size_t i = 0; i + 1 < layers.size(); ++i) ids = pDB.ENTRYFILTERADVANCED(pView, "", "", false, layers[i], ids);
    return pDB.ENTRYFILTERADVANCED(pView, r.sort, r.then, r.thenRev, layers.back(), ids, r.rev);
  }
  // Any condition: the layers' results merged, kept in table order, then sorted.
  std::set<std::string> hits;
  for (const auto& layer : layers) {
    layer->ITEMBYID_LET("MODE", "OR");
    for (const auto& id : pDB.ENTRYFILTERADVANCED(pView, "", "", false, layer)) hits.insert(CStr(id));
  }
  cls_DB::IdList merged;
  for (const auto& id : pDB.ENTRYALL_IDS())
    if (hits.count(CStr(id))) merged.push_back(id);
  return pDB.ENTRYFILTERADVANCED(pView, r.sort, r.then, r.thenRev, cls_Structure::New(), merged, r.rev);
}

void AddSortOptions(CLI::App& pCommand, FilterRequest& rRequest, bool pSortOption, bool pThen) {
  if (pSortOption) pCommand.add_option("--sort", rRequest.sort, "sort field");
  pCommand.add_flag("--rev", rRequest.rev, pSortOption ? "sort descending" : "descending");
  if (!pThen) return;
  pCommand.add_option("--then", rRequest.then, "second sort field");
  pCommand.add_flag("--then-rev", rRequest.thenRev, "second sort field descending");
}

void AddQueryCommands(CLI::App& app) {
  static QueryArgs a;
  CLI::App* dbc = app.get_subcommand("db");
  const std::string rawHelp =
      "hand CONDITION to the library as it is (in a text with a blank the first word is the operator)";

  auto* query = dbc->add_subcommand("query",
                                    "Print the ids of the entries whose FIELD meets CONDITION "
                                    "(e.g. '$BEGINS m', '>= 10', '[] 2020-01-01 2020-12-31'; "
                                    "a value without an operator must equal the field's value)");
  query->add_option("DB", a.db, "database file")->required();
  query->add_option("FIELD", a.field, "field name")->required();
  query->add_option("CONDITION", a.condition, "an operator and a value, or a plain value (blanks allowed)")->required();
  query->add_flag("--condition", a.filter.raw, rawHelp);
  query->add_flag("--show", a.show, "print the entries (id and display texts) instead of the ids");
  AddEntryFormatOption(*query, a.as);
  query->callback([] {
    auto db = OpenDatabase(a.db);
    CheckField(*db, a.field);
    hPrint(*db, db->ENTRYQUERY(Variant(a.field), "", Variant(ConditionText(a.condition, a.filter.raw))), a);
  });

  auto* filter = dbc->add_subcommand("filter",
                                     "Print the ids of the entries that meet every FIELD=CONDITION "
                                     "(or any, with --or), sorted");
  filter->add_option("DB", a.db, "database file")->required();
  filter->add_option("CONDITIONS", a.filter.conditions, "FIELD=CONDITION, one or more (a field may repeat)")
      ->required();
  filter->add_flag("--or", a.filter.orMode, "keep entries that meet any condition");
  filter->add_flag("--condition", a.filter.raw, rawHelp);
  AddSortOptions(*filter, a.filter, true, true);
  filter->add_flag("--show", a.show, "print the entries (id and display texts) instead of the ids");
  AddEntryFormatOption(*filter, a.as);
  filter->callback([] {
    auto db = OpenDatabase(a.db);
    hPrint(*db, FilterEntries(*db, Variant(), a.filter, "condition"), a);
  });

  auto* search = dbc->add_subcommand("search",
                                     "Print the ids of the entries whose text holds TEXT "
                                     "(words, \"phrases\", a | b, -word, ^start, groups)");
  search->add_option("DB", a.db, "database file")->required();
  search->add_option("TEXT", a.text, "search text")->required();
  AddSortOptions(*search, a.filter, true, false);
  search->add_flag("--show", a.show, "print the entries (id and display texts) instead of the ids");
  AddEntryFormatOption(*search, a.as);
  search->callback([] {
    auto db = OpenDatabase(a.db);
    if (!a.filter.sort.empty()) CheckField(*db, a.filter.sort);
    auto ids = db->ENTRYSEARCH(a.text);
    if (!a.filter.sort.empty()) ids = db->ENTRYSORTADVANCED(a.filter.sort, a.filter.rev, "", ids);
    hPrint(*db, ids, a);
  });

  auto* sort = dbc->add_subcommand("sort", "Print every id sorted by FIELD ('&FIELD': by display text)");
  sort->add_option("DB", a.db, "database file")->required();
  sort->add_option("FIELD", a.field, "sort field")->required();
  AddSortOptions(*sort, a.filter, false, true);
  sort->add_flag("--show", a.show, "print the entries (id and display texts) instead of the ids");
  AddEntryFormatOption(*sort, a.as);
  sort->callback([] {
    auto db = OpenDatabase(a.db);
    CheckField(*db, a.field);
    if (!a.filter.then.empty()) CheckField(*db, a.filter.then);
    hPrint(*db, db->ENTRYSORTADVANCED(a.field, a.filter.rev, a.filter.then, std::nullopt, a.filter.thenRev), a);
  });
}

}  // namespace rykel::cli
