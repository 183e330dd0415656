// cls_DBStore: the database files (open, save, close, clear), the whole-database structure, the
// one-string form, copying, merging and the index check.
//
// The binary form of the database file is read by DBBinaryFile (the form is written down there).
#include <sys/stat.h>

#include <atomic>
#include <cmath>

#include "database/DBBinaryFile.h"
#include "database/DBEntryText.h"
#include "database/DBStructureFile.h"
#include "database/cls_DBStore.h"
#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "frame/Notifier.h"
#include "frame/Random.h"
#include "frame/Text.h"
#include "frame/ValueReader.h"
#include "frame/mdl_Global.h"
#include "frame/mdl_Limits.h"

namespace rykel {

namespace {

constexpr const char* kClass = "cls_DB";  // the error source hosts see
constexpr std::string_view kDefaultHeader = "info.header";

// A failure while opening: the message that the report shows.
struct OpenFailure {
  int number;
  std::string message;
};
[[noreturn]] void hOpenFail(int number, std::string message) { throw OpenFailure{number, std::move(message)}; }

bool hIsBinaryName(std::string_view file) {
  std::string up = text::UCase(file);
  size_t dot = up.rfind('.');
  size_t slash = up.rfind('/');
  bool extension =
      dot != std::string::npos && (slash == std::string::npos || dot > slash) && up.substr(dot + 1) == "RY-DBB";
  return extension || (up.size() >= 10 && up.substr(up.size() - 10) == "RY-DBB.TMP");
}

std::string hFileName(std::string_view path) {
  size_t slash = path.rfind('/');
  return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::string hDirectory(std::string_view path) {
  size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string() : std::string(path.substr(0, slash + 1));
}

// Modification time in nanoseconds; 0 when the file cannot be read.
int64_t hFileTime(const std::string& path) {
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) return 0;
  return static_cast<int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
}

}  // namespace

// ---- open, close, save, clear -------------------------------------------------------------------

bool cls_DBStore::DBCLEAR() {
  return Guard(kClass, "DBCLEAR", [&] {
    icon_ = "database";
    description_.clear();
    name_.clear();
    id_.clear();
    extensible_ = true;
    DBNUMERIC_LET(true);
    movable_ = true;
    mask_.clear();
    typing_.clear();
    opened_ = false;
    version_ = 7;
    dbFile_.clear();
    headerFile_.clear();
    cacheFile_.clear();
    readOnly_ = false;
    streamed_ = false;
    streamCount_ = 0;
    lock_.Release();
    stamp_ = {};
    saveError_.clear();
    fields_.clear();
    hRebuildFieldMap();
    views_.clear();
    auto view = std::make_shared<cls_DBView>();
    view->ID = "DEFAULT";
    view->NAME = "Standard";
    views_.push_back(view);
    ENTRYCLEAR();
    return true;
  });
}

bool cls_DBStore::ISBINARYNAME(std::string_view pFile) { return hIsBinaryName(pFile); }

bool cls_DBStore::DBOPENREADONLY(const std::string& pDBFile, const std::string& pHeaderFile, bool pRaiseErrors) {
  return Guard(kClass, "DBOPENREADONLY", [&] {
    auto settings = cls_Structure::New();
    settings->ITEM_LET("READONLY", true);
    return DBOPEN(pDBFile, pHeaderFile, pRaiseErrors, settings);
  });
}

bool cls_DBStore::hLocateHeader(const std::string& pName, std::string& rPath) {
  std::string name = pName.empty() ? std::string(kDefaultHeader) : pName;
  std::vector<std::string> dirs;
  if (headerLocations_) {
    for (int32_t i = headerLocations_->BASE(); i <= headerLocations_->MAX(); ++i)
      if (headerLocations_->EXISTS_GET(i)) dirs.push_back(CStr(headerLocations_->ITEM_GET(i)));
  }
  dirs.push_back(hDirectory(dbFile_));
  // a database reached through a link also finds the header beside the file the link points at
  if (std::string target = fileio::WriteTarget(dbFile_); target != dbFile_) dirs.push_back(hDirectory(target));
  for (std::string d : dirs) {
    if (!d.empty() && d.back() != '/') d += '/';
    std::string candidate = d + name;
    if (mdl_FileTools::FILEEXISTS(candidate)) {
      rPath = candidate;
      return true;
    }
  }
  rPath = name;
  return false;
}

bool cls_DBStore::hOpen(const std::string& pDBFile, const std::string& pHeaderFile, const StructurePtr& pSettings) {
  const std::string& D = pDBFile;
  const std::string& H = pHeaderFile;
  bool stream = pSettings && mdl_Global::hCBool(pSettings->ITEM_GET("STREAM", false)) && hIsBinaryName(pDBFile);
  bool readOnly = stream || (pSettings && mdl_Global::hCBool(pSettings->ITEM_GET("READONLY", false)));
  bool isNew = false, reindex = false;
  try {
    // A folder, FIFO or device is never taken for a database (reading a FIFO would wait for ever,
    // a folder would open as an empty database).
    if (!H.empty()) fileio::RequireRegularFile(H, "Header");
    if (!D.empty()) fileio::RequireRegularFile(D, "DB file");
    lockWait_ = pSettings ? CDbl(pSettings->ITEM_GET("LOCKWAIT", 30.0)) : 30.0;
    if (!readOnly && !D.empty() && pSettings && mdl_Global::hCBool(pSettings->ITEM_GET("LOCK", false)))
      lock_.Acquire(D, lockWait_);
  } catch (const Error& e) { hOpenFail(e.number, e.description); }
  if (!H.empty() && !mdl_FileTools::FILEEXISTS(H)) hOpenFail(err::kFileNotFound, "Header '" + H + "' does not exist");
  if (!D.empty() && !mdl_FileTools::FILEEXISTS(D)) {
    if (readOnly) hOpenFail(err::kFileNotFound, "DB file '" + D + "' does not exist (Read-only)");
    if (pSettings && !mdl_Global::hCBool(pSettings->ITEM_GET("CREATE", true)))
      hOpenFail(err::kFileNotFound, "DB file '" + D + "' does not exist");
    if (std::FILE* f = std::fopen(D.c_str(), "ab")) std::fclose(f);
    if (!mdl_FileTools::FILEEXISTS(D))
      hOpenFail(err::kPathFileAccess, "DB file '" + D + "' does not exist and cannot be created!");
    isNew = true;
  } else if (!D.empty() && !H.empty() && hFileTime(D) < hFileTime(H)) {
    reindex = true;
  }
  headerFile_ = H;
  dbFile_ = D;
  readOnly_ = readOnly;
  cacheFile_ = D.empty() ? std::string() : D + ".cache";
  if (!headerFile_.empty()) {
    if (!HEADERLOAD(headerFile_)) hOpenFail(err::kInvalidData, "Header file ('" + headerFile_ + "') invalid!");
  }
  auto locateAndLoad = [&](const std::string& name) {
    std::string path;
    if (!hLocateHeader(name, path)) hOpenFail(err::kFileNotFound, "Header '" + path + "' could not be located!");
    try {
      fileio::RequireRegularFile(path, "Header");
    } catch (const Error& e) { hOpenFail(e.number, e.description); }
    headerFile_ = path;
    if (!HEADERLOAD(path)) hOpenFail(err::kInvalidData, "Header file ('" + path + "') invalid!");
  };
  bool headerGiven = !H.empty();
  if (!dbFile_.empty() && !isNew) {
    // The file existed a moment ago: if it is gone now, opening fails (an empty database in its
    // place would be saved over the file when it comes back).
    struct stat st {};
    if (::stat(dbFile_.c_str(), &st) != 0) hOpenFail(err::kFileNotFound, "DB file '" + D + "' does not exist");
    bool empty = st.st_size == 0;
    stamp_ = fileio::StampOf(dbFile_);
    try {
      mdl_Limits::CheckInputSize(static_cast<uint64_t>(st.st_size), "DB file '" + D + "'");
    } catch (const Error& e) { hOpenFail(e.number, e.description); }
    auto readFail = [&](const Error& e) {
      if (e.number == err::kFileNotFound) hOpenFail(e.number, "DB file '" + D + "' does not exist");
      hOpenFail(err::kInvalidData, "DB entry file ('" + dbFile_ + "') invalid!");
    };
    if (hIsBinaryName(dbFile_)) {
      std::string headerName;
      std::vector<DBRow> rows;
      if (!empty) {
        try {
          if (stream) {
            // Only the part before the records: ENTRYCURSOR reads them.
            DBBinaryFile file(dbFile_);
            headerName = file.HeaderName();
            streamCount_ = file.Count();
          } else {
            hReadBinary(dbFile_, headerName, rows);
          }
        } catch (const Error& e) { readFail(e); }
      }
      streamed_ = stream;
      // The header first: it decides whether ids are numbers or texts.
      if (!headerGiven) locateAndLoad(headerName);
      try {
        hInstallRows(rows, true);
      } catch (const Error& e) {
        hOpenFail(err::kInvalidData, "DB entry file ('" + dbFile_ + "') invalid! " + e.description);
      }
    } else {
      // Entry by entry where the file is in the plain form; else through the whole structure.
      std::string text, headerName;
      std::vector<DBStructureFile::Row> rows;
      bool streamed = false;
      StructurePtr loaded;
      if (!empty) {
        try {
          text = fileio::ReadRegularFile(dbFile_, &stamp_);
          streamed = DBStructureFile::Read(text, headerName, rows);
          if (!streamed) loaded = hStructureFromScript(text);
        } catch (const Error& e) { readFail(e); }
      }
      if (!headerGiven)
        locateAndLoad(streamed ? headerName
                      : loaded ? CStr(loaded->ITEM_GET("INFO.HEADER", std::string(kDefaultHeader)))
                               : "");
      if (streamed && !hInstallStructureRows(rows)) loaded = hStructureFromScript(text);
      if (loaded) DBSTRUCTURE_LET(loaded);
    }
  }
  if (isNew || reindex) ENTRYREINDEX();
  if (isNew) stamp_ = fileio::StampOf(dbFile_);
  opened_ = true;
  entryChanged_ = false;
  return true;
}

bool cls_DBStore::DBOPEN(const std::string& pDBFile, const std::string& pHeaderFile, bool pRaiseErrors,
                         const StructurePtr& pSettings) {
  return Guard(kClass, "DBOPEN", [&] {
    if (opened_) {
      if (pDBFile == dbFile_) return true;
      // Changes that cannot be saved keep the database open: opening another would drop them.
      if (!DBCLOSE() && opened_) {
        openError_ = "The open database '" + dbFile_ + "' could not be saved: " + saveError_;
        if (pRaiseErrors) Raise(err::kPathFileAccess, openError_);
        return false;
      }
    }
    openError_.clear();
    try {
      return hOpen(pDBFile, pHeaderFile, pSettings);
    } catch (const OpenFailure& f) { openError_ = f.message; } catch (const Error& e) {
      openError_ = e.description;
    }
    std::string info = pSettings ? hEntryText(pSettings) : std::string();
    Notify({"Database error",
            "A database engine error has occured while trying to open a database:\r\nDatabase: " + pDBFile +
                "\r\nHeader: " + pHeaderFile + "\r\nError: " + openError_ + "\r\nStructure Info" + info,
            "OK", "Critical"});
    DBCLEAR();
    if (pRaiseErrors) Raise(err::kInvalidData, openError_);
    return false;
  });
}

bool cls_DBStore::DBCLOSE() {
  return Guard(kClass, "DBCLOSE", [&] {
    if (!opened_) return false;
    bool ok = true;
    if (entryChanged_ && !readOnly_) ok = DBSAVE();
    if (!ok) return false;
    DBCLEAR();
    return true;
  });
}

bool cls_DBStore::DBSAVE(bool pForce) {
  return Guard(kClass, "DBSAVE", [&] {
    if (!opened_ || !entryChanged_ || readOnly_ || dbFile_.empty()) return false;
    saveError_.clear();
    try {
      // Read-modify-write under the lock: the lock held since DBOPEN, or one for this write.
      fileio::FileLock writeLock;
      if (!lock_.Held()) writeLock.Acquire(dbFile_, lockWait_);
      fileio::FileStamp now = fileio::StampOf(dbFile_);
      if (!pForce && now.Exists() && now != stamp_)
        Raise(err::kPathFileAccess, "'" + dbFile_ +
                                        "' changed on disk since it was opened or last saved; not "
                                        "overwritten (open it again, or force the save)");
      if (hIsBinaryName(dbFile_)) hWriteBinary(dbFile_);
      else if (!DBStructureFile::Write(dbFile_, hFileName(headerFile_), entries_.Entries(), entries_.Numeric()))
        hStructureFileSave(DBSTRUCTURE_GET(), dbFile_);
      stamp_ = fileio::StampOf(dbFile_);  // still under the lock: this is what was written
    } catch (const Error& e) {
      saveError_ = e.description;
      Notify({"Database error",
              "The database could not be saved:\r\nDatabase: " + dbFile_ + "\r\nError: " + e.description, "OK",
              "Critical"});
      return false;
    }
    entryChanged_ = false;
    return true;
  });
}

// ---- binary form ---------------------------------------------------------------------------------

void cls_DBStore::hWriteBinary(const std::string& pFile) {
  const auto& all = entries_.Entries();
  bool numeric = entries_.Numeric();
  fileio::WriteFileAtomicStream(pFile, [&](std::FILE* f) {
    DBBinaryWriter w(f, pFile);
    w.Begin(hFileName(headerFile_), static_cast<int32_t>(all.size()));
    for (const auto& e : all) w.Record(e.id, numeric, hEntryText(e.data));
    w.End();
  });
}

void cls_DBStore::hReadBinary(const std::string& pFile, std::string& rHeaderName, std::vector<DBRow>& rRows) {
  DBBinaryFile file(pFile);
  rHeaderName = file.HeaderName();
  rRows.clear();
  rRows.reserve(static_cast<size_t>(std::min<int32_t>(file.Count(), 1 << 24)));
  Variant id;
  std::string_view content;
  while (file.Next(id, content)) rRows.push_back({std::move(id), hEntryFromText(content)});
}

void cls_DBStore::hInstallRows(std::vector<DBRow>& rRows, bool pRejectDuplicates) {
  entries_.Clear();
  for (auto& idx : indexes_) idx.reset();
  entries_.Reserve(rRows.size());
  for (size_t i = 0; i < rRows.size(); ++i) {
    DBRow& row = rRows[i];
    Variant norm = entries_.NormalizeId(row.id);
    if (pRejectDuplicates && entries_.Find(norm)) {
      size_t first = 0;
      while (first < i && CStr(entries_.NormalizeId(rRows[first].id)) != CStr(norm)) ++first;
      Raise(err::kInvalidData, "The id " + CStr(norm) + " appears twice (records " + std::to_string(first + 1) +
                                   " and " + std::to_string(i + 1) + ").");
    }
    if (entries_.Find(norm)) entries_.Put(norm, std::move(row.data));
    else entries_.Append(std::move(norm), std::move(row.data));
  }
  rRows.clear();
  ENTRYREINDEX();
}

bool cls_DBStore::hInstallStructureRows(std::vector<DBStructureFile::Row>& rRows) {
  entries_.Clear();
  for (auto& idx : indexes_) idx.reset();
  entries_.Reserve(rRows.size());
  for (auto& row : rRows) {
    Variant norm = entries_.NormalizeId(Variant(row.id));
    // Two blocks for one id: the whole structure decides how they combine.
    if (entries_.Find(norm)) return false;
    entries_.Append(std::move(norm), std::move(row.data));
  }
  rRows.clear();
  ENTRYREINDEX();
  hEntryChanged();
  return true;
}

// ---- whole-database structure ----------------------------------------------------------------------

StructurePtr cls_DBStore::DBSTRUCTURE_GET() {
  return Guard(kClass, "DBSTRUCTURE.GET", [&] {
    auto s = cls_Structure::New();
    s->ITEM_LET("INFO.VERSION", 1);
    s->ITEM_LET("INFO.HEADER", hFileName(headerFile_));
    s->ITEM_LET("INFO.TIMESTAMP", Variant::Date(date::Now()));
    s->ITEM_LET("ENTRIES", Variant(ENTRYSTRUCTURE_GET()));
    return s;
  });
}

bool cls_DBStore::DBSTRUCTURE_LET(const StructurePtr& pStructure) {
  return Guard(kClass, "DBSTRUCTURE.LET", [&] {
    if (!pStructure) return false;
    ENTRYSTRUCTURE_LET(pStructure->ITEM_GET("ENTRIES").as<cls_Structure>());
    return true;
  });
}

// ---- one-string form -----------------------------------------------------------------------------

std::string cls_DBStore::SERIALIZE() {
  return Guard(kClass, "SERIALIZE", [&] {
    const auto& all = entries_.Entries();
    std::vector<std::string> parts;
    parts.reserve(all.size() * 2 + 2);
    parts.emplace_back();
    parts.push_back(hEntryText(HEADERSTRUCTURE_GET()));
    for (const auto& e : all) {
      parts.push_back(CStr(e.id));
      parts.push_back(hEntryText(e.data));
    }
    Random& rng = ThreadRandom();
    std::string sep = "<";
    for (size_t i = 1; i < parts.size(); ++i)
      while (parts[i].find(sep) != std::string::npos)
        sep.push_back(static_cast<char>(65 + static_cast<int>(rng.Rnd() * 36)));
    sep.push_back('>');
    parts[0] = "DBS1:" + sep + "@";
    size_t total = 0;
    for (const auto& p : parts) total += p.size() + sep.size();
    std::string out;
    out.reserve(total);
    for (size_t i = 0; i < parts.size(); ++i) {
      if (i) out += sep;
      out += parts[i];
    }
    return out;
  });
}

bool cls_DBStore::UNSERIALIZE(const std::string& pText) {
  return Guard(kClass, "UNSERIALIZE", [&] {
    if (pText.compare(0, 3, "DBS") != 0) return false;
    mdl_Limits::CheckInputSize(pText.size(), "Database text");
    size_t at = pText.find('@');
    if (at == std::string::npos) return false;
    std::string_view head = std::string_view(pText).substr(3, at - 3);
    size_t colon = head.find(':');
    if (colon == std::string_view::npos) return false;
    double format = 0;
    ParseNumber(head.substr(0, colon), format);
    std::string sep(head.substr(colon + 1));
    if (sep.empty()) return false;
    // Parse everything first, so that malformed text changes nothing.
    StructurePtr header;
    std::vector<DBRow> rows;
    if (format == 1) {
      std::vector<std::string> parts = text::Split(pText, sep);
      if (parts.size() < 3) return false;
      size_t n = (parts.size() - 1 - 2) / 2;
      header = hEntryFromText(parts[2]);
      // the ids are read as the text's own header says, not as this database was before
      const bool numeric = mdl_Global::hCBool(header->ITEM_GET("HEADER.NUMERIC", true));
      rows.reserve(n);
      for (size_t i = 1; i <= n; ++i) {
        std::string_view idText = parts[2 * i + 1];
        Variant id = DBEntryTable::NumberId(DBEntryTable::LeadingNumber(idText));
        if (!numeric && !IsNumericText(idText)) id = Variant(idText);
        rows.push_back({id, hEntryFromText(parts[2 * i + 2])});
      }
    } else {
      std::vector<std::string> lines = text::Split(std::string_view(pText).substr(at + 1), sep);
      if (lines.empty()) return false;
      header = hEntryFromText(lines[0]);
      bool numeric = mdl_Global::hCBool(header->ITEM_GET("HEADER.NUMERIC", true));
      for (size_t i = 1; i < lines.size(); ++i) {
        std::string line = text::Replace(text::Replace(text::Replace(lines[i], "\\r", "\r"), "\\n", "\n"), "\\/", "\\");
        size_t c = line.find(':');
        if (c == std::string::npos) continue;
        std::string left = line.substr(0, c);
        Variant id = numeric ? DBEntryTable::NumberId(DBEntryTable::LeadingNumber(left))
                             : Variant(text::Replace(left, "_._", ":"));
        rows.push_back({id, hEntryFromText(std::string_view(line).substr(c + 1))});
      }
    }
    HEADERSTRUCTURE_LET(header);
    hInstallRows(rows);
    hEntryChanged();
    return true;
  });
}

// ---- copy, merge, check ------------------------------------------------------------------------------

bool cls_DBStore::DBCOPY(const std::shared_ptr<cls_DBStore>& pOther) {
  return Guard(kClass, "DBCOPY", [&] {
    if (!pOther) return false;
    HEADERSTRUCTURE_LET(pOther->HEADERSTRUCTURE_GET());
    DBSTRUCTURE_LET(pOther->DBSTRUCTURE_GET());
    // The entries now share their structures with the other database: give them their own.
    for (const auto& id : ENTRYALL_IDS()) entries_.Put(id, hStructureCopy(entries_.Find(id)->data));
    ENTRYREINDEX();
    return true;
  });
}

bool cls_DBStore::DBMERGE(const std::shared_ptr<cls_DBStore>& pOtherDB, bool pOverwrite) {
  return Guard(kClass, "DBMERGE", [&] {
    if (!pOtherDB) return false;
    for (const auto& id : pOtherDB->ENTRYALL_IDS()) {
      if (pOverwrite || !ENTRYEXISTS(id)) ENTRYADD(id, hStructureCopy(pOtherDB->ENTRY(id)));
    }
    return true;
  });
}

bool cls_DBStore::DBCHECKINDEX() {
  return Guard(kClass, "DBCHECKINDEX", [&] {
    checkReport_.clear();
    hIndexSync();
    ++generation_;  // read the values afresh: entries may have changed behind the index
    bool ok = true;
    const auto& all = entries_.Entries();
    for (size_t i = 0; i < fields_.size(); ++i) {
      if (!indexes_[i]) continue;
      const cls_DBField& f = *fields_[i];
      const auto& col = FIELDCOLUMN(static_cast<int32_t>(i + 1));
      cls_DBIndex fresh;
      for (size_t p = 0; p < all.size(); ++p) fresh.ADD(f.INDEXKEY(col[p]), all[p].id);
      if (fresh.SAMEAS(*indexes_[i])) continue;
      ok = false;
      if (!checkReport_.empty()) checkReport_ += "\r\n";
      checkReport_ += "Datenfeld " + (f.NAME.empty() ? f.ID : f.NAME) + ": " + std::to_string(indexes_[i]->COUNT()) +
                      " Einträge unter " + std::to_string(indexes_[i]->KEYCOUNT()) + " Werten statt " +
                      std::to_string(fresh.COUNT()) + " unter " + std::to_string(fresh.KEYCOUNT()) +
                      " hat asynchronen Index";
    }
    return ok;
  });
}

// ---- header files ----------------------------------------------------------------------------------

bool cls_DBStore::HEADERLOAD(const std::string& pFile) {
  return Guard(kClass, "HEADERLOAD", [&] {
    StructurePtr h;
    try {
      h = hStructureFileLoad(pFile);
    } catch (const Error&) { return false; }
    if (!h->EXISTS_GET("HEADER") && !h->EXISTS_GET("FIELDS")) return false;
    HEADERSTRUCTURE_LET(h);
    return true;
  });
}

bool cls_DBStore::HEADERSAVE(const std::string& pFile) {
  return Guard(kClass, "HEADERSAVE", [&] {
    hStructureFileSave(HEADERSTRUCTURE_GET(), pFile);
    fieldsChanged_ = false;
    return true;
  });
}

namespace {
std::atomic<cls_DBStore::DynamicFields> gDynamicFields{nullptr};
}  // namespace

void cls_DBStore::SetDynamicFields(DynamicFields pHook) { gDynamicFields.store(pHook); }

cls_DBStore::DynamicFields cls_DBStore::hDynamicFields() { return gDynamicFields.load(); }

namespace {
std::atomic<cls_DBStore::Factory> gFactory{nullptr};
}  // namespace

void cls_DBStore::SetFactory(Factory pHook) { gFactory.store(pHook); }

cls_DBStore::Factory cls_DBStore::hFactory() { return gFactory.load(); }

std::shared_ptr<cls_DBStore> cls_DBStore::New() {
  Factory make = gFactory.load();
  return make ? make() : std::make_shared<cls_DBStore>();
}

void cls_DBStore::hTargetFile(const std::string& pFile, const std::string& pHeaderFile) {
  fileio::RequireRegularFile(pFile, "DB file");
  dbFile_ = pFile;
  headerFile_ = pHeaderFile;
  cacheFile_ = pFile + ".cache";
  opened_ = true;
  stamp_ = fileio::StampOf(pFile);  // the new contents replace whatever the file holds
}

// A dynamic field's value is its CODE rendered by the database's interpreter (KEL, made on first
// need through the installed hook), with the entry's structure as the variable ENTRY:
// "{VAR:ENTRY.FIRSTNAME} {VAR:ENTRY.LASTNAME}". Storing the rendered values does not start another
// rebuild of this database; another database that the code changes rebuilds its own entry as usual.
void cls_DBStore::hFieldDynamicRebuild(const Variant& pID) {
  if (rebuilding_) return;
  bool any = false;
  for (const auto& f : fields_) any = any || (f->DYNAMIC && !f->CODE.empty());
  if (!any) return;
  DynamicFields hook = gDynamicFields.load();
  if (!hook) return;
  StructurePtr entry = ENTRY(pID);
  if (!entry) return;
  auto render = hook(kel_, entry);
  if (!render) return;
  rebuilding_ = true;
  struct Reset {
    bool& flag;
    ~Reset() { flag = false; }
  } reset{rebuilding_};
  for (const auto& f : fields_)
    if (f->DYNAMIC && !f->CODE.empty()) ENTRYFIELD_LET(pID, f->ID, render(f->CODE));
}

}  // namespace rykel
