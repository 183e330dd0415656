// ExportPlugin: the heavy exporters live in plug-ins, shared objects of their own beside librykel
// that are loaded on first use: "pdf" (librykel_pdf.so: cairo and pango), "calc"
// (librykel_calc.so: the office's UNO libraries) and "sqlite" (librykel_sqlite.so: libsqlite3).
// A process that never writes those formats neither maps their libraries nor pays for resolving
// their symbols at start-up.
//
// Each plug-in defines one table, a C symbol "rykel_plugin_<name>" whose first member is the
// library version it was built for; a plug-in of another version is refused.
//
//   auto sink = ExportPlugin::Table<PdfPlugin>("pdf").make(file, layout, name);
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "export/cls_DBExport.h"
#include "export/cls_DBExportCalc.h"

namespace rykel {

struct PdfPlugin {
  const char* version;
  // A cls_DBExportPdf (see cls_DBExportPdf.h).
  std::unique_ptr<ExportSink> (*make)(std::string pFile, StructurePtr pLayout, std::string pName);
};

struct CalcPlugin {
  const char* version;
  std::unique_ptr<cls_DBExportCalc> (*make)(std::string pFile, CalcOptions pOptions, int32_t pSplitColumn,
                                            std::vector<std::string> pSheetValues);
};

struct SqlitePlugin {
  const char* version;
  // mdl_DBExport::EXPORTSQLITE (see DBExportSqlite.h).
  void (*write)(cls_DBStore& rDB, const std::string& pFile, const Variant& pView, const cls_DBStore::IDList& pIDs,
                const StructurePtr& pSettings);
};

namespace ExportPlugin {

// The file of plug-in pName: "librykel_<name>.so" in the folder librykel was loaded from.
std::string FILE(const std::string& pName);

// Loads plug-in pName once per process and returns its table. Raises kFileNotFound naming the
// file when it is missing and kFileIO naming it when it cannot be loaded, has no table or was
// built for another version.
const void* hTable(const std::string& pName);

template <class T>
const T& Table(const std::string& pName) {
  return *static_cast<const T*>(hTable(pName));
}

}  // namespace ExportPlugin
}  // namespace rykel
