// cls_DBToolRandom: the random test-data generator behind cls_DBTool (RANDOM and its helpers).
//
// It draws German names, streets, towns, companies, mail addresses, phone numbers, words and
// numbers from the fixed tables of mdl_DBToolTables, using the calling thread's generator
// (ThreadRandom). It appends into a caller's buffer, so a loop that reuses one buffer allocates
// nothing per value.
//
// Pattern language (text outside braces is copied):
//   pattern     -> { text | placeholder }
//   placeholder -> "{" name [ count ] "}"
//   count       -> "*" digits                  repeat exactly that often
//                | "[" digits "-" digits "]"   repeat hRand(low, high) times
// Names are compared upper-cased ("{d}" is "{D}", "{lastname}" is "{LASTNAME}"). An unknown name
// yields "ERR:" + name + "?" once ("{FOO*3}" gives "ERR:FOO?"); a count that does not follow the
// grammar yields "ERR:" + the whole text between the braces + "?" ("{D*x}" gives "ERR:D*x?").
// Counts above kMaxRepeat are cut to it. A "{" without a "}" after it, and a "{" followed by
// another "{" before the next "}", are copied as text. Generated values are not scanned again.
//
// Thread safety: an object is read-only after construction; every draw uses the calling
// thread's generator, so one object may serve several threads.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace rykel {

class Random;

class cls_DBToolRandom {
 public:
  // The longest repetition a count may ask for; larger counts are cut to it.
  static constexpr int kMaxRepeat = 1000;
  // How deep generated values may nest placeholders (EMAIL -> DOMAIN -> LASTNAME is three).
  static constexpr int kMaxDepth = 8;

  // Builds the word lists (hWordsToLetters).
  cls_DBToolRandom();

  // Appends a random value for a field name or a pattern to rOut. A text holding "{" is a
  // pattern; otherwise the name picks the generator, and a name no generator knows falls back to
  // the field type pType (enm_DBFieldType code). pMembers lists the members of a choice field,
  // separated by ",".
  void hAppend(std::string& rOut, std::string_view pFieldOrPattern, int pType, std::string_view pMembers) const;

  // pA + round-half-to-even(r * (pB - pA)) with r uniform in [0, 1): a whole number from pA to
  // pB where the two ends are half as likely as each inner value. pA > pB works the same way.
  static int32_t hRand(int32_t pA, int32_t pB);
  // True when r * 100 < 50.
  static bool hFifty();
  // Appends the character at position hRand(1, length) of pSet (an ASCII set).
  static void hAppendCharOf(std::string& rOut, std::string_view pSet);

  // Splits one comma-joined chunk of words and appends the words (views into the chunk, which
  // must outlive this object) to rWords.
  static void hWordsToLettersSub(std::string_view pChunk, std::vector<std::string_view>& rWords);
  // Fills the per-length word lists from the word tables; called once by the constructor.
  void hWordsToLetters();
  // The upper-case words of exactly pLength characters (empty outside 2..12).
  const std::vector<std::string_view>& Words(int pLength) const;

  enum class Gen : uint8_t;  // what a name generates (defined in the .cpp)

 private:
  void hExpand(Random& rng, std::string& rOut, std::string_view pPattern, int pType, int pDepth) const;
  void hPlaceholder(Random& rng, std::string& rOut, std::string_view pInner, int pType, int pDepth) const;
  void hGenerate(Random& rng, std::string& rOut, Gen pGen, int pType, int pDepth) const;
  void hByType(Random& rng, std::string& rOut, int pType, std::string_view pMembers) const;
  void hLastName(Random& rng, std::string& rOut) const;
  void hDomain(Random& rng, std::string& rOut) const;
  void hMail(Random& rng, std::string& rOut) const;
  void hWordsText(Random& rng, std::string& rOut) const;
  static void hNumber(Random& rng, std::string& rOut, int pType);

  std::vector<std::vector<std::string_view>> words_;  // index = word length
};

}  // namespace rykel
