#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "frame/Error.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureManager.h"
#include "structure/mdl_StructureScript.h"

namespace rykel {
namespace {

using Prepare = std::function<void(cls_Structure&)>;

// Reads the text into a new structure (prepared by pSetup) the quick or the general way: the
// error, if any, then the tree as written by SCRIPT, its flags, and whether every node was freed.
std::string Read(const std::string& pText, bool pQuick, const Prepare& pSetup = {}) {
  auto& m = *cls_Structure::New()->MANAGER_GET();
  const int32_t before = m.USAGE();
  std::string out;
  {
    auto s = cls_Structure::New();
    if (pSetup) pSetup(*s);
    try {
      mdl_StructureScript::Parse(m, s->SID_GET(), pText, pQuick);
    } catch (const Error& e) { out = "error " + std::to_string(e.number) + ": " + e.description + "\n"; }
    out += s->SCRIPT() + "| base " + std::to_string(s->BASE()) + " changed " + std::to_string(s->CHANGED_GET());
  }
  return out + " nodes left " + std::to_string(m.USAGE() - before);
}

void ExpectSameWays(const std::string& pText, const Prepare& pSetup = {}) {
  EXPECT_EQ(Read(pText, true, pSetup), Read(pText, false, pSetup)) << "text: " << pText;
}

// Lines the quick way takes, lines it must leave to the general way, and lines between the two,
// one per line of the text.
const char* const kLines =
    "a = 1\nA = 2\na {\na = {\na={\na{\na { \t\na {x\na = { }\na = {}\na = {x\n}\n} \n} x\n{\nb = \"x\"\n"
    "b = \"a\\tb\\x41\\\\\\\"\"\nb = \"bad\\q\"\nb = \"bad\\x4\"\nb = \"open\nb = \"x\" y\n"
    "b = \"x\"  \t\nb = \"\"\nc = #2024-01-02#\nc = #2024-13-45#\nc = #\nc = 1,5\nc = -\nc = -.5\n"
    "c = 5.\nc = .5\nc = 1e5\nc = 0.1\nc = 123456789012345.5\nc = 1234567890.12345\nc = 99999999999\n"
    "c = +-5\nc = 7%\nc = 99999%\nc = 7&\nc = 1.5!\nc = 12.5@\nc = 1.23456@\nc = NULL\nc = null\n"
    "c = true\nc = FALSE\nc = Nothing\nc = = 1\nc = \nc =\nc\nc d = 1\nc . d = 1\nc.d = 2\nc..d = 3\n"
    "c.[0] = 4\n[0] = z\n[2] {\n[3000] = 1\n\"q\" = 1\nQ = 2\n\"c.d\" = 5\n\xc3\xa9 = 1\n\xc3\x89 = 2\n"
    "\xc3\x9f = 3\nSS = 4\na\x01 = 1\na\"b = 1\na}b = 1\n#c = 1\n// c\n/c = 1\na = 1 // no comment\n\n"
    "   \n\t\t\n= 1\n = {\n[x] = 1\n=";

TEST(StructureScriptReader, QuickAndGeneralWaysAgree) {
  const std::vector<std::pair<std::string, Prepare>> cases = {
      {"a = 1\na {\nx = 1\n}\na {\ny = 2\n}\na = 5\nA {\n}\n", {}},
      {"a = {}\na = {}\nb {\n}\nb = {}\n", {}},
      {"\"q\" = 1\nQ = 2\nq {\nx = 1\n}\n", {}},
      {"a = 1\r\nb = 2\rc = 3\n\rd = 4\r\r\ne {\r}", {}},
      {"\xEF\xBB\xBF"
       "a = 1",
       {}},
      {"", {}},
      {"a = 1\na = 2\nb {\nx = 1\n}\nb {\nx = 2\n}\n", [](cls_Structure& s) { s.DEFAULTMODE_LET(true); }},
      {"a = 2\nb {\nc = 5\nd = 6\n}\nb.c = 7\n", [](cls_Structure& s) { s.ITEM_LET("B.C", 1); }},
      {"x = 1\n", [](cls_Structure& s) { s.ITEM_LET(0, "zero", true); }},
  };
  for (const auto& [text, setup] : cases) ExpectSameWays(text, setup);

  // a block with more names than a fresh block tracks by bits, each written twice
  std::string many;
  for (int round = 0; round < 2; ++round)
    for (int i = 0; i < 200; ++i) many += "n" + std::to_string(i) + " = " + std::to_string(round) + "\n";
  ExpectSameWays("blk {\n" + many + "}\n" + many);

  // nesting at and past the depth limit, by blocks and by a dotted name
  for (int depth :
       {mdl_StructureScript::MaxDepth() - 1, mdl_StructureScript::MaxDepth(), mdl_StructureScript::MaxDepth() + 1}) {
    std::string deep, close;
    for (int i = 0; i < depth; ++i) deep += "a {\n", close += "}\n";
    ExpectSameWays(deep + "x = 1\n" + close);
    ExpectSameWays(deep + "y.z = 1\n" + close);
  }

  // random texts of the lines above, joined by every kind of line break
  std::vector<std::string> lines;
  for (const char* p = kLines;; ++p) {
    const char* stop = std::strchr(p, '\n');
    lines.emplace_back(p, stop ? stop : p + std::strlen(p));
    if (!stop) break;
    p = stop;
  }
  std::mt19937 rng(18);
  const char* const breaks[] = {"\n", "\r\n", "\r", "\n\t"};
  for (int n = 0; n < 4000; ++n) {
    std::string text;
    const int count = 1 + static_cast<int>(rng() % 14);
    for (int i = 0; i < count; ++i) text += lines[rng() % lines.size()] + breaks[rng() % 4];
    if (rng() % 3 == 0) text.pop_back();  // no line break at the end
    ExpectSameWays(text);
    if (HasFailure()) break;
  }
}

TEST(StructureScriptReader, DecimalsReadAsTheCLibraryReadsThem) {
  std::mt19937_64 rng(18);
  auto s = cls_Structure::New();
  for (int n = 0; n < 20000; ++n) {
    const int digits = 1 + static_cast<int>(rng() % 17);
    std::string t = rng() % 2 ? "-" : "";
    for (int i = 0; i < digits; ++i) t += static_cast<char>('0' + rng() % 10);
    if (const size_t dot = rng() % digits; dot > 0) t.insert(t.size() - dot, ".");
    s->PARSE("X = " + t);
    const Variant v = s->ITEM_GET("X");
    const double want = std::strtod(t.c_str(), nullptr);
    if (v.type() == VarType::Long) {
      EXPECT_EQ(v.rawLong(), want) << t;
    } else {
      ASSERT_EQ(v.type(), VarType::Double) << t;
      const double got = v.rawDouble();
      EXPECT_EQ(std::memcmp(&got, &want, sizeof got), 0) << t << " read as " << got;
    }
  }
}

}  // namespace
}  // namespace rykel
