// Database files: open and save of the W3 person rows (id and 8 fields) in the binary and the
// structure form. The rows come from the CSV the peer's generator writes (RYKEL_W3_FILE).
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "W3Rows.h"
#include "frame/DateTime.h"
#include "frame/Text.h"
#include "host/cls_DB.h"

namespace {

using namespace rykel;

std::string hDir() {
  const char* d = std::getenv("RYKEL_BENCH_DIR");
  return d ? d : "build/bench";
}

// Builds the database from the CSV once and saves it in both forms.
DBPtr hSource() {
  static DBPtr db = [] {
    const char* file = std::getenv("RYKEL_W3_FILE");
    auto d = bench::W3Database(file ? file : "build/bench/w3.csv");
    d->HEADERSAVE(hDir() + "/w3.header");
    return d;
  }();
  return db;
}

void hSave(benchmark::State& state, const std::string& name) {
  auto src = hSource();
  std::string file = hDir() + "/" + name;
  std::remove(file.c_str());
  for (auto _ : state) {
    auto db = std::make_shared<cls_DB>();
    db->DBOPEN(file, hDir() + "/w3.header", false);
    state.PauseTiming();
    db->DBCOPY(src);
    state.ResumeTiming();
    if (!db->DBSAVE()) state.SkipWithError("save failed");
    state.PauseTiming();
    db.reset();
    state.ResumeTiming();
  }
  state.counters["entries"] = src->ENTRYCOUNT();
}

void hOpen(benchmark::State& state, const std::string& name) {
  std::string file = hDir() + "/" + name;
  int32_t count = 0;
  double bytes = 0;
  for (auto _ : state) {
    state.PauseTiming();
    size_t before = mallinfo2().uordblks;
    auto db = std::make_shared<cls_DB>();
    state.ResumeTiming();
    if (!db->DBOPENREADONLY(file, hDir() + "/w3.header", false)) state.SkipWithError("open failed");
    state.PauseTiming();
    count = db->ENTRYCOUNT();
    bytes = static_cast<double>(mallinfo2().uordblks - before) / std::max(count, 1);
    db.reset();
    state.ResumeTiming();
  }
  state.counters["entries"] = count;
  state.counters["bytes_per_entry"] = bytes;
}

void BM_SaveBinary(benchmark::State& s) { hSave(s, "w3.ry-dbb"); }
void BM_OpenBinary(benchmark::State& s) { hOpen(s, "w3.ry-dbb"); }
void BM_SaveStructure(benchmark::State& s) { hSave(s, "w3.db"); }
void BM_OpenStructure(benchmark::State& s) { hOpen(s, "w3.db"); }

BENCHMARK(BM_SaveBinary)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(3);
BENCHMARK(BM_OpenBinary)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(3);
BENCHMARK(BM_SaveStructure)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(3);
BENCHMARK(BM_OpenStructure)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(3);

}  // namespace

BENCHMARK_MAIN();
