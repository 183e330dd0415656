#include "interpreter/mdl_KELData.h"

#include <random>

namespace rykel::mdl_KELData {

namespace {

constexpr std::string_view kLead = "\xEE\x80\x80";  // U+E000
constexpr std::string_view kCodes = "{}$";          // code "1", "2", "3"

// A "$" next to "[[" or "]]": script protection would make it part of "{$" or "$}".
bool hProtectedDollar(std::string_view s, size_t i) {
  return (i >= 2 && s[i - 1] == '[' && s[i - 2] == '[') || (i + 2 < s.size() && s[i + 1] == ']' && s[i + 2] == ']');
}

}  // namespace

std::string NewKey() {
  std::random_device rd;
  std::string key(kLead);
  for (int i = 0; i < 10; ++i) key += static_cast<char>('0' + rd() % 10);
  return key;
}

std::string Encode(std::string_view pText, std::string_view pKey) {
  std::string out;
  size_t done = 0;
  for (size_t i = 0; i < pText.size(); ++i) {
    char c = pText[i];
    if (c != '{' && c != '}' && !(c == '$' && hProtectedDollar(pText, i))) continue;
    if (out.empty()) out.reserve(pText.size() + 32);
    out.append(pText.substr(done, i - done)).append(pKey);
    out += static_cast<char>('1' + kCodes.find(c));
    done = i + 1;
  }
  if (done == 0) return std::string(pText);
  out.append(pText.substr(done));
  return out;
}

void Decode(std::string& rText, std::string_view pKey, size_t pFrom) {
  size_t at = rText.find(pKey, pFrom);
  if (at == std::string::npos) return;
  std::string out(rText, 0, at);
  size_t done = at;
  while (at != std::string::npos) {
    size_t code = at + pKey.size();
    char c = code < rText.size() ? rText[code] : 0;
    if (c >= '1' && c < static_cast<char>('1' + kCodes.size())) {
      out.append(rText, done, at - done);
      out += kCodes[static_cast<size_t>(c - '1')];
      done = code + 1;
    }
    at = rText.find(pKey, code);
  }
  out.append(rText, done, std::string::npos);
  rText = std::move(out);
}

}  // namespace rykel::mdl_KELData
