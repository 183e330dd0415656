// The language reference's examples (docs/KEL.md: each "kel" block with the "text" block after it)
// and the example folders tests/interpreter/cases/<name>/{template.kel,expected.txt}, run through
// PROCESS and compared whole.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModules.h"
#include "modules/mod_KELDB.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

struct Example {
  int line;
  std::string templ, expected;
};

// Pairs of "```kel" and the next "```text" block; the final line break of each block is not part
// of the text.
std::vector<Example> Examples(const std::string& doc) {
  std::vector<Example> out;
  auto block = [&](size_t& pos, std::string_view fence, std::string& body) {
    size_t start = doc.find(std::string(fence) + "\n", pos);
    if (start == std::string::npos) return false;
    start += fence.size() + 1;
    size_t end = doc.find("```\n", start);
    if (end == std::string::npos) end = doc.find("```", start);
    body = doc.substr(start, end - start);
    if (!body.empty() && body.back() == '\n') body.pop_back();
    pos = end + 3;
    return true;
  };
  size_t pos = 0;
  while (true) {
    Example e;
    size_t at = doc.find("```kel\n", pos);
    if (at == std::string::npos) break;
    e.line = 1 + static_cast<int>(std::count(doc.begin(), doc.begin() + static_cast<long>(at), '\n'));
    if (!block(pos, "```kel", e.templ) || !block(pos, "```text", e.expected)) break;
    out.push_back(e);
  }
  return out;
}

TEST(cls_KELDocs, ReferenceExamples) {
  auto examples = Examples(ReadAll(std::filesystem::path(SourceDir()) / "docs/KEL.md"));
  ASSERT_GE(examples.size(), 18u);
  for (const auto& e : examples) {
    // As `rykel render -d examples` runs them: with the DB module, finding examples/data/.
    cls_KEL k;
    k.MODULES->ADD(std::make_shared<mod_KELDB>());
    k.DIRECTORIES->ADD(std::string(SourceDir()) + "/examples/");
    EXPECT_EQ(k.PROCESS(e.templ, nullptr), e.expected) << "docs/KEL.md line " << e.line;
  }
}

TEST(cls_KELDocs, CaseFolders) {
  namespace fs = std::filesystem;
  int n = 0;
  for (const auto& dir : fs::directory_iterator(fs::path(SourceDir()) / "tests/interpreter/cases")) {
    cls_KEL k;
    k.DIRECTORIES->ADD(dir.path().string());
    std::string out = k.PROCESS(ReadAll(dir.path() / "template.kel"), nullptr);
    EXPECT_EQ(out, ReadAll(dir.path() / "expected.txt")) << dir.path();
    EXPECT_EQ(k.ERRORLIST->COUNT(), 0) << dir.path();
    ++n;
  }
  EXPECT_GE(n, 2);
}

}  // namespace
}  // namespace rykel
