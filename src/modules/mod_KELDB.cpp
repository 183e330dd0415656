#include "modules/mod_KELDB.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <vector>

#include "frame/Convert.h"
#include "frame/Text.h"
#include "frame/mdl_Confine.h"
#include "frame/mdl_Global.h"
#include "interpreter/KELCommandTable.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELFrontEnd.h"
#include "query/mdl_DBQuery.h"

namespace rykel {

namespace {

using IdList = cls_DBStore::IdList;

// What one command sees: the interpreter, its parameters (completed by SYNTAXCHECK), the current
// database and the command word for messages.
struct DBCall {
  cls_KEL& kel;
  const StructurePtr& p;
  cls_DBStore& db;
  const std::string& cmd;

  std::string Str(std::string_view key) const { return CStr(p->ITEM_GET(Variant(key))); }
  bool Flag(std::string_view key) const { return mdl_Global::hCBool(p->ITEM_GET(Variant(key))); }
  Variant Fail(std::string_view title, std::string_view detail) const { return Variant(kel.ERRORS(title, detail)); }
};

// A failed check: the error text to give back.
using Checked = std::optional<Variant>;

// The list parameter: nullopt for every entry (empty), the ids of a structure, else an error.
Checked hList(const DBCall& c, std::string_view key, std::optional<IdList>& rList) {
  Variant v = c.p->ITEM_GET(Variant(key));
  if (auto s = v.as<cls_Structure>()) {
    IdList ids;
    ids.reserve(static_cast<size_t>(s->COUNT()));
    for (int32_t i = s->BASE(); i <= s->MAX(); ++i)
      if (s->EXISTS_GET(i)) ids.push_back(s->ITEM_GET(i));
    rList = std::move(ids);
    return std::nullopt;
  }
  if (v.isEmpty() || CStr(v).empty()) {
    rList.reset();
    return std::nullopt;
  }
  return c.Fail("Id list expected", c.cmd + " " + std::string(key) + "=" + CStr(v));
}

// The LIST parameter's ids, every id in table order when it is empty.
Checked hListOrAll(const DBCall& c, IdList& rIds) {
  std::optional<IdList> list;
  if (auto e = hList(c, "LIST", list)) return e;
  rIds = list ? std::move(*list) : c.db.ENTRYALL_IDS();
  return std::nullopt;
}

Variant hListValue(const IdList& ids) {
  auto out = cls_Structure::New();
  for (const auto& id : ids) out->ADD(id);
  return Variant(out);
}

// A field parameter that names no field of the database is an error (a query on it would quietly
// match nothing). A leading "&" (sort by display text) is allowed.
Checked hField(const DBCall& c, std::string_view key) {
  std::string name = c.Str(key);
  std::string_view bare = name;
  if (bare.starts_with('&')) bare.remove_prefix(1);
  if (bare.empty() || !c.db.FIELDEXISTS(Variant(bare))) return c.Fail("Unknown field", name);
  return std::nullopt;
}

// Values that reach a template as HTML must never be read as commands.
std::string hHtmlSafe(std::string s) {
  s = text::Replace(s, "{", "&#123;");
  return text::Replace(s, "}", "&#125;");
}

// The fields a FIELDS parameter names ("" for all), each checked.
Checked hFieldList(const DBCall& c, std::vector<DBFieldPtr>& rFields) {
  std::string names = c.Str("FIELDS");
  if (names.empty()) {
    for (int32_t i = 1; i <= c.db.FIELDS(); ++i) rFields.push_back(c.db.FIELD(Variant(i)));
    return std::nullopt;
  }
  for (const auto& raw : text::Split(names, ",")) {
    std::string name(text::Trim(raw));
    auto f = c.db.FIELD(Variant(name));
    if (!f) return c.Fail("Unknown field", name);
    rFields.push_back(f);
  }
  return std::nullopt;
}

StructurePtr hEntry(cls_KEL& kel, cls_DBStore& db, const Variant& id, const std::vector<DBFieldPtr>& fields,
                    bool html) {
  auto e = cls_Structure::New();
  e->ITEMBYID_LET("ID", id);
  for (const auto& f : fields) {
    std::string t = html ? hHtmlSafe(db.FIELDTEXTHTML_GET(id, Variant(f->ID))) : db.FIELDTEXT_GET(id, Variant(f->ID));
    e->ITEMBYID_LET(f->ID, Variant(kel.hData(t)));
  }
  return e;
}

// ---- the commands that work on the current database --------------------------------------------

Variant hCount(const DBCall& c) {
  std::optional<IdList> list;
  if (auto e = hList(c, "LIST", list)) return *e;
  return Variant(list ? static_cast<int32_t>(list->size()) : c.db.ENTRYCOUNT());
}

Variant hAll(const DBCall& c) {
  std::string sort = c.Str("SORT");
  if (!sort.empty())
    if (auto e = hField(c, "SORT")) return *e;
  return hListValue(mdl_DBQuery::ENTRYALL(c.db, sort, c.Flag("REV")));
}

Variant hQuery(const DBCall& c) {
  std::optional<IdList> list;
  if (auto e = hField(c, "FIELD")) return *e;
  if (auto e = hList(c, "LIST", list)) return *e;
  return hListValue(mdl_DBQuery::ENTRYQUERY(c.db, Variant(c.Str("FIELD")), "", c.p->ITEM_GET("CONDITION"), list));
}

Variant hSearch(const DBCall& c) {
  std::optional<IdList> list;
  if (auto e = hList(c, "LIST", list)) return *e;
  return hListValue(mdl_DBQuery::ENTRYSEARCH(c.db, c.Str("TEXT"), list));
}

Variant hFilter(const DBCall& c) {
  auto filter = c.p->ITEM_GET("FILTER").as<cls_Structure>();
  if (!filter) return c.Fail("Filter structure expected", c.cmd + " " + c.Str("FILTER"));
  for (int32_t i = filter->BASE(); i <= filter->MAX(); ++i) {
    if (!filter->EXISTS_GET(i)) continue;
    std::string key = filter->ID_GET(i);
    if (text::UCase(key) != "MODE" && !c.db.FIELDEXISTS(Variant(key))) return c.Fail("Unknown field", key);
  }
  std::string sort = c.Str("SORT");
  if (!sort.empty())
    if (auto e = hField(c, "SORT")) return *e;
  std::optional<IdList> list;
  if (auto e = hList(c, "LIST", list)) return *e;
  return hListValue(mdl_DBQuery::ENTRYFILTER(c.db, Variant(1), filter, sort, c.Flag("REV"), list));
}

Variant hSort(const DBCall& c) {
  std::optional<IdList> list;
  if (auto e = hList(c, "LIST", list)) return *e;
  if (auto e = hField(c, "FIELD")) return *e;
  std::string second = c.Str("FIELD2");
  if (!second.empty())
    if (auto e = hField(c, "FIELD2")) return *e;
  return hListValue(mdl_DBQuery::ENTRYSORTADVANCED(c.db, c.Str("FIELD"), c.Flag("REV"), second, list, c.Flag("REV2")));
}

// Items START .. START+SIZE-1 of the list (1-based); every entry's ids when LIST is empty.
Variant hLimit(const DBCall& c) {
  IdList ids;
  if (auto e = hListOrAll(c, ids)) return *e;
  int64_t start = std::max<int64_t>(1, CLng(c.p->ITEM_GET("START"))) - 1;
  int64_t count = std::max<int64_t>(0, CLng(c.p->ITEM_GET("SIZE")));
  int64_t size = static_cast<int64_t>(ids.size());
  int64_t from = std::min(start, size), to = std::min(size, from + count);
  return hListValue(IdList(ids.begin() + from, ids.begin() + to));
}

Variant hText(const DBCall& c) {
  if (auto e = hField(c, "FIELD")) return *e;
  return Variant(c.kel.hData(c.db.FIELDTEXT_GET(c.p->ITEM_GET("ID"), Variant(c.Str("FIELD")))));
}

Variant hHtml(const DBCall& c) {
  if (auto e = hField(c, "FIELD")) return *e;
  return Variant(c.kel.hData(hHtmlSafe(c.db.FIELDTEXTHTML_GET(c.p->ITEM_GET("ID"), Variant(c.Str("FIELD"))))));
}

Variant hEntryCmd(const DBCall& c) {
  std::vector<DBFieldPtr> fields;
  if (auto e = hFieldList(c, fields)) return *e;
  Variant id = c.p->ITEM_GET("ID");
  if (!c.db.ENTRYEXISTS(id)) return c.Fail("Unknown entry", CStr(id));
  return Variant(hEntry(c.kel, c.db, id, fields, c.Flag("HTML")));
}

Variant hEntries(const DBCall& c) {
  std::vector<DBFieldPtr> fields;
  if (auto e = hFieldList(c, fields)) return *e;
  IdList ids;
  if (auto e = hListOrAll(c, ids)) return *e;
  bool html = c.Flag("HTML");
  auto out = cls_Structure::New();
  for (const auto& id : ids)
    if (c.db.ENTRYEXISTS(id)) out->ADD(Variant(hEntry(c.kel, c.db, id, fields, html)));
  return Variant(out);
}

Variant hFields(const DBCall& c) {
  auto out = cls_Structure::New();
  for (int32_t i = 1; i <= c.db.FIELDS(); ++i) {
    auto f = c.db.FIELD(Variant(i));
    out->ITEMBYID_LET(f->ID, Variant(c.kel.hData(f->NAME.empty() ? f->ID : f->NAME)));
  }
  return Variant(out);
}

// Display texts of the field over the list with how often each occurs: most frequent first, equal
// counts in text order. TOP > 0 keeps that many.
Variant hGroup(const DBCall& c) {
  if (auto e = hField(c, "FIELD")) return *e;
  IdList ids;
  if (auto e = hListOrAll(c, ids)) return *e;
  Variant field(c.Str("FIELD"));
  std::unordered_map<std::string, int32_t> counts;
  for (const auto& id : ids) ++counts[c.db.FIELDTEXT_GET(id, field)];
  std::vector<std::pair<std::string, int32_t>> rows(counts.begin(), counts.end());
  std::sort(rows.begin(), rows.end(), [](const auto& a, const auto& b) {
    return a.second != b.second ? a.second > b.second : a.first < b.first;
  });
  int64_t top = CLng(c.p->ITEM_GET("TOP"));
  if (top > 0 && static_cast<size_t>(top) < rows.size()) rows.resize(static_cast<size_t>(top));
  auto out = cls_Structure::New();
  for (const auto& [value, count] : rows) {
    auto row = cls_Structure::New();
    row->ITEMBYID_LET("VALUE", Variant(c.kel.hData(value)));
    row->ITEMBYID_LET("TOTAL", Variant(count));
    out->ADD(Variant(row));
  }
  return Variant(out);
}

struct DBCommand {
  std::string_view name;
  std::string_view wanted;
  Variant (*run)(const DBCall& c);
};

constexpr DBCommand kDBCommands[] = {
    {"COUNT", "LIST=''", hCount},
    {"ALL", "SORT='',REV=0", hAll},
    {"QUERY", "FIELD,CONDITION,LIST=''", hQuery},
    {"SEARCH", "TEXT,LIST=''", hSearch},
    {"FILTER", "FILTER,SORT='',REV=0,LIST=''", hFilter},
    {"SORT", "LIST,FIELD,REV=0,FIELD2='',REV2=0", hSort},
    {"LIMIT", "LIST,SIZE,START=1", hLimit},
    {"TEXT", "ID,FIELD", hText},
    {"HTML", "ID,FIELD", hHtml},
    {"ENTRY", "ID,FIELDS='',HTML=0", hEntryCmd},
    {"ENTRIES", "LIST,FIELDS='',HTML=0", hEntries},
    {"FIELDS", "", hFields},
    {"GROUP", "FIELD,LIST='',TOP=0", hGroup},
};

std::string hName(std::string_view pName) {
  std::string n = text::UCase(text::Trim(pName));
  return n.empty() ? std::string("MAIN") : n;
}

}  // namespace

mod_KELDB::mod_KELDB() : module_(std::make_shared<cls_KELModule>()) {
  module_->ID_LET("DB");
  // The registry holds this object for as long as it holds the module, so the handler may use it.
  module_->EXECUTEEVENT = [this](const StructurePtr& rResult, bool& rDone, Variant& rValue, const std::string& pCmd,
                                 const StructurePtr& pParameters,
                                 cls_KEL& pKEL) { MODULE_EXECUTE(rResult, rDone, rValue, pCmd, pParameters, pKEL); };
  for (std::string_view name : {"OPEN", "USE", "CLOSE"}) module_->COMMAND(name);
  ListCommands(*module_, kDBCommands);
}

void mod_KELDB::ATTACH(const DBStorePtr& pDB, std::string_view pName) {
  std::string name = hName(pName);
  if (!pDB) {
    dbs_.erase(name);
    if (current_ == name) current_.clear();
    return;
  }
  dbs_[name] = pDB;
  current_ = name;
}

DBStorePtr mod_KELDB::DB_GET(std::string_view pName) const {
  std::string name = pName.empty() ? current_ : hName(pName);
  auto it = dbs_.find(name);
  return it == dbs_.end() ? nullptr : it->second;
}

std::string mod_KELDB::CURRENT_GET() const { return current_; }

void mod_KELDB::MODULE_EXECUTE(const StructurePtr&, bool&, Variant& rValue, const std::string& pCmd,
                               const StructurePtr& pParameters, cls_KEL& pKEL) {
  std::string cmd = text::UCase(pCmd);
  auto check = [&](std::string_view wanted) { return pKEL.SYNTAXCHECK(pParameters, wanted); };

  if (cmd == "OPEN") {
    if (!check("FILE,HEADER='',NAME=''")) return void(rValue = Variant(""));
    std::string file = CStr(pParameters->ITEM_GET("FILE"));
    std::string path = pKEL.LOCATE(file);
    if (path.empty()) return void(rValue = Variant(pKEL.ERRORS("Database not found", file)));
    std::string header = CStr(pParameters->ITEM_GET("HEADER"));
    if (!header.empty()) {
      std::string found = pKEL.LOCATE(header);
      if (found.empty()) return void(rValue = Variant(pKEL.ERRORS("Database not found", header)));
      header = found;
    }
    std::string name = hName(CStr(pParameters->ITEM_GET("NAME")));
    auto known = dbs_.find(name);
    if (known != dbs_.end() && known->second->DBOPENED_GET() && known->second->DBFILE_GET() == path) {
      current_ = name;
      return void(rValue = Variant(""));
    }
    auto db = cls_DBStore::New();
    // A confined template reaches through the database no file outside DIRECTORIES: not the
    // file itself, nor the header it names, nor a test whether some outside file exists.
    std::optional<mdl_Confine::Scope> confine;
    if (pKEL.hConfined()) confine.emplace(cls_KELFrontEnd::ConfinedRoots(pKEL));
    if (!db->DBOPENREADONLY(path, header, false))
      return void(rValue = Variant(pKEL.ERRORS("Database error", db->DBOPENERROR_GET())));
    ATTACH(db, name);
    rValue = Variant("");
    return;
  }
  if (cmd == "USE") {
    if (!check("NAME")) return void(rValue = Variant(""));
    std::string name = hName(CStr(pParameters->ITEM_GET("NAME")));
    if (!dbs_.count(name)) return void(rValue = Variant(pKEL.ERRORS("Unknown database", name)));
    current_ = name;
    rValue = Variant("");
    return;
  }
  if (cmd == "CLOSE") {
    if (!check("NAME=''")) return void(rValue = Variant(""));
    std::string given = CStr(pParameters->ITEM_GET("NAME"));
    std::string name = given.empty() ? current_ : hName(given);
    if (!dbs_.count(name)) return void(rValue = Variant(pKEL.ERRORS("Unknown database", name)));
    ATTACH(nullptr, name);
    rValue = Variant("");
    return;
  }
  if (!RunCommand(kDBCommands, cmd, pParameters, pKEL, rValue, [&](const DBCommand& row) {
        DBStorePtr db = DB_GET();
        if (!db) return Variant(pKEL.ERRORS("No database open", "DB:" + cmd));
        return row.run(DBCall{pKEL, pParameters, *db, cmd});
      }))
    rValue = Variant(pKEL.ERRORS("DB function not supported", pCmd));
}

}  // namespace rykel
