#include "export/cls_DBExportHtml.h"

#include "frame/Text.h"

#include <iconv.h>

#include <cerrno>

#include "frame/DateTime.h"
#include "frame/Error.h"

namespace rykel {

namespace {

constexpr size_t kFlushBytes = 1 << 16;

constexpr std::string_view kHead[] = {
    "<html xmlns:v=\"urn:schemas-microsoft-com:vml\" xmlns:o=\"urn:schemas-microsoft-com:office:office\" "
    "xmlns:x=\"urn:schemas-microsoft-com:office:excel\" xmlns=\"http://www.w3.org/TR/REC-html40\">",
    "<head>",
    "<meta http-equiv=Content-Type content=\"text/html; charset=windows-1252\">",
    "<meta name=ProgId content=Excel.Sheet>",
    "<meta name=Generator content=\"Microsoft Excel 14\">",
    "<style type=\"text/css\">",
    "tr  {mso-height-source:auto;}",
    "col {mso-width-source:auto;}",
    "br  {mso-data-placement:same-cell;}",
    ".style0 {mso-number-format:General; text-align:general; vertical-align:bottom; white-space:nowrap; "
    "mso-rotate:0; mso-background-source:auto; mso-pattern:auto; color:black; font-size:11.0pt; "
    "font-weight:400; font-style:normal; text-decoration:none; font-family:Calibri, sans-serif; "
    "mso-font-charset:0; border:none; mso-protection:locked visible; mso-style-name:Standard; mso-style-id:0;}",
    "td {mso-style-parent:style0; padding-top:1px; padding-right:1px; padding-left:1px; mso-ignore:padding; "
    "color:black; font-size:11.0pt; font-weight:400; font-style:normal; text-decoration:none; "
    "font-family:Calibri, sans-serif; mso-font-charset:0; mso-number-format:General; text-align:general; "
    "vertical-align:bottom; border:none; mso-background-source:auto; mso-pattern:auto; "
    "mso-protection:locked visible; white-space:nowrap; mso-rotate:0;}",
    ".cell {mso-style-parent:style0; text-align:left; vertical-align:top; border:1px solid #aaaaaa; overflow:hidden;}",
    ".cellr {mso-style-parent:style0; text-align:right; vertical-align:top; border:1px solid #aaaaaa; "
    "overflow:hidden;}",
    ".cellc {mso-style-parent:style0; text-align:center; vertical-align:top; border:1px solid #aaaaaa; "
    "overflow:hidden;}",
};

// Start, middle and end of the four coloured style lines: start + text colour + middle +
// background + end.
struct ColouredLine {
  std::string_view start, middle, end;
};
constexpr ColouredLine kColoured[] = {
    {".header {mso-style-parent:style0; color:", "; background:", "; mso-pattern:black none;}"},
    {".title {mso-style-parent:style0; color:", "; font-size:18.0pt; background:",
     "; mso-pattern:black none; padding-left:10px;}"},
    {".columnheader {mso-style-parent:style0; color:", "; background:", "; mso-pattern:black none; overflow:hidden;}"},
    {".date {mso-style-parent:style0; color:", "; text-align:right; background:",
     "; mso-pattern:black none; padding-right:5px;}"},
};

constexpr std::string_view kIntegerFormat = "mso-number-format:'\\#\\,\\#\\#0_ \\;\\[Red\\]\\\\-\\#\\,\\#\\#0\\\\ ';";
constexpr std::string_view kDecimalFormat =
    "mso-number-format:'\\#\\,\\#\\#0\\.00_ \\;\\[Red\\]\\\\-\\#\\,\\#\\#0\\.00\\\\ ';";
constexpr std::string_view kDateFormat = "mso-number-format:'Short Date';";
constexpr std::string_view kTextFormat = "mso-number-format:'\\@';";

// Length of the UTF-8 sequence starting with byte b (0 when b cannot start one).
size_t hSequenceLength(unsigned char b) {
  if (b < 0x80) return 1;
  if ((b & 0xE0) == 0xC0) return 2;
  if ((b & 0xF0) == 0xE0) return 3;
  if ((b & 0xF8) == 0xF0) return 4;
  return 0;
}

}  // namespace

std::string hHtmlEscape(std::string_view pText) { return text::HtmlEscape(pText); }

std::string hToWindows1252(std::string_view pText) {
  std::string out;
  out.reserve(pText.size() + 16);
  size_t i = 0;
  // ASCII passes through; everything else goes through iconv one character at a time.
  iconv_t cd = reinterpret_cast<iconv_t>(-1);
  while (i < pText.size()) {
    unsigned char b = static_cast<unsigned char>(pText[i]);
    if (b < 0x80) {
      out += static_cast<char>(b);
      ++i;
      continue;
    }
    size_t n = hSequenceLength(b);
    bool whole = n > 1 && i + n <= pText.size();
    for (size_t k = 1; whole && k < n; ++k) whole = (static_cast<unsigned char>(pText[i + k]) & 0xC0) == 0x80;
    if (!whole) {
      out += '?';
      ++i;
      continue;
    }
    if (cd == reinterpret_cast<iconv_t>(-1)) {
      cd = iconv_open("WINDOWS-1252", "UTF-8");
      if (cd == reinterpret_cast<iconv_t>(-1)) Raise(err::kInternal, "iconv cannot convert to WINDOWS-1252");
    }
    char in[4], res[8];
    std::copy(pText.begin() + static_cast<long>(i), pText.begin() + static_cast<long>(i + n), in);
    char* inp = in;
    char* outp = res;
    size_t inLeft = n, outLeft = sizeof res;
    if (iconv(cd, &inp, &inLeft, &outp, &outLeft) != static_cast<size_t>(-1)) {
      out.append(res, static_cast<size_t>(outp - res));
    } else {
      iconv(cd, nullptr, nullptr, nullptr, nullptr);
      uint32_t cp = b & (0xFF >> (n + 1));
      for (size_t k = 1; k < n; ++k) cp = (cp << 6) | (static_cast<unsigned char>(pText[i + k]) & 0x3F);
      out += "&#" + std::to_string(cp) + ";";
    }
    i += n;
  }
  if (cd != reinterpret_cast<iconv_t>(-1)) iconv_close(cd);
  return out;
}

bool cls_DBExportHtml::hFormulaLike(const ExportCell& pCell) {
  // "-/-" (an empty reference) is the export's own mark and no formula to any spreadsheet
  return pCell.format == ExportFormat::None && !pCell.text.empty() &&
         std::string_view("=+-@\t\r").find(pCell.text[0]) != std::string_view::npos && pCell.text != "-/-";
}

std::string cls_DBExportHtml::hCellStyle(const ExportCell& pCell, const ExportRow& pRow) {
  std::string style;
  switch (pCell.format) {
    case ExportFormat::Integer: style = kIntegerFormat; break;
    case ExportFormat::Decimal: style = kDecimalFormat; break;
    case ExportFormat::Date: style = kDateFormat; break;
    case ExportFormat::Text: style = kTextFormat; break;
    case ExportFormat::None:
      if (hFormulaLike(pCell)) style = kTextFormat;
      break;
  }
  if (pRow.bold) style += "font-weight:700;";
  if (!pRow.textColor.empty()) style += "color:" + pRow.textColor + ";";
  if (!pRow.backColor.empty()) style += "background-color:" + pRow.backColor + ";";
  return style;
}

void cls_DBExportHtml::hLine(std::string_view pLine) {
  buffer_.append(pLine);
  buffer_ += "\r\n";
  if (buffer_.size() >= kFlushBytes) hFlush();
}

void cls_DBExportHtml::hFlush() {
  std::string bytes = hToWindows1252(buffer_);
  buffer_.clear();
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size())
    Raise(err::kFileIO, "cannot write the export file");
}

void cls_DBExportHtml::BEGIN(const ExportTable& pTable) {
  const std::string& colour = pTable.titleColor;
  // The title colour three times: text of the band, background of the band and its header rows,
  // and the text of the column headers (on a light grey).
  const std::string white = "#FFFFFF", grey = "#F2F2F2";
  const std::pair<const std::string*, const std::string*> colours[] = {
      {&white, &colour}, {&white, &colour}, {&colour, &grey}, {&white, &colour}};
  for (auto line : kHead) hLine(line);
  for (size_t i = 0; i < 4; ++i) {
    const auto& l = kColoured[i];
    hLine(std::string(l.start) + *colours[i].first + std::string(l.middle) + *colours[i].second + std::string(l.end));
  }
  hLine("</style>");
  hLine("</head>");
  hLine("<body>");

  int32_t total = 0;
  for (const auto& c : pTable.columns) total += c.width;
  hLine("<table border=0 cellpadding=0 cellspacing=0 width=" + std::to_string(total) +
        " style='border-collapse: collapse;table-layout:fixed;'>    ");
  for (const auto& c : pTable.columns) hLine("<col width=" + std::to_string(c.width) + ">");

  size_t n = pTable.columns.size();
  if (pTable.titleShow && n > 0) {
    hLine("<tr class=\"header\" height=20 style='height:15.0pt'>");
    hLine("<td height=20 class=\"header\" width=" + std::to_string(pTable.columns[0].width) +
          " style='height:15.0pt;width:26pt'>&nbsp;</td>");
    for (size_t i = 1; i < n; ++i) hLine("<td class=\"header\">&nbsp;</td>");
    hLine("</tr>");
    hLine("<tr class=\"header\" height=31 style='height:23.25pt'>");
    hLine("<td height=31 style='height:23.25pt' class=\"title\">" + hHtmlEscape(pTable.titleText) + "</td>");
    for (size_t i = 2; i < n; ++i) hLine("<td class=\"header\">&nbsp;</td>");
    hLine("<td class=\"date\">Stand: " + date::Format(pTable.stamp, "dd.mm.yyyy HH:MM") + "</td>");
    hLine("</tr>");
    hLine("<tr class=\"header\" height=20 style='height:15.0pt'>");
    for (size_t i = 0; i < n; ++i) hLine("<td height=20 class=\"header\">&nbsp;</td>");
    hLine("</tr>");
  }
  hLine("<tr class=\"columnheader\" height=20 style='height:15.0pt'>");
  for (const auto& c : pTable.columns)
    hLine("<td height=20 class=\"columnheader\" style='height:15.0pt'>" + hHtmlEscape(c.name) + "</td>");
  hLine("</tr>");
}

void cls_DBExportHtml::ROW(const ExportRow& pRow) {
  hLine("<tr height=20 style='height:15.0pt'>");
  std::string line;
  for (const auto& cell : pRow.cells) {
    line = cell.align == ExportAlign::Right    ? "<td class=\"cellr\""
           : cell.align == ExportAlign::Center ? "<td class=\"cellc\""
                                               : "<td class=\"cell\"";
    std::string style = hCellStyle(cell, pRow);
    if (!style.empty()) line += " style=\"" + style + "\"";
    // LibreOffice reads the number format of a cell from sdnum, not from the style: "@" is text
    if (hFormulaLike(cell)) line += " sdnum=\"1031;0;@\"";
    line += ">" + hHtmlEscape(cell.text) + "</td>";
    hLine(line);
  }
  hLine("</tr>");
}

void cls_DBExportHtml::END() {
  hLine("</table>");
  hLine("</body>");
  hLine("</html>");
  hFlush();
}

}  // namespace rykel
