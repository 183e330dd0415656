// Random test data: the shape of every generator, the pattern language and its failure cases,
// hRand's half-weight ends, and reproducibility under RANDOMIZE. Draws run with fixed seeds, so a
// statistical bound that holds once holds on every run.
#include "tools/cls_DBTool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "frame/DateTime.h"
#include "frame/Text.h"
#include "tools/mdl_DBToolTables.h"

#include "../CaseTable.h"

namespace rykel {
namespace {

// A tool whose draws start from pSeed.
struct Seeded : cls_DBTool {
  explicit Seeded(int64_t pSeed) { RANDOMIZE(pSeed); }
};

bool hIn(const std::vector<std::string>& pRows, const std::string& pValue) {
  return std::find(pRows.begin(), pRows.end(), pValue) != pRows.end();
}

// Every value of pCount draws matches pShape.
void hExpectShape(cls_DBTool& t, const std::string& pField, const std::string& pShape, int pCount = 2000) {
  const std::regex shape(pShape);
  for (int i = 0; i < pCount; ++i) {
    const std::string v = t.RANDOM(pField);
    ASSERT_TRUE(std::regex_match(v, shape)) << pField << " gave \"" << v << "\"";
  }
}

TEST(DBToolRandom, HRandEndsAreHalfAsLikely) {
  Seeded t(12345);
  std::map<int, int> counts;
  const int n = 200000;
  for (int i = 0; i < n; ++i) ++counts[t.hRand(1, 5)];
  ASSERT_EQ(counts.size(), 5u);
  EXPECT_EQ(std::pair(counts.begin()->first, counts.rbegin()->first), std::pair(1, 5));
  // Expected: 1 and 5 one eighth each (25,000), 2..4 a quarter each (50,000); sd below 200.
  for (int v : {1, 5}) EXPECT_NEAR(counts[v], n / 8, 1500) << v;
  for (int v : {2, 3, 4}) EXPECT_NEAR(counts[v], n / 4, 1500) << v;

  EXPECT_EQ(t.hRand(3, 3), 3);
  for (int i = 0; i < 1000; ++i) {
    const int down = t.hRand(5, -5);  // reversed bounds give the same closed range
    ASSERT_TRUE(down >= -5 && down <= 5) << down;
  }
  int heads = 0;
  for (int i = 0; i < 20000; ++i) heads += t.hFifty() ? 1 : 0;
  EXPECT_NEAR(heads, 10000, 500);
}

TEST(DBToolRandom, CharacterGeneratorsUseTheirSets) {
  Seeded t(3);
  std::map<char, int> consonants;
  for (int i = 0; i < 40000; ++i) {
    const std::string c = t.CONSONANT();
    ASSERT_EQ(c.size(), 1u);
    ASSERT_NE(kCharsConsonant.find(c[0]), std::string_view::npos) << c;
    ++consonants[c[0]];
    ASSERT_NE(kCharsVowel.find(t.VOWEL()[0]), std::string_view::npos);
    ASSERT_NE(kCharsChar.find(t.CHAR()[0]), std::string_view::npos);
    ASSERT_NE(kCharsDigit.find(t.DIGIT()[0]), std::string_view::npos);
  }
  // x, y, z stand once in the set, the common consonants twice.
  EXPECT_NEAR(static_cast<double>(consonants['x']) / consonants['k'], 0.5, 0.1);
  EXPECT_EQ(consonants.size(), 21u);

  std::set<std::string> digits;
  for (int i = 0; i < 2000; ++i) digits.insert(t.DIGIT());
  EXPECT_EQ(digits.size(), 10u);  // "0" and "9", the ends of hRand, still come up
}

TEST(DBToolRandom, CountsGiveExactLengths) {
  Seeded t(1);
  hExpectShape(t, "{D*5}", "[0-9]{5}");
  hExpectShape(t, "{ziffer*2}-{V*3}", "[0-9]{2}-[aeiou]{3}", 500);
  std::set<size_t> lengths, reversed;
  for (int i = 0; i < 2000; ++i)
    lengths.insert(t.RANDOM("{d[4-5]}").size()), reversed.insert(t.RANDOM("{A[7-3]}").size());
  EXPECT_EQ(lengths, (std::set<size_t>{4, 5}));
  EXPECT_EQ(reversed, (std::set<size_t>{3, 4, 5, 6, 7}));

  EXPECT_EQ(t.RANDOM("x{D*0}y"), "xy");
  EXPECT_EQ(t.RANDOM("{D*99999999999999999999}").size(), static_cast<size_t>(cls_DBToolRandom::kMaxRepeat));
  EXPECT_LE(t.RANDOM("{D[0-99999999]}").size(), static_cast<size_t>(cls_DBToolRandom::kMaxRepeat));
}

TEST(DBToolRandom, UnknownAndMalformedPlaceholders) {
  cls_DBTool t;
  const Case<const char*> rows[] = {
      {"{FOO}", "ERR:FOO?"},   {"a{Foo*3}b", "aERR:Foo?b"},       {"{D*x}", "ERR:D*x?"},
      {"{D*-3}", "ERR:D*-3?"}, {"{D[4-]}", "ERR:D[4-]?"},         {"{D[4-5}", "ERR:D[4-5?"},
      {"{}", "ERR:?"},         {"{D", "{D"} /* unclosed: text */, {"}{", "}{"},
  };
  ForEachRow(rows, [&](const auto& r) { EXPECT_EQ(t.RANDOM(r.name), r.want); });
  const std::string v = t.RANDOM("{a{D}");  // the first "{" is text
  EXPECT_TRUE(std::regex_match(v, std::regex("\\{a[0-9]"))) << v;
  // Long and odd inputs stay bounded and do not throw.
  std::string many(20000, '{');
  EXPECT_EQ(t.RANDOM(many), many);
  std::string nested;
  for (int i = 0; i < 5000; ++i) nested += "{D";
  for (int i = 0; i < 5000; ++i) nested += "}";
  EXPECT_EQ(t.RANDOM(nested).size(), nested.size() - 3 + 1);
}

TEST(DBToolRandom, FieldNamesGiveTheirShapes) {
  Seeded t(2024);
  hExpectShape(t, "PLZ", "[0-9]{5}");
  hExpectShape(t, "postleitzahl", "[0-9]{5}", 100);
  for (const char* phone : {"TEL", "Telefon", "handy", "FAX", "CellPhone"})
    hExpectShape(t, phone, "0[0-9]{4,5}-[0-9]{4,10}", 300);
  hExpectShape(t, "{PHONE}", "0[0-9]{4,5}-[0-9]{4,10}", 300);

  const std::string tlds = "(de|com|net|org|eu)";
  hExpectShape(t, "DOMAIN", "[a-z_.]+\\." + tlds);
  hExpectShape(t, "Homepage", "www\\.[a-z_.]+\\." + tlds, 300);

  for (int i = 0; i < 1000; ++i) {
    const std::string first = t.RANDOM("VORNAME");
    ASSERT_TRUE(hIn(hTableFirstNamesFemale(), first) || hIn(hTableFirstNamesMale(), first)) << first;
    ASSERT_TRUE(hIn(hTableCities(), t.RANDOM("Stadt")));
  }
}

TEST(DBToolRandom, StreetsAndLastNamesAreComposedFromTheTables) {
  Seeded t(77);
  const std::regex street("(.+?)(allee|weg|straße|stiege|Allee|Weg|Straße|Stiege) ([0-9]{1,3})");
  for (int i = 0; i < 2000; ++i) {
    const std::string s = t.RANDOM(i % 2 ? "STRAßE" : "street");
    std::smatch m;
    ASSERT_TRUE(std::regex_match(s, m, street)) << s;
    ASSERT_TRUE(hIn(hTableNameStems(), m[1].str())) << s;
    // A capital suffix follows exactly the stems that end in "-".
    ASSERT_EQ(m[1].str().ends_with('-'), std::isupper(static_cast<unsigned char>(m[2].str()[0])) != 0) << s;
  }

  int plain = 0;
  int doubled = 0;
  for (int i = 0; i < 3000; ++i) {
    const std::string n = t.RANDOM("NACHNAME");
    bool ok = hIn(hTableLastNames(), n);
    plain += ok ? 1 : 0;
    if (!ok) {
      for (const auto& stem : hTableNameStems())
        ok = ok || n == stem ||
             (stem.ends_with('-') && n.starts_with(stem) && hIn(hTableLastNames(), n.substr(stem.size())));
    }
    for (const auto& prefix : hTableLastNamePrefixes()) {
      if (!ok && n.starts_with(prefix) && hIn(hTableLastNames(), n.substr(prefix.size()))) {
        ok = true;
        ++doubled;
      }
    }
    ASSERT_TRUE(ok) << n;
  }
  EXPECT_NEAR(plain, 1800, 200);   // three in five from the last-name table
  EXPECT_NEAR(doubled, 600, 150);  // one in five a double name
}

TEST(DBToolRandom, MailAddressesAreLowerCaseAndWellFormed) {
  Seeded t(9);
  const std::regex mail("[a-z0-9_-]+(\\.[a-z0-9_-]+)*@[a-z0-9_-]+(\\.[a-z0-9_-]+)*\\.[a-z]{2,3}");
  std::set<std::string> providers;
  int info = 0;
  for (int i = 0; i < 5000; ++i) {
    const std::string m = t.RANDOM(i % 2 ? "E-Mail" : "{email}");
    ASSERT_TRUE(std::regex_match(m, mail)) << m;
    ASSERT_EQ(m, text::LCase(m));
    const std::string domain = m.substr(m.find('@') + 1);
    if (hIn(hTableMailDomains(), domain)) providers.insert(domain);
    info += m.starts_with("info@") ? 1 : 0;
  }
  EXPECT_EQ(providers.size(), hTableMailDomains().size());
  EXPECT_NEAR(info, 1250, 200);
  // In the part before "@" umlauts are spelled out ("Müller" -> "mueller"), never dropped.
  int spelled = 0;
  for (int i = 0; i < 5000; ++i) {
    const std::string m = t.RANDOM("EMAIL");
    const std::string local = m.substr(0, m.find('@'));
    ASSERT_EQ(local.find("mller"), std::string::npos) << m;
    spelled += local.find("mueller") != std::string::npos ? 1 : 0;
  }
  EXPECT_GT(spelled, 10);
}

TEST(DBToolRandom, CompaniesExpandTheirPlaceholders) {
  Seeded t(11);
  int fixed = 0;
  bool hall = false;
  for (int i = 0; i < 3000; ++i) {
    const std::string c = t.RANDOM("Firma");
    ASSERT_EQ(c.find('{'), std::string::npos) << c;
    if (c.starts_with("Stadthalle ")) {
      ASSERT_TRUE(hIn(hTableCities(), c.substr(11))) << c;
      hall = true;
    }
    bool withForm = false;
    for (const auto& form : hTableCompanyForms()) withForm = withForm || c.ends_with(" " + form);
    const bool isFixed = hIn(hTableCompanyNames(), c) || c.starts_with("Stadthalle ");
    ASSERT_TRUE(withForm || isFixed) << c;
    fixed += (isFixed && !withForm) ? 1 : 0;
  }
  EXPECT_TRUE(hall);
  EXPECT_NEAR(fixed, 600, 150);
}

TEST(DBToolRandom, PatternsNestAndMixWithText) {
  Seeded t(5);
  const std::string v = t.RANDOM("Kunde: {VORNAME} {NACHNAME} <{EMAIL}>, {PLZ} {ORT}; {C}{V}{C}");
  EXPECT_TRUE(std::regex_match(v, std::regex("Kunde: .+ .+ <[a-z0-9._-]+@[a-z0-9._-]+>, [0-9]{5} .+; [a-z]{3}"))) << v;
  EXPECT_EQ(v.find('{'), std::string::npos);
}

TEST(DBToolRandom, SameSeedSameValues) {
  cls_DBTool a;
  cls_DBTool b;
  const char* pattern = "{FIRMA}|{STRASSE}|{EMAIL}|{TEL}|{d[1-9]}";
  auto draw = [&](cls_DBTool& t, int64_t seed) {
    t.RANDOMIZE(seed);
    std::vector<std::string> out;
    for (int i = 0; i < 1000; ++i) out.push_back(t.RANDOM(pattern) + t.RANDOM("Text", 1));
    return out;
  };
  const auto first = draw(a, 31337);
  EXPECT_EQ(first, draw(b, 31337));
  EXPECT_NE(first, draw(a, 31338));
  // Unseeded runs differ.
  a.RANDOMIZE();
  const std::string x = a.RANDOM("{D*20}");
  a.RANDOMIZE();
  EXPECT_NE(x, a.RANDOM("{D*20}"));
}

TEST(DBToolRandom, FieldTypesWhenNoNameMatches) {
  Seeded t(8);
  double lowDate = 0;
  double highDate = 0;
  date::FromParts({1950, 1, 1}, lowDate);
  date::FromParts({2030, 12, 31}, highDate);
  for (int i = 0; i < 500; ++i) {
    ASSERT_TRUE(std::regex_match(t.RANDOM("Anzahl", 0), std::regex("[0-9]{1,4}")));
    ASSERT_TRUE(std::regex_match(t.RANDOM("Preis", 7), std::regex("[0-9]{1,4}(\\.[0-9]{1,2})?")));
    ASSERT_TRUE(std::regex_match(t.RANDOM("{ZAHL}", 7), std::regex("[0-9]{1,4}(\\.[0-9]{1,2})?")));
    double d = 0;
    ASSERT_TRUE(date::Parse(t.RANDOM("Geburtstag", 2), d) && d >= lowDate && d <= highDate) << d;
    const std::string b = t.RANDOM("Aktiv", 3);
    ASSERT_TRUE(b == "True" || b == "False") << b;
    ASSERT_EQ(t.RANDOM("Daten", 4), "");
    const std::string choice = t.RANDOM("Farbe", 5, "rot, grün ,,blau");
    ASSERT_TRUE(choice == "rot" || choice == "grün" || choice == "blau") << choice;
    const std::string multi = t.RANDOM("Farben", 10, "rot,grün,blau");
    ASSERT_TRUE(std::regex_match(multi, std::regex("(rot|grün|blau)(,(grün|blau))?(,blau)?"))) << multi;
    ASSERT_FALSE(multi.starts_with("grün,rot"));
    // Words: one to three words of 4 to 12 letters, a capital letter first, the rest lower case.
    const std::string words = t.RANDOM("Bemerkung", 1);
    const auto parts = text::Split(words, " ");
    ASSERT_TRUE(parts.size() >= 1 && parts.size() <= 3) << words;
    for (const auto& w : parts) {
      const size_t first = text::ByteOffset(w, 1);
      ASSERT_TRUE(text::Len(w) >= 4 && text::Len(w) <= 12 && text::UCase(w.substr(0, first)) == w.substr(0, first) &&
                  text::LCase(w.substr(first)) == w.substr(first))
          << words;
    }
  }
}

TEST(DBToolRandom, WordListsArePreparedPerLength) {
  cls_DBTool t;
  EXPECT_EQ(t.hWordsToLettersSub("AB,CD,,EF,"), (std::vector<std::string>{"AB", "CD", "EF"}));
  EXPECT_TRUE(t.hWordsToLettersSub("").empty());
  const cls_DBToolRandom& g = t.hGenerator();
  for (int len = kWordLengthMin; len <= kWordLengthMax; ++len) {
    size_t commas = 0;
    for (const auto& chunk : hTableWordChunks(len)) commas += std::count(chunk.begin(), chunk.end(), ',') + 1;
    ASSERT_EQ(g.Words(len).size(), commas) << len;
    for (auto w : g.Words(len)) ASSERT_EQ(text::Len(w), static_cast<size_t>(len)) << w;
  }
  EXPECT_TRUE(g.Words(1).empty() && g.Words(13).empty());
  const auto& twelve = g.Words(12);
  EXPECT_NE(std::find(twelve.begin(), twelve.end(), "BUNDESLÄNDER"), twelve.end());
}

}  // namespace
}  // namespace rykel
