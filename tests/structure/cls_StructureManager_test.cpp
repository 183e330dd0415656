#include "structure/cls_StructureManager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <thread>
#include <vector>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "structure/cls_Structure.h"

#include "../TestSupport.h"

namespace rykel {

namespace {
std::shared_ptr<cls_StructureManager> Fresh() { return std::make_shared<cls_StructureManager>(); }
}  // namespace

TEST(StructureManager, AllocationOrderAndGrowth) {
  auto m = Fresh();
  EXPECT_EQ(m->Alloc(), 1);
  EXPECT_EQ(m->INFO(), "Used: 1, Buffer: 10, Free: 9");
  for (int expected = 10; expected >= 2; --expected) EXPECT_EQ(m->Alloc(), expected);
  EXPECT_EQ(m->Alloc(), 11);
  EXPECT_EQ(m->BUFFER(), 20);
  // a released id is the next one handed out
  m->Release(5);
  EXPECT_EQ(m->USAGEFREE(), 10);
  EXPECT_EQ(m->Alloc(), 5);
  // growth is a tenth of the table rounded half to even: 3425 grows by 342 (not 343) to 3767
  while (m->BUFFER() < 3425) m->Alloc();
  EXPECT_EQ(m->BUFFER(), 3425);
  while (m->USAGEFREE() > 0) m->Alloc();
  EXPECT_EQ(m->Alloc(), 3426);
  EXPECT_EQ(m->BUFFER(), 3767);
  EXPECT_EQ(m->Alloc(), 3767);  // the highest new id comes first
}

TEST(StructureManager, LargeTablesGrowInBigSteps) {
  auto m = Fresh();
  while (m->BUFFER() < 99321) m->Alloc();
  EXPECT_EQ(m->BUFFER(), 99321);
  auto grow = [&m] {  // takes every free slot, then one more: the table grows by one step
    while (m->USAGEFREE() > 0) m->Alloc();
    m->Alloc();
  };
  grow();
  EXPECT_EQ(m->BUFFER(), 104321);  // capped at 5,000 per step below 100,000
  grow();
  EXPECT_EQ(m->BUFFER(), 154321);  // then 50,000 per step
  while (m->BUFFER() < 500000) grow();
  EXPECT_EQ(m->BUFFER(), 504321);
  grow();
  EXPECT_EQ(m->BUFFER(), 1400000);
}

TEST(StructureManager, ReleaseFreesSubtreesButNotSharedNodes) {
  auto m = Fresh();
  int32_t root = m->Alloc();
  m->ITEM_LET(root, "A.B.C", 1);
  m->ITEM_LET(root, "D.E", 2);
  int32_t a = m->ITEM_GET(root, "A").as<cls_Structure>()->SID_GET();
  auto d = m->Ref(CLng(Variant(m->ITEM_GET(root, "D").as<cls_Structure>()->SID_GET())));  // a handle keeps D
  int32_t used = m->USAGE();
  m->Release(root);
  // root, A and B are freed; D survives
  EXPECT_EQ(std::tuple(m->USAGE(), m->REFCOUNT(a), d->ITEM_GET("E").rawLong(), m->REFCOUNT(d->SID_GET())),
            std::tuple(used - 3, 0, 2, 1));
  m->Release(root);  // already free: ignored
  EXPECT_THROW(m->Release(999999), Error);
  // a very deep chain is released without recursion
  int32_t deep = m->Alloc();
  std::string path = "X";
  for (int i = 0; i < 20000; ++i) path += ".X";
  m->ITEM_LET(deep, path, 1);
  m->Release(deep);
}

TEST(StructureHandle, RefConnectIdentical) {
  auto a = cls_Structure::New();
  auto b = cls_Structure::New();
  EXPECT_FALSE(a->IDENTICAL(*b));
  auto a2 = a->Ref();
  EXPECT_TRUE(a->IDENTICAL(*a2));
  auto& m = *a->MANAGER_GET();
  EXPECT_EQ(m.REFCOUNT(a->SID_GET()), 2);
  int32_t bId = b->SID_GET();
  m.AddRef(a->SID_GET());
  b->CONNECT(a->SID_GET());  // releases b's node, takes over the reference
  EXPECT_EQ(std::tuple(m.REFCOUNT(bId), m.REFCOUNT(a->SID_GET())), std::tuple(0, 3));
  // SELF and the chaining operations give this structure: a handle on the same node
  EXPECT_TRUE(a->SELF()->IDENTICAL(*a));
  EXPECT_TRUE(a->INCREASE(1, "N")->IDENTICAL(*a));
  EXPECT_EQ(m.REFCOUNT(a->SID_GET()), 3);  // the handles they gave are gone again
}

TEST(StructureItems, NamesPathsAndCount) {
  auto s = cls_Structure::New();
  s->ITEM_LET("name", "Anna");
  EXPECT_EQ(std::tuple(s->ITEM_GET("NAME").str(), s->ID_GET(1)), std::tuple("Anna", "NAME"));
  s->ITEM_LET("a.b.c", 5);
  EXPECT_EQ(std::tuple(s->ITEM_GET("A.COUNT").rawLong(), s->ITEM_GET("a.b.c").rawLong()), std::tuple(1, 5));
  // a missing name, a path through a scalar, the empty name: the default
  for (const char* missing : {"a.b.missing", "name.x", ""}) EXPECT_EQ(s->ITEM_GET(missing, "d").str(), "d") << missing;
  s->ITEM_LET("name.first", "Anna");  // a scalar in the way becomes a structure
  EXPECT_TRUE(s->ITEM_GET("NAME").as<cls_Structure>());
  s->ITEM_LET("count", 7);  // can be written, not read back by name
  EXPECT_EQ(s->ITEM_GET("COUNT").rawLong(), s->COUNT());
  EXPECT_EQ(std::tuple(s->FIND("name"), s->FIND("NAME")), std::tuple(0, 1));
  EXPECT_EQ(s->ITEM_GET("grüße", "d").str(), "d");
  s->ITEM_LET("grüße", 1);
  EXPECT_EQ(s->ID_GET(s->ITEMINDEX_GET("GRÜßE")), "GRÜßE");
}

// Keys are scanned eight bytes at a time, the tail as overlapping words: a dot at any place of a
// key of any length splits it, whatever its case, and a key without one is a single name, however
// its letters are cased.
TEST(StructureItems, DotsFoundAtEveryPlaceOfEveryLength) {
  for (size_t len = 1; len <= 19; ++len) {
    std::string plain;
    for (size_t i = 0; i < len; ++i) plain += static_cast<char>('a' + i % 26);
    std::string upper = plain;
    for (char& c : upper) c = static_cast<char>(c - 32);
    auto s = cls_Structure::New();
    s->ITEM_LET(plain, 1);
    EXPECT_EQ(s->ITEM_GET(upper).rawLong(), 1) << plain;
    // one lower-case letter anywhere in an upper-case key: still the same name
    for (size_t at = 0; at < len; ++at) {
      std::string mixed = upper;
      mixed[at] = plain[at];
      s->ITEM_LET(mixed, 3);
      EXPECT_EQ(s->ITEM_GET(mixed).rawLong(), 3) << mixed;
      EXPECT_EQ(s->COUNT(), 1) << mixed;
    }
    for (size_t dot = 1; dot + 1 < len; ++dot) {
      std::string path = plain, upperPath = upper;
      path[dot] = upperPath[dot] = '.';
      auto t = cls_Structure::New();
      t->ITEM_LET(path, 2);
      EXPECT_EQ(t->ITEM_GET(upperPath).rawLong(), 2) << path;
      EXPECT_TRUE(t->ITEM_GET(upper.substr(0, dot)).as<cls_Structure>()) << path;
      EXPECT_EQ(t->ITEM_GET(upper, "d").str(), "d") << path;
      t->ITEM_LET(upperPath, 4);  // an upper-case path is a path too
      EXPECT_EQ(t->ITEM_GET(path).rawLong(), 4) << path;
      EXPECT_EQ(t->COUNT(), 1) << path;
    }
  }
  auto s = cls_Structure::New();
  s->ITEM_LET("a", 1);
  EXPECT_EQ(s->ITEM_GET("count").rawLong(), 1);  // lower-case COUNT reads the count too
}

TEST(StructureItems, IndexesBaseAndForce) {
  auto z = cls_Structure::New();
  z->ITEM_LET(0, "zero");
  EXPECT_EQ(std::tuple(z->BASE(), z->HASZERO_GET()), std::tuple(0, true));
  auto one = cls_Structure::New();
  one->ITEM_LET(1, "x");  // index 1 beyond MAX 0 without force: a name "1" at index 1
  EXPECT_EQ(std::tuple(one->BASE(), one->COUNT()), std::tuple(1, one->MAX()));
  auto f = cls_Structure::New();
  f->ITEM_LET(5, "five", true);
  EXPECT_EQ(std::tuple(f->COUNT(), f->ITEM_GET(5).str(), f->ITEM_GET(3, "unused").str()),
            std::tuple(5, "five", "unused"));
  auto n = cls_Structure::New();
  n->ITEM_LET(5, "five");
  // forced, the text "1" is an index
  EXPECT_EQ(std::tuple(n->MAX(), n->ID_GET(1), n->ITEM_GET("5").str(), n->ITEM_GET("1", "no", true).str()),
            std::tuple(1, "5", "five", "five"));
  EXPECT_EQ(n->ADD("six"), 2);
  EXPECT_TRUE(n->ITEM_GET(2).str() == "six" && n->CHANGED_GET());
}

TEST(StructureItems, DefaultsNeverOverwrite) {
  auto s = cls_Structure::New();
  s->ITEM_LET("A", 1);
  s->DEFAULT("A", 2);
  s->DEFAULT("B.C", 3);
  s->DEFAULT("B.C", 4);
  EXPECT_EQ(std::tuple(s->ITEM_GET("A").rawLong(), s->ITEM_GET("B.C").rawLong(), s->DEFAULTMODE_GET()),
            std::tuple(1, 3, false));
}

TEST(StructureItems, ClearAndRemove) {
  auto s = cls_Structure::New();
  s->ITEM_LET(0, "zero");
  s->ITEM_LET("sub.x", 1);
  auto& m = *s->MANAGER_GET();
  int32_t sub = s->ITEM_GET("SUB").as<cls_Structure>()->SID_GET();
  int32_t used = m.USAGE();
  s->CLEAR();
  // the dropped sub-structure stays allocated
  EXPECT_EQ(std::tuple(s->HASZERO_GET(), s->COUNT(), m.USAGE(), m.REFCOUNT(sub), s->VALUEBOUND_GET().str()),
            std::tuple(false, 0, used, 1, ""));

  auto r = cls_Structure::New();
  LetAll(*r, "a", 1, "b.c", 2, "d", 3);
  r->CHANGED_LET(false);
  EXPECT_FALSE(r->REMOVE(0) || r->REMOVE("missing"));
  EXPECT_TRUE(r->CHANGED_GET());
  EXPECT_TRUE(r->REMOVE("B.C"));
  EXPECT_EQ(r->ITEM_GET("B.COUNT").rawLong(), 0);
  EXPECT_TRUE(r->REMOVE(1));
  EXPECT_EQ(std::tuple(r->COUNT(), r->ITEM_GET("D").rawLong()), std::tuple(3, 3));  // the slot stays, unused
  r->ITEM_LET("e", 4);                                                              // reuses the unused slot
  EXPECT_EQ(r->ITEMINDEX_GET("E"), 1);
  EXPECT_TRUE(r->REMOVE("D"));
  EXPECT_EQ(r->MAX(), 2);  // trailing unused slots are dropped
}

// A big node keeps a name index; compare it with a plain map under random writes and removals.
TEST(StructureItems, BigNodesAgreeWithAModel) {
  auto s = cls_Structure::New();
  std::map<std::string, int> model;
  std::vector<Variant> kept;  // keys used again and again (they note their atoms) next to fresh ones
  for (int k = 0; k < 300; ++k) kept.emplace_back("K" + std::to_string(k));
  std::mt19937 rng(7);
  for (int step = 0; step < 20000; ++step) {
    const int k = static_cast<int>(rng() % 300);
    const std::string key = "K" + std::to_string(k);
    const Variant fresh(key);
    const Variant& used = step % 2 ? kept[k] : fresh;
    if (rng() % 3 == 0) {
      EXPECT_EQ(s->REMOVE(used), model.erase(key) == 1);
    } else {
      int v = static_cast<int>(rng() % 1000);
      s->ITEM_LET(used, v);
      model[key] = v;
    }
    if (step % 7 == 0) { EXPECT_EQ(CLng(s->ITEM_GET(kept[k], -1)), model.count(key) ? model[key] : -1) << key; }
  }
  for (int k = 0; k < 300; ++k) {
    std::string key = "k" + std::to_string(k);
    std::string upper = key;
    upper[0] = 'K';
    auto it = model.find(upper);
    const int want = it == model.end() ? -1 : it->second;
    EXPECT_EQ(CLng(s->ITEM_GET(key, -1)), want) << key;
    EXPECT_EQ(CLng(s->ITEM_GET(kept[k], -1)), want) << key;
  }
  int used = 0;
  while (s->INDEX(used + 1) >= 0) ++used;
  EXPECT_EQ(used, static_cast<int>(model.size()));
  // renames keep the index right, duplicates resolve to the first slot
  int32_t first = s->INDEX(1), second = s->INDEX(2);
  std::string name = s->ID_GET(second);
  s->ID_LET(first, name);
  EXPECT_EQ(s->ITEMINDEX_GET(name), first);
  s->REMOVE(first);
  EXPECT_EQ(s->ITEMINDEX_GET(name), second);
}

TEST(StructureItems, BigNodesFindNamesByHash) {
  auto s = cls_Structure::New();
  for (int i = 1; i <= 100; ++i) s->ITEM_LET("k" + std::to_string(i), i);  // indexed from here on
  EXPECT_EQ(std::tuple(CLng(s->ITEM_GET("K57")), CLng(s->ITEM_GET("k57"))), std::tuple(57, 57));
  // a name the manager knows from another node, one it never saw, a prefix of many names, an
  // extension of one
  auto other = cls_Structure::New();
  other->ITEM_LET("onlythere", 1);
  for (const char* missing : {"ONLYTHERE", "nowhere", "K", "K570"})
    EXPECT_EQ(s->ITEM_GET(missing, "d").str(), "d") << missing;
  // non-ASCII names are upper-cased the same way on write and read
  s->ITEM_LET("grüße", "hallo");
  EXPECT_EQ(std::tuple(s->ITEM_GET("GRÜSSE", "d").str(), s->ITEM_GET("Grüße").str()), std::tuple("d", "hallo"));
  // the same name in two slots: the first used one answers, the next takes over when it goes
  s->ITEMDIRECT_LET(150, "k5", -5);
  EXPECT_EQ(CLng(s->ITEM_GET("K5")), 5);
  s->REMOVE("K5");
  EXPECT_EQ(CLng(s->ITEM_GET("K5")), -5);
  s->ITEM_LET("k5", 55);  // writes go to that same slot
  EXPECT_EQ(std::tuple(s->ITEMINDEX_GET("K5"), CLng(s->ITEM_GET(150))), std::tuple(150, 55));
  // slot 0 counts once the node is zero-based
  s->ITEMDIRECT_LET(0, "zero", 0);
  EXPECT_EQ(s->ITEMINDEX_GET("ZERO"), 0);
  s->HASZERO_LET(false);
  EXPECT_EQ(s->ITEM_GET("ZERO", "d").str(), "d");
  s->HASZERO_LET(true);
  EXPECT_EQ(CLng(s->ITEM_GET("ZERO", -1)), 0);
  // a write to slot 0 makes the node zero-based again: slot 0's name is found at once
  for (int way = 0; way < 2; ++way) {
    s->HASZERO_LET(false);
    EXPECT_EQ(s->ITEM_GET("ZERO", "d").str(), "d");  // the index is built without slot 0
    if (way == 0) s->ITEMDIRECT_LET(0, "zero", 1);
    else s->ITEM_LET(0, 2);
    EXPECT_EQ(CLng(s->ITEM_GET("ZERO", -1)), way + 1);
  }
  // paths through big nodes, and shrinking drops the names above
  s->ITEM_LET("k99.sub.x", "deep");
  EXPECT_EQ(s->ITEM_GET("K99.SUB.X").str(), "deep");
  s->RESIZE(50);
  EXPECT_EQ(std::tuple(s->ITEM_GET("K99.SUB.X", "d").str(), s->ITEM_GET("K51", "d").str(), CLng(s->ITEM_GET("K50"))),
            std::tuple("d", "d", 50));
  s->ITEM_LET("k99", 99);
  EXPECT_EQ(s->ITEMINDEX_GET("K99"), 5);  // the highest unused slot is reused first
  // shrinking past two slots of one name leaves no index entry behind for either
  s->ITEMDIRECT_LET(70, "twice", 1);
  s->ITEMDIRECT_LET(75, "twice", 2);
  EXPECT_EQ(CLng(s->ITEM_GET("TWICE")), 1);
  s->RESIZE(60);
  EXPECT_EQ(s->ITEM_GET("TWICE", "d").str(), "d");
  s->ITEM_LET("twice", 3);
  EXPECT_EQ(s->ITEMINDEX_GET("TWICE"), 60);  // again the highest unused slot
}

TEST(StructureItems, InternedNamesAgreeWithTextKeys) {
  // small (scanned) and big (indexed) nodes, mixed case, a dotted name, the empty name
  for (int size : {3, 100}) {
    auto s = cls_Structure::New();
    for (int i = 1; i <= size; ++i) s->ITEM_LET("k" + std::to_string(i), i);
    const ItemName k2 = s->NAME("k2"), big = s->NAME("K2"), dotted = s->NAME("a.b"), fresh = s->NAME("fresh");
    EXPECT_EQ(k2.atom, big.atom);
    EXPECT_EQ(CLng(s->ITEM_GET(k2)), 2);
    // interned, but held by no item
    EXPECT_EQ(std::tuple(s->ITEM_GET(fresh, "d").str(), s->EXISTS_GET(fresh)), std::tuple("d", false));
    s->ITEM_LET(fresh, "new");
    s->ITEM_LET(k2, 22);
    EXPECT_EQ(std::tuple(s->ITEM_GET("FRESH").str(), CLng(s->ITEM_GET("K2")), s->ITEMINDEX_GET("FRESH")),
              std::tuple("new", 22, size + 1));
    s->ITEM_LET(dotted, 1);  // one name, dots included: no path
    EXPECT_EQ(std::tuple(CLng(s->ITEMBYID_GET("A.B")), s->EXISTS_GET("A")), std::tuple(1, false));
    s->DEFAULTMODE_LET(true);
    s->ITEM_LET(k2, -1);  // a default never overwrites
    EXPECT_EQ(CLng(s->ITEM_GET(k2)), 22);
    s->DEFAULTMODE_LET(false);
    s->ITEM_LET(s->NAME(""), "appended");
    EXPECT_EQ(s->ITEM_GET(s->MAX()).str(), "appended");
    s->REMOVE("K2");
    EXPECT_FALSE(s->EXISTS_GET(k2));
  }
}

TEST(StructureItems, ReusedKeysAgreeWithFreshOnes) {
  // A text key remembers what it is after its first use: every later read and write with the same
  // key object must do what a fresh copy of the text does, whatever the key, node or manager.
  const std::vector<std::string> texts = {
      "k1", "K1", "K40", "COUNT", "count", "A.B", "a.b", "", "5", "K1.X", "ÄÖ", "äö", "LONGER_THAN_SIXTEEN_BYTES"};
  std::vector<Variant> kept(texts.begin(), texts.end());
  auto check = [&](const StructurePtr& s) {
    for (int round = 0; round < 2; ++round)
      for (size_t i = 0; i < texts.size(); ++i) {
        const Variant fresh(texts[i]);
        for (bool force : {false, true}) {
          SCOPED_TRACE(texts[i] + (force ? " forced" : "") + " round " + std::to_string(round));
          EXPECT_EQ(CStr(s->ITEM_GET(kept[i], "none", force)), CStr(s->ITEM_GET(fresh, "none", force)));
        }
        EXPECT_EQ(s->EXISTS_GET(kept[i]), s->EXISTS_GET(fresh));
      }
  };
  for (int size : {3, 100}) {
    auto s = cls_Structure::New();
    for (int i = 1; i <= size; ++i) s->ITEM_LET("K" + std::to_string(i), i);
    check(s);
    for (size_t i = 0; i < texts.size(); ++i)
      if (!texts[i].empty()) s->ITEM_LET(kept[i], "w" + std::to_string(i));  // writes by the used keys
    EXPECT_EQ(s->ITEM_GET("K40").str(), "w2");
    EXPECT_EQ(s->ITEM_GET("K1.X").str(), "w9");  // "K1" became a sub-structure
    EXPECT_TRUE(s->ITEM_GET("A").isObject());    // "A.B" is a path
    check(s);
    s->ITEM_LET(kept[1], cls_Structure::New());  // a sub-structure read through a used key
    EXPECT_TRUE(s->ITEM_GET(kept[1]).isObject());
    s->REMOVE(kept[2]);
    check(s);
  }
  // the same key objects on another thread's manager
  std::thread([&] {
    auto s = cls_Structure::New();
    s->ITEM_LET("K1", "other");
    EXPECT_EQ(s->ITEM_GET(kept[0]).str(), "other");
    check(s);
  }).join();
  // back on this thread, then on a manager made after the ones whose atoms a key can note
  auto again = cls_Structure::New();
  for (int i = 1; i <= 50; ++i) again->ITEM_LET("K" + std::to_string(51 - i), i);
  check(again);
  std::vector<std::shared_ptr<cls_StructureManager>> managers;
  for (int i = 0; i < 300; ++i) managers.push_back(std::make_shared<cls_StructureManager>());
  cls_StructureManager& m = *managers.back();
  EXPECT_EQ(m.Names().Serial(), 0u);
  const int32_t id = m.Alloc();
  for (int i = 1; i <= 100; ++i) m.ITEM_LET(id, Variant("K" + std::to_string(i)), i);
  for (int round = 0; round < 2; ++round)
    for (size_t i = 0; i < texts.size(); ++i) {
      SCOPED_TRACE(texts[i] + " without serial");
      EXPECT_EQ(CStr(m.ITEM_GET(id, kept[i], "none")), CStr(m.ITEM_GET(id, Variant(texts[i]), "none")));
      if (!texts[i].empty()) m.ITEM_LET(id, kept[i], static_cast<int>(i));
    }
  EXPECT_EQ(CStr(m.ITEM_GET(id, "K40")), "2");
  m.Release(id);
  check(again);
}

TEST(StructureHandle, PooledHandlesOutliveTheirThread) {
  // a handle made on a thread that has ended still ends cleanly (its pool stays until then)
  StructurePtr kept;
  std::thread([&] {
    std::vector<StructurePtr> many;
    for (int i = 0; i < 1000; ++i) many.push_back(cls_Structure::New());
    kept = many[500];
    kept->ITEM_LET("a.b", 1);
  }).join();
  EXPECT_EQ(kept->COUNT(), 1);
  kept.reset();
  // blocks come back and are reused; handles from New, Ref and sub-structure reads mix freely
  auto s = cls_Structure::New();
  s->ITEM_LET("x.y", 1);
  const int32_t before = s->MANAGER_GET()->HandleCount();
  for (int i = 0; i < 3; ++i) {
    auto sub = s->ITEM_GET("X").as<cls_Structure>();
    auto again = sub->Ref();
    EXPECT_TRUE(again->IDENTICAL(*sub));
  }
  EXPECT_EQ(s->MANAGER_GET()->HandleCount(), before);
}

TEST(StructureHandle, ManagerLivesWhileItHasHandles) {
  // handles point at their manager plainly: the manager stays while one of them does, whoever
  // else let go of it, and ends with the last one (through MANAGER_SET too)
  auto m = Fresh();
  std::weak_ptr<cls_StructureManager> seen = m;
  auto a = m->CONVERT(m->Alloc());
  auto b = a->Ref();
  m.reset();
  EXPECT_EQ(a->MANAGER_GET(), seen.lock());
  a.reset();
  ASSERT_FALSE(seen.expired());
  b->ITEM_LET("x.y", 1);
  EXPECT_EQ(CLng(b->ITEM_GET("X.Y")), 1);
  auto other = Fresh();
  ASSERT_EQ(other->Alloc(), b->SID_GET());  // the node id the handle takes along is one of other's
  b->MANAGER_SET(other);
  EXPECT_TRUE(seen.expired());
  other.reset();
  b->MANAGER_SET(b->MANAGER_GET());  // its only manager again: it must not end on the way
  b->ITEM_LET("z", 2);
  EXPECT_EQ(std::tuple(b->MANAGER_GET()->HandleCount(), CLng(b->ITEM_GET("Z"))), std::tuple(1, 2));
}

TEST(StructureItems, ChildIdsBeyondSixteenBits) {
  auto m = Fresh();
  const int32_t root = m->Alloc();
  const int n = 70000;  // one node each: ids far past 65,535
  for (int i = 0; i < n; ++i) m->ITEM_LET(root, "N" + std::to_string(i) + ".X", i);
  EXPECT_EQ(m->USAGE(), n + 1);
  const auto& items = m->Items(root);
  int32_t highest = 0;
  for (const auto& it : items)
    if (it.used) {
      ASSERT_TRUE(it.isStruct);
      highest = std::max(highest, static_cast<int32_t>(it.child));
    }
  EXPECT_GT(highest, 65535);
  for (int i = 0; i < n; i += 997) EXPECT_EQ(CLng(m->ITEM_GET(root, "n" + std::to_string(i) + ".x")), i);
  m->Release(root);
  EXPECT_EQ(m->USAGE(), 0);
}

TEST(StructureItems, FurtherOperations) {
  auto s = cls_Structure::New();
  s->ITEM_LET("a.b.target", "deep");
  s->ITEM_LET("x", 1.5);
  s->ITEMBYID_LET("dotted.name", "kept whole");
  EXPECT_EQ(s->ITEMBYID_GET("DOTTED.NAME").str(), "kept whole");
  // by id the dotted name is there; as a path DOTTED does not exist
  EXPECT_TRUE(s->EXISTSBYID_GET("dotted.name") && !s->EXISTS_GET("dotted.name"));
  EXPECT_EQ(s->ITEMRECURSIVE_GET("target").str(), "deep");
  EXPECT_TRUE(s->EXISTSVALUE_GET("1.5") && !s->EXISTSVALUE_GET("deep"));  // only this level
  EXPECT_EQ(std::tuple(s->COUNTSUBSTRUCTS(), s->COUNTALL()), std::tuple(1, 5));
  EXPECT_EQ(s->ITEMPARENT_GET("a.b.target").as<cls_Structure>()->ITEM_GET("TARGET").str(), "deep");
  EXPECT_TRUE(s->ITEMPARENT_GET("a.missing.target").isEmpty());
  s->RESIZE(1);
  EXPECT_TRUE(s->COUNT() == 1 && !s->ISEMPTY());
  s->ITEMDIRECT_LET(4, "direct", 9);
  EXPECT_EQ(std::tuple(s->ITEM_GET("DIRECT").rawLong(), s->INDEX(2)), std::tuple(9, 4));
  // a structure stored in itself does not hang the recursive walks
  s->ITEM_LET("self", Variant(s));
  EXPECT_TRUE(s->ITEMRECURSIVE_GET("nowhere", "none").str() == "none" && s->COUNTALL() > 0);
  s->REMOVE("self");
}

TEST(StructureManager, UsageInfo) {
  auto m = Fresh();
  int32_t id = m->Alloc();
  m->ITEM_LET(id, "A", 1);
  m->ITEM_LET(id, "S.X", true);
  std::string info = m->USAGEINFO();
  EXPECT_EQ(info.substr(0, info.find("\r\n")),
            "#1:   Ref: 1  Max: 2  Flags: 0010  Bound: -  Item 0: Unused  Item 1: A = 1  Item 2: S = -> 10");
  EXPECT_NE(info.find("#9: Unused"), std::string::npos);
  m->PERFORMANCE("LOAD", 0.25);
  m->PERFORMANCE("LOAD", 0.75);
  EXPECT_EQ(m->PERFORMANCEINFO(), "LOAD\t2\t1.00\t0.50");
}

}  // namespace rykel
