// Autoescape: off by default (pages come out as ever); on, the text of every {VAR:x} and {DATA:x}
// put into the page is escaped once and never run, while parameters keep their values.
#include <gtest/gtest.h>

#include "frame/Convert.h"
#include "interpreter/cls_KEL.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

void hVariables(cls_KEL& k) { LetAll(*k.VARIABLES, "x", "a<b & 'c'", "cmd", "{VAR:secret}", "secret", "s"); }

constexpr const char* kEscaped = "a&lt;b &amp; &#39;c&#39;";

TEST(cls_KELAutoescape, OffByDefault) {
  cls_KEL k;
  hVariables(k);
  EXPECT_FALSE(k.AUTOESCAPE_GET());
  EXPECT_EQ(k.PROCESS("{VAR:x}|{VAR:cmd}|{DATA:cmd}"), "a<b & 'c'|s|{VAR:secret}");
}

TEST(cls_KELAutoescape, EscapesVariablesWhereThePageShowsThem) {
  struct Case {
    const char* templ;
    std::string expected;
  };
  const std::string e = kEscaped;
  const Case cases[] = {
      {"{VAR:x}|{$VAR:x$}|{ VAR:x }|{DATA:x}", e + "|" + e + "|" + e + "|" + e},
      {"{VAR:cmd}|{DATA:cmd}", "{VAR:secret}|{VAR:secret}"},  // data: never run
      {"{IF (1) {[{VAR:x}]}}{FOR i 1 2 1 {{VAR:x}}}", "[" + e + "]" + e + e},
      {"{BLOCK b {<i>{VAR:x}</i>}}{BLOCK:b}{LATER VAR:x}", "<i>" + e + "</i>" + e},
      // A value passed on is escaped once, where it is output.
      {"{VAR y \"{VAR:x}!\"}{VAR:y}|{VAR z {{VAR:x}}}{VAR:z}", e + "!|" + e},
      {"{VAR t {-{IF (1) {{VAR:x}}}-}}{VAR:t}", "-" + e + "-"},
      // Parameters and expressions see the value as it is.
      {"{TEXT:LENGTH VAR:x} {TEXT:LENGTH \"{VAR:x}\"} {IF (x == VAR:x) {same}} {(x)}", "9 9 same a<b & 'c'"},
      {"{TEXT:RAW VAR:x}|{TEXT:HTML VAR:x}", "a<b & 'c'|" + e},
      {"{VAR:nope}", "ERR:---VAR not found: nope---"},
      {"{TEXT:AUTOESCAPE 0}{VAR:x}|{TEXT:AUTOESCAPE 1}{VAR:x}", "a<b & 'c'|" + e},
  };
  for (const auto& c : cases) {
    cls_KEL k;
    hVariables(k);
    k.AUTOESCAPE_LET(true);
    EXPECT_EQ(k.PROCESS(c.templ), c.expected) << c.templ;
  }
}

TEST(cls_KELAutoescape, SwitchedByHostAndTemplate) {
  cls_KEL k;
  hVariables(k);
  // A template's switch holds to the end of its page; the host's setting decides the next one.
  EXPECT_EQ(k.PROCESS("{VAR:x}|{TEXT:AUTOESCAPE TRUE}{VAR:x}"), std::string("a<b & 'c'|") + kEscaped);
  EXPECT_EQ(k.PROCESS("{VAR:x}"), "a<b & 'c'");
  k.AUTOESCAPE_LET(true);
  EXPECT_TRUE(k.AUTOESCAPE_GET());
  EXPECT_EQ(CStr(k.SETTINGS->ITEM_GET("SYS.AUTOESCAPE")), "True");  // it is the setting
  EXPECT_EQ(k.PROCESS("{VAR:x}|{TEXT:AUTOESCAPE 0}{VAR:x}"), std::string(kEscaped) + "|a<b & 'c'");
  EXPECT_EQ(k.PROCESS("{VAR:x}"), kEscaped);
  k.AUTOESCAPE_LET(false);
  EXPECT_EQ(k.PROCESS("{VAR:x}"), "a<b & 'c'");
  // a host's own EXECUTE gets the value, not page text
  k.AUTOESCAPE_LET(true);
  EXPECT_EQ(k.EXECUTE("VAR:x").str(), "a<b & 'c'");
}

}  // namespace
}  // namespace rykel
