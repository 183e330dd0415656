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
  EXPECT_EQ(std::tuple(r->HASZERO_GET(), r->COUNT(), r->ITEM_GET("CUR").rawCurrency(), r->ITEM_GET("TEXT").str(),
                       r->EXISTS_GET("NAME@WITH:SEPARATORS")),
            std::tuple(true, s->COUNT(), -123456789, s->ITEM_GET("TEXT").str(), true));
  EXPECT_EQ((std::vector<VarType>{r->ITEM_GET("INT").type(), r->ITEM_GET("SINGLE").type(), r->ITEM_GET("DATE").type(),
                                  r->ITEM_GET("ERR").type(), r->ITEM_GET("EMPTY").type()}),
            (std::vector<VarType>{VarType::Integer, VarType::Single, VarType::Date, VarType::Error, VarType::Empty}));
  auto sub = r->ITEM_GET("SUB").as<cls_Structure>();
  EXPECT_TRUE(sub->ALLOWNOTHING_GET() && !sub->CHANGED_GET());
  // a node with a bound value (its slots written the general way) reads the same and keeps it
  auto bound = cls_Structure::New();
  bound->VALUEBOUND_LET("kept");
  bound->UNSERIALIZEBINARY(text);
  // UNSERIALIZE hands compact text to the compact reader
  auto u = cls_Structure::New();
  u->UNSERIALIZE(text);
  EXPECT_EQ(std::tuple(Pieces(*bound), bound->VALUEBOUND_GET().str(), Pieces(*u)),
            std::tuple(Pieces(*s), "kept", Pieces(*s)));
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
    EXPECT_EQ(std::tuple(r->HASZERO_GET(), r->MAX(), r->COUNT(), r->ISEMPTY()), std::tuple(true, 0, 1, false))
        << c.what;
  }
  auto r = cls_Structure::New();
  r->UNSERIALIZEBINARY(cases[0].text);
  // the name is indexed as well
  EXPECT_EQ(std::tuple(r->ITEM_GET(0).rawLong(), r->ITEM_GET("A").rawLong()), std::tuple(5, 5));
  r->UNSERIALIZEBINARY(cases[2].text);
  EXPECT_EQ(std::tuple(Pieces(*r), r->ITEM_GET(0).as<cls_Structure>()->ITEM_GET(0).str()),
            std::tuple(Pieces(*outer), "deep"));
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
  auto b = Struct({{"only", "one"}});
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
  EXPECT_EQ(std::tuple(pos, Pieces(*ra), rb->ITEM_GET("ONLY").str()),
            std::tuple(static_cast<int64_t>(buffer.size()), Pieces(*a), "one"));
}

TEST(StructureCompact, BadInputGivesAnErrorAndAnEmptyNode) {
  auto text = Sample()->SERIALIZEBINARY();
  // the first letter repeated, an item announced and none there, a wrong piece count, an index
  // past MAX, no type 12, unused slots without end
  for (const char* bad :
       {"QS1:", "QS1:ABA:0@0@0", "QS1:ab:0@0@0", "QS1:AB:0@0@1", "QS1:AB:0@2@0AB1:3@X", "QS1:AB:0@1@1AB1:3@XABnope",
        "QS1:AB:0@1@1AB2:3@XAB1", "QS1:AB:0@1@1AB1:12@XAB1", "QS1:AB:0@2000000000@0"}) {
    auto r = cls_Structure::New();
    r->ITEM_LET("KEEP", 1);
    std::string source;
    try {
      r->UNSERIALIZEBINARY(bad);
    } catch (const Error& e) { source = e.source + ": " + e.description; }
    EXPECT_EQ(std::tuple(source, r->ISEMPTY()),
              std::tuple("cls_StructureManager.UNSERIALIZEBINARY: Serialized data invalid", true))
        << bad;
  }
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
