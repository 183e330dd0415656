#include "structure/cls_StructureSerializer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "host/sys_Global.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureTools.h"

#include "../CaseTable.h"
#include "../TestSupport.h"

namespace rykel {

using namespace std::string_literals;

namespace {

StructurePtr Read(std::string_view text) {
  auto s = cls_Structure::New();
  s->UNSERIALIZE(text);
  return s;
}

// The error a read raises, as "source: description".
std::string ReadError(std::string_view text) {
  auto s = cls_Structure::New();
  s->ITEM_LET("KEEP", 1);
  try {
    s->UNSERIALIZE(text);
  } catch (const Error& e) {
    EXPECT_TRUE(s->ISEMPTY()) << "a failed read leaves the node empty: " << text;
    return e.source + ": " + e.description;
  }
  return "no error";
}

std::string DoubleText(double d) {
  char buf[40];
  return std::string(buf, cls_StructureSerializer::DoubleText(d, buf));
}

}  // namespace

TEST(StructureSerializer, WriterTexts) {
  auto s = cls_Structure::New();
  EXPECT_EQ(s->SERIALIZE(), "a:0:{}");
  s->ITEM_LET("name", "Anna");
  s->ITEM_LET("age", 7);
  EXPECT_EQ(s->SERIALIZE(), R"(a:2:{s:4:"NAME";s:4:"Anna";s:3:"AGE";i:7;})");
  s->ITEM_LET("sub.x", true);
  EXPECT_EQ(s->SERIALIZE(), R"(a:3:{s:4:"NAME";s:4:"Anna";s:3:"AGE";i:7;s:3:"SUB";a:1:{s:1:"X";b:1;}})");

  auto t = cls_Structure::New();
  t->ITEM_LET("q", "a\"b;c}d\r\n{");
  t->ITEM_LET("u", "Grüße");      // 5 characters, 7 bytes
  t->ITEM_LET("ä", int16_t{-3});  // names count characters too
  LetAll(*t, "n", Variant::Null(), "e", Variant(), "f", false, "c", Variant::Currency(12345), "s", 0.1f);
  double when;
  ASSERT_TRUE(date::Parse("2024-02-29 13:05:09", when));
  LetAll(*t, "d", Variant::Date(when), "o",
         Variant(std::static_pointer_cast<Object>(std::make_shared<cls_StructureTools>())), "r",
         Variant::ErrorValue(5));
  EXPECT_EQ(t->SERIALIZE(),
            "a:11:{s:1:\"Q\";s:10:\"a\"b;c}d\r\n{\";s:1:\"U\";s:5:\"Grüße\";s:1:\"Ä\";i:-3;"
            "s:1:\"N\";n:0;s:1:\"E\";i:0;s:1:\"F\";b:0;s:1:\"C\";d:1.2345;s:1:\"S\";d:0.1;"
            "s:1:\"D\";s:19:\"2024-02-29 13:05:09\";s:1:\"O\";i:0;s:1:\"R\";i:0;}");

  // numbered items have the empty name; unused slots are neither written nor counted
  auto l = cls_Structure::New();
  l->ITEM_LET(0, "zero");
  l->ITEM_LET(3, "three", true);
  EXPECT_EQ(std::tuple(l->COUNT(), l->SERIALIZE()), std::tuple(4, R"(a:2:{s:0:"";s:4:"zero";s:0:"";s:5:"three";})"));
}

// A record written item by item is the text SERIALIZE gives for the structure holding the items,
// for every kind of value and for names that are upper-cased on the way in; the writer's buffer
// is reused, so a shorter record after a longer one must not keep the longer one's tail.
TEST(StructureSerializer, RecordWriterMatchesSerialize) {
  const std::vector<std::pair<std::string, Variant>> items = {
      {"id", Variant(7)},
      {"Straße", Variant("Grüße \"x\";")},
      {"SCORE", Variant(0.1)},
      {"WHEN", Variant::Date(45000.5)},
      {"ok", Variant(true)},
      {"NOTHING", Variant()},
      {"N", Variant::Null()},
      {"BIG", Variant(1e25)},
      {"CUR", Variant::Currency(12345)},
  };
  SerializedRecordWriter w;
  for (size_t n : {items.size(), size_t{2}, size_t{0}}) {
    auto s = cls_Structure::New();
    w.Begin(n);
    for (size_t i = 0; i < n; ++i) {
      s->ITEMBYID_LET(items[i].first, items[i].second);
      w.Item(SerializedRecordWriter::Key(items[i].first), items[i].second);
    }
    EXPECT_EQ(std::string(w.End()), s->SERIALIZE()) << n << " items";
  }
}

// A flat record read item by item gives what UNSERIALIZE puts in a structure (names upper-cased,
// a date text as a date, a repeated name twice in order); anything else is left to UNSERIALIZE.
TEST(StructureSerializer, ReadFlatTakesOnlyFlatRecords) {
  const struct {
    std::string text;
    bool flat;
  } rows[] = {
      {"a:3:{s:2:\"id\";i:7;s:4:\"WHEN\";s:10:\"2024-02-29\";s:1:\"X\";d:0.5;}", true},
      {"a:2:{s:1:\"A\";b:1;s:1:\"a\";N;}\r\n", true},
      {"a:0:{}", true},
      {"a:1:{s:1:\"A\";a:0:{}}", false},        // a sub-structure
      {"a:1:{i:0;s:1:\"x\";}", false},          // a numbered item
      {"O:1:\"C\":1:{s:1:\"A\";i:1;}", false},  // an object
      {"a:1:{s:1:\"A\";i:1;}x", false},         // text after the record
      {"a:2:{s:1:\"A\";i:1;}", false},          // damaged
      {"QS1:", false},
  };
  auto s = cls_Structure::New();
  cls_StructureSerializer r(*s->MANAGER_GET());
  for (const auto& row : rows) {
    std::string items;
    auto item = [&](uint32_t pAtom, Variant&& pValue) {
      items += std::string(s->MANAGER_GET()->Names().Name(pAtom)) + "=" + CStr(pValue) + ":" +
               std::to_string(static_cast<int>(pValue.type())) + ";";
    };
    ASSERT_EQ(r.ReadFlat(row.text, item), row.flat) << row.text;
    if (!row.flat) continue;
    s->UNSERIALIZE(row.text);
    std::string expected;
    auto& m = *s->MANAGER_GET();
    for (const auto& it : m.Items(s->SID_GET()))
      if (it.used)
        expected += std::string(m.Names().Name(it.name)) + "=" + CStr(it.value) + ":" +
                    std::to_string(static_cast<int>(it.value.type())) + ";";
    EXPECT_EQ(items, expected) << row.text;
  }
}

TEST(StructureSerializer, DoublesAsPhpWritesThem) {
  const struct {
    const char* name;  // the text written
    double value;
  } rows[] = {
      {"0.1", 0.1},
      {"1.0E+25", 1e25},
      {"1000000000000000", 1e15},
      {"10000000000000000", 1e16},
      {"1.0E+17", 1e17},
      {"1.2345678901234568E+17", 123456789012345678.0},
      {"1.0E-5", 1e-5},
      {"0.0001", 0.0001},
      {"0.00012", 0.00012},
      {"1.5E-7", 1.5e-7},
      {"-0", -0.0},
      {"0", 0.0},
      {"100", 100.0},
      {"-2.5", -2.5},
      {"5.0E-324", 5e-324},
      {"1.7976931348623157E+308", 1.7976931348623157e308},
      {"0.30000000000000004", 0.30000000000000004},
      {"82659071070449000", 82659071070448992.0},  // shortest digits, not the exact integer
      {"999999999999999.9", 999999999999999.9},
      {"INF", std::numeric_limits<double>::infinity()},
      {"-INF", -std::numeric_limits<double>::infinity()},
      {"NAN", std::nan("")},
  };
  ForEachRow(rows, [](const auto& r) { EXPECT_EQ(DoubleText(r.value), r.name); });
  // every double comes back equal
  for (double d : {0.1, 1.0 / 3, 2.0 / 3 * 1e300, 4.9e-320, 123456.78, -7e-9, 9007199254740993.0}) {
    auto s = Struct({{"X", d}});
    EXPECT_EQ(Read(s->SERIALIZE())->ITEM_GET("X").rawDouble(), d) << s->SERIALIZE();
  }
}

TEST(StructureSerializer, RoundTripKeepsValuesAndTypes) {
  auto s = cls_Structure::New();
  LetAll(*s, "text", "x\";}a:1:{", "n", 42, "neg", -7, "f", 2.5, "yes", true, "nothing", Variant::Null(), "empty",
         Variant(), "a.b.c", "deep", "bad", "2024-13-45");
  double when;
  ASSERT_TRUE(date::Parse("2001-09-11 08:46:00", when));
  s->ITEM_LET("when", Variant::Date(when));
  auto r = Read(s->SERIALIZE());
  EXPECT_EQ(r->SERIALIZE(), s->SERIALIZE());
  // Empty is written as i:0;
  const Case<std::pair<VarType, std::string>> rows[] = {
      {"TEXT", {VarType::String, "x\";}a:1:{"}}, {"N", {VarType::Long, "42"}},
      {"F", {VarType::Double, "2.5"}},           {"YES", {VarType::Boolean, "True"}},
      {"NOTHING", {VarType::Null, ""}},          {"EMPTY", {VarType::Long, "0"}},
      {"A.B.C", {VarType::String, "deep"}},      {"BAD", {VarType::String, "2024-13-45"}},
  };
  ForEachRow(rows, [&](const auto& row) {
    EXPECT_EQ(std::pair(r->ITEM_GET(row.name).type(), CStr(r->ITEM_GET(row.name))), row.want);
  });
  ASSERT_EQ(r->ITEM_GET("WHEN").type(), VarType::Date);
  EXPECT_EQ(r->ITEM_GET("WHEN").rawDouble(), when);

  // malformed UTF-8 is counted in bytes, so it reads back too (found by fuzzing)
  auto m = Struct({{"X", std::string("a\xF1li\xCB")}});
  EXPECT_EQ(m->SERIALIZE(), "a:1:{s:1:\"X\";s:5:\"a\xF1li\xCB\";}");
  EXPECT_EQ(Read(m->SERIALIZE())->ITEM_GET("X").str(), "a\xF1li\xCB");
  // a date beyond the year 9999 has no date text: its day number is written
  m->ITEM_LET("X", Variant::Date(-1.5e58));
  EXPECT_EQ(m->SERIALIZE(), "a:1:{s:1:\"X\";d:-1.5E+58;}");
}

TEST(StructureSerializer, ReadsWhatPhpWrites) {
  // integer keys are numbered items at that index; 0 makes the node zero-based
  auto r =
      Read(R"(a:3:{s:4:"list";a:3:{i:0;i:10;i:1;i:20;i:2;i:30;}s:3:"gap";a:2:{i:5;s:1:"e";i:2;s:1:"b";}s:1:"x";N;})");
  auto list = r->ITEM_GET("LIST").as<cls_Structure>();
  ASSERT_TRUE(list);
  EXPECT_EQ(std::tuple(list->HASZERO_GET(), CLng(list->ITEM_GET(0)), CLng(list->ITEM_GET(2))),
            std::tuple(true, 10, 30));
  auto gap = r->ITEM_GET("GAP").as<cls_Structure>();
  EXPECT_EQ(std::tuple(gap->MAX(), gap->ITEM_GET(2).str(), gap->EXISTS_GET(3)), std::tuple(5, "b", false));
  EXPECT_EQ(r->ITEM_GET("X").type(), VarType::Null);

  // "" appends a numbered item; names are upper-cased; a name repeated keeps both items and
  // lookups find the first
  auto e = Read(R"(a:4:{s:0:"";s:1:"a";s:0:"";s:1:"b";s:3:"key";i:1;s:3:"KEY";i:2;})");
  EXPECT_EQ(std::tuple(e->ITEM_GET(1).str(), e->ITEM_GET(2).str(), CLng(e->ITEM_GET("key")), e->MAX()),
            std::tuple("a", "b", 1, 4));

  // negative and huge integer keys have no slot: their text is the name; big integers are Double
  auto k = Read(R"(a:3:{i:-5;s:1:"m";i:9999999999;i:1;s:3:"big";i:9007199254740993;})");
  EXPECT_EQ(std::tuple(k->ITEM_GET("-5").str(), CLng(k->ITEM_GET("9999999999")), k->ITEM_GET("BIG").type()),
            std::tuple("m", 1, VarType::Double));
  // the same out-of-range key many times over (the name cache once kept a dangling pointer)
  std::string many = "a:40:{";
  for (int i = 0; i < 40; ++i) many += "i:-" + std::to_string(i % 3 + 1) + ";i:" + std::to_string(i) + ";";
  auto mk = Read(many + "}");
  EXPECT_EQ(std::tuple(mk->COUNT(), CLng(mk->ITEM_GET("-2"))), std::tuple(40, 1));  // the first item with that name

  // the 64-bit edges PHP writes (PHP_INT_MIN, PHP_INT_MAX) read as numbers, one past them fails
  auto edge = Read(R"(a:2:{s:1:"L";i:-9223372036854775808;s:1:"H";i:9223372036854775807;})");
  EXPECT_EQ(std::tuple(CDbl(edge->ITEM_GET("L")), CDbl(edge->ITEM_GET("H"))),
            std::tuple(-9223372036854775808.0, 9223372036854775807.0));
  const std::string invalid = "cls_StructureManager.UNSERIALIZE2: Serialized data invalid";
  for (const char* past : {"-9223372036854775809", "9223372036854775808"})
    EXPECT_EQ(ReadError(R"(a:1:{s:1:"A";i:)" + std::string(past) + ";}"), invalid) << past;
  EXPECT_EQ(Read(R"(a:1:{i:-9223372036854775808;s:1:"x";})")->ITEM_GET("-9223372036854775808").str(), "x");

  // PHP's special doubles, exponents and signs
  auto d = Read(R"(a:5:{s:1:"a";d:INF;s:1:"b";d:-INF;s:1:"c";d:NAN;s:1:"d";d:1.0E+25;s:1:"e";d:-0;})");
  EXPECT_TRUE(std::isinf(d->ITEM_GET("A").rawDouble()) && d->ITEM_GET("A").rawDouble() > 0);
  EXPECT_TRUE(d->ITEM_GET("B").rawDouble() < 0 && std::isinf(d->ITEM_GET("B").rawDouble()));
  EXPECT_TRUE(std::isnan(d->ITEM_GET("C").rawDouble()));
  EXPECT_EQ(d->ITEM_GET("D").rawDouble(), 1e25);
  EXPECT_TRUE(std::signbit(d->ITEM_GET("E").rawDouble()));
  EXPECT_EQ(d->SERIALIZE(), R"(a:5:{s:1:"A";d:INF;s:1:"B";d:-INF;s:1:"C";d:NAN;s:1:"D";d:1.0E+25;s:1:"E";d:-0;})");

  // objects: cls_Structure and any other class read as a structure of their properties; the
  // markers of private and protected properties are dropped
  auto o = Read("O:13:\"cls_Structure\":1:{s:1:\"A\";O:3:\"Foo\":2:{s:6:\"\0Foo\0p\";i:1;s:4:\"\0*\0q\";i:2;}}"s);
  EXPECT_EQ(std::tuple(CLng(o->ITEM_GET("A.P")), CLng(o->ITEM_GET("A.Q"))), std::tuple(1, 2));
  // names that only look mangled stay as they are, so writing them back reads the same tree
  auto odd = Read("O:3:\"Foo\":1:{s:6:\"\0F\x01\0\0\0\";d:INF;}"s);
  EXPECT_EQ(Read(odd->SERIALIZE())->SERIALIZE(), odd->SERIALIZE());
  EXPECT_EQ(odd->ID_GET(1).size(), 6u);
  EXPECT_EQ(Read("a:1:{s:4:\"\0*\0x\";i:1;}"s)->ID_GET(1).size(), 4u);  // arrays keep them

  // UTF-8 lengths: characters (our writer) or bytes (PHP under UTF-8); a character count that
  // would end inside the text is taken as bytes when that fits
  const Case<const char*> lengths[] = {{R"(a:1:{s:1:"k";s:5:"Grüße";})", "K=Grüße;"},
                                       {R"(a:1:{s:1:"k";s:7:"Grüße";})", "K=Grüße;"},
                                       {R"(a:1:{s:2:"ä";s:2:"ö";})", "Ä=ö;"},
                                       {R"(a:1:{s:1:"k";s:2:"ä";})", "K=ä;"}};
  ForEachRow(lengths, [](const auto& row) {
    auto s = Read(row.name);
    EXPECT_EQ(s->ID_GET(1) + "=" + CStr(s->ITEM_GET(1)) + ";", row.want);
  });

  // blanks around the text are fine, blank text gives an empty node
  EXPECT_EQ(Read(" \r\na:1:{s:1:\"A\";i:1;}\n")->COUNT(), 1);
  EXPECT_TRUE(Read("")->ISEMPTY() && Read(" \n")->ISEMPTY());
}

TEST(StructureSerializer, UnserializeEmptiesTheNodeFirst) {
  auto s = cls_Structure::New();
  s->ITEM_LET(0, "zero");
  s->ITEM_LET("sub.x", 1);
  auto sub = s->ITEM_GET("SUB").as<cls_Structure>();
  const int32_t before = sub->MANAGER_GET()->USAGE();
  s->UNSERIALIZE(R"(a:1:{s:1:"A";i:1;})");
  EXPECT_EQ(std::tuple(s->SERIALIZE(), s->HASZERO_GET(), s->CHANGED_GET()),
            std::tuple(R"(a:1:{s:1:"A";i:1;})", false, true));
  EXPECT_EQ(sub->MANAGER_GET()->REFCOUNT(sub->SID_GET()), 1);  // only our handle holds it now
  sub.reset();
  EXPECT_EQ(s->MANAGER_GET()->USAGE(), before - 1);
}

TEST(StructureSerializer, ReaderErrors) {
  const std::string src = "cls_StructureManager.UNSERIALIZE2: ", invalid = src + "Serialized data invalid";
  const Case<std::string> rows[] = {
      {R"(a:1:{s:1:"A";x:1;})", src + "Invalid data type found: x"},
      {R"(a:1:{s:1:"A";S:1:"a";})", src + "Invalid data type found: S"},
      {R"(a:1:{s:1:"A";r:1;})", src + "Invalid data type found: r"},
      {"a:1:{s:1:\"A\";\x01:1;}", src + "Invalid data type found: chr(1)"},
      {R"(a:1:{b:1;i:1;})", invalid},  // no such key
      {R"(a:2:{s:1:"A";i:1;})", invalid},
      {R"(a:1:{s:1:"A";i:1;}x)", invalid},
      {R"(a:1:{s:3:"A";i:1;})", invalid},
      {R"(a:1:{s:1:"A";b:2;})", invalid},
      {R"(a:1:{s:1:"A";d:1.5x;})", invalid},
      {R"(a:1:{s:1:"A";i:99999999999999999999;})", invalid},
      {R"(a:-1:{})", invalid},
      {R"(s:3:"abc";)", invalid},  // no structure
      {"QS2:AB:x", "cls_StructureManager.UNSERIALIZEBINARY: Serialized data invalid"},
      {"a:2000000000:{}", invalid},  // a huge announced count allocates nothing up front
      // numbered keys far apart cannot make the reader allocate without bound
      {R"(a:1:{i:2000000000;i:1;})", invalid},
  };
  ForEachRow(rows, [](const auto& r) { EXPECT_EQ(ReadError(r.name), r.want); });
  EXPECT_EQ(Read(R"(a:1:{i:100000;i:1;})")->MAX(), 100000);

  // through the tools the operation is named after them; the class stays the manager
  try {
    sys_Global::STRUCT_GET()->UNSERIALIZE("a:1:{");
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(std::tuple(e.source, e.description, e.number),
              std::tuple("cls_StructureManager.STRUCTURE.UNSERIALIZE", "Serialized data invalid", err::kInvalidData));
  }
  EXPECT_EQ(CLng(sys_Global::STRUCT_GET()->UNSERIALIZE(R"(a:1:{s:1:"A";i:4;})")->ITEM_GET("A")), 4);
}

TEST(StructureSerializer, DepthLimit) {
  auto nested = [](int levels) {
    std::string t;
    for (int i = 0; i < levels; ++i) t += "a:1:{s:1:\"A\";";
    t += "i:1;";
    for (int i = 0; i < levels; ++i) t += "}";
    return t;
  };
  EXPECT_EQ(Read(nested(100))->SERIALIZE(), nested(100));
  EXPECT_EQ(cls_StructureSerializer::Depth(), 0);
  // one level more fails, far deeper input the same way, without running down the stack
  for (int levels : {101, 100000}) {
    EXPECT_EQ(ReadError(nested(levels)), "cls_StructureManager.UNSERIALIZE2: Serialized data invalid") << levels;
    EXPECT_EQ(cls_StructureSerializer::Depth(), 0);
  }

  // a structure that holds itself cannot be written
  auto s = cls_Structure::New();
  s->ITEM_LET("ME", Variant(s->Ref()));
  try {
    s->SERIALIZE();
    FAIL();
  } catch (const Error& e) { EXPECT_EQ(e.source, "cls_StructureManager.SERIALIZE"); }
  s->REMOVE("ME");
}

TEST(StructureSerializer, Unserialize2ReadsOneValueAtAPosition) {
  auto s = cls_Structure::New();
  const std::string text = R"(i:5;s:2:"ab";a:1:{s:1:"A";b:1;}d:0.5;)";
  int64_t pos = 0;
  EXPECT_EQ(CLng(s->UNSERIALIZE2(text, pos)), 5);
  EXPECT_EQ(pos, 4);
  EXPECT_EQ(s->UNSERIALIZE2(text, pos).str(), "ab");
  // a structure goes into this node, the call gives Empty
  EXPECT_TRUE(s->UNSERIALIZE2(text, pos).isEmpty() && CBool(s->ITEM_GET("A")));
  EXPECT_EQ(s->UNSERIALIZE2(text, pos).rawDouble(), 0.5);
  EXPECT_EQ(pos, static_cast<int64_t>(text.size()));
  EXPECT_THROW(s->UNSERIALIZE2(text, pos), Error);  // nothing left
}

TEST(StructureSerializer, TruncatedAndGarbledInputNeverCrashes) {
  auto s = cls_Structure::New();
  LetAll(*s, "name", "Zoë \"the\" {brace}; x", "list.1", 1.25, "list.2", Variant::Null(), "flag", false);
  const std::string text = s->SERIALIZE();
  for (size_t n = 0; n < text.size(); ++n) {
    std::string cut = text.substr(0, n);
    if (cut.find_first_not_of(" ") == std::string::npos) continue;
    EXPECT_NE(ReadError(cut), "no error") << cut;
  }
  // every single-byte change gives an error or a tree that writes and reads again
  for (size_t i = 0; i < text.size(); ++i) {
    for (char c : {'\0', '"', ';', ':', '}', '9', 'a', '\xC3'}) {
      std::string bad = text;
      bad[i] = c;
      auto r = cls_Structure::New();
      try {
        r->UNSERIALIZE(bad);
      } catch (const Error&) { continue; }
      auto again = Read(r->SERIALIZE());
      EXPECT_EQ(again->SERIALIZE(), r->SERIALIZE()) << bad;
    }
  }
}

}  // namespace rykel
