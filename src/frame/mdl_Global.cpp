#include "frame/mdl_Global.h"

#include <unistd.h>

#include <filesystem>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/mdl_Confine.h"
#include "frame/Text.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureManager.h"

namespace rykel {

namespace {

// Holds the thread's manager for the life of the thread and ends it when the thread ends.
struct frm_SManHolder {
  std::shared_ptr<cls_StructureManager> manager = std::make_shared<cls_StructureManager>();
  ~frm_SManHolder() { manager->Terminate(); }
};

thread_local std::unique_ptr<frm_SManHolder> tHolder;
thread_local std::shared_ptr<cls_StructureManager> tManager;

}  // namespace

namespace mdl_Global {

void Main() {}

const std::shared_ptr<cls_StructureManager>& SMAN_GET() {
  if (!tManager) {
    if (!tHolder) tHolder = std::make_unique<frm_SManHolder>();
    tManager = tHolder->manager;
  }
  return tManager;
}

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

void VARSET(Variant& rTarget, const Variant& pValue) { rTarget = pValue; }

bool hIsDate(std::string_view pText) {
  size_t n = text::Len(pText);
  bool shaped = false;
  if (n == 19) {
    shaped = pText.size() == 19 && pText[4] == '-' && pText[7] == '-' && pText[10] == ' ' &&
             pText[13] == ':' && pText[16] == ':';
  } else if (n == 10) {
    shaped = pText.size() == 10 && pText[4] == '-' && pText[7] == '-';
  }
  double d;
  return shaped && date::Parse(pText, d);
}

bool hCBool(const Variant& pValue) {
  return Guard("mdl_Global", "hCBool", [&] {
    if (pValue.isBool()) return pValue.rawBool();
    if (!pValue.isString()) {
      double d;
      if (NumericValue(pValue, d)) return d != 0;
      if (pValue.isEmpty()) return false;
      return CDbl(pValue) != 0;
    }
    std::string u = text::UCase(pValue.str());
    for (const char* f : {"FALSE", "FALSCH", "NO", "", "F", "N", "0", " "})
      if (u == f) return false;
    return true;
  });
}

}  // namespace mdl_Global

namespace mdl_FileTools {

bool FILEEXISTS(std::string_view pPath) {
  if (const auto* roots = mdl_Confine::ACTIVE()) {
    // Confined, an outside file must look as missing as one that is not there.
    int fd = mdl_Confine::OPEN(std::string(pPath), roots);
    if (fd < 0) return false;
    ::close(fd);
    return true;
  }
  std::error_code ec;
  auto st = std::filesystem::status(std::filesystem::path(pPath), ec);
  return !ec && std::filesystem::exists(st) && !std::filesystem::is_directory(st);
}

}  // namespace mdl_FileTools

}  // namespace rykel
