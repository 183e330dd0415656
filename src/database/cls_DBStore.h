// cls_DBStore: a file database: a header (schema: fields and views) and entries, each an id and a
// structure of field values keyed by field ID. The store holds the state, fields, entries, indexes,
// views and files; queries, filters and sorting over it are the functions of query/mdl_DBQuery.h,
// exports those of export/mdl_DBExport.h. Hosts use cls_DB (host/cls_DB.h), which is a store with
// those functions as members.
//
// Files: the header file (a structure file, default name "info.header") and the database file,
// in the binary form (a name ending ".RY-DBB" or "RY-DBB.TMP", any case) or the structure form
// (any other name). Saves are atomic: a temporary file is written, flushed and renamed over the
// old one, so a failed or interrupted save leaves the old file whole.
//
// Operations return false or a message text on failure and raise only when asked (pRaiseErrors);
// the rest follow the common error convention (Guard / ERRHANDLE). Errors name the source
// "cls_DB.<operation>", the class hosts know.
//
// For queries, filters and sorting: FIELDCOLUMN / FIELDSORTCOLUMN give one field's values (or
// sort texts) of all entries in table order, built on first use and dropped when entries change;
// ENTRYIDAT / ENTRYPOSITION map positions of that order to ids and back.
//
// Threads: a database and its structures belong to the thread that created them.
//
//   auto db = rykel::cls_DBStore::New();
//   db->DBOPEN("people.ry-dbb", "info.header", false);
//   auto id = db->ENTRYFREEID(); db->ENTRYADD(id); db->ENTRYFIELD_LET(id, "NAME", "Anna"); db->DBSAVE();
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "database/DBEntryTable.h"
#include "database/DBStructureFile.h"
#include "database/cls_DBField.h"
#include "database/cls_DBIndex.h"
#include "database/cls_DBView.h"
#include "frame/FileIO.h"
#include "frame/Object.h"
#include "frame/Variant.h"
#include "structure/cls_Structure.h"

namespace rykel {

class cls_DBStore : public Object, public std::enable_shared_from_this<cls_DBStore> {
 public:
  cls_DBStore();
  ~cls_DBStore() override;
  std::string TypeName() const override { return "cls_DBStore"; }

  // A new, empty database. Code below the host layer makes its databases here, so that a host
  // gets the class it knows: the library installs a factory that makes a cls_DB when it is
  // loaded. Not installed: a plain store.
  using Factory = std::shared_ptr<cls_DBStore> (*)();
  static void SetFactory(Factory pHook);
  // The installed factory (null when none).
  static Factory hFactory();
  static std::shared_ptr<cls_DBStore> New();

  // An id list: entry ids in a chosen order. Where a list is optional, none means every entry.
  using IdList = std::vector<Variant>;
  // The entries to export: an id list, or none (nullopt) for every entry in table order.
  using IDList = std::optional<std::vector<Variant>>;

  // ---- public state (defaults are the values after DBCLEAR) ---------------------------------
  std::string DBICON_GET() const { return icon_; }  // "database"
  void DBICON_LET(std::string v) { icon_ = std::move(v); }
  std::string DBDESCRIPTION_GET() const { return description_; }  // ""
  void DBDESCRIPTION_LET(std::string v) { description_ = std::move(v); }
  std::string DBNAME_GET() const { return name_; }  // ""
  void DBNAME_LET(std::string v) { name_ = std::move(v); }
  std::string DBID_GET() const { return id_; }  // ""
  void DBID_LET(std::string v) { id_ = std::move(v); }
  bool DBEXTENSIBLE_GET() const { return extensible_; }  // true
  void DBEXTENSIBLE_LET(bool v) { extensible_ = v; }
  // True: entry ids are numbers. Changing it empties the entry table.
  bool DBNUMERIC_GET() const { return entries_.Numeric(); }  // true
  void DBNUMERIC_LET(bool v);
  bool DBMOVABLE_GET() const { return movable_; }  // true
  void DBMOVABLE_LET(bool v) { movable_ = v; }
  std::string DBMASK_GET() const { return mask_; }  // ""
  void DBMASK_LET(std::string v) { mask_ = std::move(v); }
  std::string DBTYPING_GET() const { return typing_; }  // ""
  void DBTYPING_LET(std::string v) { typing_ = std::move(v); }
  // The interpreter the database works for (a cls_KEL); kept by DBCLEAR.
  ObjectPtr KEL_GET() const { return kel_; }
  void KEL_SET(ObjectPtr v) { kel_ = std::move(v); }
  // Renders dynamic fields. The interpreter lives above the database, so the library installs
  // this when it is loaded. Given the database's interpreter (rKEL: an interpreter is made there
  // when it holds none) and an entry, it binds the entry as the variable ENTRY and returns the
  // function that renders one field's CODE; for a null entry it only makes the interpreter and
  // returns an empty function. Not installed: dynamic fields are left as stored.
  using DynamicFields = std::function<Variant(const std::string& pCode)> (*)(ObjectPtr& rKEL,
                                                                             const StructurePtr& pEntry);
  static void SetDynamicFields(DynamicFields pHook);
  // The installed hook (null when none).
  static DynamicFields hDynamicFields();
  // Directories searched for a header named by a database file (items are paths); kept by DBCLEAR.
  StructurePtr HEADERLOCATIONS_GET();
  void HEADERLOCATIONS_SET(StructurePtr v) { headerLocations_ = std::move(v); }
  bool ENTRYCHANGED_GET() const { return entryChanged_; }  // kept by DBCLEAR
  void ENTRYCHANGED_LET(bool v) { entryChanged_ = v; }
  bool DBOPENED_GET() const { return opened_; }               // false
  int32_t DBVERSION_GET() const { return version_; }          // 7
  std::string DBFILE_GET() const { return dbFile_; }          // ""
  std::string HEADERFILE_GET() const { return headerFile_; }  // ""
  // The database file's path with ".cache" appended; set by DBOPEN.
  std::string CACHEFILE_GET() const { return cacheFile_; }  // ""
  bool DBREADONLY_GET() const { return readOnly_; }         // false
  // Opened with "STREAM": the entries stay in the file (see DBOPEN).
  bool DBSTREAMED_GET() const { return streamed_; }  // false

  // ---- files ---------------------------------------------------------------------------------
  // Opens database file pDBFile with header file pHeaderFile (either may be ""). Settings may
  // hold "READONLY"; "LOCK" true holds the database file's exclusive lock (see DBSAVE) from here
  // until DBCLOSE/DBCLEAR, so that no cooperating writer changes the file in between; "LOCKWAIT"
  // is how many seconds a lock is waited for (default 30). "STREAM" true opens a binary database
  // file for one pass over its entries without loading them (read-only): the entry table stays
  // empty, ENTRYCOUNT gives the file's count, and ENTRYCURSOR (so every export of all entries in
  // table order) reads them from the file as it goes; ids that appear twice are not detected
  // then. Files in the structure form are loaded as usual. A folder, FIFO or device is refused
  // ("DB file 'f' is not a regular file"); a binary file that holds one id twice is invalid.
  // Opening the open file again is true and reloads nothing; when another database is open, it is
  // closed first, and when its changes cannot be saved the open fails ("The open database 'f'
  // could not be saved: ...") and leaves it open with its changes. On failure reports "Database error"
  // through the notifier, raises when pRaiseErrors, and returns false.
  bool DBOPEN(const std::string& pDBFile, const std::string& pHeaderFile = "", bool pRaiseErrors = false,
              const StructurePtr& pSettings = nullptr);
  // True for a file name of the binary form (ending ".RY-DBB" or "RY-DBB.TMP", any case).
  static bool ISBINARYNAME(std::string_view pFile);
  bool DBOPENREADONLY(const std::string& pDBFile, const std::string& pHeaderFile = "", bool pRaiseErrors = false);
  // The message of the last failed DBOPEN ("" after a success).
  std::string DBOPENERROR_GET() const { return openError_; }
  // Saves when changed (unless read-only), then DBCLEAR. False when nothing was open or the save failed.
  bool DBCLOSE();
  // Writes the database file when open, changed and not read-only. True only when written;
  // a failed write leaves the old file whole and ENTRYCHANGED set, and DBSAVEERROR_GET says why.
  // The write holds the file's exclusive lock ("<file>.lock" beside it, shared by every writer of
  // this library and the rykel program) and replaces the file atomically. It refuses to overwrite
  // a file that changed on disk since it was opened or last saved (another writer got there
  // first: "'f' changed on disk since it was opened or last saved"), unless pForce.
  bool DBSAVE(bool pForce = false);
  // Why the last DBSAVE failed ("" after a success).
  std::string DBSAVEERROR_GET() const { return saveError_; }
  // An empty, closed database: members reset, no fields, one view ("DEFAULT", "Standard"), no entries.
  bool DBCLEAR();
  // "INFO.VERSION" 1, "INFO.HEADER" header file name, "INFO.TIMESTAMP" now, "ENTRIES".
  StructurePtr DBSTRUCTURE_GET();
  // Replaces the entries from such a structure ("ENTRIES"); false for null.
  bool DBSTRUCTURE_LET(const StructurePtr& pStructure);
  StructurePtr DBCOMPLETE_GET() { return DBSTRUCTURE_GET(); }
  bool DBCOMPLETE_LET(const StructurePtr& pStructure) { return DBSTRUCTURE_LET(pStructure); }
  // The one-string form "DBS1:<sep>@<sep>header<sep>id1<sep>entry1...".
  std::string SERIALIZE();
  // Reads the one-string form or the older line form; false (nothing changed) without "DBS"/"@".
  bool UNSERIALIZE(const std::string& pText);
  std::string DBSERIAL_GET() { return SERIALIZE(); }
  bool DBSERIAL_LET(const std::string& pText) { return UNSERIALIZE(pText); }
  // Header and entries of another database.
  bool DBCOPY(const std::shared_ptr<cls_DBStore>& pOther);
  // Adds the other's entries; with pOverwrite replaces entries with the same id.
  bool DBMERGE(const std::shared_ptr<cls_DBStore>& pOtherDB, bool pOverwrite = false);
  // Rebuilds every index from the entries and compares; the report lists each differing field
  // as "Datenfeld <name>: <detail> hat asynchronen Index". True when none differs.
  bool DBCHECKINDEX();
  std::string DBCHECKINDEXREPORT_GET() const { return checkReport_; }
  // The page layout defaults (kind 1) or an empty structure.
  StructurePtr FLAGS(int32_t pKind = 1);

  // ---- header and fields ----------------------------------------------------------------------
  // "HEADER.NAME" ... "HEADER.NUMERIC", "VIEWS.<view id>", "FIELDS.<field id>" ("." as "_").
  StructurePtr HEADERSTRUCTURE_GET();
  // Replaces members, fields and views (keys' "_" read back as "."). Null: no change.
  void HEADERSTRUCTURE_LET(const StructurePtr& pHeader);
  bool HEADERLOAD(const std::string& pFile);
  bool HEADERSAVE(const std::string& pFile);

  int32_t FIELDS() const { return static_cast<int32_t>(fields_.size()); }
  // Adds a field; false when a field with its ID exists or the ID is empty.
  bool FIELDADD(const DBFieldPtr& pField);
  // Creates and adds a field; returns it (the existing field when the ID is taken).
  DBFieldPtr FIELDCREATE(const std::string& pID, int32_t pType = ID_DBFieldType_String, const std::string& pName = "");
  // Removes the definition (entries keep their values). False when absent.
  bool FIELDREMOVE(const Variant& pField);
  void FIELDSCLEAR();
  // By 1-based number or by ID (case-blind, "_" and "." alike), then by display name; null when absent.
  DBFieldPtr FIELD(const Variant& pField) const;
  bool FIELDEXISTS(const Variant& pField) const { return FIELDFIND(pField) > 0; }
  // 1-based number of the field, 0 when absent.
  int32_t FIELDFIND(const Variant& pField) const;
  bool FIELDINDEXED(const Variant& pField) const;
  // Fields added, removed or cleared since the header was loaded or saved.
  bool FIELDSCHANGED_GET() const { return fieldsChanged_; }
  void FIELDSCHANGED_LET(bool v) { fieldsChanged_ = v; }
  // The database a reference field points to: REFERENCESOURCE opened (relative to this
  // database's directory), kept for later calls; null when none or it cannot be opened.
  std::shared_ptr<cls_DBStore> FIELDDB(const Variant& pField);
  // The field's index, built on first use when the field is INDEXED; null otherwise.
  std::shared_ptr<cls_DBIndex> FIELDINDEX(const Variant& pField);

  int32_t VIEWS() const { return static_cast<int32_t>(views_.size()); }
  // By 1-based number or ID (case-blind); null when absent.
  DBViewPtr VIEW(const Variant& pView) const;
  void VIEWADD(const DBViewPtr& pView) { views_.push_back(pView); }
  bool VIEWREMOVE(const Variant& pView);

  // ---- entry table ---------------------------------------------------------------------------
  // The entry's structure (live: changes through it bypass the index; use ENTRYFIELD_LET or
  // ENTRYREINDEX); null when absent.
  StructurePtr ENTRY(const Variant& pID);
  bool ENTRYEXISTS(const Variant& pID) const;
  // Adds (or replaces) an entry. Without data a new structure holding the fields' defaults.
  // Returns the normalised id.
  Variant ENTRYADD(const Variant& pID, const StructurePtr& pData = nullptr);
  // The value of one field ("" / Empty when the entry or value is missing).
  Variant ENTRYFIELD_GET(const Variant& pID, const Variant& pField);
  // Stores a value converted to the field's type (a value that does not convert is kept as
  // given). Creates the entry when absent. Raises 5 for a WRITEONCE field that holds a value.
  void ENTRYFIELD_LET(const Variant& pID, const Variant& pField, const Variant& pValue);
  bool ENTRYREMOVE(const Variant& pID);
  int32_t ENTRYCOUNT() const { return streamed_ ? streamCount_ : entries_.Count(); }
  void ENTRYCLEAR();
  // Rebuilds every index (and drops the value columns).
  void ENTRYREINDEX();
  // One item per entry, named by the id's text, holding the entry's structure (shared).
  StructurePtr ENTRYSTRUCTURE_GET();
  // Replaces all entries from such a structure, then ENTRYREINDEX.
  void ENTRYSTRUCTURE_LET(const StructurePtr& pEntries);
  // A free id: numbers from a private counter (the largest id + 1 when taken), texts unique.
  Variant ENTRYFREEID();
  // Like ENTRYFREEID with a second counter, moved on to an even number no entry has.
  Variant ENTRYFREEIDEVEN();
  // Every id in table order.
  std::vector<Variant> ENTRYALL_IDS();

  // Per-field value columns (fields by 1-based number), aligned with ENTRYIDAT positions.
  const std::vector<Variant>& FIELDCOLUMN(int32_t pFieldNo);
  const std::vector<std::string>& FIELDSORTCOLUMN(int32_t pFieldNo);
  // Upper-cased text of each value (numbers and dates by their text form, structures "").
  const std::vector<std::string>& FIELDUPPERCOLUMN(int32_t pFieldNo);
  const Variant& ENTRYIDAT(int32_t pPosition);
  int32_t ENTRYPOSITION(const Variant& pID);
  // Reads chosen fields of one entry at a time straight from the entry, typed as FIELDCOLUMN
  // types them: for walks that visit each entry once and should not build whole columns.
  // ENTRYREADER prepares the fields (1-based numbers; 0 or an unknown number always gives Empty);
  // the reader stays valid while the fields are not changed.
  struct EntryReader {
    std::vector<const cls_DBField*> fields;
    std::vector<uint32_t> atoms;  // interned upper-case field IDs, 0 when never used
  };
  EntryReader ENTRYREADER(const std::vector<int32_t>& pFieldNos) const;
  // The values of the entry at a position (ENTRYIDAT order), one per reader field; all Empty for
  // a position out of range.
  void ENTRYVALUES(int32_t pPosition, const EntryReader& pReader, std::vector<Variant>& rValues);
  // One pass over every entry in table order, reading the reader's fields (typed as ENTRYVALUES
  // types them) of one entry at a time: from the entry table, or from the file of a database
  // opened with "STREAM", where each entry is decoded in turn and none is kept. The cursor stays
  // valid while the database is neither changed nor closed; it raises what reading the file raises.
  struct RecordSpan {
    int64_t offset = -1, size = 0;
  };
  class EntryCursor {
   public:
    virtual ~EntryCursor() = default;
    // The number of entries the pass visits.
    virtual int64_t Count() const = 0;
    // The next entry's id and values; false after the last.
    virtual bool Next(Variant& rID, std::vector<Variant>& rValues) = 0;
    // Where the record of the entry Next gave last is in the database file (for ENTRYCURSOR's
    // pRecords); offset -1 for entries in memory.
    virtual RecordSpan Span() const { return {}; }
  };
  // With pRecords (of a database opened with "STREAM" only, else raises kInvalidCall): the pass
  // visits those records (Span values of an earlier pass), in that order.
  std::unique_ptr<EntryCursor> ENTRYCURSOR(const EntryReader& pReader,
                                           std::optional<std::vector<RecordSpan>> pRecords = std::nullopt);
  // Bumped by every entry change; a column is valid while it matches.
  uint64_t ENTRYGENERATION() const { return generation_; }

  // ---- field value text forms ----------------------------------------------------------------
  // Called for reference fields before their text is made; may replace the value.
  using ValueEvent = std::function<void(const cls_DBField& pField, const Variant& pID, Variant& rValue)>;
  void VALUEEVENT_SET(ValueEvent pEvent) { valueEvent_ = std::move(pEvent); }
  // Display text of an entry's field (reference values go through the value event first).
  std::string FIELDTEXT_GET(const Variant& pID, const Variant& pField, int32_t pMode = 0);
  std::string FIELDTEXTHTML_GET(const Variant& pID, const Variant& pField, int32_t pMode = 0);
  std::string FIELDTEXTSORT_GET(const Variant& pID, const Variant& pField, bool pPrefix = false, bool pInvert = false);

  // ---- position labels -----------------------------------------------------------------------
  // Records the last position label (a literal that outlives the database) and up to two numbers.
  void DEBUGTRACK_LET(const char* pLabel, int32_t pA = -1, int32_t pB = -1) noexcept {
    track_ = pLabel;
    trackA_ = pA;
    trackB_ = pB;
  }
  // "LABEL", or "LABEL" + a + "/" + b when numbers were given.
  std::string DEBUGTRACK_GET() const;

  // ---- hooks the query and export functions call ------------------------------------------------
  // Chooses a field for FIELDSELECT: the host's chooser (title, the field names, the preselected
  // name) decides; none installed: the preselected name.
  using FieldChooser = std::function<std::string(const std::string& pTitle, const std::vector<std::string>& pNames,
                                                 const std::string& pPreselect)>;
  void FIELDCHOOSER_SET(FieldChooser pChooser) { fieldChooser_ = std::move(pChooser); }
  const FieldChooser& FIELDCHOOSER_GET() const { return fieldChooser_; }
  // Called while an export walks its entries (done, total); not called with "NOOSD".
  using ExportProgress = std::function<void(int64_t pDone, int64_t pTotal)>;
  void EXPORTPROGRESS_SET(ExportProgress pProgress) { exportProgress_ = std::move(pProgress); }
  const ExportProgress& EXPORTPROGRESS_GET() const { return exportProgress_; }

  // ---- for the query and export functions (not for hosts) --------------------------------------
  // A field by number, ID or display name, and its 1-based number in rNo; null when absent.
  DBFieldPtr hFieldOrNull(const Variant& pField, int32_t* rNo = nullptr) const;
  // The entry table (positions and ids in table order).
  DBEntryTable& hEntries() { return entries_; }
  // Makes this fresh database the one of file pFile with header file pHeaderFile, opened and
  // replacing the file's contents when saved (the old file stays until then). Raises when pFile
  // is a folder or another file that is not a regular one.
  void hTargetFile(const std::string& pFile, const std::string& pHeaderFile);

 private:
  void hEntryIndexAdd(const Variant& pID, const StructurePtr& pData);
  void hEntryIndexRemove(const Variant& pID, const StructurePtr& pData);
  void hEntryChanged();
  void hIndexSync();
  void hRebuildFieldMap();
  bool hOpen(const std::string& pDBFile, const std::string& pHeaderFile, const StructurePtr& pSettings);
  bool hLocateHeader(const std::string& pName, std::string& rPath);
  struct DBRow {
    Variant id;
    StructurePtr data;
  };
  void hWriteBinary(const std::string& pFile);
  // Reads the binary form without touching the database. Raises on any flaw.
  void hReadBinary(const std::string& pFile, std::string& rHeaderName, std::vector<DBRow>& rRows);
  // Replaces the entries by the rows (a later row wins over an earlier one with the same id, or,
  // with pRejectDuplicates, raises kInvalidData naming the id).
  void hInstallRows(std::vector<DBRow>& rRows, bool pRejectDuplicates = false);
  // The same for the rows of the structure form; false (the table then half filled) when two rows
  // name one id.
  bool hInstallStructureRows(std::vector<DBStructureFile::Row>& rRows);
  void hFieldDynamicRebuild(const Variant& pID);

  std::string icon_, description_, name_, id_, mask_, typing_;
  bool extensible_ = true, movable_ = true;
  ObjectPtr kel_;
  StructurePtr headerLocations_;
  bool entryChanged_ = false, opened_ = false, readOnly_ = false, fieldsChanged_ = false;
  bool rebuilding_ = false;
  bool streamed_ = false;    // opened with "STREAM": the entries are read from dbFile_ by ENTRYCURSOR
  int32_t streamCount_ = 0;  // inside hFieldDynamicRebuild: storing the rendered values starts no other
  int32_t version_ = 7;
  std::string dbFile_, headerFile_, cacheFile_, openError_, checkReport_, saveError_;
  fileio::FileLock lock_;    // held from DBOPEN to DBCLEAR with the setting "LOCK"
  fileio::FileStamp stamp_;  // the database file as last read or written
  double lockWait_ = 30;

  std::vector<DBFieldPtr> fields_;
  // Per field: the ID the lookup key was made from, and the key (upper case, "_" as ".").
  mutable std::vector<std::pair<std::string, std::string>> fieldKeys_;
  std::vector<DBViewPtr> views_;
  DBEntryTable entries_;
  double freeCounter_ = 0, freeCounterEven_ = 0;

  std::vector<std::shared_ptr<cls_DBIndex>> indexes_;  // per field; null when not indexed
  struct Column {
    uint64_t generation = ~0ULL;
    std::vector<Variant> values;
    uint64_t sortGeneration = ~0ULL;
    std::vector<std::string> sortTexts;
    uint64_t upperGeneration = ~0ULL;
    std::vector<std::string> upperTexts;
  };
  std::vector<Column> columns_;  // per field
  uint64_t generation_ = 0;
  std::vector<std::pair<std::string, std::shared_ptr<cls_DBStore>>> refDBs_;

  ValueEvent valueEvent_;
  FieldChooser fieldChooser_;
  ExportProgress exportProgress_;
  const char* track_ = "";
  int32_t trackA_ = -1, trackB_ = -1;
};

using DBStorePtr = std::shared_ptr<cls_DBStore>;

}  // namespace rykel
