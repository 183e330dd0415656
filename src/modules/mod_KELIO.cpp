#include "modules/mod_KELIO.h"

#include <iterator>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Text.h"
#include "interpreter/KELCommandTable.h"
#include "interpreter/cls_KEL.h"

namespace rykel {

namespace {

using Params = const StructurePtr&;

struct IOCommand {
  std::string_view name;
  std::string_view wanted;  // for SYNTAXCHECK; empty: no check
  Variant (*run)(Params p, cls_KEL& k);
};

Variant hFirst(Params p) { return p->COUNT() > 0 ? p->ITEM_GET(p->BASE()) : Variant(""); }
double hDate(const Variant& v) { return CDate(v); }

constexpr IOCommand kIOCommands[] = {
    {"TAB", "", [](Params, cls_KEL&) { return Variant("\t"); }},
    {"CRLF", "", [](Params, cls_KEL&) { return Variant("\r\n"); }},
    {"YEAR", "DATE", [](Params p, cls_KEL&) { return Variant(date::ToParts(hDate(p->ITEM_GET("DATE"))).year); }},
    {"LOG", "", [](Params, cls_KEL&) { return Variant(""); }},
    {"OUT", "", [](Params p, cls_KEL&) { return hFirst(p); }},
    {"DIE", "",
     [](Params, cls_KEL& k) {
       k.QUITEXEC();
       return Variant("");
     }},
    {"TELNORM", "NUMBER", [](Params p, cls_KEL&) { return Variant(mod_KELIO::TELNORM(CStr(p->ITEM_GET("NUMBER")))); }},
    {"DATEFORMAT", "DATE,FORMAT",
     [](Params p, cls_KEL&) { return Variant(date::Format(hDate(p->ITEM_GET("DATE")), CStr(p->ITEM_GET("FORMAT")))); }},
    {"TIMESTAMP", "", [](Params, cls_KEL&) { return Variant::Date(date::Now()); }},
    {"TIME", "", [](Params, cls_KEL&) { return Variant(date::Format(date::Now(), "hh:nn:ss")); }},
    {"DATE", "", [](Params, cls_KEL&) { return Variant(date::Format(date::Now(), "yyyy-mm-dd")); }},
    {"DATEVAL", "DATE", [](Params p, cls_KEL&) { return Variant::Date(hDate(p->ITEM_GET("DATE"))); }},
    {"NOW", "", [](Params, cls_KEL&) { return Variant::Date(date::Now()); }},
    {"DATETIME", "", [](Params, cls_KEL&) { return Variant::Date(date::Now()); }},
    {"LEFT", "STRING,LEFT",
     [](Params p, cls_KEL&) {
       int32_t n = CLng(p->ITEM_GET("LEFT"));
       std::string s = CStr(p->ITEM_GET("STRING"));
       return Variant(n <= 0 ? std::string_view() : text::Left(s, static_cast<size_t>(n)));
     }},
};

}  // namespace

mod_KELIO::mod_KELIO() : module_(std::make_shared<cls_KELModule>()) {
  module_->ID_LET("IO");
  module_->EXECUTEEVENT = &mod_KELIO::MODULE_EXECUTE;
  ListCommands(*module_, kIOCommands);
}

std::string mod_KELIO::TELNORM(std::string_view pNumber) {
  std::string s(text::Trim(pNumber));
  for (char& c : s) {
    if (c == 'o') c = '0';
    else if (c == ' ' || c == '/') c = '-';
  }
  return s;
}

void mod_KELIO::MODULE_EXECUTE(const StructurePtr&, bool& rDone, Variant& rValue, const std::string& pCmd,
                               const StructurePtr& pParameters, cls_KEL& pKEL) {
  if (!RunCommand(kIOCommands, pCmd, pParameters, pKEL, rValue,
                  [&](const IOCommand& row) { return row.run(pParameters, pKEL); }))
    rValue = Variant(pKEL.ERRORS("IO function not supported", pCmd));
}

}  // namespace rykel
