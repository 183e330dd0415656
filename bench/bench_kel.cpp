// KEL rendering benchmarks.
//   KEL_W2        the 10,000-row table page ($KEL_W2_DIR/table.kel with its header include) from the
//                 rows in $KEL_W2_ROWS (name<TAB>city<TAB>amount<TAB>active per line); the output of one
//                 render is written to $KEL_W2_OUT when set
//   KEL_EscapedW2 the same page with autoescape on (every {VAR:x} escaped for HTML); its output goes
//                 to $KEL_W2_ESCAPED_OUT when set
//   KEL_IfChain   the W2 rows as a 10,000-round loop with an IF / ELSEIF / ELSE chain on an
//                 expression per round ($KEL_IFCHAIN_OUT gets the output when set)
//   KEL_Switch    the same loop with a SWITCH on the city, three CASEs and a DEFAULT
//                 ($KEL_SWITCH_OUT)
//   KEL_Flat100   a flat template of 100 variable references (commands per second)
//   KEL_BigText   1 MB of text with 10 commands (bytes per second)
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "frame/Text.h"
#include "interpreter/cls_KEL.h"

namespace {

using namespace rykel;

std::string hRead(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

StructurePtr hRows(const std::string& path) {
  auto rows = cls_Structure::New();
  std::ifstream in(path, std::ios::binary);
  std::string line;
  while (std::getline(in, line)) {
    auto f = text::Split(line, "\t");
    if (f.size() != 4) continue;
    auto row = cls_Structure::New();
    row->ITEM_LET("NAME", f[0]);
    row->ITEM_LET("CITY", f[1]);
    row->ITEM_LET("AMOUNT", f[2]);  // the amount's text as the data gives it
    row->ITEM_LET("ACTIVE", f[3] == "1");
    rows->ADD(Variant(row));
  }
  return rows;
}

void hW2(benchmark::State& state, bool pAutoescape, const char* pOutEnv) {
  const char* rowsPath = std::getenv("KEL_W2_ROWS");
  if (!rowsPath) {
    state.SkipWithError("KEL_W2_ROWS not set");
    return;
  }
  // The page's folder comes from the run script: __FILE__ may be relative once a compiler cache
  // has rewritten the paths.
  const char* dirEnv = std::getenv("KEL_W2_DIR");
  std::string dir = dirEnv ? dirEnv : "bench/kel_w2";
  std::string page = hRead(dir + "/table.kel");
  if (page.empty()) {
    state.SkipWithError(("no template at " + dir + "/table.kel").c_str());
    return;
  }
  cls_KEL k;
  k.AUTOESCAPE_LET(pAutoescape);
  k.DIRECTORIES->ADD(dir);
  k.VARIABLES->ITEM_LET("TITLE", "Personen");
  k.VARIABLES->ITEM_LET("ROWS", Variant(hRows(rowsPath)));
  std::string out = k.PROCESS(page, nullptr);  // warm-up
  if (k.ERRORLIST->COUNT() > 0) state.SkipWithError("the page recorded errors");
  if (const char* o = std::getenv(pOutEnv)) std::ofstream(o, std::ios::binary) << out;
  for (auto _ : state) benchmark::DoNotOptimize(k.PROCESS(page, nullptr));
  state.counters["bytes_out"] = static_cast<double>(out.size());
}

void KEL_W2(benchmark::State& state) { hW2(state, false, "KEL_W2_OUT"); }
BENCHMARK(KEL_W2)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void KEL_EscapedW2(benchmark::State& state) { hW2(state, true, "KEL_W2_ESCAPED_OUT"); }
BENCHMARK(KEL_EscapedW2)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// A loop over the W2 rows; the page's output goes to $pOutEnv when set.
void hRowsLoop(benchmark::State& state, const std::string& pPage, const char* pOutEnv) {
  const char* rowsPath = std::getenv("KEL_W2_ROWS");
  if (!rowsPath) {
    state.SkipWithError("KEL_W2_ROWS not set");
    return;
  }
  cls_KEL k;
  k.VARIABLES->ITEM_LET("ROWS", Variant(hRows(rowsPath)));
  std::string out = k.PROCESS(pPage, nullptr);  // warm-up
  if (k.ERRORLIST->COUNT() > 0) state.SkipWithError("the page recorded errors");
  if (const char* o = std::getenv(pOutEnv)) std::ofstream(o, std::ios::binary) << out;
  for (auto _ : state) benchmark::DoNotOptimize(k.PROCESS(pPage, nullptr));
}

void KEL_IfChain(benchmark::State& state) {
  hRowsLoop(state,
            "{ITERATE row VAR:rows {<td>{IF (row.amount > 50000) {big}}{ELSEIF (row.amount > 10000) {mid}}"
            "{ELSE {small}}</td>}}",
            "KEL_IFCHAIN_OUT");
}
BENCHMARK(KEL_IfChain)->Unit(benchmark::kMillisecond)->MinTime(1.0);

void KEL_Switch(benchmark::State& state) {
  hRowsLoop(state,
            "{ITERATE row VAR:rows {<td>{SWITCH (row.city) {{CASE 'Berlin' {B}}{CASE 'Hamburg' {H}}"
            "{CASE 'Köln' {K}}{DEFAULT {-}}}}</td>}}",
            "KEL_SWITCH_OUT");
}
BENCHMARK(KEL_Switch)->Unit(benchmark::kMillisecond)->MinTime(1.0);

void KEL_Flat100(benchmark::State& state) {
  cls_KEL k;
  k.VARIABLES->ITEM_LET("X", "value");
  std::string page;
  for (int i = 0; i < 100; ++i) page += "<td>{VAR:x}</td>";
  for (auto _ : state) benchmark::DoNotOptimize(k.PROCESS(page, nullptr));
  state.counters["commands_per_s"] =
      benchmark::Counter(100.0 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(KEL_Flat100)->Unit(benchmark::kMicrosecond);

void KEL_BigText(benchmark::State& state) {
  cls_KEL k;
  k.VARIABLES->ITEM_LET("X", "value");
  std::string filler(100000, 'a');
  for (size_t i = 80; i < filler.size(); i += 81) filler[i] = '\n';
  std::string page;
  for (int i = 0; i < 10; ++i) page += filler + "{VAR:x}";
  for (auto _ : state) benchmark::DoNotOptimize(k.PROCESS(page, nullptr));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(page.size()));
}
BENCHMARK(KEL_BigText)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
