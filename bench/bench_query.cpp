// Queries and sorting on the W3 rows, side by side with SQLite in memory (no indexes on its side,
// as a user would load a CSV): each case runs on both, median of 5 warm runs, and prints
// "case  ours_ms  sqlite_ms  ratio" (ratio = ours / SQLite; the target is <= 1.0).
// Usage: bench_query W3.csv
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "W3Rows.h"
#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "host/cls_DB.h"

using namespace rykel;

namespace {

double hMedianMs(const std::function<size_t()>& run, size_t& rCount) {
  std::vector<double> t;
  for (int i = 0; i < 5; ++i) {
    auto t0 = std::chrono::steady_clock::now();
    rCount = run();
    t.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count());
  }
  std::sort(t.begin(), t.end());
  return t[2];
}

size_t hSql(sqlite3* db, const std::string& q) {
  sqlite3_stmt* st = nullptr;
  sqlite3_prepare_v2(db, q.c_str(), -1, &st, nullptr);
  std::vector<int64_t> ids;
  while (sqlite3_step(st) == SQLITE_ROW) ids.push_back(sqlite3_column_int64(st, 0));
  sqlite3_finalize(st);
  return ids.size();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: bench_query W3.csv\n");
    return 2;
  }
  sqlite3* sql = nullptr;
  sqlite3_open(":memory:", &sql);
  sqlite3_exec(sql,
               "CREATE TABLE person(id INTEGER, FIRSTNAME TEXT, LASTNAME TEXT, STREET TEXT, PLZ TEXT, "
               "CITY TEXT, BIRTHDATE TEXT, SCORE REAL, ACTIVE INTEGER); BEGIN",
               nullptr, nullptr, nullptr);
  sqlite3_stmt* ins = nullptr;
  sqlite3_prepare_v2(sql, "INSERT INTO person VALUES (?,?,?,?,?,?,?,?,?)", -1, &ins, nullptr);

  auto db = bench::W3Database(argv[1], false, [&](const std::vector<std::string>& v) {
    sqlite3_bind_int64(ins, 1, std::stoll(v[0]));
    for (int f = 1; f <= 6; ++f) sqlite3_bind_text(ins, f + 1, v[static_cast<size_t>(f)].c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_double(ins, 8, std::stod(v[7]));
    sqlite3_bind_int(ins, 9, v[8] == "1");
    sqlite3_step(ins);
    sqlite3_reset(ins);
  });
  db->FIELD("PLZ")->INDEXED = true;
  db->ENTRYREINDEX();
  sqlite3_finalize(ins);
  sqlite3_exec(sql, "COMMIT", nullptr, nullptr, nullptr);
  std::string plz = CStr(db->ENTRYFIELD_GET(1, "PLZ"));

  auto filterOf = [](std::vector<std::pair<std::string, std::string>> items, bool orMode) {
    auto f = cls_Structure::New();
    for (auto& [k, v] : items) f->ITEMBYID_LET(k, v);
    if (orMode) f->ITEMBYID_LET("MODE", "OR");
    return f;
  };
  struct Case {
    const char* name;
    std::function<size_t()> ours;
    std::string sql;
  };
  std::vector<Case> cases = {
      {"lastname $== müller", [&] { return db->ENTRYQUERY("LASTNAME", "", "müller").size(); },
       "SELECT id FROM person WHERE upper(LASTNAME) = upper('müller')"},
      {"city $CONTAINS burg", [&] { return db->ENTRYQUERY("CITY", "", "$CONTAINS burg").size(); },
       "SELECT id FROM person WHERE instr(upper(CITY), 'BURG') > 0"},
      {"score [] 10 20", [&] { return db->ENTRYQUERY("SCORE", "", "[] 10 20").size(); },
       "SELECT id FROM person WHERE SCORE BETWEEN 10 AND 20"},
      {"birthdate in 1980", [&] { return db->ENTRYQUERY("BIRTHDATE", "", "[] 1980-01-01 1980-12-31").size(); },
       "SELECT id FROM person WHERE BIRTHDATE BETWEEN '1980-01-01' AND '1980-12-31'"},
      {"AND filter",
       [&] {
         return db->ENTRYFILTER("", filterOf({{"LASTNAME", "müller"}, {"SCORE", "[] 10 20"}}, false)).size();
       },
       "SELECT id FROM person WHERE upper(LASTNAME) = upper('müller') AND SCORE BETWEEN 10 AND 20"},
      {"OR filter",
       [&] {
         return db->ENTRYFILTER("", filterOf({{"LASTNAME", "müller"}, {"SCORE", "[] 10 20"}}, true)).size();
       },
       "SELECT id FROM person WHERE upper(LASTNAME) = upper('müller') OR SCORE BETWEEN 10 AND 20"},
      {"plz == (indexed)", [&] { return db->ENTRYQUERY("PLZ", "==", plz).size(); },
       "SELECT id FROM person WHERE PLZ = '" + plz + "'"},
      {"sort lastname, firstname", [&] { return db->ENTRYSORTADVANCED("LASTNAME", false, "FIRSTNAME").size(); },
       "SELECT id FROM person ORDER BY LASTNAME, FIRSTNAME"},
  };
  std::printf("%-26s %10s %10s %7s %9s %9s\n", "case", "ours_ms", "sqlite_ms", "ratio", "ours_n", "sqlite_n");
  for (auto& c : cases) {
    size_t n1 = 0, n2 = 0;
    c.ours();  // builds the value columns once, as loading would
    double a = hMedianMs(c.ours, n1);
    double b = hMedianMs([&] { return hSql(sql, c.sql); }, n2);
    std::printf("%-26s %10.1f %10.1f %7.2f %9zu %9zu\n", c.name, a, b, a / b, n1, n2);
  }
  sqlite3_close(sql);
  return 0;
}
