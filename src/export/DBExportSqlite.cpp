// DBExportSqlite: one transaction of prepared inserts into a fresh file, renamed when complete.
#include "export/DBExportSqlite.h"

#include <sqlite3.h>

#include <cmath>

#include "database/enm_DBFieldType.h"
#include "export/DBExportPlain.h"
#include "export/ExportPlugin.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "frame/Text.h"

namespace rykel::mdl_DBExport {

namespace {

// "name" with inner quotes doubled: any field ID is a valid column name.
std::string hIdent(std::string_view pName) {
  std::string s = "\"";
  for (char ch : pName) {
    if (ch == '"') s += '"';
    s += ch;
  }
  return s + '"';
}

const char* hColumnType(int32_t pType) {
  switch (pType) {
    case ID_DBFieldType_Long:
    case ID_DBFieldType_EnumNumeric:
    case ID_DBFieldType_ReferenceNumeric:
    case ID_DBFieldType_Boolean: return "INTEGER";
    case ID_DBFieldType_Double: return "REAL";
    default: return "TEXT";
  }
}

// Owns the connection and the statements; every failure raises with SQLite's message.
class SqliteFile {
 public:
  explicit SqliteFile(const std::string& pFile) : file_(pFile) {
    if (sqlite3_open_v2(pFile.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) != SQLITE_OK)
      hFail("cannot open");
  }
  ~SqliteFile() {
    for (auto* st : statements_) sqlite3_finalize(st);
    sqlite3_close(db_);
  }
  void Exec(const std::string& pSql) {
    if (sqlite3_exec(db_, pSql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) hFail("cannot write");
  }
  sqlite3_stmt* Prepare(const std::string& pSql) {
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(db_, pSql.c_str(), -1, &st, nullptr) != SQLITE_OK) hFail("cannot write");
    statements_.push_back(st);
    return st;
  }
  void Step(sqlite3_stmt* st) {
    if (sqlite3_step(st) != SQLITE_DONE) hFail("cannot write");
    sqlite3_reset(st);
    sqlite3_clear_bindings(st);
  }
  [[noreturn]] void hFail(const char* pWhat) {
    Raise(err::kFileIO, std::string("SQLite ") + pWhat + " '" + file_ + "': " + sqlite3_errmsg(db_));
  }

 private:
  std::string file_;
  sqlite3* db_ = nullptr;
  std::vector<sqlite3_stmt*> statements_;
};

void hBind(sqlite3_stmt* st, int pSlot, const PlainCell& c) {
  switch (c.kind) {
    case PlainKind::Null: sqlite3_bind_null(st, pSlot); break;
    case PlainKind::Integer:
    case PlainKind::Bool: sqlite3_bind_int64(st, pSlot, c.whole); break;
    case PlainKind::Real: sqlite3_bind_double(st, pSlot, c.real); break;
    case PlainKind::Date:
    case PlainKind::Text:
    case PlainKind::Json:
      sqlite3_bind_text(st, pSlot, c.text.data(), static_cast<int>(c.text.size()), SQLITE_STATIC);
      break;
  }
}

void hWrite(cls_DBStore& rDB, const std::string& pFile, PlainWalk& walk) {
  SqliteFile db(pFile);
  // A fresh file that is renamed only when complete needs no journal.
  db.Exec("PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; BEGIN");
  const auto& fields = walk.FIELDS();
  // The rowid under a name no field takes as its column name.
  std::string rowid;
  for (const char* name : {"rowid", "_rowid_", "oid"}) {
    bool taken = false;
    for (const auto& f : fields) taken = taken || text::UCase(f->ID) == text::UCase(name);
    if (!taken) {
      rowid = name;
      break;
    }
  }
  // Slot 1 of the insert is the rowid (when it has a name), the fields follow.
  std::string create = "CREATE TABLE entries (", insert = "INSERT INTO entries (" + rowid,
              values = rowid.empty() ? "" : "?";
  for (size_t i = 0; i < fields.size(); ++i) {
    bool first = i == 0 && rowid.empty();
    create += (i ? ", " : "") + hIdent(fields[i]->ID) + " " + hColumnType(fields[i]->TYPE);
    insert += (first ? "" : ", ") + hIdent(fields[i]->ID);
    values += first ? "?" : ", ?";
  }
  int firstField = rowid.empty() ? 1 : 2;
  db.Exec(create + ")");
  db.Exec(
      "CREATE TABLE rykel_fields (position INTEGER PRIMARY KEY, id TEXT NOT NULL, name TEXT, type TEXT, "
      "indexed INTEGER, members TEXT)");
  sqlite3_stmt* meta = db.Prepare("INSERT INTO rykel_fields VALUES (?, ?, ?, ?, ?, ?)");
  for (size_t i = 0; i < fields.size(); ++i) {
    const auto& f = *fields[i];
    std::string type = cls_DBField::TYPETEXT(f.TYPE);
    sqlite3_bind_int64(meta, 1, static_cast<int64_t>(i + 1));
    sqlite3_bind_text(meta, 2, f.ID.data(), static_cast<int>(f.ID.size()), SQLITE_STATIC);
    sqlite3_bind_text(meta, 3, f.NAME.data(), static_cast<int>(f.NAME.size()), SQLITE_STATIC);
    sqlite3_bind_text(meta, 4, type.data(), static_cast<int>(type.size()), SQLITE_TRANSIENT);
    sqlite3_bind_int(meta, 5, f.INDEXED ? 1 : 0);
    if (DBFieldTypeIsChoice(f.TYPE))
      sqlite3_bind_text(meta, 6, f.MEMBERS.data(), static_cast<int>(f.MEMBERS.size()), SQLITE_STATIC);
    db.Step(meta);
  }
  sqlite3_stmt* row = db.Prepare(insert + ") VALUES (" + values + ")");
  bool numericIds = rDB.DBNUMERIC_GET();
  Variant id;
  for (int64_t r = 0, rows = walk.ROWS(); r < rows; ++r) {
    const auto& cells = walk.ROW(r, id);
    // Numeric ids become the rowid; other ids leave it to SQLite.
    PlainCell key;
    if (numericIds) PlainOf(id, ID_DBFieldType_Long, key);
    if (key.kind == PlainKind::Integer && !rowid.empty()) sqlite3_bind_int64(row, 1, key.whole);
    for (size_t i = 0; i < cells.size(); ++i) hBind(row, static_cast<int>(i) + firstField, cells[i]);
    db.Step(row);
  }
  // Indexes after the rows: built once, in sorted order.
  for (const auto& f : fields) {
    if (f->INDEXED) db.Exec("CREATE INDEX " + hIdent("entries_" + f->ID) + " ON entries (" + hIdent(f->ID) + ")");
  }
  db.Exec("COMMIT");
}

}  // namespace

void EXPORTSQLITE(cls_DBStore& rDB, const std::string& pFile, const Variant& pView, const cls_DBStore::IDList& pIDs,
                  const StructurePtr& pSettings) {
  PlainWalk walk(rDB, pView, pIDs, pSettings);
  fileio::WriteFileAtomicByName(pFile, [&](const std::string& pTemp) { hWrite(rDB, pTemp, walk); });
}

}  // namespace rykel::mdl_DBExport

extern "C" const rykel::SqlitePlugin rykel_plugin_sqlite = {RYKEL_VERSION, rykel::mdl_DBExport::EXPORTSQLITE};
