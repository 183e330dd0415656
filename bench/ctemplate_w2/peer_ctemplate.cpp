// The W2 page rendered by ctemplate, a compiled C++ template engine, as the peer of KEL_W2 in
// bench/run_kel.sh. The dictionary (10,000 row sections, each showing its ACTIVE or INACTIVE
// section, and the header include) is built beforehand from the same rows file bench_kel reads;
// what is timed is the expansion alone, into a fresh string each time.
//
//   peer_ctemplate <template folder> <rows.tsv> <output file> [rounds]
// prints "expand_ms <median wall time> <median CPU time>" (of the rounds, in milliseconds) and
// writes one expansion to the output file.
#include <ctemplate/template.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

double hCpuMs() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

double hMedian(std::vector<double> v) {
  std::nth_element(v.begin(), v.begin() + v.size() / 2, v.end());
  return v[v.size() / 2];
}

std::vector<std::string> hFields(const std::string& line) {
  std::vector<std::string> f;
  size_t from = 0;
  while (true) {
    size_t tab = line.find('\t', from);
    f.push_back(line.substr(from, tab - from));
    if (tab == std::string::npos) return f;
    from = tab + 1;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fprintf(stderr, "usage: peer_ctemplate <template folder> <rows.tsv> <output file> [rounds]\n");
    return 2;
  }
  const int rounds = argc > 4 ? std::max(1, std::atoi(argv[4])) : 11;
  ctemplate::mutable_default_template_cache()->SetTemplateRootDirectory(argv[1]);

  ctemplate::TemplateDictionary dict("w2");
  dict.SetValue("TITLE", "Personen");
  auto* header = dict.AddIncludeDictionary("HEADER");  // an include sees only its own dictionary
  header->SetFilename("header.tpl");
  header->SetValue("TITLE", "Personen");
  std::ifstream in(argv[2], std::ios::binary);
  std::string line;
  size_t count = 0;
  while (std::getline(in, line)) {
    auto f = hFields(line);
    if (f.size() != 4) continue;
    auto* row = dict.AddSectionDictionary("ROWS");
    row->SetValue("NAME", f[0]);
    row->SetValue("CITY", f[1]);
    row->SetValue("AMOUNT", f[2]);
    row->ShowSection(f[3] == "1" ? "ACTIVE" : "INACTIVE");
    ++count;
  }
  if (count == 0) {
    std::fprintf(stderr, "peer_ctemplate: no rows in %s\n", argv[2]);
    return 1;
  }

  std::string out;
  if (!ctemplate::ExpandTemplate("table.tpl", ctemplate::DO_NOT_STRIP, &dict, &out)) {  // warm-up, loads both files
    std::fprintf(stderr, "peer_ctemplate: cannot expand table.tpl in %s\n", argv[1]);
    return 1;
  }
  std::ofstream(argv[3], std::ios::binary) << out;

  std::vector<double> ms, cpu;
  for (int i = 0; i < rounds; ++i) {
    std::string page;
    const double c0 = hCpuMs();
    auto t0 = std::chrono::steady_clock::now();
    ctemplate::ExpandTemplate("table.tpl", ctemplate::DO_NOT_STRIP, &dict, &page);
    auto t1 = std::chrono::steady_clock::now();
    cpu.push_back(hCpuMs() - c0);
    ms.push_back(std::chrono::duration<double, std::milli>(t1 - t0).count());
    if (page.size() != out.size()) return 1;
  }
  std::printf("expand_ms %.3f %.3f\n", hMedian(ms), hMedian(cpu));
  return 0;
}
