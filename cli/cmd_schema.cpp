// rykel db facets / stats / schema / field: what a database holds, summarised, and its fields.
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "EntryPrinter.h"
#include "ValueCheck.h"
#include "database/mdl_DBSchema.h"
#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "host/cls_DB.h"

namespace rykel::cli {

namespace {

std::string hTypeList() {
  std::string list;
  for (const auto& t : cls_DBField::TYPEMEMBERS()) list += (list.empty() ? "" : " ") + t;
  return list;
}

struct SchemaArgs {
  std::string db, groupBy;
  std::vector<std::string> fields;
  FilterRequest filter;
  bool json = false;
  std::string as;
  // db field
  std::string action, name, type, display, members, defaultValue;
  bool index = false, noIndex = false, force = false;
};

// A figure as text: dates as "yyyy-mm-dd" (with the time when there is one), whole numbers
// without a fraction, other numbers with up to 15 significant digits and "." as the point.
std::string hFigureText(const Variant& pValue) {
  if (pValue.isDate()) {
    std::string iso = date::ToIso(pValue.rawDouble());
    return iso.ends_with(" 00:00:00") ? iso.substr(0, 10) : iso;
  }
  if (!pValue.isNumber()) return CStr(pValue);
  double d = CDbl(pValue);
  char buf[40];
  if (std::trunc(d) == d && std::fabs(d) < 1e15) std::snprintf(buf, sizeof buf, "%.0f", d);
  else std::snprintf(buf, sizeof buf, "%.15g", d);
  return buf;
}

// The entries the --filter conditions keep, or none (every entry) without conditions.
std::optional<cls_DB::IdList> hFiltered(cls_DB& pDB, const FilterRequest& pRequest) {
  if (pRequest.conditions.empty()) return std::nullopt;
  return FilterEntries(pDB, Variant(), pRequest, "--filter");
}

// --as, and --json as its short form; the chosen form is read through hForm.
void hAddFormOptions(CLI::App& pCommand, SchemaArgs& rArgs, const std::string& pWhat, const std::string& pJsonShape) {
  AddEntryFormatOption(pCommand, rArgs.as, pWhat);
  pCommand.add_flag("--json", rArgs.json, "the same as --as json: " + pJsonShape);
}

std::string hForm(const SchemaArgs& pArgs) { return pArgs.json ? "json" : pArgs.as; }

void hAddFilterOptions(CLI::App& pCommand, FilterRequest& rRequest) {
  pCommand.add_option("--filter", rRequest.conditions, "count only the entries that meet FIELD=CONDITION (repeatable)");
  pCommand.add_flag("--or", rRequest.orMode, "keep entries that meet any --filter condition");
  pCommand.add_flag("--condition", rRequest.raw, "hand the --filter conditions to the library as they are");
}

// The field change the options of `db field` ask for; only the options given change anything.
mdl_DBSchema::FieldChange hChange(const SchemaArgs& pArgs, const CLI::App& pCommand) {
  mdl_DBSchema::FieldChange change;
  if (pCommand.count("--type")) {
    int32_t type = cls_DBField::TYPEDECODE(pArgs.type);
    if (type < 0) FailUsage("unknown field type " + pArgs.type + "; types: " + hTypeList());
    change.type = type;
  }
  if (pCommand.count("--display")) change.display = pArgs.display;
  if (pCommand.count("--members")) change.members = pArgs.members;
  if (pCommand.count("--default")) change.defaultValue = pArgs.defaultValue;
  if (pArgs.index || pArgs.noIndex) change.indexed = pArgs.index;
  return change;
}

}  // namespace

void AddSchemaCommands(CLI::App& app) {
  static SchemaArgs a;
  CLI::App* dbc = app.get_subcommand("db");

  auto* facets = dbc->add_subcommand("facets",
                                     "Print the filter choices of each FIELD with the number of entries each keeps, "
                                     "in the library's order");
  facets->add_option("DB", a.db, "database file")->required();
  facets->add_option("FIELD", a.fields, "field names")->required();
  hAddFormOptions(*facets, a, "choices", "{FIELD: [{LABEL, CONDITION, COUNT}, ...]}; jsonl gives one choice a line");
  hAddFilterOptions(*facets, a.filter);
  facets->callback([] {
    auto db = OpenDatabase(a.db);
    for (const auto& f : a.fields) CheckField(*db, f);
    auto list = hFiltered(*db, a.filter);
    auto all = cls_Structure::New(), lines = cls_Structure::New();
    std::vector<std::vector<std::string>> rows{{"FIELD", "LABEL", "COUNT", "CONDITION"}};
    for (const auto& f : a.fields) {
      const std::string id = db->FIELD(Variant(f))->ID;
      auto choices = db->FIELDFACETS(Variant(f), list);
      all->ITEMBYID_LET(id, Variant(choices));
      for (int32_t i = choices->BASE(); i <= choices->MAX(); ++i) {
        auto c = choices->ITEM_GET(Variant(i), {}, true).as<cls_Structure>();
        rows.push_back(
            {id, CStr(c->ITEMBYID_GET("LABEL")), CStr(c->ITEMBYID_GET("COUNT")), CStr(c->ITEMBYID_GET("CONDITION"))});
        auto line = cls_Structure::New();
        line->ITEMBYID_LET("FIELD", Variant(id));
        for (const char* key : {"LABEL", "CONDITION", "COUNT"}) line->ITEMBYID_LET(key, c->ITEMBYID_GET(key));
        lines->ADD(Variant(line));
      }
    }
    PrintSummary(std::move(rows), all, false, lines, hForm(a));
  });

  auto* stats = dbc->add_subcommand("stats",
                                    "Print the entry count and, for number and date fields, MIN, MAX, SUM and MEAN "
                                    "(all such fields, or the given ones), optionally per value of a field");
  stats->add_option("DB", a.db, "database file")->required();
  stats->add_option("FIELD", a.fields, "fields to summarise (default: every number and date field)");
  stats->add_option("--group-by", a.groupBy, "one summary per display text of this field, the largest group first");
  hAddFormOptions(*stats, a, "figures", "[{VALUE, COUNT, FIELDS: {FIELD: {COUNT, MIN, MAX, SUM, MEAN}}}, ...]");
  hAddFilterOptions(*stats, a.filter);
  stats->callback([] {
    auto db = OpenDatabase(a.db);
    for (const auto& f : a.fields) CheckField(*db, f);
    if (!a.groupBy.empty()) CheckField(*db, a.groupBy);
    auto groups = db->ENTRYSTATS(a.fields, a.groupBy, hFiltered(*db, a.filter));
    std::vector<std::vector<std::string>> rows{{"ENTRIES", "FIELD", "COUNT", "MIN", "MAX", "SUM", "MEAN"}};
    if (!a.groupBy.empty()) rows.front().insert(rows.front().begin(), db->FIELD(Variant(a.groupBy))->ID);
    for (int32_t g = groups->BASE(); g <= groups->MAX(); ++g) {
      auto group = groups->ITEM_GET(Variant(g), {}, true).as<cls_Structure>();
      std::vector<std::string> lead{CStr(group->ITEMBYID_GET("COUNT"))};
      if (!a.groupBy.empty()) lead.insert(lead.begin(), CStr(group->ITEMBYID_GET("VALUE")));
      auto fields = group->ITEMBYID_GET("FIELDS").as<cls_Structure>();
      if (fields->COUNT() == 0) {
        lead.resize(rows.front().size());
        rows.push_back(lead);
      }
      for (int32_t f = fields->BASE(); f <= fields->MAX(); ++f) {
        auto figures = fields->ITEM_GET(Variant(f), {}, true).as<cls_Structure>();
        std::vector<std::string> row = lead;
        row.push_back(fields->ID_GET(f));
        for (const char* key : {"COUNT", "MIN", "MAX", "SUM", "MEAN"})
          row.push_back(figures->EXISTSBYID_GET(key) ? hFigureText(figures->ITEMBYID_GET(key)) : "");
        rows.push_back(std::move(row));
      }
    }
    PrintSummary(std::move(rows), groups, true, groups, hForm(a));
  });

  auto* schema =
      dbc->add_subcommand("schema", "Print the fields: ID, type, display name, choice members, default, index");
  schema->add_option("DB", a.db, "database file")->required();
  hAddFormOptions(*schema, a, "fields", "[{ID, TYPE, NAME, MEMBERS: [{VALUE, TEXT}], DEFAULT, INDEXED}, ...]");
  schema->callback([] {
    auto db = OpenDatabase(a.db);
    auto fields = db->SCHEMA();
    std::vector<std::vector<std::string>> rows{{"ID", "TYPE", "NAME", "MEMBERS", "DEFAULT", "INDEXED"}};
    for (int32_t f = 1; f <= db->FIELDS(); ++f) {
      auto field = db->FIELD(Variant(f));
      std::string members;
      if (DBFieldTypeIsChoice(field->TYPE))
        for (const auto& m : field->MembersParsed())
          members += (members.empty() ? "" : ",") + (m.text == m.value ? m.value : m.value + "=" + m.text);
      rows.push_back({field->ID, cls_DBField::TYPETEXT(field->TYPE), field->NAME, members, CStr(field->DEFAULT),
                      field->INDEXED ? "yes" : ""});
    }
    PrintSummary(std::move(rows), fields, true, fields, hForm(a));
  });

  auto* field = dbc->add_subcommand("field",
                                    "Add, change or remove a field; the header and every entry change together "
                                    "(the database file last: when it cannot be written the header stays as it was)");
  field->add_option("DB", a.db, "database file")->required();
  field->add_option("ACTION", a.action, "add, set or remove")
      ->required()
      ->check(CLI::IsMember({"add", "set", "remove"}));
  field->add_option("NAME", a.name, "field ID")->required();
  field->add_option("--type", a.type, "field type: " + hTypeList() + " (set: values are stored again as the new type)");
  field->add_option("--display", a.display, "display name (empty: the ID)");
  field->add_option("--members", a.members, "choice members, 'a,b,c' or 'key=text,...' (choice types only)");
  field->add_option("--default", a.defaultValue, "value of new entries; it must fit the field's type");
  field->add_flag("--index", a.index, "keep an index of the field's values");
  field->add_flag("--no-index", a.noIndex, "drop the field's index");
  field->add_flag("--force", a.force, "remove a field although entries hold values in it (they are lost)");
  field->callback([field] {
    if (a.index && a.noIndex) FailUsage("--index and --no-index exclude each other");
    auto change = hChange(a, *field);
    auto db = OpenDatabase(a.db, true);
    try {
      if (a.action == "remove") {
        if (field->count("--type") || field->count("--display") || field->count("--members") ||
            field->count("--default") || a.index || a.noIndex)
          FailUsage("remove takes no field options, only --force");
        CheckField(*db, a.name);
        int32_t used = db->FIELDUSAGE(a.name);
        if (used > 0 && !a.force)
          Fail(kExitError, std::to_string(used) + " entries hold values in " + a.name + "; --force removes them");
        db->FIELDDROP(a.name);
      } else {
        bool any = change.type || change.display || change.members || change.defaultValue || change.indexed;
        if (a.action == "set" && !any)
          FailUsage("set needs something to change: --type, --display, --members, --default, --index or --no-index");
        if (a.action == "set") CheckField(*db, a.name);
        auto target = a.action == "add" ? db->FIELDNEW(a.name, change)
                                        : (db->FIELDCHANGE(a.name, change), db->FIELD(Variant(a.name)));
        // The default must fit the field as it is now (its new type and members).
        if (change.defaultValue) target->DEFAULT = Variant(CheckValue(*target, *change.defaultValue));
      }
    } catch (const Error& e) {
      if (e.number == err::kInvalidCall) FailUsage(e.description);
      throw;
    }
    try {
      db->SCHEMASAVE();
    } catch (const Error& e) { Fail(kExitError, e.description); }
  });
}

}  // namespace rykel::cli
