// Fixed word and name tables from which the random test-data generator draws German words, names,
// towns, streets, companies and mail addresses, plus the character sets of its letter generators.
//
// Every table is built once, on its first use, and never changes afterwards: the references the
// accessors return stay valid for the life of the program and may be read from any thread.
#ifndef RYKEL_TOOLS_MDL_DBTOOLTABLES_H
#define RYKEL_TOOLS_MDL_DBTOOLTABLES_H

#include <string>
#include <string_view>
#include <vector>

namespace rykel {

// Character sets of the single-character generators, which pick one position at random. The
// common consonants appear twice and x, y, z once, so the rare ones come up half as often.
inline constexpr std::string_view kCharsConsonant = "bcdfghjklmnpqrstvwbcdfghjklmnpqrstvwxyz";
inline constexpr std::string_view kCharsVowel = "aeiou";
inline constexpr std::string_view kCharsChar = "aeioubcdfghjklmnpqrstvwbcdfghjklmnpqrstvwxyz";
inline constexpr std::string_view kCharsDigit = "0123456789";

// Shortest and longest word length that has a word table.
inline constexpr int kWordLengthMin = 2;
inline constexpr int kWordLengthMax = 12;

// The upper-case words of exactly pLength characters (code points: "BUNDESLÄNDER" has 12), stored
// as comma-joined chunks of about 500 characters; at 2 letters a chunk holds 39 words. Words hold
// only letters (no comma, no blank), no word repeats within a length, and every length has at
// least two chunks. Returns an empty table when pLength lies outside kWordLengthMin..kWordLengthMax.
const std::vector<std::string>& hTableWordChunks(int pLength);

// Academic titles put before a name (3 rows).
const std::vector<std::string>& hTableTitles();

// Legal forms appended to a last name to make a company name (7 rows).
const std::vector<std::string>& hTableCompanyForms();

// Complete company names (5 rows). "Stadthalle {CITY}" holds a placeholder for the generator to expand.
const std::vector<std::string>& hTableCompanyNames();

// Top-level domain labels without the dot, two or three lower-case letters (5 rows).
const std::vector<std::string>& hTableTopLevelDomains();

// Domains of public free-mail providers, such as "web.de" (7 rows).
const std::vector<std::string>& hTableMailDomains();

// Female first names (147 rows) and male first names (142 rows).
const std::vector<std::string>& hTableFirstNamesFemale();
const std::vector<std::string>& hTableFirstNamesMale();

// Towns and cities (27 rows).
const std::vector<std::string>& hTableCities();

// Stems for street names and last names (109 rows). A stem ending in "-" is a first part that
// is joined directly to what follows it.
const std::vector<std::string>& hTableNameStems();

// Prefixes that turn a last name into a double name, each ending in "-" (4 rows).
const std::vector<std::string>& hTableLastNamePrefixes();

// Common last names (58 rows).
const std::vector<std::string>& hTableLastNames();

// Lower-case endings appended to a name stem to make a street name (4 rows).
const std::vector<std::string>& hTableStreetSuffixes();

}  // namespace rykel

#endif  // RYKEL_TOOLS_MDL_DBTOOLTABLES_H
