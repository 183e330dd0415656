// rykel db ...: create, read and change databases from the shell.
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "EntryPrinter.h"
#include "Progress.h"
#include "ValueCheck.h"
#include "frame/Convert.h"
#include "frame/Notifier.h"
#include "host/cls_DB.h"
#include "host/sys_Global.h"
#include "tools/cls_DBTool.h"

namespace rykel::cli {

namespace {

constexpr const char* kLenientHelp =
    "store values that do not fit their field's type as the library converts them (by default a value "
    "must be a real date, a number, a whole number, a yes/no word or a member, as its field's type says)";

struct DbArgs {
  std::string db, other, header, id, as;
  std::vector<std::string> fields, assignments, ids;
  bool lenient = false;
};

std::string hDirectory(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// Settings of a database opened for a change: its lock is held from the open to the save, so
// that concurrent commands take turns instead of overwriting each other's entries.
StructurePtr hWriteSettings(bool pCreate = true) {
  auto settings = cls_Structure::New();
  settings->ITEM_LET("LOCK", true);
  settings->ITEM_LET("CREATE", pCreate);
  return settings;
}

// Applies FIELD=VALUE assignments to one entry. An unknown field, and (unless pLenient) a value
// that does not fit its field's type, is a usage error; every assignment is checked before the
// first is applied. Checked values are stored as FitValue writes them (choices by key).
void hAssign(cls_DB& db, const Variant& id, const std::vector<std::string>& assignments, bool pLenient) {
  std::vector<std::pair<std::string, std::string>> checked;
  for (const auto& a : assignments) {
    size_t eq = a.find('=');
    if (eq == std::string::npos) FailUsage("expected FIELD=VALUE: " + a);
    std::string field = a.substr(0, eq), value = a.substr(eq + 1);
    CheckField(db, field);
    checked.emplace_back(field, pLenient ? value : CheckValue(*db.FIELD(field), value));
  }
  for (const auto& [field, value] : checked) db.ENTRYFIELD_LET(id, field, value);
}

void hSave(cls_DB& db) {
  if (db.ENTRYCHANGED_GET() && !db.DBSAVE()) {
    Fail(kExitError, "cannot save '" + db.DBFILE_GET() + "': " + db.DBSAVEERROR_GET());
  }
}

void hShow(cls_DB& db, const Variant& id) {
  std::string line = CStr(id);
  for (int32_t f = 1; f <= db.FIELDS(); ++f) line += "\t" + db.FIELD(f)->ID + "=" + db.FIELDTEXT_GET(id, f);
  std::printf("%s\n", line.c_str());
}

// A random value fitting the field: by the last part of its ID (so "ADDR.PLZ" gets a postal code),
// else by its type; choice fields draw from their member values. Structure fields stay empty.
std::string hRandomValue(cls_DBTool& pTool, const cls_DBField& pField) {
  if (pField.TYPE == ID_DBFieldType_Structure) return {};
  std::string members;
  for (const auto& m : pField.MembersParsed()) members += (members.empty() ? "" : ",") + m.value;
  size_t dot = pField.ID.rfind('.');
  std::string name = dot == std::string::npos ? pField.ID : pField.ID.substr(dot + 1);
  return pTool.RANDOM(name, pField.TYPE, members);
}

// Opens rDB for writing, with the header pHeader ("" for the one the file names); a file that
// cannot be opened ends the command with the open error (exit 1).
void hOpenForWriting(cls_DB& rDB, const std::string& pPath, const std::string& pHeader) {
  if (!rDB.DBOPEN(pPath, pHeader, false, hWriteSettings())) Fail(kExitError, rDB.DBOPENERROR_GET());
}

}  // namespace

DBPtr OpenDatabase(const std::string& pPath, bool pWrite, bool pStream) {
  // The open error is this command's one message; the library's message box would repeat it with
  // the database's internals. The box stays quiet for the rest of the command, which reports its
  // own failures.
  SetNotifier([](const Notification&) { return std::string("OK"); });
  auto db = std::make_shared<cls_DB>();
  // A command that changes a database works on an existing one: the write open does not create it.
  auto settings = pWrite ? hWriteSettings(false) : cls_Structure::New();
  if (!pWrite) settings->ITEM_LET("READONLY", true);
  if (pStream) settings->ITEM_LET("STREAM", true);
  if (!db->DBOPEN(pPath, "", false, settings)) Fail(kExitError, db->DBOPENERROR_GET());
  return db;
}

void AddDbCommands(CLI::App& app) {
  static DbArgs a;
  auto* dbc = app.add_subcommand("db", "Create, read and change databases");
  dbc->require_subcommand(1);

  auto* nw = dbc->add_subcommand("new", "Create an empty database with its header");
  nw->add_option("DB", a.db, "database file (.ry-dbb: binary form, else structure form)")->required();
  nw->add_option("--field", a.fields,
                 "ID:TYPE[:MEMBERS], TYPE one of LONG STRING DATE BOOL STRUCT ENUM ENUMNUMERIC "
                 "DOUBLE REFERENCE REFERENCENUMERIC ENUMMULTI; a choice type's members "
                 "as 'a,b' or 'key=text,...'")
      ->required();
  nw->add_option("--header", a.header, "header file (default: the database's name with .header, beside it)");
  static bool force = false;
  nw->add_flag("--force", force, "replace an existing header or database file");
  nw->callback([] {
    SetNotifier([](const Notification&) { return std::string("OK"); });
    auto db = std::make_shared<cls_DB>();
    for (const auto& fieldDef : a.fields) {
      // ID[:TYPE[:MEMBERS]]
      size_t colon = fieldDef.find(':');
      size_t members = colon == std::string::npos ? colon : fieldDef.find(':', colon + 1);
      std::string id = fieldDef.substr(0, colon);
      int32_t type = colon == std::string::npos
                         ? ID_DBFieldType_String
                         : cls_DBField::TYPEDECODE(fieldDef.substr(colon + 1, members - colon - 1));
      if (id.empty() || type < 0) FailUsage("expected ID:TYPE with a known type: " + fieldDef);
      auto field = db->FIELDCREATE(id, type);
      if (members != std::string::npos) field->MEMBERS = fieldDef.substr(members + 1);
    }
    // Each database gets its own header, X.ry-dbb -> X.header; the database file records the name.
    std::string base = a.db.substr(hDirectory(a.db).size());
    if (size_t dot = base.rfind('.'); dot != std::string::npos && dot > 0) base.resize(dot);
    std::string header = a.header.empty() ? hDirectory(a.db) + base + ".header" : a.header;
    for (const auto& existing : {header, a.db})
      if (!force && ::access(existing.c_str(), F_OK) == 0)
        Fail(kExitError, "'" + existing + "' exists already; --force replaces it");
    if (!db->HEADERSAVE(header)) Fail(kExitError, "cannot write the header " + header);
    hOpenForWriting(*db, a.db, header);
    if (force) db->ENTRYCLEAR();  // a new database: entries of a replaced file do not carry over
    db->ENTRYCHANGED_LET(true);
    hSave(*db);
    std::printf("%s\n", a.db.c_str());
  });

  auto* info = dbc->add_subcommand("info", "Print the database's header, fields and entry count");
  info->add_option("DB", a.db, "database file")->required();
  info->callback([] {
    auto db = OpenDatabase(a.db);
    std::printf("Database: %s\nHeader: %s\nEntries: %d\nFields: %d\n", db->DBFILE_GET().c_str(),
                db->HEADERFILE_GET().c_str(), db->ENTRYCOUNT(), db->FIELDS());
    for (int32_t f = 1; f <= db->FIELDS(); ++f) {
      auto fld = db->FIELD(f);
      std::printf("  %s\t%s\t%s%s\n", fld->ID.c_str(), cls_DBField::TYPETEXT(fld->TYPE).c_str(),
                  cls_DBField::TYPETEXT(fld->TYPE, true).c_str(), fld->INDEXED ? "\tindexed" : "");
    }
  });

  auto* add = dbc->add_subcommand("add", "Add an entry and print its id");
  add->add_option("DB", a.db, "database file")->required();
  add->add_option("assignment", a.assignments, "FIELD=VALUE");
  add->add_flag("--lenient", a.lenient, kLenientHelp);
  add->callback([] {
    auto db = OpenDatabase(a.db, true);
    Variant id = db->ENTRYFREEID();
    db->ENTRYADD(id);
    hAssign(*db, id, a.assignments, a.lenient);
    hSave(*db);
    std::printf("%s\n", CStr(id).c_str());
  });

  auto* show = dbc->add_subcommand("show", "Print entries (all, or the given ids): id, then FIELD=text");
  show->add_option("DB", a.db, "database file")->required();
  show->add_option("ID", a.ids, "entry ids");
  AddEntryFormatOption(*show, a.as);
  show->callback([] {
    auto db = OpenDatabase(a.db);
    cls_DB::IdList ids;
    for (const auto& text : a.ids) {
      if (!db->ENTRYEXISTS(text)) { Fail(kExitError, "no entry " + text); }
      ids.push_back(db->ENTRYIDAT(db->ENTRYPOSITION(text)));
    }
    if (a.ids.empty()) ids = db->ENTRYALL_IDS();
    // Without --as a script keeps the lines it always got: id, then FIELD=text.
    if (!a.as.empty() || isatty(STDOUT_FILENO)) return PrintEntries(*db, ids, a.as);
    for (const auto& id : ids) hShow(*db, id);
  });

  static long long fillCount = 0, fillSeed = 0;
  auto* fill = dbc->add_subcommand("fill", "Add random entries: every field gets a value fitting its name and type");
  fill->add_option("DB", a.db, "database file")->required();
  fill->add_option("-n,--count", fillCount, "number of entries to add")->required()->check(CLI::NonNegativeNumber);
  auto* seedOpt = fill->add_option("--seed", fillSeed, "seed for a reproducible fill (default: a fresh sequence)");
  fill->callback([seedOpt] {
    auto db = OpenDatabase(a.db, true);
    const auto& tool = sys_Global::DBTOOL_GET();
    if (*seedOpt) tool->RANDOMIZE(fillSeed);
    else tool->RANDOMIZE();
    Progress progress(fillCount);
    for (long long i = 1; i <= fillCount; ++i) {
      Variant id = db->ENTRYFREEID();
      db->ENTRYADD(id);
      for (int32_t f = 1; f <= db->FIELDS(); ++f) {
        auto field = db->FIELD(f);
        std::string value = hRandomValue(*tool, *field);
        if (!value.empty()) db->ENTRYFIELD_LET(id, f, value);
      }
      progress.Step(i);
    }
    if (fillCount > 0) db->ENTRYCHANGED_LET(true);
    hSave(*db);
    std::printf("%lld entries added, %d in all\n", fillCount, db->ENTRYCOUNT());
  });

  auto* set = dbc->add_subcommand("set", "Change fields of one entry");
  set->add_option("DB", a.db, "database file")->required();
  set->add_option("ID", a.id, "entry id")->required();
  set->add_option("assignment", a.assignments, "FIELD=VALUE")->required();
  set->add_flag("--lenient", a.lenient, kLenientHelp);
  set->callback([] {
    auto db = OpenDatabase(a.db, true);
    if (!db->ENTRYEXISTS(a.id)) { Fail(kExitError, "no entry " + a.id); }
    hAssign(*db, a.id, a.assignments, a.lenient);
    hSave(*db);
  });

  auto* rm = dbc->add_subcommand("remove", "Remove entries");
  rm->add_option("DB", a.db, "database file")->required();
  rm->add_option("ID", a.ids, "entry ids")->required();
  rm->callback([] {
    auto db = OpenDatabase(a.db, true);
    int missing = 0;
    for (const auto& id : a.ids)
      if (!db->ENTRYREMOVE(id)) {
        ReportFailure("rykel db remove", "no entry " + id);
        ++missing;
      }
    hSave(*db);
    if (missing) Fail(kExitError, "");
  });

  auto* conv = dbc->add_subcommand("convert", "Write the database in the form the other file name selects");
  conv->add_option("DB", a.db, "database file")->required();
  conv->add_option("OTHER", a.other, "target file (.ry-dbb: binary form, else structure form)")->required();
  conv->callback([] {
    auto db = OpenDatabase(a.db);
    auto out = std::make_shared<cls_DB>();
    SetNotifier([](const Notification&) { return std::string("OK"); });
    hOpenForWriting(*out, a.other, db->HEADERFILE_GET());
    out->DBCOPY(db);
    out->ENTRYCHANGED_LET(true);
    hSave(*out);
    std::printf("%d entries written to %s\n", out->ENTRYCOUNT(), a.other.c_str());
  });

  auto* check = dbc->add_subcommand("check", "Open the database and check every index against the entries");
  check->add_option("DB", a.db, "database file")->required();
  check->callback([] {
    auto db = OpenDatabase(a.db);
    if (!db->DBCHECKINDEX()) {
      std::printf("%s\n", db->DBCHECKINDEXREPORT_GET().c_str());
      Fail(kExitError, "the indexes do not match the entries");
    }
    std::printf("OK: %d entries, %d fields\n", db->ENTRYCOUNT(), db->FIELDS());
  });
}

}  // namespace rykel::cli
