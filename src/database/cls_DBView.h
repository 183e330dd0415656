// cls_DBView: a list layout of a database: its columns (with widths and how choice values are
// shown), the sort field, a second sort field, their directions, the view's own filter and the
// formatting rules of rows.
//
// STRUCTURE_GET writes, in this order:
//   "ID", "NAME", "SORTFIELD", "SORTREV", "SORTFIELD2", "SORTREV2", "ACTION",
//   "COLUMNS.<field>.WIDTH" / ".SHOWVALUES" / ".SHOWVALUEMODE"     one group per column, in order
//   "FILTER.<field>" = condition text, "FILTER.MODE" = "AND" | "OR"
//   "FORMAT.<field>.BOLD" / ".TEXTCOLOR" / ".BACKCOLOR"             one group per formatted field
// where <field> is the field's ID with every "." written as "_" (read back as ".").
// BOLD is a condition text: rows whose value of the field meets it are bold. TEXTCOLOR and
// BACKCOLOR are a colour ("#rrggbb"), optionally followed by a blank and a condition.
//
//   auto v = std::make_shared<rykel::cls_DBView>();
//   v->ID = "DEFAULT"; v->NAME = "Standard";
//   v->COLUMNADD("NAME", 120);
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "frame/Object.h"

namespace rykel {

class cls_Structure;

class cls_DBView : public Object {
 public:
  std::string TypeName() const override { return "cls_DBView"; }

  struct Column {
    std::string FIELD;
    int32_t WIDTH = 100;
    bool SHOWVALUES = false;    // show choice values through SHOWVALUEMODE
    int32_t SHOWVALUEMODE = 0;  // value mode of cls_DBField::TEXT
  };
  struct Formatting {
    std::string FIELD;
    std::string BOLD;
    std::string TEXTCOLOR;
    std::string BACKCOLOR;
  };

  std::string ID;    // identifying text; the key of the view in the header
  std::string NAME;  // display name
  std::string SORTFIELD;
  bool SORTREV = false;
  std::string SORTFIELD2;
  bool SORTREV2 = false;
  std::string ACTION;  // an operation applied to a filtered list; "" for none
  std::vector<Column> COLUMNS;
  std::vector<std::pair<std::string, std::string>> FILTERS;  // field, condition text
  std::string FILTERMODE = "AND";
  std::vector<Formatting> FORMATTING;

  // Empties the view (no columns, filters or rules; ascending, no sort fields).
  void CLEAR();
  // Appends a column; returns its 1-based number.
  int32_t COLUMNADD(const std::string& pField, int32_t pWidth = 100);
  // The column showing the field (names compared upper-cased, "_" and "." alike); null when none.
  const Column* COLUMN(const std::string& pField) const;
  // Sum of the column widths.
  int32_t WIDTH() const;
  // The view's filter as a filter structure: one item per field (key = field name), then "MODE".
  std::shared_ptr<cls_Structure> FILTER_GET() const;
  // The rules of one field; null when the field has none.
  const Formatting* FORMAT(const std::string& pField) const;
  // Drops every mention of a field that no longer exists: its column, filter and rules, and the
  // sort on it (a second sort field moves up). True when the view changed.
  bool FIELDFORGET(const std::string& pField);

  // The view as a structure (see the file comment).
  std::shared_ptr<cls_Structure> STRUCTURE_GET() const;
  // Replaces the view from a structure written by STRUCTURE_GET. Null: no change.
  void STRUCTURE_LET(const std::shared_ptr<cls_Structure>& pStructure);
  void STRUCTURE_SET(const std::shared_ptr<cls_Structure>& pStructure) { STRUCTURE_LET(pStructure); }
};

using DBViewPtr = std::shared_ptr<cls_DBView>;

}  // namespace rykel
