#include "export/cls_DBExportPdf.h"

#include <cairo-pdf.h>
#include <pango/pangocairo.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "database/DBEntryText.h"
#include "export/ExportPlugin.h"
#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "frame/Text.h"
#include "frame/mdl_Global.h"

namespace rykel {

namespace {

constexpr double kPointsPerMM = 72.0 / 25.4;
constexpr double kA4Short = 595.28, kA4Long = 841.89;
constexpr double kBlockGapMM = 5;

std::string hUser() {
  if (const char* u = std::getenv("USER"); u && *u) return u;
  if (passwd* pw = getpwuid(getuid())) return pw->pw_name;
  return "";
}

std::string hComputer() {
  char b[256] = {};
  return gethostname(b, sizeof b - 1) == 0 ? std::string(b) : std::string();
}

void hReplaceAll(std::string& s, std::string_view what, const std::string& with) {
  for (size_t at = s.find(what); at != std::string::npos; at = s.find(what, at + with.size()))
    s.replace(at, what.size(), with);
}

void hSetColor(cairo_t* cr, const std::string& hex) {
  unsigned long c = hex.size() == 7 ? std::stoul(hex.substr(1), nullptr, 16) : 0;
  cairo_set_source_rgb(cr, ((c >> 16) & 0xFF) / 255.0, ((c >> 8) & 0xFF) / 255.0, (c & 0xFF) / 255.0);
}

cairo_status_t hWriteStream(void* closure, const unsigned char* data, unsigned int length) {
  return std::fwrite(data, 1, length, static_cast<std::FILE*>(closure)) == length ? CAIRO_STATUS_SUCCESS
                                                                                  : CAIRO_STATUS_WRITE_ERROR;
}

// One line of text in a box of width w at (x, y), cut with "…" when too long.
void hText(cairo_t* cr, PangoLayout* layout, const std::string& text, double x, double y, double w,
           PangoAlignment align) {
  pango_layout_set_text(layout, text.c_str(), static_cast<int>(text.size()));
  pango_layout_set_width(layout, static_cast<int>(std::max(w, 1.0) * PANGO_SCALE));
  pango_layout_set_alignment(layout, align);
  cairo_move_to(cr, x, y);
  pango_cairo_show_layout(cr, layout);
}

}  // namespace

std::string cls_DBExportPdf::hStatusText(std::string pText, int32_t pPage, int32_t pPages, double pStamp,
                                         const std::string& pName) {
  hReplaceAll(pText, "{PAGE}", std::to_string(pPage));
  hReplaceAll(pText, "{PAGES}", std::to_string(pPages));
  hReplaceAll(pText, "{DATE}", date::Format(pStamp, "dd.mm.yyyy"));
  hReplaceAll(pText, "{TIME}", date::Format(pStamp, "HH:MM"));
  hReplaceAll(pText, "{USER}", hUser());
  hReplaceAll(pText, "{COMPUTER}", hComputer());
  hReplaceAll(pText, "{NAME}", pName);
  return pText;
}

cls_DBExportPdf::cls_DBExportPdf(std::string pFile, StructurePtr pLayout, std::string pName)
    : file_(std::move(pFile)), layout_(std::move(pLayout)), name_(std::move(pName)) {}

void cls_DBExportPdf::BEGIN(const ExportTable& pTable) {
  table_ = &pTable;
  rows_.reserve(static_cast<size_t>(pTable.rows));
}

void cls_DBExportPdf::ROW(const ExportRow& pRow) {
  std::vector<std::string> texts;
  texts.reserve(pRow.cells.size());
  if (aligns_.empty()) {
    for (const auto& c : pRow.cells) aligns_.push_back(c.align);
  }
  for (const auto& c : pRow.cells) texts.push_back(c.text);
  rows_.push_back(std::move(texts));
}

void cls_DBExportPdf::END() {
  auto num = [&](const char* key, double fallback) {
    Variant v = layout_->ITEM_GET(key);
    double d;
    return NumericValue(v, d) || ParseNumber(CStr(v), d) ? d : fallback;
  };
  auto flag = [&](const char* key) { return mdl_Global::hCBool(layout_->ITEM_GET(key, false)); };
  auto text = [&](const char* key) { return CStr(layout_->ITEM_GET(key)); };

  const bool portrait = flag("PAGE.PORTRAIT");
  const double pageW = portrait ? kA4Short : kA4Long, pageH = portrait ? kA4Long : kA4Short;
  const double left = num("MARGIN.LEFT", 15) * kPointsPerMM, right = num("MARGIN.RIGHT", 15) * kPointsPerMM;
  const double top = num("MARGIN.TOP", 15) * kPointsPerMM, bottom = num("MARGIN.BOTTOM", 10) * kPointsPerMM;
  const int blocks = std::max(1, static_cast<int>(num("PAGE.COLUMNS", 1)));
  const double padX = num("CELL.PADDING", 1) * kPointsPerMM, padOuter = num("CELL.PADDINGOUTER", 0) * kPointsPerMM;
  const double padY = num("CELL.PADDINGY", 1);
  const bool separators = flag("CELL.SEPERATOR");
  const bool headerShow = flag("COLUMNHEADER.SHOW");
  const int headerLines = std::max(1, static_cast<int>(num("COLUMNHEADER.HEIGHT", 1)));
  const bool titleShow = table_->titleShow || flag("TITLE.SHOW");
  const std::string titleText = table_->titleShow ? table_->titleText : text("TITLE.TEXT");
  const double titleH = titleShow ? num("TITLE.HEIGHT", 10) * kPointsPerMM : 0;
  const bool statusShow = flag("STATUS.SHOW");
  std::string font = text("FONT.NAME");
  if (font.empty()) font = "Arial";
  const double fontSize = std::max(1.0, num("FONT.SIZE", 8));

  fileio::WriteFileAtomicStream(file_, [&](std::FILE* f) {
    cairo_surface_t* surface = cairo_pdf_surface_create_for_stream(hWriteStream, f, pageW, pageH);
    cairo_t* cr = cairo_create(surface);
    PangoLayout* layout = pango_cairo_create_layout(cr);
    PangoFontDescription* desc = pango_font_description_from_string(font.c_str());
    pango_font_description_set_absolute_size(desc, fontSize * PANGO_SCALE);
    pango_layout_set_font_description(layout, desc);
    pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_END);
    pango_layout_set_text(layout, "Ag", -1);
    int lw = 0, lh = 0;
    pango_layout_get_pixel_size(layout, &lw, &lh);
    const double lineH = lh;
    const double rowH = lineH + 2 * padY;
    const double statusH = statusShow ? rowH : 0;
    const double headerH = headerShow ? headerLines * lineH + 2 * padY : 0;

    // Column widths: the view's widths scaled to one block.
    const auto& cols = table_->columns;
    const double blockW = (pageW - left - right - (blocks - 1) * kBlockGapMM * kPointsPerMM) / blocks;
    double sum = 0;
    for (const auto& c : cols) sum += c.width;
    std::vector<double> widths;
    for (const auto& c : cols) widths.push_back(sum > 0 ? (blockW - 2 * padOuter) * c.width / sum : 0);

    const double bodyTop = top + titleH + headerH;
    const double bodyH = pageH - bottom - statusH - bodyTop;
    const int perBlock = std::max(1, static_cast<int>(std::floor(bodyH / rowH)));
    const int perPage = perBlock * blocks;
    const int total = std::max(1, static_cast<int>((rows_.size() + perPage - 1) / perPage));
    pages_ = total;
    int first = static_cast<int>(num("PAGE.FIRST", -1)), last = static_cast<int>(num("PAGE.LAST", -1));
    if (first < 1) first = 1;
    if (last < 1 || last > total) last = total;

    auto toPango = [](ExportAlign a) {
      return a == ExportAlign::Right    ? PANGO_ALIGN_RIGHT
             : a == ExportAlign::Center ? PANGO_ALIGN_CENTER
                                        : PANGO_ALIGN_LEFT;
    };
    auto drawRow = [&](const std::vector<std::string>& cells, double x0, double y, bool bold) {
      if (bold) pango_font_description_set_weight(desc, PANGO_WEIGHT_BOLD);
      pango_layout_set_font_description(layout, desc);
      double x = x0 + padOuter;
      for (size_t c = 0; c < cells.size() && c < widths.size(); ++c) {
        hText(cr, layout, cells[c], x + padX, y + padY, widths[c] - 2 * padX,
              toPango(c < aligns_.size() ? aligns_[c] : ExportAlign::Left));  // headers sit over their values
        if (separators && c > 0) {
          cairo_move_to(cr, x, y);
          cairo_line_to(cr, x, y + rowH);
          cairo_stroke(cr);
        }
        x += widths[c];
      }
      if (bold) pango_font_description_set_weight(desc, PANGO_WEIGHT_NORMAL);
      pango_layout_set_font_description(layout, desc);
    };

    cairo_set_line_width(cr, 0.3);
    std::vector<std::string> headers;
    for (const auto& c : cols) headers.push_back(c.name);
    for (int page = first; page <= last; ++page) {
      cairo_set_source_rgb(cr, 0, 0, 0);
      if (titleShow) {
        hSetColor(cr, table_->titleColor);
        cairo_rectangle(cr, left, top, pageW - left - right, titleH);
        cairo_fill(cr);
        cairo_set_source_rgb(cr, 1, 1, 1);
        hText(cr, layout, titleText, left + padX, top + (titleH - lineH) / 2, pageW - left - right - 2 * padX,
              PANGO_ALIGN_LEFT);
        hText(cr, layout, "Stand: " + date::Format(table_->stamp, "dd.mm.yyyy HH:MM"), left + padX,
              top + (titleH - lineH) / 2, pageW - left - right - 2 * padX, PANGO_ALIGN_RIGHT);
        cairo_set_source_rgb(cr, 0, 0, 0);
      }
      for (int b = 0; b < blocks; ++b) {
        double x0 = left + b * (blockW + kBlockGapMM * kPointsPerMM);
        size_t start = static_cast<size_t>((page - 1) * perPage + b * perBlock);
        if (b > 0 && start >= rows_.size()) break;
        if (headerShow) {
          drawRow(headers, x0, top + titleH, true);
          cairo_move_to(cr, x0, bodyTop);
          cairo_line_to(cr, x0 + blockW, bodyTop);
          cairo_stroke(cr);
        }
        for (int r = 0; r < perBlock && start + r < rows_.size(); ++r) {
          double y = bodyTop + r * rowH;
          drawRow(rows_[start + r], x0, y, false);
          if (separators) {
            cairo_move_to(cr, x0, y + rowH);
            cairo_line_to(cr, x0 + blockW, y + rowH);
            cairo_stroke(cr);
          }
        }
      }
      if (statusShow) {
        double y = pageH - bottom - lineH;
        double w = pageW - left - right;
        const std::pair<const char*, PangoAlignment> parts[] = {{"STATUS.LEFT", PANGO_ALIGN_LEFT},
                                                                {"STATUS.CENTER", PANGO_ALIGN_CENTER},
                                                                {"STATUS.RIGHT", PANGO_ALIGN_RIGHT}};
        for (const auto& [key, align] : parts) {
          std::string s = text(key);
          if (!s.empty()) hText(cr, layout, hStatusText(s, page, total, table_->stamp, name_), left, y, w, align);
        }
      }
      cairo_show_page(cr);
    }
    pango_font_description_free(desc);
    g_object_unref(layout);
    cairo_destroy(cr);
    cairo_surface_finish(surface);
    cairo_status_t st = cairo_surface_status(surface);
    cairo_surface_destroy(surface);
    if (st != CAIRO_STATUS_SUCCESS)
      Raise(err::kFileIO, std::string("cannot write the PDF: ") + cairo_status_to_string(st));
  });
}

namespace {

std::unique_ptr<ExportSink> hMake(std::string pFile, StructurePtr pLayout, std::string pName) {
  return std::make_unique<cls_DBExportPdf>(std::move(pFile), std::move(pLayout), std::move(pName));
}

}  // namespace

}  // namespace rykel

extern "C" const rykel::PdfPlugin rykel_plugin_pdf = {RYKEL_VERSION, rykel::hMake};
