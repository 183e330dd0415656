#include "export/cls_DBExportWorkbook.h"

#include <xlsxwriter.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <set>

#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Text.h"

namespace rykel {

namespace {

constexpr std::string_view kForbidden = "\\/:.,;<>?*[]'";
constexpr size_t kMaxSheetName = 31;
constexpr double kTitleFontSize = 18;
constexpr size_t kMaxColumnChars = 60;
constexpr size_t kMaxCellChars = 32767;  // the most a cell holds
constexpr uint8_t kShortDateIndex = 14;  // the program's built-in short date
constexpr uint8_t kTextIndex = 49;       // "@"
constexpr uint8_t kPaperA4 = 9;
constexpr double kMarginInches = 15 / 25.4;
constexpr double kFootMarginInches = 10 / 25.4;
constexpr double kFooterInches = 4 / 25.4;

lxw_color_t hColor(const std::string& pText) {
  if (pText.size() != 7 || pText[0] != '#') return LXW_COLOR_BLACK;
  return static_cast<lxw_color_t>(std::stoul(pText.substr(1), nullptr, 16));
}

// The characters a number or date cell shows under its format, without making its text:
// thousands groups, two decimals, the sign and the format's trailing blank.
size_t hShownLength(const ExportCell& pCell) {
  if (pCell.format == ExportFormat::Date || pCell.value.isDate()) return 10;
  double d = std::fabs(pCell.value.rawDouble());
  size_t digits = 1;
  for (double limit = 10; d >= limit && digits < 16; limit *= 10) ++digits;
  size_t n = digits + (digits - 1) / 3 + 2;
  if (pCell.format == ExportFormat::Decimal) n += 3;
  return n;
}

uint8_t hAlign(ExportAlign pAlign) {
  return pAlign == ExportAlign::Right    ? LXW_ALIGN_RIGHT
         : pAlign == ExportAlign::Center ? LXW_ALIGN_CENTER
                                         : LXW_ALIGN_LEFT;
}

void hCheck(lxw_error e, const std::string& what) {
  if (e != LXW_NO_ERROR) Raise(err::kFileIO, what + ": " + lxw_strerror(e));
}

}  // namespace

std::vector<std::pair<std::string, std::string>> cls_DBExportWorkbook::hSheetPlan(
    const std::string& pTitle, const std::vector<std::string>& pValues) {
  std::set<std::string> taken;
  auto unique = [&](std::string name) {
    if (name.empty()) name = "Leer";
    std::string candidate = name;
    for (int n = 2; taken.count(text::UCase(candidate)); ++n) {
      std::string suffix = std::to_string(n);
      candidate = std::string(text::Left(name, kMaxSheetName - suffix.size())) + suffix;
    }
    taken.insert(text::UCase(candidate));
    return candidate;
  };
  std::vector<std::pair<std::string, std::string>> plan{
      {unique("Alle"), pTitle + (pValues.empty() ? "" : " - Gesamt")}};
  for (const auto& v : pValues) plan.emplace_back(unique(hSheetName(v)), pTitle.empty() ? v : pTitle + " - " + v);
  return plan;
}

std::string cls_DBExportWorkbook::hSheetName(const std::string& pValue) {
  std::string out;
  for (char c : pValue) {
    if (kForbidden.find(c) == std::string_view::npos) out += c;
  }
  return std::string(text::Left(out, kMaxSheetName));
}

cls_DBExportWorkbook::cls_DBExportWorkbook(std::string pFile, bool pConstantMemory, int32_t pSplitColumn,
                                           std::vector<std::string> pSheetValues)
    : file_(std::move(pFile)), constant_(pConstantMemory), split_(pSplitColumn), values_(std::move(pSheetValues)) {
  std::sort(values_.begin(), values_.end());
  values_.erase(std::unique(values_.begin(), values_.end()), values_.end());
}

cls_DBExportWorkbook::~cls_DBExportWorkbook() {
  // A workbook never closed (a failure mid-way) is freed without writing.
  if (wb_) lxw_workbook_free(wb_);
}

lxw_format* cls_DBExportWorkbook::hFormat(const ExportCell& pCell, const ExportRow& pRow) {
  if (pRow.style >= formats_.size()) formats_.resize(pRow.style + 1, {});
  lxw_format*& f = formats_[pRow.style][static_cast<size_t>(pCell.format) * 3 + static_cast<size_t>(pCell.align)];
  if (f) return f;
  f = workbook_add_format(wb_);
  switch (pCell.format) {
    case ExportFormat::Integer: format_set_num_format(f, "#,##0_ ;[Red]\\-#,##0\\ "); break;
    case ExportFormat::Decimal: format_set_num_format(f, "#,##0.00_ ;[Red]\\-#,##0.00\\ "); break;
    case ExportFormat::Date: format_set_num_format_index(f, kShortDateIndex); break;
    case ExportFormat::Text: format_set_num_format_index(f, kTextIndex); break;
    case ExportFormat::None: break;
  }
  format_set_align(f, hAlign(pCell.align));
  format_set_align(f, LXW_ALIGN_VERTICAL_TOP);
  if (pRow.bold) format_set_bold(f);
  if (!pRow.textColor.empty()) format_set_font_color(f, hColor(pRow.textColor));
  if (!pRow.backColor.empty()) {
    format_set_pattern(f, LXW_PATTERN_SOLID);
    format_set_bg_color(f, hColor(pRow.backColor));
  }
  return f;
}

void cls_DBExportWorkbook::hBeginSheet(Sheet& rSheet, const std::string& pTitle) {
  const auto& cols = table_->columns;
  auto last = static_cast<lxw_col_t>(cols.empty() ? 0 : cols.size() - 1);
  rSheet.widths.assign(cols.size(), 0);
  uint32_t r = 0;
  // Each row is finished before the next is begun: in constant-memory mode a row is flushed as
  // soon as a later one is touched, and writes to it afterwards are refused.
  if (table_->titleShow) {
    std::string stamp = "Stand: " + date::Format(table_->stamp, "dd.mm.yyyy HH:MM");
    for (lxw_row_t band = 0; band < 3; ++band) {
      if (band == 1) hCheck(worksheet_set_row(rSheet.ws, band, 24, nullptr), "cannot size the title row");
      for (lxw_col_t c = 0; c <= last; ++c) {
        lxw_error e = LXW_NO_ERROR;
        if (band == 1 && c == 0) {
          e = worksheet_write_string(rSheet.ws, band, c, pTitle.c_str(), title_);
        } else if (band == 1 && c == last) {
          e = worksheet_write_string(rSheet.ws, band, c, stamp.c_str(), date_);
        } else {
          e = worksheet_write_blank(rSheet.ws, band, c, band_);
        }
        hCheck(e, "cannot write the title band");
      }
    }
    r = 3;
  }
  rSheet.headerRow = r;
  for (size_t c = 0; c < cols.size(); ++c) {
    hCheck(worksheet_write_string(rSheet.ws, r, static_cast<lxw_col_t>(c), cols[c].name.c_str(),
                                  header_[static_cast<size_t>(cols[c].align)]),
           "cannot write the column header");
    rSheet.widths[c] = text::Len(cols[c].name) + 3;  // room for the filter button
  }
  worksheet_freeze_panes(rSheet.ws, r + 1, 0);
  // Printed: A4 landscape, as wide as one page, title band and header on every page, the page
  // margins of the layout defaults (15 mm, 10 mm at the foot) and the status line's page count.
  worksheet_set_paper(rSheet.ws, kPaperA4);
  worksheet_set_landscape(rSheet.ws);
  worksheet_fit_to_pages(rSheet.ws, 1, 0);
  worksheet_repeat_rows(rSheet.ws, 0, r);
  worksheet_set_margins(rSheet.ws, kMarginInches, kMarginInches, kMarginInches, kFootMarginInches);
  lxw_header_footer_options foot{};
  foot.margin = kFooterInches;
  worksheet_set_footer_opt(rSheet.ws, "&LSeite &P von &N", &foot);
  rSheet.row = r + 1;
}

void cls_DBExportWorkbook::BEGIN(const ExportTable& pTable) {
  table_ = &pTable;
  lxw_workbook_options opt{};
  opt.constant_memory = constant_ ? LXW_TRUE : LXW_FALSE;
  wb_ = workbook_new_opt(file_.c_str(), &opt);
  if (!wb_) Raise(err::kFileIO, "cannot create the workbook '" + file_ + "'");

  lxw_color_t colour = hColor(pTable.titleColor);
  band_ = workbook_add_format(wb_);
  format_set_pattern(band_, LXW_PATTERN_SOLID);
  format_set_bg_color(band_, colour);
  format_set_font_color(band_, LXW_COLOR_WHITE);
  title_ = workbook_add_format(wb_);
  format_set_pattern(title_, LXW_PATTERN_SOLID);
  format_set_bg_color(title_, colour);
  format_set_font_color(title_, LXW_COLOR_WHITE);
  format_set_font_size(title_, kTitleFontSize);
  date_ = workbook_add_format(wb_);
  format_set_pattern(date_, LXW_PATTERN_SOLID);
  format_set_bg_color(date_, colour);
  format_set_font_color(date_, LXW_COLOR_WHITE);
  format_set_align(date_, LXW_ALIGN_RIGHT);
  for (auto align : {ExportAlign::Left, ExportAlign::Center, ExportAlign::Right}) {
    lxw_format* h = header_[static_cast<size_t>(align)] = workbook_add_format(wb_);
    format_set_bold(h);
    format_set_font_color(h, colour);
    format_set_pattern(h, LXW_PATTERN_SOLID);
    format_set_bg_color(h, 0xF2F2F2);
    format_set_align(h, hAlign(align));
  }

  bool split = split_ >= 0 && !values_.empty();
  auto sheets = hSheetPlan(pTable.titleText, split ? values_ : std::vector<std::string>{});
  for (size_t i = 0; split && i < values_.size(); ++i) sheetByValue_[values_[i]] = i + 1;
  sheets_.resize(sheets.size());
  for (size_t i = 0; i < sheets.size(); ++i) {
    sheets_[i].ws = workbook_add_worksheet(wb_, sheets[i].first.c_str());
    if (!sheets_[i].ws) Raise(err::kInvalidCall, "cannot add the sheet '" + sheets[i].first + "'");
    hBeginSheet(sheets_[i], sheets[i].second);
  }
}

void cls_DBExportWorkbook::hWriteRow(Sheet& rSheet, const ExportRow& pRow) {
  uint32_t r = rSheet.row++;
  for (size_t c = 0; c < pRow.cells.size(); ++c) {
    const ExportCell& cell = pRow.cells[c];
    lxw_format* f = hFormat(cell, pRow);
    auto col = static_cast<lxw_col_t>(c);
    const Variant& v = cell.value;
    lxw_error e;
    if (cell.format != ExportFormat::Text && (v.isDate() || v.vartype() == 5)) {
      e = worksheet_write_number(rSheet.ws, r, col, v.rawDouble(), f);
    } else if (cell.text.empty()) {
      e = worksheet_write_blank(rSheet.ws, r, col, f);
    } else {
      e = worksheet_write_string(rSheet.ws, r, col, cell.text.c_str(), f);
      // A cell holds at most 32,767 characters; a longer text is cut rather than lost.
      if (e == LXW_ERROR_MAX_STRING_LENGTH_EXCEEDED) {
        std::string cut(text::Left(cell.text, kMaxCellChars));
        e = worksheet_write_string(rSheet.ws, r, col, cut.c_str(), f);
      }
    }
    if (e != LXW_NO_ERROR) hCheck(e, "cannot write row " + std::to_string(r + 1));
    size_t len =
        cell.text.empty() && (cell.value.isNumber() || cell.value.isDate()) ? hShownLength(cell) : text::Len(cell.text);
    if (len > rSheet.widths[c]) rSheet.widths[c] = len;
  }
}

void cls_DBExportWorkbook::ROW(const ExportRow& pRow) {
  hWriteRow(sheets_[0], pRow);
  if (split_ >= 0 && static_cast<size_t>(split_) < pRow.cells.size()) {
    auto it = sheetByValue_.find(pRow.cells[static_cast<size_t>(split_)].text);
    if (it != sheetByValue_.end()) hWriteRow(sheets_[it->second], pRow);
  }
}

void cls_DBExportWorkbook::END() {
  const auto& cols = table_->columns;
  for (auto& s : sheets_) {
    if (cols.empty()) continue;
    auto last = static_cast<lxw_col_t>(cols.size() - 1);
    worksheet_autofilter(s.ws, s.headerRow, 0, std::max(s.row - 1, s.headerRow), last);
    for (size_t c = 0; c < cols.size(); ++c) {
      double chars = std::max<double>(static_cast<double>(cols[c].width) / 7.0,
                                      static_cast<double>(std::min(s.widths[c], kMaxColumnChars)) + 1);
      worksheet_set_column(s.ws, static_cast<lxw_col_t>(c), static_cast<lxw_col_t>(c), chars, nullptr);
    }
  }
  lxw_workbook* wb = wb_;
  wb_ = nullptr;
  errno = 0;
  lxw_error e = workbook_close(wb);
  // The writer's own texts blame permissions for every failed file write; a full disk says so.
  if (e != LXW_NO_ERROR && (errno == ENOSPC || errno == EDQUOT))
    Raise(err::kDiskFull, "Disk full: cannot write the workbook '" + file_ + "': " + std::strerror(errno));
  hCheck(e, "cannot write the workbook '" + file_ + "'");
}

}  // namespace rykel
