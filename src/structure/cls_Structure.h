// cls_Structure: the public handle of a structure. It holds a node id (SID) and the manager
// (MANAGER) and forwards every operation to the manager with SID first.
//
// A handle is not copyable: copying the shared pointer shares the handle; Ref() makes a second
// handle with its own reference on the node. A new handle starts on a fresh empty node of the
// thread's manager; destroying the handle releases its reference.
//
// The handle points at its manager plainly (no shared-pointer count to move per handle): the
// manager counts its handles and keeps itself alive while any exists (see hHandleCreated), so a
// handle may still outlive the thread that made its manager. Nor does it keep a weak pointer to
// itself: a shared pointer held only once then ends without one atomic count update.
//
//   auto s = std::make_shared<rykel::cls_Structure>();
//   s->ITEM_LET("a.b", 5);
//   int n = rykel::CLng(s->ITEM_GET("A.COUNT"));   // 1
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "frame/Object.h"
#include "frame/Variant.h"
#include "structure/cls_StructureManager.h"

namespace rykel {

class cls_Structure final : public Object {
 public:
  cls_Structure();
  ~cls_Structure() override;
  cls_Structure(const cls_Structure&) = delete;
  cls_Structure& operator=(const cls_Structure&) = delete;
  std::string TypeName() const override { return "cls_Structure"; }

  // A handle on an existing node of the manager, taking over a reference the caller holds.
  static StructurePtr Attach(const std::shared_ptr<cls_StructureManager>& pManager, int32_t pID) {
    return Attach(*pManager, pID);
  }
  static StructurePtr Attach(cls_StructureManager& pManager, int32_t pID);
  // A handle on a fresh empty node of the thread's manager (as the default constructor, but the
  // handle's memory comes from the manager's pool).
  static StructurePtr New();

  // ---- the handle ------------------------------------------------------------------------------
  // The manager's own shared pointer: it is held as long as the manager has a handle.
  const std::shared_ptr<cls_StructureManager>& MANAGER_GET() const {
    return MANAGER ? MANAGER->hKeeper() : cls_StructureManager::kNoManager;
  }
  void MANAGER_SET(const std::shared_ptr<cls_StructureManager>& pManager) {
    // the handle is counted by the manager it is on; the new one first, as it may be the same
    if (pManager) pManager->hHandleCreated();
    if (MANAGER) MANAGER->hHandleEnded();
    MANAGER = pManager.get();
  }
  bool IDENTICAL(const cls_Structure& pOther) const { return pOther.SID == SID; }
  int32_t SID_GET() const { return SID; }
  // Releases the node held so far, then holds pID without adding a reference.
  void CONNECT(int32_t pID);
  // A second handle on the same node (one more reference).
  StructurePtr Ref() const { return MANAGER->Ref(SID); }

  bool HASZERO_GET() const { return MANAGER->HASZERO_GET(SID); }
  void HASZERO_LET(bool v) { MANAGER->HASZERO_LET(SID, v); }
  bool CHANGED_GET() const { return MANAGER->CHANGED_GET(SID); }
  void CHANGED_LET(bool v) { MANAGER->CHANGED_LET(SID, v); }
  bool ALLOWNOTHING_GET() const { return MANAGER->ALLOWNOTHING_GET(SID); }
  void ALLOWNOTHING_LET(bool v) { MANAGER->ALLOWNOTHING_LET(SID, v); }
  bool DEFAULTMODE_GET() const { return MANAGER->DEFAULTMODE_GET(SID); }
  void DEFAULTMODE_LET(bool v) { MANAGER->DEFAULTMODE_LET(SID, v); }
  Variant VALUEBOUND_GET() const { return MANAGER->VALUEBOUND_GET(SID); }
  void VALUEBOUND_LET(const Variant& v) { MANAGER->VALUEBOUND_LET(SID, v); }
  void VALUEBOUND_SET(const Variant& v) { MANAGER->VALUEBOUND_SET(SID, v); }
  ObjectPtr OBJECTBOUND_GET() const { return MANAGER->OBJECTBOUND_GET(SID); }
  void OBJECTBOUND_SET(ObjectPtr o) { MANAGER->OBJECTBOUND_SET(SID, std::move(o)); }
  void SCHEMACLEAR() {}
  void SCHEMASET(const Variant& pI2S, const Variant& pS2I) {}

  // ---- items (see cls_StructureManager for each rule) ------------------------------------------
  Variant ITEM_GET(const Variant& pKey, const Variant& pDefault = {}, bool pForceIndex = false) {
    return MANAGER->ITEM_GET(SID, pKey, pDefault, pForceIndex);
  }
  Variant ItemGetDirect_GET(std::string_view pKeyUpper, int pKeyType, const Variant& pDefault, bool pForceIndex) {
    return MANAGER->ItemGetDirect_GET(SID, pKeyUpper, pKeyType, pDefault, pForceIndex);
  }
  void ITEM_LET(const Variant& pKey, const Variant& pValue, bool pForceIndex = false) {
    MANAGER->ITEM_LET(SID, pKey, pValue, pForceIndex);
  }
  void ITEM_SET(const Variant& pKey, const Variant& pValue, bool pForceIndex = false) {
    MANAGER->ITEM_SET(SID, pKey, pValue, pForceIndex);
  }
  void DEFAULT(const Variant& pKey, const Variant& pValue) { MANAGER->DEFAULT(SID, pKey, pValue); }
  // Interned names (see ItemName): made once, then read and written without handling text.
  ItemName NAME(std::string_view pName) const { return MANAGER->NAME(pName); }
  Variant ITEM_GET(ItemName pName, const Variant& pDefault = {}) { return MANAGER->ITEM_GET(SID, pName, pDefault); }
  void ITEM_LET(ItemName pName, const Variant& pValue) { MANAGER->ITEM_LET(SID, pName, pValue); }
  bool EXISTS_GET(ItemName pName) { return MANAGER->EXISTS_GET(SID, pName); }
  int32_t BASE() const { return MANAGER->BASE(SID); }
  int32_t MAX() const { return MANAGER->MAX(SID); }
  int32_t COUNT() const { return MANAGER->COUNT(SID); }
  int32_t ADD(const Variant& pValue) { return MANAGER->ADD(SID, pValue); }
  int32_t FIND(std::string_view pName) const { return MANAGER->FIND(SID, pName); }
  void CLEAR() { MANAGER->CLEAR(SID); }
  bool REMOVE(const Variant& pKey) { return MANAGER->REMOVE(SID, pKey); }
  bool EXISTS_GET(const Variant& pKey) { return MANAGER->EXISTS_GET(SID, pKey); }
  bool EXISTSVALUE_GET(const Variant& pValue) { return MANAGER->EXISTSVALUE_GET(SID, pValue); }
  int32_t ITEMINDEX_GET(const Variant& pKey) { return MANAGER->ITEMINDEX_GET(SID, pKey); }
  std::string ID_GET(int32_t pIndex) { return MANAGER->ID_GET(SID, pIndex); }
  void ID_LET(int32_t pIndex, std::string_view pNewID) { MANAGER->ID_LET(SID, pIndex, pNewID); }
  Variant ITEMBYID_GET(std::string_view pItemID, const Variant& pDefault = {}) {
    return MANAGER->ITEMBYID_GET(SID, pItemID, pDefault);
  }
  void ITEMBYID_LET(std::string_view pItemID, const Variant& pValue) { MANAGER->ITEMBYID_LET(SID, pItemID, pValue); }
  void ITEMBYID_SET(std::string_view pItemID, const Variant& pValue) { MANAGER->ITEMBYID_SET(SID, pItemID, pValue); }
  bool EXISTSBYID_GET(std::string_view pItemID) { return MANAGER->EXISTSBYID_GET(SID, pItemID); }
  Variant ITEMRECURSIVE_GET(std::string_view pItemID, const Variant& pDefault = {}) {
    return MANAGER->ITEMRECURSIVE_GET(SID, pItemID, pDefault);
  }
  Variant ITEMPARENT_GET(std::string_view pPath) { return MANAGER->ITEMPARENT_GET(SID, pPath); }
  int32_t COUNTSUBSTRUCTS() { return MANAGER->COUNTSUBSTRUCTS(SID); }
  int32_t COUNTALL() { return MANAGER->COUNTALL(SID); }
  void RESIZE(int32_t pMax) { MANAGER->RESIZE(SID, pMax); }
  int32_t INDEX(int32_t pPosition) { return MANAGER->INDEX(SID, pPosition); }
  void ITEMDIRECT_LET(int32_t pIndex, std::string_view pName, const Variant& pValue) {
    MANAGER->ITEMDIRECT_LET(SID, pIndex, pName, pValue);
  }
  bool ISEMPTY() { return MANAGER->ISEMPTY(SID); }
  // This structure (a second handle on its node, as Ref).
  StructurePtr SELF() { return Ref(); }

  // ---- serialized and compact forms ------------------------------------------------------------
  std::string SERIALIZE() { return MANAGER->SERIALIZE(SID); }
  void UNSERIALIZE(std::string_view rSerialData) { MANAGER->UNSERIALIZE(SID, rSerialData); }
  Variant UNSERIALIZE2(std::string_view rSerialData, int64_t& rIndex) {
    return MANAGER->UNSERIALIZE2(SID, rSerialData, rIndex);
  }
  std::string SERIALIZEBINARY() { return MANAGER->SERIALIZEBINARY(SID); }
  void SERIALIZEBINARYBUFFER(std::vector<std::string>& rBuffer, int64_t& rIndex) {
    MANAGER->SERIALIZEBINARYBUFFER(SID, rBuffer, rIndex);
  }
  int64_t SERIALIZEBINARYCOUNT() { return MANAGER->SERIALIZEBINARYCOUNT(SID); }
  void UNSERIALIZEBINARY(std::string_view rSerialData) { MANAGER->UNSERIALIZEBINARY(SID, rSerialData); }
  void UNSERIALIZEBINARYBUFFER(const std::vector<std::string>& pBuffer, int64_t& rIndex) {
    MANAGER->UNSERIALIZEBINARYBUFFER(SID, pBuffer, rIndex);
  }

  // ---- script, text and parameter forms, structure files ---------------------------------------
  std::string SCRIPT(int32_t pIndentation = 0) { return MANAGER->SCRIPT(SID, pIndentation); }
  std::string SCRIPTNOTEMPTY(int32_t pIndentation = 0) { return MANAGER->SCRIPTNOTEMPTY(SID, pIndentation); }
  void PARSE(std::string_view pText) { MANAGER->PARSE(SID, pText); }
  bool SAVE(const std::string& pFile) { return MANAGER->SAVE(SID, pFile); }
  bool LOAD(const std::string& pFile) { return MANAGER->LOAD(SID, pFile); }
  bool LOADEX(const std::string& pFile) { return MANAGER->LOADEX(SID, pFile); }
  bool SAVESIGNATURE(const std::string& pFile, const Variant& pSignature, const Variant& pVersion) {
    return MANAGER->SAVESIGNATURE(SID, pFile, pSignature, pVersion);
  }
  bool LOADSIGNATURE(const std::string& pFile, const Variant& pSignature, const Variant& pVersionMin = {},
                     const Variant& pVersionMax = {}) {
    return MANAGER->LOADSIGNATURE(SID, pFile, pSignature, pVersionMin, pVersionMax);
  }
  std::string TEXT(int32_t pIndent = 0) { return MANAGER->TEXT(SID, pIndent); }
  std::string TEXTNOTEMPTY(int32_t pIndent = 0) { return MANAGER->TEXTNOTEMPTY(SID, pIndent); }
  std::string TEXTSHORT(int32_t pCut = 100) { return MANAGER->TEXTSHORT(SID, pCut); }
  std::string TEXTVALUES(std::string_view pDelimeter = "\r\n") { return MANAGER->TEXTVALUES(SID, pDelimeter); }
  std::string HTML() { return MANAGER->HTML(SID); }
  std::string ENCODE() { return MANAGER->ENCODE(SID); }
  void DECODE(std::string_view pText) { MANAGER->DECODE(SID, pText); }
  std::string PARAMETERS(std::string_view pDelimeter = "&") { return MANAGER->PARAMETERS(SID, pDelimeter); }
  std::string PARAMETERSSTRUCTURED(std::string_view pDelimeter = "&") {
    return MANAGER->PARAMETERSSTRUCTURED(SID, pDelimeter);
  }
  std::string PARAMETERSSTRUCTUREDINDENT(std::string_view pIndent = "\t", std::string_view pDelimeter = "\r\n") {
    return MANAGER->PARAMETERSSTRUCTUREDINDENT(SID, pIndent, pDelimeter);
  }
  std::string VALUELISTTEXT(std::string_view pDelimeter = ", ", int32_t pMaxCount = 0, int32_t pStartI = 0,
                            std::string_view pAdditional = "") {
    return MANAGER->VALUELISTTEXT(SID, pDelimeter, pMaxCount, pStartI, pAdditional);
  }

  // ---- whole-tree operations -------------------------------------------------------------------
  // Each rule with an example is in docs/API.md. Operations that change this structure return it
  // (a handle on it, as SELF) for chaining; the others return a new structure. pStructure: nothing raises
  // 424. Past 1000 nesting levels they raise 1000; a structure stored inside itself is skipped
  // (COPY copies the cycle).
  std::string JOIN(std::string_view pGlue = "") { return MANAGER->JOIN(SID, pGlue); }
  StructurePtr MERGE(const StructurePtr& pStructure, std::string_view pPrefix = "", bool pKeepOrder = false) {
    MANAGER->MERGE(SID, pStructure, pPrefix, pKeepOrder);
    return Ref();
  }
  StructurePtr COPY() { return MANAGER->COPY(SID); }
  StructurePtr CLONE() { return MANAGER->CLONE(SID); }
  StructurePtr DIFFERENCE(const StructurePtr& pDefaults) { return MANAGER->DIFFERENCE(SID, pDefaults); }
  StructurePtr UPDATE(const StructurePtr& pStructure) {
    MANAGER->UPDATE(SID, pStructure);
    return Ref();
  }
  StructurePtr RESTRUCTURE(std::string_view pConvertToStructChar = ".") {
    return MANAGER->RESTRUCTURE(SID, pConvertToStructChar);
  }
  StructurePtr FLATADD(const StructurePtr& pStructure, std::string_view pConvertStructChar = ".") {
    MANAGER->FLATADD(SID, pStructure, pConvertStructChar);
    return Ref();
  }
  StructurePtr FLATTEN(std::string_view pConvertStructChar = ".") { return MANAGER->FLATTEN(SID, pConvertStructChar); }
  StructurePtr LINEARADD(const StructurePtr& pStructure) {
    MANAGER->LINEARADD(SID, pStructure);
    return Ref();
  }
  StructurePtr LINEAR() { return MANAGER->LINEAR(SID); }
  StructurePtr IDLISTADD(const StructurePtr& pStructure) {
    MANAGER->IDLISTADD(SID, pStructure);
    return Ref();
  }
  StructurePtr IDLIST() { return MANAGER->IDLIST(SID); }
  StructurePtr MOVE(int32_t pIndex, int32_t pMoveTo) {
    MANAGER->MOVE(SID, pIndex, pMoveTo);
    return Ref();
  }
  StructurePtr SWAP(int32_t pI1, int32_t pI2) {
    MANAGER->SWAP(SID, pI1, pI2);
    return Ref();
  }
  bool RENAME(std::string_view pOldID, std::string_view pNewID) { return MANAGER->RENAME(SID, pOldID, pNewID); }
  StructurePtr MENU(std::string_view pMenu = "") { return MANAGER->MENU(SID, pMenu); }
  StructurePtr SELECTION(const Variant& pSelected = {}) { return MANAGER->SELECTION(SID, pSelected); }
  StructurePtr INCREASE(const Variant& pIncreaseBy = 1, const Variant& pKey = {}) {
    MANAGER->INCREASE(SID, pIncreaseBy, pKey);
    return Ref();
  }
  StructurePtr DECREASE(const Variant& pDecreaseBy = 1, const Variant& pKey = {}) {
    MANAGER->DECREASE(SID, pDecreaseBy, pKey);
    return Ref();
  }
  std::string COPYCLIPBOARD() { return MANAGER->COPYCLIPBOARD(SID); }
  std::string COPYCLIPBOARDNOTEMPTY() { return MANAGER->COPYCLIPBOARDNOTEMPTY(SID); }

 private:
  struct AttachTag {};

 public:
  cls_Structure(AttachTag, cls_StructureManager* pManager, int32_t pID) noexcept : SID(pID), MANAGER(pManager) {
    if (MANAGER) MANAGER->hHandleCreated();
  }

 private:
  int32_t SID = 0;
  cls_StructureManager* MANAGER;
  friend class cls_StructureManager;
};

}  // namespace rykel
