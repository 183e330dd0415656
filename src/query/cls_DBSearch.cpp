#include "query/cls_DBSearch.h"

#include "frame/Error.h"
#include "frame/Text.h"

namespace rykel {

void cls_DBSearch::READ(std::string_view pSearch) {
  hTokenize(text::UCase(pSearch));
  pos_ = 0;
  root_ = hSearch(0);
}

// Splits the upper-cased search into words, phrases, "|", "(", ")" and the "-" of an item.
void cls_DBSearch::hTokenize(std::string_view s) {
  tokens_.clear();
  size_t i = 0;
  while (i < s.size()) {
    char c = s[i];
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
      ++i;
      continue;
    }
    Token t;
    if (c == '|') {
      t.type = Token::Type::Bar;
      ++i;
    } else if (c == '(') {
      t.type = Token::Type::Open;
      ++i;
    } else if (c == ')') {
      t.type = Token::Type::Close;
      ++i;
    } else if (c == '-' && i + 1 < s.size() && s[i + 1] != ' ') {
      t.type = Token::Type::Minus;
      ++i;
    } else {
      t.type = Token::Type::Word;
      if (c == '^') {
        t.anchored = true;
        ++i;
      }
      if (i < s.size() && s[i] == '"') {
        size_t close = s.find('"', i + 1);
        if (close == std::string_view::npos) close = s.size();
        t.text = std::string(s.substr(i + 1, close - i - 1));
        i = close < s.size() ? close + 1 : close;
      } else {
        size_t end = i;
        while (end < s.size() && s[end] != ' ' && s[end] != '\t' && s[end] != '"' && s[end] != '(' && s[end] != ')' &&
               s[end] != '|')
          ++end;
        t.text = std::string(s.substr(i, end - i));
        i = end;
        if (!t.anchored && (t.text == "OR" || t.text == "ODER")) t.type = Token::Type::Bar;
      }
      if (t.type == Token::Type::Word && t.text.empty()) continue;
    }
    tokens_.push_back(std::move(t));
  }
  tokens_.push_back(Token{});
}

// search -> alternative { "|" alternative }
cls_DBSearch::Node cls_DBSearch::hSearch(int pDepth) {
  if (pDepth > kMaxDepth) Raise(err::kInvalidCall, "search groups nested deeper than " + std::to_string(kMaxDepth));
  Node n;
  n.type = Node::Type::Or;
  for (;;) {
    Node alt = hAlternative(pDepth);
    if (!alt.kids.empty()) n.kids.push_back(std::move(alt));
    if (tokens_[pos_].type != Token::Type::Bar) break;
    ++pos_;
  }
  return n;
}

// alternative -> { item }
cls_DBSearch::Node cls_DBSearch::hAlternative(int pDepth) {
  Node n;
  n.type = Node::Type::And;
  Node item;
  while (hItem(pDepth, item)) {
    n.kids.push_back(std::move(item));
    item = Node{};
  }
  return n;
}

// item -> "-" item | "(" search ")" | term
bool cls_DBSearch::hItem(int pDepth, Node& rOut) {
  // A ")" without its "(" is skipped at the top level; inside a group it ends the group.
  if (pDepth == 0)
    while (tokens_[pos_].type == Token::Type::Close) ++pos_;
  const Token& t = tokens_[pos_];
  switch (t.type) {
    case Token::Type::Minus: {
      ++pos_;
      Node inner;
      if (!hItem(pDepth, inner)) return false;
      rOut.type = Node::Type::Not;
      rOut.kids.push_back(std::move(inner));
      return true;
    }
    case Token::Type::Open: {
      ++pos_;
      rOut = hSearch(pDepth + 1);
      if (tokens_[pos_].type == Token::Type::Close) ++pos_;  // a missing ")" closes at the end
      return true;
    }
    case Token::Type::Word:
      rOut.type = Node::Type::Term;
      rOut.term = t.text;
      rOut.anchored = t.anchored;
      ++pos_;
      return true;
    default: return false;
  }
}

bool cls_DBSearch::hMatch(const Node& n, const std::vector<std::string_view>& pTexts) {
  switch (n.type) {
    case Node::Type::Or:
      if (n.kids.empty()) return true;
      for (const auto& k : n.kids)
        if (hMatch(k, pTexts)) return true;
      return false;
    case Node::Type::And:
      for (const auto& k : n.kids)
        if (!hMatch(k, pTexts)) return false;
      return true;
    case Node::Type::Not: return !hMatch(n.kids.front(), pTexts);
    case Node::Type::Term:
      for (std::string_view t : pTexts)
        if (n.anchored ? t.starts_with(n.term) : t.find(n.term) != std::string_view::npos) return true;
      return false;
  }
  return false;
}

bool cls_DBSearch::TEST(const std::vector<std::string_view>& pTexts) const { return hMatch(root_, pTexts); }

void cls_DBSearch::hDescribe(const Node& n, std::string& rOut) {
  switch (n.type) {
    case Node::Type::Term:
      if (n.anchored) rOut += '^';
      rOut += n.term.find(' ') != std::string::npos ? "\"" + n.term + "\"" : n.term;
      return;
    case Node::Type::Not: rOut += "(NOT "; break;
    case Node::Type::And: rOut += "(AND"; break;
    case Node::Type::Or: rOut += "(OR"; break;
  }
  for (size_t i = 0; i < n.kids.size(); ++i) {
    if (n.type != Node::Type::Not || i) rOut += ' ';
    hDescribe(n.kids[i], rOut);
  }
  rOut += ')';
}

std::string cls_DBSearch::DESCRIBE() const {
  std::string out;
  hDescribe(root_, out);
  return out;
}

}  // namespace rykel
