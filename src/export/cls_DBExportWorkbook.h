// cls_DBExportWorkbook: an export written as an .xlsx workbook with libxlsxwriter, no spreadsheet
// program needed.
//
// Sheets: "Alle" with every entry, then (when a split column is given) one sheet per distinct
// shown value of that column, sorted, named after the value with "\/:.,;<>?*" (and "[]'", which
// sheet names cannot hold) removed, cut to 31 characters; a name already taken ("Alle", another
// value that cleans to the same name, "" as "Leer") gets the next free number appended ("Alle2").
// With split sheets the title of "Alle" gets " - Gesamt".
//
// Per sheet: with TITLE.SHOW three rows of the title band (title in A2, 18 point, "Stand: " and
// the export time in the last column of row 2), then the bold column header in the header
// colours, an auto filter over header and rows, panes frozen below the header, and columns
// fitted to their longest text (at least the view's width). Cells carry the number format and
// alignment of the cell rules; rows carry their bold, text and background colours.
//
// Constant-memory mode keeps one row per sheet in memory; rows then go out strictly in order,
// which the walk does.
#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "export/cls_DBExport.h"

struct lxw_workbook;
struct lxw_worksheet;
struct lxw_format;

namespace rykel {

class cls_DBExportWorkbook : public ExportSink {
 public:
  // pSplitColumn: index into the table's columns whose values split the sheets, or -1.
  // REQUIRES: pSheetValues are the distinct texts of that column (any order), when split.
  cls_DBExportWorkbook(std::string pFile, bool pConstantMemory, int32_t pSplitColumn = -1,
                       std::vector<std::string> pSheetValues = {});
  ~cls_DBExportWorkbook() override;
  void BEGIN(const ExportTable& pTable) override;
  void ROW(const ExportRow& pRow) override;
  // Finishes every sheet and writes the file. Raises kFileIO when the file cannot be written.
  void END() override;
  bool NUMBERTEXTS() const override { return false; }

  // A value as a sheet name: forbidden characters removed, at most 31 characters.
  static std::string hSheetName(const std::string& pValue);
  // The sheets as (name, title): "Alle" first, then one per value in the given order, each name
  // cleaned and made unique (case-blind) by a number; " - Gesamt" on "Alle" when there are values.
  static std::vector<std::pair<std::string, std::string>> hSheetPlan(const std::string& pTitle,
                                                                     const std::vector<std::string>& pValues);

 private:
  struct Sheet {
    lxw_worksheet* ws = nullptr;
    uint32_t row = 0;  // next data row
    uint32_t headerRow = 0;
    std::vector<size_t> widths;  // longest text per column, in characters
  };
  void hBeginSheet(Sheet& rSheet, const std::string& pTitle);
  void hWriteRow(Sheet& rSheet, const ExportRow& pRow);
  lxw_format* hFormat(const ExportCell& pCell, const ExportRow& pRow);

  std::string file_;
  bool constant_;
  int32_t split_;
  std::vector<std::string> values_;
  const ExportTable* table_ = nullptr;
  lxw_workbook* wb_ = nullptr;
  std::vector<Sheet> sheets_;                   // "Alle" first, then one per value
  std::map<std::string, size_t> sheetByValue_;  // shown value -> index into sheets_
  // Cell formats by row style, then by number format and alignment; made on first use.
  static constexpr size_t kCellKinds = 5 * 3;
  std::vector<std::array<lxw_format*, kCellKinds>> formats_;
  lxw_format *band_ = nullptr, *title_ = nullptr, *date_ = nullptr;
  std::array<lxw_format*, 3> header_{};  // by the column's alignment
};

}  // namespace rykel
