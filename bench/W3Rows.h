// The W3 person rows, as the peers' generator writes them to CSV (id, FIRSTNAME, LASTNAME, STREET,
// PLZ, CITY, BIRTHDATE, SCORE, ACTIVE), read into a database for the benchmarks: one reader and one
// typing (as the SQLite peer's table) for every benchmark that starts from them.
#pragma once

#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "frame/DateTime.h"
#include "host/cls_DB.h"

namespace rykel::bench {

// The cells of one line. The generator quotes no W3 cell; a quoted cell is read whole all the same.
inline std::vector<std::string> SplitCsv(const std::string& pLine) {
  std::vector<std::string> out;
  std::string cur;
  bool quoted = false;
  for (char c : pLine) {
    if (c == '"') quoted = !quoted;
    else if (c == ',' && !quoted) out.push_back(std::move(cur)), cur.clear();
    else cur += c;
  }
  out.push_back(cur);
  return out;
}

// A database of the file's rows under their ids: fields FIRSTNAME..CITY as text, BIRTHDATE a date,
// SCORE a decimal, ACTIVE yes/no, and with pIdField first a whole-number field ID holding the id.
// pEach, when given, sees every row's cells too (a peer filled from the same reading).
inline std::shared_ptr<cls_DB> W3Database(const std::string& pFile, bool pIdField = false,
                                          const std::function<void(const std::vector<std::string>&)>& pEach = {}) {
  static const char* kNames[] = {"FIRSTNAME", "LASTNAME", "STREET", "PLZ", "CITY", "BIRTHDATE", "SCORE", "ACTIVE"};
  static const int32_t kTypes[] = {ID_DBFieldType_String, ID_DBFieldType_String, ID_DBFieldType_String,
                                   ID_DBFieldType_String, ID_DBFieldType_String, ID_DBFieldType_Date,
                                   ID_DBFieldType_Double, ID_DBFieldType_Boolean};
  auto db = std::make_shared<cls_DB>();
  if (pIdField) db->FIELDCREATE("ID", ID_DBFieldType_Long);
  for (int f = 0; f < 8; ++f) db->FIELDCREATE(kNames[f], kTypes[f]);
  std::ifstream in(pFile);
  std::string line;
  std::getline(in, line);
  while (std::getline(in, line)) {
    auto v = SplitCsv(line);
    if (v.size() != 9) continue;
    const long id = std::stol(v[0]);
    auto s = cls_Structure::New();
    if (pIdField) s->ITEM_LET("ID", Variant(id));
    for (int f = 0; f < 5; ++f) s->ITEM_LET(kNames[f], v[static_cast<size_t>(f) + 1]);
    double day = 0;
    date::Parse(v[6], day);
    s->ITEM_LET("BIRTHDATE", Variant::Date(day));
    s->ITEM_LET("SCORE", std::stod(v[7]));
    s->ITEM_LET("ACTIVE", v[8] == "1");
    db->ENTRYADD(Variant(id), s);
    if (pEach) pEach(v);
  }
  return db;
}

}  // namespace rykel::bench
