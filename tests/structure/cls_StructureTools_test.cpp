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
  EXPECT_EQ(std::tuple(t->CREATE()->COUNT(), t->CREATE({Variant()})->COUNT()), std::tuple(0, 0));

  // pairs of name and value, "" for a numbered item; a name without a value holds Empty
  auto s = t->CREATE({"name", "Anna", "adr.city", "Köln", "", "numbered", "last"});
  EXPECT_EQ(s->SCRIPT(), "NAME = \"Anna\"\r\nADR {\r\n\tCITY = \"Köln\"\r\n}\r\n[3] = \"numbered\"\r\nLAST = \r\n");
  EXPECT_TRUE(t->CREATE({Variant(s)})->IDENTICAL(*s));

  auto c = std::make_shared<cls_Collection>();
  c->Add("Anna", "first");
  c->Add(42);
  c->Add("x", "a.b");
  EXPECT_EQ(t->CREATE({Variant(c)})->SCRIPT(), "FIRST = \"Anna\"\r\n[2] = 42\r\nA {\r\n\tB = \"x\"\r\n}\r\n");

  auto v = std::make_shared<cls_CollectionValues>();
  v->Add("p");
  v->Add(2.5);
  auto n = std::make_shared<cls_CollectionInt>();
  n->Add(7);
  n->Add("8");
  auto fromN = t->CREATE({Variant(n)});
  EXPECT_EQ(fromN->ITEM_GET(Variant(2)).type(), VarType::Long);
  EXPECT_EQ(t->CREATE({Variant(v)})->SCRIPT() + fromN->SCRIPT(), "[1] = \"p\"\r\n[2] = 2.5\r\n[1] = 7\r\n[2] = 8\r\n");

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
  EXPECT_EQ((std::tuple{CLng(t->CREATE({"A=1"})->ITEM_GET("A")), seen}), std::tuple(1, "{STRUCT A=1}"));
  EXPECT_EQ(CStr(t->CREATE({"bad"})->ITEM_GET("ERROR")),
            "Cannot decode the structure literal {STRUCT bad}: unexpected word");
  cls_StructureTools::SetLiteralDecoder(installed);

  EXPECT_EQ(FailureNumber([&] { t->CREATE({Variant(std::static_pointer_cast<Object>(t))}); }), err::kTypeMismatch);
}

TEST(cls_StructureTools, CastAndStructTests) {
  auto t = sys_Global::STRUCT_GET();
  auto s = cls_Structure::New();
  EXPECT_TRUE(t->CAST(Variant(s))->IDENTICAL(*s));
  auto fresh = t->CAST(Variant(5));
  EXPECT_TRUE(!fresh->IDENTICAL(*s) && fresh->COUNT() == 0);
  EXPECT_EQ((std::vector<bool>{t->ISSTRUCT(Variant()), t->ISSTRUCT(Variant(5)), t->ISSTRUCT(Variant("text")),
                               t->ISSTRUCT(Variant(std::make_shared<cls_Collection>())), t->ISSTRUCT(Variant(s))}),
            (std::vector<bool>{false, false, false, false, true}));
  EXPECT_FALSE(t->ISFILLEDSTRUCT(Variant(s)) || t->ISFILLEDSTRUCT(Variant("x")));
  s->ADD(1);
  auto z = cls_Structure::New();
  z->HASZERO_LET(true);  // a zero-based node counts as filled
  EXPECT_TRUE(t->ISFILLEDSTRUCT(Variant(s)) && t->ISFILLEDSTRUCT(Variant(z)));

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
    EXPECT_EQ(std::tuple(t->USAGEMANAGED(), t->USAGEUSED()), std::tuple(managed + 2, handles + 1));
    EXPECT_NE(t->USAGEINFO().find("#" + std::to_string(s->SID_GET()) + ":"), std::string::npos);
  }
  EXPECT_EQ(std::tuple(t->USAGEMANAGED(), t->USAGEUSED(), t->USAGEMANAGED() + t->USAGEFREE()),
            std::tuple(managed, handles, t->USAGEBUFFER()));
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
  EXPECT_EQ(std::tuple(c.Count(), CStr(c.Item("ONE")), CStr(c.Item(Variant(2)))), std::tuple(3, "a", "b"));
  // a key taken (case-blind), a missing key, indexes out of range
  EXPECT_EQ((std::vector<int>{FailureNumber([&] { c.Add("d", "one"); }), FailureNumber([&] { c.Item("missing"); }),
                              FailureNumber([&] { c.Item(Variant(0)); }), FailureNumber([&] { c.Item(Variant(4)); })}),
            (std::vector<int>{457, err::kInvalidCall, err::kOutOfRange, err::kOutOfRange}));
  c.Remove("one");  // later keys move down with their elements
  EXPECT_EQ(std::tuple(c.Count(), CStr(c.Item("Three")), c.Key(2), c.Exists("one")),
            std::tuple(2, "c", "three", false));
  c.Add("again", "one");
  c.Remove(Variant(1));
  EXPECT_EQ(std::tuple(CStr(c.Item("THREE")), CStr(c.Item(Variant(2)))), std::tuple("c", "again"));
  c.Clear();
  EXPECT_TRUE(c.Count() == 0 && !c.Exists("three"));
}

TEST(Collections, ValuesAndWholeNumbers) {
  cls_CollectionValues v;
  v.Add("x");
  v.Add(Variant());
  v.Add(3);
  v.Remove(1);
  EXPECT_TRUE(v.Count() == 2 && v.Item(1).isEmpty());
  EXPECT_EQ(FailureNumber([&] { v.Item(3); }), err::kOutOfRange);

  cls_CollectionInt n;
  n.Add(1.5);  // rounds half to even
  n.Add("7");
  n.Add(7);
  EXPECT_TRUE(n.Item(1) == 2 && n.Exists(7));
  n.Remove(2);
  EXPECT_TRUE(n.Exists(7));  // the second 7 is still there
  n.Remove(2);
  EXPECT_FALSE(n.Exists(7));
  EXPECT_EQ((std::tuple{FailureNumber([&] { n.Add("seven"); }), FailureNumber([&] { n.Add(5e10); }), n.Count()}),
            std::tuple(err::kTypeMismatch, err::kOverflow, 1));
}

}  // namespace
}  // namespace rykel
