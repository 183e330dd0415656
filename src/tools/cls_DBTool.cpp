#include "tools/cls_DBTool.h"

#include <utility>

#include "frame/Error.h"
#include "frame/Random.h"
#include "frame/Text.h"
#include "query/cls_DBCondition.h"
#include "tools/mdl_DBToolTables.h"

namespace rykel {

namespace {
constexpr const char* kClass = "cls_DBTool";
}

bool cls_DBTool::FILTER(const Variant& pValue, const std::string& pCondition) {
  return Guard(kClass, "FILTER", [&] {
    cls_DBCondition cond;
    cond.READ("", Variant(pCondition));
    cond.PREPARE(cls_DBCondition::hTypeOf(pValue));
    return cond.TEST(pValue);
  });
}

int cls_DBTool::SORTDECODE(std::string_view pType) {
  return Guard(kClass, "SORTDECODE", [&] {
    static const std::pair<const char*, int> kWords[] = {
        {"INT", 0},        {"INTEGER", 0}, {"LONG", 0},   {"STRING", 1},    {"CURRENCY", 1},  {"DATE", 2},
        {"BOOL", 3},       {"BOOLEAN", 3}, {"STRUCT", 4}, {"STRUCTURE", 4}, {"ENUM", 5},      {"ENUMNUMERIC", 6},
        {"DOUBLE", 7},     {"FLOAT", 7},   {"SINGLE", 7}, {"NUMERIC", 7},   {"REFERENCE", 8}, {"REFERENCENUMERIC", 9},
        {"ENUMMULTI", 10},
    };
    std::string u = text::UCase(pType);
    for (const auto& [word, code] : kWords)
      if (u == word) return code;
    return 1;
  });
}

std::string cls_DBTool::IDGENERATE(std::string_view pText) {
  return Guard(kClass, "IDGENERATE", [&] {
    std::string u = text::UCase(text::Trim(pText));
    std::string out;
    for (size_t i = 0; i < u.size();) {
      unsigned char c = static_cast<unsigned char>(u[i]);
      if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z')) {
        out += static_cast<char>(c);
        ++i;
        continue;
      }
      std::string_view rest(u.data() + i, u.size() - i);
      if (rest.starts_with("Ä")) out += "AE";
      else if (rest.starts_with("Ö")) out += "OE";
      else if (rest.starts_with("Ü")) out += "UE";
      else if (rest.starts_with("ß")) out += "SS";
      i += text::ByteOffset(rest, 1);
    }
    return std::string(text::Left(out, 12));
  });
}

std::string cls_DBTool::RANDOM(std::string_view pFieldOrPattern, int pType, std::string_view pMembers) {
  return Guard(kClass, "RANDOM", [&] {
    std::string out;
    random_.hAppend(out, pFieldOrPattern, pType, pMembers);
    return out;
  });
}

void cls_DBTool::RANDOMIZE(std::optional<int64_t> pSeed) {
  GuardVoid(kClass, "RANDOMIZE", [&] { ThreadRandom().Seed(pSeed ? static_cast<uint64_t>(*pSeed) : hEntropySeed()); });
}

int32_t cls_DBTool::hRand(int32_t pA, int32_t pB) { return cls_DBToolRandom::hRand(pA, pB); }

bool cls_DBTool::hFifty() { return cls_DBToolRandom::hFifty(); }

namespace {
std::string hOneOf(std::string_view pSet) {
  std::string out;
  cls_DBToolRandom::hAppendCharOf(out, pSet);
  return out;
}
}  // namespace

std::string cls_DBTool::CONSONANT() {
  return Guard(kClass, "CONSONANT", [] { return hOneOf(kCharsConsonant); });
}
std::string cls_DBTool::VOWEL() {
  return Guard(kClass, "VOWEL", [] { return hOneOf(kCharsVowel); });
}
std::string cls_DBTool::CHAR() {
  return Guard(kClass, "CHAR", [] { return hOneOf(kCharsChar); });
}
std::string cls_DBTool::DIGIT() {
  return Guard(kClass, "DIGIT", [] { return hOneOf(kCharsDigit); });
}

void cls_DBTool::hWordsToLetters() { random_.hWordsToLetters(); }

std::vector<std::string> cls_DBTool::hWordsToLettersSub(std::string_view pChunk) {
  std::vector<std::string_view> views;
  cls_DBToolRandom::hWordsToLettersSub(pChunk, views);
  return {views.begin(), views.end()};
}

}  // namespace rykel
