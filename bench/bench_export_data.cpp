// The data export on the W3 rows: the peer generator's CSV loaded into a database in memory (id
// and 8 fields, typed as the SQLite peer's table), then one EXPORT to CSV.
//   bench_export_data W3.csv OUT.csv [DB.ry-dbb]
// Prints "load_ms=<reading the CSV> export_ms=<the export> export_mib=<peak memory the export
// added>"; with DB.ry-dbb the database is also saved there, for timing `rykel db export` as a
// whole process. The export's own memory is the peak resident size during the export (the peak
// is reset before it through /proc/self/clear_refs) less the resident size before it.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "W3Rows.h"
#include "frame/DateTime.h"
#include "host/cls_DB.h"

using namespace rykel;

namespace {

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
    std::fprintf(stderr, "usage: bench_export_data W3.csv OUT.csv [DB.ry-dbb]\n");
    return 2;
  }
  auto t0 = std::chrono::steady_clock::now();
  auto db = bench::W3Database(argv[1], true);
  double load = hMs(t0);
  if (argc > 3) {
    std::string file = argv[3], header = file + ".header";
    std::remove(file.c_str());
    db->HEADERSAVE(header);
    auto saved = std::make_shared<cls_DB>();
    saved->DBOPEN(file, header);
    saved->DBCOPY(db);
    if (!saved->DBSAVE()) return 1;
  }
  if (std::FILE* f = std::fopen("/proc/self/clear_refs", "w")) {
    std::fputs("5", f);  // resets the peak resident size
    std::fclose(f);
  }
  long before = hStatusKb("VmRSS");
  auto t1 = std::chrono::steady_clock::now();
  auto settings = cls_Structure::New();
  settings->ITEM_LET("NOOSD", true);
  bool ok = db->EXPORT("csv", argv[2], 1, std::nullopt, settings);
  double ms = hMs(t1);
  std::printf("load_ms=%.0f export_ms=%.0f export_mib=%.1f\n", load, ms, (hStatusKb("VmHWM") - before) / 1024.0);
  return ok ? 0 : 1;
}
