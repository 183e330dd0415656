#include "interpreter/cls_KELTokenizer.h"

#include <algorithm>
#include <string>
#include <unordered_map>

#include "frame/mdl_Global.h"
#include "interpreter/TextCache.h"

namespace rykel {

namespace {

bool hIsDigit(char c) { return c >= '0' && c <= '9'; }

// "##:##" or "##:##:##".
bool hIsTimeText(std::string_view s) {
  if (s.size() != 5 && s.size() != 8) return false;
  for (size_t i = 0; i < s.size(); ++i) {
    bool colon = (i % 3) == 2;
    if (colon ? s[i] != ':' : !hIsDigit(s[i])) return false;
  }
  return true;
}

// Index just past the group that opens at i (the bracket pair open/close), quotes respected; npos
// when the text ends before the group does.
size_t hGroupEnd(std::string_view s, size_t i, char open, char close) {
  int depth = 0;
  while (i < s.size()) {
    char c = s[i];
    if (c == '"' || c == '\'') {
      size_t q = s.find(c, i + 1);
      if (q == std::string_view::npos) return std::string_view::npos;
      i = q + 1;
      continue;
    }
    if (c == open) ++depth;
    else if (c == close && --depth == 0) return i + 1;
    ++i;
  }
  return std::string_view::npos;
}

// Splits one word (no separators, quotes or brackets) into word and operator tokens.
void hSplitWord(std::string_view s, size_t start, size_t end, std::vector<KELToken>& out) {
  std::string_view word = s.substr(start, end - start);
  if (mdl_Global::hIsDate(word) || hIsTimeText(word)) {
    out.push_back({enm_KELToken::Word, word, static_cast<uint32_t>(start)});
    return;
  }
  size_t i = start, wordStart = start;
  auto flushWord = [&](size_t upto) {
    if (upto > wordStart)
      out.push_back({enm_KELToken::Word, s.substr(wordStart, upto - wordStart), static_cast<uint32_t>(wordStart)});
  };
  while (i < end) {
    char c = s[i];
    if (!cls_KELTokenizer::IsOperatorChar(c)) {
      ++i;
      continue;
    }
    // A sign that starts the word.
    if (i == start && (c == '-' || c == '+') && i + 1 < end && hIsDigit(s[i + 1])) {
      ++i;
      continue;
    }
    // "NAME:REST" keeps its colon.
    if (c == ':' && i > wordStart && i + 1 < end && !cls_KELTokenizer::IsOperatorChar(s[i + 1])) {
      ++i;
      continue;
    }
    flushWord(i);
    size_t j = i;
    while (j < end && cls_KELTokenizer::IsOperatorChar(s[j])) ++j;
    out.push_back({enm_KELToken::Operator, s.substr(i, j - i), static_cast<uint32_t>(i)});
    i = wordStart = j;
    // "NAME=2024-01-05": a date or time after the operator stays whole.
    std::string_view restWord = s.substr(j, end - j);
    if (mdl_Global::hIsDate(restWord) || hIsTimeText(restWord)) {
      out.push_back({enm_KELToken::Word, restWord, static_cast<uint32_t>(j)});
      return;
    }
  }
  flushWord(end);
}

}  // namespace

std::vector<KELToken> cls_KELTokenizer::Tokenize(std::string_view s) {
  std::vector<KELToken> out;
  size_t i = 0;
  while (i < s.size()) {
    char c = s[i];
    if (IsSeparator(c)) {
      ++i;
      continue;
    }
    size_t end;
    enm_KELToken kind;
    if (c == '"' || c == '\'') {
      size_t q = s.find(c, i + 1);
      end = q == std::string_view::npos ? s.size() : q + 1;
      kind = enm_KELToken::Quoted;
    } else if (c == '{') {
      end = std::min(hGroupEnd(s, i, '{', '}'), s.size());
      kind = enm_KELToken::Braces;
    } else if (c == '(') {
      end = std::min(hGroupEnd(s, i, '(', ')'), s.size());
      kind = enm_KELToken::Parens;
    } else {
      end = i;
      while (end < s.size()) {
        char d = s[end];
        if (IsSeparator(d) || d == '"' || d == '\'' || d == '{' || d == '(') break;
        ++end;
      }
      hSplitWord(s, i, end, out);
      i = end;
      continue;
    }
    out.push_back({kind, s.substr(i, end - i), static_cast<uint32_t>(i)});
    i = end;
  }
  return out;
}

bool cls_KELTokenizer::IsClosed(const KELToken& pToken) {
  std::string_view t = pToken.text;
  switch (pToken.kind) {
    case enm_KELToken::Quoted: return t.size() >= 2 && t.back() == t.front();
    case enm_KELToken::Braces: return hGroupEnd(t, 0, '{', '}') == t.size();
    case enm_KELToken::Parens: return hGroupEnd(t, 0, '(', ')') == t.size();
    default: return true;
  }
}

std::shared_ptr<const cls_KELTokenizer::Cached> cls_KELTokenizer::TokenizeCached(std::string_view pText) {
  thread_local TextCache<std::shared_ptr<const Cached>> cache(4096);
  constexpr size_t kLongest = 4096;
  if (auto found = cache.Find(pText)) return *found;
  auto c = std::make_shared<Cached>();
  if (pText.size() <= kLongest) {
    c->copy = pText;
    c->text = c->copy;
  } else {
    c->text = pText;
  }
  c->tokens = Tokenize(c->text);
  if (pText.size() <= kLongest) cache.Put(pText, c);  // long texts are not kept
  return c;
}

}  // namespace rykel
