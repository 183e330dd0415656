// DBExportPlain: entries as plain data, the form the data exports (CSV, TSV, JSON, JSON lines,
// SQLite) share, so that every one of them writes a value the same way.
//
// The columns are the database's fields in field order, keyed by field ID; the view only chooses
// and orders the entries (its filter and sort, or the id list given). Values are the stored ones,
// not display texts: choice and reference fields give the member value, not its text.
//
//   Empty, Null, errors, NaN, infinities   Null    (CSV "", JSON null, SQL NULL)
//   "" in a number, date or yes/no field    Null
//   Integer, Long; a whole Double of an integer field within +-2^53   Integer
//   Single, Double, Currency               Real    (shortest text that reads back, "2.0" not "2")
//   Boolean                                Bool    ("true" / "false", SQL 1 / 0)
//   Date                                   Date    ("yyyy-mm-dd", with " HH:MM:SS" when it has a time)
//   String                                 Text    (bytes that are not UTF-8 read as Latin-1)
//   a structure                            Json    (its one-line JSON text)
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "database/cls_DBStore.h"
#include "export/cls_DBExport.h"

namespace rykel::mdl_DBExport {

enum class PlainKind : uint8_t { Null, Integer, Real, Bool, Date, Text, Json };

struct PlainCell {
  PlainKind kind = PlainKind::Null;
  int64_t whole = 0;  // Integer; Bool as 1 / 0
  double real = 0;    // Real
  std::string text;   // Real, Date, Text and Json: the text form (Integer and Bool too, for the text writers)
};

// The plain cell of a value of a field of type pFieldType.
void PlainOf(const Variant& pValue, int32_t pFieldType, PlainCell& rCell);

// One pass over the entries to export: the fields, then one row of cells per entry.
class PlainWalk {
 public:
  // Raises kInvalidCall when the view does not exist. Settings as EXPORTFILE's ("NOOSD").
  PlainWalk(cls_DBStore& rDB, const Variant& pView, const cls_DBStore::IDList& pIDs, const StructurePtr& pSettings);
  const std::vector<DBFieldPtr>& FIELDS() const { return fields_; }
  int64_t ROWS() const { return walk_.TABLE().rows; }
  // The cells of the i-th entry (0-based) and its id; reports progress every so many rows.
  // REQUIRES: called for the rows 0, 1, 2, ... in turn (every entry in table order is read in one
  // pass through the walk's CURSOR).
  const std::vector<PlainCell>& ROW(int64_t pRow, Variant& rID);

 private:
  cls_DBStore& db_;
  cls_DBExport walk_;  // decides the entries, as for every other export
  bool quiet_ = false;
  std::vector<DBFieldPtr> fields_;
  cls_DBStore::EntryReader reader_;
  std::unique_ptr<cls_DBStore::EntryCursor> cursor_;  // when walk_.INORDER()
  std::vector<Variant> values_;
  std::vector<PlainCell> cells_;
};

}  // namespace rykel::mdl_DBExport
