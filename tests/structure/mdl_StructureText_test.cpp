#include <gtest/gtest.h>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "structure/cls_Structure.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

// The tree of the examples in docs/API.md.
StructurePtr Sample() {
  auto s = cls_Structure::New();
  LetAll(*s, "NAME", "Anna", "AGE", 7, "SUB.X", true);
  return s;
}

StructurePtr Colours() {
  auto s = cls_Structure::New();
  for (const char* c : {"red", "green", "blue"}) s->ADD(c);
  return s;
}

TEST(StructureText, DocumentedExamples) {
  auto s = Sample();
  EXPECT_EQ(s->TEXT(), "NAME: Anna\r\nAGE: 7\r\nSUB:\r\n  X: True");
  EXPECT_EQ(s->TEXT(1), "  NAME: Anna\r\n  AGE: 7\r\n  SUB:\r\n    X: True");
  EXPECT_EQ(s->TEXTSHORT(), "NAME: Anna, AGE: 7, SUB: (X: True)");
  EXPECT_EQ(s->TEXTSHORT(12), "NAME: Ann...");
  EXPECT_EQ(s->TEXTVALUES(", "), "Anna, 7, True");
  EXPECT_EQ(s->HTML(),
            "<ul><li><b>NAME</b>: Anna</li><li><b>AGE</b>: 7</li>"
            "<li><b>SUB</b><ul><li><b>X</b>: True</li></ul></li></ul>");
  EXPECT_EQ(s->ENCODE(), "NAME=Anna&AGE=7&SUB.X=True");
  EXPECT_EQ(s->PARAMETERS(), "NAME=Anna&AGE=7&SUB=(X: True)");
  EXPECT_EQ(s->PARAMETERS("; "), "NAME=Anna; AGE=7; SUB=(X: True)");
  EXPECT_EQ(s->PARAMETERSSTRUCTURED(), "NAME=Anna&AGE=7&SUB.X=True");
  EXPECT_EQ(s->PARAMETERSSTRUCTUREDINDENT(), "NAME=Anna\r\nAGE=7\r\n\tSUB.X=True");
  auto c = Colours();
  EXPECT_EQ(c->VALUELISTTEXT(), "red, green, blue");
  EXPECT_EQ(c->VALUELISTTEXT(", ", 2, 0, " ..."), "red, green ...");
  EXPECT_EQ(c->VALUELISTTEXT("/", 0, 2), "green/blue");
  EXPECT_EQ(c->VALUELISTTEXT("/", 3, 1, "+"), "red/green/blue");  // nothing left out: no "+"
  EXPECT_EQ(c->TEXTSHORT(), "red, green, blue");
  EXPECT_EQ(c->TEXT(), "[1]: red\r\n[2]: green\r\n[3]: blue");
  EXPECT_EQ(c->PARAMETERS(), "1=red&2=green&3=blue");
}

TEST(StructureText, EmptyStructuresAndEmptyValues) {
  auto e = cls_Structure::New();
  EXPECT_EQ(e->TEXT(), "");
  EXPECT_EQ(e->TEXTSHORT(), "");
  EXPECT_EQ(e->HTML(), "<ul></ul>");
  EXPECT_EQ(e->ENCODE(), "");
  EXPECT_EQ(e->VALUELISTTEXT(), "");
  auto s = cls_Structure::New();
  LetAll(*s, "A", "", "B", 0, "C", "x", "D.E", Variant());
  EXPECT_EQ(s->TEXT(), "A:\r\nB: 0\r\nC: x\r\nD:\r\n  E:");
  EXPECT_EQ(s->TEXTNOTEMPTY(), "C: x");
}

TEST(StructureText, HtmlEscapesNamesValuesAndBraces) {
  auto s = cls_Structure::New();
  s->ITEMBYID_LET("A<B", "x & \"y\" 'z' <i>{VAR}</i>\r\nnext");
  s->ADD(5);
  EXPECT_EQ(s->HTML(),
            "<ul><li><b>A&lt;B</b>: x &amp; &quot;y&quot; &#39;z&#39; &lt;i&gt;&#123;VAR&#125;&lt;/i&gt;"
            "<br/>next</li><li>5</li></ul>");
}

TEST(StructureText, ShortTextIsCutByCharactersAndStopsEarly) {
  auto s = cls_Structure::New();
  s->ITEM_LET("A", "äöüäöüäöüäöü");
  EXPECT_EQ(s->TEXTSHORT(10), "A: äöüä...");
  EXPECT_EQ(s->TEXTSHORT(0), "A: äöüäöüäöüäöü");
  EXPECT_EQ(s->TEXTSHORT(2), "A:");
  s->ITEM_LET("B", "line\r\nbreak");
  EXPECT_EQ(s->TEXTSHORT(), "A: äöüäöüäöüäöü, B: line  break");
  auto big = cls_Structure::New();
  for (int i = 0; i < 200000; ++i) big->ADD(i);
  EXPECT_EQ(big->TEXTSHORT(20), "0, 1, 2, 3, 4, 5,...");
}

TEST(StructureText, EncodeDecodeRoundTrip) {
  auto s = cls_Structure::New();
  double when;
  ASSERT_TRUE(date::Parse("2024-05-01 12:30:00", when));
  LetAll(*s, "PLAIN", "Anna Maria", "NUMTEXT", "007", "AMP", "a&b=c%d+e", "UML", "Grüße", "PAD", " x ", "QUOTE",
         "\"quoted\"", "HASH", "#1#", "BRACES", "{}", "NUM", 2.5, "WHEN", Variant::Date(when), "NOTHING", Variant());
  s->ITEMBYID_LET("DOT.TED", 1);
  LetAll(*s, "EMPTYSUB", cls_Structure::New(), "DEEP.ER.EST", false, "LIST", cls_Structure::New(), "LIST.X", 1);
  auto list = s->ITEM_GET("LIST").as<cls_Structure>();
  list->ADD("unnamed");

  const std::string enc = s->ENCODE();
  EXPECT_EQ(enc.find_first_of(" \"#{}\r\n"), std::string::npos) << enc;
  EXPECT_NE(enc.find("PLAIN=Anna%20Maria"), std::string::npos);
  EXPECT_NE(enc.find("NUMTEXT=%22007%22"), std::string::npos);
  EXPECT_NE(enc.find("DOT%2ETED=1"), std::string::npos);
  EXPECT_NE(enc.find("LIST.%5B2%5D=unnamed"), std::string::npos);
  auto back = cls_Structure::New();
  back->DECODE(enc);
  EXPECT_EQ(back->SCRIPT(), s->SCRIPT());
  EXPECT_EQ(back->ITEM_GET("NUMTEXT").type(), VarType::String);
  EXPECT_TRUE(back->ITEM_GET("WHEN").isDate());

  // hand-written query strings: "+" is a blank, a pair without "=" is Empty, empty pairs skipped
  auto q = cls_Structure::New();
  q->DECODE("a=hello+world&&flag&n=12&d.e=x");
  EXPECT_EQ(q->ITEM_GET("A").str(), "hello world");
  EXPECT_TRUE(q->EXISTS_GET("FLAG"));
  EXPECT_TRUE(q->ITEM_GET("FLAG").isEmpty());
  EXPECT_EQ(q->ITEM_GET("N").rawLong(), 12);
  EXPECT_EQ(q->ITEM_GET("D.E").str(), "x");

  for (const char* bad : {"a=%G1", "a=%4", "a..b=1", "=1", "a=%22open"}) {
    try {
      cls_Structure::New()->DECODE(bad);
      ADD_FAILURE() << bad;
    } catch (const Error& e) {
      EXPECT_EQ(e.number, err::kInvalidData) << bad;
      EXPECT_EQ(e.description.rfind("Encoded data invalid (pair 1): ", 0), 0u) << e.description;
    }
  }
}

TEST(StructureText, StructuredParametersNestAndIndent) {
  auto s = cls_Structure::New();
  LetAll(*s, "A.B.C", 1, "A.D", "x", "E", 2);
  EXPECT_EQ(s->PARAMETERSSTRUCTURED(), "A.B.C=1&A.D=x&E=2");
  EXPECT_EQ(s->PARAMETERSSTRUCTUREDINDENT("-", "|"), "--A.B.C=1|-A.D=x|E=2");
  EXPECT_EQ(s->TEXTVALUES(), "1\r\nx\r\n2");
  EXPECT_EQ(s->VALUELISTTEXT(), "(B: (C: 1), D: x), 2");
}

}  // namespace
}  // namespace rykel
