// cls_DBSearch: the free-text search of cls_DB::ENTRYSEARCH, read once and tested per entry.
//
// The search is upper-cased and read as
//   search      -> alternative { "|" alternative }        ("OR" and "ODER" as words are "|" too)
//   alternative -> { item }                                every item must match
//   item        -> "-" item | "(" search ")" | term        "-" : must not match
//   term        -> ["^"] ( '"' phrase '"' | word )         "^" : must begin a value
// A term matches when it occurs in the upper-cased text of one of the entry's values (a phrase
// with its blanks); a "^" term only at the start of a value. Empty alternatives are dropped; an
// empty search matches every entry. Groups nest at most kMaxDepth deep (error 5 beyond).
//
//   cls_DBSearch s;  s.READ("meier | \"bad homburg\" -(berlin)");  s.TEST({"MEIER", "BERLIN"});  // false
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace rykel {

class cls_DBSearch {
 public:
  static constexpr int kMaxDepth = 32;

  // Reads a search text. Raises 5 when groups nest deeper than kMaxDepth.
  void READ(std::string_view pSearch);
  // True when the entry whose values' upper-cased texts are given matches.
  bool TEST(const std::vector<std::string_view>& pTexts) const;
  // The search as read, in a bracketed form for messages and tests:
  // "(OR (AND A (NOT B)) (AND ^C))".
  std::string DESCRIBE() const;

 private:
  struct Node {
    enum class Type : uint8_t { Or, And, Not, Term } type = Type::And;
    std::string term;
    bool anchored = false;
    std::vector<Node> kids;
  };
  struct Token {
    enum class Type : uint8_t { Word, Bar, Open, Close, Minus, End } type = Type::End;
    std::string text;
    bool anchored = false;
  };
  void hTokenize(std::string_view pUpper);
  Node hSearch(int pDepth);
  Node hAlternative(int pDepth);
  bool hItem(int pDepth, Node& rOut);
  static bool hMatch(const Node& pNode, const std::vector<std::string_view>& pTexts);
  static void hDescribe(const Node& pNode, std::string& rOut);

  std::vector<Token> tokens_;
  size_t pos_ = 0;
  Node root_;
};

}  // namespace rykel
