// cls_KELTokenizer: splits the text of one command into tokens. Knows no commands.
//
// Token grammar (a command text after preparation):
//   separators   blank "," ";" TAB CR LF       end a token, belong to none
//   Quoted       "..." or '...'                quotes included; unclosed: runs to the end
//   Braces       "{" ... matching "}"          nesting counted, quotes inside respected
//   Parens       "(" ... matching ")"          nesting counted, quotes inside respected
//   Operator     a run of "+-*/&|><=!^:"       one token of its own
//   Word         anything else
// Inside a word a single ":" not followed by "=" is part of the word ("VAR:x", "IO:DATE"), and a word
// that as a whole is a date or a time ("2024-01-05", "12:30") is not split at its "-" and ":". A "-" or
// "+" that starts a word and is followed by a digit is a sign ("-5").
// Tokens are views into the text handed in; the caller keeps that text alive.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace rykel {

enum class enm_KELToken : uint8_t { Word, Quoted, Braces, Parens, Operator };

struct KELToken {
  enm_KELToken kind;
  std::string_view text;
  uint32_t offset;  // byte offset in the tokenized text
};

class cls_KELTokenizer {
 public:
  static constexpr std::string_view kOperatorChars = "+-*/&|><=!^:";
  static bool IsOperatorChar(char c) { return kOperatorChars.find(c) != std::string_view::npos; }
  static bool IsSeparator(char c) {
    // One test of a bit mask: all six separators lie below 64.
    constexpr uint64_t kMask = (uint64_t{1} << ' ') | (uint64_t{1} << ',') | (uint64_t{1} << ';') |
                               (uint64_t{1} << '\t') | (uint64_t{1} << '\r') | (uint64_t{1} << '\n');
    auto u = static_cast<unsigned char>(c);
    return u < 64 && ((kMask >> u) & 1);
  }
  // All tokens of the text, in order.
  static std::vector<KELToken> Tokenize(std::string_view pText);
  // False for a quoted stretch or a group that the text ended inside (it runs to the end).
  static bool IsClosed(const KELToken& pToken);
  // The tokens of a text, shared and cached by the text (the tokenizer is a pure function of it).
  // Texts up to 4096 bytes are copied and kept: the views point into the copy, which lives as long
  // as the result. A longer text is neither copied nor kept (a copy per nesting level would cost
  // the text's size per level): its views point into the text handed in.
  // REQUIRES: the caller keeps a text longer than 4096 bytes alive while it uses the result.
  struct Cached {
    std::string copy;
    std::string_view text;
    std::vector<KELToken> tokens;
  };
  static std::shared_ptr<const Cached> TokenizeCached(std::string_view pText);
};

}  // namespace rykel
