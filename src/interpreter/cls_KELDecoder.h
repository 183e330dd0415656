// cls_KELDecoder: the pure half of decoding. Classifies the text of one command parameter and
// gives its value where no interpreter state is needed; turns values back into parameter text.
//
// The rules, first match wins (cls_KEL::DECODE carries out the ones that need the interpreter):
//   1 Date      a "yyyy-mm-dd[ HH:MM:SS]" date                      -> date value
//   2 Quoted    "..." or '...'                                      -> inner text (a template when
//               it holds "{" and does not begin "a:"), then date / time / string
//   3 Time      "##:##" or "##:##:##"                               -> the string itself
//   4 Raw       "{$" ... "}"                                        -> the text between, unevaluated
//   5 Date      holds "." and reads as a date that is not negative  -> date value
//   6 Number    numeric, at most 10 characters                      -> double
//   7 Hex       "#" and hexadecimal digits                          -> 32-bit integer (more than
//               eight digits after leading zeros raise 6 "Overflow")
//   8 Literal   LITERAL changes it ("TRUE" -> "1")                  -> the normalised string
//   9 Other     the text itself, or (when allowed) the result of running it as a command
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/Variant.h"

namespace rykel {

enum class enm_KELParamKind : uint8_t {
  Date,
  Quoted,
  QuotedTemplate,
  Time,
  Raw,
  DottedDate,
  Number,
  Hex,
  Literal,
  Other
};

struct KELParam {
  enm_KELParamKind kind = enm_KELParamKind::Other;
  Variant value;      // the decoded value, except for QuotedTemplate and Other
  std::string inner;  // QuotedTemplate: the text to process as a template
};

class cls_KELDecoder {
 public:
  // Classification of one parameter text; a pure function of the text (cached per thread).
  static KELParam Classify(std::string_view pText);
  static KELParam ClassifyUncached(std::string_view pText);

  // Operator and truth words: "=" -> "==", "=>" -> ">=", "=<" -> "<=", "<>" "=!" "=!=" -> "!=",
  // "&" "AND" -> "&&", "|" "OR" -> "||", "WAHR" "TRUE" -> "1", "FALSCH" "FALSE" -> "0"
  // (compared in upper case). Any other text comes back unchanged.
  static std::string LITERAL(std::string_view pText);
  // True when LITERAL would change the text (no allocation).
  static bool IsLiteralWord(std::string_view pText);

  // Parameter text for a value that DECODE reads back. Objects give their short structure text.
  static std::string ENCODE(const Variant& pValue, bool pQuoteText);

  // "##:##" or "##:##:##".
  static bool IsTimeText(std::string_view pText);
};

}  // namespace rykel
