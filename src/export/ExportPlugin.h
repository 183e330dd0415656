// ExportPlugin: the tables of the exporter plug-ins (frame/Plugin.h), loaded on first use: "pdf"
// (librykel_pdf.so: cairo and pango), "calc" (librykel_calc.so: the office's UNO libraries) and
// "sqlite" (librykel_sqlite.so: libsqlite3).
//
//   auto sink = Plugin::Table<PdfPlugin>("pdf").make(file, layout, name);
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "export/cls_DBExport.h"
#include "export/cls_DBExportCalc.h"
#include "frame/Plugin.h"

namespace rykel {

struct PdfPlugin {
  const char* version;
  // A cls_DBExportPdf (see cls_DBExportPdf.h).
  std::unique_ptr<ExportSink> (*make)(std::string pFile, StructurePtr pLayout, std::string pName);
};

struct CalcPlugin {
  const char* version;
  std::unique_ptr<CalcExport> (*make)(std::string pFile, CalcOptions pOptions, int32_t pSplitColumn,
                                      std::vector<std::string> pSheetValues);
};

struct SqlitePlugin {
  const char* version;
  // mdl_DBExport::EXPORTSQLITE (see DBExportSqlite.h).
  void (*write)(cls_DBStore& rDB, const std::string& pFile, const Variant& pView, const cls_DBStore::IDList& pIDs,
                const StructurePtr& pSettings);
};

}  // namespace rykel
