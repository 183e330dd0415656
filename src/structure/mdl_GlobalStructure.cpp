#include "structure/mdl_GlobalStructure.h"

#include "frame/Error.h"
#include "structure/cls_Structure.h"

namespace rykel {

namespace mdl_Global {

std::shared_ptr<cls_Structure> FLAGSGLOBAL(int pKind) {
  return Guard("mdl_Global", "FLAGSGLOBAL", [&] {
    auto s = cls_Structure::New();
    if (pKind != 1) return s;
    const auto i16 = [](int v) { return Variant(static_cast<int16_t>(v)); };
    s->ITEM_LET("PAGE.PORTRAIT", false);
    s->ITEM_LET("PAGE.COLUMNS", i16(1));
    s->ITEM_LET("PAGE.FIRST", i16(-1));
    s->ITEM_LET("PAGE.LAST", i16(-1));
    s->ITEM_LET("MARGIN.LEFT", i16(15));
    s->ITEM_LET("MARGIN.RIGHT", i16(15));
    s->ITEM_LET("MARGIN.TOP", i16(15));
    s->ITEM_LET("MARGIN.BOTTOM", i16(10));
    s->ITEM_LET("FONT.SIZE", i16(8));
    s->ITEM_LET("FONT.NAME", "Arial");
    s->ITEM_LET("CELL.SEPERATOR", false);
    s->ITEM_LET("CELL.PADDING", i16(1));
    s->ITEM_LET("CELL.PADDINGOUTER", i16(0));
    s->ITEM_LET("CELL.PADDINGY", i16(1));
    s->ITEM_LET("STATUS.SHOW", true);
    s->ITEM_LET("STATUS.LEFT", "{NAME}");
    s->ITEM_LET("STATUS.CENTER", "{DATE} {TIME} - {USER} - {COMPUTER}");
    s->ITEM_LET("STATUS.LEFT", "Seite {PAGE} von {PAGES}");  // replaces "{NAME}": kept so
    s->ITEM_LET("COLUMNHEADER.SHOW", true);
    s->ITEM_LET("COLUMNHEADER.HEIGHT", i16(1));
    s->ITEM_LET("TITLE.SHOW", false);
    s->ITEM_LET("TITLE.TEXT", "");
    s->ITEM_LET("TITLE.HEIGHT", i16(10));
    s->ITEM_LET("TITLE.COLOR", Variant(0 + 256 * 101 + 65536 * 159));
    s->ITEM_LET("ADDITIONAL.CHECKBOXES", false);
    s->ITEM_LET("ADDITIONAL.QRCODE", false);
    s->ITEM_LET("ADDITIONAL.NUMBERS", false);
    s->ITEM_LET("ADDITIONAL.SIGNATURES", false);
    return s;
  });
}

}  // namespace mdl_Global

}  // namespace rykel
