// cls_StructureManager: the node store of one thread. Every structure lives here as a node.
//
// Invariants:
// - Node ids are indexes into one flat table; id 0 is never handed out. The table's upper bound
//   ("Buffer") only grows: by a tenth of itself (10..5,000) below 100,000 ids, by 50,000 below
//   500,000, then once to 1,400,000 and by at least 100,000 after that.
// - Free ids sit on a stack (the free list, used from index 1). New ids from a growth step are
//   pushed in ascending order, so allocation hands out the highest new id first and counts down;
//   a released id is the next one handed out. Ids appear in dumps and ID values: keep this order.
// - A node has a 16-bit reference count (handles and parent items). At zero it is freed together
//   with every sub-structure whose count also reaches zero.
// - Item slots run from BASE (0 with HASZERO, else 1) to MAX; slot 0 always exists. A slot may be
//   unused (skipped by lookups, reused by writes). Names are stored upper-cased, as atoms of the
//   manager's NameTable; lookups take the first used slot with the name.
// - Nodes with more than a few dozen slots keep a name index (atom -> first slot) in step with
//   every write, so lookups by name stay O(1) amortised however large the node grows.
// Threads: one manager per thread (mdl_Global::SMAN_GET); nothing here is locked, and node ids
// must not cross threads.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "frame/Object.h"
#include "frame/Variant.h"
#include "structure/HandlePool.h"
#include "structure/NameTable.h"

namespace rykel {

class cls_Structure;
using StructurePtr = std::shared_ptr<cls_Structure>;

// An item name interned in one manager: the upper-cased name's atom and hash, made once by
// cls_StructureManager::NAME and passed instead of the text where the same name is read or
// written many times (field names, fixed setting names). The name is whole: dots are part of it,
// never a path. Only valid with the manager that made it (the thread's manager).
struct ItemName {
  uint32_t atom = 0;  // 0: the empty name
  uint32_t hash = 0;
};

class cls_StructureManager : public Object, public std::enable_shared_from_this<cls_StructureManager> {
 public:
  // Node flags (bit values).
  static constexpr uint8_t kDefaultMode = 1, kHasZero = 2, kChanged = 4, kAllowNothing = 8;

  cls_StructureManager();
  ~cls_StructureManager() override;
  std::string TypeName() const override { return "cls_StructureManager"; }

  // ---- node store ----------------------------------------------------------------------------
  // A fresh empty node with reference count 1 (see the header comment for the order of ids).
  int32_t Alloc();
  // Drops one reference; at zero frees the node and, depth first, its sub-structures.
  // A count already at 0 is ignored.
  void Release(int32_t pID);
  // Release for a handle's end: never raises (an error is reported by the error policy only).
  void ReleaseNoThrow(int32_t pID) noexcept;
  // A new handle on the node, adding a reference.
  StructurePtr Ref(int32_t pID);
  // A new handle on the node that takes over a reference the caller already holds.
  StructurePtr CONVERT(int32_t pID);
  // Empties the node (CLEAR).
  void Initialize(int32_t pID);
  // Ends the manager: later calls on its nodes are ignored or give defaults.
  void Terminate();

  int32_t USAGE() const;      // ids in use: table upper bound minus free count
  int32_t USAGEFREE() const;  // free count
  int32_t BUFFER() const;     // table upper bound
  // "Used: 1, Buffer: 10, Free: 9"
  std::string INFO() const;
  // One line per node id 1..upper bound, "\r\n" between lines:
  //   "#5: Unused"  or  "#3:   Ref: 1  Max: 2  Flags: 0010  Bound: -" followed by
  //   "  Item 1: NAME = value" / "  Item 2: SUB = -> 7" / "  Item 3: Unused" per slot.
  std::string USAGEINFO() const;
  // Adds one timing measurement under a key; PERFORMANCEINFO lists "key<TAB>calls<TAB>total
  // seconds<TAB>average seconds" per key, times as "#0.00" (seconds with two decimals).
  void PERFORMANCE(std::string_view pKey, double pSeconds);
  std::string PERFORMANCEINFO() const;
  int16_t REFCOUNT(int32_t pID) const;
  // Live cls_Structure handles on this manager (USAGEUSED): handles count themselves in and out.
  int32_t HandleCount() const { return handles_; }
  // The first handle makes the manager hold its own shared pointer, the last one drops it: handles
  // point at the manager plainly and the manager lives as long as one of them. hHandleEnded may
  // end the manager: the caller touches it no more.
  void hHandleCreated() {
    if (handles_++ == 0) [[unlikely]]
      keep_ = weak_from_this().lock();
  }
  void hHandleEnded() {
    if (--handles_ == 0) [[unlikely]]
      hLastHandleEnded();
  }
  const std::shared_ptr<cls_StructureManager>& hKeeper() const { return keep_; }
  static inline const std::shared_ptr<cls_StructureManager> kNoManager;
  size_t BytesUsed() const;  // approximate heap bytes of nodes, items and names
  // Where the memory of this manager's handles comes from (cls_Structure::New, Ref, CONVERT).
  HandlePool& Pool() { return *pool_; }

  // ---- flags and bound values ----------------------------------------------------------------
  bool DEFAULTMODE_GET(int32_t pID) const { return hFlag(pID, kDefaultMode); }
  void DEFAULTMODE_LET(int32_t pID, bool v) { hFlagLet(pID, kDefaultMode, v); }
  bool HASZERO_GET(int32_t pID) const { return hFlag(pID, kHasZero); }
  void HASZERO_LET(int32_t pID, bool v) { hFlagLet(pID, kHasZero, v); }
  bool CHANGED_GET(int32_t pID) const { return hFlag(pID, kChanged); }
  void CHANGED_LET(int32_t pID, bool v) { hFlagLet(pID, kChanged, v); }
  bool ALLOWNOTHING_GET(int32_t pID) const { return hFlag(pID, kAllowNothing); }
  void ALLOWNOTHING_LET(int32_t pID, bool v) { hFlagLet(pID, kAllowNothing, v); }
  // The value bound to a node: Empty when new, the integer 0 after a release, "" after CLEAR.
  Variant VALUEBOUND_GET(int32_t pID) const;
  void VALUEBOUND_LET(int32_t pID, const Variant& pValue);
  void VALUEBOUND_SET(int32_t pID, const Variant& pValue) { VALUEBOUND_LET(pID, pValue); }
  ObjectPtr OBJECTBOUND_GET(int32_t pID) const;
  void OBJECTBOUND_SET(int32_t pID, ObjectPtr pObject);

  // ---- items and key paths -------------------------------------------------------------------
  // Key forms: a number is an index; a text is upper-cased; a text with "." is a path (first part
  // a name here, the rest resolved in that item's sub-structure); with pForceIndex a numeric text
  // without "." is an index. "COUNT" at any level of a path gives COUNT of that node.
  //
  // The item's value: a sub-structure comes back as a new handle, an object as itself; a missing
  // item (bad index, unused slot, unknown name, path through a scalar, empty key) gives pDefault.
  // Never creates items.
  Variant ITEM_GET(int32_t pID, const Variant& pKey, const Variant& pDefault = {}, bool pForceIndex = false);
  // The lookup behind ITEM_GET. pKeyUpper is already upper-cased; pKeyType 1 = index, 0 = name.
  Variant ItemGetDirect_GET(int32_t pID, std::string_view pKeyUpper, int pKeyType, const Variant& pDefault,
                            bool pForceIndex);
  // Stores the value under the key, creating sub-structures along a path (a scalar in the way is
  // replaced). Sets CHANGED. Writing index 0 makes the node zero-based (HASZERO). An index past MAX
  // is an index only with pForceIndex (MAX grows to it), otherwise its decimal text is a name.
  // A cls_Structure value is stored as a sub-structure sharing that node (one more reference).
  // In DEFAULTMODE an existing item is never overwritten. An empty key appends like ADD.
  // Raises 9 for an index past MAX written with pForceIndex in DEFAULTMODE.
  void ITEM_LET(int32_t pID, const Variant& pKey, const Variant& pValue, bool pForceIndex = false);
  void ITEM_SET(int32_t pID, const Variant& pKey, const Variant& pValue, bool pForceIndex = false) {
    ITEM_LET(pID, pKey, pValue, pForceIndex);
  }
  // The interned form of a name (upper-cased, dots part of the name). An empty name gives atom 0.
  ItemName NAME(std::string_view pName);
  // By interned name, as ITEMBYID_GET / ITEMBYID_LET / EXISTSBYID_GET: no text is upper-cased,
  // hashed or split on the way. ITEM_LET with the empty name appends like ADD; in DEFAULTMODE an
  // existing item is never overwritten.
  Variant ITEM_GET(int32_t pID, ItemName pName, const Variant& pDefault = {});
  void ITEM_LET(int32_t pID, ItemName pName, const Variant& pValue);
  bool EXISTS_GET(int32_t pID, ItemName pName);
  // ITEM_LET with DEFAULTMODE on for the duration: writes only what does not exist yet.
  void DEFAULT(int32_t pID, const Variant& pKey, const Variant& pValue);

  int32_t BASE(int32_t pID) const;
  int32_t MAX(int32_t pID) const;
  int32_t COUNT(int32_t pID) const;  // MAX - BASE + 1, unused slots included
  // Appends at MAX + 1 (index forced); sets CHANGED. Returns the new index.
  int32_t ADD(int32_t pID, const Variant& pValue);
  // Index of the first used item whose stored name equals pName exactly (no upper-casing);
  // 0 when none.
  int32_t FIND(int32_t pID, std::string_view pName) const;
  // Empties the node: one-based again, flags 0, bound value "". Sub-structures of the dropped
  // items are NOT released (callers that want them freed remove them first).
  void CLEAR(int32_t pID);
  // Removes the item at an index (1..MAX; never 0) or under a name or path; sets CHANGED either
  // way. The slot becomes unused (the items above keep their indexes; trailing unused slots are
  // trimmed from MAX) and a removed sub-structure loses this item's reference. True when removed.
  bool REMOVE(int32_t pID, const Variant& pKey);

  // True when a read of the key would find an item.
  bool EXISTS_GET(int32_t pID, const Variant& pKey);
  // True when a used scalar item of this node (not of sub-structures) equals the value.
  bool EXISTSVALUE_GET(int32_t pID, const Variant& pValue);
  // Index of the item the key names, in the node that holds its last path part; -1 when missing.
  int32_t ITEMINDEX_GET(int32_t pID, const Variant& pKey);
  // Name of the item at an index ("" for unnamed, unused or missing slots).
  std::string ID_GET(int32_t pID, int32_t pIndex);
  // Renames the used item at an index (upper-cased). Raises 9 when the index is not a used slot.
  void ID_LET(int32_t pID, int32_t pIndex, std::string_view pNewID);
  // By whole name: dots are part of the name, never a path.
  Variant ITEMBYID_GET(int32_t pID, std::string_view pItemID, const Variant& pDefault = {});
  void ITEMBYID_LET(int32_t pID, std::string_view pItemID, const Variant& pValue);
  void ITEMBYID_SET(int32_t pID, std::string_view pItemID, const Variant& pValue) {
    ITEMBYID_LET(pID, pItemID, pValue);
  }
  bool EXISTSBYID_GET(int32_t pID, std::string_view pItemID);
  // First item with the name anywhere in the tree: this node first, then sub-structures depth
  // first in index order.
  Variant ITEMRECURSIVE_GET(int32_t pID, std::string_view pItemID, const Variant& pDefault = {});
  // The structure that holds the last part of a path (this node for a plain name); Empty when a
  // part on the way is missing or not a structure.
  Variant ITEMPARENT_GET(int32_t pID, std::string_view pPath);
  int32_t COUNTSUBSTRUCTS(int32_t pID);  // used items holding sub-structures
  int32_t COUNTALL(int32_t pID);         // used items of the whole tree
  // Sets MAX: shrinking drops the slots above (releasing their sub-structures), growing adds
  // unused slots.
  void RESIZE(int32_t pID, int32_t pMax);
  // Index of the pPosition-th used item (1-based, in index order); -1 when there are fewer.
  int32_t INDEX(int32_t pID, int32_t pPosition);
  // Writes a slot directly: name and value, no lookup; MAX grows as needed.
  void ITEMDIRECT_LET(int32_t pID, int32_t pIndex, std::string_view pName, const Variant& pValue);
  bool ISEMPTY(int32_t pID);  // no used item

  // ---- serialized and compact forms ------------------------------------------------------------
  // (defined in cls_StructureSerializer.cpp and cls_StructureCompact.cpp, which hold the grammars)
  // The serialized text of the node and its subtree: "a:2:{s:4:\"NAME\";s:4:\"Anna\";...}".
  // Raises kInvalidData for a tree nested deeper than 100 levels.
  std::string SERIALIZE(int32_t pID);
  // Empties the node (releasing its sub-structures), then fills it from the text. Text beginning
  // "QS" is the compact form (UNSERIALIZEBINARY); blank text leaves the node empty; anything else
  // must be one serialized array (or object) and resets the thread's depth counter first.
  // Raises kInvalidData "Serialized data invalid" or "Invalid data type found: X" (operation
  // UNSERIALIZE2); the node is left empty then.
  void UNSERIALIZE(int32_t pID, std::string_view rSerialData);
  // Reads one value at the byte offset rIndex and moves rIndex past it: an array's items are
  // appended to the node (result Empty), a scalar is returned. Nesting deeper than 100 raises.
  Variant UNSERIALIZE2(int32_t pID, std::string_view rSerialData, int64_t& rIndex);
  // "QS1:" + separator + ":" + pieces: keeps types, flags, empty names and unused slots.
  std::string SERIALIZEBINARY(int32_t pID);
  // Writes the node's pieces into rBuffer from rIndex on (growing it as needed); rIndex moves past
  // them. rBuffer is the host's list: it can collect several structures one after the other.
  void SERIALIZEBINARYBUFFER(int32_t pID, std::vector<std::string>& rBuffer, int64_t& rIndex);
  // The number of pieces SERIALIZEBINARYBUFFER writes for the node.
  int64_t SERIALIZEBINARYCOUNT(int32_t pID);
  // Empties the node and fills it from a compact text. Raises kInvalidData "Serialized data
  // invalid" (operation UNSERIALIZEBINARY) and leaves the node empty on bad input.
  void UNSERIALIZEBINARY(int32_t pID, std::string_view rSerialData);
  // Empties the node and reads one node's pieces from pBuffer at rIndex; rIndex moves past them.
  void UNSERIALIZEBINARYBUFFER(int32_t pID, const std::vector<std::string>& pBuffer, int64_t& rIndex);

  // ---- script, text and parameter forms, structure files ---------------------------------------
  // The forms are described in mdl_StructureScript.h (script) and mdl_StructureText.h (the others).
  // Script form: one line per used item, "\r\n" after each, one tab per level from pIndentation.
  // Raises 1000 for a tree nested deeper than 1000 levels (or holding itself).
  std::string SCRIPT(int32_t pID, int32_t pIndentation = 0);
  // SCRIPT without items whose value is Empty, Null, "" or a numeric zero, and without blocks
  // left empty by that.
  std::string SCRIPTNOTEMPTY(int32_t pID, int32_t pIndentation = 0);
  // Adds the items of a script text to the node (existing items are overwritten or extended, not
  // cleared). Raises 1000 "Script data invalid (line N): ..." on bad input; the items before the
  // bad line stay written.
  void PARSE(int32_t pID, std::string_view pText);
  // Writes the script form to the file (UTF-8, atomically: temporary file, fsync, rename).
  // Returns true; raises 52-76 on file failures, leaving an existing file as it was.
  bool SAVE(int32_t pID, const std::string& pFile);
  // Replaces the node's content by the file's items. Raises 53 for a missing file, 1000 for an
  // invalid one; on failure the node is unchanged. Lines starting "//" are skipped.
  bool LOAD(int32_t pID, const std::string& pFile);
  // LOAD that returns false instead of raising (missing, unreadable or invalid file); the node is
  // unchanged then.
  bool LOADEX(int32_t pID, const std::string& pFile);
  // SAVE with two lines first: "// " + signature and "// Version = " + version.
  bool SAVESIGNATURE(int32_t pID, const std::string& pFile, const Variant& pSignature, const Variant& pVersion);
  // LOAD of a file written by SAVESIGNATURE: raises 1000 when the first line is not "// " +
  // pSignature or the version lies outside pVersionMin..pVersionMax (an Empty bound is open;
  // numeric versions compare as numbers, others as texts).
  bool LOADSIGNATURE(int32_t pID, const std::string& pFile, const Variant& pSignature, const Variant& pVersionMin = {},
                     const Variant& pVersionMax = {});
  // Readable multi-line text: "NAME: value" per item, "NAME:" then the items two blanks deeper for
  // a sub-structure, "[i]: value" for unnamed items; lines joined by "\r\n". pIndent: levels of
  // two blanks before every line.
  std::string TEXT(int32_t pID, int32_t pIndent = 0);
  // TEXT without empty values (as SCRIPTNOTEMPTY).
  std::string TEXTNOTEMPTY(int32_t pID, int32_t pIndent = 0);
  // One line: "NAME: Anna, AGE: 7, SUB: (X: True)"; unnamed items give their value only. Longer
  // than pCut characters: cut to pCut - 3 characters plus "..." (pCut <= 0: never cut).
  std::string TEXTSHORT(int32_t pID, int32_t pCut = 100);
  // Every scalar value of the tree, depth first in index order, joined by pDelimeter.
  std::string TEXTVALUES(int32_t pID, std::string_view pDelimeter = "\r\n");
  // A nested HTML list: <ul><li><b>NAME</b>: value</li>...</ul>; names and values HTML-escaped,
  // braces as &#123; &#125; so that template output is never read as a command.
  std::string HTML(int32_t pID);
  // A reversible URL-safe query string: "NAME=Anna&SUB.X=True&CODE=%22007%22".
  std::string ENCODE(int32_t pID);
  // Adds the items of an ENCODE text to the node. Raises 1000 on bad input.
  void DECODE(int32_t pID, std::string_view pText);
  // "NAME=Anna&AGE=7": this node's items, plain text values, sub-structures as "(...)" short text.
  std::string PARAMETERS(int32_t pID, std::string_view pDelimeter = "&");
  // Every scalar of the tree under its dotted path: "NAME=Anna&SUB.X=True".
  std::string PARAMETERSSTRUCTURED(int32_t pID, std::string_view pDelimeter = "&");
  // PARAMETERSSTRUCTURED one per line, each indented by pIndent once per nesting level.
  std::string PARAMETERSSTRUCTUREDINDENT(int32_t pID, std::string_view pIndent = "\t",
                                         std::string_view pDelimeter = "\r\n");
  // The values of this node's items from index pStartI (at least BASE), at most pMaxCount of them
  // (0: all), joined by pDelimeter; pAdditional is appended when values were left out.
  std::string VALUELISTTEXT(int32_t pID, std::string_view pDelimeter = ", ", int32_t pMaxCount = 0, int32_t pStartI = 0,
                            std::string_view pAdditional = "");

  // ---- whole-tree operations -------------------------------------------------------------------
  // The rules and examples of each are in docs/API.md; cls_StructureTree does the work.
  // pStructure must be a structure of this manager: nothing raises 424, another thread's 5.
  // Recursion stops with error 1000 past cls_StructureTree::kMaxDepth levels; cycles are skipped.
  std::string JOIN(int32_t pID, std::string_view pGlue = "");
  void MERGE(int32_t pID, const StructurePtr& pStructure, std::string_view pPrefix = "", bool pKeepOrder = false);
  StructurePtr COPY(int32_t pID);
  StructurePtr CLONE(int32_t pID);
  StructurePtr DIFFERENCE(int32_t pID, const StructurePtr& pDefaults);
  void UPDATE(int32_t pID, const StructurePtr& pStructure);
  StructurePtr RESTRUCTURE(int32_t pID, std::string_view pConvertToStructChar = ".");
  void FLATADD(int32_t pID, const StructurePtr& pStructure, std::string_view pConvertStructChar = ".");
  StructurePtr FLATTEN(int32_t pID, std::string_view pConvertStructChar = ".");
  void LINEARADD(int32_t pID, const StructurePtr& pStructure);
  StructurePtr LINEAR(int32_t pID);
  void IDLISTADD(int32_t pID, const StructurePtr& pStructure);
  StructurePtr IDLIST(int32_t pID);
  void MOVE(int32_t pID, int32_t pIndex, int32_t pMoveTo);
  void SWAP(int32_t pID, int32_t pI1, int32_t pI2);
  bool RENAME(int32_t pID, std::string_view pOldID, std::string_view pNewID);
  StructurePtr MENU(int32_t pID, std::string_view pMenu = "");
  StructurePtr SELECTION(int32_t pID, const Variant& pSelected = {});
  void INCREASE(int32_t pID, const Variant& pIncreaseBy = 1, const Variant& pKey = {});
  void DECREASE(int32_t pID, const Variant& pDecreaseBy = 1, const Variant& pKey = {});
  std::string COPYCLIPBOARD(int32_t pID);
  std::string COPYCLIPBOARDNOTEMPTY(int32_t pID);

  // ---- access for the rest of the structure subsystem (text forms, tree operations) ----------
  struct Item {
    Variant value;
    uint32_t name = 0;       // atom in names()
    int32_t child : 30 = 0;  // node id when isStruct (ids stay far below 2^29)
    bool used : 1 = false;
    bool isStruct : 1 = false;
  };
  // The slots of a node, index = item index (always at least slot 0). REQUIRES: a node in use.
  const std::vector<Item>& Items(int32_t pID) const;
  const NameTable& Names() const { return names_; }
  NameTable& Names() { return names_; }
  bool Valid(int32_t pID) const;
  // Reference management for code that links nodes itself.
  void AddRef(int32_t pID);
  // The node's flag bits (kDefaultMode | kHasZero | kChanged | kAllowNothing).
  uint8_t Flags(int32_t pID) const;
  // The first used slot named by the atom (0 never names one), or -1. Never interns.
  int32_t FindSlot(int32_t pID, uint32_t pAtom);
  int32_t FindSlot(int32_t pID, ItemName pName);

  // ---- slot writing, for the readers and the tree operations -------------------------------------
  // The only way code outside this class changes slots. A written slot is used and holds either a
  // value or a sub-structure whose reference it owns (the one it held before is released); the
  // unused count and the name index stay in step; CHANGED is set. None of these does a Guard:
  // REQUIRES a node in use (ids from Alloc or a handle).
  //
  // Where a slot comes from: the first used slot with the name, else a fresh one named already
  // (the last unused slot, else one past MAX) -- the rule ITEM_LET follows for a new name.
  int32_t SlotFor(int32_t pID, uint32_t pAtom);
  // A numbered key's slot: index 0 makes the node zero-based (HASZERO), an index past MAX grows
  // MAX to it (the slots between stay unused). REQUIRES pIndex >= 0.
  int32_t SlotAt(int32_t pID, int32_t pIndex);
  // A new unused, unnamed slot at MAX + 1. Raises 9 when the node holds 2^31 - 1 slots.
  int32_t SlotAppend(int32_t pID);
  // Names a slot (atom 0: unnamed; MAX grows to it); a used slot moves in the name index.
  void SetName(int32_t pID, int32_t pSlot, uint32_t pAtom);
  // Stores a value in a slot (MAX grows to it). A cls_Structure value becomes a sub-structure
  // sharing that node (one more reference); one of another thread's manager raises 5.
  void SetValue(int32_t pID, int32_t pSlot, Variant pValue);
  // Stores the sub-structure pChild in a slot (MAX grows to it), taking over the reference the
  // caller holds on it.
  void SetChild(int32_t pID, int32_t pSlot, int32_t pChild);
  // SetName, then SetChild when pChild is not 0, else SetValue: one step for readers that name
  // and fill a slot together.
  void SetItem(int32_t pID, int32_t pSlot, uint32_t pAtom, Variant&& pValue, int32_t pChild = 0);
  // Appends a used slot after MAX named by the atom (0: unnamed) holding pValue or, when pChild is
  // not 0, the sub-structure pChild, whose reference the slot takes over. Sets CHANGED. No lookup:
  // REQUIRES the caller to know that no used slot of the node carries the name yet (readers that
  // build fresh nodes). Raises 9 past 2^31 - 1 slots. Returns the new index.
  int32_t AppendItem(int32_t pID, uint32_t pAtom, Variant&& pValue, int32_t pChild = 0);
  // Moves every slot of pFrom, with HASZERO, into pTo, which REQUIRES no slots yet (a fresh or
  // emptied node); pFrom is left empty. Names, values and sub-structures (with the references
  // their slots own) travel as they are. Sets CHANGED on both.
  void MoveSlots(int32_t pFrom, int32_t pTo);
  // Room for pSlots more slots without moving the node's slot table (a reader's hint).
  void ReserveSlots(int32_t pID, size_t pSlots);
  // Sets all flag bits at once (readers restoring a written node, copies).
  void SetFlags(int32_t pID, uint8_t pFlags);
  // Moves the slot pFrom to pTo, the slots between shifting by one; swaps two slots. Names,
  // values and sub-structures travel with their slots. REQUIRES both within 0..MAX.
  void MoveSlot(int32_t pID, int32_t pFrom, int32_t pTo);
  void SwapSlots(int32_t pID, int32_t pA, int32_t pB);
  // A decimal integer text with an optional "-" (at most 11 characters), read as an index: the
  // one rule for when a key part is a number. False for anything else.
  static bool IndexText(std::string_view pText, int64_t& rIndex);
  // Empties a node for a reader: sub-structures released, slots dropped, HASZERO and DEFAULTMODE
  // cleared, CHANGED set; the bound value and object stay.
  void Empty(int32_t pID);

 private:
  struct NameIndex;
  struct Extra;
  struct Node {
    std::vector<Item> items;       // empty for a fresh node: slot 0 is then implied
    std::unique_ptr<Extra> extra;  // bound value / object, name index: only when used
    int32_t unused = 0;            // unused slots between 1 and MAX
    int16_t refs = 0;
    uint8_t flags = 0;
    uint8_t boundKind = 0;  // bound value without extra: 0 Empty, 1 integer 0, 2 ""
    bool live = false;      // allocated and not yet freed
  };
  static int32_t hMax(const Node& n) { return n.items.empty() ? 0 : static_cast<int32_t>(n.items.size()) - 1; }
  // MAX grows to pSlot. REQUIRES pSlot >= the slot count (slot 0 of a fresh node included).
  void hGrow(Node& n, int32_t pSlot);
  // SetItem's general case: a used slot, a node with a name index or bound value, an object value.
  void hSetItem(int32_t pID, int32_t pSlot, uint32_t pAtom, Variant&& pValue, int32_t pChild);

  Node& hNode(int32_t pID);
  const Node& hNode(int32_t pID) const;
  [[noreturn]] static void hBadNode(int32_t pID);
  [[noreturn]] static void hTooManySlots();
  bool hFlag(int32_t pID, uint8_t f) const;
  void hFlagLet(int32_t pID, uint8_t f, bool v);
  Extra& hExtra(Node& n);
  int32_t hFindSlot(int32_t pID, uint32_t atom);
  int32_t hFindIn(Node& n, uint32_t atom);
  // The first used slot named pUpper (hash: NameTable::Hash of it), or -1; never interns.
  int32_t hFindName(Node& n, std::string_view pUpper, uint32_t hash);
  int32_t hScan(const Node& n, uint32_t atom) const;
  NameIndex* hIndexOf(Node& n);
  void hIndexInsert(Node& n, uint32_t atom, int32_t slot);
  void hIndexErase(Node& n, uint32_t atom, int32_t slot);
  Variant hValueOf(const Item& it);
  Variant hGet(int32_t pID, std::string_view upper, bool pForceIndex, const Variant& pDefault);
  Variant hItemGet(int32_t pID, const Variant& pKey, const Variant& pDefault,
                   bool pForceIndex);  // ITEM_GET's way for every key
  // A text key's hint, worked out on its first use in this manager (see kAtomKey).
  uint32_t hKeyHint(const Variant& pKey, std::string_view pText) const;
  // Notes the atom of a plain-name key on the key, where the hint has room for it; returns pAtom.
  uint32_t hNoteAtom(const Variant& pKey, uint32_t pAtom) const;
  bool hIsLive(int32_t pID) const { return pID > 0 && static_cast<size_t>(pID) < nodes_.size() && nodes_[pID].live; }
  Variant hGetIndex(int32_t pID, int64_t index, const Variant& pDefault);
  // pDotted false: the key holds no "." (the caller scanned it already), one step only; pHash:
  // the last part's hash when the caller has it, pAtom its atom. Returns the last part's atom.
  uint32_t hLet(int32_t pID, std::string_view upper, const Variant& pValue, bool pForceIndex, bool pDotted = true,
                const uint32_t* pHash = nullptr, uint32_t pAtom = 0);
  void hLetIndex(int32_t pID, int64_t index, const Variant& pValue, bool pForceIndex);
  // The one place a slot is filled: value or child (REQUIRES slot <= MAX), see "slot writing".
  void hFill(Node& n, int32_t slot, Variant&& pValue, int32_t pChild);
  void hStore(int32_t pID, int32_t slot, const Variant& pValue);
  void hDropIndex(Node& n);
  // HASZERO set (a write to slot 0), the name index dropped when it was built without slot 0.
  void hMakeZeroBased(Node& n);
  void hAfterReorder(Node& n);
  // A fresh slot for a new name: the last unused slot, else one past MAX; named already.
  int32_t hNewSlot(Node& n, uint32_t atom);
  void hResize(Node& n, int32_t newMax);
  void hRemove(int32_t pID, int32_t slot);
  // The slot of a dotted path's last part in the node that holds it (rNode), or -1.
  int32_t hWalk(int32_t pID, std::string_view upper, int32_t& rNode);
  int32_t hLastUnused(const Node& n) const;
  void hFree(int32_t pID);
  void hLive(int32_t id);  // a node leaves the free list: one reference, no slots
  void hPushFree(int32_t id);
  void hMarkFreed(Node& n);  // a released node's fields as a free node has them
  int32_t hAllocSlow();
  void hReleaseSlow(int32_t pID);
  void hLastHandleEnded();

  std::vector<Node> nodes_;    // upper bound = size() - 1
  std::vector<int32_t> free_;  // upper bound = size() - 1, used from index 1
  int32_t freeCount_ = 0;
  int32_t handles_ = 0;
  NameTable names_;
  // The top bits of a key hint that holds an atom of names_ (see kAtomKey); none when the table
  // has no serial.
  uint32_t atomTag_;
  HandlePool* pool_;  // ends with the last handle, which may outlive the manager
  bool terminated_ = false;
  std::shared_ptr<cls_StructureManager> keep_;                   // the manager itself, while it has handles
  const std::vector<Item> slotZeroOnly_ = std::vector<Item>(1);  // the slots of a fresh node
  struct Timing {
    int64_t calls = 0;
    double seconds = 0;
  };
  std::map<std::string, Timing, std::less<>> performance_;
};

// ---- the store's hot paths, inline: every reader goes through them once per item -------------------

inline cls_StructureManager::Node& cls_StructureManager::hNode(int32_t pID) {
  if (!hIsLive(pID)) [[unlikely]]
    hBadNode(pID);
  return nodes_[pID];
}

inline const cls_StructureManager::Node& cls_StructureManager::hNode(int32_t pID) const {
  return const_cast<cls_StructureManager*>(this)->hNode(pID);
}

inline bool cls_StructureManager::hFlag(int32_t pID, uint8_t f) const { return (hNode(pID).flags & f) != 0; }

inline void cls_StructureManager::hMakeZeroBased(Node& n) {
  if (n.flags & kHasZero) return;
  n.flags |= kHasZero;
  hDropIndex(n);  // the base decides what lookups see: an index built without slot 0 goes
}

inline void cls_StructureManager::hFlagLet(int32_t pID, uint8_t f, bool v) {
  Node& n = hNode(pID);
  const uint8_t before = n.flags;
  n.flags = v ? static_cast<uint8_t>(n.flags | f) : static_cast<uint8_t>(n.flags & ~f);
  // the base index decides which slots lookups see: the name index is rebuilt on demand
  if (f == kHasZero && before != n.flags) hDropIndex(n);
}

inline int32_t cls_StructureManager::BASE(int32_t pID) const { return (hNode(pID).flags & kHasZero) ? 0 : 1; }
inline int32_t cls_StructureManager::MAX(int32_t pID) const { return hMax(hNode(pID)); }
inline uint8_t cls_StructureManager::Flags(int32_t pID) const { return hNode(pID).flags; }

inline const std::vector<cls_StructureManager::Item>& cls_StructureManager::Items(int32_t pID) const {
  const Node& n = hNode(pID);
  return n.items.empty() ? slotZeroOnly_ : n.items;
}

// A node from the free list and a node released by its only holder without items: the cases of
// every short-lived handle, with nothing that can fail. The rest goes the long way.
inline int32_t cls_StructureManager::Alloc() {
  if (freeCount_ > 0 && free_[freeCount_] != 0) [[likely]] {
    const int32_t id = free_[freeCount_];
    free_[freeCount_] = 0;
    --freeCount_;
    hLive(id);
    return id;
  }
  return hAllocSlow();
}

inline void cls_StructureManager::hLive(int32_t id) {
  Node& node = nodes_[id];
  node.refs = 1;
  node.items.clear();  // slot 0 is implied until something is written
  node.unused = 0;
  node.live = true;
}

inline void cls_StructureManager::hMarkFreed(Node& n) {
  n.flags = 0;
  n.boundKind = 1;  // the bound value reads as the integer 0 after a release
  n.unused = 0;
  n.live = false;
}

inline void cls_StructureManager::Release(int32_t pID) {
  if (pID > 0 && static_cast<size_t>(pID) < nodes_.size() && !terminated_) [[likely]] {
    Node& n = nodes_[pID];
    if (n.refs > 1) {
      --n.refs;
      return;
    }
    if (n.refs == 1 && n.items.capacity() == 0 && !n.extra && freeCount_ + 1 < static_cast<int32_t>(free_.size()))
        [[likely]] {
      n.refs = 0;
      hMarkFreed(n);
      free_[++freeCount_] = pID;
      return;
    }
  }
  hReleaseSlow(pID);
}

inline void cls_StructureManager::hFill(Node& n, int32_t slot, Variant&& pValue, int32_t pChild) {
  Item& it = n.items[slot];
  const int32_t oldChild = it.isStruct ? it.child : 0;  // unused slots hold nothing
  if (!it.used) {
    it.used = true;
    if (slot >= 1) --n.unused;
    if (it.name && n.extra) hIndexInsert(n, it.name, slot);
  }
  it.isStruct = pChild != 0;
  it.child = pChild;
  if (pChild) it.value = Variant();
  else it.value = std::move(pValue);
  if (oldChild) Release(oldChild);
}

inline int32_t cls_StructureManager::SlotAt(int32_t pID, int32_t pIndex) {
  Node& n = nodes_[pID];  // REQUIRES a node in use: no check on the per-item path
  if (pIndex == 0) hMakeZeroBased(n);
  if (static_cast<size_t>(pIndex) >= n.items.size()) hGrow(n, pIndex);
  return pIndex;
}

inline void cls_StructureManager::SetName(int32_t pID, int32_t pSlot, uint32_t pAtom) {
  Node& n = nodes_[pID];  // REQUIRES a node in use: no check on the per-item path
  if (static_cast<size_t>(pSlot) >= n.items.size()) hGrow(n, pSlot);
  Item& it = n.items[pSlot];
  if (it.name == pAtom) return;
  if (it.used) hIndexErase(n, it.name, pSlot);
  it.name = pAtom;
  if (it.used) hIndexInsert(n, pAtom, pSlot);
}

inline void cls_StructureManager::SetValue(int32_t pID, int32_t pSlot, Variant pValue) {
  if (pValue.isObject()) [[unlikely]] {
    hNode(pID).flags |= kChanged;
    hStore(pID, pSlot, pValue);
    return;
  }
  Node& n = nodes_[pID];  // REQUIRES a node in use: no check on the per-item path
  n.flags |= kChanged;
  if (static_cast<size_t>(pSlot) >= n.items.size()) hGrow(n, pSlot);
  hFill(n, pSlot, std::move(pValue), 0);
}

inline void cls_StructureManager::SetChild(int32_t pID, int32_t pSlot, int32_t pChild) {
  Node& n = nodes_[pID];  // REQUIRES a node in use: no check on the per-item path
  n.flags |= kChanged;
  if (static_cast<size_t>(pSlot) >= n.items.size()) hGrow(n, pSlot);
  hFill(n, pSlot, Variant(), pChild);
}

inline void cls_StructureManager::SetItem(int32_t pID, int32_t pSlot, uint32_t pAtom, Variant&& pValue,
                                          int32_t pChild) {
  Node& n = nodes_[pID];  // REQUIRES a node in use: no check on the per-item path
  if (static_cast<size_t>(pSlot) >= n.items.size()) hGrow(n, pSlot);
  Item& it = n.items[pSlot];
  if (it.used || n.extra || pValue.isObject()) [[unlikely]]
    return hSetItem(pID, pSlot, pAtom, std::move(pValue), pChild);
  // an unused slot holds nothing to release, and a node without extra keeps no name index
  it.name = pAtom;
  it.used = true;
  if (pSlot >= 1) --n.unused;
  n.flags |= kChanged;
  if (pChild) {
    it.isStruct = true;
    it.child = pChild;
  } else {
    std::destroy_at(&it.value);  // Empty: moved into rather than assigned over
    std::construct_at(&it.value, std::move(pValue));
  }
}

inline void cls_StructureManager::ReserveSlots(int32_t pID, size_t pSlots) {
  Node& n = hNode(pID);
  n.items.reserve(std::max<size_t>(n.items.size(), 1) + pSlots);
}

inline void cls_StructureManager::SetFlags(int32_t pID, uint8_t pFlags) {
  Node& n = hNode(pID);
  if ((n.flags ^ pFlags) & kHasZero) hDropIndex(n);
  n.flags = pFlags;
}

inline void cls_StructureManager::hGrow(Node& n, int32_t pSlot) {
  if (static_cast<size_t>(pSlot) != n.items.size()) return hResize(n, pSlot);
  n.items.resize(n.items.size() + 1);  // one more slot, the common case of readers
  if (pSlot >= 1) ++n.unused;
}

inline int32_t cls_StructureManager::AppendItem(int32_t pID, uint32_t pAtom, Variant&& pValue, int32_t pChild) {
  Node& n = nodes_[pID];                   // REQUIRES a node in use: no check on the per-item path
  if (n.items.empty()) n.items.resize(1);  // slot 0 is implied in a fresh node
  if (n.items.size() >= static_cast<size_t>(std::numeric_limits<int32_t>::max())) [[unlikely]]
    hTooManySlots();
  const auto slot = static_cast<int32_t>(n.items.size());
  // built in place: the value is moved into a fresh slot, not assigned over an empty one
  if (pChild) n.items.emplace_back(Item{Variant(), pAtom, pChild, true, true});
  else n.items.emplace_back(Item{std::move(pValue), pAtom, 0, true, false});
  n.flags |= kChanged;
  if (pAtom && n.extra) hIndexInsert(n, pAtom, slot);
  return slot;
}

}  // namespace rykel
