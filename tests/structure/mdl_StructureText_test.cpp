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
  EXPECT_EQ(std::tuple(e->TEXT(), e->TEXTSHORT(), e->HTML(), e->ENCODE(), e->VALUELISTTEXT()),
            std::tuple("", "", "<ul></ul>", "", ""));
  auto s = cls_Structure::New();
  LetAll(*s, "A", "", "B", 0, "C", "x", "D.E", Variant());
  EXPECT_EQ(std::tuple(s->TEXT(), s->TEXTNOTEMPTY()), std::tuple("A:\r\nB: 0\r\nC: x\r\nD:\r\n  E:", "C: x"));
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
  auto s = Struct({{"A", "äöüäöüäöüäöü"}});
  EXPECT_EQ(std::tuple(s->TEXTSHORT(10), s->TEXTSHORT(0), s->TEXTSHORT(2)),
            std::tuple("A: äöüä...", "A: äöüäöüäöüäöü", "A:"));
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
  for (const char* pair : {"PLAIN=Anna%20Maria", "NUMTEXT=%22007%22", "DOT%2ETED=1", "LIST.%5B2%5D=unnamed"})
    EXPECT_NE(enc.find(pair), std::string::npos) << pair;
  auto back = cls_Structure::New();
  back->DECODE(enc);
  EXPECT_EQ(std::tuple(back->SCRIPT(), back->ITEM_GET("NUMTEXT").type(), back->ITEM_GET("WHEN").type()),
            std::tuple(s->SCRIPT(), VarType::String, VarType::Date));

  // hand-written query strings: "+" is a blank, a pair without "=" is Empty, empty pairs skipped
  auto q = cls_Structure::New();
  q->DECODE("a=hello+world&&flag&n=12&d.e=x");
  EXPECT_EQ(q->SCRIPT(), "A = \"hello world\"\r\nFLAG = \r\nN = 12\r\nD {\r\n\tE = \"x\"\r\n}\r\n");

  for (const char* bad : {"a=%G1", "a=%4", "a..b=1", "=1", "a=%22open"}) {
    auto [number, text] = Failure([&] { cls_Structure::New()->DECODE(bad); });
    EXPECT_TRUE(number == err::kInvalidData && text.starts_with("Encoded data invalid (pair 1): "))
        << bad << ": " << text;
  }
}

TEST(StructureText, StructuredParametersNestAndIndent) {
  auto s = cls_Structure::New();
  LetAll(*s, "A.B.C", 1, "A.D", "x", "E", 2);
  EXPECT_EQ(std::tuple(s->PARAMETERSSTRUCTURED(), s->PARAMETERSSTRUCTUREDINDENT("-", "|"), s->TEXTVALUES(),
                       s->VALUELISTTEXT()),
            std::tuple("A.B.C=1&A.D=x&E=2", "--A.B.C=1|-A.D=x|E=2", "1\r\nx\r\n2", "(B: (C: 1), D: x), 2"));
}

}  // namespace
}  // namespace rykel
