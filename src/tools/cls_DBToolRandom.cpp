#include "tools/cls_DBToolRandom.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Random.h"
#include "frame/Text.h"
#include "frame/Variant.h"
#include "tools/mdl_DBToolTables.h"

namespace rykel {

// What a name generates. Field names and the character names share one table.
enum class cls_DBToolRandom::Gen : uint8_t {
  None,
  Phone,
  FirstName,
  Street,
  LastName,
  Email,
  Website,
  Domain,
  City,
  Company,
  Zip,
  Digit,
  Vowel,
  Consonant,
  Char,
  Number,
};

namespace {

using Gen = cls_DBToolRandom::Gen;

struct NameRow {
  std::string_view name;
  Gen gen;
};

// Every name RANDOM knows, upper case. The field names come first, in the order in which they
// are tried; then the names that only make sense as placeholders.
constexpr NameRow kNames[] = {
    {"FAX", Gen::Phone},
    {"MOBILE", Gen::Phone},
    {"HANDY", Gen::Phone},
    {"CELL", Gen::Phone},
    {"CELLPHONE", Gen::Phone},
    {"MOBIL", Gen::Phone},
    {"PHONE", Gen::Phone},
    {"TEL", Gen::Phone},
    {"TELEFON", Gen::Phone},
    {"FIRSTNAME", Gen::FirstName},
    {"VORNAME", Gen::FirstName},
    {"STREET", Gen::Street},
    {"STRASSE", Gen::Street},
    {"STRAßE", Gen::Street},
    {"LASTNAME", Gen::LastName},
    {"NACHNAME", Gen::LastName},
    {"EMAIL", Gen::Email},
    {"E-MAIL", Gen::Email},
    {"WEBSITE", Gen::Website},
    {"WEB", Gen::Website},
    {"URL", Gen::Website},
    {"HOMEPAGE", Gen::Website},
    {"DOMAIN", Gen::Domain},
    {"CITY", Gen::City},
    {"STADT", Gen::City},
    {"ORT", Gen::City},
    {"COMPANY", Gen::Company},
    {"FIRMA", Gen::Company},
    {"PLZ", Gen::Zip},
    {"ZIPCODE", Gen::Zip},
    {"ZIP", Gen::Zip},
    {"POSTLEITZAHL", Gen::Zip},
    {"D", Gen::Digit},
    {"DIGIT", Gen::Digit},
    {"ZIFFER", Gen::Digit},
    {"V", Gen::Vowel},
    {"VOWEL", Gen::Vowel},
    {"VOKAL", Gen::Vowel},
    {"C", Gen::Consonant},
    {"CONSONANT", Gen::Consonant},
    {"KONSONANT", Gen::Consonant},
    {"A", Gen::Char},
    {"CHAR", Gen::Char},
    {"BUCHSTABE", Gen::Char},
    {"NUMBER", Gen::Number},
    {"ZAHL", Gen::Number},
};

// Field type codes of enm_DBFieldType that the type fallback tells apart.
constexpr int kTypeLong = 0;
constexpr int kTypeDate = 2;
constexpr int kTypeBoolean = 3;
constexpr int kTypeStructure = 4;
constexpr int kTypeEnum = 5;
constexpr int kTypeEnumNumeric = 6;
constexpr int kTypeDouble = 7;
constexpr int kTypeReferenceNumeric = 9;
constexpr int kTypeEnumMulti = 10;

// A name of up to 16 bytes packed into two words, for a compare without a loop.
struct PackedName {
  uint64_t lo = 0;
  uint64_t hi = 0;
  bool operator==(const PackedName&) const = default;
};

// Names grouped by length and first letter: a lookup compares against one or two rows.
class NameIndex {
 public:
  static constexpr size_t kMaxBytes = 16;

  NameIndex() {
    for (const auto& row : kNames) {
      const PackedName key = hPack(row.name);
      auto& bucket = buckets_[hSlot(row.name.size(), key)];
      bool seen = false;
      for (const auto& other : bucket) seen = seen || other.key == key;
      if (!seen) bucket.push_back({key, row.gen});  // the first row of a name wins
    }
  }
  // pKey: the upper-case name of pSize bytes, packed by hPack.
  Gen Find(size_t pSize, const PackedName& pKey) const {
    for (const auto& row : buckets_[hSlot(pSize, pKey)])
      if (row.key == pKey) return row.gen;
    return Gen::None;
  }
  static PackedName hPack(std::string_view pName) {
    PackedName key;
    unsigned char buf[kMaxBytes] = {};
    std::memcpy(buf, pName.data(), std::min(pName.size(), kMaxBytes));
    std::memcpy(&key.lo, buf, 8);
    std::memcpy(&key.hi, buf + 8, 8);
    return key;
  }

 private:
  struct Row {
    PackedName key;
    Gen gen;
  };
  static size_t hSlot(size_t pSize, const PackedName& pKey) { return std::min(pSize, kMaxBytes) * 32 + (pKey.lo & 31); }
  std::vector<Row> buckets_[(kMaxBytes + 1) * 32];
};

// Upper-cases the ASCII letters of eight packed bytes at once (bytes below 0x80 only): a byte
// from 'a' to 'z' gets the high bit of (b + 0x1F) and not that of (b + 0x05); bit 0x20 is flipped.
constexpr uint64_t hUpperAscii(uint64_t pWord) {
  constexpr uint64_t kOnes = 0x0101010101010101ULL;
  const uint64_t fromA = pWord + kOnes * (0x80 - 'a');
  const uint64_t pastZ = pWord + kOnes * (0x80 - 'z' - 1);
  const uint64_t lower = fromA & ~pastZ & (kOnes * 0x80);
  return pWord ^ (lower >> 2);
}
// "`az{" stays "`AZ{": the neighbours of the letter range are left alone.
static_assert(hUpperAscii(0x7B7A6160ULL) == 0x7B5A4160ULL);

Gen hFindName(std::string_view pName) {
  static const NameIndex index;
  if (pName.empty() || pName.size() > NameIndex::kMaxBytes) return Gen::None;
  unsigned char buf[NameIndex::kMaxBytes] = {};
  std::memcpy(buf, pName.data(), pName.size());
  PackedName key;
  std::memcpy(&key.lo, buf, 8);
  std::memcpy(&key.hi, buf + 8, 8);
  if (((key.lo | key.hi) & 0x8080808080808080ULL) != 0) {  // "straße": ICU's upper case
    const std::string upper = text::UCase(pName);
    if (upper.size() > NameIndex::kMaxBytes) return Gen::None;
    return index.Find(upper.size(), NameIndex::hPack(upper));
  }
  key.lo = hUpperAscii(key.lo);
  key.hi = hUpperAscii(key.hi);
  return index.Find(pName.size(), key);
}

// pA + round-half-to-even(r * (pB - pA)). r is k / 2^53 for the 53-bit k that Rnd() uses, so the
// product is worked out exactly in integers: no rounding of the product, no floating-point mode.
[[gnu::always_inline]] inline int32_t hRandOf(Random& rng, int32_t pA, int32_t pB) {
  const uint64_t k = rng.Next() >> 11;
  const int64_t span = static_cast<int64_t>(pB) - pA;
  const uint64_t magnitude = static_cast<uint64_t>(span < 0 ? -span : span);
  constexpr uint64_t kHalf = uint64_t{1} << 52;
  uint64_t whole;
  uint64_t fraction;
  if (magnitude < 2048) {  // the product fits 64 bits: the common case of short ranges
    const uint64_t product = k * magnitude;
    whole = product >> 53;
    fraction = product & ((uint64_t{1} << 53) - 1);
  } else {
    const unsigned __int128 product = static_cast<unsigned __int128>(k) * magnitude;
    whole = static_cast<uint64_t>(product >> 53);
    fraction = static_cast<uint64_t>(product) & ((uint64_t{1} << 53) - 1);
  }
  if (fraction > kHalf || (fraction == kHalf && (whole & 1) != 0)) ++whole;
  const int64_t step = static_cast<int64_t>(whole);
  return static_cast<int32_t>(span < 0 ? pA - step : pA + step);
}

inline bool hFiftyOf(Random& rng) { return rng.Rnd() * 100 < 50; }

[[gnu::always_inline]] inline void hCharOf(Random& rng, std::string& rOut, std::string_view pSet) {
  rOut += pSet[static_cast<size_t>(hRandOf(rng, 1, static_cast<int32_t>(pSet.size()))) - 1];
}

// A table row, every row equally likely.
const std::string& hPick(Random& rng, const std::vector<std::string>& pRows) { return pRows[rng.Below(pRows.size())]; }

void hDigits(Random& rng, std::string& rOut, int pCount) {
  if (pCount <= 0) return;
  const size_t at = rOut.size();
  rOut.resize(at + static_cast<size_t>(pCount));
  char* out = rOut.data() + at;
  for (int i = 0; i < pCount; ++i) out[i] = kCharsDigit[static_cast<size_t>(hRandOf(rng, 1, 10)) - 1];
}

// Position of the first pA or pB at or after pFrom; npos when neither follows. A plain loop:
// find_first_of searches its set once per character, which costs more on these short texts.
size_t hFindEither(std::string_view pText, size_t pFrom, char pA, char pB) {
  for (size_t i = pFrom; i < pText.size(); ++i)
    if (pText[i] == pA || pText[i] == pB) return i;
  return std::string_view::npos;
}

// Reads a whole decimal number, cut to kMaxRepeat; false unless pText is one or more digits.
bool hCount(std::string_view pText, int& rCount) {
  if (pText.empty()) return false;
  long long value = 0;
  for (char c : pText) {
    if (c < '0' || c > '9') return false;
    value = std::min<long long>(value * 10 + (c - '0'), cls_DBToolRandom::kMaxRepeat);
  }
  rCount = static_cast<int>(value);
  return true;
}

// Lower-cases a mail address in place from pStart on and keeps it plain ASCII: umlauts become
// "ae", "oe", "ue", "ß" becomes "ss", "ş" becomes "s"; any other character outside a-z, 0-9,
// ".", "_", "-", "@" is dropped. Every replaced character has two bytes and becomes at most two,
// so the text only shrinks.
void hMailNormalize(std::string& rText, size_t pStart) {
  size_t w = pStart;
  for (size_t r = pStart; r < rText.size();) {
    const auto c = static_cast<unsigned char>(rText[r]);
    if (c < 0x80) {
      char out = static_cast<char>(c);
      if (c >= 'A' && c <= 'Z') out = static_cast<char>(c - 'A' + 'a');
      if ((out >= 'a' && out <= 'z') || (out >= '0' && out <= '9') || out == '.' || out == '_' || out == '-' ||
          out == '@')
        rText[w++] = out;
      ++r;
      continue;
    }
    const std::string_view rest(rText.data() + r, rText.size() - r);
    const char* repl = nullptr;
    if (rest.starts_with("ä") || rest.starts_with("Ä")) repl = "ae";
    else if (rest.starts_with("ö") || rest.starts_with("Ö")) repl = "oe";
    else if (rest.starts_with("ü") || rest.starts_with("Ü")) repl = "ue";
    else if (rest.starts_with("ß")) repl = "ss";
    else if (rest.starts_with("ş") || rest.starts_with("Ş")) repl = "s";
    const size_t len = text::ByteOffset(rest, 1);
    if (repl != nullptr) {
      for (const char* p = repl; *p != '\0'; ++p) rText[w++] = *p;
    }
    r += std::max<size_t>(len, 1);
  }
  rText.resize(w);
}

// Lower-cases pText from pStart on and keeps only a-z, "_" and "."; as the domain is built.
void hDomainFilter(std::string& rText, size_t pStart) {
  size_t w = pStart;
  for (size_t r = pStart; r < rText.size(); ++r) {
    char c = rText[r];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if ((c >= 'a' && c <= 'z') || c == '_' || c == '.') rText[w++] = c;
  }
  rText.resize(w);
}

// Street suffixes with a capital first letter, for stems that end in "-" ("Graf-von-Galen-Weg").
const std::vector<std::string>& hStreetSuffixesCapital() {
  static const std::vector<std::string> rows = [] {
    std::vector<std::string> out;
    for (const auto& s : hTableStreetSuffixes()) {
      std::string c = s;
      if (!c.empty() && c[0] >= 'a' && c[0] <= 'z') c[0] = static_cast<char>(c[0] - 'a' + 'A');
      out.push_back(std::move(c));
    }
    return out;
  }();
  return rows;
}

}  // namespace

cls_DBToolRandom::cls_DBToolRandom() { hWordsToLetters(); }

int32_t cls_DBToolRandom::hRand(int32_t pA, int32_t pB) { return hRandOf(ThreadRandom(), pA, pB); }

bool cls_DBToolRandom::hFifty() { return hFiftyOf(ThreadRandom()); }

void cls_DBToolRandom::hAppendCharOf(std::string& rOut, std::string_view pSet) {
  if (!pSet.empty()) hCharOf(ThreadRandom(), rOut, pSet);
}

void cls_DBToolRandom::hWordsToLettersSub(std::string_view pChunk, std::vector<std::string_view>& rWords) {
  size_t start = 0;
  while (start <= pChunk.size()) {
    size_t comma = pChunk.find(',', start);
    if (comma == std::string_view::npos) comma = pChunk.size();
    if (comma > start) rWords.push_back(pChunk.substr(start, comma - start));
    start = comma + 1;
  }
}

void cls_DBToolRandom::hWordsToLetters() {
  words_.assign(kWordLengthMax + 1, {});
  for (int len = kWordLengthMin; len <= kWordLengthMax; ++len)
    for (const auto& chunk : hTableWordChunks(len)) hWordsToLettersSub(chunk, words_[len]);
}

const std::vector<std::string_view>& cls_DBToolRandom::Words(int pLength) const {
  static const std::vector<std::string_view> none;
  if (pLength < 0 || pLength >= static_cast<int>(words_.size())) return none;
  return words_[pLength];
}

void cls_DBToolRandom::hAppend(std::string& rOut, std::string_view pFieldOrPattern, int pType,
                               std::string_view pMembers) const {
  Random& rng = ThreadRandom();
  if (pFieldOrPattern.find('{') != std::string_view::npos) {
    hExpand(rng, rOut, pFieldOrPattern, pType, 0);
    return;
  }
  const bool padded = !pFieldOrPattern.empty() && (pFieldOrPattern.front() == ' ' || pFieldOrPattern.back() == ' ');
  const Gen gen = hFindName(padded ? text::Trim(pFieldOrPattern) : pFieldOrPattern);
  if (gen != Gen::None) hGenerate(rng, rOut, gen, pType, 0);
  else hByType(rng, rOut, pType, pMembers);
}

// pattern -> { text | placeholder }
void cls_DBToolRandom::hExpand(Random& rng, std::string& rOut, std::string_view pPattern, int pType, int pDepth) const {
  if (pDepth > kMaxDepth) Raise(err::kInvalidData, "Random pattern nested too deeply");
  size_t i = 0;
  while (i < pPattern.size()) {
    const size_t open = pPattern.find('{', i);
    if (open == std::string_view::npos) {
      rOut.append(pPattern.substr(i));
      return;
    }
    rOut.append(pPattern.substr(i, open - i));
    const size_t close = hFindEither(pPattern, open + 1, '{', '}');
    if (close == std::string_view::npos) {  // unclosed: the rest is text
      rOut.append(pPattern.substr(open));
      return;
    }
    if (pPattern[close] == '{') {  // "{a{D}": the first "{" is text
      rOut.append(pPattern.substr(open, close - open));
      i = close;
      continue;
    }
    hPlaceholder(rng, rOut, pPattern.substr(open + 1, close - open - 1), pType, pDepth);
    i = close + 1;
  }
}

// placeholder -> name [ "*" digits | "[" digits "-" digits "]" ]   (the text between the braces)
void cls_DBToolRandom::hPlaceholder(Random& rng, std::string& rOut, std::string_view pInner, int pType,
                                    int pDepth) const {
  const size_t mark = hFindEither(pInner, 0, '*', '[');
  std::string_view name = pInner.substr(0, mark);
  int count = 1;
  bool ok = true;
  if (mark != std::string_view::npos) {
    if (pInner[mark] == '*') {
      ok = hCount(pInner.substr(mark + 1), count);
    } else {
      const std::string_view range = pInner.substr(mark + 1);
      const size_t dash = range.find('-');
      int low = 0;
      int high = 0;
      ok = range.ends_with(']') && dash != std::string_view::npos && hCount(range.substr(0, dash), low) &&
           hCount(range.substr(dash + 1, range.size() - dash - 2), high);
      if (ok) count = hRandOf(rng, low, high);
    }
  }
  const Gen gen = ok ? hFindName(name) : Gen::None;
  if (gen == Gen::None) {
    rOut += "ERR:";
    rOut.append(ok ? name : pInner);
    rOut += '?';
    return;
  }
  for (int k = 0; k < count; ++k) hGenerate(rng, rOut, gen, pType, pDepth + 1);
}

void cls_DBToolRandom::hGenerate(Random& rng, std::string& rOut, Gen pGen, int pType, int pDepth) const {
  switch (pGen) {
    case Gen::None: return;
    case Gen::Phone:  // "0{d[4-5]}-{d[4-10]}", drawn in the same order as the pattern would be
      rOut += '0';
      hDigits(rng, rOut, hRandOf(rng, 4, 5));
      rOut += '-';
      hDigits(rng, rOut, hRandOf(rng, 4, 10));
      return;
    case Gen::FirstName: rOut += hPick(rng, hFiftyOf(rng) ? hTableFirstNamesFemale() : hTableFirstNamesMale()); return;
    case Gen::Street: {
      const std::string& stem = hPick(rng, hTableNameStems());
      rOut += stem;
      const size_t k = rng.Below(hTableStreetSuffixes().size());
      rOut += stem.ends_with('-') ? hStreetSuffixesCapital()[k] : hTableStreetSuffixes()[k];
      rOut += ' ';
      hDigits(rng, rOut, hRandOf(rng, 1, 3));  // "{D[1-3]}"
      return;
    }
    case Gen::LastName: hLastName(rng, rOut); return;
    case Gen::Email: hMail(rng, rOut); return;
    case Gen::Website:
      rOut += "www.";
      hDomain(rng, rOut);
      return;
    case Gen::Domain: hDomain(rng, rOut); return;
    case Gen::City: rOut += hPick(rng, hTableCities()); return;
    case Gen::Company:
      // Four in five companies are a last name with a legal form, the rest a fixed name, whose
      // placeholders ("Stadthalle {CITY}") are expanded.
      if (rng.Below(5) != 0) {
        hLastName(rng, rOut);
        rOut += ' ';
        rOut += hPick(rng, hTableCompanyForms());
      } else {
        hExpand(rng, rOut, hPick(rng, hTableCompanyNames()), pType, pDepth);
      }
      return;
    case Gen::Zip: hDigits(rng, rOut, 5); return;
    case Gen::Digit: hCharOf(rng, rOut, kCharsDigit); return;
    case Gen::Vowel: hCharOf(rng, rOut, kCharsVowel); return;
    case Gen::Consonant: hCharOf(rng, rOut, kCharsConsonant); return;
    case Gen::Char: hCharOf(rng, rOut, kCharsChar); return;
    case Gen::Number: hNumber(rng, rOut, pType); return;
  }
}

// Three in five last names come from the last-name table, one in five from the name stems (a
// stem that ends in "-" gets a last name after it: "Graf-von-Galen-Müller"), one in five is a
// double name of a prefix and a last name ("Schulze-Meier").
void cls_DBToolRandom::hLastName(Random& rng, std::string& rOut) const {
  const uint64_t kind = rng.Below(5);
  if (kind < 3) {
    rOut += hPick(rng, hTableLastNames());
  } else if (kind == 3) {
    const std::string& stem = hPick(rng, hTableNameStems());
    rOut += stem;
    if (stem.ends_with('-')) rOut += hPick(rng, hTableLastNames());
  } else {
    rOut += hPick(rng, hTableLastNamePrefixes());
    rOut += hPick(rng, hTableLastNames());
  }
}

// A last name lower-cased and cut to a-z, "_" and ".", a dot and a top-level domain label.
void cls_DBToolRandom::hDomain(Random& rng, std::string& rOut) const {
  const size_t start = rOut.size();
  hLastName(rng, rOut);
  hDomainFilter(rOut, start);
  rOut += '.';
  rOut += hPick(rng, hTableTopLevelDomains());
}

// One of "{FIRSTNAME}.{LASTNAME}@", "{CHAR}.{LASTNAME}@", "{LASTNAME}@", "info@", then a domain.
// A personal address goes to a free-mail provider half of the time, else to "{DOMAIN}"; "info@"
// always to "{DOMAIN}". The whole address is lower-cased and kept plain ASCII.
void cls_DBToolRandom::hMail(Random& rng, std::string& rOut) const {
  const size_t start = rOut.size();
  const uint64_t kind = rng.Below(4);
  switch (kind) {
    case 0:
      rOut += hPick(rng, hFiftyOf(rng) ? hTableFirstNamesFemale() : hTableFirstNamesMale());
      rOut += '.';
      hLastName(rng, rOut);
      break;
    case 1:
      hCharOf(rng, rOut, kCharsChar);
      rOut += '.';
      hLastName(rng, rOut);
      break;
    case 2: hLastName(rng, rOut); break;
    default: rOut += "info"; break;
  }
  rOut += '@';
  if (kind != 3 && hFiftyOf(rng)) rOut += hPick(rng, hTableMailDomains());
  else hDomain(rng, rOut);
  hMailNormalize(rOut, start);
}

// One to three words of 4 to 12 letters, each with a capital first letter: "Konzept Alpen".
void cls_DBToolRandom::hWordsText(Random& rng, std::string& rOut) const {
  const int count = 1 + static_cast<int>(rng.Below(3));
  for (int k = 0; k < count; ++k) {
    if (k > 0) rOut += ' ';
    const auto& list = words_[4 + rng.Below(9)];
    const std::string_view word = list[rng.Below(list.size())];
    const size_t first = text::ByteOffset(word, 1);
    rOut.append(word.substr(0, first));
    rOut += text::LCase(word.substr(first));
  }
}

// Whole numbers from 0 to 9999; for a Double field a number from 0 to 9999.99 in steps of 0.01.
void cls_DBToolRandom::hNumber(Random& rng, std::string& rOut, int pType) {
  if (pType == kTypeDouble) {
    rOut += NumberText(static_cast<double>(rng.Below(1000000)) / 100.0);
    return;
  }
  char buf[8];
  auto [end, ec] = std::to_chars(buf, buf + sizeof buf, rng.Below(10000));
  rOut.append(buf, end);
}

void cls_DBToolRandom::hByType(Random& rng, std::string& rOut, int pType, std::string_view pMembers) const {
  std::vector<std::string_view> members;
  // Members are views into pMembers, blanks around them trimmed, empty ones skipped.
  for (size_t start = 0; start <= pMembers.size();) {
    size_t comma = pMembers.find(',', start);
    if (comma == std::string_view::npos) comma = pMembers.size();
    const std::string_view member = text::Trim(pMembers.substr(start, comma - start));
    if (!member.empty()) members.push_back(member);
    start = comma + 1;
  }
  switch (pType) {
    case kTypeLong:
    case kTypeReferenceNumeric:
    case kTypeDouble: hNumber(rng, rOut, pType); return;
    case kTypeDate: {
      // A day from 1950-01-01 to 2030-12-31.
      double first = 0;
      double last = 0;
      date::FromParts({1950, 1, 1}, first);
      date::FromParts({2030, 12, 31}, last);
      const double day = first + static_cast<double>(rng.Below(static_cast<uint64_t>(last - first) + 1));
      rOut += date::Format(day, "yyyy-mm-dd");
      return;
    }
    case kTypeBoolean: rOut += CStr(Variant(hFiftyOf(rng))); return;
    case kTypeStructure: return;  // a structure has no random text
    case kTypeEnum:
    case kTypeEnumNumeric:
      if (!members.empty()) rOut.append(members[rng.Below(members.size())]);
      else if (pType == kTypeEnumNumeric) hNumber(rng, rOut, kTypeLong);
      else hWordsText(rng, rOut);
      return;
    case kTypeEnumMulti: {
      if (members.empty()) {
        hWordsText(rng, rOut);
        return;
      }
      // Each member with even odds, in member order, at least one.
      const size_t start = rOut.size();
      const size_t forced = rng.Below(members.size());
      for (size_t k = 0; k < members.size(); ++k) {
        if (k != forced && !hFiftyOf(rng)) continue;
        if (rOut.size() > start) rOut += ',';
        rOut.append(members[k]);
      }
      return;
    }
    default: hWordsText(rng, rOut); return;
  }
}

}  // namespace rykel
