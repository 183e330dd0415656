// cls_DBExportPdf: an export as a paginated PDF table (cairo for the pages, pango for the text).
//
// The page layout comes from a layout structure with the keys of the page layout defaults:
//   PAGE.PORTRAIT (A4 upright, else landscape), PAGE.COLUMNS (table blocks side by side),
//   PAGE.FIRST / PAGE.LAST (1-based page range written; -1 no limit), MARGIN.LEFT / RIGHT / TOP /
//   BOTTOM (mm), FONT.NAME / FONT.SIZE (points), CELL.PADDING (mm left and right in a cell),
//   CELL.PADDINGOUTER (mm before the first and after the last column), CELL.PADDINGY (points above
//   and below a line), CELL.SEPERATOR (lines between cells), COLUMNHEADER.SHOW / .HEIGHT (header
//   lines), TITLE.SHOW / .TEXT / .HEIGHT (mm) / .COLOR (band on every page), STATUS.SHOW with
//   STATUS.LEFT / .CENTER / .RIGHT: texts at the foot of each page in which {PAGE}, {PAGES},
//   {DATE}, {TIME}, {USER}, {COMPUTER} and {NAME} are filled in.
// Rows are kept (as texts) until END, when the number of pages is known; a cell's text that
// does not fit its column ends in "…".
#pragma once

#include <string>
#include <vector>

#include "export/cls_DBExport.h"

namespace rykel {

class cls_DBExportPdf : public ExportSink {
 public:
  // REQUIRES: pLayout holds the page layout keys (missing keys take the defaults).
  cls_DBExportPdf(std::string pFile, StructurePtr pLayout, std::string pName);
  void BEGIN(const ExportTable& pTable) override;
  void ROW(const ExportRow& pRow) override;
  // Lays out and writes the pages. Raises kFileIO when the file cannot be written.
  void END() override;

  int32_t PAGES() const { return pages_; }
  // A status text with its placeholders filled in.
  static std::string hStatusText(std::string pText, int32_t pPage, int32_t pPages, double pStamp,
                                 const std::string& pName);

 private:
  std::string file_;
  StructurePtr layout_;
  std::string name_;
  const ExportTable* table_ = nullptr;
  std::vector<std::vector<std::string>> rows_;
  std::vector<ExportAlign> aligns_;
  int32_t pages_ = 0;
};

}  // namespace rykel
