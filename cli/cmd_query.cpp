// rykel db query / filter / search / sort: id lists from the shell, one id a line, or with --show
// the entries as a table (id and every field's display text, tab-separated, with a header line).
#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "database/cls_DB.h"
#include "frame/Convert.h"
#include "frame/Notifier.h"

namespace rykel::cli {

namespace {

struct QueryArgs {
  std::string db, field, condition, text, sort, then;
  std::vector<std::string> conditions;
  bool show = false, rev = false, orMode = false, thenRev = false;
};

DBPtr hOpenReadOnly(const std::string& path) {
  SetNotifier([](const Notification&) { return std::string("OK"); });
  auto db = std::make_shared<cls_DB>();
  if (!db->DBOPENREADONLY(path, "", false)) {
    std::fprintf(stderr, "rykel db: %s\n", db->DBOPENERROR_GET().c_str());
    std::exit(1);
  }
  return db;
}

void hPrint(cls_DB& db, const cls_DB::IdList& ids, bool show) {
  if (show) {
    std::string head = "ID";
    for (int32_t f = 1; f <= db.FIELDS(); ++f) head += "\t" + db.FIELD(f)->ID;
    std::printf("%s\n", head.c_str());
  }
  for (const auto& id : ids) {
    std::string line = CStr(id);
    if (show)
      for (int32_t f = 1; f <= db.FIELDS(); ++f) line += "\t" + db.FIELDTEXT_GET(id, f);
    std::printf("%s\n", line.c_str());
  }
}

}  // namespace

std::shared_ptr<cls_Structure> FilterFromConditions(const std::vector<std::string>& pConditions, bool pOr,
                                                    const std::string& pOption, const cls_DB* pDB) {
  auto f = cls_Structure::New();
  for (const auto& c : pConditions) {
    size_t eq = c.find('=');
    if (eq == std::string::npos || eq == 0) throw CLI::ValidationError(pOption, "expected FIELD=CONDITION: " + c);
    std::string field = c.substr(0, eq);
    if (pDB && !pDB->FIELDEXISTS(field)) throw CLI::ValidationError(pOption, "no field '" + field + "'");
    f->ITEMBYID_LET(field, Variant(c.substr(eq + 1)));
  }
  if (pOr) f->ITEMBYID_LET("MODE", "OR");
  return f;
}

void AddQueryCommands(CLI::App& app) {
  static QueryArgs a;
  CLI::App* dbc = app.get_subcommand("db");

  auto* query = dbc->add_subcommand("query", "Print the ids of the entries whose FIELD meets CONDITION "
                                             "(e.g. '$BEGINS m', '>= 10', '[] 2020-01-01 2020-12-31')");
  query->add_option("DB", a.db, "database file")->required();
  query->add_option("FIELD", a.field, "field name")->required();
  query->add_option("CONDITION", a.condition, "condition text")->required();
  query->add_flag("--show", a.show, "print the entries as a table");
  query->callback([] {
    auto db = hOpenReadOnly(a.db);
    hPrint(*db, db->ENTRYQUERY(Variant(a.field), "", Variant(a.condition)), a.show);
  });

  auto* filter = dbc->add_subcommand("filter", "Print the ids of the entries that meet every FIELD=CONDITION "
                                               "(or any, with --or), sorted");
  filter->add_option("DB", a.db, "database file")->required();
  filter->add_option("CONDITIONS", a.conditions, "FIELD=CONDITION, one or more")->required();
  filter->add_flag("--or", a.orMode, "keep entries that meet any condition");
  filter->add_option("--sort", a.sort, "sort field");
  filter->add_flag("--rev", a.rev, "sort descending");
  filter->add_option("--then", a.then, "second sort field");
  filter->add_flag("--then-rev", a.thenRev, "second sort field descending");
  filter->add_flag("--show", a.show, "print the entries as a table");
  filter->callback([] {
    auto db = hOpenReadOnly(a.db);
    auto f = FilterFromConditions(a.conditions, a.orMode, "condition");
    hPrint(*db, db->ENTRYFILTERADVANCED(Variant(), a.sort, a.then, a.thenRev, f, std::nullopt, a.rev), a.show);
  });

  auto* search = dbc->add_subcommand("search", "Print the ids of the entries whose text holds TEXT "
                                               "(words, \"phrases\", a | b, -word, ^start, groups)");
  search->add_option("DB", a.db, "database file")->required();
  search->add_option("TEXT", a.text, "search text")->required();
  search->add_flag("--show", a.show, "print the entries as a table");
  search->callback([] {
    auto db = hOpenReadOnly(a.db);
    hPrint(*db, db->ENTRYSEARCH(a.text), a.show);
  });

  auto* sort = dbc->add_subcommand("sort", "Print every id sorted by FIELD ('&FIELD': by display text)");
  sort->add_option("DB", a.db, "database file")->required();
  sort->add_option("FIELD", a.field, "sort field")->required();
  sort->add_flag("--rev", a.rev, "descending");
  sort->add_option("--then", a.then, "second sort field");
  sort->add_flag("--then-rev", a.thenRev, "second sort field descending");
  sort->add_flag("--show", a.show, "print the entries as a table");
  sort->callback([] {
    auto db = hOpenReadOnly(a.db);
    hPrint(*db, db->ENTRYSORTADVANCED(a.field, a.rev, a.then, std::nullopt, a.thenRev), a.show);
  });
}

}  // namespace rykel::cli
