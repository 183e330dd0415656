// cls_DBExport: the one walk over a view's entries that feeds every exporter.
//
// PREPARE reads the view's columns and the settings once; WALK visits the entries in list order
// and hands each exporter (an ExportSink) a row of ready-made cells. A cell carries its display
// text, the typed value a workbook writes, its alignment and its number format, decided once by
// the cell rules below, so the HTML table, the workbook and the PDF agree cell for cell:
//
//   type LONG                      right   Integer   (thousands separators, red negatives)
//   type DOUBLE                    right   Decimal   (two decimals)
//   type DATE                      left    Date
//   type BOOL                      centre  -         "Ja" / "Nein"
//   choice types                   left    -         text through the column's value mode
//   reference types                left    -         value event first; empty shown as "-/-"
//   other types, name with PHONE, FAX, MOBILE, ZIP, TELEFON, HANDY or PLZ   left  Text
//   other types, text "##:##"      left    Text      (kept as text, never a time of day)
//   other types, text "##.##.####" left    Date      (a date when it is one)
//
// A row is bold, coloured or shaded when the view's formatting rules of a field match the row's
// value of that field (BOLD is a condition; TEXTCOLOR / BACKCOLOR are "#rrggbb [condition]").
//
// Threads: as the database, on the thread that owns it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "database/cls_DB.h"

namespace rykel {

enum class ExportAlign { Left, Center, Right };
enum class ExportFormat { None, Integer, Decimal, Date, Text };

struct ExportColumn {
  std::string name;         // header text (the field's NAME, else its ID)
  int32_t width = 100;      // pixels, from the view
  DBFieldPtr field;         // null for the running-number column
  int32_t mode = 0;         // value mode of choice fields
  bool textByName = false;  // phone, fax, mobile and postal-code columns stay text
};

struct ExportCell {
  std::string text;         // display text (UTF-8, not escaped)
  Variant value;            // typed value: number, date, boolean or text
  ExportAlign align = ExportAlign::Left;
  ExportFormat format = ExportFormat::None;
};

struct ExportRow {
  Variant id;
  int64_t number = 0;       // 1-based position in the list
  std::vector<ExportCell> cells;
  bool bold = false;
  std::string textColor;    // "#rrggbb" or ""
  std::string backColor;
};

// What every exporter sees before the rows.
struct ExportTable {
  std::vector<ExportColumn> columns;
  bool titleShow = false;
  std::string titleText;
  std::string titleColor;   // "#rrggbb"
  double stamp = 0;         // export time (OLE date)
  int64_t rows = 0;         // entries to come
  StructurePtr settings;    // never null
};

class ExportSink {
 public:
  virtual ~ExportSink() = default;
  virtual void BEGIN(const ExportTable& pTable) = 0;
  virtual void ROW(const ExportRow& pRow) = 0;
  virtual void END() = 0;
};

class cls_DBExport {
 public:
  // REQUIRES: pDB outlives this object. Raises kInvalidCall when the view does not exist.
  cls_DBExport(cls_DB& pDB, const Variant& pView, const cls_DB::IDList& pIDs, const StructurePtr& pSettings);

  const ExportTable& TABLE() const { return table_; }
  const std::vector<Variant>& IDS() const { return ids_; }
  const DBViewPtr& VIEW() const { return view_; }
  // One row, as the sinks get it.
  ExportRow ROW(const Variant& pID, int64_t pNumber);
  // Feeds every sink: BEGIN, one ROW per entry, END. Reports progress unless "NOOSD".
  void WALK(const std::vector<ExportSink*>& pSinks);

  // "#rrggbb" of a colour number red + 256 green + 65536 blue.
  static std::string hColorText(int32_t pColor);

 private:
  ExportCell hCell(const ExportColumn& pColumn, const Variant& pID);
  void hFormatRow(ExportRow& rRow);

  cls_DB& db_;
  DBViewPtr view_;
  std::vector<Variant> ids_;
  ExportTable table_;
  bool index_ = false, quiet_ = false;
};

// True when a text meets a rule condition: "" always; "=x" or "x" equal (case-blind); "<>x" not
// equal; "<x", ">x", "<=x", ">=x" compare as numbers when both sides are numbers, else as texts.
bool hExportRuleMatches(const std::string& pText, const Variant& pValue, std::string_view pCondition);

}  // namespace rykel
