#include "structure/cls_StructureManager.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <unordered_set>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "structure/NameHash.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureSerializer.h"

namespace rykel {

namespace {

constexpr const char* kClass = "cls_StructureManager";
constexpr size_t kIndexMinSlots = 33;  // nodes up to this size are scanned, bigger ones indexed
static_assert(sizeof(cls_StructureManager::Item) == 24, "an item is a value, a name atom and a child id");

// Keys are upper-cased once per call; already upper-case ASCII keys are used as they are, short
// ASCII keys are upper-cased on the stack. Eight bytes are checked at a time, and the same pass
// notes whether the key is a dotted path, so a plain name skips the path walk.
struct UpperKey {
  std::string_view view;
  std::string buf;
  bool dotted = false;
  char small[48];
  static constexpr uint64_t kOnes = 0x0101010101010101ull, kHigh = 0x8080808080808080ull;
  // High bit set in each byte of w (all bytes below 0x80) that is a lower-case ASCII letter.
  static uint64_t hLowerMask(uint64_t w) {
    return (w + kOnes * (0x80 - 'a')) & ~(w + kOnes * (0x80 - 'z' - 1)) & kHigh;
  }
  // Nonzero when some byte of w is a "." (exact for "any", whatever the other bytes hold).
  static uint64_t hDotMask(uint64_t w) {
    const uint64_t x = w ^ (kOnes * '.');
    return (x - kOnes) & ~x & kHigh;
  }
  explicit UpperKey(std::string_view s) {
    const char* p = s.data();
    const size_t n = s.size();
    uint64_t lower = 0, high = 0, dots = 0;
    auto scan = [&](uint64_t w) {
      high |= w & kHigh;
      lower |= hLowerMask(w & ~kHigh);
      dots |= hDotMask(w);
    };
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
      uint64_t w;
      std::memcpy(&w, p + i, 8);
      scan(w);
    }
    // The tail is read as words that overlap bytes already seen, or with zero bytes, which are
    // neither lower-case, high nor a dot: no byte-by-byte loop and no read past the end.
    if (i < n) {
      uint64_t w = 0;
      if (n >= 8) {
        std::memcpy(&w, p + n - 8, 8);
      } else {
        w = ShortTextWord(p, n);
      }
      scan(w);
    }
    dotted = dots != 0;
    if (!lower && !high) {
      view = s;
      return;
    }
    if (!high && n <= sizeof small) {
      for (size_t k = 0; k < n; ++k) {
        const char c = p[k];
        small[k] = (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c;
      }
      view = std::string_view(small, n);
      return;
    }
    buf = text::UCase(s);
    view = buf;
  }
};

// What a text key is, remembered on the text (Variant::keyHint) so that a key used again is neither
// scanned nor hashed again. A name that stands as it is (no lower-case letter, nothing beyond
// ASCII, no "." and not the reserved COUNT) is kPlainKey with the name's hash until its atom is
// known, then kAtomKey with the atom and the serial of the name table it belongs to: a read by such
// a key goes straight to the node's index, without the name table. kUpperWalk marks an upper-case
// key that takes the general walk (a path, COUNT), kOtherKey the rest (upper-cased on every use).
constexpr uint32_t kPlainKey = 0x80000000u, kUpperWalk = 1, kOtherKey = 2;
constexpr uint32_t kAtomKey = 0x40000000u;  // | serial << kAtomBits | atom
constexpr int kAtomBits = 22;
constexpr uint32_t kAtomMask = (1u << kAtomBits) - 1;

[[gnu::noinline]] uint32_t hKeyHintFirst(const Variant& pKey, std::string_view key) {
  const UpperKey k(key);
  uint32_t hint = kOtherKey;
  if (!key.empty() && k.view.data() == key.data())
    hint = k.dotted || key == "COUNT" ? kUpperWalk : kPlainKey | NameHash(key);
  pKey.keyHintSet(hint);
  return hint;
}

// The length of a path's first part: up to the first "." or the end.
inline size_t hPartLength(std::string_view s) {
  const void* dot = s.empty() ? nullptr : std::memchr(s.data(), '.', s.size());
  return dot ? static_cast<size_t>(static_cast<const char*>(dot) - s.data()) : s.size();
}

bool hIsNumberKey(const Variant& k) { return k.isNumber(); }

int64_t hKeyIndex(const Variant& k) {
  double d = std::nearbyint(CDbl(k));
  if (d < -2147483648.0 || d > 2147483647.0) Raise(err::kOverflow, "Overflow");
  return static_cast<int64_t>(d);
}

}  // namespace

// ---- the name index of a big node: name atom -> first used slot with that name ----------------
// Atoms are small numbers handed out in turn; a multiplicative hash spreads them, so a node whose
// names were interned one after another finds almost every one at its first probe. Linear probing,
// at most 80% full.
struct cls_StructureManager::NameIndex {
  struct Entry {
    uint32_t atom;
    int32_t slot;  // -1: empty
  };
  std::vector<Entry> table;
  int shift;  // 64 - log2(table.size())
  uint32_t count = 0;
  bool dups = false;  // some name is held by more than one used slot
  struct Miss {
    uint32_t atom = 0;  // 0: none noted
    size_t at = 0;
  } miss;  // the last FindAtom that found nothing, while the table stays as it was

  explicit NameIndex(size_t cap) : table(cap, Entry{0, -1}), shift(64 - std::countr_zero(cap)) {}

  size_t Home(uint32_t atom) const { return static_cast<size_t>((atom * 0x9E3779B97F4A7C15ull) >> shift); }
  // Where the atom's entry is, or the empty entry where its probe ends: the one probe loop of
  // every operation.
  size_t Probe(uint32_t atom) const {
    const size_t mask = table.size() - 1;
    size_t i = Home(atom);
    while (table[i].slot >= 0 && table[i].atom != atom) i = (i + 1) & mask;
    return i;
  }
  // The slot of the name, or -1.
  int32_t Find(uint32_t atom) const { return table[Probe(atom)].slot; }
  // Find, noting where a miss ended: the Insert of that atom that usually follows (a write of a
  // name new to the node) takes that entry without probing again.
  int32_t FindAtom(uint32_t atom) {
    const size_t i = Probe(atom);
    if (table[i].slot < 0) miss = {atom, i};
    return table[i].slot;
  }
  void Insert(uint32_t atom, int32_t slot) {
    if ((count + 1) * 5 > table.size() * 4) hRehash(table.size() * 2);
    size_t i;
    if (miss.atom == atom && atom != 0) {  // the table is unchanged since that probe
      i = miss.at;
    } else {
      i = Probe(atom);
    }
    miss.atom = 0;
    Entry& e = table[i];
    if (e.slot >= 0) {  // the name is indexed already: the first slot stays the entry
      if (e.slot != slot) dups = true;
      if (slot < e.slot) e.slot = slot;
      return;
    }
    e = {atom, slot};
    ++count;
  }
  void Erase(uint32_t atom, int32_t slot) {
    miss.atom = 0;
    const size_t mask = table.size() - 1;
    size_t i = Probe(atom);
    if (table[i].slot != slot) return;  // not indexed: a later duplicate
    // backward-shift deletion keeps every probe chain unbroken
    size_t j = i;
    for (;;) {
      table[i].slot = -1;
      for (;;) {
        j = (j + 1) & mask;
        if (table[j].slot < 0) {
          --count;
          return;
        }
        const size_t home = Home(table[j].atom);
        const bool between = (i <= j) ? (i < home && home <= j) : (i < home || home <= j);
        if (!between) break;
      }
      table[i] = table[j];
      i = j;
    }
  }
  void hRehash(size_t cap) {
    miss.atom = 0;
    std::vector<Entry> old(cap, Entry{0, -1});
    old.swap(table);
    shift = 64 - std::countr_zero(cap);
    const size_t mask = cap - 1;
    for (const Entry& e : old) {
      if (e.slot < 0) continue;
      size_t i = Home(e.atom);
      while (table[i].slot >= 0) i = (i + 1) & mask;
      table[i] = e;
    }
  }
};

struct cls_StructureManager::Extra {
  Variant boundValue;
  ObjectPtr boundObject;
  std::unique_ptr<NameIndex> index;
};

cls_StructureManager::cls_StructureManager()
    : atomTag_(names_.Serial() ? (kAtomKey >> kAtomBits) | names_.Serial() : ~0u), pool_(new HandlePool) {
  nodes_.resize(1);
  free_.assign(101, 0);
}

cls_StructureManager::~cls_StructureManager() {
  cls_StructureSerializer::Forget(this);
  pool_->Disown();
}

// ---- node store ------------------------------------------------------------------------------

void cls_StructureManager::hBadNode(int32_t pID) {
  Raise(err::kOutOfRange, "Subscript out of range (node " + std::to_string(pID) + ")");
}

void cls_StructureManager::hTooManySlots() { Raise(err::kOutOfRange, "Subscript out of range"); }

bool cls_StructureManager::Valid(int32_t pID) const {
  return pID > 0 && static_cast<size_t>(pID) < nodes_.size() && nodes_[pID].live;
}

int32_t cls_StructureManager::hAllocSlow() {
  return Guard(kClass, "Alloc", [&] {
    int32_t id = 0;
    if (freeCount_ > 0) {
      id = free_[freeCount_];
      free_[freeCount_] = 0;
      --freeCount_;
    }
    if (id == 0) {
      int32_t u = static_cast<int32_t>(nodes_.size()) - 1;
      int32_t s;
      if (u < 100000) s = std::clamp(static_cast<int32_t>(std::nearbyint(u / 10.0)), 10, 5000);
      else if (u < 500000) s = 50000;
      else s = std::max(1400000 - u, 100000);
      // A slot keeps a child's id in 30 bits: the node table never grows past that.
      constexpr int32_t kMaxNodeId = (1 << 29) - 1;
      if (u >= kMaxNodeId) Raise(err::kOutOfMemory, "Out of memory (more than 536870911 structure nodes)");
      id = u + 1;
      int32_t newUpper = std::min(u + s, kMaxNodeId);
      nodes_.resize(static_cast<size_t>(newUpper) + 1);
      int32_t freeUpper = static_cast<int32_t>(free_.size()) - 1;
      int32_t n = (s - 1) - (freeUpper - freeCount_);
      if (n > 0) {
        n = std::max({n, newUpper / 100, 10});
        free_.resize(static_cast<size_t>(freeUpper + n) + 1, 0);
      }
      for (int32_t k = id + 1; k <= newUpper; ++k) free_[++freeCount_] = k;
    }
    hLive(id);
    return id;
  });
}

void cls_StructureManager::AddRef(int32_t pID) {
  Node& n = hNode(pID);
  n.refs = static_cast<int16_t>(static_cast<uint16_t>(n.refs) + 1);
}

void cls_StructureManager::ReleaseNoThrow(int32_t pID) noexcept {
  try {
    Release(pID);
  } catch (...) {
    // a handle's end must not throw; the error was already reported by the error policy
  }
}

void cls_StructureManager::hLastHandleEnded() {
  std::shared_ptr<cls_StructureManager> last = std::move(keep_);  // may end the manager on return
}

void cls_StructureManager::hReleaseSlow(int32_t pID) {
  if (terminated_) return;
  if (pID <= 0 || static_cast<size_t>(pID) >= nodes_.size()) [[unlikely]] {
    GuardVoid(kClass, "Release", [&] { hBadNode(pID); });
    return;
  }
  Node& n = nodes_[pID];
  if (n.refs <= 0) return;
  n.refs = static_cast<int16_t>(n.refs - 1);
  if (n.refs >= 1) return;
  // most released handles held an empty node: nothing below it to walk, and with room on the
  // free list nothing can fail
  if (n.items.empty() && !n.extra && freeCount_ + 1 < static_cast<int32_t>(free_.size())) [[likely]]
    return hPushFree(pID);
  GuardVoid(kClass, "Release", [&] { hFree(pID); });
}

// Empties a node whose count reached zero and puts its id on the free list.
void cls_StructureManager::hPushFree(int32_t id) {
  Node& done = nodes_[id];
  if (done.items.capacity()) std::vector<Item>().swap(done.items);  // most released nodes held no items
  hMarkFreed(done);
  ++freeCount_;
  if (freeCount_ > static_cast<int32_t>(free_.size()) - 1) {
    int32_t grow = std::clamp(static_cast<int32_t>(nodes_.size() - 1) / 100, 10, 5000);
    free_.resize(free_.size() + grow, 0);
  }
  free_[freeCount_] = id;
  // extra goes last: a bound object's destructor may release other nodes of this manager
  if (done.extra) [[unlikely]]
    std::unique_ptr<Extra>(std::move(done.extra)).reset();
}

// Frees a node whose count reached zero, and depth first in index order every sub-structure
// whose count reaches zero with it. An explicit stack: deep trees cannot overflow the C stack.
void cls_StructureManager::hFree(int32_t pID) {
  nodes_[pID].flags &= static_cast<uint8_t>(~kDefaultMode);
  bool leaf = true;
  for (const Item& it : nodes_[pID].items) leaf = leaf && !(it.used && it.isStruct);
  if (leaf) return hPushFree(pID);
  struct Frame {
    int32_t id;
    size_t next;
  };
  std::vector<Frame> stack{{pID, 0}};
  while (!stack.empty()) {
    Frame& f = stack.back();
    Node& n = nodes_[f.id];
    bool descended = false;
    while (f.next < n.items.size()) {
      const Item& it = n.items[f.next++];
      if (!it.used || !it.isStruct) continue;
      int32_t c = it.child;
      if (c <= 0 || static_cast<size_t>(c) >= nodes_.size()) continue;
      Node& child = nodes_[c];
      if (child.refs <= 0) continue;
      child.refs = static_cast<int16_t>(child.refs - 1);
      if (child.refs >= 1) continue;
      child.flags &= static_cast<uint8_t>(~kDefaultMode);
      stack.push_back({c, 0});
      descended = true;
      break;
    }
    if (descended) continue;
    int32_t id = f.id;
    stack.pop_back();
    hPushFree(id);
  }
}

StructurePtr cls_StructureManager::Ref(int32_t pID) {
  return Guard(kClass, "Ref", [&] {
    AddRef(pID);
    return cls_Structure::Attach(*this, pID);
  });
}

StructurePtr cls_StructureManager::CONVERT(int32_t pID) {
  return Guard(kClass, "CONVERT", [&] { return cls_Structure::Attach(*this, pID); });
}

void cls_StructureManager::Initialize(int32_t pID) { CLEAR(pID); }

void cls_StructureManager::Terminate() { terminated_ = true; }

int32_t cls_StructureManager::BUFFER() const { return static_cast<int32_t>(nodes_.size()) - 1; }
int32_t cls_StructureManager::USAGE() const { return BUFFER() - freeCount_; }
int32_t cls_StructureManager::USAGEFREE() const { return freeCount_; }

std::string cls_StructureManager::INFO() const {
  return "Used: " + std::to_string(USAGE()) + ", Buffer: " + std::to_string(BUFFER()) +
         ", Free: " + std::to_string(USAGEFREE());
}

std::string cls_StructureManager::USAGEINFO() const {
  std::unordered_set<int32_t> freeIds(free_.begin() + 1, free_.begin() + 1 + freeCount_);
  std::string out;
  for (int32_t id = 1; id <= BUFFER(); ++id) {
    if (id > 1) out += "\r\n";
    out += "#" + std::to_string(id) + ": ";
    const Node& n = nodes_[id];
    if (freeIds.count(id) || !n.live) {
      out += "Unused";
      continue;
    }
    out += "  Ref: " + std::to_string(n.refs) + "  Max: " + std::to_string(hMax(n)) + "  Flags: ";
    for (uint8_t f : {kDefaultMode, kHasZero, kChanged, kAllowNothing}) out += (n.flags & f) ? '1' : '0';
    out += "  Bound: ";
    out += (n.extra && n.extra->boundObject) ? "1" : "-";
    const std::vector<Item>& items = n.items.empty() ? Items(id) : n.items;
    for (size_t i = 0; i < items.size(); ++i) {
      const Item& it = items[i];
      out += "  Item " + std::to_string(i) + ": ";
      if (!it.used) out += "Unused";
      else if (it.isStruct) out.append(names_.Name(it.name)).append(" = -> ").append(std::to_string(it.child));
      else out.append(names_.Name(it.name)).append(" = ").append(CStr(it.value));
    }
  }
  return out;
}

void cls_StructureManager::PERFORMANCE(std::string_view pKey, double pSeconds) {
  auto it = performance_.find(pKey);
  if (it == performance_.end()) it = performance_.emplace(std::string(pKey), Timing{}).first;
  it->second.calls++;
  it->second.seconds += pSeconds;
}

std::string cls_StructureManager::PERFORMANCEINFO() const {
  std::string out;
  char buf[64];
  for (const auto& [key, t] : performance_) {
    if (!out.empty()) out += "\r\n";
    std::snprintf(buf, sizeof buf, "\t%lld\t%.2f\t%.2f", static_cast<long long>(t.calls), t.seconds,
                  t.calls ? t.seconds / t.calls : 0.0);
    out += key + buf;
  }
  return out;
}

int16_t cls_StructureManager::REFCOUNT(int32_t pID) const {
  if (pID <= 0 || static_cast<size_t>(pID) >= nodes_.size()) return 0;
  return nodes_[pID].refs;
}

size_t cls_StructureManager::BytesUsed() const {
  size_t b = nodes_.capacity() * sizeof(Node) + free_.capacity() * sizeof(int32_t) + names_.BytesUsed();
  for (const Node& n : nodes_) {
    b += n.items.capacity() * sizeof(Item);
    if (n.extra) {
      b += sizeof(Extra);
      if (n.extra->index) b += sizeof(NameIndex) + n.extra->index->table.capacity() * sizeof(NameIndex::Entry);
    }
    for (const Item& it : n.items)
      if (it.value.isString() && it.value.str().size() > 0) b += 8 + it.value.str().size() + 1;
  }
  return b;
}

// ---- flags and bound values ------------------------------------------------------------------

cls_StructureManager::Extra& cls_StructureManager::hExtra(Node& n) {
  if (!n.extra) {
    n.extra = std::make_unique<Extra>();
    if (n.boundKind == 1) n.extra->boundValue = Variant(int16_t{0});
    else if (n.boundKind == 2) n.extra->boundValue = Variant("");
  }
  return *n.extra;
}

Variant cls_StructureManager::VALUEBOUND_GET(int32_t pID) const {
  const Node& n = hNode(pID);
  if (n.extra) return n.extra->boundValue;
  if (n.boundKind == 1) return Variant(int16_t{0});
  if (n.boundKind == 2) return Variant("");
  return {};
}

void cls_StructureManager::VALUEBOUND_LET(int32_t pID, const Variant& v) { hExtra(hNode(pID)).boundValue = v; }

ObjectPtr cls_StructureManager::OBJECTBOUND_GET(int32_t pID) const {
  const Node& n = hNode(pID);
  return n.extra ? n.extra->boundObject : nullptr;
}

void cls_StructureManager::OBJECTBOUND_SET(int32_t pID, ObjectPtr o) { hExtra(hNode(pID)).boundObject = std::move(o); }

// ---- slots and the name index ----------------------------------------------------------------

// The name index of a node big enough to need one (made on first use), or null.
cls_StructureManager::NameIndex* cls_StructureManager::hIndexOf(Node& n) {
  if (n.items.size() < kIndexMinSlots) return nullptr;
  Extra& x = hExtra(n);
  if (!x.index) {
    size_t cap = 64;
    while (cap < n.items.size() * 2) cap *= 2;
    x.index = std::make_unique<NameIndex>(cap);
    const size_t base = (n.flags & kHasZero) ? 0 : 1;
    for (size_t i = base; i < n.items.size(); ++i)
      if (n.items[i].used && n.items[i].name) x.index->Insert(n.items[i].name, static_cast<int32_t>(i));
  }
  return x.index.get();
}

int32_t cls_StructureManager::hScan(const Node& n, uint32_t atom) const {
  for (size_t i = (n.flags & kHasZero) ? 0 : 1; i < n.items.size(); ++i)
    if (n.items[i].used && n.items[i].name == atom) return static_cast<int32_t>(i);
  return -1;
}

int32_t cls_StructureManager::hFindSlot(int32_t pID, uint32_t atom) { return hFindIn(hNode(pID), atom); }

int32_t cls_StructureManager::hFindIn(Node& n, uint32_t atom) {
  if (atom == 0) return -1;
  NameIndex* ix = n.extra && n.extra->index ? n.extra->index.get() : hIndexOf(n);
  if (ix) return ix->FindAtom(atom);
  return hScan(n, atom);
}

int32_t cls_StructureManager::hFindName(Node& n, std::string_view upper, uint32_t hash) {
  const uint32_t atom = upper.empty() ? 0 : names_.Find(upper, hash);
  return atom ? hFindIn(n, atom) : -1;  // a name never interned is in no node
}

void cls_StructureManager::hIndexInsert(Node& n, uint32_t atom, int32_t slot) {
  if (atom && n.extra && n.extra->index) n.extra->index->Insert(atom, slot);
}

void cls_StructureManager::hIndexErase(Node& n, uint32_t atom, int32_t slot) {
  if (!atom || !n.extra || !n.extra->index) return;
  NameIndex& ix = *n.extra->index;
  ix.Erase(atom, slot);
  if (ix.dups) {  // another slot may carry the name: the first one after this becomes the entry
    for (size_t i = slot + 1; i < n.items.size(); ++i)
      if (n.items[i].used && n.items[i].name == atom) {
        ix.Insert(atom, static_cast<int32_t>(i));
        break;
      }
  }
}

void cls_StructureManager::hDropIndex(Node& n) {
  if (n.extra) n.extra->index.reset();
}

int32_t cls_StructureManager::hLastUnused(const Node& n) const {
  if (n.unused > 0)
    for (size_t i = n.items.size() - 1; i >= 1; --i)
      if (!n.items[i].used) return static_cast<int32_t>(i);
  if ((n.flags & kHasZero) && (n.items.empty() || !n.items[0].used)) return 0;
  return -1;
}

void cls_StructureManager::hResize(Node& n, int32_t newMax) {
  int32_t oldMax = hMax(n);
  if (newMax < 0) newMax = 0;
  if (newMax < oldMax) {
    for (int32_t i = oldMax; i > newMax; --i) {
      Item& it = n.items[i];
      if (it.used) {
        hIndexErase(n, it.name, i);
        it.used = false;  // an erase of the same name below must not take this slot back into the index
        if (it.isStruct) Release(it.child);
      } else {
        --n.unused;
      }
    }
  } else {
    n.unused += newMax - oldMax;
  }
  // growing by one slot is the common case (items written in order): append, not the general resize
  if (static_cast<size_t>(newMax) == n.items.size()) n.items.emplace_back();
  else n.items.resize(static_cast<size_t>(newMax) + 1);
}

inline Variant cls_StructureManager::hValueOf(const Item& it) {
  if (it.isStruct) [[unlikely]]
    return Variant(Ref(it.child));
  return it.value;
}

void cls_StructureManager::hStore(int32_t pID, int32_t slot, const Variant& pValue) {
  int32_t newChild = 0;
  if (pValue.isObject()) {
    if (auto s = pValue.as<cls_Structure>()) {
      if (s->MANAGER_GET().get() != this) Raise(err::kInvalidCall, "The structure belongs to another thread's manager");
      newChild = s->SID_GET();
      AddRef(newChild);
    }
  }
  Node& n = hNode(pID);
  if (static_cast<size_t>(slot) >= n.items.size()) hResize(n, slot);
  hFill(n, slot, newChild ? Variant() : Variant(pValue), newChild);
}

// ---- slot writing ----------------------------------------------------------------------------

bool cls_StructureManager::IndexText(std::string_view s, int64_t& out) {
  if (s.empty() || s.size() > 11) return false;
  size_t i = s[0] == '-' ? 1 : 0;
  if (i == s.size()) return false;
  int64_t v = 0;
  for (; i < s.size(); ++i) {
    if (s[i] < '0' || s[i] > '9') return false;
    v = v * 10 + (s[i] - '0');
  }
  out = s[0] == '-' ? -v : v;
  return true;
}

int32_t cls_StructureManager::FindSlot(int32_t pID, uint32_t pAtom) { return hFindSlot(pID, pAtom); }
int32_t cls_StructureManager::FindSlot(int32_t pID, ItemName pName) { return hFindSlot(pID, pName.atom); }

void cls_StructureManager::MoveSlots(int32_t pFrom, int32_t pTo) {
  Node& f = hNode(pFrom);
  Node& t = hNode(pTo);
  t.items.swap(f.items);
  f.items.clear();  // slot 0 is implied
  t.unused = f.unused;
  f.unused = 0;
  while (t.items.size() > 1 && !t.items.back().used) {  // as if written item by item
    t.items.pop_back();
    --t.unused;
  }
  t.flags |= static_cast<uint8_t>((f.flags & kHasZero) | kChanged);
  f.flags = static_cast<uint8_t>((f.flags & ~kHasZero) | kChanged);
  hDropIndex(f);  // both name indexes are rebuilt on the next lookup
  hDropIndex(t);
}

int32_t cls_StructureManager::SlotFor(int32_t pID, uint32_t pAtom) {
  const int32_t slot = pAtom ? hFindSlot(pID, pAtom) : -1;
  return slot >= 0 ? slot : hNewSlot(hNode(pID), pAtom);
}

int32_t cls_StructureManager::hNewSlot(Node& n, uint32_t atom) {
  int32_t slot = hLastUnused(n);
  if (slot < 0) slot = hMax(n) + 1;
  if (static_cast<size_t>(slot) >= n.items.size()) hResize(n, slot);
  n.items[slot].name = atom;
  return slot;
}

int32_t cls_StructureManager::SlotAppend(int32_t pID) {
  Node& n = hNode(pID);
  const int32_t max = hMax(n);
  if (max == std::numeric_limits<int32_t>::max() - 1) Raise(err::kOutOfRange, "Subscript out of range");
  hResize(n, max + 1);
  return max + 1;
}

void cls_StructureManager::hSetItem(int32_t pID, int32_t pSlot, uint32_t pAtom, Variant&& pValue, int32_t pChild) {
  SetName(pID, pSlot, pAtom);
  if (pChild) SetChild(pID, pSlot, pChild);
  else SetValue(pID, pSlot, std::move(pValue));
}

// Slots moved: the name index is rebuilt on the next lookup, the unused count recounted.
void cls_StructureManager::hAfterReorder(Node& n) {
  hDropIndex(n);
  n.unused = 0;
  for (size_t i = 1; i < n.items.size(); ++i) n.unused += !n.items[i].used;
  n.flags |= kChanged;
}

void cls_StructureManager::MoveSlot(int32_t pID, int32_t pFrom, int32_t pTo) {
  Node& n = hNode(pID);
  auto first = n.items.begin();
  if (pFrom < pTo) std::rotate(first + pFrom, first + pFrom + 1, first + pTo + 1);
  else if (pFrom > pTo) std::rotate(first + pTo, first + pFrom, first + pFrom + 1);
  hAfterReorder(n);
}

void cls_StructureManager::SwapSlots(int32_t pID, int32_t pA, int32_t pB) {
  Node& n = hNode(pID);
  std::swap(n.items[pA], n.items[pB]);
  hAfterReorder(n);
}

void cls_StructureManager::Empty(int32_t pID) {
  Node& n = hNode(pID);
  std::vector<int32_t> children;
  for (const Item& it : n.items)
    if (it.used && it.isStruct) children.push_back(it.child);
  n.items.clear();  // slot 0 is implied
  n.unused = 0;
  n.flags = static_cast<uint8_t>((n.flags & ~(kHasZero | kDefaultMode)) | kChanged);
  hDropIndex(n);
  for (int32_t c : children) Release(c);
}

// ---- items: reading --------------------------------------------------------------------------

Variant cls_StructureManager::hGetIndex(int32_t pID, int64_t index, const Variant& pDefault) {
  Node& n = hNode(pID);
  int64_t base = (n.flags & kHasZero) ? 0 : 1;
  if (index < base || index >= static_cast<int64_t>(n.items.size())) return pDefault;
  const Item& it = n.items[index];
  if (!it.used) return pDefault;
  return hValueOf(it);
}

Variant cls_StructureManager::hGet(int32_t pID, std::string_view upper, bool pForceIndex, const Variant& pDefault) {
  if (upper.empty()) return pDefault;
  int32_t node = pID;
  std::string_view rest = upper;
  for (;;) {
    const size_t len = hPartLength(rest);
    const std::string_view part = rest.substr(0, len);
    const bool last = len == rest.size();
    if (part == "COUNT") return Variant(COUNT(node));
    int64_t idx;
    if (last && pForceIndex && IndexText(part, idx)) return hGetIndex(node, idx, pDefault);
    int32_t slot = hFindName(hNode(node), part, NameHash(part));
    if (slot < 0) return pDefault;
    const Item& it = nodes_[node].items[slot];
    if (last) return hValueOf(it);
    if (!it.isStruct) return pDefault;
    node = it.child;
    rest = rest.substr(len + 1);
  }
}

Variant cls_StructureManager::ITEM_GET(int32_t pID, const Variant& pKey, const Variant& pDefault, bool pForceIndex) {
  // The common read: a key that carries its atom in this manager's names (its hint says so) in a
  // live node that is small or indexed already. Nothing on this way can fail, so it needs neither
  // the error guard nor the general way's frame.
  if (const uint32_t hint = pKey.keyHint(); (hint >> kAtomBits) == atomTag_ && !pForceIndex && hIsLive(pID))
      [[likely]] {
    const Node& n = nodes_[pID];
    const NameIndex* ix = n.extra ? n.extra->index.get() : nullptr;
    if (ix || n.items.size() < kIndexMinSlots) [[likely]] {
      const uint32_t atom = hint & kAtomMask;
      const int32_t slot = ix ? ix->Find(atom) : hScan(n, atom);
      if (slot < 0) return pDefault;
      if (!n.items[slot].isStruct) [[likely]]
        return n.items[slot].value;
    }
  }
  return hItemGet(pID, pKey, pDefault, pForceIndex);
}

uint32_t cls_StructureManager::hKeyHint(const Variant& pKey, std::string_view pText) const {
  const uint32_t hint = pKey.keyHint();
  // an atom noted by another manager says nothing here: the key is worked out again
  const bool foreign = (hint & (kPlainKey | kAtomKey)) == kAtomKey && (hint >> kAtomBits) != atomTag_;
  return hint && !foreign ? hint : hKeyHintFirst(pKey, pText);
}

uint32_t cls_StructureManager::hNoteAtom(const Variant& pKey, uint32_t pAtom) const {
  if (pAtom && pAtom <= kAtomMask && atomTag_ != ~0u) pKey.keyHintSet((atomTag_ << kAtomBits) | pAtom);
  return pAtom;
}

Variant cls_StructureManager::hItemGet(int32_t pID, const Variant& pKey, const Variant& pDefault, bool pForceIndex) {
  return Guard(kClass, "ITEM.GET", [&]() -> Variant {
    if (hIsNumberKey(pKey)) return hGetIndex(pID, hKeyIndex(pKey), pDefault);
    if (pKey.isString()) {
      // a plain name: one lookup in this node, no path walk
      auto byAtom = [&](uint32_t atom) {
        const int32_t slot = hFindIn(hNode(pID), atom);
        return slot < 0 ? pDefault : hValueOf(nodes_[pID].items[slot]);
      };
      const std::string_view key = pKey.str();
      const uint32_t hint = hKeyHint(pKey, key);
      if (hint == kOtherKey) {
        UpperKey k(key);
        if (!k.dotted && !pForceIndex && !k.view.empty() && k.view != "COUNT")
          return byAtom(names_.Find(k.view, NameHash(k.view)));
        return hGet(pID, k.view, pForceIndex, pDefault);
      }
      if (hint == kUpperWalk || pForceIndex) return hGet(pID, key, pForceIndex, pDefault);
      if (hint & kPlainKey) return byAtom(hNoteAtom(pKey, names_.Find(key, hint & ~kPlainKey)));
      return byAtom(hint & kAtomMask);
    }
    if (pKey.isEmpty() || pKey.isNull() || pKey.isObject()) return pDefault;
    const std::string keyText = CStr(pKey);  // UpperKey may keep a view of it
    UpperKey k(keyText);
    return hGet(pID, k.view, pForceIndex, pDefault);
  });
}

Variant cls_StructureManager::ItemGetDirect_GET(int32_t pID, std::string_view pKeyUpper, int pKeyType,
                                                const Variant& pDefault, bool pForceIndex) {
  return Guard(kClass, "ItemGetDirect.GET", [&]() -> Variant {
    int64_t idx;
    if (pKeyType == 1 && IndexText(pKeyUpper, idx)) return hGetIndex(pID, idx, pDefault);
    return hGet(pID, pKeyUpper, pForceIndex, pDefault);
  });
}

// ---- items by interned name ------------------------------------------------------------------

ItemName cls_StructureManager::NAME(std::string_view pName) {
  return Guard(kClass, "NAME", [&] {
    UpperKey k(pName);
    const uint32_t hash = NameHash(k.view);
    return ItemName{names_.Intern(k.view, hash), hash};
  });
}

Variant cls_StructureManager::ITEM_GET(int32_t pID, ItemName pName, const Variant& pDefault) {
  return Guard(kClass, "ITEM.GET", [&]() -> Variant {
    const int32_t slot = hFindSlot(pID, pName.atom);
    return slot < 0 ? pDefault : hValueOf(nodes_[pID].items[slot]);
  });
}

void cls_StructureManager::ITEM_LET(int32_t pID, ItemName pName, const Variant& pValue) {
  GuardVoid(kClass, "ITEM.LET", [&] {
    Node& n = hNode(pID);
    n.flags |= kChanged;
    if (!pName.atom) {
      ADD(pID, pValue);
      return;
    }
    int32_t slot = hFindSlot(pID, pName.atom);
    if (slot >= 0 && (n.flags & kDefaultMode)) return;
    if (slot < 0) slot = hNewSlot(n, pName.atom);
    hStore(pID, slot, pValue);
  });
}

bool cls_StructureManager::EXISTS_GET(int32_t pID, ItemName pName) {
  return Guard(kClass, "EXISTS.GET", [&] { return hFindSlot(pID, pName.atom) >= 0; });
}

// ---- items: writing --------------------------------------------------------------------------

void cls_StructureManager::hLetIndex(int32_t pID, int64_t index, const Variant& pValue, bool pForceIndex) {
  Node& n = hNode(pID);
  n.flags |= kChanged;
  if (index == 0) hMakeZeroBased(n);
  const bool dm = n.flags & kDefaultMode;
  const int64_t base = (n.flags & kHasZero) ? 0 : 1;
  const int64_t max = hMax(n);
  if (index >= base && index <= max) {
    if (dm && n.items[index].used) return;
    hStore(pID, static_cast<int32_t>(index), pValue);
    return;
  }
  if (index > max && pForceIndex) {
    if (dm) Raise(err::kOutOfRange, "Subscript out of range");
    hResize(n, static_cast<int32_t>(index));
    hStore(pID, static_cast<int32_t>(index), pValue);
    return;
  }
  hLet(pID, std::to_string(index), pValue, false);
}

uint32_t cls_StructureManager::hLet(int32_t pID, std::string_view upper, const Variant& pValue, bool pForceIndex,
                                    bool pDotted, const uint32_t* pHash, uint32_t pAtom) {
  int32_t node = pID;
  std::string_view rest = upper;
  bool asDefault = false;
  for (;;) {
    Node* n = &hNode(node);  // the one check of the node per step: the rest works on *n
    n->flags |= kChanged;
    const bool dm = asDefault || (n->flags & kDefaultMode);
    const size_t len = pDotted ? hPartLength(rest) : rest.size();
    const std::string_view part = rest.substr(0, len);
    const bool last = len == rest.size();
    int64_t idx;
    if (last && pForceIndex && IndexText(part, idx)) {
      if (asDefault) {
        DEFAULT(node, Variant(static_cast<double>(idx)), pValue);
      } else {
        hLetIndex(node, idx, pValue, true);
      }
      return 0;
    }
    if (part.empty()) {
      if (!last) Raise(err::kInvalidCall, "Invalid key path '" + std::string(upper) + "'");
      if (!dm) ADD(node, pValue);
      return 0;
    }
    uint32_t atom = last ? pAtom : 0;
    int32_t slot;
    if (atom) {
      slot = hFindIn(*n, atom);
    } else {
      // a name new to the table cannot be in any node yet: no search needed
      const size_t known = names_.Count();
      atom = names_.Intern(part, pHash && last ? *pHash : NameHash(part));
      slot = names_.Count() > known ? -1 : hFindIn(*n, atom);
    }
    if (slot >= 0 && last && dm) return atom;  // a default never overwrites
    if (last && !pValue.isObject()) [[likely]] {
      // a plain value: no sub-structure to link, so the slot is filled here directly
      if (slot < 0 && n->unused == 0 && !((n->flags & kHasZero) && (n->items.empty() || !n->items[0].used))) {
        // no unused slot to take: the new item goes after MAX, built in place
        if (n->items.empty()) n->items.resize(1);  // slot 0 is implied in a fresh node
        if (n->items.size() >= static_cast<size_t>(std::numeric_limits<int32_t>::max())) [[unlikely]]
          hTooManySlots();
        const auto added = static_cast<int32_t>(n->items.size());
        n->items.emplace_back(Item{Variant(pValue), atom, 0, true, false});
        if (n->extra) hIndexInsert(*n, atom, added);
        return atom;
      }
      if (slot < 0) slot = hNewSlot(*n, atom);
      hFill(*n, slot, Variant(pValue), 0);
      return atom;
    }
    if (slot < 0) slot = hNewSlot(*n, atom);
    if (last) {
      hStore(node, slot, pValue);
      return atom;
    }
    if (!n->items[slot].used || !n->items[slot].isStruct) {
      int32_t child = Alloc();  // may move the node table
      n = &hNode(node);
      hFill(*n, slot, Variant(), child);
    }
    node = n->items[slot].child;
    rest = rest.substr(len + 1);
    asDefault = dm;
  }
}

void cls_StructureManager::ITEM_LET(int32_t pID, const Variant& pKey, const Variant& pValue, bool pForceIndex) {
  GuardVoid(kClass, "ITEM.LET", [&] {
    if (hIsNumberKey(pKey)) {
      hLetIndex(pID, hKeyIndex(pKey), pValue, pForceIndex);
    } else if (pKey.isString()) {
      const std::string_view key = pKey.str();
      const uint32_t hint = hKeyHint(pKey, key);
      if (hint & kPlainKey) {
        const uint32_t hash = hint & ~kPlainKey;
        hNoteAtom(pKey, hLet(pID, key, pValue, pForceIndex, false, &hash));
        return;
      }
      if (hint == kUpperWalk) {
        hLet(pID, key, pValue, pForceIndex);
        return;
      }
      if (hint != kOtherKey) {
        hLet(pID, key, pValue, pForceIndex, false, nullptr, hint & kAtomMask);
        return;
      }
      UpperKey k(key);
      hLet(pID, k.view, pValue, pForceIndex, k.dotted);
    } else {
      const std::string keyText = CStr(pKey);  // UpperKey may keep a view of it
      UpperKey k(keyText);
      hLet(pID, k.view, pValue, pForceIndex);
    }
  });
}

void cls_StructureManager::DEFAULT(int32_t pID, const Variant& pKey, const Variant& pValue) {
  GuardVoid(kClass, "DEFAULT", [&] {
    bool before = DEFAULTMODE_GET(pID);
    DEFAULTMODE_LET(pID, true);
    try {
      ITEM_LET(pID, pKey, pValue);
    } catch (...) {
      if (Valid(pID)) DEFAULTMODE_LET(pID, before);
      throw;
    }
    DEFAULTMODE_LET(pID, before);
  });
}

int32_t cls_StructureManager::COUNT(int32_t pID) const { return MAX(pID) - BASE(pID) + 1; }

int32_t cls_StructureManager::ADD(int32_t pID, const Variant& pValue) {
  return Guard(kClass, "ADD", [&] {
    int32_t index = MAX(pID) + 1;
    hLetIndex(pID, index, pValue, true);
    CHANGED_LET(pID, true);
    return index;
  });
}

int32_t cls_StructureManager::FIND(int32_t pID, std::string_view pName) const {
  return Guard(kClass, "FIND", [&] {
    auto* self = const_cast<cls_StructureManager*>(this);
    uint32_t atom = names_.Find(pName);
    if (!atom) return 0;
    int32_t slot = self->hFindSlot(pID, atom);
    return slot < 0 ? 0 : slot;
  });
}

void cls_StructureManager::CLEAR(int32_t pID) {
  GuardVoid(kClass, "CLEAR", [&] {
    Node& n = hNode(pID);
    n.flags = 0;
    n.items.clear();
    n.unused = 0;
    if (n.extra) {
      n.extra->index.reset();
      n.extra->boundValue = Variant("");
    } else {
      n.boundKind = 2;
    }
  });
}

void cls_StructureManager::hRemove(int32_t pID, int32_t slot) {
  Node& n = hNode(pID);
  Item& it = n.items[slot];
  hIndexErase(n, it.name, slot);
  int32_t child = it.isStruct ? it.child : 0;
  it = Item{};
  if (slot >= 1) ++n.unused;
  // trailing unused slots are dropped, so removing the last item shortens the node
  while (n.items.size() > 1 && !n.items.back().used) {
    n.items.pop_back();
    --n.unused;
  }
  if (child) Release(child);
}

bool cls_StructureManager::REMOVE(int32_t pID, const Variant& pKey) {
  return Guard(kClass, "REMOVE", [&] {
    CHANGED_LET(pID, true);
    if (!pKey.isString()) {
      if (pKey.isEmpty() || pKey.isNull() || pKey.isObject()) return false;
      int64_t idx = hKeyIndex(pKey);
      if (idx < 1 || idx > MAX(pID) || !nodes_[pID].items[idx].used) return false;
      hRemove(pID, static_cast<int32_t>(idx));
      return true;
    }
    UpperKey k(pKey.str());
    int32_t node = pID;
    int32_t slot = hWalk(pID, k.view, node);
    if (slot < 0) return false;
    hRemove(node, slot);
    return true;
  });
}

int32_t cls_StructureManager::hWalk(int32_t pID, std::string_view upper, int32_t& rNode) {
  rNode = pID;
  std::string_view rest = upper;
  for (;;) {
    const size_t len = hPartLength(rest);
    const std::string_view part = rest.substr(0, len);
    const uint32_t atom = names_.Find(part);
    int32_t slot = atom ? hFindSlot(rNode, atom) : -1;
    if (slot < 0 || len == rest.size()) return slot;
    const Item& it = nodes_[rNode].items[slot];
    if (!it.isStruct) return -1;
    rNode = it.child;
    rest = rest.substr(len + 1);
  }
}

// ---- items: the further operations ------------------------------------------------------------

bool cls_StructureManager::EXISTS_GET(int32_t pID, const Variant& pKey) { return ITEMINDEX_GET(pID, pKey) >= 0; }

bool cls_StructureManager::EXISTSVALUE_GET(int32_t pID, const Variant& pValue) {
  return Guard(kClass, "EXISTSVALUE.GET", [&] {
    const std::string want = CStr(pValue);
    double wantNum = 0;
    bool wantIsNum = NumericValue(pValue, wantNum);
    const Node& n = hNode(pID);
    for (size_t i = BASE(pID); i < n.items.size(); ++i) {
      const Item& it = n.items[i];
      if (!it.used || it.isStruct || it.value.isObject()) continue;
      double d;
      if (wantIsNum && NumericValue(it.value, d)) {
        if (d == wantNum) return true;
      } else if (CStr(it.value) == want) {
        return true;
      }
    }
    return false;
  });
}

int32_t cls_StructureManager::ITEMINDEX_GET(int32_t pID, const Variant& pKey) {
  return Guard(kClass, "ITEMINDEX.GET", [&]() -> int32_t {
    if (hIsNumberKey(pKey)) {
      int64_t idx = hKeyIndex(pKey);
      const Node& n = hNode(pID);
      if (idx < BASE(pID) || idx >= static_cast<int64_t>(n.items.size()) || !n.items[idx].used) return -1;
      return static_cast<int32_t>(idx);
    }
    const std::string keyText = CStr(pKey);  // UpperKey may keep a view of it
    UpperKey k(keyText);
    int32_t node = pID;
    return hWalk(pID, k.view, node);
  });
}

std::string cls_StructureManager::ID_GET(int32_t pID, int32_t pIndex) {
  return Guard(kClass, "ID.GET", [&]() -> std::string {
    const Node& n = hNode(pID);
    if (pIndex < 0 || pIndex >= static_cast<int32_t>(n.items.size()) || !n.items[pIndex].used) return {};
    return std::string(names_.Name(n.items[pIndex].name));
  });
}

void cls_StructureManager::ID_LET(int32_t pID, int32_t pIndex, std::string_view pNewID) {
  GuardVoid(kClass, "ID.LET", [&] {
    Node& n = hNode(pID);
    if (pIndex < 0 || pIndex >= static_cast<int32_t>(n.items.size()) || !n.items[pIndex].used)
      Raise(err::kOutOfRange, "Subscript out of range");
    n.flags |= kChanged;
    uint32_t atom = names_.Intern(text::UCase(pNewID));
    hIndexErase(n, n.items[pIndex].name, pIndex);
    n.items[pIndex].name = atom;
    hIndexInsert(n, atom, pIndex);
  });
}

Variant cls_StructureManager::ITEMBYID_GET(int32_t pID, std::string_view pItemID, const Variant& pDefault) {
  return Guard(kClass, "ITEMBYID.GET", [&]() -> Variant {
    UpperKey k(pItemID);
    uint32_t atom = names_.Find(k.view);
    int32_t slot = atom ? hFindSlot(pID, atom) : -1;
    return slot < 0 ? pDefault : hValueOf(nodes_[pID].items[slot]);
  });
}

void cls_StructureManager::ITEMBYID_LET(int32_t pID, std::string_view pItemID, const Variant& pValue) {
  GuardVoid(kClass, "ITEMBYID.LET", [&] {
    UpperKey k(pItemID);
    Node& n = hNode(pID);
    n.flags |= kChanged;
    if (k.view.empty()) {
      ADD(pID, pValue);
      return;
    }
    uint32_t atom = names_.Intern(k.view);
    int32_t slot = hFindSlot(pID, atom);
    if (slot >= 0 && (n.flags & kDefaultMode)) return;
    if (slot < 0) slot = hNewSlot(n, atom);
    hStore(pID, slot, pValue);
  });
}

bool cls_StructureManager::EXISTSBYID_GET(int32_t pID, std::string_view pItemID) {
  return Guard(kClass, "EXISTSBYID.GET", [&] {
    UpperKey k(pItemID);
    uint32_t atom = names_.Find(k.view);
    return atom && hFindSlot(pID, atom) >= 0;
  });
}

Variant cls_StructureManager::ITEMRECURSIVE_GET(int32_t pID, std::string_view pItemID, const Variant& pDefault) {
  return Guard(kClass, "ITEMRECURSIVE.GET", [&]() -> Variant {
    UpperKey k(pItemID);
    uint32_t atom = names_.Find(k.view);
    if (!atom) return pDefault;
    // breadth of this node first, then its sub-structures depth first; a visited set stops cycles
    std::vector<int32_t> stack{pID};
    std::unordered_set<int32_t> seen{pID};
    while (!stack.empty()) {
      int32_t node = stack.back();
      stack.pop_back();
      int32_t slot = hFindSlot(node, atom);
      if (slot >= 0) return hValueOf(nodes_[node].items[slot]);
      const auto& items = nodes_[node].items;
      for (size_t i = items.size(); i-- > 0;)
        if (items[i].used && items[i].isStruct && seen.insert(items[i].child).second) stack.push_back(items[i].child);
    }
    return pDefault;
  });
}

Variant cls_StructureManager::ITEMPARENT_GET(int32_t pID, std::string_view pPath) {
  return Guard(kClass, "ITEMPARENT.GET", [&]() -> Variant {
    UpperKey k(pPath);
    size_t lastDot = k.view.rfind('.');
    if (lastDot == std::string_view::npos) return Variant(Ref(pID));
    int32_t node = pID;
    int32_t slot = hWalk(pID, k.view.substr(0, lastDot), node);
    if (slot < 0 || !nodes_[node].items[slot].isStruct) return Variant();
    return Variant(Ref(nodes_[node].items[slot].child));
  });
}

int32_t cls_StructureManager::COUNTSUBSTRUCTS(int32_t pID) {
  return Guard(kClass, "COUNTSUBSTRUCTS", [&] {
    int32_t c = 0;
    for (const Item& it : hNode(pID).items) c += (it.used && it.isStruct);
    return c;
  });
}

int32_t cls_StructureManager::COUNTALL(int32_t pID) {
  return Guard(kClass, "COUNTALL", [&] {
    int32_t c = 0;
    std::vector<int32_t> stack{pID};
    std::unordered_set<int32_t> seen{pID};
    while (!stack.empty()) {
      int32_t node = stack.back();
      stack.pop_back();
      const Node& n = hNode(node);
      for (size_t i = (n.flags & kHasZero) ? 0 : 1; i < n.items.size(); ++i) {
        const Item& it = n.items[i];
        if (!it.used) continue;
        ++c;
        if (it.isStruct && seen.insert(it.child).second) stack.push_back(it.child);
      }
    }
    return c;
  });
}

void cls_StructureManager::RESIZE(int32_t pID, int32_t pMax) {
  GuardVoid(kClass, "RESIZE", [&] {
    Node& n = hNode(pID);
    n.flags |= kChanged;
    hResize(n, pMax);
  });
}

int32_t cls_StructureManager::INDEX(int32_t pID, int32_t pPosition) {
  return Guard(kClass, "INDEX", [&] {
    const Node& n = hNode(pID);
    int32_t seen = 0;
    for (size_t i = BASE(pID); i < n.items.size(); ++i)
      if (n.items[i].used && ++seen == pPosition) return static_cast<int32_t>(i);
    return -1;
  });
}

void cls_StructureManager::ITEMDIRECT_LET(int32_t pID, int32_t pIndex, std::string_view pName, const Variant& pValue) {
  GuardVoid(kClass, "ITEMDIRECT.LET", [&] {
    if (pIndex < 0) Raise(err::kOutOfRange, "Subscript out of range");
    Node& n = hNode(pID);
    n.flags |= kChanged;
    if (pIndex == 0) hMakeZeroBased(n);
    if (pIndex >= static_cast<int32_t>(n.items.size())) hResize(n, pIndex);
    UpperKey key(pName);
    SetName(pID, pIndex, names_.Intern(key.view));
    hStore(pID, pIndex, pValue);
  });
}

bool cls_StructureManager::ISEMPTY(int32_t pID) {
  return Guard(kClass, "ISEMPTY", [&] {
    const Node& n = hNode(pID);
    for (size_t i = BASE(pID); i < n.items.size(); ++i)
      if (n.items[i].used) return false;
    return true;
  });
}

}  // namespace rykel
