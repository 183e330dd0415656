// The template check (cls_KEL::CHECK), in process; bench/run_check.sh sets it beside Jinja2's parse.
//   CHECK_W2     the W2 page (bench/kel_w2/table.kel, its include found through DIRECTORIES)
//   CHECK_Demo   every template of the demo (examples/site and examples/report), one pass
//   CHECK_Big    a 1 MB template of blocks, conditions and variables (KEL_CHECK_BIG, written by
//                run_check.sh; a filler of the same size when it is not set)
// Paths are relative to the repository (run_check.sh runs from there). Each benchmark fails when
// its templates give a finding: a check that finds nothing to say must not be timed as one that does.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModules.h"
#include "modules/mod_KELDB.h"

namespace {

using namespace rykel;
namespace fs = std::filesystem;

std::string hRead(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct Page {
  std::string dir, text;
};

void hRun(benchmark::State& state, const std::vector<Page>& pages) {
  size_t bytes = 0;
  for (const auto& p : pages) bytes += p.text.size();
  cls_KEL k;
  k.MODULES->ADD(std::make_shared<mod_KELDB>());
  for (const auto& p : pages) {
    k.DIRECTORIES->CLEAR();
    k.DIRECTORIES->ADD(p.dir);
    if (!k.CHECK(p.text).empty()) state.SkipWithError(("findings in a template of " + p.dir).c_str());
  }
  for (auto _ : state) {
    for (const auto& p : pages) {
      k.DIRECTORIES->CLEAR();
      k.DIRECTORIES->ADD(p.dir);
      benchmark::DoNotOptimize(k.CHECK(p.text));
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

void CHECK_W2(benchmark::State& state) {
  const char* dir = std::getenv("KEL_W2_DIR");
  std::string d = dir ? dir : "bench/kel_w2";
  hRun(state, {{d + "/", hRead(fs::path(d) / "table.kel")}});
}
BENCHMARK(CHECK_W2)->Unit(benchmark::kMicrosecond);

void CHECK_Demo(benchmark::State& state) {
  std::vector<Page> pages;
  for (const char* root : {"examples/site", "examples/report"})
    for (const auto& e : fs::recursive_directory_iterator(root))
      if (e.path().extension() == ".kel" && e.path().filename() != "broken.kel")
        pages.push_back({std::string(root) + "/", hRead(e.path())});
  hRun(state, pages);
}
BENCHMARK(CHECK_Demo)->Unit(benchmark::kMicrosecond);

void CHECK_Big(benchmark::State& state) {
  const char* big = std::getenv("KEL_CHECK_BIG");
  std::string text;
  if (big) {
    text = hRead(big);
  } else {
    // Groups of 20 sections of 20 rows: no text holds more than SYS.COMMANDS.MAX commands.
    std::string row = "<tr class=\"{IF (row.active) {a} {b}}\"><td>{VAR:row.name}</td></tr>\n";
    std::string section = "{IF (show) {\n", group = "{IF (show) {\n";
    for (int i = 0; i < 20; ++i) section += row;
    section += "}}\n";
    for (int i = 0; i < 20; ++i) group += section;
    group += "}}\n";
    while (text.size() < (1u << 20)) text += group;
  }
  hRun(state, {{"./", text}});
}
BENCHMARK(CHECK_Big)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
