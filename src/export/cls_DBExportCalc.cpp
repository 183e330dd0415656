#include "export/cls_DBExportCalc.h"

#include <algorithm>

#include "export/ExportPlugin.h"
#include "export/cls_DBExportWorkbook.h"
#include "frame/Text.h"

#ifdef RYKEL_HAVE_UNO
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <thread>
#include <tuple>

#include <com/sun/star/awt/FontWeight.hpp>
#include <com/sun/star/beans/NamedValue.hpp>
#include <com/sun/star/beans/PropertyValue.hpp>
#include <com/sun/star/beans/XPropertySet.hpp>
#include <com/sun/star/bridge/UnoUrlResolver.hpp>
#include <com/sun/star/bridge/XUnoUrlResolver.hpp>
#include <com/sun/star/container/XIndexAccess.hpp>
#include <com/sun/star/container/XNamed.hpp>
#include <com/sun/star/frame/Desktop.hpp>
#include <com/sun/star/frame/XComponentLoader.hpp>
#include <com/sun/star/frame/XController.hpp>
#include <com/sun/star/frame/XDesktop2.hpp>
#include <com/sun/star/frame/XModel.hpp>
#include <com/sun/star/frame/XStorable.hpp>
#include <com/sun/star/lang/Locale.hpp>
#include <com/sun/star/lang/XMultiServiceFactory.hpp>
#include <com/sun/star/sheet/XCellRangeData.hpp>
#include <com/sun/star/sheet/XSheetCellRangeContainer.hpp>
#include <com/sun/star/sheet/XSpreadsheet.hpp>
#include <com/sun/star/sheet/XSpreadsheetDocument.hpp>
#include <com/sun/star/sheet/XSpreadsheetView.hpp>
#include <com/sun/star/sheet/XSpreadsheets.hpp>
#include <com/sun/star/sheet/XUnnamedDatabaseRanges.hpp>
#include <com/sun/star/sheet/XViewFreezable.hpp>
#include <com/sun/star/table/CellHoriJustify.hpp>
#include <com/sun/star/table/CellRangeAddress.hpp>
#include <com/sun/star/table/CellVertJustify2.hpp>
#include <com/sun/star/table/XCellRange.hpp>
#include <com/sun/star/table/XColumnRowRange.hpp>
#include <com/sun/star/table/XTableColumns.hpp>
#include <com/sun/star/util/XCloseable.hpp>
#include <com/sun/star/util/XNumberFormats.hpp>
#include <com/sun/star/util/XNumberFormatsSupplier.hpp>
#include <cppuhelper/bootstrap.hxx>
#include <rtl/bootstrap.hxx>
#include <rtl/ustring.hxx>

#include "export/OfficeProcess.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#endif

namespace rykel {

#ifndef RYKEL_HAVE_UNO

struct cls_DBExportCalc::Impl {};

cls_DBExportCalc::cls_DBExportCalc(std::string, CalcOptions, int32_t, std::vector<std::string>) {}
cls_DBExportCalc::~cls_DBExportCalc() = default;
bool cls_DBExportCalc::AVAILABLE() { return false; }
bool cls_DBExportCalc::START() { return false; }
void cls_DBExportCalc::BEGIN(const ExportTable&) {}
void cls_DBExportCalc::ROW(const ExportRow&) {}
void cls_DBExportCalc::END() {}
bool cls_DBExportCalc::WRITE() { return false; }

#else

namespace {

namespace css = com::sun::star;
using css::beans::XPropertySet;
using css::table::CellRangeAddress;
using css::uno::Any;
using css::uno::Reference;
using css::uno::Sequence;
using css::uno::UNO_QUERY;
using css::uno::UNO_QUERY_THROW;
using rtl::OUString;

constexpr size_t kMaxCellChars = 32767;  // the most a workbook cell holds
constexpr int32_t kMaxRowsXlsx = 1048576;
constexpr int32_t kMaxRowsXls = 65536;
constexpr float kTitleFontSize = 18;
constexpr int32_t kHeaderBack = 0xF2F2F2;
constexpr int32_t kWhite = 0xFFFFFF;
constexpr double kGraceSeconds = 5;
// Up to this many rows a sheet's columns get the office's own optimal width; beyond it the fit
// (about 10 s per 100,000 rows x 8) gives way to widths from the longest text.
constexpr sal_Int32 kOptimalWidthRows = 20000;
constexpr size_t kMaxColumnChars = 60;
constexpr sal_Int32 kCharWidth = 185;  // 1/100 mm: one character of the default font, 7 pixels

OUString hU(std::string_view s) { return OUString(s.data(), static_cast<sal_Int32>(s.size()), RTL_TEXTENCODING_UTF8); }
std::string hS(const OUString& s) { return rtl::OUStringToOString(s, RTL_TEXTENCODING_UTF8).getStr(); }

int32_t hColor(const std::string& pText) {
  if (pText.size() != 7 || pText[0] != '#') return 0;
  return static_cast<int32_t>(std::stoul(pText.substr(1), nullptr, 16));
}

// The local UNO context, made once per process. The type libraries come from the office's own
// bootstrap file; without it the remote calls would fail on unknown types.
Reference<css::uno::XComponentContext> hLocalContext() {
  static Reference<css::uno::XComponentContext> ctx = [] {
    rtl::Bootstrap::set(OUString("URE_BOOTSTRAP"),
                        hU("vnd.sun.star.pathname:" RYKEL_OFFICE_DIR "/program/fundamentalrc"));
    return cppu::defaultBootstrap_InitialComponentContext(hU("file://" RYKEL_OFFICE_DIR "/program/unorc"));
  }();
  return ctx;
}

css::beans::PropertyValue hProp(const char* pName, const Any& pValue) {
  css::beans::PropertyValue p;
  p.Name = OUString::createFromAscii(pName);
  p.Value = pValue;
  return p;
}

template <class T>
Sequence<T> hSeq(const std::vector<T>& v) {
  return Sequence<T>(v.data(), static_cast<sal_Int32>(v.size()));
}

struct RowStyle {
  bool bold = false;
  std::string textColor, backColor;
  bool operator<(const RowStyle& o) const {
    return std::tie(bold, textColor, backColor) < std::tie(o.bold, o.textColor, o.backColor);
  }
};

// A cell's number format and alignment in one byte.
uint8_t hCellKey(const ExportCell& c) {
  return static_cast<uint8_t>(static_cast<int>(c.format) * 3 + static_cast<int>(c.align));
}

}  // namespace

struct cls_DBExportCalc::Impl {
  std::string file;
  CalcOptions options;
  int32_t split;
  std::vector<std::string> values;
  OfficeProcess office;

  const ExportTable* table = nullptr;
  size_t columns = 0;
  std::vector<Sequence<Any> > rows;  // cell values, one row per entry
  std::vector<uint8_t> cellKeys;     // rows x columns
  std::vector<uint16_t> cellChars;   // rows x columns: shown length, at most kMaxColumnChars
  std::vector<uint16_t> rowStyles;   // index into styles; 0 is plain
  std::vector<RowStyle> styles{RowStyle{}};
  std::map<RowStyle, uint16_t> styleIndex{{RowStyle{}, 0}};
  std::vector<std::vector<uint32_t> > sheetRows;  // per sheet, indexes into rows
  std::map<std::string, size_t> sheetByValue;

  Reference<css::lang::XComponent> doc;
  Reference<css::frame::XDesktop2> desktop;
  Reference<css::lang::XMultiServiceFactory> factory;
  Reference<css::util::XNumberFormats> formats;
  std::map<std::string, sal_Int32> formatKeys;

  sal_Int32 hFormatKey(const std::string& pCode);
  void hStyle(const std::vector<CellRangeAddress>& pRanges, const std::vector<css::beans::PropertyValue>& pProps);
  void hWriteSheet(sal_Int16 pIndex, const Reference<css::sheet::XSpreadsheet>& pSheet, const std::string& pTitle,
                   const std::vector<uint32_t>& pRows);
  void hBuild();
  void hStore();
  void hClose();
};

cls_DBExportCalc::cls_DBExportCalc(std::string pFile, CalcOptions pOptions, int32_t pSplitColumn,
                                   std::vector<std::string> pSheetValues)
    : impl_(std::make_unique<Impl>()) {
  impl_->file = std::move(pFile);
  impl_->options = std::move(pOptions);
  impl_->split = pSplitColumn;
  impl_->values = std::move(pSheetValues);
  std::sort(impl_->values.begin(), impl_->values.end());
  impl_->values.erase(std::unique(impl_->values.begin(), impl_->values.end()), impl_->values.end());
  if (impl_->split < 0) impl_->values.clear();
}

cls_DBExportCalc::~cls_DBExportCalc() {
  impl_->hClose();
  impl_->office.END();
}

bool cls_DBExportCalc::AVAILABLE() { return true; }

bool cls_DBExportCalc::START() { return impl_->office.START(impl_->options.program, impl_->options.timeoutSeconds); }

void cls_DBExportCalc::BEGIN(const ExportTable& pTable) {
  Impl& m = *impl_;
  m.table = &pTable;
  m.columns = pTable.columns.size();
  m.rows.reserve(static_cast<size_t>(pTable.rows));
  m.cellKeys.reserve(static_cast<size_t>(pTable.rows) * m.columns);
  m.cellChars.reserve(static_cast<size_t>(pTable.rows) * m.columns);
  m.rowStyles.reserve(static_cast<size_t>(pTable.rows));
  m.sheetRows.assign(1 + m.values.size(), {});
  for (size_t i = 0; i < m.values.size(); ++i) m.sheetByValue[m.values[i]] = i + 1;
}

void cls_DBExportCalc::ROW(const ExportRow& pRow) {
  Impl& m = *impl_;
  Sequence<Any> row(static_cast<sal_Int32>(m.columns));
  Any* out = row.getArray();
  for (size_t c = 0; c < m.columns && c < pRow.cells.size(); ++c) {
    const ExportCell& cell = pRow.cells[c];
    const Variant& v = cell.value;
    // Numbers and dates go in as numbers; everything else as text, never as a void value
    // (which the office turns into an error cell).
    if (cell.format != ExportFormat::Text && (v.isDate() || v.vartype() == 5)) {
      out[c] <<= v.rawDouble();
    } else {
      out[c] <<= hU(text::Left(cell.text, kMaxCellChars));
    }
    m.cellKeys.push_back(hCellKey(cell));
    size_t chars = cell.format == ExportFormat::Date ? 10 : std::min(text::Len(cell.text), kMaxColumnChars);
    m.cellChars.push_back(static_cast<uint16_t>(chars));
  }
  for (size_t c = pRow.cells.size(); c < m.columns; ++c) {
    out[c] <<= OUString();
    m.cellKeys.push_back(0);
    m.cellChars.push_back(0);
  }
  RowStyle style{pRow.bold, pRow.textColor, pRow.backColor};
  auto it = m.styleIndex.find(style);
  if (it == m.styleIndex.end()) {
    it = m.styleIndex.emplace(style, static_cast<uint16_t>(m.styles.size())).first;
    m.styles.push_back(style);
  }
  m.rowStyles.push_back(it->second);
  auto index = static_cast<uint32_t>(m.rows.size());
  m.rows.push_back(std::move(row));
  m.sheetRows[0].push_back(index);
  if (m.split >= 0 && static_cast<size_t>(m.split) < pRow.cells.size()) {
    auto s = m.sheetByValue.find(pRow.cells[static_cast<size_t>(m.split)].text);
    if (s != m.sheetByValue.end()) m.sheetRows[s->second].push_back(index);
  }
}

void cls_DBExportCalc::END() {}

bool cls_DBExportCalc::WRITE() {
  Impl& m = *impl_;
  if (!m.table) Raise(err::kInternal, "the Calc export got no table");
  if (m.columns == 0) Raise(err::kInvalidCall, "the view has no columns to export");
  int32_t top = m.table->titleShow ? 3 : 0;
  int32_t limit = m.options.oldFormat ? kMaxRowsXls : kMaxRowsXlsx;
  if (static_cast<int64_t>(m.rows.size()) + top + 1 > limit) {
    Raise(err::kInvalidCall, std::to_string(m.rows.size()) + " rows do not fit on one sheet of this file format");
  }
  // Connect while the office starts up: it listens on its pipe after about a second.
  Reference<css::uno::XComponentContext> remote;
  try {
    auto resolver = css::bridge::UnoUrlResolver::create(hLocalContext());
    OUString connection = hU(m.office.CONNECTION());
    auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(m.options.connectSeconds);
    while (!remote.is()) {
      try {
        remote.set(resolver->resolve(connection), UNO_QUERY);
      } catch (const css::uno::Exception&) {
        if (!m.office.RUNNING() || std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
      }
    }
  } catch (const css::uno::Exception&) { return false; }
  try {
    m.desktop = css::frame::Desktop::create(remote);
    m.hBuild();
    m.hStore();
  } catch (const css::uno::Exception& e) {
    bool timedOut = m.office.TIMEDOUT();
    m.hClose();
    m.office.END();
    if (timedOut) {
      Raise(err::kInternal, "LibreOffice did not finish within " +
                                std::to_string(static_cast<int>(m.options.timeoutSeconds)) + " seconds");
    }
    Raise(err::kInternal, "LibreOffice: " + hS(e.Message));
  }
  m.hClose();
  m.office.END(kGraceSeconds);
  return true;
}

sal_Int32 cls_DBExportCalc::Impl::hFormatKey(const std::string& pCode) {
  auto it = formatKeys.find(pCode);
  if (it != formatKeys.end()) return it->second;
  // The empty locale takes codes as written (English keywords) and stores them without a
  // language prefix.
  css::lang::Locale locale;
  sal_Int32 key = formats->queryKey(hU(pCode), locale, false);
  if (key < 0) key = formats->addNew(hU(pCode), locale);
  formatKeys.emplace(pCode, key);
  return key;
}

void cls_DBExportCalc::Impl::hStyle(const std::vector<CellRangeAddress>& pRanges,
                                    const std::vector<css::beans::PropertyValue>& pProps) {
  if (pRanges.empty()) return;
  Reference<css::sheet::XSheetCellRangeContainer> ranges(
      factory->createInstance(OUString("com.sun.star.sheet.SheetCellRanges")), UNO_QUERY_THROW);
  ranges->addRangeAddresses(hSeq(pRanges), false);
  Reference<XPropertySet> props(ranges, UNO_QUERY_THROW);
  for (const auto& p : pProps) props->setPropertyValue(p.Name, p.Value);
}

void cls_DBExportCalc::Impl::hWriteSheet(sal_Int16 pIndex, const Reference<css::sheet::XSpreadsheet>& pSheet,
                                         const std::string& pTitle, const std::vector<uint32_t>& pRows) {
  const auto& cols = table->columns;
  auto right = static_cast<sal_Int32>(columns) - 1;
  sal_Int32 top = table->titleShow ? 3 : 0;
  auto n = static_cast<sal_Int32>(pRows.size());
  auto range = [&](sal_Int32 l, sal_Int32 t, sal_Int32 r, sal_Int32 b) { return CellRangeAddress(pIndex, l, t, r, b); };

  // Header and rows in one block.
  Sequence<Sequence<Any> > data(n + 1);
  Sequence<Any>* d = data.getArray();
  Sequence<Any> header(static_cast<sal_Int32>(columns));
  for (size_t c = 0; c < columns; ++c) header.getArray()[c] <<= hU(cols[c].name);
  d[0] = header;
  for (sal_Int32 p = 0; p < n; ++p) d[p + 1] = rows[pRows[static_cast<size_t>(p)]];
  Reference<css::table::XCellRange> block = pSheet->getCellRangeByPosition(0, top, right, top + n);
  Reference<css::sheet::XCellRangeData>(block, UNO_QUERY_THROW)->setDataArray(data);

  // Number formats and alignments: per column, runs of rows with the same cell rule.
  std::map<uint8_t, std::vector<CellRangeAddress> > byKey;
  for (size_t c = 0; c < columns; ++c) {
    sal_Int32 start = 0;
    for (sal_Int32 p = 1; p <= n; ++p) {
      uint8_t key = cellKeys[pRows[static_cast<size_t>(start)] * columns + c];
      if (p < n && cellKeys[pRows[static_cast<size_t>(p)] * columns + c] == key) continue;
      auto cc = static_cast<sal_Int32>(c);
      byKey[key].push_back(range(cc, top + 1 + start, cc, top + p));
      start = p;
    }
  }
  for (const auto& [key, ranges] : byKey) {
    auto format = static_cast<ExportFormat>(key / 3);
    auto align = static_cast<ExportAlign>(key % 3);
    std::vector<css::beans::PropertyValue> props;
    const char* code = format == ExportFormat::Integer   ? "#,##0_ ;[RED]\\-#,##0\\ "
                       : format == ExportFormat::Decimal ? "#,##0.00_ ;[RED]\\-#,##0.00\\ "
                       : format == ExportFormat::Date    ? "DD.MM.YYYY"
                       : format == ExportFormat::Text    ? "@"
                                                         : nullptr;
    if (code) props.push_back(hProp("NumberFormat", Any(hFormatKey(code))));
    auto hori = align == ExportAlign::Right    ? css::table::CellHoriJustify_RIGHT
                : align == ExportAlign::Center ? css::table::CellHoriJustify_CENTER
                                               : css::table::CellHoriJustify_LEFT;
    props.push_back(hProp("HoriJustify", Any(hori)));
    hStyle(ranges, props);
  }
  if (n > 0) {
    Reference<XPropertySet>(pSheet->getCellRangeByPosition(0, top + 1, right, top + n), UNO_QUERY_THROW)
        ->setPropertyValue(OUString("VertJustify"), Any(css::table::CellVertJustify2::TOP));
  }

  // Bold and coloured rows: runs of rows with the same style.
  std::map<uint16_t, std::vector<CellRangeAddress> > byStyle;
  for (sal_Int32 start = 0, p = 1; p <= n; ++p) {
    uint16_t s = rowStyles[pRows[static_cast<size_t>(start)]];
    if (p < n && rowStyles[pRows[static_cast<size_t>(p)]] == s) continue;
    if (s != 0) byStyle[s].push_back(range(0, top + 1 + start, right, top + p));
    start = p;
  }
  for (const auto& [s, ranges] : byStyle) {
    const RowStyle& style = styles[s];
    std::vector<css::beans::PropertyValue> props;
    if (style.bold) props.push_back(hProp("CharWeight", Any(css::awt::FontWeight::BOLD)));
    if (!style.textColor.empty()) props.push_back(hProp("CharColor", Any(hColor(style.textColor))));
    if (!style.backColor.empty()) props.push_back(hProp("CellBackColor", Any(hColor(style.backColor))));
    hStyle(ranges, props);
  }

  int32_t colour = hColor(table->titleColor);
  Reference<XPropertySet> head(pSheet->getCellRangeByPosition(0, top, right, top), UNO_QUERY_THROW);
  head->setPropertyValue(OUString("CharWeight"), Any(css::awt::FontWeight::BOLD));
  head->setPropertyValue(OUString("CharColor"), Any(colour));
  head->setPropertyValue(OUString("CellBackColor"), Any(kHeaderBack));

  // Auto filter over header and rows: the sheet's unnamed database range is the one the file
  // formats keep.
  Reference<XPropertySet> docProps(doc, UNO_QUERY_THROW);
  Reference<css::sheet::XUnnamedDatabaseRanges> unnamed(docProps->getPropertyValue(OUString("UnnamedDatabaseRanges")),
                                                        UNO_QUERY_THROW);
  unnamed->setByTable(range(0, top, right, top + n));
  Reference<XPropertySet>(unnamed->getByTable(pIndex), UNO_QUERY_THROW)
      ->setPropertyValue(OUString("AutoFilter"), Any(true));

  // Widths fitted to header and rows, before the title band gets its (long) texts.
  Reference<css::table::XColumnRowRange> spread(block, UNO_QUERY_THROW);
  if (n <= kOptimalWidthRows) {
    Reference<XPropertySet>(spread->getColumns(), UNO_QUERY_THROW)
        ->setPropertyValue(OUString("OptimalWidth"), Any(true));
  } else {
    Reference<css::container::XIndexAccess> columnList(spread->getColumns(), UNO_QUERY_THROW);
    for (size_t c = 0; c < columns; ++c) {
      size_t longest = text::Len(cols[c].name) + 2;  // room for the filter button
      for (uint32_t r : pRows) longest = std::max<size_t>(longest, cellChars[r * columns + c]);
      Reference<XPropertySet>(columnList->getByIndex(static_cast<sal_Int32>(c)), UNO_QUERY_THROW)
          ->setPropertyValue(OUString("Width"), Any(static_cast<sal_Int32>((longest + 2) * kCharWidth)));
    }
  }

  if (table->titleShow) {
    Sequence<Sequence<Any> > band(1);
    Sequence<Any> line(static_cast<sal_Int32>(columns));
    Any* l = line.getArray();
    for (size_t c = 0; c < columns; ++c) l[c] <<= OUString();
    l[right] <<= hU("Stand: " + date::Format(table->stamp, "dd.mm.yyyy HH:MM"));
    l[0] <<= hU(pTitle);
    band.getArray()[0] = line;
    Reference<css::sheet::XCellRangeData>(pSheet->getCellRangeByPosition(0, 1, right, 1), UNO_QUERY_THROW)
        ->setDataArray(band);
    Reference<XPropertySet> all(pSheet->getCellRangeByPosition(0, 0, right, 2), UNO_QUERY_THROW);
    all->setPropertyValue(OUString("CellBackColor"), Any(colour));
    all->setPropertyValue(OUString("CharColor"), Any(kWhite));
    Reference<XPropertySet>(pSheet->getCellRangeByPosition(0, 1, 0, 1), UNO_QUERY_THROW)
        ->setPropertyValue(OUString("CharHeight"), Any(kTitleFontSize));
    if (right > 0) {
      Reference<XPropertySet>(pSheet->getCellRangeByPosition(right, 1, right, 1), UNO_QUERY_THROW)
          ->setPropertyValue(OUString("HoriJustify"), Any(css::table::CellHoriJustify_RIGHT));
    }
  }

  // Panes frozen below the header. A hidden document has no visible view, and older office
  // versions then keep the freeze out of the file; it is set all the same.
  try {
    Reference<css::frame::XModel> model(doc, UNO_QUERY_THROW);
    Reference<css::frame::XController> ctl = model->getCurrentController();
    Reference<css::sheet::XSpreadsheetView> view(ctl, UNO_QUERY);
    Reference<css::sheet::XViewFreezable> freeze(ctl, UNO_QUERY);
    if (view.is() && freeze.is()) {
      view->setActiveSheet(pSheet);
      freeze->freezeAtPosition(0, top + 1);
    }
  } catch (const css::uno::RuntimeException&) {}
}

void cls_DBExportCalc::Impl::hBuild() {
  std::vector<css::beans::PropertyValue> load{hProp("Hidden", Any(true))};
  doc = Reference<css::frame::XComponentLoader>(desktop, UNO_QUERY_THROW)
            ->loadComponentFromURL(OUString("private:factory/scalc"), OUString("_blank"), 0, hSeq(load));
  if (!doc.is()) throw css::uno::RuntimeException(OUString("no new spreadsheet document"));
  factory.set(doc, UNO_QUERY_THROW);
  formats = Reference<css::util::XNumberFormatsSupplier>(doc, UNO_QUERY_THROW)->getNumberFormats();

  Reference<css::sheet::XSpreadsheets> sheets =
      Reference<css::sheet::XSpreadsheetDocument>(doc, UNO_QUERY_THROW)->getSheets();
  Reference<css::container::XIndexAccess> index(sheets, UNO_QUERY_THROW);
  // A new document may come with several default sheets: the first one stays, as "Alle".
  while (index->getCount() > 1) {
    Reference<css::container::XNamed> last(index->getByIndex(index->getCount() - 1), UNO_QUERY_THROW);
    sheets->removeByName(last->getName());
  }
  auto plan = cls_DBExportWorkbook::hSheetPlan(table->titleText, values);
  Reference<css::container::XNamed>(index->getByIndex(0), UNO_QUERY_THROW)->setName(hU(plan[0].first));
  for (size_t i = 1; i < plan.size(); ++i) sheets->insertNewByName(hU(plan[i].first), static_cast<sal_Int16>(i));
  for (size_t i = 0; i < plan.size(); ++i) {
    Reference<css::sheet::XSpreadsheet> sheet(index->getByIndex(static_cast<sal_Int32>(i)), UNO_QUERY_THROW);
    hWriteSheet(static_cast<sal_Int16>(i), sheet, plan[i].second, sheetRows[i]);
  }
  // Open on "Alle".
  Reference<css::sheet::XSpreadsheetView> view(
      Reference<css::frame::XModel>(doc, UNO_QUERY_THROW)->getCurrentController(), UNO_QUERY);
  if (view.is()) view->setActiveSheet(Reference<css::sheet::XSpreadsheet>(index->getByIndex(0), UNO_QUERY_THROW));
}

void cls_DBExportCalc::Impl::hStore() {
  std::vector<css::beans::PropertyValue> props{
      hProp("FilterName", Any(OUString::createFromAscii(options.oldFormat ? "MS Excel 97" : "Calc MS Excel 2007 XML"))),
      hProp("Overwrite", Any(true))};
  if (!options.password.empty()) {
    if (options.oldFormat) {
      props.push_back(hProp("Password", Any(hU(options.password))));
    } else {
      // A plain "Password" leaves an .xlsx unencrypted on some office versions; the standard
      // encryption is written by all of them.
      std::vector<css::beans::NamedValue> enc{
          css::beans::NamedValue(OUString("CryptoType"), Any(OUString("Standard"))),
          css::beans::NamedValue(OUString("OOXPassword"), Any(hU(options.password)))};
      props.push_back(hProp("EncryptionData", Any(hSeq(enc))));
    }
  }
  // Stored in the atomic writer's temporary file and renamed over the target, so a failed save
  // leaves the old file alone.
  fileio::WriteFileAtomicByName(file, [&](const std::string& pTemp) {
    try {
      Reference<css::frame::XStorable>(doc, UNO_QUERY_THROW)
          ->storeToURL(hU(OfficeProcess::hFileUrl(pTemp)), hSeq(props));
    } catch (const css::uno::Exception& e) { Raise(err::kFileIO, "cannot store '" + file + "': " + hS(e.Message)); }
  });
}

void cls_DBExportCalc::Impl::hClose() {
  // Each step may meet an office that is already gone; what matters is that the process ends,
  // which OfficeProcess::END makes sure of.
  if (doc.is()) {
    try {
      Reference<css::util::XCloseable>(doc, UNO_QUERY_THROW)->close(true);
    } catch (const css::uno::Exception&) {}
    doc.clear();
  }
  if (desktop.is()) {
    try {
      desktop->terminate();
    } catch (const css::uno::Exception&) {}
    desktop.clear();
  }
  factory.clear();
  formats.clear();
}

#endif

namespace {

std::unique_ptr<CalcExport> hMake(std::string pFile, CalcOptions pOptions, int32_t pSplitColumn,
                                  std::vector<std::string> pSheetValues) {
  return std::make_unique<cls_DBExportCalc>(std::move(pFile), std::move(pOptions), pSplitColumn,
                                            std::move(pSheetValues));
}

}  // namespace

}  // namespace rykel

extern "C" const rykel::CalcPlugin rykel_plugin_calc = {RYKEL_VERSION, rykel::hMake};
