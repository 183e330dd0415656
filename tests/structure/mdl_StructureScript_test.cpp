#include "structure/mdl_StructureScript.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "structure/cls_Structure.h"

#include "../CaseTable.h"
#include "../TestSupport.h"

namespace rykel {
namespace {

namespace fs = std::filesystem;

StructurePtr Sample() {
  auto s = cls_Structure::New();
  LetAll(*s, "NAME", "Anna", "AGE", 7, "SUB.X", true);
  return s;
}

TEST(StructureScript, WritesOneLinePerItemWithTabsPerLevel) {
  auto s = Sample();
  s->ITEM_LET("SUB.DEEP.Y", 1.5);
  EXPECT_EQ(s->SCRIPT(),
            "NAME = \"Anna\"\r\nAGE = 7\r\nSUB {\r\n\tX = True\r\n\tDEEP {\r\n\t\tY = 1.5\r\n\t}\r\n}\r\n");
  EXPECT_EQ(std::tuple(s->SCRIPT(1).substr(0, 15), cls_Structure::New()->SCRIPT()),
            std::tuple("\tNAME = \"Anna\"\r", ""));
}

TEST(StructureScript, RoundTripKeepsValuesAndTypes) {
  auto s = cls_Structure::New();
  double when;
  ASSERT_TRUE(date::Parse("2024-05-01 12:30:00", when));
  LetAll(*s, "LONG", -2147483647 - 1, "INT", static_cast<int16_t>(-5), "DBL", 0.1 + 0.2, "WHOLE", 3.0, "BIG", 1e300,
         "SGL", 1.25f, "CUR", Variant::Currency(-123456789), "WHEN", Variant::Date(when), "YES", true, "NOTHING",
         Variant::Null(), "EMPTY", Variant(), "NUMTEXT", "007", "BOOLTEXT", "True", "BLANKTEXT", "", "ODD",
         " a \"q\" \\ {x} = # \t\x01 ", "LINES", "one\r\ntwo\nthree", "UMLAUT", "Grüße");
  s->ITEMBYID_LET("A.B", "dot");          // one name holding a dot
  s->ITEMBYID_LET("X = {Y}", "special");  // a name that needs quotes
  s->ITEM_LET("EMPTYSUB", cls_Structure::New());
  auto list = cls_Structure::New();
  list->ITEM_LET(0, "zero", true);
  list->ADD("one");
  list->ITEM_LET(4, "four", true);  // leaves unused slots 2 and 3
  s->ITEM_LET("LIST", list);

  const std::string text = s->SCRIPT();
  auto back = cls_Structure::New();
  back->PARSE(text);
  EXPECT_EQ(back->SCRIPT(), text);

  const char* keys[] = {"LONG",    "INT",   "DBL",     "WHOLE",    "BIG",       "SGL", "CUR",   "WHEN",  "YES",
                        "NOTHING", "EMPTY", "NUMTEXT", "BOOLTEXT", "BLANKTEXT", "ODD", "LINES", "UMLAUT"};
  for (const char* k : keys) {
    Variant a = s->ITEM_GET(k), b = back->ITEM_GET(k, "missing");
    EXPECT_EQ(std::pair(a.vartype(), CStr(a)), std::pair(b.vartype(), CStr(b))) << k;
  }
  EXPECT_EQ(std::tuple(back->ITEM_GET("DBL").rawDouble(), back->ITEMBYID_GET("A.B").str(),
                       back->ITEMBYID_GET("X = {Y}").str(), back->ITEM_GET("EMPTYSUB").isObject()),
            std::tuple(0.1 + 0.2, "dot", "special", true));
  auto list2 = back->ITEM_GET("LIST").as<cls_Structure>();
  ASSERT_TRUE(list2);
  EXPECT_EQ(std::tuple(list2->BASE(), list2->MAX(), list2->ITEM_GET(4).str(), list2->EXISTS_GET(2)),
            std::tuple(0, 4, "four", false));
  for (const char* line : {"A..B = \"dot\"", "\"X = {Y}\" = \"special\"", "[0] = \"zero\""})
    EXPECT_NE(text.find(line), std::string::npos) << line;
}

TEST(StructureScript, RoundTripOfNamesThatLookLikeSyntax) {
  // The first line of a script may start with a name that begins with U+FEFF: PARSE skips a
  // leading byte order mark, so the writer must quote such a name or it is lost on reading.
  const std::string bom = "\xEF\xBB\xBF";
  for (bool asBlock : {false, true}) {
    auto s = cls_Structure::New();
    if (asBlock) s->ITEMBYID_LET(bom + "X", cls_Structure::New());
    else s->ITEMBYID_LET(bom + "X", 1);
    const std::string text = s->SCRIPT();
    auto back = cls_Structure::New();
    back->PARSE(text);
    EXPECT_EQ(std::tuple(text.substr(0, 1), back->SCRIPT(), back->EXISTS_GET(Variant(bom + "X"))),
              std::tuple("\"", text, true))
        << asBlock;
  }
  // A named item among unused slots: read back, a new name goes after the last item (not into
  // the highest unused slot), so writing and reading again keeps the order.
  {
    auto gaps = cls_Structure::New();
    gaps->PARSE("[5] = \"a\"\nB = 1\n[2] = \"c\"\n\"[52\" = 5\n");
    const std::string once = gaps->SCRIPT();
    EXPECT_EQ(once, "[2] = \"c\"\r\n[5] = \"a\"\r\nB = 1\r\n\"[52\" = 5\r\n");
    auto again = cls_Structure::New();
    again->PARSE(once);
    EXPECT_EQ(again->SCRIPT(), once);
  }
  // the input the fuzzer found: a dotted name behind a byte order mark and a blank
  std::string found = "\xEF\xBB\xBF \xEF\xBB\xBF.\xAE...7.\xFF\xFD.x = five\n";
  auto s = cls_Structure::New();
  s->PARSE(found);
  auto back = cls_Structure::New();
  back->PARSE(s->SCRIPT());
  EXPECT_EQ(back->SCRIPT(), s->SCRIPT());
}

TEST(StructureScript, ParseAcceptsTheHandWrittenForms) {
  auto s = cls_Structure::New();
  s->PARSE(
      "# comment\r"
      "// another comment\n"
      "  name = Anna Maria  \r\n"
      "A.B.C = 5\n"
      "blk = {\n"
      "\tx = 1\n"
      "}\n"
      "blk2={\n"
      "y = \"two\"\n"
      "}\n"
      "blk3 {\n"
      "z = #2024-01-02#\n"
      "}\n"
      "blk {\n"
      "  more = 1,5\n"
      "}\n"
      "v..w = dot\n"
      "{\n"
      "n = 1\n"
      "}\n"
      "real = -2.5E3\n"
      "list.[0] = first\n"
      "big = 99999999999\n");
  // each value's type and text; a reopened block keeps its items
  std::string got;
  for (const char* k : {"NAME", "A.B.C", "BLK.X", "BLK.MORE", "BLK2.Y", "BLK3.Z", "REAL", "BIG"})
    got += std::string(k) + ":" + std::to_string(static_cast<int>(s->ITEM_GET(k).type())) + "=" + CStr(s->ITEM_GET(k)) +
           " ";
  EXPECT_EQ(got,
            "NAME:8=Anna Maria A.B.C:3=5 BLK.X:3=1 BLK.MORE:8=1,5 BLK2.Y:8=two BLK3.Z:7=02.01.2024 REAL:5=-2500 "
            "BIG:5=99999999999 ");
  EXPECT_EQ(s->ITEMBYID_GET("V.W").str(), "dot");
  auto anon = s->ITEM_GET(s->MAX() - 3).as<cls_Structure>();  // "{" alone appends a sub-structure
  ASSERT_TRUE(anon);
  EXPECT_EQ(anon->ITEM_GET("N").rawLong(), 1);
  auto list = s->ITEM_GET("LIST").as<cls_Structure>();
  ASSERT_TRUE(list);
  EXPECT_EQ(std::tuple(list->BASE(), list->ITEM_GET(0).str()), std::tuple(0, "first"));

  // a scalar in the way of a path becomes a sub-structure
  s->PARSE("NAME.FIRST = Anna\n");
  EXPECT_EQ(s->ITEM_GET("NAME.FIRST").str(), "Anna");
}

TEST(StructureScript, ParseRejectsBadInputWithLineNumbers) {
  const Case<const char*> cases[] = {
      {"a = 1\n}\n", "Script data invalid (line 2): '}' without an open block"},
      {"a {\nb = 1\n", "Script data invalid: '}' expected (to close 'a' at line 1)"},
      {"just words\n", "Script data invalid (line 1): '=' or '{' expected after the name"},
      {"a = \"open\n", "Script data invalid (line 1): unfinished string (closing '\"' expected)"},
      {"a = \"x\\q\"", "Script data invalid (line 1): unknown escape '\\q'"},
      {"a = \"x\" y", "Script data invalid (line 1): nothing may follow the closing '\"'"},
      {"a..b. = 1", "Script data invalid (line 1): empty part in the name (a literal '.' is written '..')"},
      {"a = #2024-13-45#", "Script data invalid (line 1): invalid date '#2024-13-45#'"},
      {"a { b\n}", "Script data invalid (line 1): nothing may follow '{' on its line"},
      {"[99999] = 1", "Script data invalid (line 1): index [99999] skips more than 1024 unused items"},
      {"= 1", "Script data invalid (line 1): empty name"},
  };
  ForEachRow(cases, [](const auto& c) {
    EXPECT_EQ(Failure([&] { cls_Structure::New()->PARSE(c.name); }), std::pair(err::kInvalidData, std::string(c.want)));
  });
}

// Each "[1024]" may skip 1023 unused slots, but many small nodes must not add up to gigabytes: the
// script and encoded forms share the other readers' budget of 1,048,576 plus 16 per byte of text.
TEST(StructureScript, NumberedItemsShareOneBudgetOfUnusedSlots) {
  auto blocks = [](int n) {
    std::string t;
    for (int i = 0; i < n; ++i) t += "{\n[1024] = 1\n}\n";
    return t;
  };
  auto pairs = [](int n) {
    std::string t;
    for (int i = 1; i <= n; ++i) t += "[" + std::to_string(i) + "].[1024]=1&";
    return t;
  };
  auto ok = cls_Structure::New(), ok2 = cls_Structure::New();
  ok->PARSE(blocks(1000));  // 1,023,000 unused slots: within the budget
  ok2->DECODE(pairs(1000));
  EXPECT_EQ(std::tuple(ok->COUNT(), ok2->COUNT()), std::tuple(1000, 1000));

  auto [n1, m1] = Failure([&] { cls_Structure::New()->PARSE(blocks(3000)); });
  EXPECT_EQ(n1, err::kInvalidData);
  EXPECT_TRUE(std::regex_match(m1, std::regex(R"(Script data invalid \(line \d+\): numbered items leave too many )"
                                              R"(unused items \(at most 1048576 plus 16 per byte of text\))")))
      << m1;
  EXPECT_TRUE(Raises(err::kInvalidData, "numbered items leave too many unused items",
                     [&] { cls_Structure::New()->DECODE(pairs(3000)); }));
}

TEST(StructureScript, DepthIsLimitedForReadingAndWriting) {
  std::string deep;
  for (int i = 0; i < 5000; ++i) deep += "a {\n";
  EXPECT_TRUE(Raises(err::kInvalidData, "nested deeper than 1000 levels", [&] { cls_Structure::New()->PARSE(deep); }));
  std::string path = "a";
  for (int i = 0; i < 5000; ++i) path += ".a";
  EXPECT_EQ(FailureNumber([&] { cls_Structure::New()->PARSE(path + " = 1"); }), err::kInvalidData);

  // a structure holding itself is refused, not followed for ever
  auto loop = cls_Structure::New();
  loop->ITEM_LET("SELF", loop);
  EXPECT_EQ(FailureNumber([&] { loop->SCRIPT(); }), err::kInvalidData);
  loop->REMOVE("SELF");
}

TEST(StructureScript, NotEmptyLeavesOutEmptyValuesAndBlocks) {
  auto s = cls_Structure::New();
  LetAll(*s, "A", "", "B", 0, "C", 0.0, "D", Variant::Null(), "E", Variant(), "F", false, "G", "0", "SUB.X", "",
         "SUB2.Y", 1);
  EXPECT_EQ(s->SCRIPTNOTEMPTY(), "F = False\r\nG = \"0\"\r\nSUB2 {\r\n\tY = 1\r\n}\r\n");
}

TEST(StructureFile, SaveLoadAndSignatures) {
  TempDir dir;
  const std::string file = (dir.path / "data.kel.txt").string();
  auto s = Sample();
  EXPECT_TRUE(s->SAVE(file) && ReadAll(file) == s->SCRIPT());

  auto back = cls_Structure::New();
  back->ITEM_LET("OLD", 1);
  EXPECT_TRUE(back->LOAD(file) && back->SCRIPT() == s->SCRIPT());  // LOAD replaces the content

  EXPECT_TRUE(s->SAVESIGNATURE(file, "Test DB", 2));
  EXPECT_EQ(ReadAll(file).substr(0, 32), "// Test DB\r\n// Version = 2\r\nNAME");
  auto sig = cls_Structure::New();
  EXPECT_TRUE(sig->LOADSIGNATURE(file, "Test DB", 1, 3) && sig->SCRIPT() == s->SCRIPT());
  EXPECT_TRUE(cls_Structure::New()->LOAD(file));  // LOAD skips the "//" lines

  EXPECT_TRUE(
      Raises(err::kInvalidData, "has not the signature 'Other'", [&] { sig->LOADSIGNATURE(file, "Other", 1, 3); }));
  EXPECT_TRUE(Raises(err::kInvalidData, "has version 2, expected 3 to 10",
                     [&] { sig->LOADSIGNATURE(file, "Test DB", 3, 10); }));
  EXPECT_TRUE(sig->LOADSIGNATURE(file, "Test DB"));  // no bounds

  // invalid file: LOAD raises and leaves the node; LOADEX answers false
  { std::ofstream(dir.path / "bad.txt") << "A = 1\nB {\n"; }
  auto keep = Sample();
  EXPECT_EQ(FailureNumber([&] { keep->LOAD((dir.path / "bad.txt").string()); }), err::kInvalidData);
  EXPECT_EQ(keep->SCRIPT(), Sample()->SCRIPT());
  EXPECT_FALSE(keep->LOADEX((dir.path / "bad.txt").string()) || keep->LOADEX((dir.path / "missing.txt").string()));
  EXPECT_EQ(keep->SCRIPT(), Sample()->SCRIPT());
  EXPECT_EQ(Failure([&] { keep->LOAD((dir.path / "missing.txt").string()); }).first, err::kFileNotFound);
  EXPECT_TRUE(keep->LOADEX(file));
}

TEST(StructureFile, FailedWritesRaiseFileErrorsAndKeepTheOldFile) {
  TempDir dir;
  const std::string file = (dir.path / "keep.txt").string();
  auto s = Sample();
  ASSERT_TRUE(s->SAVE(file));
  const std::string before = ReadAll(file);

  // a path in a missing folder
  EXPECT_EQ(Failure([&] { s->SAVE((dir.path / "no" / "such.txt").string()); }).first, err::kPathNotFound);

  // a full disk and a folder we may not write to: FileIO_test.cpp
  // the target is a folder
  EXPECT_EQ(Failure([&] { s->SAVE(dir.path.string()); }).first, err::kPathFileAccess);
}

}  // namespace
}  // namespace rykel
