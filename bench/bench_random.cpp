// Random test data: person records (first name, last name, street with number, postal code, town,
// phone, e-mail), each joined with ";" and its length summed, as the fake-data peer does it.
//   build/bench/bench_random [--benchmark_filter=...]
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <string>

#include "tools/cls_DBTool.h"

namespace {

// 1,000,000 as the peer; RYKEL_BENCH_RECORDS makes it smaller for profiling.
const int kRecords = [] {
  const char* env = std::getenv("RYKEL_BENCH_RECORDS");
  return env != nullptr ? std::max(1, std::atoi(env)) : 1000000;
}();

// One pattern per record, expanded into one reused buffer.
void BM_PersonRecordsPattern(benchmark::State& state) {
  rykel::cls_DBTool tool;
  tool.RANDOMIZE(42);
  std::string line;
  line.reserve(256);
  for (auto _ : state) {
    size_t chars = 0;
    for (int i = 0; i < kRecords; ++i) {
      line.clear();
      tool.hRandomAppend(line, "{VORNAME};{NACHNAME};{STRASSE};{PLZ};{ORT};{TELEFON};{EMAIL}");
      chars += line.size();
    }
    benchmark::DoNotOptimize(chars);
    state.counters["chars_per_record"] = static_cast<double>(chars) / kRecords;
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}
BENCHMARK(BM_PersonRecordsPattern)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

// The same record from seven field-name calls, the way a database fills its fields.
void BM_PersonRecordsFields(benchmark::State& state) {
  rykel::cls_DBTool tool;
  tool.RANDOMIZE(42);
  static const char* const kFields[] = {"VORNAME", "NACHNAME", "STRASSE", "PLZ", "ORT", "TELEFON", "EMAIL"};
  std::string line;
  line.reserve(256);
  for (auto _ : state) {
    size_t chars = 0;
    for (int i = 0; i < kRecords; ++i) {
      line.clear();
      for (int f = 0; f < 7; ++f) {
        if (f > 0) line += ';';
        tool.hRandomAppend(line, kFields[f]);
      }
      chars += line.size();
    }
    benchmark::DoNotOptimize(chars);
  }
  state.SetItemsProcessed(state.iterations() * kRecords);
}
BENCHMARK(BM_PersonRecordsFields)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

// RANDOM as a host calls it: one new string per value, through the error wrapper.
void BM_RandomCall(benchmark::State& state) {
  rykel::cls_DBTool tool;
  tool.RANDOMIZE(42);
  for (auto _ : state) benchmark::DoNotOptimize(tool.RANDOM("EMAIL"));
}
BENCHMARK(BM_RandomCall);

}  // namespace

BENCHMARK_MAIN();
