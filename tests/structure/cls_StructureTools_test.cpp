#include <gtest/gtest.h>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/cls_Collection.h"
#include "frame/cls_CollectionInt.h"
#include "frame/cls_CollectionValues.h"
#include "host/sys_Global.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureTools.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

TEST(cls_StructureTools, CreatePairsCollectionsAndLiterals) {
  auto t = sys_Global::STRUCT_GET();
  EXPECT_EQ(t->CREATE()->COUNT(), 0);
  EXPECT_EQ(t->CREATE({Variant()})->COUNT(), 0);

  auto s = t->CREATE({"name", "Anna", "adr.city", "Köln", "", "numbered", "last"});
  EXPECT_EQ(CStr(s->ITEM_GET("NAME")), "Anna");
  EXPECT_EQ(CStr(s->ITEM_GET("ADR.CITY")), "Köln");
  EXPECT_EQ(CStr(s->ITEM_GET(Variant(3))), "numbered");
  EXPECT_TRUE(s->EXISTS_GET("LAST"));
  EXPECT_TRUE(s->ITEM_GET("LAST").isEmpty());

  EXPECT_TRUE(t->CREATE({Variant(s)})->IDENTICAL(*s));

  auto c = std::make_shared<cls_Collection>();
  c->Add("Anna", "first");
  c->Add(42);
  c->Add("x", "a.b");
  auto fromC = t->CREATE({Variant(c)});
  EXPECT_EQ(CStr(fromC->ITEM_GET("FIRST")), "Anna");
  EXPECT_EQ(CLng(fromC->ITEM_GET(Variant(2))), 42);
  EXPECT_EQ(CStr(fromC->ITEM_GET("A.B")), "x");

  auto v = std::make_shared<cls_CollectionValues>();
  v->Add("p");
  v->Add(2.5);
  EXPECT_EQ(t->CREATE({Variant(v)})->JOIN(","), "p,2.5");
  auto n = std::make_shared<cls_CollectionInt>();
  n->Add(7);
  n->Add("8");
  auto fromN = t->CREATE({Variant(n)});
  EXPECT_EQ(fromN->ITEM_GET(Variant(2)).type(), VarType::Long);
  EXPECT_EQ(fromN->JOIN(","), "7,8");

  // a plain value is a structure literal: without an interpreter it gives an ERROR item
  const auto installed = cls_StructureTools::hLiteralDecoder();  // the interpreter's
  cls_StructureTools::SetLiteralDecoder({});
  auto lit = t->CREATE({"A=1"});
  EXPECT_EQ(CStr(lit->ITEM_GET("ERROR")),
            "Cannot decode the structure literal {STRUCT A=1}: no template interpreter is installed");
  std::string seen;
  cls_StructureTools::SetLiteralDecoder([&](const std::string& text) {
    seen = text;
    if (text == "{STRUCT bad}") Raise(err::kInvalidData, "unexpected word");
    auto r = cls_Structure::New();
    r->ITEM_LET("A", 1);
    return r;
  });
  EXPECT_EQ(CLng(t->CREATE({"A=1"})->ITEM_GET("A")), 1);
  EXPECT_EQ(seen, "{STRUCT A=1}");
  EXPECT_EQ(CStr(t->CREATE({"bad"})->ITEM_GET("ERROR")),
            "Cannot decode the structure literal {STRUCT bad}: unexpected word");
  cls_StructureTools::SetLiteralDecoder(installed);

  try {
    t->CREATE({Variant(std::static_pointer_cast<Object>(t))});
    ADD_FAILURE() << "CREATE of a tools object did not raise";
  } catch (const Error& e) { EXPECT_EQ(e.number, err::kTypeMismatch); }
}

TEST(cls_StructureTools, CastAndStructTests) {
  auto t = sys_Global::STRUCT_GET();
  auto s = cls_Structure::New();
  EXPECT_TRUE(t->CAST(Variant(s))->IDENTICAL(*s));
  auto fresh = t->CAST(Variant(5));
  EXPECT_FALSE(fresh->IDENTICAL(*s));
  EXPECT_EQ(fresh->COUNT(), 0);
  EXPECT_FALSE(t->ISSTRUCT(Variant()));
  EXPECT_FALSE(t->ISSTRUCT(Variant(5)));
  EXPECT_FALSE(t->ISSTRUCT(Variant("text")));
  EXPECT_FALSE(t->ISSTRUCT(Variant(std::make_shared<cls_Collection>())));
  EXPECT_TRUE(t->ISSTRUCT(Variant(s)));
  EXPECT_FALSE(t->ISFILLEDSTRUCT(Variant(s)));
  EXPECT_FALSE(t->ISFILLEDSTRUCT(Variant("x")));
  s->ADD(1);
  EXPECT_TRUE(t->ISFILLEDSTRUCT(Variant(s)));
  auto z = cls_Structure::New();
  z->HASZERO_LET(true);
  EXPECT_TRUE(t->ISFILLEDSTRUCT(Variant(z)));

  Variant target;
  t->VARSET(target, Variant(s));
  EXPECT_TRUE(target.as<cls_Structure>()->IDENTICAL(*s));
  t->VARSET(target, Variant("v"));
  EXPECT_EQ(CStr(target), "v");
}

TEST(cls_StructureTools, UsageFollowsTheManager) {
  auto t = sys_Global::STRUCT_GET();
  const int32_t managed = t->USAGEMANAGED(), handles = t->USAGEUSED();
  EXPECT_EQ(t->USAGEMANAGED() + t->USAGEFREE(), t->USAGEBUFFER());
  {
    auto s = cls_Structure::New();
    s->ITEM_LET("a.b", 1);  // a handle and two nodes
    EXPECT_EQ(t->USAGEMANAGED(), managed + 2);
    EXPECT_EQ(t->USAGEUSED(), handles + 1);
    EXPECT_NE(t->USAGEINFO().find("#" + std::to_string(s->SID_GET()) + ":"), std::string::npos);
  }
  EXPECT_EQ(t->USAGEMANAGED(), managed);
  EXPECT_EQ(t->USAGEUSED(), handles);
  EXPECT_EQ(t->USAGEMANAGED() + t->USAGEFREE(), t->USAGEBUFFER());
}

TEST(Collections, CreatableByNameWithTheirTypeNames) {
  for (const char* name : {"cls_Collection", "cls_CollectionValues", "cls_CollectionInt"}) {
    EXPECT_EQ(CreateObject(name)->TypeName(), name);
    EXPECT_EQ(CreateObject(std::string("RyKEL.") + name)->TypeName(), name);
  }
}

TEST(Collections, KeyedCollection) {
  cls_Collection c;
  c.Add("a", "One");
  c.Add("b");
  c.Add("c", "three");
  EXPECT_EQ(c.Count(), 3);
  EXPECT_EQ(CStr(c.Item("ONE")), "a");
  EXPECT_EQ(CStr(c.Item(Variant(2))), "b");
  EXPECT_EQ(FailureNumber([&] { c.Add("d", "one"); }), 457);
  EXPECT_EQ(FailureNumber([&] { c.Item("missing"); }), err::kInvalidCall);
  EXPECT_EQ(FailureNumber([&] { c.Item(Variant(0)); }), err::kOutOfRange);
  EXPECT_EQ(FailureNumber([&] { c.Item(Variant(4)); }), err::kOutOfRange);
  c.Remove("one");  // later keys move down with their elements
  EXPECT_EQ(c.Count(), 2);
  EXPECT_EQ(CStr(c.Item("Three")), "c");
  EXPECT_EQ(c.Key(2), "three");
  EXPECT_FALSE(c.Exists("one"));
  c.Add("again", "one");
  c.Remove(Variant(1));
  EXPECT_EQ(CStr(c.Item("THREE")), "c");
  EXPECT_EQ(CStr(c.Item(Variant(2))), "again");
  c.Clear();
  EXPECT_EQ(c.Count(), 0);
  EXPECT_FALSE(c.Exists("three"));
}

TEST(Collections, ValuesAndWholeNumbers) {
  cls_CollectionValues v;
  v.Add("x");
  v.Add(Variant());
  v.Add(3);
  v.Remove(1);
  EXPECT_EQ(v.Count(), 2);
  EXPECT_TRUE(v.Item(1).isEmpty());
  EXPECT_EQ(FailureNumber([&] { v.Item(3); }), err::kOutOfRange);

  cls_CollectionInt n;
  n.Add(1.5);  // rounds half to even
  n.Add("7");
  n.Add(7);
  EXPECT_EQ(n.Item(1), 2);
  EXPECT_TRUE(n.Exists(7));
  n.Remove(2);
  EXPECT_TRUE(n.Exists(7));
  n.Remove(2);
  EXPECT_FALSE(n.Exists(7));
  EXPECT_EQ(FailureNumber([&] { n.Add("seven"); }), err::kTypeMismatch);
  EXPECT_EQ(FailureNumber([&] { n.Add(5e10); }), err::kOverflow);
  EXPECT_EQ(n.Count(), 1);
}

}  // namespace
}  // namespace rykel
