#include "structure/NameTable.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace rykel {

TEST(NameTable, InternFindAndGrowth) {
  NameTable t;
  // the empty name is atom 0; reads never intern
  EXPECT_EQ((std::tuple{t.Intern(""), t.Find(""), t.Name(0), t.Find("NEVER"), t.Count()}),
            std::tuple(0u, 0u, "", 0u, 1u));

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
  EXPECT_EQ(std::tuple(t.Count(), t.Find("NAME" + std::to_string(n))), std::tuple(static_cast<size_t>(n + 1), 0u));
  for (int i = 0; i < 100; ++i) EXPECT_EQ(early[i], "NAME" + std::to_string(i));  // views stay valid

  // names that share prefixes, bytes or a zero byte stay apart; a long name gets its own block
  const std::string zero("A\0B", 3), longName(40000, 'L');
  const uint32_t a = t.Intern("A"), az = t.Intern(zero), ab = t.Intern("AB"), l = t.Intern(longName);
  EXPECT_TRUE(a != az && az != ab);
  const uint32_t umlauts = t.Intern("ÄÖÜ");
  EXPECT_EQ(std::tuple(t.Find(zero), t.Name(az), t.Find(longName), t.Find(std::string(39999, 'L')), t.Find("ÄÖÜ"),
                       t.Name(umlauts)),
            std::tuple(az, zero, l, 0u, umlauts, "ÄÖÜ"));
  EXPECT_GT(t.BytesUsed(), static_cast<size_t>(n) * 8);
}

}  // namespace rykel
