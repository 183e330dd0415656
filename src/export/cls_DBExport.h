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
// value of that field (BOLD is a condition; TEXTCOLOR / BACKCOLOR are "#rrggbb [condition]"). The
// conditions are read by cls_DBCondition, the reader behind ENTRYQUERY, so a rule marks exactly
// the rows that ENTRYQUERY with the same field and condition returns; a rule without a
// condition marks every row.
//
// Values come straight from the entry table (or, every entry in table order, through ENTRYCURSOR, which
// also reads a database opened with "STREAM" from its file, in file order or by its view's sort), each entry's fields
// read in one pass; no per-cell field lookup and no whole-column copies. Sinks that write typed numbers and dates (the
// workbook) say so through NUMBERTEXTS() and are spared the display text of those cells.
//
// Threads: as the database, on the thread that owns it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "database/cls_DBStore.h"
#include "query/cls_DBCondition.h"

namespace rykel {

enum class ExportAlign { Left, Center, Right };
enum class ExportFormat { None, Integer, Decimal, Date, Text };

struct ExportColumn {
  std::string name;                       // header text (the field's NAME, else its ID)
  int32_t width = 100;                    // pixels, from the view
  DBFieldPtr field;                       // null for the running-number column
  int32_t no = 0;                         // the field's 1-based number (0 for the running-number column)
  int32_t mode = 0;                       // value mode of choice fields
  bool textByName = false;                // phone, fax, mobile and postal-code columns stay text
  ExportAlign align = ExportAlign::Left;  // of the column's values (and so of its header)
};

struct ExportCell {
  std::string text;  // display text (UTF-8, not escaped)
  Variant value;     // typed value of number and date cells; Empty where the text is the value
  ExportAlign align = ExportAlign::Left;
  ExportFormat format = ExportFormat::None;
};

struct ExportRow {
  Variant id;
  int64_t number = 0;  // 1-based position in the list
  std::vector<ExportCell> cells;
  bool bold = false;
  std::string textColor;  // "#rrggbb" or ""
  std::string backColor;
  uint32_t style = 0;  // small number naming the (bold, textColor, backColor) triple; 0 = plain
};

// What every exporter sees before the rows.
struct ExportTable {
  std::vector<ExportColumn> columns;
  bool titleShow = false;
  std::string titleText;
  std::string titleColor;  // "#rrggbb"
  double stamp = 0;        // export time (OLE date)
  int64_t rows = 0;        // entries to come
  StructurePtr settings;   // never null
};

class ExportSink {
 public:
  virtual ~ExportSink() = default;
  virtual void BEGIN(const ExportTable& pTable) = 0;
  virtual void ROW(const ExportRow& pRow) = 0;
  virtual void END() = 0;
  // False when the sink writes number and date cells from their typed value only, so their
  // display text need not be made.
  virtual bool NUMBERTEXTS() const { return true; }
};

class cls_DBExport {
 public:
  // REQUIRES: pDB outlives this object. Raises kInvalidCall when the view does not exist.
  cls_DBExport(cls_DBStore& pDB, const Variant& pView, const cls_DBStore::IDList& pIDs, const StructurePtr& pSettings);

  const ExportTable& TABLE() const { return table_; }
  // The ids of the entries to export, in order. For every entry in table order the list is made
  // on first call (WALK does without it); raises kInvalidCall for a database opened with
  // "STREAM", whose entries stay in its file.
  const std::vector<Variant>& IDS();
  // True when the entries are read through CURSOR: every entry in table order, or a streamed
  // database in its view's sort order.
  bool INORDER() const { return allInOrder_ || fileOrder_; }
  // The pass over the entries to export when INORDER.
  std::unique_ptr<cls_DBStore::EntryCursor> CURSOR(const cls_DBStore::EntryReader& pReader);
  // Whether a database opened with "STREAM" can export the view's entries without holding them:
  // a view without filter, and unsorted or sorted as mdl_DBQuery::ENTRYSORTSTREAMS allows.
  static bool STREAMS(cls_DBStore& pDB, const cls_DBView& pView);
  const DBViewPtr& VIEW() const { return view_; }
  // One row, as the sinks get it.
  ExportRow ROW(const Variant& pID, int64_t pNumber);
  // The display text of one column of an entry (the split column of the workbook's sheets).
  std::string CELLTEXT(size_t pColumn, const Variant& pID);
  // Feeds every sink: BEGIN, one ROW per entry, END. Reports progress unless "NOOSD".
  void WALK(const std::vector<ExportSink*>& pSinks);

  // "#rrggbb" of a colour number red + 256 green + 65536 blue.
  static std::string hColorText(int32_t pColor);

 private:
  // One prepared formatting rule: a field, what it sets and the condition (none: every row).
  struct Rule {
    enum class Sets : uint8_t { Bold, TextColor, BackColor };
    size_t slot = 0;  // where the field's value is in the row's values
    Sets sets = Sets::Bold;
    std::string colour;
    bool always = false;
    cls_DBCondition cond;
  };
  void hReadRules();
  // Fills the row from values_, which holds the entry's values.
  void hFill(ExportRow& rRow, const Variant& pID, int64_t pNumber, bool pNumberTexts);
  void hCell(ExportCell& rCell, const ExportColumn& pColumn, const Variant& pID, const Variant& pValue,
             bool pNumberTexts);
  void hFormatRow(ExportRow& rRow);

  cls_DBStore& db_;
  DBViewPtr view_;
  std::vector<Variant> ids_;                                       // made on first need when allInOrder_
  bool allInOrder_ = false;                                        // every entry in table order
  std::optional<std::vector<cls_DBStore::RecordSpan>> fileOrder_;  // a streamed database's records, sorted
  ExportTable table_;
  bool index_ = false, quiet_ = false;
  std::vector<Rule> rules_;
  // The field numbers read per entry: one per column (0 for the running number), then the rules'.
  std::vector<int32_t> fieldNos_;
  cls_DBStore::EntryReader reader_;
  std::vector<Variant> values_;
  // Row style triples met so far; the index is ExportRow::style.
  std::vector<std::tuple<bool, std::string, std::string>> styles_{{false, "", ""}};
};

}  // namespace rykel
