// rykel db export: writes a view's entries as a workbook, HTML table, batch file, PDF, database or data file.
#include <unistd.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "Commands.h"
#include "ExportData.h"
#include "export/cls_DBExport.h"
#include "frame/Notifier.h"
#include "frame/Text.h"
#include "host/cls_DB.h"

namespace rykel::cli {

namespace {

struct ExportArgs {
  std::string db, format = "xlsx", out, view = "1", title, sheetsBy, password, office;
  FilterRequest filter;
  bool quiet = false;
};

// "[#####.....]  42% 4200/10000" redrawn in place on a terminal.
void hProgress(int64_t done, int64_t total) {
  constexpr int kWidth = 30;
  int filled = total > 0 ? static_cast<int>(kWidth * done / total) : kWidth;
  std::fprintf(stderr, "\r[%s%s] %3d%% %lld/%lld", std::string(static_cast<size_t>(filled), '#').c_str(),
               std::string(static_cast<size_t>(kWidth - filled), '.').c_str(),
               total > 0 ? static_cast<int>(100 * done / total) : 100, static_cast<long long>(done),
               static_cast<long long>(total));
  if (done >= total) std::fprintf(stderr, "\n");
}

}  // namespace

void AddDbExportCommand(CLI::App& app) {
  static ExportArgs a;
  auto* dbc = app.get_subcommand("db");
  auto* ex =
      dbc->add_subcommand("export", "Write a view's entries as a workbook, HTML table, batch file, PDF or database");
  ex->add_option("DB", a.db, "database file")->required();
  ex->add_option("--format", a.format,
                 "xlsx (workbook), xls (older workbook format, through LibreOffice), htm (HTML table), "
                 "bat or cmd (table plus batch file), pdf, db; csv, tsv, json, jsonl (every field by ID, stored "
                 "values) or sqlite (a SQLite database file)")
      ->check(CLI::IsMember(
          {"xlsx", "xls", "htm", "html", "bat", "cmd", "pdf", "db", "csv", "tsv", "json", "jsonl", "sqlite"},
          CLI::ignore_case));
  ex->add_option("--out", a.out, "target file; - for standard output (csv, tsv, json, jsonl)")->required();
  ex->add_option("--view", a.view, "view number or ID (default: the first)");
  ex->add_option("--title", a.title, "title band text");
  ex->add_option("--sheets-by", a.sheetsBy, "xlsx: one more sheet per value of this field");
  ex->add_option("--password", a.password,
                 "xlsx, xls: encrypt the workbook with this file-open password (through LibreOffice)");
  ex->add_option("--office", a.office,
                 "xlsx, xls: build the workbook in this LibreOffice program (default for xls and --password: soffice)");
  ex->add_option("--filter,--where", a.filter.conditions,
                 "FIELD=CONDITION: export only entries that meet it (repeatable; a plain value must equal "
                 "the field's value)")
      ->allow_extra_args(false);
  ex->add_flag("--or", a.filter.orMode, "with several --where: entries that meet any of them");
  ex->add_flag("--condition", a.filter.raw, "read each --where condition as a raw condition text");
  AddSortOptions(*ex, a.filter, true, true);
  ex->footer(
      "A binary database (.ry-dbb) is read from its file as the export goes, never held whole: in table "
      "order, or with a sort (--sort, --then or the view's) by one pass for the sort fields and one for the "
      "entries in order. --filter, a view's filter, a sort by display text (&FIELD), an indexed field "
      "sorted alone, --sheets-by and --format db load the whole database.");
  ex->add_flag("--quiet", a.quiet, "no progress bar");
  ex->callback([] {
    std::string format = text::UCase(a.format);
    // The entries are read from the file as the export goes, in table order or sorted through
    // a list of record offsets, so the database is never held whole; a filter, sheets by value
    // or a database copy need it in memory.
    bool stream = a.filter.conditions.empty() && a.sheetsBy.empty() && format != "DB";
    auto db = OpenDatabase(a.db, false, stream);
    SetNotifier([](const Notification& n) {
      ReportFailure("rykel db export", n.text);
      return std::string("OK");
    });
    auto settings = cls_Structure::New();
    if (!a.title.empty()) {
      settings->ITEM_LET("TITLE.SHOW", true);
      settings->ITEM_LET("TITLE.TEXT", a.title);
    }
    if (!a.sheetsBy.empty()) {
      CheckField(*db, a.sheetsBy);
      settings->ITEM_LET("SUBSHEET", true);
      settings->ITEM_LET("TABFILTER", a.sheetsBy);
    }
    // xls, a password or a named office program take the LibreOffice path of EXPORTEXCEL.
    if (!a.password.empty()) settings->ITEM_LET("EXCEL.PASSWORD", a.password);
    if (!a.office.empty()) settings->ITEM_LET("EXCEL.PROGRAM", a.office);
    if (format == "XLS" || format == "XLSX") settings->ITEM_LET("FORMAT", format);
    Variant view = a.view;
    if (!a.view.empty() && a.view.find_first_not_of("0123456789") == std::string::npos)
      view = a.view.size() <= 9 ? std::stoi(a.view) : -1;  // a number past any view's is no view
    auto shown = db->VIEW(view);
    if (!shown) FailUsage("--view: no view '" + a.view + "'");
    if (db->DBSTREAMED_GET()) {
      // --sort and --then stand in for the view's sort fields, as they do in a filter; the
      // streamed database is opened read-only for this export alone, so its view may change.
      if (!a.filter.sort.empty()) {
        CheckField(*db, a.filter.sort);
        shown->SORTFIELD = a.filter.sort, shown->SORTREV = a.filter.rev;
      }
      if (!a.filter.then.empty()) {
        CheckField(*db, a.filter.then);
        shown->SORTFIELD2 = a.filter.then, shown->SORTREV2 = a.filter.thenRev;
      }
      // the view's own filter, or a sort that needs the entries, loads them all
      if (!cls_DBExport::STREAMS(*db, *shown)) db = OpenDatabase(a.db);
    }
    // Filter and sort as `rykel db filter` does, on top of the view's own filter; without them
    // the view's filter and sort decide.
    cls_DB::IDList ids;
    if (!db->DBSTREAMED_GET() && (!a.filter.conditions.empty() || !a.filter.sort.empty() || !a.filter.then.empty()))
      ids = FilterEntries(*db, view, a.filter, "--filter");
    if (!a.quiet && ::isatty(STDERR_FILENO)) db->EXPORTPROGRESS_SET(hProgress);
    if (ExportData(*db, format, a.out, view, ids)) return;
    bool ok = format == "XLSX" || format == "XLS" ? db->EXPORTEXCEL(view, a.out, ids, settings)
                                                  : db->EXPORTFILE(view, a.out, format, ids, settings);
    if (!ok) Fail(kExitError, "cannot write '" + a.out + "'");
    std::printf("%s\n", a.out.c_str());
  });
}

}  // namespace rykel::cli
