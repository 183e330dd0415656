// The export paths on the W5 rows: 100,000 entries x 8 fields (id, three texts with umlauts, a
// date, two numbers, a status), the same values the peers generate (64-bit LCG, seed 42).
//   bench_export xlsx OUT.xlsx [rows]   the built-in workbook writer (EXPORTEXCEL), one run
//   bench_export htm OUT.htm [rows]     the HTML table (EXPORTFILE "HTM"), one run
//   bench_export calc OUT.xlsx [rows]   EXPORTEXCEL through LibreOffice Calc, one run
//   bench_export db OUT.ry-dbb [rows]   saves the rows as a database file (for `rykel db export`)
// Prints "fill_ms=<building the database> export_ms=<the export> export_mib=<peak memory the
// export added>" so run_export.sh can time the process as a whole (under /usr/bin/time -v) and
// the export alone. The export's own memory is the peak resident size during the export (the
// peak is reset before it through /proc/self/clear_refs) less the resident size before it.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "frame/DateTime.h"
#include "host/cls_DB.h"

namespace {

const char* kFirst[20] = {"Anna",  "Ben",   "Clara", "David", "Emma", "Felix", "Greta",  "Hannes", "Ida",  "Jonas",
                          "Karla", "Lukas", "Mia",   "Noah",  "Olga", "Paul",  "Quirin", "Rosa",   "Sven", "Tina"};
const char* kLast[16] = {"Müller", "Schmidt",  "Schneider", "Fischer", "Weber", "Meyer",   "Wagner", "Becker",
                         "Schulz", "Hoffmann", "Schäfer",   "Koch",    "Bauer", "Richter", "Klein",  "Wolf"};
const char* kCity[14] = {"Berlin",  "Hamburg",  "München", "Köln",   "Frankfurt am Main", "Stuttgart", "Düsseldorf",
                         "Leipzig", "Dortmund", "Essen",   "Bremen", "Dresden",           "Hannover",  "Nürnberg"};
const char* kStatus[3] = {"aktiv", "inaktiv", "gesperrt"};

uint64_t state = 42;
uint32_t hNext() {
  state = state * 6364136223846793005ULL + 1442695040888963407ULL;
  return static_cast<uint32_t>(state >> 33);
}

// "VmRSS" or "VmHWM" of /proc/self/status in KiB (0 when unreadable).
long hStatusKb(const char* pKey) {
  std::FILE* f = std::fopen("/proc/self/status", "r");
  if (!f) return 0;
  char line[256];
  long kb = 0;
  size_t n = std::strlen(pKey);
  while (std::fgets(line, sizeof line, f)) {
    if (std::strncmp(line, pKey, n) == 0 && line[n] == ':') kb = std::atol(line + n + 1);
  }
  std::fclose(f);
  return kb;
}

double hMs(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - since).count();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s xlsx|htm|calc|db OUT [rows]\n", argv[0]);
    return 2;
  }
  std::string mode = argv[1], out = argv[2];
  long rows = argc > 3 ? std::atol(argv[3]) : 100000;
  using namespace rykel;
  auto t0 = std::chrono::steady_clock::now();
  auto db = std::make_shared<cls_DB>();
  db->FIELDCREATE("ID", ID_DBFieldType_Long, "ID");
  db->FIELDCREATE("FIRSTNAME", ID_DBFieldType_String, "Vorname");
  db->FIELDCREATE("LASTNAME", ID_DBFieldType_String, "Nachname");
  db->FIELDCREATE("CITY", ID_DBFieldType_String, "Stadt");
  db->FIELDCREATE("BIRTHDATE", ID_DBFieldType_Date, "Geburtsdatum");
  db->FIELDCREATE("SCORE", ID_DBFieldType_Double, "Score");
  db->FIELDCREATE("STATUS", ID_DBFieldType_String, "Status");
  db->FIELDCREATE("AMOUNT", ID_DBFieldType_Double, "Betrag");
  double d1940 = 0;
  date::FromParts({1940, 1, 1, 0, 0, 0}, d1940);
  for (long i = 1; i <= rows; ++i) {
    auto e = cls_Structure::New();
    e->ITEM_LET("ID", Variant(static_cast<int>(i)));
    e->ITEM_LET("FIRSTNAME", kFirst[hNext() % 20]);
    e->ITEM_LET("LASTNAME", kLast[hNext() % 16]);
    e->ITEM_LET("CITY", kCity[hNext() % 14]);
    e->ITEM_LET("BIRTHDATE", Variant::Date(d1940 + hNext() % 24000));
    e->ITEM_LET("SCORE", static_cast<double>(hNext() % 10001) / 100.0);
    e->ITEM_LET("STATUS", kStatus[hNext() % 3]);
    e->ITEM_LET("AMOUNT", static_cast<double>(hNext() % 10000000) / 100.0);
    db->ENTRYADD(Variant(static_cast<int>(i)), e);
  }
  double fill = hMs(t0);
  if (mode == "db") {
    db->hTargetFile(out, out + ".header");
    db->ENTRYCHANGED_LET(true);
    return db->HEADERSAVE(out + ".header") && db->DBSAVE() ? 0 : 1;
  }
  if (std::FILE* f = std::fopen("/proc/self/clear_refs", "w")) {
    std::fputs("5", f);  // resets the peak resident size
    std::fclose(f);
  }
  long before = hStatusKb("VmRSS");
  auto t1 = std::chrono::steady_clock::now();
  auto settings = cls_Structure::New();
  settings->ITEM_LET("NOOSD", true);
  if (mode == "calc") {
    settings->ITEM_LET("EXCEL.USEPROGRAM", true);
    settings->ITEM_LET("EXCEL.TIMEOUT", 1200);
    mode = "xlsx";
  }
  bool ok = mode == "xlsx" ? db->EXPORTEXCEL(1, out, std::nullopt, settings)
                           : db->EXPORTFILE(1, out, "HTM", std::nullopt, settings);
  double ms = hMs(t1);
  std::printf("fill_ms=%.0f export_ms=%.0f export_mib=%.1f\n", fill, ms, (hStatusKb("VmHWM") - before) / 1024.0);
  return ok ? 0 : 1;
}
