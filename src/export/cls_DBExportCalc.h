// cls_DBExportCalc: an export built in LibreOffice Calc, started headless for this one export and
// driven through UNO, then saved as .xlsx or .xls, optionally encrypted with a password.
//
// Sequence: START spawns the office (it starts up while the walk runs); the walk hands over the
// rows, which are kept as ready-made cell values; WRITE connects, builds the workbook and stores
// it; the office is terminated and its profile folder removed in every case (the destructor
// kills it when anything went wrong).
//
// Workbook layout, as the built-in writer's: "Alle" with every entry (" - Gesamt" on its title
// when split), then one sheet per distinct shown value of the split column, sorted, named after
// the value with "\/:.,;<>?*" (and "[]'") removed; a taken name gets the next free number
// ("Alle2"). Per sheet: with TITLE.SHOW a three-row title band (title in A2, 18 point, "Stand: "
// and the export time in the last column of row 2), the bold column header in the header
// colours, the rows written in one block, number formats and alignments by the cell rules, row
// colours, an auto filter over header and rows, panes frozen below the header (kept in the file
// by LibreOffice 24.2 and later; 7.4 drops them for a hidden document) and optimal column widths.
//
// The class lives in the "calc" plug-in (ExportPlugin.h): the library makes one through the
// plug-in's table and knows it only as a CalcExport, an interface of its own, so nothing of the
// class (not even its type information) is needed before the plug-in is loaded.
// Without the UNO SDK at build time START always fails.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "export/cls_DBExport.h"

namespace rykel {

struct CalcOptions {
  std::string program = "soffice";  // office start program, a path or a name on PATH
  double timeoutSeconds = 300;      // the office is killed after this long (0: never)
  double connectSeconds = 60;       // give up connecting after this long
  bool oldFormat = false;           // .xls ("MS Excel 97") instead of .xlsx
  std::string password;             // file-open password; empty: not encrypted
};

// The Calc export as the library drives it.
class CalcExport : public ExportSink {
 public:
  // Spawns the office. False when it cannot be started.
  virtual bool START() = 0;
  // Connects to the office started by START, builds the workbook and stores it. Returns false
  // when no connection could be made (the office is missing, crashed or never listened); raises
  // on any later failure (kFileIO when the file cannot be stored, kInternal otherwise).
  virtual bool WRITE() = 0;
};

class cls_DBExportCalc : public CalcExport {
 public:
  // pSplitColumn: index into the table's columns whose values split the sheets, or -1.
  cls_DBExportCalc(std::string pFile, CalcOptions pOptions, int32_t pSplitColumn = -1,
                   std::vector<std::string> pSheetValues = {});
  ~cls_DBExportCalc() override;

  // True when this build can drive the office at all.
  static bool AVAILABLE();
  bool START() override;
  void BEGIN(const ExportTable& pTable) override;
  void ROW(const ExportRow& pRow) override;
  void END() override;
  bool WRITE() override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace rykel
