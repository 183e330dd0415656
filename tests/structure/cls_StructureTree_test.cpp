#include <gtest/gtest.h>

#include <string>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureTree.h"

#include "../CaseTable.h"
#include "../TestSupport.h"

namespace rykel {
namespace {

// "{A=1,B={C=x},[2]=y}": items in index order, unnamed ones by index; "@" marks HASZERO.
std::string Dump(const StructurePtr& s, int depth = 0) {
  if (depth > 20) return "...";
  std::string out = s->HASZERO_GET() ? "@{" : "{";
  bool first = true;
  for (int32_t i = s->BASE(); i <= s->MAX(); ++i) {
    if (!s->EXISTS_GET(Variant(i))) continue;
    if (!first) out += ",";
    first = false;
    std::string name = s->ID_GET(i);
    out += name.empty() ? "[" + std::to_string(i) + "]" : name;
    out += "=";
    Variant v = s->ITEM_GET(Variant(i));
    if (auto sub = v.as<cls_Structure>()) out += Dump(sub, depth + 1);
    else out += CStr(v);
  }
  return out + "}";
}

StructurePtr Make(std::initializer_list<std::pair<const char*, Variant>> items) {
  auto s = cls_Structure::New();
  for (const auto& [k, v] : items) {
    if (*k) s->ITEM_LET(Variant(k), v);
    else s->ADD(v);
  }
  return s;
}

TEST(cls_StructureTree, JoinWalksValuesDepthFirst) {
  auto s = Make({{"a", 1}, {"b.c", 2}, {"b.d", "x"}, {"", 3}});
  auto z = cls_Structure::New();
  z->ITEM_LET(Variant(0), "zero");
  z->ADD("one");
  EXPECT_EQ(std::tuple(s->JOIN(","), s->JOIN(), cls_Structure::New()->JOIN(","), z->JOIN("|")),
            std::tuple("1,2,x,3", "12x3", "", "zero|one"));
}

TEST(cls_StructureTree, MergeOverwritesAppendsAndMergesSubStructures) {
  auto a = Make({{"name", "Anna"}, {"cfg.x", 1}, {"", "first"}});
  auto b = Make({{"name", "Berta"}, {"cfg.y", 2}, {"city", "Köln"}, {"", "second"}});
  a->MERGE(b);
  EXPECT_EQ(Dump(a), "{NAME=Berta,CFG={X=1,Y=2},[3]=first,CITY=Köln,[5]=second}");
  // the merged sub-structures are copies
  b->ITEM_LET("cfg.y", 99);
  EXPECT_EQ(CStr(a->ITEM_GET("CFG.Y")), "2");
  EXPECT_FALSE(a->ITEM_GET("CFG").as<cls_Structure>()->IDENTICAL(*b->ITEM_GET("CFG").as<cls_Structure>()));

  auto p = Make({{"id", 1}});
  p->MERGE(Make({{"id", 2}, {"", "n"}}), "x_");
  EXPECT_EQ(Dump(p), "{ID=1,X_ID=2,[3]=n}");
  auto q = Make({{"id", 1}});
  q->MERGE(Make({{"id", 2}, {"z", 3}}), "new.sub.");
  EXPECT_EQ(Dump(q), "{ID=1,NEW={SUB={ID=2,Z=3}}}");

  auto k = Make({{"", "a"}, {"", "b"}, {"", "c"}});
  k->MERGE(Make({{"", "B"}, {"", "C"}}), "", true);
  EXPECT_EQ(Dump(k), "{[1]=B,[2]=C,[3]=c}");

  auto self = Make({{"a", 1}, {"", "x"}});
  self->MERGE(self, "copy_");
  EXPECT_EQ(Dump(self), "{A=1,[2]=x,COPY_A=1,[4]=x}");
  EXPECT_EQ(FailureNumber([&] { self->MERGE(nullptr); }), err::kObjectRequired);
}

TEST(cls_StructureTree, CopyKeepsSharingAndCyclesCloneSharesNothing) {
  auto shared = Make({{"v", 1}});
  auto s = Make({{"a", Variant(shared)}, {"b", Variant(shared)}, {"n", "x"}});
  s->ITEM_LET("me", Variant(s));  // a structure stored inside itself
  s->HASZERO_LET(true);
  s->VALUEBOUND_LET("bound");

  auto c = s->COPY();
  auto ca = c->ITEM_GET("A").as<cls_Structure>(), cb = c->ITEM_GET("B").as<cls_Structure>();
  // a new node, zero-based as the original; both items on one copy of the shared node; the cycle
  // back to the copy itself; no bound value
  EXPECT_EQ(std::tuple(c->IDENTICAL(*s), c->HASZERO_GET(), ca->IDENTICAL(*cb), ca->IDENTICAL(*shared),
                       c->ITEM_GET("ME").as<cls_Structure>()->IDENTICAL(*c), CStr(c->VALUEBOUND_GET()) == "bound"),
            std::tuple(false, true, true, false, true, false));
  ca->ITEM_LET("v", 2);
  EXPECT_EQ(CStr(shared->ITEM_GET("V")), "1");

  auto k = s->CLONE();
  EXPECT_EQ(std::tuple(CStr(k->VALUEBOUND_GET()),
                       k->ITEM_GET("A").as<cls_Structure>()->IDENTICAL(*k->ITEM_GET("B").as<cls_Structure>()),
                       k->EXISTS_GET("ME"), CStr(k->ITEM_GET("B.V"))),
            std::tuple("bound", false, false, "1"));
  s->REMOVE("ME");  // break the cycle so the nodes can be freed
  c->REMOVE("ME");
}

TEST(cls_StructureTree, DifferenceAndUpdate) {
  auto a = Make({{"same", 1}, {"changed", "x"}, {"only", true}, {"sub.k", 1}, {"sub.m", 2}, {"eq.k", 5}, {"", "n"}});
  auto b = Make({{"same", "1"}, {"changed", "y"}, {"sub.k", 1}, {"sub.m", 3}, {"eq.k", 5}, {"", "n"}, {"extra", 0}});
  EXPECT_EQ(Dump(a->DIFFERENCE(b)), "{CHANGED=x,ONLY=True,SUB={M=2},[6]=n}");
  EXPECT_EQ(Dump(a->DIFFERENCE(a)) + Dump(cls_Structure::New()->DIFFERENCE(a)), "{}{}");

  auto u = Make({{"name", "Anna"}, {"cfg.x", 1}, {"cfg.y", 1}, {"", "a"}});
  u->UPDATE(Make({{"name", "Berta"}, {"cfg.y", 2}, {"cfg.z", 3}, {"new", 1}, {"", "A"}, {"", "B"}}));
  EXPECT_EQ(Dump(u), "{NAME=Berta,CFG={X=1,Y=2},[3]=a}");
  // unnamed items are updated by index when this tree has an unnamed item there
  auto n = Make({{"", "a"}, {"", "b"}});
  n->UPDATE(Make({{"", "A"}}));
  EXPECT_EQ(Dump(n), "{[1]=A,[2]=b}");
}

TEST(cls_StructureTree, FlattenAndRestructureAreInverse) {
  auto s = Make({{"a.b", 1}, {"a.c.d", 2}, {"e", "x"}});
  s->ITEM_GET("A").as<cls_Structure>()->ADD("list");
  auto flat = s->FLATTEN();
  EXPECT_EQ(std::tuple(Dump(flat), CStr(flat->ITEMBYID_GET("A.C.D")), Dump(s->FLATTEN("_"))),
            std::tuple("{A.B=1,A.C.D=2,A.3=list,E=x}", "2", "{A_B=1,A_C_D=2,A_3=list,E=x}"));
  EXPECT_EQ(std::tuple(Dump(flat->RESTRUCTURE()), Dump(s->FLATTEN("_")->RESTRUCTURE("_"))),
            std::tuple(Dump(s), Dump(s)));

  auto into = Make({{"keep", 1}});
  into->FLATADD(Make({{"x.y", 2}}), "/");
  EXPECT_EQ(Dump(into), "{KEEP=1,X/Y=2}");
  EXPECT_EQ(FailureNumber([&] { s->FLATTEN(""); }), err::kInvalidCall);
  // a flat key whose first part is an index: zero-based results keep HASZERO
  auto z = Make({{"0", "zero"}, {"1", "one"}});
  EXPECT_EQ(Dump(z->RESTRUCTURE()), "@{[0]=zero,[1]=one}");
}

TEST(cls_StructureTree, LinearAndIdList) {
  auto s = Make({{"a", 1}, {"b.c", 2}, {"", "x"}});
  EXPECT_EQ(Dump(s->LINEAR()) + Dump(s->IDLIST()), "{[1]=1,[2]=2,[3]=x}{[1]=A,[2]=B,[3]=3}");
  auto ids = Make({{"", "A"}});
  ids->IDLISTADD(s)->IDLISTADD(Make({{"a", 0}, {"z", 0}}));
  EXPECT_EQ(Dump(ids), "{[1]=A,[2]=B,[3]=3,[4]=Z}");
  auto l = Make({{"", 1}});
  l->LINEARADD(l);
  EXPECT_EQ(Dump(l), "{[1]=1,[2]=1}");
}

TEST(cls_StructureTree, MoveSwapRenameKeepNameLookups) {
  auto s = cls_Structure::New();
  for (int i = 1; i <= 50; ++i) s->ITEM_LET(Variant("K" + std::to_string(i)), i);  // big enough for the name index
  s->MOVE(1, 50);
  EXPECT_EQ(std::tuple(s->ID_GET(50), s->ID_GET(1), CLng(s->ITEM_GET("K1")), s->ITEMINDEX_GET("K1")),
            std::tuple("K1", "K2", 1, 50));
  s->MOVE(50, 1)->SWAP(2, 49);
  EXPECT_EQ(std::tuple(s->ITEMINDEX_GET("K2"), s->ITEMINDEX_GET("K49"), CLng(s->ITEM_GET("K49"))),
            std::tuple(49, 2, 49));
  EXPECT_EQ(std::tuple(FailureNumber([&] { s->MOVE(0, 1); }), FailureNumber([&] { s->SWAP(1, 51); })),
            std::tuple(err::kOutOfRange, err::kOutOfRange));

  auto r = Make({{"a.b", 1}, {"c", 2}});
  EXPECT_TRUE(r->RENAME("a.b", "z"));
  EXPECT_EQ(Dump(r), "{A={Z=1},C=2}");
  EXPECT_FALSE(r->RENAME("missing", "y"));
  // a name taken by another item, a path as the new name
  EXPECT_EQ(std::tuple(FailureNumber([&] { r->RENAME("a", "c"); }), FailureNumber([&] { r->RENAME("a", "x.y"); })),
            std::tuple(err::kInvalidCall, err::kInvalidCall));
  EXPECT_TRUE(r->RENAME("a", "a"));
  for (int i = 1; i <= 50; ++i) EXPECT_TRUE(s->RENAME("K" + std::to_string(i), "N" + std::to_string(i)));
  EXPECT_EQ(std::tuple(CLng(s->ITEM_GET("N7")), s->EXISTS_GET("K7")), std::tuple(7, false));
}

TEST(cls_StructureTree, SelectionAndMenu) {
  auto s = Make({{"de", "Deutsch"}, {"en", "English"}, {"", "Other"}});
  EXPECT_EQ(Dump(s->SELECTION("EN")),
            "{[1]={ID=DE,TEXT=Deutsch,SELECTED=False},[2]={ID=EN,TEXT=English,SELECTED=True},"
            "[3]={ID=3,TEXT=Other,SELECTED=False}}");
  auto many = s->SELECTION(Variant(Make({{"", "de"}, {"", "3"}})));
  EXPECT_EQ(s->SELECTION()->JOIN(","), "DE,Deutsch,False,EN,English,False,3,Other,False");
  EXPECT_EQ(many->JOIN(","), "DE,Deutsch,True,EN,English,False,3,Other,True");

  auto m = Make({{"file.text", "Datei"}, {"file.open", "Öffnen"}, {"help", "Hilfe"}});
  EXPECT_EQ(Dump(m->MENU("file.open")),
            "{[1]={ID=FILE,PATH=FILE,TEXT=Datei,LEVEL=1,ACTIVE=True,SELECTED=False,SUB={"
            "[1]={ID=OPEN,PATH=FILE.OPEN,TEXT=Öffnen,LEVEL=2,ACTIVE=True,SELECTED=True}}},"
            "[2]={ID=HELP,PATH=HELP,TEXT=Hilfe,LEVEL=1,ACTIVE=False,SELECTED=False}}");
  EXPECT_EQ(Dump(m->MENU("FIL")).find("ACTIVE=True"), std::string::npos);
}

TEST(cls_StructureTree, IncreaseAndDecreaseKeepTypes) {
  auto s = Make({{"i", int16_t(5)}, {"l", 7}, {"d", 1.5}, {"t", "text"}, {"sub.n", 1}});
  s->INCREASE();
  EXPECT_EQ(std::tuple(s->ITEM_GET("I").type(), Dump(s)),
            std::tuple(VarType::Integer, "{I=6,L=8,D=2.5,T=text,SUB={N=2}}"));
  s->DECREASE(2, "sub");
  EXPECT_EQ(CStr(s->ITEM_GET("SUB.N")), "0");
  s->INCREASE(10, "hits")->INCREASE(1, "hits");
  EXPECT_EQ(std::tuple(s->ITEM_GET("HITS").type(), CLng(s->ITEM_GET("HITS"))), std::tuple(VarType::Long, 11));
  EXPECT_EQ(std::tuple(FailureNumber([&] { s->INCREASE(1, "t"); }), FailureNumber([&] { s->INCREASE("x"); })),
            std::tuple(err::kTypeMismatch, err::kTypeMismatch));

  // the sum's type and value: 16 bits overflow into 32, 32 into a double
  const struct {
    const char* name;
    Variant a, b;
    VarType type;
    const char* text;
  } sums[] = {
      {"Integer overflow", int16_t(32767), 1, VarType::Long, "32768"},
      {"Long overflow", 2147483647, 1, VarType::Double, "2147483648"},
      {"with a fraction", 2, 0.5, VarType::Double, "2.5"},
      {"currency", Variant::Currency(15000), 1, VarType::Currency, "2.5"},
      {"date", Variant::Date(100), 1, VarType::Date, "10.04.1900"},
      {"text", "41", 1, VarType::Long, "42"},
  };
  ForEachRow(sums, [](const auto& r) {
    Variant sum = cls_StructureTree::hAddValue(r.a, r.b);
    EXPECT_EQ(std::pair(sum.type(), CStr(sum)), std::pair(r.type, std::string(r.text)));
  });
}

TEST(cls_StructureTree, CopyClipboardGoesToTheHandler) {
  std::string got;
  cls_StructureTree::SetClipboard([&](const std::string& t) { got = t; });
  auto s = Make({{"a", 1}, {"b.c", ""}, {"", "x"}});
  EXPECT_EQ((std::tuple{s->COPYCLIPBOARD(), got}), std::tuple("A = 1\r\nB.C = \r\n3 = x", "A = 1\r\nB.C = \r\n3 = x"));
  EXPECT_EQ((std::tuple{s->COPYCLIPBOARDNOTEMPTY(), got}), std::tuple("A = 1\r\n3 = x", "A = 1\r\n3 = x"));
  cls_StructureTree::SetClipboard({});
  s->COPYCLIPBOARD();
  EXPECT_EQ(cls_StructureTree::CLIPBOARD_GET(), "A = 1\r\nB.C = \r\n3 = x");
}

TEST(cls_StructureTree, DeepTreesStopAtTheLimitAndCyclesEnd) {
  auto top = cls_Structure::New();
  auto cur = top;
  for (int i = 0; i < cls_StructureTree::MaxDepth() + 5; ++i) {
    auto next = cls_Structure::New();
    cur->ITEM_LET("n", Variant(next));
    cur = next;
  }
  cur->ITEM_LET("leaf", 1);
  for (auto op : std::vector<std::function<void()>>{[&] { top->JOIN(); }, [&] { top->COPY(); }, [&] { top->FLATTEN(); },
                                                    [&] { top->CLONE(); }, [&] { cls_Structure::New()->MERGE(top); }}) {
    try {
      op();
      ADD_FAILURE() << "no error past the depth limit";
    } catch (const Error& e) {
      EXPECT_EQ(e.number, err::kInvalidData);
      EXPECT_NE(e.description.find("nested deeper than 1000 levels"), std::string::npos) << e.description;
    }
  }

  auto c = Make({{"a", 1}});
  c->ITEM_LET("loop.back", Variant(c));
  EXPECT_EQ(std::tuple(c->JOIN(","), Dump(c->FLATTEN()), Dump(c->LINEAR())), std::tuple("1", "{A=1}", "{[1]=1}"));
  c->INCREASE();
  auto other = Make({{"a", 1}});
  other->MERGE(c);
  auto d = c->DIFFERENCE(cls_Structure::New());
  EXPECT_EQ(std::tuple(CLng(c->ITEM_GET("A")), CLng(other->ITEM_GET("A")), CLng(d->ITEM_GET("A"))),
            std::tuple(2, 2, 2));
  EXPECT_TRUE(d->ITEM_GET("LOOP.BACK").as<cls_Structure>()->EXISTS_GET("LOOP"));
  c->REMOVE("LOOP.BACK");
}

}  // namespace
}  // namespace rykel
