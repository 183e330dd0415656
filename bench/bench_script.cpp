// SCRIPT / PARSE and SAVE / LOAD of a tree of 100,000 scalar items: 10,000 records of ten fields
// (texts, whole numbers, reals, booleans), the shape of a database's entry table.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "structure/cls_Structure.h"

namespace {

using rykel::cls_Structure;

rykel::StructurePtr Tree() {
  auto s = cls_Structure::New();
  for (int r = 0; r < 10000; ++r) {
    auto rec = cls_Structure::New();
    rec->ITEM_LET("ID", r);
    rec->ITEM_LET("FIRSTNAME", "Anna" + std::to_string(r % 97));
    rec->ITEM_LET("LASTNAME", "Müller-" + std::to_string(r));
    rec->ITEM_LET("STREET", "Hauptstraße " + std::to_string(r % 200));
    rec->ITEM_LET("ZIPCODE", std::to_string(10000 + r % 9000));
    rec->ITEM_LET("CITY", "Berlin");
    rec->ITEM_LET("AGE", 18 + r % 60);
    rec->ITEM_LET("SCORE", r * 0.25);
    rec->ITEM_LET("ACTIVE", r % 3 == 0);
    rec->ITEM_LET("NOTE", "line one\r\nline \"two\"");
    s->ITEM_LET("R" + std::to_string(r), rec);
  }
  return s;
}

void BM_Script(benchmark::State& state) {
  auto s = Tree();
  for (auto _ : state) benchmark::DoNotOptimize(s->SCRIPT());
  state.SetItemsProcessed(state.iterations() * 100000);
}
BENCHMARK(BM_Script)->Unit(benchmark::kMillisecond);

void BM_Parse(benchmark::State& state) {
  const std::string text = Tree()->SCRIPT();
  for (auto _ : state) {
    auto s = cls_Structure::New();
    s->PARSE(text);
    benchmark::DoNotOptimize(s->COUNT());
  }
  state.SetItemsProcessed(state.iterations() * 100000);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_Parse)->Unit(benchmark::kMillisecond);

std::string TempFile() { return "/tmp/rykel_bench_script_" + std::to_string(::getpid()) + ".txt"; }

void BM_Save(benchmark::State& state) {
  auto s = Tree();
  const std::string file = TempFile();
  for (auto _ : state) s->SAVE(file);
  std::remove(file.c_str());
  state.SetItemsProcessed(state.iterations() * 100000);
}
BENCHMARK(BM_Save)->Unit(benchmark::kMillisecond);

void BM_Load(benchmark::State& state) {
  const std::string file = TempFile();
  Tree()->SAVE(file);
  for (auto _ : state) {
    auto s = cls_Structure::New();
    s->LOAD(file);
    benchmark::DoNotOptimize(s->COUNT());
  }
  std::remove(file.c_str());
  state.SetItemsProcessed(state.iterations() * 100000);
}
BENCHMARK(BM_Load)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
