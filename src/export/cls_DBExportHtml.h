// cls_DBExportHtml: the spreadsheet-dialect HTML table of an export, one line at a time.
//
// The text is made in UTF-8 and written in Windows-1252: a character outside that code page
// becomes an HTML numeric entity ("€" is the byte 0x80, "Ж" becomes "&#1046;"), so nothing is lost.
// Lines end with "\r\n". Layout of the file, in order:
//   head          html start tag with the dialect's namespaces, meta lines, <style>
//   style sheet   fixed lines, then .header .title .columnheader .date in the title colours
//   table start   "<table ... width=<sum> style='...'>    " and one "<col width=<w>>" per column
//   title band    with TITLE.SHOW: empty header row, title row with "Stand: dd.mm.yyyy HH:MM",
//                 empty header row
//   column header one row of column names
//   rows          one <tr> per entry; cells "cell" / "cellc" / "cellr" with an optional style
//   end           "</table>", "</body>", "</html>"
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "export/cls_DBExport.h"

namespace rykel {

class cls_DBExportHtml : public ExportSink {
 public:
  // Writes to pFile (REQUIRES: open for writing; not closed here).
  explicit cls_DBExportHtml(std::FILE* pFile) : file_(pFile) {}
  void BEGIN(const ExportTable& pTable) override;
  void ROW(const ExportRow& pRow) override;
  void END() override;

  // The style text of one cell: its number format, then the row's weight and colours.
  static std::string hCellStyle(const ExportCell& pCell, const ExportRow& pRow);
  // A cell without a number format whose text begins with "=", "+", "-", "@", tab or CR (other
  // than the mark "-/-" of an empty reference): a spreadsheet would take it for a formula. Such a cell is marked as
  // text twice, with the style mso-number-format:'\@' (the dialect's own) and the attribute sdnum="1031;0;@" (the one
  // LibreOffice reads), so that opening the file never evaluates data.
  static bool hFormulaLike(const ExportCell& pCell);

 private:
  void hLine(std::string_view pLine);
  void hFlush();

  std::FILE* file_;
  std::string buffer_;  // UTF-8 lines not yet converted
};

// UTF-8 to Windows-1252; characters outside the code page become "&#<code point>;", bytes that
// are not UTF-8 become "?".
std::string hToWindows1252(std::string_view pText);
// "&", "<", ">" and '"' escaped, line breaks as "<br>".
std::string hHtmlEscape(std::string_view pText);

}  // namespace rykel
