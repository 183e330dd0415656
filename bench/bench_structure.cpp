// Node store and items: build a flat node of N named items and read each back by name, the same
// through 3-level dotted paths, and create/release 1,000,000 nodes through handles.
// Prints one line per measurement: "name seconds bytes_per_item" (bytes from the heap in use).
// A second argument names the one measurement to run ("flat_build", "paths_read", "handles_1M",
// "none"...): bench/run_structure_instructions.sh counts each on its own.
#include <malloc.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "frame/Convert.h"
#include "frame/mdl_Global.h"
#include "structure/cls_Structure.h"

using namespace rykel;

namespace {

double Now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }
size_t Heap() {
  struct mallinfo2 m = mallinfo2();
  return m.uordblks + m.hblkhd;  // big blocks are mapped apart from the heap: count them too
}

template <class F>
double Best(int runs, F&& f) {
  double best = 1e9;
  for (int r = 0; r < runs; ++r) {
    double t0 = Now();
    f();
    best = std::min(best, Now() - t0);
  }
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  const int n = argc > 1 ? std::atoi(argv[1]) : 100000;
  const std::string only = argc > 2 ? argv[2] : "";
  auto wanted = [&](const std::string& name) { return only.empty() || only == name; };
  std::vector<std::string> flat(n), paths(n);
  for (int i = 0; i < n; ++i) {
    flat[i] = "KEY" + std::to_string(i);  // the same keys as the PHP side
    paths[i] = "L1_" + std::to_string(i % 100) + ".L2_" + std::to_string(i / 100 % 100) + ".L3_" + std::to_string(i);
  }
  std::vector<Variant> flatKeys(flat.begin(), flat.end()), pathKeys(paths.begin(), paths.end());

  for (int pass = 0; pass < 2; ++pass) {
    auto& keys = pass == 0 ? flatKeys : pathKeys;
    const std::string name = pass == 0 ? "flat" : "paths";
    const bool doBuild = wanted(name + "_build"), doRead = wanted(name + "_read");
    if (!doBuild && !doRead) continue;
    size_t before = Heap();
    StructurePtr kept;
    double build = Best(doBuild ? 5 : 1, [&] {
      auto s = cls_Structure::New();
      for (int i = 0; i < n; ++i) s->ITEM_LET(keys[i], Variant(i));
      kept = s;
    });
    size_t bytes = Heap() - before;
    long sum = 0;
    double read = Best(doRead ? 5 : 0, [&] {
      sum = 0;
      for (int i = 0; i < n; ++i) sum += kept->ITEM_GET(keys[i]).rawLong();
    });
    if (doRead && sum != static_cast<long>(n) * (n - 1) / 2) std::fprintf(stderr, "wrong sum %ld\n", sum);
    if (doBuild) std::printf("%s_build %.6f %.1f\n", name.c_str(), build, static_cast<double>(bytes) / n);
    if (doRead) std::printf("%s_read %.6f\n", name.c_str(), read);
  }

  if (!wanted("handles_1M")) return 0;
  const int nodes = 1000000;
  double handles = Best(3, [&] {
    std::vector<StructurePtr> v;
    v.reserve(nodes);
    for (int i = 0; i < nodes; ++i) v.push_back(cls_Structure::New());
  });
  std::printf("handles_1M %.6f\n", handles);
  return 0;
}
