// Whole-tree operations on big nodes: each must stay linear in the number of items.
#include <benchmark/benchmark.h>

#include <string>

#include "structure/cls_Structure.h"

namespace {

using rykel::cls_Structure;
using rykel::StructurePtr;
using rykel::Variant;

StructurePtr hBig(int n, const char* prefix) {
  auto s = cls_Structure::New();
  for (int i = 0; i < n; ++i) s->ITEM_LET(Variant(prefix + std::to_string(i)), i);
  return s;
}

// Half of the keys are shared, half are new: overwrites and appends.
void BM_Merge(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  auto other = hBig(n / 2, "K");
  other->MERGE(hBig(n / 2, "N"));
  for (auto _ : state) {
    state.PauseTiming();
    auto s = hBig(n, "K");
    state.ResumeTiming();
    s->MERGE(other);
    benchmark::DoNotOptimize(s->COUNT());
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_Merge)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_Copy(benchmark::State& state) {
  auto s = hBig(static_cast<int>(state.range(0)), "K");
  for (auto _ : state) benchmark::DoNotOptimize(s->COPY());
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Copy)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_Difference(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  auto a = hBig(n, "K"), b = hBig(n, "K");
  b->INCREASE(1);
  for (auto _ : state) benchmark::DoNotOptimize(a->DIFFERENCE(b));
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_Difference)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_FlattenRestructure(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  auto s = cls_Structure::New();
  for (int i = 0; i < n; ++i) s->ITEM_LET(Variant("G" + std::to_string(i % 100) + ".K" + std::to_string(i)), i);
  for (auto _ : state) benchmark::DoNotOptimize(s->FLATTEN()->RESTRUCTURE());
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_FlattenRestructure)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_IdListAdd(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  auto a = hBig(n, "K"), b = hBig(n, "N");
  for (auto _ : state) {
    auto ids = a->IDLIST();
    benchmark::DoNotOptimize(ids->IDLISTADD(b)->IDLISTADD(a));
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_IdListAdd)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
