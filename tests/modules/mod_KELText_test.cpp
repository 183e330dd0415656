// The TEXT command module: each command with the values that could break it (data marks, several
// bytes per character, empty and missing values, unused slots), the errors an author meets, and
// that no output of the module is ever run as a command.
#include "modules/mod_KELText.h"

#include <gtest/gtest.h>

#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModules.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

// An interpreter with the variables the cases use.
std::shared_ptr<cls_KEL> hKel() {
  auto k = std::make_shared<cls_KEL>();
  auto& v = *k->VARIABLES;
  LetAll(v, "html", "<a href=\"x\">Tom & 'Jerry'</a>", "lines", "a<\r\nb", "name", "  Grüße  ", "ws", "\t x \r\n",
         "sum", 9265750.54999998, "empty", "", "cmd", "{VAR:secret}", "secret", "geheim");
  auto list = cls_Structure::New();
  list->ADD("a");
  list->ADD("<b>");
  list->ITEM_LET(5, "e", true);  // slots 3 and 4 stay unused
  v.ITEM_LET("list", Variant(list));
  return k;
}

TEST(mod_KELText, Commands) {
  struct Case {
    const char* templ;
    const char* expected;
    int errors;
  };
  const Case cases[] = {
      {"{TEXT:HTML VAR:html}", "&lt;a href=&quot;x&quot;&gt;Tom &amp; &#39;Jerry&#39;&lt;/a&gt;", 0},
      {"{TEXT:E VAR:lines}", "a&lt;\r\nb", 0},  // line breaks stay
      {"{text:escape 5}", "5", 0},
      {"{TEXT:URL \"a b/ü?&=~-_.\"}", "a%20b%2F%C3%BC%3F%26%3D~-_.", 0},
      {"{TEXT:FORMAT (sum) \"#,##0.00\"}", "9.265.750,55", 0},
      {"{TEXT:FORMAT VALUE=1234.5 FORMAT=\"#,##0.0\" LOCALE=en_US}", "1,234.5", 0},
      {"{TEXT:FORMAT \"1234,5\" \"0.00\"}", "1234,50", 0},  // a number given as text
      {"{TEXT:FORMAT 1234.5}", "1234,5", 0},
      {"[{TEXT:FORMAT VAR:empty \"0.00\"}]", "[]", 0},
      {"{TEXT:FORMAT \"2024-05-06 10:30:00\" \"dd.mm.yyyy hh:nn\"} {TEXT:FORMAT 2024-05-06}",
       "06.05.2024 10:30 06.05.2024", 0},
      {"{TEXT:FORMAT \"abc\" \"0.00\"}", "ERR:---Not a number or date: abc---", 1},
      {"{TEXT:FORMAT 1 \"0\" LOCALE=fr}", "ERR:---Unknown locale: fr---", 1},
      {"{TEXT:FORMAT 1 \"0\" LOCALE=english}", "ERR:---Unknown locale: english---", 1},
      {"{TEXT:ROUND (sum) 1} {TEXT:ROUND \"2,5\"} {TEXT:ROUND 2.5 METHOD=FLOOR}", "9265750.5 3 2", 0},
      {"{TEXT:ROUND \"abc\"}", "ERR:---Not a number: abc---", 1},
      {"{TEXT:ROUND 1.5 16}{TEXT:ROUND 1.5 0.5}",
       "ERR:---Decimals out of range: 16---ERR:---Decimals out of range: 0.5---", 2},
      {"{TEXT:ROUND 1.25 1 up}", "ERR:---Unknown rounding method: up---", 1},
      {"[{TEXT:UPPER VAR:name}] [{TEXT:LOWER \"ÄÖÜ\"}]", "[  GRÜßE  ] [äöü]", 0},
      {"[{TEXT:TRIM VAR:name}] [{TEXT:TRIM VAR:ws}] [{TEXT:TRIM \"äxä\" \"ä\"}] [{TEXT:TRIM \"   \"}]",
       "[Grüße] [x] [x] []", 0},
      {"{TEXT:CAPITALIZE \"élan VITAL\"}[{TEXT:CAPITALIZE VAR:empty}]", "Élan vital[]", 0},
      {"{TEXT:DEFAULT VAR:empty \"-\"} {TEXT:DEFAULT 0 \"-\"} {TEXT:DEFAULT {{STRUCT}} none}", "- 0 none", 0},
      {"{TEXT:JOIN VAR:list \"|\"} {TEXT:JOIN STRUCT:TEST \",\" A}", "a|<b>|e 1,4,5", 0},
      {"[{TEXT:JOIN VAR:empty}]{TEXT:JOIN \"abc\"}", "[]ERR:---Structure expected: TEXT:JOIN abc---", 1},
      {"{TEXT:REPLACE \"a.b.c\" \".\" \"\"} {TEXT:REPLACE \"äöä\" ä ae}", "abc aeöae", 0},
      {"{TEXT:LENGTH VAR:list} {TEXT:LENGTH VAR:name} {TEXT:LENGTH VAR:empty}", "3 9 0", 0},
      // No output of the module runs, however it is passed on; data handed in reads as its characters.
      {"{TEXT:RAW VAR:cmd} {TEXT:UPPER VAR:cmd} {TEXT:HTML VAR:cmd}", "{VAR:secret} {VAR:SECRET} {VAR:secret}", 0},
      {"{VAR t {{TEXT:RAW VAR:cmd}}}{VAR:t} {NESTED {{TEXT:TRIM VAR:cmd}}}", "{VAR:secret} {VAR:secret}", 0},
      {"{TEXT:LENGTH {{DATA:cmd}}} {TEXT:URL {{DATA:cmd}}}", "12 %7BVAR%3Asecret%7D", 0},
      {"<i x='{TEXT:LBRACE}VAR:secret{TEXT:RBRACE}'>", "<i x='{VAR:secret}'>", 0},
      {"{STRUCT s A=VAR:cmd}{TEXT:DEFAULT VAR:s x}", "A: {VAR:secret}", 0},  // a structure too is data
      // Authors' mistakes: an unknown command, a missing parameter.
      {"{TEXT:NOPE x}", "ERR:---TEXT function not supported: NOPE---", 1},
      {"[{TEXT:HTML}]", "[]", 1},
  };
  for (const auto& c : cases) {
    auto k = hKel();
    EXPECT_EQ(k->PROCESS(c.templ), c.expected) << c.templ;
    EXPECT_EQ(k->ERRORLIST->COUNT(), c.errors) << c.templ;
  }
}

TEST(mod_KELText, LocaleSettingAndTheModuleAsOneOfTheDefaults) {
  cls_KEL k;
  EXPECT_TRUE(k.MODULES->MODULE("text"));
  EXPECT_EQ(k.PROCESS("{TEXT:FORMAT 1234.5 \"#,##0.00\"}"), "1.234,50");
  k.SETTINGS->ITEM_LET("SYS.LOCALE", "en");
  EXPECT_EQ(k.PROCESS("{TEXT:FORMAT 1234.5 \"#,##0.00\"} {TEXT:FORMAT 1234.5 \"#,##0.00\" de}"), "1,234.50 1.234,50");
  k.SETTINGS->ITEM_LET("SYS.LOCALE", "xx");
  EXPECT_EQ(k.PROCESS("{TEXT:FORMAT 1 \"0\"}"), "ERR:---Unknown locale: xx---");
}

}  // namespace
}  // namespace rykel
