#include "export/cls_DBExport.h"

#include <cctype>
#include <cstdio>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "frame/mdl_Global.h"
#include "query/mdl_DBQuery.h"

namespace rykel {

namespace {

constexpr int32_t kDefaultTitleColor = 10446080;  // red 0, green 101, blue 159
constexpr int32_t kIndexWidth = 40;
constexpr int64_t kProgressStep = 1000;

// Names of columns whose values must stay text: leading zeros and "+" survive.
constexpr std::string_view kTextNames[] = {"PHONE", "FAX", "MOBILE", "ZIP", "TELEFON", "HANDY", "PLZ"};

// "##:##" and "##.##.####": '#' a digit, other characters literal.
bool hShaped(std::string_view s, std::string_view pattern) {
  if (s.size() != pattern.size()) return false;
  for (size_t i = 0; i < s.size(); ++i) {
    if (pattern[i] == '#' ? !std::isdigit(static_cast<unsigned char>(s[i])) : s[i] != pattern[i]) return false;
  }
  return true;
}

bool hIsRuleTrue(const Variant& v) { return !v.isEmpty() && mdl_Global::hCBool(v); }

constexpr const char* kStreamedMessage =
    "the database is opened for streaming (STREAM): only all its entries in table order can be exported";

}  // namespace

std::string cls_DBExport::hColorText(int32_t pColor) {
  char b[8];
  std::snprintf(b, sizeof b, "#%02X%02X%02X", pColor & 0xFF, (pColor >> 8) & 0xFF, (pColor >> 16) & 0xFF);
  return b;
}

cls_DBExport::cls_DBExport(cls_DBStore& pDB, const Variant& pView, const cls_DBStore::IDList& pIDs,
                           const StructurePtr& pSettings)
    : db_(pDB) {
  view_ = db_.VIEW(pView);
  if (!view_) Raise(err::kInvalidCall, "no view '" + CStr(pView) + "'");
  // Without a list the view's filter, sort and action decide; a view with none of them exports
  // every entry in table order, which the walk reads by position. A streamed database sorted by the view
  // reads its records in the sorted order of their offsets.
  allInOrder_ =
      !pIDs && view_->FILTERS.empty() && view_->ACTION.empty() && view_->SORTFIELD.empty() && view_->SORTFIELD2.empty();
  if (db_.DBSTREAMED_GET() && !allInOrder_) {
    if (!STREAMS(db_, *view_) || pIDs) Raise(err::kInvalidCall, kStreamedMessage);
    fileOrder_ =
        mdl_DBQuery::ENTRYSORTSTREAM(db_, view_->SORTFIELD, view_->SORTREV, view_->SORTFIELD2, view_->SORTREV2);
    if (!fileOrder_) Raise(err::kInvalidCall, kStreamedMessage);
  }
  if (pIDs) ids_ = *pIDs;
  else if (!allInOrder_ && !fileOrder_) ids_ = mdl_DBQuery::ENTRYFILTER(db_, Variant(view_->ID), nullptr);
  StructurePtr s = pSettings ? pSettings : cls_Structure::New();
  table_.settings = s;
  index_ = hIsRuleTrue(s->ITEM_GET("INDEX"));
  quiet_ = hIsRuleTrue(s->ITEM_GET("NOOSD"));
  table_.titleShow = hIsRuleTrue(s->ITEM_GET("TITLE.SHOW"));
  table_.titleText = CStr(s->ITEM_GET("TITLE.TEXT"));
  Variant color = s->ITEM_GET("TITLE.COLOR");
  table_.titleColor = color.isString() && CStr(color).rfind('#', 0) == 0
                          ? CStr(color)
                          : hColorText(color.isEmpty() ? kDefaultTitleColor : CLng(color));
  table_.stamp = date::Now();
  table_.rows = allInOrder_  ? db_.ENTRYCOUNT()
                : fileOrder_ ? static_cast<int64_t>(fileOrder_->size())
                             : static_cast<int64_t>(ids_.size());

  if (index_) table_.columns.push_back({"Nr.", kIndexWidth, nullptr, 0, 0, false, ExportAlign::Right});
  auto addColumn = [&](const DBFieldPtr& f, int32_t width, bool showValues, int32_t mode) {
    ExportColumn c;
    c.name = f->NAME.empty() ? f->ID : f->NAME;
    c.width = width;
    c.field = f;
    c.no = db_.FIELDFIND(Variant(f->ID));
    c.mode = showValues ? mode : 0;
    c.align = f->TYPE == ID_DBFieldType_Long || f->TYPE == ID_DBFieldType_Double ? ExportAlign::Right
              : f->TYPE == ID_DBFieldType_Boolean                                ? ExportAlign::Center
                                                                                 : ExportAlign::Left;
    std::string key = text::UCase(f->ID) + " " + text::UCase(f->NAME);
    for (auto n : kTextNames) c.textByName = c.textByName || key.find(n) != std::string::npos;
    table_.columns.push_back(std::move(c));
  };
  if (view_->COLUMNS.empty()) {
    for (int32_t i = 1; i <= db_.FIELDS(); ++i) addColumn(db_.FIELD(i), 100, false, 0);
  } else {
    for (const auto& col : view_->COLUMNS) {
      if (auto f = db_.FIELD(col.FIELD)) addColumn(f, col.WIDTH, col.SHOWVALUES, col.SHOWVALUEMODE);
    }
  }
  for (const auto& c : table_.columns) fieldNos_.push_back(c.no);
  hReadRules();
  reader_ = db_.ENTRYREADER(fieldNos_);
}

void cls_DBExport::hCell(ExportCell& rCell, const ExportColumn& pColumn, const Variant& pID, const Variant& v,
                         bool pNumberTexts) {
  const cls_DBField& f = *pColumn.field;
  rCell.align = ExportAlign::Left;
  rCell.format = ExportFormat::None;
  // A number or date cell: the typed value, its display text only when a sink shows it; a value
  // not of the type (a stray text) is shown as its text.
  auto typed = [&](Variant pTyped) {
    rCell.value = std::move(pTyped);
    if (!rCell.value.isEmpty() && !pNumberTexts) rCell.text.clear();
    else rCell.text = f.TEXT(v, pColumn.mode);
  };
  double d;
  switch (f.TYPE) {
    case ID_DBFieldType_Long:
    case ID_DBFieldType_Double:
      rCell.align = ExportAlign::Right;
      rCell.format = f.TYPE == ID_DBFieldType_Long ? ExportFormat::Integer : ExportFormat::Decimal;
      typed(NumericValue(v, d) ? Variant(d) : Variant());
      return;
    case ID_DBFieldType_Date:
      rCell.format = ExportFormat::Date;
      typed(v.isDate() ? v : Variant());
      return;
    case ID_DBFieldType_Boolean:
      rCell.align = ExportAlign::Center;
      rCell.text = f.TEXT(v, pColumn.mode);
      rCell.value = Variant();
      return;
    case ID_DBFieldType_Enum:
    case ID_DBFieldType_EnumNumeric:
    case ID_DBFieldType_EnumMulti:
      rCell.text = f.TEXT(v, pColumn.mode);
      rCell.value = Variant();
      return;
    case ID_DBFieldType_Reference:
    case ID_DBFieldType_ReferenceNumeric:
      // Through the database, so the host's value event sees the value first.
      rCell.text = db_.FIELDTEXT_GET(pID, f.ID, pColumn.mode);
      if (rCell.text.empty()) rCell.text = "-/-";
      rCell.value = Variant();
      return;
    default: break;
  }
  rCell.text = f.TEXT(v, pColumn.mode);
  rCell.value = Variant();
  if (pColumn.textByName || hShaped(rCell.text, "##:##")) {
    rCell.format = ExportFormat::Text;
  } else if (hShaped(rCell.text, "##.##.####")) {
    rCell.format = ExportFormat::Date;
    if (date::Parse(rCell.text, d)) rCell.value = Variant::Date(d);
  }
}

void cls_DBExport::hReadRules() {
  using Sets = Rule::Sets;
  for (const auto& f : view_->FORMATTING) {
    // "_" and "." are alike in field names, as in queries.
    int32_t no = db_.FIELDFIND(Variant(text::Replace(f.FIELD, "_", ".")));
    if (!no) continue;
    int32_t type = db_.FIELD(no)->TYPE;
    auto add = [&](Sets sets, const std::string& colour, std::string_view condition) {
      Rule r;
      r.slot = fieldNos_.size();
      fieldNos_.push_back(no);
      r.sets = sets;
      r.colour = colour;
      condition = text::Trim(condition);
      r.always = condition.empty();
      if (!r.always) {
        r.cond.READ("", Variant(std::string(condition)));
        r.cond.PREPARE(type, db_.FIELD(no).get());
      }
      rules_.push_back(std::move(r));
    };
    if (!text::Trim(f.BOLD).empty()) add(Sets::Bold, "", f.BOLD);
    // "#rrggbb", then the condition after a blank.
    for (auto [sets, rule] : {std::pair{Sets::TextColor, &f.TEXTCOLOR}, std::pair{Sets::BackColor, &f.BACKCOLOR}}) {
      std::string_view text = text::Trim(*rule);
      if (text.empty()) continue;
      size_t blank = text.find(' ');
      add(sets, std::string(text.substr(0, blank)), blank == std::string_view::npos ? "" : text.substr(blank + 1));
    }
  }
}

void cls_DBExport::hFormatRow(ExportRow& rRow) {
  rRow.bold = false;
  rRow.textColor.clear();
  rRow.backColor.clear();
  rRow.style = 0;
  if (rules_.empty()) return;
  for (const auto& r : rules_) {
    // The same typed value ENTRYQUERY tests.
    if (!r.always && !r.cond.TEST(values_[r.slot])) continue;
    switch (r.sets) {
      case Rule::Sets::Bold: rRow.bold = true; break;
      case Rule::Sets::TextColor: rRow.textColor = r.colour; break;
      case Rule::Sets::BackColor: rRow.backColor = r.colour; break;
    }
  }
  for (size_t i = 0; i < styles_.size(); ++i) {
    const auto& [bold, text, back] = styles_[i];
    if (bold == rRow.bold && text == rRow.textColor && back == rRow.backColor) {
      rRow.style = static_cast<uint32_t>(i);
      return;
    }
  }
  rRow.style = static_cast<uint32_t>(styles_.size());
  styles_.emplace_back(rRow.bold, rRow.textColor, rRow.backColor);
}

void cls_DBExport::hFill(ExportRow& rRow, const Variant& pID, int64_t pNumber, bool pNumberTexts) {
  rRow.id = pID;
  rRow.number = pNumber;
  rRow.cells.resize(table_.columns.size());
  for (size_t c = 0; c < table_.columns.size(); ++c) {
    const ExportColumn& col = table_.columns[c];
    ExportCell& cell = rRow.cells[c];
    if (!col.field) {
      cell.text = std::to_string(pNumber);
      cell.value = static_cast<double>(pNumber);
      cell.align = ExportAlign::Right;
      cell.format = ExportFormat::None;
    } else {
      hCell(cell, col, pID, values_[c], pNumberTexts);
    }
  }
  hFormatRow(rRow);
}

ExportRow cls_DBExport::ROW(const Variant& pID, int64_t pNumber) {
  ExportRow row;
  db_.ENTRYVALUES(db_.ENTRYPOSITION(pID), reader_, values_);
  hFill(row, pID, pNumber, true);
  return row;
}

bool cls_DBExport::STREAMS(cls_DBStore& pDB, const cls_DBView& pView) {
  // a filter and the view's action (a search) need the entries
  if (!pView.FILTERS.empty() || !pView.ACTION.empty()) return false;
  if (pView.SORTFIELD.empty() && pView.SORTFIELD2.empty()) return true;
  return mdl_DBQuery::ENTRYSORTSTREAMS(pDB, pView.SORTFIELD, pView.SORTFIELD2);
}

std::unique_ptr<cls_DBStore::EntryCursor> cls_DBExport::CURSOR(const cls_DBStore::EntryReader& pReader) {
  return db_.ENTRYCURSOR(pReader, fileOrder_);
}

const std::vector<Variant>& cls_DBExport::IDS() {
  if (fileOrder_) Raise(err::kInvalidCall, kStreamedMessage);
  if (allInOrder_ && static_cast<int64_t>(ids_.size()) != table_.rows) {
    if (db_.DBSTREAMED_GET()) Raise(err::kInvalidCall, kStreamedMessage);
    ids_ = db_.ENTRYALL_IDS();
  }
  return ids_;
}

std::string cls_DBExport::CELLTEXT(size_t pColumn, const Variant& pID) {
  const ExportColumn& col = table_.columns.at(pColumn);
  if (!col.field) return std::string();
  ExportCell cell;
  db_.ENTRYVALUES(db_.ENTRYPOSITION(pID), db_.ENTRYREADER({col.no}), values_);
  hCell(cell, col, pID, values_[0], true);
  return cell.text;
}

void cls_DBExport::WALK(const std::vector<ExportSink*>& pSinks) {
  bool numberTexts = false;
  for (auto* s : pSinks) {
    s->BEGIN(table_);
    numberTexts = numberTexts || s->NUMBERTEXTS();
  }
  const auto& progress = db_.EXPORTPROGRESS_GET();
  int64_t total = table_.rows;
  ExportRow row;  // one row refilled, so its texts keep their capacity
  std::unique_ptr<cls_DBStore::EntryCursor> cursor;
  if (INORDER()) cursor = CURSOR(reader_);
  Variant id;
  for (int64_t i = 0; i < total; ++i) {
    db_.DEBUGTRACK_LET("EXPORT-ROW", static_cast<int32_t>(i + 1), static_cast<int32_t>(total));
    if (!cursor) {
      id = ids_[static_cast<size_t>(i)];
      db_.ENTRYVALUES(db_.ENTRYPOSITION(id), reader_, values_);
    } else if (!cursor->Next(id, values_)) {
      break;
    }
    hFill(row, id, i + 1, numberTexts);
    for (auto* s : pSinks) s->ROW(row);
    if (!quiet_ && progress && ((i + 1) % kProgressStep == 0 || i + 1 == total)) progress(i + 1, total);
  }
  for (auto* s : pSinks) s->END();
}

}  // namespace rykel
