// cls_StructureTree: the whole-tree operations of structures (join, merge, copy, difference,
// flatten and the like). The manager forwards its operations of the same names here; code outside
// the structure subsystem calls them through cls_Structure or cls_StructureManager.
//
// Rules every operation keeps:
// - Names written are upper case (they come from interned names or are upper-cased); an item
//   without a name is addressed by its index.
// - Recursion stops with error 1000 "Structure nested deeper than 1000 levels" past MaxDepth().
// - A structure stored inside itself (a cycle) never loops: COPY reproduces the cycle in the copy,
//   every other operation skips a sub-structure that is already on the path being walked.
// - Values are copied, never shared: sub-structures taken from another tree are deep copies.
// - Operations that change a node set its CHANGED flag.
//
// Not thread-safe: like the manager, one instance per thread.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "frame/Variant.h"
#include "frame/mdl_Limits.h"
#include "structure/cls_StructureManager.h"

namespace rykel {

class cls_StructureTree {
 public:
  // How deep a tree the recursive operations walk before they give up.
  static int MaxDepth() { return static_cast<int>(mdl_Limits::Get(mdl_Limits::kStructureDepth)); }

  explicit cls_StructureTree(cls_StructureManager& pManager) : m_(pManager) {}

  std::string JOIN(int32_t pID, std::string_view pGlue);
  void MERGE(int32_t pID, int32_t pOther, std::string_view pPrefix, bool pKeepOrder);
  int32_t COPY(int32_t pID);   // new node, reference count 1
  int32_t CLONE(int32_t pID);  // new node, reference count 1
  int32_t DIFFERENCE(int32_t pID, int32_t pOther);
  void UPDATE(int32_t pID, int32_t pOther);
  int32_t RESTRUCTURE(int32_t pID, std::string_view pConvertToStructChar);
  void FLATADD(int32_t pID, int32_t pOther, std::string_view pConvertStructChar);
  void LINEARADD(int32_t pID, int32_t pOther);
  void IDLISTADD(int32_t pID, int32_t pOther);
  void MOVE(int32_t pID, int32_t pIndex, int32_t pMoveTo);
  void SWAP(int32_t pID, int32_t pI1, int32_t pI2);
  bool RENAME(int32_t pID, std::string_view pOldID, std::string_view pNewID);
  int32_t MENU(int32_t pID, std::string_view pMenu);
  int32_t SELECTION(int32_t pID, const Variant& pSelected);
  void INCREASE(int32_t pID, const Variant& pIncreaseBy, const Variant& pKey);
  // "PATH = value" lines of the flat form, "\r\n" between them.
  std::string CLIPBOARDTEXT(int32_t pID, bool pNotEmpty);

  // The clipboard of a host without a desktop: COPYCLIPBOARD hands its text to the installed
  // handler; with none installed the text is kept and CLIPBOARD_GET returns it.
  using ClipboardHandler = std::function<void(const std::string&)>;
  static void SetClipboard(ClipboardHandler pHandler);
  static void hToClipboard(const std::string& pText);
  static std::string CLIPBOARD_GET();

  // A sum with the type rules of INCREASE: whole numbers stay whole (Integer -> Long -> Double as
  // they grow), Currency and Date keep their type, anything else becomes Double.
  static Variant hAddValue(const Variant& pValue, const Variant& pBy);

 private:
  using Item = cls_StructureManager::Item;

  void hEnter(int depth) const;
  int32_t hCopy(int32_t src, int depth, bool clone);
  void hPutCopy(int32_t node, int32_t slot, const Item& from);
  int32_t hEnsurePath(int32_t node, std::string_view upperPath);
  void hJoin(int32_t node, std::string_view glue, std::string& out, bool& first, int depth);
  void hMerge(int32_t dst, int32_t src, std::string_view namePrefix, bool keepOrder, int depth);
  bool hDifference(int32_t dst, int32_t a, int32_t b, int depth);
  void hUpdate(int32_t dst, int32_t src, int depth);
  void hFlat(int32_t dst, int32_t src, std::string& path, std::string_view sep, int depth);
  void hRestructure(int32_t dst, int32_t src, std::string_view sep, int depth);
  void hLinear(int32_t dst, int32_t src, int depth);
  void hMenu(int32_t dst, int32_t src, std::string& path, std::string_view menu, int depth);
  void hIncrease(int32_t node, const Variant& by, int depth);
  void hLines(int32_t node, std::string& path, bool notEmpty, std::string& out, int depth);
  std::string hKeyText(int32_t node, int32_t slot) const;
  std::string hCaption(int32_t node, int32_t slot);

  cls_StructureManager& m_;
  std::unordered_set<int32_t> onPath_;           // nodes of the walk in progress (cycle stop)
  std::unordered_map<int32_t, int32_t> copies_;  // COPY: source node -> its copy
};

}  // namespace rykel
