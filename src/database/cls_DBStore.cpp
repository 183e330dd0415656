// cls_DBStore: state, fields, views, the header structure, the entry table and its indexes, value
// columns and text forms. Files and the whole-database forms are in cls_DBStore_files.cpp.
#include "database/cls_DBStore.h"

#include <algorithm>
#include <cmath>

#include "database/DBBinaryFile.h"
#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/Random.h"
#include "frame/Text.h"
#include "frame/mdl_Global.h"
#include "structure/cls_StructureSerializer.h"
#include "structure/mdl_GlobalStructure.h"

namespace rykel {

namespace {

constexpr const char* kClass = "cls_DB";  // the error source hosts see

// Lookup form of a field name: upper case, "_" and "." alike.
std::string hFieldKey(std::string_view name) { return text::UCase(text::Replace(name, "_", ".")); }

// A unique text id: 32 hex digits, as a unique id text without "{", "}" and "-". Drawn from the
// thread's generator (a seeded run makes the same ids); the caller redraws an id already in use.
std::string hUniqueText() {
  static const char* kHex = "0123456789ABCDEF";
  std::string s(32, '0');
  Random& rng = ThreadRandom();
  const uint64_t a = rng.Next(), b = rng.Next();
  for (int i = 0; i < 16; ++i) {
    s[static_cast<size_t>(i)] = kHex[(a >> (i * 4)) & 0xF];
    s[static_cast<size_t>(16 + i)] = kHex[(b >> (i * 4)) & 0xF];
  }
  return s;
}

// A stored value in its field's type. Text forms carry dates (and, from older files, numbers and
// booleans) as text; they are read back typed. A text that does not convert stays as it is.
Variant hTyped(const cls_DBField& f, Variant v) {
  if (v.isString() && !v.str().empty() &&
      (f.TYPE == ID_DBFieldType_Date || f.TYPE == ID_DBFieldType_Boolean || DBFieldTypeIsNumeric(f.TYPE))) {
    Variant t = f.VALUECONVERT(v);
    if (!t.isEmpty()) return t;
  }
  return v;  // taken over when the caller gave it up
}

// The typed value of the first used slot named by the atom, read straight from the node's slots;
// Empty when there is none.
Variant hSlotValue(const cls_Structure& pData, uint32_t pAtom, const cls_DBField& pField) {
  auto& m = *pData.MANAGER_GET();
  for (const auto& it : m.Items(pData.SID_GET())) {
    if (it.used && it.name == pAtom) return it.isStruct ? Variant(m.Ref(it.child)) : hTyped(pField, it.value);
  }
  return Variant();
}

// The reader's fields of an entry (all Empty for none).
void hReadValues(const cls_Structure* pData, const cls_DBStore::EntryReader& pReader, std::vector<Variant>& rValues) {
  rValues.assign(pReader.fields.size(), Variant());
  if (!pData) return;
  for (size_t i = 0; i < pReader.fields.size(); ++i)
    if (pReader.atoms[i]) rValues[i] = hSlotValue(*pData, pReader.atoms[i], *pReader.fields[i]);
}

}  // namespace

cls_DBStore::cls_DBStore() { DBCLEAR(); }

cls_DBStore::~cls_DBStore() = default;

void cls_DBStore::DBNUMERIC_LET(bool v) {
  if (v == entries_.Numeric()) return;
  entries_.SetNumeric(v);
  for (auto& idx : indexes_) idx.reset();
  hEntryChanged();
}

StructurePtr cls_DBStore::HEADERLOCATIONS_GET() {
  if (!headerLocations_) headerLocations_ = cls_Structure::New();
  return headerLocations_;
}

StructurePtr cls_DBStore::FLAGS(int32_t pKind) {
  return Guard(kClass, "FLAGS", [&] { return mdl_Global::FLAGSGLOBAL(pKind); });
}

std::string cls_DBStore::DEBUGTRACK_GET() const {
  std::string s = track_ ? track_ : "";
  if (trackA_ >= 0 || trackB_ >= 0) s += std::to_string(trackA_) + "/" + std::to_string(trackB_);
  return s;
}

// ---- fields ---------------------------------------------------------------------------------

DBFieldPtr cls_DBStore::hFieldOrNull(const Variant& pField, int32_t* rNo) const {
  if (rNo) *rNo = 0;
  if (pField.isObject()) {
    auto f = pField.as<cls_DBField>();
    for (size_t i = 0; i < fields_.size(); ++i)
      if (fields_[i] == f) {
        if (rNo) *rNo = static_cast<int32_t>(i + 1);
        return f;
      }
    return nullptr;
  }
  if (pField.isNumber()) {
    int64_t n = static_cast<int64_t>(CDbl(pField));
    if (n < 1 || n > static_cast<int64_t>(fields_.size())) return nullptr;
    if (rNo) *rNo = static_cast<int32_t>(n);
    return fields_[static_cast<size_t>(n - 1)];
  }
  std::string key = hFieldKey(CStr(pField));
  if (fieldKeys_.size() != fields_.size()) fieldKeys_.resize(fields_.size());
  for (size_t i = 0; i < fields_.size(); ++i) {
    auto& [raw, k] = fieldKeys_[i];
    if (raw != fields_[i]->ID || (k.empty() && !raw.empty())) {
      raw = fields_[i]->ID;
      k = hFieldKey(raw);
    }
    if (k == key) {
      if (rNo) *rNo = static_cast<int32_t>(i + 1);
      return fields_[i];
    }
  }
  for (size_t i = 0; i < fields_.size(); ++i)
    if (!fields_[i]->NAME.empty() && hFieldKey(fields_[i]->NAME) == key) {
      if (rNo) *rNo = static_cast<int32_t>(i + 1);
      return fields_[i];
    }
  return nullptr;
}

void cls_DBStore::hRebuildFieldMap() {
  fieldKeys_.clear();
  indexes_.assign(fields_.size(), nullptr);
  columns_.assign(fields_.size(), Column{});
  refDBs_.clear();
}

bool cls_DBStore::FIELDADD(const DBFieldPtr& pField) {
  return Guard(kClass, "FIELDADD", [&] {
    if (!pField || pField->ID.empty() || hFieldOrNull(Variant(pField->ID))) return false;
    fields_.push_back(pField);
    indexes_.push_back(nullptr);
    columns_.push_back(Column{});
    fieldKeys_.clear();
    fieldsChanged_ = true;
    return true;
  });
}

DBFieldPtr cls_DBStore::FIELDCREATE(const std::string& pID, int32_t pType, const std::string& pName) {
  return Guard(kClass, "FIELDCREATE", [&]() -> DBFieldPtr {
    if (auto f = hFieldOrNull(Variant(pID))) return f;
    if (pID.empty()) Raise(err::kInvalidCall, "a field needs an ID");
    auto f = std::make_shared<cls_DBField>();
    f->ID = pID;
    f->TYPE = pType;
    f->NAME = pName.empty() ? pID : pName;
    FIELDADD(f);
    return f;
  });
}

bool cls_DBStore::FIELDREMOVE(const Variant& pField) {
  return Guard(kClass, "FIELDREMOVE", [&] {
    int32_t no = 0;
    if (!hFieldOrNull(pField, &no)) return false;
    fields_.erase(fields_.begin() + (no - 1));
    hRebuildFieldMap();
    fieldsChanged_ = true;
    return true;
  });
}

void cls_DBStore::FIELDSCLEAR() {
  GuardVoid(kClass, "FIELDSCLEAR", [&] {
    fields_.clear();
    hRebuildFieldMap();
    fieldsChanged_ = true;
  });
}

DBFieldPtr cls_DBStore::FIELD(const Variant& pField) const {
  return Guard(kClass, "FIELD", [&] { return hFieldOrNull(pField); });
}

int32_t cls_DBStore::FIELDFIND(const Variant& pField) const {
  return Guard(kClass, "FIELDFIND", [&] {
    int32_t no = 0;
    hFieldOrNull(pField, &no);
    return no;
  });
}

bool cls_DBStore::FIELDINDEXED(const Variant& pField) const {
  return Guard(kClass, "FIELDINDEXED", [&] {
    auto f = hFieldOrNull(pField);
    return f && f->INDEXED;
  });
}

std::shared_ptr<cls_DBIndex> cls_DBStore::FIELDINDEX(const Variant& pField) {
  return Guard(kClass, "FIELDINDEX", [&]() -> std::shared_ptr<cls_DBIndex> {
    int32_t no = 0;
    auto f = hFieldOrNull(pField, &no);
    if (!f) return nullptr;
    hIndexSync();
    return indexes_[static_cast<size_t>(no - 1)];
  });
}

// Brings the index set in line with the fields' INDEXED flags: builds the missing ones from the
// entries, drops those of fields no longer indexed.
void cls_DBStore::hIndexSync() {
  if (indexes_.size() != fields_.size()) indexes_.assign(fields_.size(), nullptr);
  for (size_t i = 0; i < fields_.size(); ++i) {
    const cls_DBField& f = *fields_[i];
    if (!f.INDEXED) {
      indexes_[i].reset();
      continue;
    }
    if (indexes_[i]) continue;
    auto idx = std::make_shared<cls_DBIndex>();
    const auto& col = FIELDCOLUMN(static_cast<int32_t>(i + 1));
    const auto& all = entries_.Entries();
    for (size_t p = 0; p < all.size(); ++p) idx->ADD(f.INDEXKEY(col[p]), all[p].id);
    indexes_[i] = std::move(idx);
  }
}

std::shared_ptr<cls_DBStore> cls_DBStore::FIELDDB(const Variant& pField) {
  return Guard(kClass, "FIELDDB", [&]() -> std::shared_ptr<cls_DBStore> {
    auto f = hFieldOrNull(pField);
    if (!f || f->REFERENCESOURCE.empty()) return nullptr;
    for (const auto& [src, db] : refDBs_)
      if (src == f->REFERENCESOURCE) return db;
    std::string path = f->REFERENCESOURCE;
    if (!path.empty() && path[0] != '/' && !dbFile_.empty()) {
      size_t slash = dbFile_.rfind('/');
      if (slash != std::string::npos) path = dbFile_.substr(0, slash + 1) + path;
    }
    if (!mdl_FileTools::FILEEXISTS(path)) return nullptr;
    auto db = New();
    if (!db->DBOPENREADONLY(path, "", false)) return nullptr;
    refDBs_.emplace_back(f->REFERENCESOURCE, db);
    return db;
  });
}

// ---- views ----------------------------------------------------------------------------------

DBViewPtr cls_DBStore::VIEW(const Variant& pView) const {
  return Guard(kClass, "VIEW", [&]() -> DBViewPtr {
    if (pView.isNumber()) {
      int64_t n = static_cast<int64_t>(CDbl(pView));
      if (n < 1 || n > static_cast<int64_t>(views_.size())) return nullptr;
      return views_[static_cast<size_t>(n - 1)];
    }
    std::string key = text::UCase(CStr(pView));
    if (key.empty()) return views_.empty() ? nullptr : views_.front();
    for (const auto& v : views_)
      if (text::UCase(v->ID) == key) return v;
    return nullptr;
  });
}

bool cls_DBStore::VIEWREMOVE(const Variant& pView) {
  return Guard(kClass, "VIEWREMOVE", [&] {
    auto v = VIEW(pView);
    auto it = std::find(views_.begin(), views_.end(), v);
    if (!v || it == views_.end()) return false;
    views_.erase(it);
    return true;
  });
}

// ---- header structure ---------------------------------------------------------------------------

StructurePtr cls_DBStore::HEADERSTRUCTURE_GET() {
  return Guard(kClass, "HEADERSTRUCTURE.GET", [&] {
    auto h = cls_Structure::New();
    h->ITEM_LET("HEADER.NAME", name_);
    h->ITEM_LET("HEADER.ID", id_);
    h->ITEM_LET("HEADER.ICON", icon_);
    h->ITEM_LET("HEADER.DESCRIPTION", description_);
    h->ITEM_LET("HEADER.MOVABLE", movable_);
    h->ITEM_LET("HEADER.EXTENSIBLE", extensible_);
    h->ITEM_LET("HEADER.MASK", mask_);
    h->ITEM_LET("HEADER.TYPING", typing_);
    h->ITEM_LET("HEADER.NUMERIC", entries_.Numeric());
    auto views = cls_Structure::New();
    for (const auto& v : views_) views->ITEMBYID_LET(text::Replace(v->ID, ".", "_"), Variant(v->STRUCTURE_GET()));
    h->ITEM_LET("VIEWS", Variant(views));
    auto fields = cls_Structure::New();
    for (const auto& f : fields_) fields->ITEMBYID_LET(text::Replace(f->ID, ".", "_"), Variant(f->STRUCTURE_GET()));
    h->ITEM_LET("FIELDS", Variant(fields));
    return h;
  });
}

void cls_DBStore::HEADERSTRUCTURE_LET(const StructurePtr& pHeader) {
  GuardVoid(kClass, "HEADERSTRUCTURE.LET", [&] {
    if (!pHeader) return;
    cls_Structure& h = *pHeader;
    name_ = CStr(h.ITEM_GET("HEADER.NAME"));
    id_ = CStr(h.ITEM_GET("HEADER.ID"));
    icon_ = CStr(h.ITEM_GET("HEADER.ICON", "database"));
    description_ = CStr(h.ITEM_GET("HEADER.DESCRIPTION"));
    movable_ = mdl_Global::hCBool(h.ITEM_GET("HEADER.MOVABLE", true));
    extensible_ = mdl_Global::hCBool(h.ITEM_GET("HEADER.EXTENSIBLE", true));
    mask_ = CStr(h.ITEM_GET("HEADER.MASK"));
    typing_ = CStr(h.ITEM_GET("HEADER.TYPING"));
    DBNUMERIC_LET(mdl_Global::hCBool(h.ITEM_GET("HEADER.NUMERIC", true)));

    fields_.clear();
    if (auto fs = h.ITEM_GET("FIELDS").as<cls_Structure>()) {
      for (int32_t i = fs->BASE(); i <= fs->MAX(); ++i) {
        auto def = fs->ITEM_GET(i).as<cls_Structure>();
        if (!def) continue;
        auto f = std::make_shared<cls_DBField>();
        f->STRUCTURE_LET(def);
        f->ID = text::Replace(fs->ID_GET(i), "_", ".");
        fields_.push_back(std::move(f));
      }
    }
    hRebuildFieldMap();

    views_.clear();
    if (auto vs = h.ITEM_GET("VIEWS").as<cls_Structure>()) {
      for (int32_t i = vs->BASE(); i <= vs->MAX(); ++i) {
        auto def = vs->ITEM_GET(i).as<cls_Structure>();
        if (!def) continue;
        auto v = std::make_shared<cls_DBView>();
        v->STRUCTURE_LET(def);
        v->ID = text::Replace(vs->ID_GET(i), "_", ".");
        views_.push_back(std::move(v));
      }
    }
    fieldsChanged_ = false;
  });
}

// ---- entry table -----------------------------------------------------------------------------

void cls_DBStore::hEntryChanged() {
  ++generation_;
  entryChanged_ = true;
}

void cls_DBStore::hEntryIndexAdd(const Variant& pID, const StructurePtr& pData) {
  for (size_t i = 0; i < indexes_.size(); ++i) {
    if (!indexes_[i]) continue;
    const cls_DBField& f = *fields_[i];
    indexes_[i]->ADD(f.INDEXKEY(pData ? pData->ITEMBYID_GET(f.ID) : Variant()), pID);
  }
}

void cls_DBStore::hEntryIndexRemove(const Variant& pID, const StructurePtr& pData) {
  for (size_t i = 0; i < indexes_.size(); ++i) {
    if (!indexes_[i]) continue;
    const cls_DBField& f = *fields_[i];
    indexes_[i]->REMOVE(f.INDEXKEY(pData ? pData->ITEMBYID_GET(f.ID) : Variant()), pID);
  }
}

StructurePtr cls_DBStore::ENTRY(const Variant& pID) {
  return Guard(kClass, "ENTRY", [&]() -> StructurePtr {
    const auto* e = entries_.Find(entries_.NormalizeId(pID));
    return e ? e->data : nullptr;
  });
}

bool cls_DBStore::ENTRYEXISTS(const Variant& pID) const {
  return Guard(kClass, "ENTRYEXISTS", [&] { return entries_.Find(entries_.NormalizeId(pID)) != nullptr; });
}

Variant cls_DBStore::ENTRYADD(const Variant& pID, const StructurePtr& pData) {
  return Guard(kClass, "ENTRYADD", [&] {
    Variant id = entries_.NormalizeId(pID);
    StructurePtr data = pData;
    if (!data) {
      data = cls_Structure::New();
      for (const auto& f : fields_)
        if (!f->DEFAULT.isEmpty()) data->ITEMBYID_LET(f->ID, f->DEFAULTVALUE_GET());
    }
    hIndexSync();
    if (const auto* old = entries_.Find(id)) hEntryIndexRemove(id, old->data);
    entries_.Put(id, data);
    hEntryIndexAdd(id, data);
    hEntryChanged();
    return id;
  });
}

Variant cls_DBStore::ENTRYFIELD_GET(const Variant& pID, const Variant& pField) {
  return Guard(kClass, "ENTRYFIELD.GET", [&]() -> Variant {
    const auto* e = entries_.Find(entries_.NormalizeId(pID));
    if (!e || !e->data) return Variant();
    auto f = hFieldOrNull(pField);
    if (!f) return e->data->ITEMBYID_GET(CStr(pField));
    return hTyped(*f, e->data->ITEMBYID_GET(f->ID));
  });
}

void cls_DBStore::ENTRYFIELD_LET(const Variant& pID, const Variant& pField, const Variant& pValue) {
  GuardVoid(kClass, "ENTRYFIELD.LET", [&] {
    Variant id = entries_.NormalizeId(pID);
    int32_t no = 0;
    auto f = hFieldOrNull(pField, &no);
    std::string key = f ? f->ID : CStr(pField);
    if (key.empty()) Raise(err::kInvalidCall, "ENTRYFIELD needs a field");
    hIndexSync();
    const auto* e = entries_.Find(id);
    if (!e) {
      ENTRYADD(id);
      e = entries_.Find(id);
    }
    StructurePtr data = e->data;
    if (!data) {
      data = cls_Structure::New();
      entries_.Put(id, data);
    }
    Variant old = data->ITEMBYID_GET(key);
    if (f && f->WRITEONCE && !(old.isEmpty() || (old.isString() && old.str().empty())))
      Raise(err::kInvalidCall, "field '" + f->ID + "' is written once and already holds a value");
    Variant value = pValue;
    if (f) {
      Variant conv = f->VALUECONVERT(pValue);
      if (!(conv.isEmpty() && !pValue.isEmpty())) value = conv;
    }
    data->ITEMBYID_LET(key, value);
    if (f && no > 0 && indexes_[static_cast<size_t>(no - 1)]) {
      auto& idx = *indexes_[static_cast<size_t>(no - 1)];
      idx.REMOVE(f->INDEXKEY(old), id);
      idx.ADD(f->INDEXKEY(value), id);
    }
    hEntryChanged();
    hFieldDynamicRebuild(id);
  });
}

bool cls_DBStore::ENTRYREMOVE(const Variant& pID) {
  return Guard(kClass, "ENTRYREMOVE", [&] {
    Variant id = entries_.NormalizeId(pID);
    const auto* e = entries_.Find(id);
    if (!e) return false;
    hIndexSync();
    hEntryIndexRemove(id, e->data);
    entries_.Remove(id, nullptr);
    hEntryChanged();
    return true;
  });
}

void cls_DBStore::ENTRYCLEAR() {
  GuardVoid(kClass, "ENTRYCLEAR", [&] {
    entries_.Clear();
    for (auto& idx : indexes_) idx.reset();
    freeCounter_ = freeCounterEven_ = 0;
    ++generation_;
  });
}

void cls_DBStore::ENTRYREINDEX() {
  GuardVoid(kClass, "ENTRYREINDEX", [&] {
    ++generation_;
    indexes_.assign(fields_.size(), nullptr);
    hIndexSync();
  });
}

StructurePtr cls_DBStore::ENTRYSTRUCTURE_GET() {
  return Guard(kClass, "ENTRYSTRUCTURE.GET", [&] {
    auto s = cls_Structure::New();
    for (const auto& e : entries_.Entries())
      s->ITEMBYID_LET(CStr(e.id), e.data ? Variant(e.data) : Variant(cls_Structure::New()));
    return s;
  });
}

void cls_DBStore::ENTRYSTRUCTURE_LET(const StructurePtr& pEntries) {
  GuardVoid(kClass, "ENTRYSTRUCTURE.LET", [&] {
    entries_.Clear();
    for (auto& idx : indexes_) idx.reset();
    if (pEntries) {
      auto& m = *pEntries->MANAGER_GET();
      const auto& items = m.Items(pEntries->SID_GET());
      entries_.Reserve(items.size());
      for (size_t i = 0; i < items.size(); ++i) {
        const auto& it = items[i];
        if (!it.used) continue;
        Variant id =
            entries_.NormalizeId(it.name ? Variant(m.Names().Name(it.name)) : Variant(static_cast<int32_t>(i)));
        StructurePtr data = it.isStruct ? m.Ref(it.child) : cls_Structure::New();
        entries_.Put(id, std::move(data));
      }
    }
    ENTRYREINDEX();
    hEntryChanged();
  });
}

Variant cls_DBStore::ENTRYFREEID() {
  return Guard(kClass, "ENTRYFREEID", [&]() -> Variant {
    if (!entries_.Numeric()) {
      std::string t;
      do t = hUniqueText();
      while (entries_.Find(Variant(t)));
      return Variant(t);
    }
    freeCounter_ += 1;
    Variant id = entries_.NormalizeId(Variant(freeCounter_));
    if (entries_.Find(id)) {
      freeCounter_ = entries_.MaxId() + 1;
      id = entries_.NormalizeId(Variant(freeCounter_));
    }
    return id;
  });
}

Variant cls_DBStore::ENTRYFREEIDEVEN() {
  return Guard(kClass, "ENTRYFREEIDEVEN", [&]() -> Variant {
    if (!entries_.Numeric()) {
      std::string t;
      do t = hUniqueText();
      while (entries_.Find(Variant(t)));
      return Variant(t);
    }
    freeCounterEven_ += 1;
    if (entries_.Find(entries_.NormalizeId(Variant(freeCounterEven_)))) freeCounterEven_ = entries_.MaxId() + 1;
    while (std::fmod(freeCounterEven_, 2.0) != 0 || entries_.Find(entries_.NormalizeId(Variant(freeCounterEven_))))
      freeCounterEven_ += 1;
    return entries_.NormalizeId(Variant(freeCounterEven_));
  });
}

std::vector<Variant> cls_DBStore::ENTRYALL_IDS() {
  return Guard(kClass, "ENTRYALL", [&] {
    std::vector<Variant> ids;
    const auto& all = entries_.Entries();
    ids.reserve(all.size());
    for (const auto& e : all) ids.push_back(e.id);
    return ids;
  });
}

// ---- value columns ---------------------------------------------------------------------------

const std::vector<Variant>& cls_DBStore::FIELDCOLUMN(int32_t pFieldNo) {
  if (pFieldNo < 1 || pFieldNo > FIELDS()) Raise(err::kOutOfRange, "no field number " + std::to_string(pFieldNo));
  if (columns_.size() != fields_.size()) columns_.assign(fields_.size(), Column{});
  Column& c = columns_[static_cast<size_t>(pFieldNo - 1)];
  if (c.generation == generation_) return c.values;
  const auto& all = entries_.Entries();
  auto& names = mdl_Global::SMAN_GET()->Names();
  const cls_DBField& field = *fields_[static_cast<size_t>(pFieldNo - 1)];
  uint32_t atom = names.Find(text::UCase(field.ID));
  c.values.assign(all.size(), Variant());
  if (atom) {
    for (size_t p = 0; p < all.size(); ++p) {
      if (all[p].data) c.values[p] = hSlotValue(*all[p].data, atom, field);
    }
  }
  c.generation = generation_;
  return c.values;
}

const std::vector<std::string>& cls_DBStore::FIELDSORTCOLUMN(int32_t pFieldNo) {
  const auto& values = FIELDCOLUMN(pFieldNo);
  Column& c = columns_[static_cast<size_t>(pFieldNo - 1)];
  if (c.sortGeneration == generation_) return c.sortTexts;
  const cls_DBField& f = *fields_[static_cast<size_t>(pFieldNo - 1)];
  c.sortTexts.resize(values.size());
  for (size_t p = 0; p < values.size(); ++p) c.sortTexts[p] = f.TEXTSORT(values[p]);
  c.sortGeneration = generation_;
  return c.sortTexts;
}

const std::vector<std::string>& cls_DBStore::FIELDUPPERCOLUMN(int32_t pFieldNo) {
  const auto& values = FIELDCOLUMN(pFieldNo);
  Column& c = columns_[static_cast<size_t>(pFieldNo - 1)];
  if (c.upperGeneration == generation_) return c.upperTexts;
  c.upperTexts.resize(values.size());
  for (size_t p = 0; p < values.size(); ++p) {
    const Variant& v = values[p];
    if (v.isString()) c.upperTexts[p] = text::UCase(v.str());
    else if (v.isObject()) c.upperTexts[p].clear();
    else c.upperTexts[p] = text::UCase(CStr(v));
  }
  c.upperGeneration = generation_;
  return c.upperTexts;
}

const Variant& cls_DBStore::ENTRYIDAT(int32_t pPosition) {
  const auto& all = entries_.Entries();
  if (pPosition < 0 || static_cast<size_t>(pPosition) >= all.size())
    Raise(err::kOutOfRange, "no entry at position " + std::to_string(pPosition));
  return all[static_cast<size_t>(pPosition)].id;
}

int32_t cls_DBStore::ENTRYPOSITION(const Variant& pID) { return entries_.Position(entries_.NormalizeId(pID)); }

cls_DBStore::EntryReader cls_DBStore::ENTRYREADER(const std::vector<int32_t>& pFieldNos) const {
  EntryReader r;
  auto& names = mdl_Global::SMAN_GET()->Names();
  for (int32_t no : pFieldNos) {
    const cls_DBField* f = no >= 1 && no <= FIELDS() ? fields_[static_cast<size_t>(no - 1)].get() : nullptr;
    r.fields.push_back(f);
    r.atoms.push_back(f ? names.Find(text::UCase(f->ID)) : 0);
  }
  return r;
}

void cls_DBStore::ENTRYVALUES(int32_t pPosition, const EntryReader& pReader, std::vector<Variant>& rValues) {
  rValues.assign(pReader.fields.size(), Variant());
  const auto& all = entries_.Entries();
  if (pPosition < 0 || static_cast<size_t>(pPosition) >= all.size()) return;
  hReadValues(all[static_cast<size_t>(pPosition)].data.get(), pReader, rValues);
}

namespace {

// The entries of the table, by position.
class TableCursor : public cls_DBStore::EntryCursor {
 public:
  TableCursor(const std::vector<DBEntryTable::Entry>& pAll, const cls_DBStore::EntryReader& pReader)
      : all_(pAll), reader_(pReader) {}
  int64_t Count() const override { return static_cast<int64_t>(all_.size()); }
  bool Next(Variant& rID, std::vector<Variant>& rValues) override {
    if (next_ >= all_.size()) return false;
    const auto& e = all_[next_++];
    rID = e.id;
    hReadValues(e.data.get(), reader_, rValues);
    return true;
  }

 private:
  const std::vector<DBEntryTable::Entry>& all_;
  cls_DBStore::EntryReader reader_;
  size_t next_ = 0;
};

// The records of a binary database file. A flat record (named values only, the usual entry) is
// read straight into the values; any other is decoded into one structure that is refilled.
class FileCursor : public cls_DBStore::EntryCursor {
 public:
  FileCursor(const std::string& pFile, const cls_DBStore::EntryReader& pReader,
             std::optional<std::vector<cls_DBStore::RecordSpan>> pRecords)
      : file_(pFile),
        reader_(pReader),
        entry_(cls_Structure::New()),
        serializer_(*entry_->MANAGER_GET()),
        records_(std::move(pRecords)) {
    std::vector<uint32_t> atoms;  // the names in use (0: a name never met)
    for (uint32_t a : reader_.atoms)
      if (a) atoms.push_back(a);
    std::sort(atoms.begin(), atoms.end());
    distinct_ = std::adjacent_find(atoms.begin(), atoms.end()) == atoms.end();
  }
  int64_t Count() const override { return records_ ? static_cast<int64_t>(records_->size()) : file_.Count(); }
  cls_DBStore::RecordSpan Span() const override { return span_; }
  bool Next(Variant& rID, std::vector<Variant>& rValues) override {
    std::string_view content;
    if (records_) {
      if (next_ >= records_->size()) return false;
      span_ = (*records_)[next_++];
      file_.ReadAt(span_.offset, span_.size, rID, content);
    } else {
      span_.offset = file_.Offset();
      if (!file_.Next(rID, content)) return false;
      span_.size = file_.Offset() - span_.offset;
    }
    rValues.clear();  // then all Empty: cheaper than assigning Empty over each value
    rValues.resize(reader_.fields.size());
    seen_.assign(reader_.fields.size(), 0);
    // as in a structure, the first item of a name is the one read
    const size_t fields = reader_.atoms.size();
    size_t from = 0;  // where the search starts: entries mostly hold their items in field order
    auto item = [&](uint32_t pAtom, Variant&& pValue) {
      if (!pAtom) return;
      if (!distinct_) {  // one item fills every field of its name
        for (size_t i = 0; i < fields; ++i)
          if (reader_.atoms[i] == pAtom && !seen_[i]) {
            rValues[i] = hTyped(*reader_.fields[i], pValue);
            seen_[i] = 1;
          }
        return;
      }
      for (size_t k = 0, i = from; k < fields; ++k, i = i + 1 == fields ? 0 : i + 1)
        if (reader_.atoms[i] == pAtom) {
          if (!seen_[i]) {
            rValues[i] = hTyped(*reader_.fields[i], std::move(pValue));
            seen_[i] = 1;
          }
          from = i + 1 == fields ? 0 : i + 1;
          return;
        }
    };
    if (!serializer_.ReadFlat(content, item)) {
      entry_->UNSERIALIZE(content);
      hReadValues(entry_.get(), reader_, rValues);
    }
    return true;
  }

 private:
  DBBinaryFile file_;
  cls_DBStore::EntryReader reader_;
  StructurePtr entry_;
  cls_StructureSerializer serializer_;
  std::vector<char> seen_;
  bool distinct_ = true;                                         // no two reader fields share a name
  std::optional<std::vector<cls_DBStore::RecordSpan>> records_;  // to visit; none: every one in file order
  size_t next_ = 0;
  cls_DBStore::RecordSpan span_;
};

}  // namespace

std::unique_ptr<cls_DBStore::EntryCursor> cls_DBStore::ENTRYCURSOR(const EntryReader& pReader,
                                                                   std::optional<std::vector<RecordSpan>> pRecords) {
  if (pRecords && !streamed_) Raise(err::kInvalidCall, "record places need a database opened with STREAM");
  if (streamed_) {
    // The entries are yet to be read, so their field names may not have been met yet.
    EntryReader reader = pReader;
    auto& names = mdl_Global::SMAN_GET()->Names();
    for (size_t i = 0; i < reader.fields.size(); ++i)
      if (reader.fields[i] && !reader.atoms[i]) reader.atoms[i] = names.Intern(text::UCase(reader.fields[i]->ID));
    return std::make_unique<FileCursor>(dbFile_, reader, std::move(pRecords));
  }
  return std::make_unique<TableCursor>(entries_.Entries(), pReader);
}

// ---- text forms --------------------------------------------------------------------------------

std::string cls_DBStore::FIELDTEXT_GET(const Variant& pID, const Variant& pField, int32_t pMode) {
  return Guard(kClass, "FIELDTEXT.GET", [&]() -> std::string {
    Variant v = ENTRYFIELD_GET(pID, pField);
    auto f = hFieldOrNull(pField);
    if (!f) return CStr(v);
    if (DBFieldTypeIsReference(f->TYPE) && valueEvent_) valueEvent_(*f, entries_.NormalizeId(pID), v);
    return f->TEXT(v, pMode);
  });
}

std::string cls_DBStore::FIELDTEXTHTML_GET(const Variant& pID, const Variant& pField, int32_t pMode) {
  return Guard(kClass, "FIELDTEXTHTML.GET", [&]() -> std::string {
    Variant v = ENTRYFIELD_GET(pID, pField);
    auto f = hFieldOrNull(pField);
    if (!f) return cls_DBField().TEXTHTML(v);
    if (DBFieldTypeIsReference(f->TYPE) && valueEvent_) valueEvent_(*f, entries_.NormalizeId(pID), v);
    return f->TEXTHTML(v, pMode);
  });
}

std::string cls_DBStore::FIELDTEXTSORT_GET(const Variant& pID, const Variant& pField, bool pPrefix, bool pInvert) {
  return Guard(kClass, "FIELDTEXTSORT.GET", [&]() -> std::string {
    Variant v = ENTRYFIELD_GET(pID, pField);
    auto f = hFieldOrNull(pField);
    if (!f) return cls_DBField().TEXTSORT(v, pPrefix, pInvert);
    if (DBFieldTypeIsReference(f->TYPE) && valueEvent_ && pPrefix) valueEvent_(*f, entries_.NormalizeId(pID), v);
    return f->TEXTSORT(v, pPrefix, pInvert);
  });
}

}  // namespace rykel
