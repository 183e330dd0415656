#include "frame/Text.h"

#include <gtest/gtest.h>

#include <tuple>

namespace rykel::text {

TEST(Text, CountsCharactersNotBytes) {
  const std::string s = "Müßig€x";
  EXPECT_EQ(std::tuple(Len(s), InStr(1, s, "€"), InStr(7, s, "€")), std::tuple(7u, 6u, 0u));
  EXPECT_EQ((std::vector<std::string_view>{Left(s, 3), Right(s, 2), Mid(s, 2, 2), Mid(s, 6), Mid(s, 99), Left(s, 100)}),
            (std::vector<std::string_view>{"Müß", "€x", "üß", "€x", "", s}));
  // a stray byte counts as one character and is never split
  const std::string broken = "a\xC3";
  EXPECT_EQ(std::tuple(Len(broken), Left(broken, 2)), std::tuple(2u, broken));
}

TEST(Text, SimpleCaseMapping) {
  std::string s = "grüße";
  UCaseInPlace(s);
  // invalid bytes are kept
  EXPECT_EQ((std::vector<std::string>{UCase("straße äöü"), LCase("ÄÖÜ ABC"), UCase("abc-123"), UCase("a\xFFz"), s}),
            (std::vector<std::string>{"STRAßE ÄÖÜ", "äöü abc", "ABC-123", "A\xFFZ", "GRÜßE"}));
}

TEST(Text, TrimSplitReplace) {
  EXPECT_EQ(std::tuple(Trim("  a b \t"), Trim("   ")), std::tuple("a b \t", ""));  // blanks only
  EXPECT_EQ(std::tuple(Split("", ",").size(), Split("abc", "").size()), std::tuple(0u, 1u));
  EXPECT_EQ(Split(",a,,b,", ","), (std::vector<std::string>{"", "a", "", "b", ""}));
  EXPECT_EQ(Split("a::b", "::")[1], "b");
  EXPECT_EQ(std::tuple(Replace("aaa", "aa", "b"), Replace("x{y}", "{", "(("), Replace("abc", "", "z")),
            std::tuple("ba", "x((y}", "abc"));
}

}  // namespace rykel::text
