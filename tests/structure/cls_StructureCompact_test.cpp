#include "structure/cls_StructureCompact.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "frame/Error.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureTools.h"

#include "../TestSupport.h"

namespace rykel {

namespace {

// The pieces describe the whole tree (types, flags, slots, names) and hold no random separator,
// so two trees are equal exactly when their pieces are.
std::vector<std::string> Pieces(cls_Structure& s) {
  std::vector<std::string> out;
  int64_t at = 0;
  s.SERIALIZEBINARYBUFFER(out, at);
  return out;
}

StructurePtr Sample() {
  auto s = cls_Structure::New();
  s->ITEM_LET(0, "zero");  // HASZERO
  LetAll(*s, "int", int16_t{-12}, "long", 70000, "single", 0.1f, "double", 0.1, "inf", -INFINITY, "cur",
         Variant::Currency(-123456789), "date", Variant::Date(45000.75), "text",
         "QS1:ABC@x:y\r\nGrüße ABCDEFGHIJKLMNOPQRSTUVWXYZ", "blank", "", "null", Variant::Null(), "empty", Variant(),
         "err", Variant::ErrorValue(13), "yes", true, "name@with:separators", 1);
  s->ADD("numbered");                              // empty name
  s->ITEM_LET(s->MAX() + 3, "after a gap", true);  // unused slots
  s->ITEM_LET("sub.deeper.leaf", "x");
  s->ITEM_LET("sub.list", Variant(cls_Structure::New()));
  auto sub = s->ITEM_GET("SUB").as<cls_Structure>();
  sub->ALLOWNOTHING_LET(true);
  sub->CHANGED_LET(false);
  return s;
}

}  // namespace

TEST(StructureCompact, RoundTripKeepsEverything) {
  auto s = Sample();
  const std::string text = s->SERIALIZEBINARY();
  ASSERT_EQ(text.substr(0, 4), "QS1:");
  auto r = cls_Structure::New();
  r->UNSERIALIZEBINARY(text);
  EXPECT_EQ(Pieces(*r), Pieces(*s));
  EXPECT_TRUE(r->HASZERO_GET());
  EXPECT_EQ(r->COUNT(), s->COUNT());
  EXPECT_EQ(r->ITEM_GET("INT").type(), VarType::Integer);
  EXPECT_EQ(r->ITEM_GET("SINGLE").type(), VarType::Single);
  EXPECT_EQ(r->ITEM_GET("CUR").rawCurrency(), -123456789);
  EXPECT_EQ(r->ITEM_GET("DATE").type(), VarType::Date);
  EXPECT_EQ(r->ITEM_GET("ERR").type(), VarType::Error);
  EXPECT_EQ(r->ITEM_GET("EMPTY").type(), VarType::Empty);
  EXPECT_EQ(r->ITEM_GET("TEXT").str(), s->ITEM_GET("TEXT").str());
  EXPECT_TRUE(r->ITEM_GET("SUB").as<cls_Structure>()->ALLOWNOTHING_GET());
  EXPECT_FALSE(r->ITEM_GET("SUB").as<cls_Structure>()->CHANGED_GET());
  EXPECT_TRUE(r->EXISTS_GET("NAME@WITH:SEPARATORS"));
  // a node with a bound value (its slots written the general way) reads the same and keeps it
  auto bound = cls_Structure::New();
  bound->VALUEBOUND_LET("kept");
  bound->UNSERIALIZEBINARY(text);
  EXPECT_EQ(Pieces(*bound), Pieces(*s));
  EXPECT_EQ(bound->VALUEBOUND_GET().str(), "kept");
  // UNSERIALIZE hands compact text to the compact reader
  auto u = cls_Structure::New();
  u->UNSERIALIZE(text);
  EXPECT_EQ(Pieces(*u), Pieces(*s));
  // lookups by name work on a big node read back (its name index is built afresh)
  auto big = cls_Structure::New();
  for (int i = 0; i < 500; ++i) big->ITEM_LET("K" + std::to_string(i), i);
  auto b2 = cls_Structure::New();
  b2->UNSERIALIZEBINARY(big->SERIALIZEBINARY());
  EXPECT_EQ(b2->ITEM_GET("K377").rawLong(), 377);
}

// A zero-based node whose only item sits in slot 0 has MAX 0: the reader is handed no slot count
// to size the node with, so naming and filling slot 0 must make the slot itself.
TEST(StructureCompact, OnlyItemInSlotZero) {
  struct Case {
    const char* what;
    std::string text;
  };
  auto inner = cls_Structure::New();
  inner->ITEM_LET(0, "deep");
  auto outer = cls_Structure::New();
  outer->ITEM_LET(0, Variant(inner));  // slot 0 holds a sub-structure whose slot 0 is its only item
  auto scalar = cls_Structure::New();
  scalar->ITEM_LET(0, 5);
  const Case cases[] = {
      {"written by hand", "QS1:AB:2@0@1AB0:3@AAB5"},
      {"scalar round trip", scalar->SERIALIZEBINARY()},
      {"sub-structure round trip", outer->SERIALIZEBINARY()},
  };
  for (const Case& c : cases) {
    auto r = cls_Structure::New();
    r->UNSERIALIZEBINARY(c.text);
    EXPECT_TRUE(r->HASZERO_GET()) << c.what;
    EXPECT_EQ(r->MAX(), 0) << c.what;
    EXPECT_EQ(r->COUNT(), 1) << c.what;
    EXPECT_FALSE(r->ISEMPTY()) << c.what;
  }
  auto r = cls_Structure::New();
  r->UNSERIALIZEBINARY(cases[0].text);
  EXPECT_EQ(r->ITEM_GET(0).rawLong(), 5);
  EXPECT_EQ(r->ITEM_GET("A").rawLong(), 5);  // the name is indexed as well
  r->UNSERIALIZEBINARY(cases[2].text);
  EXPECT_EQ(Pieces(*r), Pieces(*outer));
  EXPECT_EQ(r->ITEM_GET(0).as<cls_Structure>()->ITEM_GET(0).str(), "deep");
}

TEST(StructureCompact, SeparatorNeverOccursInAPiece) {
  auto s = Sample();
  for (int round = 0; round < 50; ++round) {
    const std::string text = s->SERIALIZEBINARY();
    const size_t colon = text.find(':', 4);
    const std::string sep = text.substr(4, colon - 4);
    ASSERT_GE(sep.size(), 6u);
    EXPECT_EQ(sep.find(sep[0], 1), std::string::npos);
    for (const auto& p : Pieces(*s)) EXPECT_EQ(p.find(sep), std::string::npos);
    // make the next round harder: the separator just used becomes part of the data
    s->ITEM_LET("SEP" + std::to_string(round), sep + sep.substr(0, 3));
  }
  auto r = cls_Structure::New();
  r->UNSERIALIZEBINARY(s->SERIALIZEBINARY());
  EXPECT_EQ(Pieces(*r), Pieces(*s));
}

TEST(StructureCompact, BufferAndCount) {
  auto a = Sample();
  auto b = cls_Structure::New();
  b->ITEM_LET("only", "one");
  EXPECT_EQ(b->SERIALIZEBINARYCOUNT(), 3);  // header, item, value
  std::vector<std::string> buffer;
  int64_t at = 0;
  a->SERIALIZEBINARYBUFFER(buffer, at);
  EXPECT_EQ(at, a->SERIALIZEBINARYCOUNT());
  b->SERIALIZEBINARYBUFFER(buffer, at);
  EXPECT_EQ(static_cast<int64_t>(buffer.size()), a->SERIALIZEBINARYCOUNT() + 3);
  auto ra = cls_Structure::New();
  auto rb = cls_Structure::New();
  int64_t pos = 0;
  ra->UNSERIALIZEBINARYBUFFER(buffer, pos);
  rb->UNSERIALIZEBINARYBUFFER(buffer, pos);
  EXPECT_EQ(pos, static_cast<int64_t>(buffer.size()));
  EXPECT_EQ(Pieces(*ra), Pieces(*a));
  EXPECT_EQ(rb->ITEM_GET("ONLY").str(), "one");
}

TEST(StructureCompact, BadInputGivesAnErrorAndAnEmptyNode) {
  auto text = Sample()->SERIALIZEBINARY();
  auto expectBad = [](const std::string& t) {
    auto r = cls_Structure::New();
    r->ITEM_LET("KEEP", 1);
    try {
      r->UNSERIALIZEBINARY(t);
    } catch (const Error& e) {
      EXPECT_EQ(e.source, "cls_StructureManager.UNSERIALIZEBINARY") << t;
      EXPECT_EQ(e.description, "Serialized data invalid");
      EXPECT_TRUE(r->ISEMPTY());
      return;
    }
    ADD_FAILURE() << "no error for " << t;
  };
  expectBad("QS1:");
  expectBad("QS1:ABA:0@0@0");  // first letter repeated
  expectBad("QS1:ab:0@0@0");
  expectBad("QS1:AB:0@0@1");         // an item announced, none there
  expectBad("QS1:AB:0@2@0AB1:3@X");  // piece count wrong
  expectBad("QS1:AB:0@1@1AB1:3@XABnope");
  expectBad("QS1:AB:0@1@1AB2:3@XAB1");   // index past MAX
  expectBad("QS1:AB:0@1@1AB1:12@XAB1");  // no type 12
  expectBad("QS1:AB:0@2000000000@0");    // unused slots without end
  // every cut of a real text fails cleanly (the full text reads)
  for (size_t n = 0; n + 1 < text.size(); n += 7) {
    auto r = cls_Structure::New();
    try {
      r->UNSERIALIZEBINARY(text.substr(0, n));
    } catch (const Error&) { continue; }
    // a cut inside the last string value still reads: that is the only piece without an end
    EXPECT_GT(n, text.rfind(':')) << n;
  }
}

}  // namespace rykel
