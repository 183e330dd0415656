// rykel db import: adds the rows of a CSV, TSV, JSON or JSONL file to a database, or makes a new
// database from them. The whole file is read before anything is written; the database file is
// saved once, at the end, so a bad row leaves it exactly as it was.
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "Commands.h"
#include "Progress.h"
#include "database/DBBinaryFile.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "frame/Notifier.h"
#include "host/cls_DB.h"
#include "tools/mdl_DBImport.h"

namespace rykel::cli {

namespace {

struct ImportArgs {
  std::string db, file, header;
  std::vector<std::string> maps;
  mdl_DBImport::Options options;
  bool quiet = false;
};

// X.ry-dbb -> X.header beside it, as `db new` names a new database's header.
std::string hHeaderFor(const std::string& pDB) {
  size_t slash = pDB.rfind('/');
  std::string dir = slash == std::string::npos ? "" : pDB.substr(0, slash + 1);
  std::string base = pDB.substr(dir.size());
  if (size_t dot = base.rfind('.'); dot != std::string::npos && dot > 0) base.resize(dot);
  return dir + base + ".header";
}

}  // namespace

void AddDbImportCommand(CLI::App& app) {
  static ImportArgs a;
  auto* dbc = app.get_subcommand("db");
  auto* im = dbc->add_subcommand(
      "import", "Add the rows of a CSV, TSV, JSON or JSONL file as entries (a new database when DB does not exist)");
  im->add_option("DB", a.db, "database file (made, with its header beside it, when it does not exist)")->required();
  im->add_option("FILE", a.file,
                 "data file: a header row naming the columns, then one row per entry; - for standard input")
      ->required();
  im->add_option("--format", a.options.format,
                 "csv, tsv, json (an array of objects) or jsonl (an object per line); default: by FILE's "
                 "extension, else csv")
      ->check(CLI::IsMember({"csv", "tsv", "json", "jsonl"}, CLI::ignore_case));
  im->add_option("--delimiter", a.options.delimiter, "the value delimiter of csv: one character, or 'tab'");
  im->add_option("--encoding", a.options.encoding, "utf-8 (default) or cp1252, for csv and tsv")
      ->check(CLI::IsMember({"utf-8", "utf8", "cp1252", "windows-1252"}, CLI::ignore_case));
  im->add_option("--map", a.maps,
                 "COLUMN=FIELD: import the column into this field (repeatable); other columns go to the "
                 "field of that ID or display name");
  im->add_flag("--create", a.options.create,
               "make a field for each column that has none: ID from the column name, type from the values "
               "(whole number, decimal, date, yes/no, else text; numbers with a leading zero stay text)");
  im->add_flag("--skip-bad", a.options.skipBad, "leave out bad rows, import the rest and list the lines skipped");
  im->add_option("--header", a.header, "a new database's header file (default: the database's name with .header)");
  im->add_flag("--quiet", a.quiet, "no progress bar");
  im->callback([] {
    for (const auto& m : a.maps) {
      size_t eq = m.find('=');
      if (eq == std::string::npos || eq == 0 || eq + 1 == m.size()) FailUsage("--map: expected COLUMN=FIELD: " + m);
      a.options.map.emplace_back(m.substr(0, eq), m.substr(eq + 1));
    }
    SetNotifier([](const Notification&) { return std::string("OK"); });
    // A database that does not exist yet is made here, with fields from the file's columns.
    bool isNew = ::access(a.db.c_str(), F_OK) != 0;
    std::string newHeader;
    DBPtr db;
    if (isNew) {
      newHeader = a.header.empty() ? hHeaderFor(a.db) : a.header;
      if (::access(newHeader.c_str(), F_OK) == 0)
        Fail(kExitError, "'" + newHeader + "' exists already; remove it or name another with --header");
      db = std::make_shared<cls_DB>();
      if (!db->HEADERSAVE(newHeader)) Fail(kExitError, "cannot write the header " + newHeader);
      auto settings = cls_Structure::New();
      settings->ITEM_LET("LOCK", true);
      if (!db->DBOPEN(a.db, newHeader, false, settings)) {
        ::unlink(newHeader.c_str());
        Fail(kExitError, db->DBOPENERROR_GET());
      }
      a.options.create = true;
    } else {
      db = OpenDatabase(a.db, true);
    }
    std::unique_ptr<Progress> bar;
    if (!a.quiet)
      a.options.progress = [&bar](int64_t done, int64_t total) {
        if (!bar) bar = std::make_unique<Progress>(total);
        bar->Step(done);
      };
    mdl_DBImport::Result r;
    // A new database in the binary form gets its rows written to the file as they are read, so
    // no row is held; the file appears whole, or not at all, when the write is renamed into place.
    // (Skipped rows would leave fewer records than the count the file starts with.)
    bool direct = isNew && !a.options.skipBad && cls_DBStore::ISBINARYNAME(a.db);
    try {
      if (direct) {
        fileio::WriteFileAtomicStream(a.db, [&](std::FILE* out) {
          DBBinaryWriter writer(out, a.db);
          size_t slash = newHeader.rfind('/');
          std::string headerName = slash == std::string::npos ? newHeader : newHeader.substr(slash + 1);
          int32_t id = 0;
          a.options.textSink = [&](std::string_view pEntry, int64_t pRows) {
            if (!writer.Begun()) writer.Begin(headerName, static_cast<int32_t>(pRows));
            writer.Record(Variant(++id), true, pEntry);
          };
          r = mdl_DBImport::Import(*db, a.file, a.options);
          if (!writer.Begun()) writer.Begin(headerName, 0);
          writer.End();
        });
      } else {
        r = mdl_DBImport::Import(*db, a.file, a.options);
      }
    } catch (const Error& e) {
      if (bar && ::isatty(STDERR_FILENO)) std::fprintf(stderr, "\n");
      if (isNew) {  // nothing of the database the import was to make stays behind
        db->DBCLEAR();
        for (const auto& made : {newHeader, a.db, a.db + ".lock"}) ::unlink(made.c_str());
      }
      // A flaw in the data or the options is the user's to fix: a usage error. A file that
      // cannot be read is a runtime error.
      Fail(e.number == err::kInvalidData || e.number == err::kInvalidCall ? kExitUsage : kExitError, e.description);
    }
    if (!r.fieldsCreated.empty() && !db->HEADERSAVE(db->HEADERFILE_GET()))
      Fail(kExitError, "cannot write the header " + db->HEADERFILE_GET());
    if (isNew && !direct) db->ENTRYCHANGED_LET(true);  // an empty file still makes the database file
    if (db->ENTRYCHANGED_GET() && !db->DBSAVE())
      Fail(kExitError, "cannot save '" + db->DBFILE_GET() + "': " + db->DBSAVEERROR_GET());
    for (const auto& p : r.problems) std::fprintf(stderr, "skipped %s\n", p.c_str());
    std::string skipped;
    for (int64_t line : r.skipped) skipped += (skipped.empty() ? "" : ", ") + std::to_string(line);
    std::printf("%lld entries imported into %s", static_cast<long long>(r.imported), a.db.c_str());
    if (!r.fieldsCreated.empty()) std::printf(", %zu fields made", r.fieldsCreated.size());
    if (!r.skipped.empty()) std::printf("; %zu rows skipped, lines %s", r.skipped.size(), skipped.c_str());
    std::printf("\n");
  });
}

}  // namespace rykel::cli
