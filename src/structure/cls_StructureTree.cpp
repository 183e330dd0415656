#include "structure/cls_StructureTree.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "structure/cls_Structure.h"

namespace rykel {

namespace {

constexpr const char* kClass = "cls_StructureManager";
using M = cls_StructureManager;

// Marks a node as being walked for the lifetime of the mark; a node met again on its own path is
// a cycle and is skipped by the walkers.
class PathMark {
 public:
  PathMark(std::unordered_set<int32_t>& set, int32_t id) : set_(set), id_(id), added_(set.insert(id).second) {}
  ~PathMark() {
    if (added_) set_.erase(id_);
  }
  PathMark(const PathMark&) = delete;
  PathMark& operator=(const PathMark&) = delete;

 private:
  std::unordered_set<int32_t>& set_;
  int32_t id_;
  bool added_;
};

// Scalars are the same when both are numbers (or dates, booleans) of equal value, both the same
// object, or else when their texts are equal.
bool hSameValue(const Variant& a, const Variant& b) {
  if (a.isObject() || b.isObject()) return a.isObject() && b.isObject() && a.obj() == b.obj();
  double x, y;
  if (!a.isString() && !b.isString() && NumericValue(a, x) && NumericValue(b, y)) return x == y;
  return a.type() == b.type() || a.isString() || b.isString() ? CStr(a) == CStr(b) : false;
}

std::string hUpper(std::string_view s) { return text::UCase(s); }

// A new node filled by fill(id); when fill throws, the node is released again together with what
// was filled in so far. Returns the node holding its one reference.
template <class Fill>
int32_t hNewNode(cls_StructureManager& m, Fill&& fill) {
  const int32_t id = m.Alloc();
  try {
    fill(id);
  } catch (...) {
    m.Release(id);
    throw;
  }
  return id;
}

}  // namespace

// ---- clipboard -----------------------------------------------------------------------------------

namespace {
std::mutex gClipboardMutex;
cls_StructureTree::ClipboardHandler gClipboard;
thread_local std::string tClipboardText;
}  // namespace

void cls_StructureTree::SetClipboard(ClipboardHandler pHandler) {
  std::lock_guard<std::mutex> lock(gClipboardMutex);
  gClipboard = std::move(pHandler);
}

void cls_StructureTree::hToClipboard(const std::string& pText) {
  ClipboardHandler h;
  {
    std::lock_guard<std::mutex> lock(gClipboardMutex);
    h = gClipboard;
  }
  tClipboardText = pText;
  if (h) h(pText);
}

std::string cls_StructureTree::CLIPBOARD_GET() { return tClipboardText; }

// ---- slots ---------------------------------------------------------------------------------------

void cls_StructureTree::hEnter(int depth) const {
  if (depth > MaxDepth())
    Raise(err::kInvalidData, "Structure nested deeper than " + std::to_string(MaxDepth()) + " levels");
}

// Stores a copy of an item's content (a deep copy of a sub-structure) in a slot.
void cls_StructureTree::hPutCopy(int32_t node, int32_t slot, const Item& from) {
  if (from.isStruct) m_.SetChild(node, slot, hCopy(from.child, static_cast<int>(onPath_.size()) + 1, false));
  else m_.SetValue(node, slot, from.value);
}

// The sub-structure at a dotted path of upper-case names, created on the way (a scalar in the
// way is replaced by a structure).
int32_t cls_StructureTree::hEnsurePath(int32_t node, std::string_view upperPath) {
  size_t start = 0;
  for (;;) {
    size_t dot = upperPath.find('.', start);
    std::string_view part = upperPath.substr(start, dot == std::string_view::npos ? dot : dot - start);
    if (part.empty()) Raise(err::kInvalidCall, "Invalid key path '" + std::string(upperPath) + "'");
    int32_t slot = m_.SlotFor(node, m_.Names().Intern(part));
    const Item& it = m_.Items(node)[slot];
    if (it.used && it.isStruct) {
      node = it.child;
    } else {
      int32_t child = m_.Alloc();
      m_.SetChild(node, slot, child);
      node = child;
    }
    if (dot == std::string_view::npos) return node;
    start = dot + 1;
  }
}

// ---- copies --------------------------------------------------------------------------------------

// A deep copy of a node. COPY keeps the shape of the graph: a node met twice (shared, or a cycle)
// is copied once. CLONE copies every occurrence on its own, with bound values and objects, and
// leaves out a sub-structure that closes a cycle.
int32_t cls_StructureTree::hCopy(int32_t src, int depth, bool clone) {
  hEnter(depth);
  if (!clone) {
    auto f = copies_.find(src);
    if (f != copies_.end()) {
      m_.AddRef(f->second);
      return f->second;
    }
  }
  const uint8_t flags = clone ? static_cast<uint8_t>(m_.Flags(src) & ~M::kDefaultMode)
                              : static_cast<uint8_t>(m_.Flags(src) & (M::kHasZero | M::kAllowNothing));
  return hNewNode(m_, [&](int32_t dst) {
    PathMark mark(onPath_, src);
    if (!clone) copies_.emplace(src, dst);
    if (m_.MAX(src) > 0) m_.SlotAt(dst, m_.MAX(src));
    if (clone) {
      Variant bound = m_.VALUEBOUND_GET(src);
      if (!bound.isEmpty()) m_.VALUEBOUND_LET(dst, bound);
      if (auto o = m_.OBJECTBOUND_GET(src)) m_.OBJECTBOUND_SET(dst, o);
    }
    const size_t size = m_.Items(src).size();
    try {
      for (size_t i = 0; i < size; ++i) {
        const Item it = m_.Items(src)[i];  // a copy: allocations below may move the table
        if (!it.used || (clone && it.isStruct && onPath_.count(it.child))) continue;
        const auto slot = static_cast<int32_t>(i);
        m_.SetName(dst, slot, it.name);
        if (it.isStruct) m_.SetChild(dst, slot, hCopy(it.child, depth + 1, clone));
        else m_.SetValue(dst, slot, it.value);
      }
    } catch (...) {
      copies_.erase(src);
      throw;
    }
    m_.SetFlags(dst, flags);
  });
}

int32_t cls_StructureTree::COPY(int32_t pID) { return hCopy(pID, 0, false); }
int32_t cls_StructureTree::CLONE(int32_t pID) { return hCopy(pID, 0, true); }

// ---- JOIN, LINEAR, IDLIST ------------------------------------------------------------------------

void cls_StructureTree::hJoin(int32_t node, std::string_view glue, std::string& out, bool& first, int depth) {
  hEnter(depth);
  PathMark mark(onPath_, node);
  const std::vector<Item>& items = m_.Items(node);
  for (size_t i = m_.BASE(node); i < items.size(); ++i) {
    const Item& it = items[i];
    if (!it.used) continue;
    if (it.isStruct) {
      if (!onPath_.count(it.child)) hJoin(it.child, glue, out, first, depth + 1);
      continue;
    }
    if (!first) out.append(glue);
    first = false;
    out.append(CStr(it.value));
  }
}

std::string cls_StructureTree::JOIN(int32_t pID, std::string_view pGlue) {
  std::string out;
  bool first = true;
  hJoin(pID, pGlue, out, first, 0);
  return out;
}

void cls_StructureTree::hLinear(int32_t dst, int32_t src, int depth) {
  hEnter(depth);
  PathMark mark(onPath_, src);
  const size_t size = m_.Items(src).size();
  for (size_t i = m_.BASE(src); i < size; ++i) {
    const Item it = m_.Items(src)[i];
    if (!it.used) continue;
    if (it.isStruct) {
      if (!onPath_.count(it.child)) hLinear(dst, it.child, depth + 1);
    } else {
      m_.SetValue(dst, m_.SlotAppend(dst), it.value);
    }
  }
}

void cls_StructureTree::LINEARADD(int32_t pID, int32_t pOther) {
  m_.CHANGED_LET(pID, true);
  if (pOther == pID) {  // appending a tree to itself: walk a snapshot
    int32_t snap = COPY(pOther);
    copies_.clear();
    hLinear(pID, snap, 0);
    m_.Release(snap);
    return;
  }
  hLinear(pID, pOther, 0);
}

std::string cls_StructureTree::hKeyText(int32_t node, int32_t slot) const {
  const Item& it = m_.Items(node)[slot];
  return it.name ? std::string(m_.Names().Name(it.name)) : std::to_string(slot);
}

void cls_StructureTree::IDLISTADD(int32_t pID, int32_t pOther) {
  std::unordered_set<std::string> have;
  {
    const std::vector<Item>& items = m_.Items(pID);
    for (size_t i = m_.BASE(pID); i < items.size(); ++i)
      if (items[i].used && !items[i].isStruct) have.insert(CStr(items[i].value));
  }
  m_.CHANGED_LET(pID, true);
  const size_t size = m_.Items(pOther).size();
  for (size_t i = m_.BASE(pOther); i < size; ++i) {
    const Item it = m_.Items(pOther)[i];
    if (!it.used) continue;
    Variant key = it.name ? Variant(m_.Names().Name(it.name)) : Variant(static_cast<int32_t>(i));
    if (have.insert(CStr(key)).second) m_.SetValue(pID, m_.SlotAppend(pID), key);
  }
}

// ---- MERGE, UPDATE, DIFFERENCE -------------------------------------------------------------------

void cls_StructureTree::MERGE(int32_t pID, int32_t pOther, std::string_view pPrefix, bool pKeepOrder) {
  if (pOther == pID) {  // merging a tree into itself: merge from a snapshot
    int32_t snap = COPY(pOther);
    copies_.clear();
    MERGE(pID, snap, pPrefix, pKeepOrder);
    m_.Release(snap);
    return;
  }
  std::string prefix = hUpper(pPrefix);
  size_t dot = prefix.rfind('.');
  int32_t dst = pID;
  std::string_view namePrefix = prefix;
  if (dot != std::string::npos) {
    dst = hEnsurePath(pID, std::string_view(prefix).substr(0, dot));
    namePrefix = std::string_view(prefix).substr(dot + 1);
  }
  m_.CHANGED_LET(pID, true);
  hMerge(dst, pOther, namePrefix, pKeepOrder, 0);
}

void cls_StructureTree::hMerge(int32_t dst, int32_t src, std::string_view namePrefix, bool keepOrder, int depth) {
  hEnter(depth);
  if (dst == src && namePrefix.empty()) return;
  PathMark mark(onPath_, src);
  m_.CHANGED_LET(dst, true);
  std::string name;
  const size_t size = m_.Items(src).size();
  for (size_t i = m_.BASE(src); i < size && i < m_.Items(src).size(); ++i) {
    const Item it = m_.Items(src)[i];
    if (!it.used) continue;
    if (it.isStruct && onPath_.count(it.child)) continue;  // a cycle
    int32_t slot;
    if (!it.name) {
      slot = keepOrder ? m_.SlotAt(dst, static_cast<int32_t>(i)) : m_.SlotAppend(dst);
    } else {
      uint32_t atom = it.name;
      if (!namePrefix.empty()) {
        name.assign(namePrefix);
        name.append(m_.Names().Name(it.name));
        atom = m_.Names().Intern(name);
      }
      slot = m_.FindSlot(dst, atom);
      if (slot >= 0 && it.isStruct) {
        const Item& cur = m_.Items(dst)[slot];
        if (cur.isStruct) {
          hMerge(cur.child, it.child, {}, keepOrder, depth + 1);
          continue;
        }
      }
      if (slot < 0) slot = m_.SlotFor(dst, atom);
    }
    hPutCopy(dst, slot, it);
  }
}

void cls_StructureTree::hUpdate(int32_t dst, int32_t src, int depth) {
  hEnter(depth);
  if (dst == src) return;
  PathMark mark(onPath_, src);
  const size_t size = m_.Items(src).size();
  for (size_t i = m_.BASE(src); i < size; ++i) {
    const Item it = m_.Items(src)[i];
    if (!it.used) continue;
    int32_t slot = -1;
    if (it.name) {
      slot = m_.FindSlot(dst, it.name);
    } else {
      const std::vector<Item>& d = m_.Items(dst);
      if (i < d.size() && d[i].used && !d[i].name && i >= static_cast<size_t>(m_.BASE(dst)))
        slot = static_cast<int32_t>(i);
    }
    if (slot < 0) continue;
    if (it.isStruct) {
      if (onPath_.count(it.child)) continue;
      const Item& cur = m_.Items(dst)[slot];
      if (cur.isStruct) {
        hUpdate(cur.child, it.child, depth + 1);
        continue;
      }
    }
    hPutCopy(dst, slot, it);
  }
}

void cls_StructureTree::UPDATE(int32_t pID, int32_t pOther) {
  m_.CHANGED_LET(pID, true);
  hUpdate(pID, pOther, 0);
}

// Writes into dst the items of a that are missing in b or differ from b; true when any was.
bool cls_StructureTree::hDifference(int32_t dst, int32_t a, int32_t b, int depth) {
  hEnter(depth);
  PathMark mark(onPath_, a);
  bool any = false;
  const size_t size = m_.Items(a).size();
  for (size_t i = m_.BASE(a); i < size; ++i) {
    const Item it = m_.Items(a)[i];
    if (!it.used) continue;
    if (it.isStruct && onPath_.count(it.child)) continue;
    Item other;
    if (it.name) {
      int32_t j = m_.FindSlot(b, it.name);
      if (j >= 0) other = m_.Items(b)[j];
    } else {
      const std::vector<Item>& nb = m_.Items(b);
      if (i < nb.size() && nb[i].used && !nb[i].name) other = nb[i];
    }
    auto target = [&] { return it.name ? m_.SlotFor(dst, it.name) : m_.SlotAt(dst, static_cast<int32_t>(i)); };
    if (it.isStruct && other.used && other.isStruct) {
      if (other.child == it.child) continue;
      bool differs = false;
      int32_t sub = hNewNode(m_, [&](int32_t id) { differs = hDifference(id, it.child, other.child, depth + 1); });
      if (differs) {
        m_.SetChild(dst, target(), sub);
        any = true;
      } else {
        m_.Release(sub);
      }
      continue;
    }
    if (!it.isStruct && other.used && !other.isStruct && hSameValue(it.value, other.value)) continue;
    hPutCopy(dst, target(), it);
    any = true;
  }
  return any;
}

int32_t cls_StructureTree::DIFFERENCE(int32_t pID, int32_t pOther) {
  int32_t dst = hNewNode(m_, [&](int32_t id) { hDifference(id, pID, pOther, 0); });
  m_.CHANGED_LET(dst, false);
  return dst;
}

// ---- FLATTEN and RESTRUCTURE ---------------------------------------------------------------------

void cls_StructureTree::hFlat(int32_t dst, int32_t src, std::string& path, std::string_view sep, int depth) {
  hEnter(depth);
  PathMark mark(onPath_, src);
  const size_t size = m_.Items(src).size();
  for (size_t i = m_.BASE(src); i < size; ++i) {
    const Item it = m_.Items(src)[i];
    if (!it.used) continue;
    const size_t keep = path.size();
    if (keep) path.append(sep);
    if (it.name) path.append(m_.Names().Name(it.name));
    else path.append(std::to_string(i));
    if (it.isStruct) {
      if (!onPath_.count(it.child)) hFlat(dst, it.child, path, sep, depth + 1);
    } else {
      m_.SetValue(dst, m_.SlotFor(dst, m_.Names().Intern(path)), it.value);
    }
    path.resize(keep);
  }
}

void cls_StructureTree::FLATADD(int32_t pID, int32_t pOther, std::string_view pConvertStructChar) {
  if (pConvertStructChar.empty()) Raise(err::kInvalidCall, "The separator pConvertStructChar must not be empty");
  std::string sep = hUpper(pConvertStructChar);
  m_.CHANGED_LET(pID, true);
  std::string path;
  if (pOther == pID) {
    int32_t snap = COPY(pOther);
    copies_.clear();
    hFlat(pID, snap, path, sep, 0);
    m_.Release(snap);
    return;
  }
  hFlat(pID, pOther, path, sep, 0);
}

void cls_StructureTree::hRestructure(int32_t dst, int32_t src, std::string_view sep, int depth) {
  hEnter(depth);
  PathMark mark(onPath_, src);
  // one step down a key: a decimal part is an index, anything else a name
  auto step = [&](int32_t node, std::string_view part) {
    int64_t index;
    if (M::IndexText(part, index) && index >= 0 && index <= std::numeric_limits<int32_t>::max())
      return m_.SlotAt(node, static_cast<int32_t>(index));
    return m_.SlotFor(node, part.empty() ? 0 : m_.Names().Intern(part));
  };
  const size_t size = m_.Items(src).size();
  for (size_t i = m_.BASE(src); i < size; ++i) {
    const Item it = m_.Items(src)[i];
    if (!it.used) continue;
    if (it.isStruct && onPath_.count(it.child)) continue;
    int32_t node = dst;
    int32_t slot;
    if (!it.name) {
      slot = step(node, std::to_string(i));
    } else {
      std::string_view key = m_.Names().Name(it.name);
      for (size_t at; (at = key.find(sep)) != std::string_view::npos; key.remove_prefix(at + sep.size())) {
        int32_t s = step(node, key.substr(0, at));
        const Item& cur = m_.Items(node)[s];
        if (cur.used && cur.isStruct) {
          node = cur.child;
        } else {
          int32_t child = m_.Alloc();
          m_.SetChild(node, s, child);
          node = child;
        }
      }
      slot = step(node, key);
    }
    if (it.isStruct) {
      const Item& cur = m_.Items(node)[slot];
      int32_t child = cur.used && cur.isStruct ? cur.child : 0;
      if (!child) {
        child = m_.Alloc();
        m_.SetChild(node, slot, child);
      }
      hRestructure(child, it.child, sep, depth + 1);
    } else {
      m_.SetValue(node, slot, it.value);
    }
  }
}

int32_t cls_StructureTree::RESTRUCTURE(int32_t pID, std::string_view pConvertToStructChar) {
  if (pConvertToStructChar.empty()) Raise(err::kInvalidCall, "The separator pConvertToStructChar must not be empty");
  std::string sep = hUpper(pConvertToStructChar);
  int32_t dst = hNewNode(m_, [&](int32_t id) { hRestructure(id, pID, sep, 0); });
  m_.CHANGED_LET(dst, false);
  return dst;
}

// ---- reordering and renaming ---------------------------------------------------------------------

void cls_StructureTree::MOVE(int32_t pID, int32_t pIndex, int32_t pMoveTo) {
  const int32_t base = m_.BASE(pID), max = m_.MAX(pID);
  if (pIndex < base || pIndex > max || pMoveTo < base || pMoveTo > max)
    Raise(err::kOutOfRange, "Subscript out of range: MOVE " + std::to_string(pIndex) + " to " +
                                std::to_string(pMoveTo) + " (items " + std::to_string(base) + " to " +
                                std::to_string(max) + ")");
  if (pIndex == pMoveTo) return;
  m_.MoveSlot(pID, pIndex, pMoveTo);
}

void cls_StructureTree::SWAP(int32_t pID, int32_t pI1, int32_t pI2) {
  const int32_t base = m_.BASE(pID), max = m_.MAX(pID);
  if (pI1 < base || pI1 > max || pI2 < base || pI2 > max)
    Raise(err::kOutOfRange, "Subscript out of range: SWAP " + std::to_string(pI1) + " and " + std::to_string(pI2) +
                                " (items " + std::to_string(base) + " to " + std::to_string(max) + ")");
  if (pI1 == pI2) return;
  m_.SwapSlots(pID, pI1, pI2);
}

bool cls_StructureTree::RENAME(int32_t pID, std::string_view pOldID, std::string_view pNewID) {
  std::string oldKey = hUpper(pOldID), newName = hUpper(pNewID);
  if (newName.empty() || newName.find('.') != std::string::npos)
    Raise(err::kInvalidCall, "Invalid new name '" + std::string(pNewID) + "': a name must not be empty or contain '.'");
  int32_t node = pID;
  std::string_view rest = oldKey;
  for (size_t dot; (dot = rest.find('.')) != std::string_view::npos; rest.remove_prefix(dot + 1)) {
    uint32_t atom = m_.Names().Find(rest.substr(0, dot));
    int32_t slot = atom ? m_.FindSlot(node, atom) : -1;
    if (slot < 0 || !m_.Items(node)[slot].isStruct) return false;
    node = m_.Items(node)[slot].child;
  }
  uint32_t oldAtom = m_.Names().Find(rest);
  int32_t slot = oldAtom ? m_.FindSlot(node, oldAtom) : -1;
  if (slot < 0) return false;
  uint32_t newAtom = m_.Names().Intern(newName);
  if (newAtom == oldAtom) return true;
  if (m_.FindSlot(node, newAtom) >= 0)
    Raise(err::kInvalidCall, "Cannot rename '" + std::string(rest) + "': the key '" + newName + "' exists already");
  m_.SetName(node, slot, newAtom);
  m_.CHANGED_LET(node, true);
  return true;
}

// ---- SELECTION and MENU --------------------------------------------------------------------------

// The caption of an item: a scalar's text; for a sub-structure its own "TEXT" item, else the key.
std::string cls_StructureTree::hCaption(int32_t node, int32_t slot) {
  const Item it = m_.Items(node)[slot];
  if (!it.isStruct) return CStr(it.value);
  uint32_t textAtom = m_.Names().Find("TEXT");
  int32_t t = textAtom ? m_.FindSlot(it.child, textAtom) : -1;
  if (t >= 0 && !m_.Items(it.child)[t].isStruct) return CStr(m_.Items(it.child)[t].value);
  return hKeyText(node, slot);
}

int32_t cls_StructureTree::SELECTION(int32_t pID, const Variant& pSelected) {
  std::unordered_set<std::string> selected;
  if (auto s = pSelected.as<cls_Structure>()) {
    const std::vector<Item>& items = m_.Items(s->SID_GET());
    for (size_t i = m_.BASE(s->SID_GET()); i < items.size(); ++i)
      if (items[i].used && !items[i].isStruct) selected.insert(hUpper(CStr(items[i].value)));
  } else if (!pSelected.isEmpty() && !pSelected.isNull()) {
    selected.insert(hUpper(CStr(pSelected)));
  }
  int32_t dst = hNewNode(m_, [&](int32_t out) {
    const size_t size = m_.Items(pID).size();
    for (size_t i = m_.BASE(pID); i < size; ++i) {
      const Item it = m_.Items(pID)[i];
      if (!it.used) continue;
      const std::string key = hKeyText(pID, static_cast<int32_t>(i));
      int32_t entry = m_.Alloc();
      m_.SetChild(out, m_.SlotAppend(out), entry);
      m_.ITEM_LET(entry, Variant("ID"), it.name ? Variant(key) : Variant(static_cast<int32_t>(i)));
      m_.ITEM_LET(entry, Variant("TEXT"), Variant(hCaption(pID, static_cast<int32_t>(i))));
      m_.ITEM_LET(entry, Variant("SELECTED"), Variant(selected.count(key) > 0));
    }
  });
  m_.CHANGED_LET(dst, false);
  return dst;
}

void cls_StructureTree::hMenu(int32_t dst, int32_t src, std::string& path, std::string_view menu, int depth) {
  hEnter(depth);
  PathMark mark(onPath_, src);
  const uint32_t textAtom = m_.Names().Find("TEXT");
  const size_t size = m_.Items(src).size();
  for (size_t i = m_.BASE(src); i < size; ++i) {
    const Item it = m_.Items(src)[i];
    if (!it.used || (textAtom && it.name == textAtom)) continue;
    if (it.isStruct && onPath_.count(it.child)) continue;
    const std::string key = hKeyText(src, static_cast<int32_t>(i));
    const size_t keep = path.size();
    if (keep) path.push_back('.');
    path.append(key);
    const bool selected = menu == path;
    const bool active =
        selected || (menu.size() > path.size() && menu.compare(0, path.size(), path) == 0 && menu[path.size()] == '.');
    int32_t entry = m_.Alloc();
    m_.SetChild(dst, m_.SlotAppend(dst), entry);
    m_.ITEM_LET(entry, Variant("ID"), it.name ? Variant(key) : Variant(static_cast<int32_t>(i)));
    m_.ITEM_LET(entry, Variant("PATH"), Variant(path));
    m_.ITEM_LET(entry, Variant("TEXT"), Variant(hCaption(src, static_cast<int32_t>(i))));
    m_.ITEM_LET(entry, Variant("LEVEL"), Variant(depth + 1));
    m_.ITEM_LET(entry, Variant("ACTIVE"), Variant(active));
    m_.ITEM_LET(entry, Variant("SELECTED"), Variant(selected));
    if (it.isStruct) {
      int32_t sub = m_.Alloc();
      m_.SetChild(entry, m_.SlotFor(entry, m_.Names().Intern("SUB")), sub);
      hMenu(sub, it.child, path, menu, depth + 1);
    }
    m_.CHANGED_LET(entry, false);
    path.resize(keep);
  }
  m_.CHANGED_LET(dst, false);
}

int32_t cls_StructureTree::MENU(int32_t pID, std::string_view pMenu) {
  std::string path;
  return hNewNode(m_, [&](int32_t dst) { hMenu(dst, pID, path, hUpper(pMenu), 0); });
}

// ---- INCREASE ------------------------------------------------------------------------------------

Variant cls_StructureTree::hAddValue(const Variant& pValue, const Variant& pBy) {
  const double by = CDbl(pBy);
  const bool byWhole = std::isfinite(by) && by == std::nearbyint(by) && std::fabs(by) < 9e15;
  auto whole = [&](double sum, bool small) -> Variant {
    if (small && sum >= -32768 && sum <= 32767) return Variant(static_cast<int16_t>(sum));
    if (sum >= -2147483648.0 && sum <= 2147483647.0) return Variant(static_cast<int32_t>(sum));
    return Variant(sum);
  };
  switch (pValue.type()) {
    case VarType::Empty: return byWhole ? whole(by, false) : Variant(by);
    case VarType::Integer:
    case VarType::Long: {
      double sum = CDbl(pValue) + by;
      return byWhole ? whole(sum, pValue.type() == VarType::Integer) : Variant(sum);
    }
    case VarType::Currency: return Variant::Currency(pValue.rawCurrency() + CCur(pBy));
    case VarType::Date: return Variant::Date(pValue.rawDouble() + by);
    case VarType::String: {
      double d;
      if (!ParseNumber(pValue.str(), d))
        Raise(err::kTypeMismatch, "Type mismatch: '" + std::string(pValue.str()) + "' is not a number");
      double sum = d + by;
      return byWhole && d == std::nearbyint(d) ? whole(sum, false) : Variant(sum);
    }
    default: return Variant(CDbl(pValue) + by);
  }
}

void cls_StructureTree::hIncrease(int32_t node, const Variant& by, int depth) {
  hEnter(depth);
  PathMark mark(onPath_, node);
  m_.CHANGED_LET(node, true);
  const size_t size = m_.Items(node).size();
  for (size_t i = 0; i < size; ++i) {
    const Item& it = m_.Items(node)[i];
    if (!it.used) continue;
    if (it.isStruct) {
      if (!onPath_.count(it.child)) hIncrease(it.child, by, depth + 1);
    } else if (it.value.isNumber() || it.value.isDate()) {
      m_.SetValue(node, static_cast<int32_t>(i), hAddValue(it.value, by));
    }
  }
}

void cls_StructureTree::INCREASE(int32_t pID, const Variant& pIncreaseBy, const Variant& pKey) {
  CDbl(pIncreaseBy);  // a non-numeric amount fails before anything changes
  if (pKey.isEmpty() || (pKey.isString() && pKey.str().empty())) {
    hIncrease(pID, pIncreaseBy, 0);
    return;
  }
  Variant cur = m_.ITEM_GET(pID, pKey);
  if (auto s = cur.as<cls_Structure>()) {
    hIncrease(s->SID_GET(), pIncreaseBy, 0);
    return;
  }
  m_.ITEM_LET(pID, pKey, hAddValue(cur, pIncreaseBy));
}

// ---- clipboard text ------------------------------------------------------------------------------

void cls_StructureTree::hLines(int32_t node, std::string& path, bool notEmpty, std::string& out, int depth) {
  hEnter(depth);
  PathMark mark(onPath_, node);
  const std::vector<Item>& items = m_.Items(node);
  for (size_t i = m_.BASE(node); i < items.size(); ++i) {
    const Item& it = items[i];
    if (!it.used) continue;
    const size_t keep = path.size();
    if (keep) path.push_back('.');
    if (it.name) path.append(m_.Names().Name(it.name));
    else path.append(std::to_string(i));
    if (it.isStruct) {
      if (!onPath_.count(it.child)) hLines(it.child, path, notEmpty, out, depth + 1);
    } else {
      std::string value = CStr(it.value);
      if (!notEmpty || !value.empty()) {
        if (!out.empty()) out.append("\r\n");
        out.append(path).append(" = ").append(value);
      }
    }
    path.resize(keep);
  }
}

std::string cls_StructureTree::CLIPBOARDTEXT(int32_t pID, bool pNotEmpty) {
  std::string out, path;
  hLines(pID, path, pNotEmpty, out, 0);
  return out;
}

}  // namespace rykel

// ---- cls_StructureManager: the whole-tree operations forward here ------------------------------

namespace rykel {

namespace {
int32_t hOtherID(const cls_StructureManager& m, const StructurePtr& p) {
  if (!p) Raise(err::kObjectRequired, "Object required: a structure was expected");
  if (p->MANAGER_GET().get() != &m) Raise(err::kInvalidCall, "The structure belongs to another thread's manager");
  return p->SID_GET();
}
}  // namespace

std::string cls_StructureManager::JOIN(int32_t pID, std::string_view pGlue) {
  return Guard(kClass, "JOIN", [&] { return cls_StructureTree(*this).JOIN(pID, pGlue); });
}

void cls_StructureManager::MERGE(int32_t pID, const StructurePtr& pStructure, std::string_view pPrefix,
                                 bool pKeepOrder) {
  GuardVoid(kClass, "MERGE",
            [&] { cls_StructureTree(*this).MERGE(pID, hOtherID(*this, pStructure), pPrefix, pKeepOrder); });
}

StructurePtr cls_StructureManager::COPY(int32_t pID) {
  return Guard(kClass, "COPY", [&] {
    hNode(pID);
    return CONVERT(cls_StructureTree(*this).COPY(pID));
  });
}

StructurePtr cls_StructureManager::CLONE(int32_t pID) {
  return Guard(kClass, "CLONE", [&] {
    hNode(pID);
    return CONVERT(cls_StructureTree(*this).CLONE(pID));
  });
}

StructurePtr cls_StructureManager::DIFFERENCE(int32_t pID, const StructurePtr& pDefaults) {
  return Guard(kClass, "DIFFERENCE", [&] {
    int32_t other = hOtherID(*this, pDefaults);
    hNode(pID);
    return CONVERT(cls_StructureTree(*this).DIFFERENCE(pID, other));
  });
}

void cls_StructureManager::UPDATE(int32_t pID, const StructurePtr& pStructure) {
  GuardVoid(kClass, "UPDATE", [&] { cls_StructureTree(*this).UPDATE(pID, hOtherID(*this, pStructure)); });
}

StructurePtr cls_StructureManager::RESTRUCTURE(int32_t pID, std::string_view pConvertToStructChar) {
  return Guard(kClass, "RESTRUCTURE", [&] {
    hNode(pID);
    return CONVERT(cls_StructureTree(*this).RESTRUCTURE(pID, pConvertToStructChar));
  });
}

void cls_StructureManager::FLATADD(int32_t pID, const StructurePtr& pStructure, std::string_view pConvertStructChar) {
  GuardVoid(kClass, "FLATADD",
            [&] { cls_StructureTree(*this).FLATADD(pID, hOtherID(*this, pStructure), pConvertStructChar); });
}

// A new structure of this manager filled by one of the ...ADD operations from pID, left unchanged.
template <class Fill>
StructurePtr hFilledBy(cls_StructureManager& m, int32_t pID, Fill&& fill) {
  m.MAX(pID);  // raises for an id that is not a node
  StructurePtr out = m.CONVERT(m.Alloc());
  cls_StructureTree t(m);
  fill(t, out->SID_GET());
  out->CHANGED_LET(false);
  return out;
}

StructurePtr cls_StructureManager::FLATTEN(int32_t pID, std::string_view pConvertStructChar) {
  return Guard(kClass, "FLATTEN", [&] {
    return hFilledBy(*this, pID, [&](cls_StructureTree& t, int32_t out) { t.FLATADD(out, pID, pConvertStructChar); });
  });
}

void cls_StructureManager::LINEARADD(int32_t pID, const StructurePtr& pStructure) {
  GuardVoid(kClass, "LINEARADD", [&] { cls_StructureTree(*this).LINEARADD(pID, hOtherID(*this, pStructure)); });
}

StructurePtr cls_StructureManager::LINEAR(int32_t pID) {
  return Guard(kClass, "LINEAR", [&] {
    return hFilledBy(*this, pID, [&](cls_StructureTree& t, int32_t out) { t.LINEARADD(out, pID); });
  });
}

void cls_StructureManager::IDLISTADD(int32_t pID, const StructurePtr& pStructure) {
  GuardVoid(kClass, "IDLISTADD", [&] { cls_StructureTree(*this).IDLISTADD(pID, hOtherID(*this, pStructure)); });
}

StructurePtr cls_StructureManager::IDLIST(int32_t pID) {
  return Guard(kClass, "IDLIST", [&] {
    return hFilledBy(*this, pID, [&](cls_StructureTree& t, int32_t out) { t.IDLISTADD(out, pID); });
  });
}

void cls_StructureManager::MOVE(int32_t pID, int32_t pIndex, int32_t pMoveTo) {
  GuardVoid(kClass, "MOVE", [&] { cls_StructureTree(*this).MOVE(pID, pIndex, pMoveTo); });
}

void cls_StructureManager::SWAP(int32_t pID, int32_t pI1, int32_t pI2) {
  GuardVoid(kClass, "SWAP", [&] { cls_StructureTree(*this).SWAP(pID, pI1, pI2); });
}

bool cls_StructureManager::RENAME(int32_t pID, std::string_view pOldID, std::string_view pNewID) {
  return Guard(kClass, "RENAME", [&] { return cls_StructureTree(*this).RENAME(pID, pOldID, pNewID); });
}

StructurePtr cls_StructureManager::MENU(int32_t pID, std::string_view pMenu) {
  return Guard(kClass, "MENU", [&] {
    hNode(pID);
    return CONVERT(cls_StructureTree(*this).MENU(pID, pMenu));
  });
}

StructurePtr cls_StructureManager::SELECTION(int32_t pID, const Variant& pSelected) {
  return Guard(kClass, "SELECTION", [&] {
    hNode(pID);
    return CONVERT(cls_StructureTree(*this).SELECTION(pID, pSelected));
  });
}

void cls_StructureManager::INCREASE(int32_t pID, const Variant& pIncreaseBy, const Variant& pKey) {
  GuardVoid(kClass, "INCREASE", [&] { cls_StructureTree(*this).INCREASE(pID, pIncreaseBy, pKey); });
}

void cls_StructureManager::DECREASE(int32_t pID, const Variant& pDecreaseBy, const Variant& pKey) {
  GuardVoid(kClass, "DECREASE", [&] { cls_StructureTree(*this).INCREASE(pID, Variant(-CDbl(pDecreaseBy)), pKey); });
}

std::string cls_StructureManager::COPYCLIPBOARD(int32_t pID) {
  return Guard(kClass, "COPYCLIPBOARD", [&] {
    std::string text = cls_StructureTree(*this).CLIPBOARDTEXT(pID, false);
    cls_StructureTree::hToClipboard(text);
    return text;
  });
}

std::string cls_StructureManager::COPYCLIPBOARDNOTEMPTY(int32_t pID) {
  return Guard(kClass, "COPYCLIPBOARDNOTEMPTY", [&] {
    std::string text = cls_StructureTree(*this).CLIPBOARDTEXT(pID, true);
    cls_StructureTree::hToClipboard(text);
    return text;
  });
}

}  // namespace rykel
