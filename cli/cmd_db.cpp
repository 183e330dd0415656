// rykel db ...: create, read and change databases from the shell.
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "database/cls_DB.h"
#include "frame/Convert.h"
#include "frame/Notifier.h"
#include "frame/sys_Global.h"
#include "tools/cls_DBTool.h"

namespace rykel::cli {

namespace {

struct DbArgs {
  std::string db, other, header, id;
  std::vector<std::string> fields, assignments, ids;
};

std::string hDirectory(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// Settings of a database opened for a change: its lock is held from the open to the save, so
// that concurrent commands take turns instead of overwriting each other's entries.
StructurePtr hWriteSettings() {
  auto settings = cls_Structure::New();
  settings->ITEM_LET("LOCK", true);
  return settings;
}

// Opens a database that must exist; prints the open message and exits 1 when it cannot.
DBPtr hOpen(const std::string& path, bool write) {
  SetNotifier([](const Notification&) { return std::string("OK"); });  // the message is printed below
  auto db = std::make_shared<cls_DB>();
  bool ok = db->DBOPENREADONLY(path, "", false);
  if (ok && write) {
    db->DBCLOSE();
    ok = db->DBOPEN(path, "", false, hWriteSettings());
  }
  if (!ok) {
    std::fprintf(stderr, "rykel db: %s\n", db->DBOPENERROR_GET().c_str());
    std::exit(1);
  }
  return db;
}

// Applies FIELD=VALUE assignments to one entry; an unknown field is an error.
void hAssign(cls_DB& db, const Variant& id, const std::vector<std::string>& assignments) {
  for (const auto& a : assignments) {
    size_t eq = a.find('=');
    if (eq == std::string::npos) throw CLI::ValidationError("assignment", "expected FIELD=VALUE: " + a);
    std::string field = a.substr(0, eq);
    if (!db.FIELDEXISTS(field)) throw CLI::ValidationError("assignment", "no field '" + field + "'");
    db.ENTRYFIELD_LET(id, field, a.substr(eq + 1));
  }
}

void hSave(cls_DB& db) {
  if (db.ENTRYCHANGED_GET() && !db.DBSAVE()) {
    std::fprintf(stderr, "rykel db: cannot save '%s': %s\n", db.DBFILE_GET().c_str(), db.DBSAVEERROR_GET().c_str());
    std::exit(1);
  }
}

void hShow(cls_DB& db, const Variant& id) {
  std::string line = CStr(id);
  for (int32_t f = 1; f <= db.FIELDS(); ++f) line += "\t" + db.FIELD(f)->ID + "=" + db.FIELDTEXT_GET(id, f);
  std::printf("%s\n", line.c_str());
}

// A progress bar on stderr, drawn only when stderr is a terminal and only when the percentage moves.
class Progress {
 public:
  explicit Progress(long long pTotal) : total_(pTotal), shown_(isatty(STDERR_FILENO) && pTotal > 0) {}
  void Step(long long pDone) {
    if (!shown_) return;
    int percent = static_cast<int>(pDone * 100 / total_);
    if (percent == last_) return;
    last_ = percent;
    std::string bar(static_cast<size_t>(percent / 2), '#');
    std::fprintf(stderr, "\r[%-50s] %3d%%", bar.c_str(), percent);
    if (pDone == total_) std::fprintf(stderr, "\n");
  }

 private:
  long long total_;
  bool shown_;
  int last_ = -1;
};

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

}  // namespace

void AddDbCommands(CLI::App& app) {
  static DbArgs a;
  auto* dbc = app.add_subcommand("db", "Create, read and change databases");
  dbc->require_subcommand(1);

  auto* nw = dbc->add_subcommand("new", "Create an empty database with its header");
  nw->add_option("DB", a.db, "database file (.ry-dbb: binary form, else structure form)")->required();
  nw->add_option("--field", a.fields, "ID:TYPE, TYPE one of LONG STRING DATE BOOL STRUCT ENUM ENUMNUMERIC DOUBLE "
                                      "REFERENCE REFERENCENUMERIC ENUMMULTI")->required();
  nw->add_option("--header", a.header, "header file (default: the database's name with .header, beside it)");
  static bool force = false;
  nw->add_flag("--force", force, "replace an existing header or database file");
  nw->callback([] {
    SetNotifier([](const Notification&) { return std::string("OK"); });
    auto db = std::make_shared<cls_DB>();
    for (const auto& fieldDef : a.fields) {
      size_t colon = fieldDef.find(':');
      std::string id = fieldDef.substr(0, colon);
      int32_t type = colon == std::string::npos ? ID_DBFieldType_String : cls_DBField::TYPEDECODE(fieldDef.substr(colon + 1));
      if (id.empty() || type < 0) throw CLI::ValidationError("--field", "expected ID:TYPE with a known type: " + fieldDef);
      db->FIELDCREATE(id, type);
    }
    // Each database gets its own header, X.ry-dbb -> X.header; the database file records the name.
    std::string base = a.db.substr(hDirectory(a.db).size());
    if (size_t dot = base.rfind('.'); dot != std::string::npos && dot > 0) base.resize(dot);
    std::string header = a.header.empty() ? hDirectory(a.db) + base + ".header" : a.header;
    for (const auto& existing : {header, a.db})
      if (!force && ::access(existing.c_str(), F_OK) == 0) {
        std::fprintf(stderr, "rykel db: '%s' exists already; --force replaces it\n", existing.c_str());
        std::exit(1);
      }
    if (!db->HEADERSAVE(header)) throw CLI::RuntimeError("cannot write the header " + header, 1);
    if (!db->DBOPEN(a.db, header, false, hWriteSettings())) {
      std::fprintf(stderr, "rykel db: %s\n", db->DBOPENERROR_GET().c_str());
      std::exit(1);
    }
    if (force) db->ENTRYCLEAR();  // a new database: entries of a replaced file do not carry over
    db->ENTRYCHANGED_LET(true);
    hSave(*db);
    std::printf("%s\n", a.db.c_str());
  });

  auto* info = dbc->add_subcommand("info", "Print the database's header, fields and entry count");
  info->add_option("DB", a.db, "database file")->required();
  info->callback([] {
    auto db = hOpen(a.db, false);
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
  add->callback([] {
    auto db = hOpen(a.db, true);
    Variant id = db->ENTRYFREEID();
    db->ENTRYADD(id);
    hAssign(*db, id, a.assignments);
    hSave(*db);
    std::printf("%s\n", CStr(id).c_str());
  });

  auto* show = dbc->add_subcommand("show", "Print entries (all, or the given ids): id, then FIELD=text");
  show->add_option("DB", a.db, "database file")->required();
  show->add_option("ID", a.ids, "entry ids");
  show->callback([] {
    auto db = hOpen(a.db, false);
    if (a.ids.empty()) {
      for (const auto& id : db->ENTRYALL_IDS()) hShow(*db, id);
      return;
    }
    for (const auto& text : a.ids) {
      if (!db->ENTRYEXISTS(text)) {
        std::fprintf(stderr, "rykel db: no entry %s\n", text.c_str());
        std::exit(1);
      }
      hShow(*db, db->ENTRYIDAT(db->ENTRYPOSITION(text)));
    }
  });

  static long long fillCount = 0, fillSeed = 0;
  auto* fill = dbc->add_subcommand("fill", "Add random entries: every field gets a value fitting its name and type");
  fill->add_option("DB", a.db, "database file")->required();
  fill->add_option("-n,--count", fillCount, "number of entries to add")->required()->check(CLI::NonNegativeNumber);
  auto* seedOpt = fill->add_option("--seed", fillSeed, "seed for a reproducible fill (default: a fresh sequence)");
  fill->callback([seedOpt] {
    auto db = hOpen(a.db, true);
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
  set->callback([] {
    auto db = hOpen(a.db, true);
    if (!db->ENTRYEXISTS(a.id)) {
      std::fprintf(stderr, "rykel db: no entry %s\n", a.id.c_str());
      std::exit(1);
    }
    hAssign(*db, a.id, a.assignments);
    hSave(*db);
  });

  auto* rm = dbc->add_subcommand("remove", "Remove entries");
  rm->add_option("DB", a.db, "database file")->required();
  rm->add_option("ID", a.ids, "entry ids")->required();
  rm->callback([] {
    auto db = hOpen(a.db, true);
    int missing = 0;
    for (const auto& id : a.ids)
      if (!db->ENTRYREMOVE(id)) {
        std::fprintf(stderr, "rykel db: no entry %s\n", id.c_str());
        ++missing;
      }
    hSave(*db);
    if (missing) std::exit(1);
  });

  auto* conv = dbc->add_subcommand("convert", "Write the database in the form the other file name selects");
  conv->add_option("DB", a.db, "database file")->required();
  conv->add_option("OTHER", a.other, "target file (.ry-dbb: binary form, else structure form)")->required();
  conv->callback([] {
    auto db = hOpen(a.db, false);
    auto out = std::make_shared<cls_DB>();
    if (!out->DBOPEN(a.other, db->HEADERFILE_GET(), false, hWriteSettings())) {
      std::fprintf(stderr, "rykel db: %s\n", out->DBOPENERROR_GET().c_str());
      std::exit(1);
    }
    out->DBCOPY(db);
    out->ENTRYCHANGED_LET(true);
    hSave(*out);
    std::printf("%d entries written to %s\n", out->ENTRYCOUNT(), a.other.c_str());
  });

  auto* check = dbc->add_subcommand("check", "Open the database and check every index against the entries");
  check->add_option("DB", a.db, "database file")->required();
  check->callback([] {
    auto db = hOpen(a.db, false);
    if (!db->DBCHECKINDEX()) {
      std::printf("%s\n", db->DBCHECKINDEXREPORT_GET().c_str());
      std::exit(1);
    }
    std::printf("OK: %d entries, %d fields\n", db->ENTRYCOUNT(), db->FIELDS());
  });
}

}  // namespace rykel::cli
