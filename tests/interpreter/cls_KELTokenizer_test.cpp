// Token kinds, texts and offsets of command texts, printed as one line and compared whole.
#include "interpreter/cls_KELTokenizer.h"

#include <gtest/gtest.h>

#include "../CaseTable.h"

namespace rykel {
namespace {

std::string Dump(std::string_view s) {
  std::string out;
  for (const auto& t : cls_KELTokenizer::Tokenize(s)) {
    const char* kinds = "WQBPO";
    out += kinds[static_cast<int>(t.kind)];
    out += "[" + std::string(t.text) + "]@" + std::to_string(t.offset) + " ";
  }
  return out;
}

TEST(cls_KELTokenizer, Kinds) {
  const Case<const char*> rows[] = {
      {"IF (i < 10) {a {b} c}", "W[IF]@0 P[(i < 10)]@3 B[{a {b} c}]@12 "},
      // Comparisons with and without blanks give the same tokens.
      {"i<10", "W[i]@0 O[<]@1 W[10]@2 "},
      {"i < 10", "W[i]@0 O[<]@2 W[10]@4 "},
      {"a>=b", "W[a]@0 O[>=]@1 W[b]@3 "},
      {"x,y;z\tw\r\nv", "W[x]@0 W[y]@2 W[z]@4 W[w]@6 W[v]@9 "},
      // Quotes hold separators and braces; brackets count their own nesting and respect quotes.
      {"VAR s \"a b}\" 'c\"d'", "W[VAR]@0 W[s]@4 Q[\"a b}\"]@6 Q['c\"d']@13 "},
      {"{a \"}\" b}x", "B[{a \"}\" b}]@0 W[x]@9 "},
      {"((1+2)*3)", "P[((1+2)*3)]@0 "},
      {"\"open", "Q[\"open]@0 "},
      {"{open", "B[{open]@0 "},
      // References, dates, times and signs stay whole; ":=" is an operator.
      {"VAR:x IO:DATE %1", "W[VAR:x]@0 W[IO:DATE]@6 W[%1]@14 "},
      {"2024-01-05 12:30 -5 +2", "W[2024-01-05]@0 W[12:30]@11 W[-5]@17 W[+2]@20 "},
      {"x:=5", "W[x]@0 O[:=]@1 W[5]@3 "},
      {"VAR:x<10", "W[VAR:x]@0 O[<]@5 W[10]@6 "},
      {"DATE=2024-01-05", "W[DATE]@0 O[=]@4 W[2024-01-05]@5 "},
      {"a-b", "W[a]@0 O[-]@1 W[b]@2 "},
      {"", ""},
  };
  ForEachRow(rows, [](const auto& r) { EXPECT_EQ(Dump(r.name), r.want); });
  auto c1 = cls_KELTokenizer::TokenizeCached("VAR x 1");
  auto c2 = cls_KELTokenizer::TokenizeCached("VAR x 1");
  EXPECT_EQ(c1, c2);
  EXPECT_EQ(c1->tokens.size(), 3u);
}

}  // namespace
}  // namespace rykel
