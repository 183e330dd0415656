// JSON form of a big tree: reading and writing the W1 records (20,000 records x 10 items, made by
// the peer's generator as serialized text, RYKEL_W1_FILE) as JSON. run_json.sh sets Python's json
// module beside it on the same text.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "structure/cls_Structure.h"
#include "structure/cls_StructureManager.h"
#include "structure/mdl_StructureJson.h"

namespace {

// The W1 tree as one-line JSON.
const std::string& Json() {
  static const std::string json = [] {
    const char* path = std::getenv("RYKEL_W1_FILE");
    std::ifstream in(path ? path : "", std::ios::binary);
    if (!in) {
      std::fprintf(stderr, "set RYKEL_W1_FILE to the W1 serialized file\n");
      std::exit(2);
    }
    auto s = rykel::cls_Structure::New();
    s->UNSERIALIZE(std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()));
    return rykel::mdl_StructureJson::Write(*s->MANAGER_GET(), s->SID_GET(), -1);
  }();
  return json;
}

void BM_JsonRead(benchmark::State& state) {
  const std::string& json = Json();
  for (auto _ : state) {
    auto s = rykel::mdl_StructureJson::Read(json);
    state.PauseTiming();
    s.reset();  // freeing the tree is not part of reading it
    state.ResumeTiming();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * json.size()));
}

void BM_JsonWrite(benchmark::State& state) {
  const std::string& json = Json();
  auto s = rykel::mdl_StructureJson::Read(json);
  std::string out;
  for (auto _ : state) {
    out = rykel::mdl_StructureJson::Write(*s->MANAGER_GET(), s->SID_GET(), -1);
    benchmark::DoNotOptimize(out.data());
  }
  state.counters["identical"] = out == json ? 1 : 0;
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * json.size()));
}

BENCHMARK(BM_JsonRead)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_JsonWrite)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5)->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
