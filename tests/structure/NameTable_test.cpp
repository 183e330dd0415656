#include "structure/NameTable.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace rykel {

TEST(NameTable, InternFindAndGrowth) {
  NameTable t;
  EXPECT_EQ(t.Intern(""), 0u);
  EXPECT_EQ(t.Find(""), 0u);
  EXPECT_EQ(t.Name(0), "");
  EXPECT_EQ(t.Find("NEVER"), 0u);  // reads never intern
  EXPECT_EQ(t.Count(), 1u);

  // enough names to grow the probe table many times and to fill several entry chunks
  const int n = 20000;
  std::vector<std::string_view> early;
  for (int i = 0; i < n; ++i) {
    const std::string name = "NAME" + std::to_string(i);
    ASSERT_EQ(t.Intern(name), static_cast<uint32_t>(i + 1)) << name;  // atoms count up from 1
    if (i < 100) early.push_back(t.Name(i + 1));
  }
  EXPECT_EQ(t.Count(), static_cast<size_t>(n + 1));
  for (int i = 0; i < n; ++i) {
    const std::string name = "NAME" + std::to_string(i);
    ASSERT_EQ(t.Find(name), static_cast<uint32_t>(i + 1)) << name;
    ASSERT_EQ(t.Intern(name), static_cast<uint32_t>(i + 1)) << name;  // no second atom
    ASSERT_EQ(t.Name(i + 1), name);
    ASSERT_EQ(t.HashOf(i + 1), NameTable::Hash(name));
  }
  EXPECT_EQ(t.Count(), static_cast<size_t>(n + 1));
  for (int i = 0; i < 100; ++i) EXPECT_EQ(early[i], "NAME" + std::to_string(i));  // views stay valid
  EXPECT_EQ(t.Find("NAME" + std::to_string(n)), 0u);

  // names that share prefixes, bytes or a zero byte stay apart; a long name gets its own block
  const std::string zero("A\0B", 3), longName(40000, 'L');
  const uint32_t a = t.Intern("A"), az = t.Intern(zero), ab = t.Intern("AB"), l = t.Intern(longName);
  EXPECT_NE(a, az);
  EXPECT_NE(az, ab);
  EXPECT_EQ(t.Find(zero), az);
  EXPECT_EQ(t.Name(az), zero);
  EXPECT_EQ(t.Find(longName), l);
  EXPECT_EQ(t.Find(std::string(39999, 'L')), 0u);
  const uint32_t umlauts = t.Intern("ÄÖÜ");
  EXPECT_EQ(t.Find("ÄÖÜ"), umlauts);
  EXPECT_EQ(t.Name(umlauts), "ÄÖÜ");
  EXPECT_GT(t.BytesUsed(), static_cast<size_t>(n) * 8);
}

}  // namespace rykel
