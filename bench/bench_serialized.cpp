// Serialized text of a big tree: UNSERIALIZE of a PHP-written file and SERIALIZE of the tree.
// The file comes from RYKEL_W1_FILE (run_serialized.sh makes it with the peer's generator).
// Counters: bytes per leaf of the node store after the first read, and whether our SERIALIZE
// gives the file back byte for byte.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "structure/cls_Structure.h"

namespace {

constexpr double kLeaves = 20000.0 * 12;  // 4 strings, 2 ints, 2 floats, 1 bool, 3 list ints

const std::string& Text() {
  static const std::string text = [] {
    const char* path = std::getenv("RYKEL_W1_FILE");
    std::ifstream in(path ? path : "", std::ios::binary);
    if (!in) {
      std::fprintf(stderr, "set RYKEL_W1_FILE to the W1 serialized file\n");
      std::exit(2);
    }
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }();
  return text;
}

void BM_Unserialize(benchmark::State& state) {
  const std::string& text = Text();
  auto& man = *rykel::cls_Structure::New()->MANAGER_GET();
  size_t before = man.BytesUsed();
  {
    auto s = rykel::cls_Structure::New();
    s->UNSERIALIZE(text);
    state.counters["bytes_per_leaf"] = static_cast<double>(man.BytesUsed() - before) / kLeaves;
    state.counters["records"] = s->COUNT();
  }
  for (auto _ : state) {
    state.PauseTiming();
    auto s = rykel::cls_Structure::New();
    state.ResumeTiming();
    s->UNSERIALIZE(text);
    state.PauseTiming();
    s.reset();  // freeing the tree is not part of reading it
    state.ResumeTiming();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void BM_Serialize(benchmark::State& state) {
  const std::string& text = Text();
  auto s = rykel::cls_Structure::New();
  s->UNSERIALIZE(text);
  std::string out;
  for (auto _ : state) {
    out = s->SERIALIZE();
    benchmark::DoNotOptimize(out.data());
  }
  state.counters["identical"] = out == text ? 1 : 0;
  // the same text up to case of names and numbered keys written as s:0:"": equal length is a
  // strong hint that only those differ
  state.counters["same_length"] = out.size() == text.size() ? 1 : 0;
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

BENCHMARK(BM_Unserialize)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_Serialize)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5)->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
