// mod_KELText: the built-in module "TEXT": the everyday filters of a template, for values put into
// HTML pages ({TEXT:HTML VAR:x}, {TEXT:FORMAT (sum) "#,##0.00"}, {TEXT:JOIN VAR:list ", "}).
//
// Commands (parameters in order; named ones may be written NAME=value):
//   HTML VALUE (also ESCAPE, E)         "&", "<", ">", '"' and "'" as entities
//   URL VALUE (also URLENCODE)          percent-encoded, all but A-Z a-z 0-9 - _ . ~
//   FORMAT VALUE [FORMAT] [LOCALE]      a number by the Format codes (frame/NumberFormat.h), a date
//                                       by the date codes; LOCALE "de" (default: SYS.LOCALE, else
//                                       "de") gives "1.234,5", "en" "1,234.5"
//   ROUND VALUE [DECIMALS] [METHOD]     the number rounded to 0..15 places: METHOD "common" (halves
//                                       away from zero, the default), "ceil" or "floor"
//   UPPER VALUE, LOWER VALUE, CAPITALIZE VALUE (first character upper, the rest lower)
//   TRIM VALUE [CHARS]                  blanks, tabs and line breaks (or the characters of CHARS)
//                                       cut from both ends
//   DEFAULT VALUE DEFAULT               DEFAULT when VALUE is empty ("", nothing, a structure
//                                       without items), else VALUE
//   JOIN LIST [SEPARATOR] [ATTRIBUTE]   the items of a structure joined; with ATTRIBUTE, that item of
//                                       each sub-structure
//   REPLACE VALUE OLD NEW               every OLD replaced by NEW
//   LENGTH VALUE                        characters of a text, items of a structure
//   RAW VALUE                           the value as it is (not escaped by autoescape)
//   LBRACE, RBRACE                      a literal "{" / "}"
//   AUTOESCAPE VALUE                    switches autoescape (cls_KEL::AUTOESCAPE_LET) on or off for
//                                       the rest of the page; gives nothing
// Every text this module gives is data (cls_KEL::hData): it is never run, whatever braces it holds.
// A text handed in as data is read as its characters. Errors (recorded in ERRORLIST, the command
// yields the error text): "Not a number: x", "Not a number or date: x", "Unknown locale: x",
// "Unknown rounding method: x", "Decimals out of range: x", "Structure expected: TEXT:JOIN",
// "TEXT function not supported: x".
//
//   rykel::cls_KEL k;   // the module is one of the default modules
//   k.PROCESS("{TEXT:FORMAT 1234.5 \"#,##0.00\"}");    // "1.234,50"
#pragma once

#include <memory>
#include <string>

#include "interpreter/cls_KELModuleInterface.h"

namespace rykel {

class mod_KELText : public cls_KELModuleInterface {
 public:
  mod_KELText();
  std::string TypeName() const override { return "mod_KELText"; }
  std::shared_ptr<cls_KELModule> MODULE_GET() override { return module_; }
  // The module's command handler.
  static void MODULE_EXECUTE(const StructurePtr& rResult, bool& rDone, Variant& rValue, const std::string& pCmd,
                             const StructurePtr& pParameters, cls_KEL& pKEL);

 private:
  std::shared_ptr<cls_KELModule> module_;
};

}  // namespace rykel
