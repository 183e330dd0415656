#include "structure/mdl_StructureJson.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "TestSupport.h"
#include "frame/DateTime.h"
#include "frame/mdl_Limits.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureManager.h"

namespace rykel {
namespace {

std::string OneLine(cls_Structure& s) { return mdl_StructureJson::Write(*s.MANAGER_GET(), s.SID_GET(), -1); }

std::string RoundTrip(const std::string& pJson) { return OneLine(*mdl_StructureJson::Read(pJson)); }

TEST(StructureJson, RoundTripKeepsTextNumbersAndNesting) {
  // Each document is written back exactly as given (names already upper case).
  const char* docs[] = {
      R"({"NAME":"Jürgen Öztürk","CITY":"Köln","EMOJI":"😀","ESC":"q\"\\\n\t\u0001"})",
      R"({"SMALL":7,"NEG":-2147483648,"MAXL":2147483647,"BIG":12345678901,"HUGE":-9007199254740992})",
      R"({"F":2.5,"WHOLE":3.0,"TINY":1.5e-07,"LARGE":1e+20,"NEGZERO":-0.0,"THIRD":0.3333333333333333})",
      R"({"EMPTY":{},"LIST":[1,[2,[3,{}]],{"A":null}],"T":true,"FALSE":false})",
      R"([[1,2],["a"],[{"K.DOT":"dots stay in names"}]])",
      R"({"":1})",  // the empty key appends a numbered item: written back as "[1]"
  };
  for (const char* d : docs) {
    std::string back = RoundTrip(d);
    if (std::string(d) == R"({"":1})") EXPECT_EQ(back, R"([1])");
    else EXPECT_EQ(back, d);
  }
  // integer -0 is 0; names are upper-cased; an empty array reads as an empty structure ({}); a
  // later duplicate key overwrites; an integer beyond 2^53 is rounded (as JavaScript does)
  EXPECT_EQ(RoundTrip(R"({"a":-0,"b":[],"a2":1,"A2":2,"x":123456789012345678901})"),
            R"({"A":0,"B":{},"A2":2,"X":1.2345678901234568e+20})");
  // a UTF-8 byte order mark and surrounding blanks are fine; pretty form ends with a line break
  auto s = mdl_StructureJson::Read("\xEF\xBB\xBF \n{\"a\": [1, {}]}\n");
  EXPECT_EQ(mdl_StructureJson::Write(*s), "{\n  \"A\": [\n    1,\n    {}\n  ]\n}\n");
}

TEST(StructureJson, WriterShapesAndValues) {
  auto s = cls_Structure::New();
  double day = 0;
  ASSERT_TRUE(date::Parse("2024-05-01 12:00:00", day));
  // currencies 12.5 and 7; 5e9 written whole (a JSON integer of that size reads as this Double),
  // past 2^53 a floating-point number; Latin-1 bytes around a UTF-8 "ü"; an unnamed item among
  // names as "[i]"
  LetAll(*s, "d", Variant::Date(day), "c", Variant::Currency(125000), "cw", Variant::Currency(70000), "n",
         Variant::Null(), "nan", std::nan(""), "wide", 5e9, "wider", 1e300, "latin",
         std::string("\xE4\xF6\xC3\xBC\x80", 5));
  s->ADD("unnamed");
  auto gap = cls_Structure::New();  // numbered with a gap: not a list
  gap->ITEM_LET(1, "a", true);
  gap->ITEM_LET(3, "c", true);
  s->ITEM_LET("gap", Variant(gap));
  auto zero = cls_Structure::New();  // zero-based numbered items are a list too
  zero->ITEM_LET(0, "z");
  zero->ADD("o");
  s->ITEM_LET("zero", Variant(zero));
  EXPECT_EQ(OneLine(*s), R"({"D":"2024-05-01 12:00:00","C":12.5,"CW":7,"N":null,"NAN":null,"WIDE":5000000000,)"
                         R"("WIDER":1e+300,"LATIN":"äöü)"
                         "\xC2\x80"
                         R"(","[9]":"unnamed","GAP":{"[1]":"a","[3]":"c"},"ZERO":["z","o"]})");
  // a cycle (or a tree past STRUCTURE.DEPTH.MAX) is refused, not followed
  auto loop = cls_Structure::New();
  loop->ITEM_LET("self", Variant(loop));
  EXPECT_EQ(Failure([&] { OneLine(*loop); }).second, "Structure nested deeper than 1000 levels");
  loop->REMOVE("self");
}

TEST(StructureJson, MalformedTextNamesLineAndColumn) {
  struct Case {
    const char* text;
    const char* message;
  };
  const Case cases[] = {
      {"", "JSON invalid at line 1, column 1: an object or array expected"},
      {"  \"text\"", "JSON invalid at line 1, column 3: an object or array expected"},
      {"{\"a\": [1, 2",
       "JSON invalid at line 1, column 12: syntax error while parsing array - unexpected end of "
       "input; expected ']'"},
      {"{\n  \"ä\" 1}",
       "JSON invalid at line 2, column 7: syntax error while parsing object separator - "
       "unexpected number literal; expected ':'"},
      {"[1,\n\n]",
       "JSON invalid at line 3, column 1: syntax error while parsing value - unexpected ']'; expected "
       "'[', '{', or a literal"},
      {"{\"a\": tru}", "JSON invalid at line 1, column 10: syntax error while parsing value - invalid literal"},
      {"[1] [2]",
       "JSON invalid at line 1, column 5: syntax error while parsing value - unexpected '['; expected "
       "end of input"},
  };
  for (const Case& c : cases) EXPECT_EQ(Failure([&] { mdl_StructureJson::Read(c.text); }).second, c.message) << c.text;
  // invalid UTF-8 and lone surrogates are refused, at the place they are found (the byte after a
  // cut character)
  EXPECT_EQ(Failure([] { mdl_StructureJson::Read("[\"\xE4\"]"); }).second,
            "JSON invalid at line 1, column 4: syntax error while parsing value - invalid string: ill-formed UTF-8 "
            "byte");
  EXPECT_NE(Failure([] { mdl_StructureJson::Read(R"(["\ud800"])"); }).second.find("surrogate"), std::string::npos);
  // nesting is bounded by STRUCTURE.DEPTH.MAX without using the stack
  EXPECT_EQ(Failure([] { mdl_StructureJson::Read(std::string(100000, '[')); }),
            std::make_pair(1000, std::string("JSON nested deeper than 1000 levels")));
  EXPECT_EQ(Failure([] { mdl_StructureJson::Read(std::string(1000, '[') + std::string(1000, ']')); }).first, 0);
}

}  // namespace
}  // namespace rykel
