// mdl_DBExport: each export builds one cls_DBExport walk and hands it the writers it needs.
#include "export/mdl_DBExport.h"

#include <filesystem>
#include <set>

#include "database/DBEntryText.h"
#include "export/ExportPlugin.h"
#include "export/cls_DBExport.h"
#include "export/cls_DBExportHtml.h"
#include "export/cls_DBExportWorkbook.h"
#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "frame/Notifier.h"
#include "frame/Text.h"
#include "frame/mdl_Global.h"

namespace rykel::mdl_DBExport {

namespace {

constexpr const char* kClass = "cls_DB";
constexpr int64_t kConstantMemoryRows = 50000;

bool hSetting(const StructurePtr& pSettings, const char* pKey) {
  if (!pSettings) return false;
  Variant v = pSettings->ITEM_GET(pKey);
  return !v.isEmpty() && mdl_Global::hCBool(v);
}

void hShowInfo(const StructurePtr& pSettings, const std::string& pFile, int64_t pRows) {
  if (!hSetting(pSettings, "SHOWINFO")) return;
  Notify({"Export", "Export abgeschlossen: " + std::to_string(pRows) + " Einträge in " + pFile, "OK", "Information"});
}

// The spreadsheet program path of EXPORTEXCEL: taken when the settings ask for what only the
// program does (a file-open password "EXCEL.PASSWORD", the older file format by "FORMAT" = "XLS"
// or a ".xls" target) or name the program ("EXCEL.PROGRAM") or ask for it ("EXCEL.USEPROGRAM").
// Otherwise the built-in writer makes the .xlsx.
std::optional<CalcOptions> hCalcOptions(const StructurePtr& pSettings, const std::string& pFile) {
  if (!pSettings) return std::nullopt;
  CalcOptions o;
  o.password = CStr(pSettings->ITEM_GET("EXCEL.PASSWORD"));
  std::string format = text::UCase(CStr(pSettings->ITEM_GET("FORMAT")));
  std::string ext = text::UCase(std::filesystem::path(pFile).extension().string());
  o.oldFormat = format == "XLS" || (format.empty() && ext == ".XLS");
  std::string program = CStr(pSettings->ITEM_GET("EXCEL.PROGRAM"));
  if (!program.empty()) o.program = program;
  Variant timeout = pSettings->ITEM_GET("EXCEL.TIMEOUT");
  if (!timeout.isEmpty()) o.timeoutSeconds = CDbl(timeout);
  if (o.password.empty() && !o.oldFormat && program.empty() && !hSetting(pSettings, "EXCEL.USEPROGRAM"))
    return std::nullopt;
  return o;
}

bool hCannotStart() {
  Notify({"Export", "Excel konnte nicht gestartet werden!", "OK", "Critical"});
  return false;
}

}  // namespace

bool EXPORTFILE(cls_DBStore& rDB, const Variant& pView, const std::string& pFile, const std::string& pFormat,
                const IDList& pIDs, const StructurePtr& pSettings) {
  return Guard(kClass, "EXPORTFILE", [&] {
    std::string format = text::UCase(pFormat);
    if (format == "PDF") return EXPORTPDF(rDB, pView, pFile, pIDs, pSettings);
    if (format == "DB") return EXPORTDB(rDB, pView, Variant(pFile), pIDs, pSettings);
    bool batch = format == "BAT" || format == "CMD";
    if (!batch && format != "HTM" && format != "HTML" && format != "XLS" && format != "XLSX") return false;
    rDB.DEBUGTRACK_LET("EXPORTFILE-1");
    cls_DBExport walk(rDB, pView, pIDs, pSettings);
    std::string table = pFile;
    std::filesystem::path batchPath(pFile);
    std::string base = batchPath.stem().string();
    if (batch) {
      // The name goes into a quoted batch line; inside quotes cmd still expands "%" and ends the
      // line at a break, and a quote would end the quoting: such names are refused, not mangled.
      if (base.find_first_of("\"&|<>^%\r\n") != std::string::npos)
        Raise(err::kInvalidCall, "the batch export's name '" + base +
                                     "' holds a character a batch file cannot quote (\" & | < > ^ % or a line break)");
      // The "Data" folder is made beside the batch file; the batch file's own folder must exist.
      std::filesystem::path folder = batchPath.parent_path(), data = folder / "Data";
      std::error_code ec;
      if (!folder.empty() && !std::filesystem::is_directory(folder, ec))
        Raise(err::kPathNotFound, "Folder '" + folder.string() + "' does not exist (cannot write '" + pFile + "')");
      std::filesystem::create_directory(data, ec);
      if (ec) Raise(err::kPathNotFound, "cannot create the folder '" + data.string() + "': " + ec.message());
      table = (data / (base + ".htm")).string();
    }
    fileio::WriteFileAtomicStream(table, [&](std::FILE* f) {
      cls_DBExportHtml html(f);
      walk.WALK({&html});
    });
    if (batch) {
      rDB.DEBUGTRACK_LET("EXPORTFILE-2");
      std::string lines = "@ECHO OFF\r\nCD Data\r\nSTART excel \"" + base + ".htm\"\r\n";
      fileio::WriteFileAtomic(pFile, lines);
    }
    hShowInfo(pSettings, pFile, walk.TABLE().rows);
    return true;
  });
}

bool EXPORTEXCEL(cls_DBStore& rDB, const Variant& pView, const std::string& pFile, const IDList& pIDs,
                 const StructurePtr& pSettings) {
  return Guard(kClass, "EXPORTEXCEL", [&] {
    rDB.DEBUGTRACK_LET("EXPORTEXCEL-1");
    cls_DBExport walk(rDB, pView, pIDs, pSettings);
    const auto& table = walk.TABLE();
    int32_t split = -1;
    std::vector<std::string> values;
    if (hSetting(pSettings, "SUBSHEET")) {
      std::string tab = CStr(pSettings->ITEM_GET("TABFILTER"));
      auto field = tab.empty() ? nullptr : rDB.FIELD(tab);
      if (field) {
        for (size_t c = 0; c < table.columns.size(); ++c) {
          if (table.columns[c].field == field) split = static_cast<int32_t>(c);
        }
        // The sheets split by a shown column, so each row's text is the one on its sheet.
        if (split < 0) Raise(err::kInvalidCall, "TABFILTER '" + tab + "' is not a column of the view");
        std::set<std::string> seen;
        for (const auto& id : walk.IDS()) seen.insert(walk.CELLTEXT(static_cast<size_t>(split), id));
        values.assign(seen.begin(), seen.end());
      }
    }
    if (auto calc = hCalcOptions(pSettings, pFile)) {
      rDB.DEBUGTRACK_LET("EXPORTEXCEL-3");
      auto office = Plugin::Table<CalcPlugin>("calc").make(pFile, *calc, split, std::move(values));
      if (!office->START()) return hCannotStart();
      walk.WALK({office.get()});
      rDB.DEBUGTRACK_LET("EXPORTEXCEL-4");
      if (!office->WRITE()) return hCannotStart();
      hShowInfo(pSettings, pFile, table.rows);
      return true;
    }
    bool constant = hSetting(pSettings, "CONSTANTMEMORY") || table.rows >= kConstantMemoryRows;
    rDB.DEBUGTRACK_LET("EXPORTEXCEL-2");
    // The workbook writer opens the file by name: it writes the temporary file of the atomic writer.
    fileio::WriteFileAtomicByName(pFile, [&](const std::string& pTemp) {
      cls_DBExportWorkbook book(pTemp, constant, split, std::move(values));
      walk.WALK({&book});
    });
    hShowInfo(pSettings, pFile, table.rows);
    return true;
  });
}

bool EXPORTPDF(cls_DBStore& rDB, const Variant& pView, const std::string& pFile, const IDList& pIDs,
               const StructurePtr& pSettings) {
  return Guard(kClass, "EXPORTPDF", [&] {
    rDB.DEBUGTRACK_LET("EXPORTPDF-1");
    cls_DBExport walk(rDB, pView, pIDs, pSettings);
    // The page layout defaults, with every key the settings hold laid over them.
    StructurePtr layout = rDB.FLAGS(1);
    if (pSettings) {
      for (const char* key :
           {"PAGE.PORTRAIT",  "PAGE.COLUMNS",  "PAGE.FIRST",        "PAGE.LAST",         "MARGIN.LEFT",
            "MARGIN.RIGHT",   "MARGIN.TOP",    "MARGIN.BOTTOM",     "FONT.SIZE",         "FONT.NAME",
            "CELL.SEPERATOR", "CELL.PADDING",  "CELL.PADDINGOUTER", "CELL.PADDINGY",     "STATUS.SHOW",
            "STATUS.LEFT",    "STATUS.CENTER", "STATUS.RIGHT",      "COLUMNHEADER.SHOW", "COLUMNHEADER.HEIGHT",
            "TITLE.SHOW",     "TITLE.TEXT",    "TITLE.HEIGHT",      "TITLE.COLOR"}) {
        if (pSettings->EXISTS_GET(key)) layout->ITEM_LET(key, pSettings->ITEM_GET(key));
      }
    }
    std::string name = walk.TABLE().titleText;
    if (name.empty()) name = CStr(layout->ITEM_GET("TITLE.TEXT"));
    if (name.empty()) name = walk.VIEW()->NAME;
    auto pdf = Plugin::Table<PdfPlugin>("pdf").make(pFile, layout, name);
    walk.WALK({pdf.get()});
    hShowInfo(pSettings, pFile, walk.TABLE().rows);
    return true;
  });
}

bool EXPORTDB(cls_DBStore& rDB, const Variant& pView, const Variant& pTarget, const IDList& pIDs,
              const StructurePtr& pSettings) {
  return Guard(kClass, "EXPORTDB", [&] {
    rDB.DEBUGTRACK_LET("EXPORTDB-1");
    cls_DBExport walk(rDB, pView, pIDs, pSettings);
    DBStorePtr target = pTarget.isObject() ? std::dynamic_pointer_cast<cls_DBStore>(pTarget.obj()) : nullptr;
    std::string file;
    if (!target) {
      file = CStr(pTarget);
      if (file.empty()) Raise(err::kInvalidCall, "EXPORTDB needs a database or a file name");
      target = cls_DBStore::New();
      target->HEADERSTRUCTURE_LET(rDB.HEADERSTRUCTURE_GET());
      std::string header = file + ".header";
      if (!target->HEADERSAVE(header)) Raise(err::kFileIO, "cannot write '" + header + "'");
      // A fresh database that replaces the file when saved (the old file stays until then).
      target->hTargetFile(file, header);
    } else {
      for (int32_t i = 1; i <= rDB.FIELDS(); ++i) {
        auto f = rDB.FIELD(i);
        if (target->FIELDEXISTS(f->ID)) continue;
        auto copy = std::make_shared<cls_DBField>();
        copy->STRUCTURE_LET(f->STRUCTURE_GET());
        copy->ID = f->ID;
        target->FIELDADD(copy);
      }
    }
    int64_t n = 0;
    for (const auto& id : walk.IDS()) {
      rDB.DEBUGTRACK_LET("EXPORTDB-2", static_cast<int32_t>(++n));
      if (auto entry = rDB.ENTRY(id)) target->ENTRYADD(id, hStructureCopy(entry));
    }
    if (!file.empty()) {
      target->ENTRYCHANGED_LET(true);
      if (!target->DBSAVE()) return false;
      target->DBCLOSE();
    }
    hShowInfo(pSettings, file.empty() ? target->DBNAME_GET() : file, n);
    return true;
  });
}

}  // namespace rykel::mdl_DBExport
