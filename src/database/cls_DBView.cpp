#include "database/cls_DBView.h"

#include <utility>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "frame/mdl_Global.h"
#include "structure/cls_Structure.h"

namespace rykel {

namespace {

constexpr const char* kClass = "cls_DBView";

std::string hKeyOf(std::string_view field) { return text::Replace(field, ".", "_"); }
std::string hFieldOf(std::string_view key) { return text::Replace(key, "_", "."); }
// Field names match upper-cased, with "_" and "." alike.
bool hSameField(std::string_view a, std::string_view b) { return text::UCase(hKeyOf(a)) == text::UCase(hKeyOf(b)); }

}  // namespace

void cls_DBView::CLEAR() {
  ID.clear();
  NAME.clear();
  SORTFIELD.clear();
  SORTREV = false;
  SORTFIELD2.clear();
  SORTREV2 = false;
  ACTION.clear();
  COLUMNS.clear();
  FILTERS.clear();
  FILTERMODE = "AND";
  FORMATTING.clear();
}

int32_t cls_DBView::COLUMNADD(const std::string& pField, int32_t pWidth) {
  Column c;
  c.FIELD = pField;
  c.WIDTH = pWidth;
  COLUMNS.push_back(std::move(c));
  return static_cast<int32_t>(COLUMNS.size());
}

const cls_DBView::Column* cls_DBView::COLUMN(const std::string& pField) const {
  for (const auto& c : COLUMNS)
    if (hSameField(c.FIELD, pField)) return &c;
  return nullptr;
}

bool cls_DBView::FIELDFORGET(const std::string& pField) {
  auto named = [&](const auto& x) { return hSameField(x.FIELD, pField); };
  bool changed = std::erase_if(COLUMNS, named) + std::erase_if(FORMATTING, named) > 0;
  changed |= std::erase_if(FILTERS, [&](const auto& f) { return hSameField(f.first, pField); }) > 0;
  if (!SORTFIELD2.empty() && hSameField(SORTFIELD2, pField)) {
    SORTFIELD2.clear();
    SORTREV2 = false;
    changed = true;
  }
  if (!SORTFIELD.empty() && hSameField(SORTFIELD, pField)) {
    SORTFIELD = std::exchange(SORTFIELD2, {});
    SORTREV = std::exchange(SORTREV2, false);
    changed = true;
  }
  return changed;
}

int32_t cls_DBView::WIDTH() const {
  int32_t w = 0;
  for (const auto& c : COLUMNS) w += c.WIDTH;
  return w;
}

const cls_DBView::Formatting* cls_DBView::FORMAT(const std::string& pField) const {
  for (const auto& f : FORMATTING)
    if (hSameField(f.FIELD, pField)) return &f;
  return nullptr;
}

std::shared_ptr<cls_Structure> cls_DBView::FILTER_GET() const {
  return Guard(kClass, "FILTER.GET", [&] {
    auto s = cls_Structure::New();
    for (const auto& [field, cond] : FILTERS) s->ITEMBYID_LET(field, cond);
    if (!FILTERS.empty()) s->ITEMBYID_LET("MODE", FILTERMODE);
    return s;
  });
}

std::shared_ptr<cls_Structure> cls_DBView::STRUCTURE_GET() const {
  return Guard(kClass, "STRUCTURE.GET", [&] {
    auto s = cls_Structure::New();
    s->ITEM_LET("ID", ID);
    s->ITEM_LET("NAME", NAME);
    s->ITEM_LET("SORTFIELD", SORTFIELD);
    s->ITEM_LET("SORTREV", SORTREV);
    s->ITEM_LET("SORTFIELD2", SORTFIELD2);
    s->ITEM_LET("SORTREV2", SORTREV2);
    s->ITEM_LET("ACTION", ACTION);
    auto cols = cls_Structure::New();
    for (const auto& c : COLUMNS) {
      auto one = cls_Structure::New();
      one->ITEM_LET("WIDTH", c.WIDTH);
      one->ITEM_LET("SHOWVALUES", c.SHOWVALUES);
      one->ITEM_LET("SHOWVALUEMODE", c.SHOWVALUEMODE);
      cols->ITEMBYID_LET(hKeyOf(c.FIELD), Variant(one));
    }
    s->ITEM_LET("COLUMNS", Variant(cols));
    auto filter = cls_Structure::New();
    for (const auto& [field, cond] : FILTERS) filter->ITEMBYID_LET(hKeyOf(field), cond);
    filter->ITEM_LET("MODE", FILTERMODE);
    s->ITEM_LET("FILTER", Variant(filter));
    auto fmt = cls_Structure::New();
    for (const auto& f : FORMATTING) {
      auto one = cls_Structure::New();
      one->ITEM_LET("BOLD", f.BOLD);
      one->ITEM_LET("TEXTCOLOR", f.TEXTCOLOR);
      one->ITEM_LET("BACKCOLOR", f.BACKCOLOR);
      fmt->ITEMBYID_LET(hKeyOf(f.FIELD), Variant(one));
    }
    s->ITEM_LET("FORMAT", Variant(fmt));
    return s;
  });
}

void cls_DBView::STRUCTURE_LET(const std::shared_ptr<cls_Structure>& pStructure) {
  GuardVoid(kClass, "STRUCTURE.LET", [&] {
    if (!pStructure) return;
    cls_Structure& s = *pStructure;
    CLEAR();
    ID = CStr(s.ITEM_GET("ID"));
    NAME = CStr(s.ITEM_GET("NAME"));
    SORTFIELD = CStr(s.ITEM_GET("SORTFIELD"));
    SORTREV = mdl_Global::hCBool(s.ITEM_GET("SORTREV", false));
    SORTFIELD2 = CStr(s.ITEM_GET("SORTFIELD2"));
    SORTREV2 = mdl_Global::hCBool(s.ITEM_GET("SORTREV2", false));
    ACTION = CStr(s.ITEM_GET("ACTION"));
    if (auto cols = s.ITEM_GET("COLUMNS").as<cls_Structure>()) {
      for (int32_t i = cols->BASE(); i <= cols->MAX(); ++i) {
        auto one = cols->ITEM_GET(i).as<cls_Structure>();
        if (!one) continue;
        Column c;
        c.FIELD = hFieldOf(cols->ID_GET(i));
        c.WIDTH = CLng(one->ITEM_GET("WIDTH", 100));
        c.SHOWVALUES = mdl_Global::hCBool(one->ITEM_GET("SHOWVALUES", false));
        c.SHOWVALUEMODE = CLng(one->ITEM_GET("SHOWVALUEMODE", 0));
        COLUMNS.push_back(std::move(c));
      }
    }
    if (auto filter = s.ITEM_GET("FILTER").as<cls_Structure>()) {
      for (int32_t i = filter->BASE(); i <= filter->MAX(); ++i) {
        if (!filter->EXISTS_GET(i)) continue;
        std::string key = filter->ID_GET(i);
        if (key == "MODE") FILTERMODE = text::UCase(CStr(filter->ITEM_GET(i)));
        else FILTERS.emplace_back(hFieldOf(key), CStr(filter->ITEM_GET(i)));
      }
    }
    if (auto fmt = s.ITEM_GET("FORMAT").as<cls_Structure>()) {
      for (int32_t i = fmt->BASE(); i <= fmt->MAX(); ++i) {
        auto one = fmt->ITEM_GET(i).as<cls_Structure>();
        if (!one) continue;
        Formatting f;
        f.FIELD = hFieldOf(fmt->ID_GET(i));
        f.BOLD = CStr(one->ITEM_GET("BOLD"));
        f.TEXTCOLOR = CStr(one->ITEM_GET("TEXTCOLOR"));
        f.BACKCOLOR = CStr(one->ITEM_GET("BACKCOLOR"));
        FORMATTING.push_back(std::move(f));
      }
    }
  });
}

}  // namespace rykel
