// Helpers shared by the libFuzzer targets: a quiet error convention (raise, no stderr lines, no
// message boxes) and a small database of known entries for the query readers.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

#include "frame/Error.h"
#include "frame/Notifier.h"
#include "host/cls_DB.h"
#include "structure/cls_Structure.h"

namespace rykel::fuzz {

inline void Quiet() {
  static const bool once = [] {
    setenv("RYKEL_QUIET", "1", 1);
    SetErrorPolicy([](const ErrorContext&) { return kDecisionRaise; });
    SetNotifier([](const Notification&) { return std::string("Ignore"); });
    return true;
  }();
  (void)once;
}

// A temporary folder of this process for targets that read files ("rykel_fuzz_<pName>_XXXXXX").
inline std::string ScratchFolder(const std::string& pName) {
  std::string t = (std::filesystem::temp_directory_path() / ("rykel_fuzz_" + pName + "_XXXXXX")).string();
  return ::mkdtemp(t.data()) ? t : std::string(".");
}

// Writes pData as the whole file pPath.
inline void PutFile(const std::string& pPath, std::string_view pData) {
  std::ofstream out(pPath, std::ios::binary | std::ios::trunc);
  out.write(pData.data(), static_cast<std::streamsize>(pData.size()));
}

// Fields of every kind the condition reader converts to, with a few entries of edge values.
inline std::shared_ptr<cls_DB> People() {
  auto db = std::make_shared<cls_DB>();
  db->FIELDCREATE("NAME", ID_DBFieldType_String)->INDEXED = true;
  db->FIELDCREATE("AGE", ID_DBFieldType_Long)->INDEXED = true;
  db->FIELDCREATE("BORN", ID_DBFieldType_Date);
  db->FIELDCREATE("OK", ID_DBFieldType_Boolean);
  db->FIELDCREATE("DATA", ID_DBFieldType_Structure);
  db->FIELDCREATE("KIND", ID_DBFieldType_Enum)->MEMBERS = "a=Alpha,b=Beta";
  db->FIELDCREATE("LEVEL", ID_DBFieldType_EnumNumeric)->MEMBERS = "1=One,2=Two";
  db->FIELDCREATE("SCORE", ID_DBFieldType_Double);
  db->FIELDCREATE("REF", ID_DBFieldType_Reference);
  db->FIELDCREATE("REFNUM", ID_DBFieldType_ReferenceNumeric);
  db->FIELDCREATE("TAGS", ID_DBFieldType_EnumMulti)->MEMBERS = "a=Alpha,b=Beta,ab=AlphaBeta";
  struct Row {
    const char *name, *age, *born, *ok, *kind, *level, *score, *tags;
  };
  const Row rows[] = {
      {"Meier", "40", "1984-05-01 13:30:00", "True", "a", "1", "1.5", "a,b"},
      {"müller straße", "-2147483648", "1850-03-01", "nein", "b", "2", "-1E300", "ab"},
      {"", "", "", "", "", "", "", ""},
      {"Anna \"Maria\"", "2147483647", "9999-12-31 23:59:59", "0", "x", "7", "NaN", "c,,a"},
  };
  int id = 1;
  for (const auto& r : rows) {
    db->ENTRYADD(id);
    db->ENTRYFIELD_LET(id, "NAME", r.name);
    db->ENTRYFIELD_LET(id, "AGE", r.age);
    db->ENTRYFIELD_LET(id, "BORN", r.born);
    db->ENTRYFIELD_LET(id, "OK", r.ok);
    db->ENTRYFIELD_LET(id, "KIND", r.kind);
    db->ENTRYFIELD_LET(id, "LEVEL", r.level);
    db->ENTRYFIELD_LET(id, "SCORE", r.score);
    db->ENTRYFIELD_LET(id, "TAGS", r.tags);
    db->ENTRYFIELD_LET(id, "REF", id - 1);
    db->ENTRYFIELD_LET(id, "REFNUM", id + 1);
    ++id;
  }
  auto data = cls_Structure::New();
  data->ITEM_LET("KEY", 1);
  db->ENTRYFIELD_LET(1, "DATA", Variant(data));
  return db;
}

}  // namespace rykel::fuzz
