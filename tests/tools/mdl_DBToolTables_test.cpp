// Checks the fixed tables of the random test-data generator: sizes, required rows, word shapes and
// chunk sizes, and that no name table repeats a row.
#include "tools/mdl_DBToolTables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace rykel {
namespace {

// Decodes UTF-8 into code points; nullopt when the text is not well-formed UTF-8.
std::optional<std::u32string> hDecode(std::string_view pText) {
  std::u32string out;
  for (std::size_t i = 0; i < pText.size();) {
    const auto lead = static_cast<unsigned char>(pText[i]);
    const int extra = lead < 0x80           ? 0
                      : (lead >> 5) == 0x06 ? 1
                      : (lead >> 4) == 0x0E ? 2
                      : (lead >> 3) == 0x1E ? 3
                                            : -1;
    if (extra < 0 || i + extra >= pText.size()) { return std::nullopt; }
    char32_t cp = extra == 0 ? lead : lead & (0x3F >> extra);
    for (int k = 1; k <= extra; ++k) {
      const auto next = static_cast<unsigned char>(pText[i + k]);
      if ((next & 0xC0) != 0x80) { return std::nullopt; }
      cp = (cp << 6) | (next & 0x3F);
    }
    out.push_back(cp);
    i += extra + 1;
  }
  return out;
}

std::vector<std::string> hSplit(const std::string& pChunk) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (;;) {
    const std::size_t comma = pChunk.find(',', start);
    parts.push_back(pChunk.substr(start, comma - start));
    if (comma == std::string::npos) { return parts; }
    start = comma + 1;
  }
}

bool hIsUpperLetter(char32_t pCp) { return (pCp >= U'A' && pCp <= U'Z') || pCp == U'Ä' || pCp == U'Ö' || pCp == U'Ü'; }

bool hContains(const std::vector<std::string>& pRows, std::string_view pRow) {
  return std::find(pRows.begin(), pRows.end(), pRow) != pRows.end();
}

TEST(DBToolTables, CharacterSets) {
  // Consonants: the eighteen common ones twice each, x, y and z once, and no vowel.
  EXPECT_EQ(kCharsConsonant.size(), 18u * 2 + 3);
  for (char c = 'a'; c <= 'z'; ++c) {
    const bool vowel = kCharsVowel.find(c) != std::string_view::npos, rare = c == 'x' || c == 'y' || c == 'z';
    EXPECT_EQ(std::count(kCharsConsonant.begin(), kCharsConsonant.end(), c), vowel ? 0 : rare ? 1 : 2) << c;
  }
  EXPECT_EQ(kCharsVowel, "aeiou");
  // A letter is drawn from the vowels followed by the weighted consonants.
  EXPECT_EQ(std::string(kCharsChar), std::string(kCharsVowel) + std::string(kCharsConsonant));
  EXPECT_EQ(kCharsDigit, "0123456789");
}

TEST(DBToolTables, WordChunks) {
  // Exact words per chunk where fixed; 0 means "any count that keeps the chunk near 500 characters".
  const std::size_t perChunk[kWordLengthMax + 1] = {0, 0, 39, 0, 99, 83, 71, 62, 0, 50, 0, 0, 38};
  for (int length = kWordLengthMin; length <= kWordLengthMax; ++length) {
    SCOPED_TRACE("length " + std::to_string(length));
    const auto& chunks = hTableWordChunks(length);
    EXPECT_GE(chunks.size(), 2u);
    std::set<std::string> seen;
    for (const auto& chunk : chunks) {
      const auto chunkCps = hDecode(chunk);
      ASSERT_TRUE(chunkCps.has_value()) << chunk;
      const auto words = hSplit(chunk);
      if (length >= 3) { EXPECT_TRUE(chunkCps->size() >= 400u && chunkCps->size() <= 600u) << chunk; }
      if (length == 3) {
        EXPECT_TRUE(words.size() >= 124u && words.size() <= 135u) << words.size();
      } else if (perChunk[length] != 0) {
        EXPECT_EQ(words.size(), perChunk[length]);
      }
      for (const auto& word : words) {
        const auto cps = hDecode(word);
        ASSERT_TRUE(cps.has_value());
        // the length asked for, capital letters only, never repeated
        EXPECT_TRUE(cps->size() == static_cast<std::size_t>(length) &&
                    std::all_of(cps->begin(), cps->end(), hIsUpperLetter) && seen.insert(word).second)
            << "'" << word << "'";
      }
    }
  }
  for (const char* word : {"ABGEORDNETEN", "BUNDESLÄNDER", "KONZEPT", "ABITUR", "ALPEN", "BAHN", "BAR", "PC"}) {
    const auto length = static_cast<int>(hDecode(word)->size());
    const auto& chunks = hTableWordChunks(length);
    const bool found = std::any_of(chunks.begin(), chunks.end(),
                                   [&](const std::string& chunk) { return hContains(hSplit(chunk), word); });
    EXPECT_TRUE(found) << word;
  }
  // Lengths without a table give an empty one rather than failing.
  for (const int length : {-1, 0, 1, 13, 100}) { EXPECT_TRUE(hTableWordChunks(length).empty()) << length; }
  // The accessor hands out the one table, not a copy.
  EXPECT_EQ(&hTableWordChunks(7), &hTableWordChunks(7));
}

TEST(DBToolTables, RowCountsAndRequiredRows) {
  struct Case {
    const char* name;
    const std::vector<std::string>& rows;
    std::size_t count;
    std::vector<std::string> required;
  };
  const Case cases[] = {
      {"titles", hTableTitles(), 3, {"Prof.", "Dr.", "Prof. Dr."}},
      {"company forms", hTableCompanyForms(), 7, {"GmbH", "& Sohn", "GmbH & Co.KG", "CoKG", "OHG", "AG", "GbR"}},
      {"company names",
       hTableCompanyNames(),
       5,
       {"Vogelfrei", "Stadthalle {CITY}", "Buxtehuder Stahlwerke", "Rassmosel-Rassmosel"}},
      {"top-level domains", hTableTopLevelDomains(), 5, {}},
      {"mail domains", hTableMailDomains(), 7, {}},
      {"female first names",
       hTableFirstNamesFemale(),
       147,
       {"Anne", "Ann-Christin", "Brunhilde", "Yasmin", "Verionika"}},
      {"male first names", hTableFirstNamesMale(), 142, {"Alfons", "Özgür", "Süleyman", "Zladtko", "Yen"}},
      {"cities", hTableCities(), 27, {"Münster", "Osnabrück", "Bad-Salz-Ufflen", "Bitterfeld", "Münnchen"}},
      {"name stems",
       hTableNameStems(),
       109,
       {"Karmann", "Ranseier", "Hermann-van-Wonneproppen-", "Freiherr-von-Feierstein-", "Aal", "Stumpf"}},
      {"last-name prefixes", hTableLastNamePrefixes(), 4, {"Schulze-", "Schulte-", "Von-", "Zur-"}},
      {"last names", hTableLastNames(), 58, {"Schulze", "Meier", "Müller", "Spieß", "Mut"}},
      {"street suffixes", hTableStreetSuffixes(), 4, {"allee", "weg", "straße", "stiege"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.rows.size(), c.count);
    for (const auto& row : c.required) { EXPECT_TRUE(hContains(c.rows, row)) << "missing: " << row; }
    std::set<std::string> seen;
    // well-formed UTF-8, not empty, no comma, no blank at either end, never repeated
    for (const auto& row : c.rows)
      EXPECT_TRUE(hDecode(row).has_value() && !row.empty() && row.find(',') == std::string::npos &&
                  row.front() != ' ' && row.back() != ' ' && seen.insert(row).second)
          << "'" << row << "'";
  }
}

TEST(DBToolTables, RowShapes) {
  for (const auto& label : hTableTopLevelDomains())
    EXPECT_TRUE(std::regex_match(label, std::regex("[a-z]{2,3}"))) << label;
  // a name before the last dot, two letters or more after it
  for (const auto& domain : hTableMailDomains())
    EXPECT_TRUE(std::regex_match(domain, std::regex("[a-z0-9.-]+\\.[a-z0-9-]{2,}"))) << domain;
  // Names contain no blank: they are joined into mail addresses and double names as they are.
  for (const auto* table : {&hTableFirstNamesFemale(), &hTableFirstNamesMale(), &hTableNameStems(),
                            &hTableLastNamePrefixes(), &hTableLastNames(), &hTableStreetSuffixes()}) {
    for (const auto& row : *table) { EXPECT_EQ(row.find(' '), std::string::npos) << row; }
  }
  // Prefixes are joined straight onto a last name.
  for (const auto& prefix : hTableLastNamePrefixes()) { EXPECT_EQ(prefix.back(), '-') << prefix; }
}

}  // namespace
}  // namespace rykel
