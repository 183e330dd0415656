#include "frame/Text.h"

#include <gtest/gtest.h>

namespace rykel::text {

TEST(Text, CountsCharactersNotBytes) {
  const std::string s = "Müßig€x";
  EXPECT_EQ(Len(s), 7u);
  EXPECT_EQ(Left(s, 3), "Müß");
  EXPECT_EQ(Right(s, 2), "€x");
  EXPECT_EQ(Mid(s, 2, 2), "üß");
  EXPECT_EQ(Mid(s, 6), "€x");
  EXPECT_EQ(Mid(s, 99), "");
  EXPECT_EQ(InStr(1, s, "€"), 6u);
  EXPECT_EQ(InStr(7, s, "€"), 0u);
  EXPECT_EQ(Left(s, 100), s);
  // a stray byte counts as one character and is never split
  const std::string broken = "a\xC3";
  EXPECT_EQ(Len(broken), 2u);
  EXPECT_EQ(Left(broken, 2), broken);
}

TEST(Text, SimpleCaseMapping) {
  EXPECT_EQ(UCase("straße äöü"), "STRAßE ÄÖÜ");
  EXPECT_EQ(LCase("ÄÖÜ ABC"), "äöü abc");
  EXPECT_EQ(UCase("abc-123"), "ABC-123");
  EXPECT_EQ(UCase("a\xFFz"), "A\xFFZ");  // invalid bytes kept
  std::string s = "grüße";
  UCaseInPlace(s);
  EXPECT_EQ(s, "GRÜßE");
}

TEST(Text, TrimSplitReplace) {
  EXPECT_EQ(Trim("  a b \t"), "a b \t");  // blanks only
  EXPECT_EQ(Trim("   "), "");
  EXPECT_EQ(Split("", ",").size(), 0u);
  EXPECT_EQ(Split("abc", "").size(), 1u);
  auto parts = Split(",a,,b,", ",");
  ASSERT_EQ(parts.size(), 5u);
  EXPECT_EQ(parts[1], "a");
  EXPECT_EQ(parts[4], "");
  EXPECT_EQ(Split("a::b", "::")[1], "b");
  EXPECT_EQ(Replace("aaa", "aa", "b"), "ba");
  EXPECT_EQ(Replace("x{y}", "{", "(("), "x((y}");
  EXPECT_EQ(Replace("abc", "", "z"), "abc");
}

}  // namespace rykel::text
