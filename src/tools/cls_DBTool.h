// cls_DBTool: the per-thread database tools object (sys_Global DBTOOL): type words, identifiers,
// random test data and (growing) single-value filters.
//
//   auto t = rykel::sys_Global::DBTOOL_GET();
//   std::string id = t->IDGENERATE("Müller & Söhne");   // "MUELLERSOEHN"
//   t->RANDOMIZE(42);
//   std::string line = t->RANDOM("{VORNAME} {NACHNAME}, {PLZ} {ORT}");
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "frame/Object.h"
#include "frame/Variant.h"
#include "tools/cls_DBToolRandom.h"

namespace rykel {

class cls_DBTool : public Object {
 public:
  std::string TypeName() const override { return "cls_DBTool"; }

  // True when the value meets the condition text, read and tested exactly as cls_DB::ENTRYQUERY
  // reads and tests it for a field of the value's own type (a number as LONG or DOUBLE, a date as
  // DATE, a text as STRING): FILTER("abc", "!IN x,y") is true, FILTER(5, ">= 3") is true.
  bool FILTER(const Variant& pValue, const std::string& pCondition);
  // Field type code of a type word ("INT" 0, "STRING" and "CURRENCY" 1, "DATE" 2, ...); an unknown
  // word gives 1 (text), the type that can hold anything.
  int SORTDECODE(std::string_view pType);
  // An upper-case identifier of at most 12 characters: digits and A-Z kept, umlauts expanded
  // ("Ä" -> "AE", "ß" -> "SS"), blanks and other characters dropped.
  std::string IDGENERATE(std::string_view pText);

  // ---- random test data (the generator: cls_DBToolRandom; the sequence: the thread's Random)

  // A random value as text. A text holding "{" is a pattern whose placeholders are expanded
  // ("{D*5}" five digits, "0{d[4-5]}-{d[4-10]}" a phone number); otherwise pFieldOrPattern is a
  // field name ("VORNAME", "E-Mail", "PLZ", ...; case does not matter), and a name without a
  // generator gives a value for the field type pType (enm_DBFieldType code, default 1 text).
  // pMembers lists a choice field's members, separated by ",". Unknown placeholders give
  // "ERR:" + name + "?" in place; nothing is raised for any input.
  std::string RANDOM(std::string_view pFieldOrPattern, int pType = 1, std::string_view pMembers = {});
  // Seeds the calling thread's generator: after RANDOMIZE(n) the same calls give the same values
  // on every machine. Without a seed, reseeds from the system's entropy (a fresh sequence).
  void RANDOMIZE(std::optional<int64_t> pSeed = std::nullopt);

  // A whole number from pA to pB: pA + round-half-to-even(r * (pB - pA)), r uniform in [0, 1),
  // so the two ends are half as likely as each inner value.
  int32_t hRand(int32_t pA, int32_t pB);
  // True or false with even odds (r * 100 < 50).
  bool hFifty();
  // One character of "bcdfghjklmnpqrstvwbcdfghjklmnpqrstvwxyz", "aeiou",
  // "aeioubcdfghjklmnpqrstvwbcdfghjklmnpqrstvwxyz" and "0123456789", at position hRand(1, length).
  std::string CONSONANT();
  std::string VOWEL();
  std::string CHAR();
  std::string DIGIT();
  // Rebuilds the per-length word lists from the comma-joined chunks (done once at creation).
  void hWordsToLetters();
  // The words of one comma-joined chunk, in order; empty pieces skipped.
  std::vector<std::string> hWordsToLettersSub(std::string_view pChunk);

  // RANDOM without the error wrapper and without a new string: appends the value to rOut. For hosts
  // that generate many values into one reused buffer.
  void hRandomAppend(std::string& rOut, std::string_view pFieldOrPattern, int pType = 1,
                     std::string_view pMembers = {}) const {
    random_.hAppend(rOut, pFieldOrPattern, pType, pMembers);
  }
  const cls_DBToolRandom& hGenerator() const { return random_; }

 private:
  cls_DBToolRandom random_;
};

}  // namespace rykel
