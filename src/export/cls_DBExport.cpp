#include "export/cls_DBExport.h"

#include <cctype>
#include <cstdio>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "frame/mdl_Global.h"

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

}  // namespace

std::string cls_DBExport::hColorText(int32_t pColor) {
  char b[8];
  std::snprintf(b, sizeof b, "#%02X%02X%02X", pColor & 0xFF, (pColor >> 8) & 0xFF, (pColor >> 16) & 0xFF);
  return b;
}

cls_DBExport::cls_DBExport(cls_DB& pDB, const Variant& pView, const cls_DB::IDList& pIDs,
                           const StructurePtr& pSettings)
    : db_(pDB) {
  view_ = db_.VIEW(pView);
  if (!view_) Raise(err::kInvalidCall, "no view '" + CStr(pView) + "'");
  ids_ = pIDs ? *pIDs : db_.ENTRYALL_IDS();
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
  table_.rows = static_cast<int64_t>(ids_.size());

  if (index_) table_.columns.push_back({"Nr.", kIndexWidth, nullptr, 0, false});
  auto addColumn = [&](const DBFieldPtr& f, int32_t width, bool showValues, int32_t mode) {
    ExportColumn c;
    c.name = f->NAME.empty() ? f->ID : f->NAME;
    c.width = width;
    c.field = f;
    c.mode = showValues ? mode : 0;
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
}

ExportCell cls_DBExport::hCell(const ExportColumn& pColumn, const Variant& pID) {
  ExportCell c;
  const cls_DBField& f = *pColumn.field;
  c.text = db_.FIELDTEXT_GET(pID, f.ID, pColumn.mode);
  switch (f.TYPE) {
    case ID_DBFieldType_Long:
    case ID_DBFieldType_Double: {
      c.align = ExportAlign::Right;
      c.format = f.TYPE == ID_DBFieldType_Long ? ExportFormat::Integer : ExportFormat::Decimal;
      Variant v = f.VALUECONVERT(db_.ENTRYFIELD_GET(pID, f.ID));
      double d;
      if (NumericValue(v, d)) c.value = d;
      else c.value = c.text;
      return c;
    }
    case ID_DBFieldType_Date: {
      c.format = ExportFormat::Date;
      Variant v = f.VALUECONVERT(db_.ENTRYFIELD_GET(pID, f.ID));
      c.value = v.isDate() ? v : Variant(c.text);
      return c;
    }
    case ID_DBFieldType_Boolean:
      c.align = ExportAlign::Center;
      c.value = c.text;
      return c;
    case ID_DBFieldType_Enum:
    case ID_DBFieldType_EnumNumeric:
    case ID_DBFieldType_EnumMulti:
      c.value = c.text;
      return c;
    case ID_DBFieldType_Reference:
    case ID_DBFieldType_ReferenceNumeric:
      if (c.text.empty()) c.text = "-/-";
      c.value = c.text;
      return c;
    default:
      break;
  }
  c.value = c.text;
  double d;
  if (pColumn.textByName || hShaped(c.text, "##:##")) {
    c.format = ExportFormat::Text;
  } else if (hShaped(c.text, "##.##.####")) {
    c.format = ExportFormat::Date;
    if (date::Parse(c.text, d)) c.value = Variant::Date(d);
  }
  return c;
}

bool hExportRuleMatches(const std::string& pText, const Variant& pValue, std::string_view pCondition) {
  std::string_view cond = text::Trim(pCondition);
  if (cond.empty()) return true;
  std::string_view op = "=";
  for (std::string_view o : {"<>", "<=", ">=", "=", "<", ">"}) {
    if (cond.substr(0, o.size()) == o) {
      op = o;
      cond = text::Trim(cond.substr(o.size()));
      break;
    }
  }
  int cmp;
  double a, b;
  if ((NumericValue(pValue, a) || ParseNumber(pText, a)) && ParseNumber(cond, b)) {
    cmp = a < b ? -1 : a > b ? 1 : 0;
  } else {
    std::string l = text::UCase(pText), r = text::UCase(cond);
    cmp = l < r ? -1 : l > r ? 1 : 0;
  }
  if (op == "=") return cmp == 0;
  if (op == "<>") return cmp != 0;
  if (op == "<") return cmp < 0;
  if (op == ">") return cmp > 0;
  if (op == "<=") return cmp <= 0;
  return cmp >= 0;
}

void cls_DBExport::hFormatRow(ExportRow& rRow) {
  for (const auto& rule : view_->FORMATTING) {
    auto f = db_.FIELD(rule.FIELD);
    if (!f) continue;
    Variant value = db_.ENTRYFIELD_GET(rRow.id, f->ID);
    std::string text = db_.FIELDTEXT_GET(rRow.id, f->ID);
    if (!rule.BOLD.empty() && hExportRuleMatches(text, value, rule.BOLD)) rRow.bold = true;
    // "#rrggbb" then an optional condition after a blank.
    auto colour = [&](const std::string& rule, std::string& rOut) {
      if (rule.empty()) return;
      size_t blank = rule.find(' ');
      std::string c = rule.substr(0, blank);
      std::string_view cond = blank == std::string::npos ? std::string_view() : std::string_view(rule).substr(blank + 1);
      if (hExportRuleMatches(text, value, cond)) rOut = c;
    };
    colour(rule.TEXTCOLOR, rRow.textColor);
    colour(rule.BACKCOLOR, rRow.backColor);
  }
}

ExportRow cls_DBExport::ROW(const Variant& pID, int64_t pNumber) {
  ExportRow row;
  row.id = pID;
  row.number = pNumber;
  row.cells.reserve(table_.columns.size());
  for (const auto& col : table_.columns) {
    if (!col.field) {
      ExportCell c;
      c.text = std::to_string(pNumber);
      c.value = static_cast<double>(pNumber);
      c.align = ExportAlign::Right;
      row.cells.push_back(std::move(c));
    } else {
      row.cells.push_back(hCell(col, pID));
    }
  }
  if (!view_->FORMATTING.empty()) hFormatRow(row);
  return row;
}

void cls_DBExport::WALK(const std::vector<ExportSink*>& pSinks) {
  for (auto* s : pSinks) s->BEGIN(table_);
  const auto& progress = db_.EXPORTPROGRESS_GET();
  int64_t total = table_.rows;
  for (int64_t i = 0; i < total; ++i) {
    db_.DEBUGTRACK_LET("EXPORT-ROW", static_cast<int32_t>(i + 1), static_cast<int32_t>(total));
    ExportRow row = ROW(ids_[static_cast<size_t>(i)], i + 1);
    for (auto* s : pSinks) s->ROW(row);
    if (!quiet_ && progress && ((i + 1) % kProgressStep == 0 || i + 1 == total)) progress(i + 1, total);
  }
  for (auto* s : pSinks) s->END();
}

}  // namespace rykel
