// A bounded map from a text to what was worked out from it, for work that depends on the text
// alone (tokens, parameter kinds, command spans). Callers keep one per thread. When full it is
// cleared whole: simple, and a template's working set fills it again at once.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace rykel {

template <class V>
class TextCache {
 public:
  explicit TextCache(size_t pLimit) : limit_(pLimit) {}
  // The value kept for the text, or nullptr. Valid until the next Put.
  const V* Find(std::string_view pText) const {
    auto it = map_.find(pText);
    return it == map_.end() ? nullptr : &it->second;
  }
  const V& Put(std::string_view pText, V pValue) {
    if (map_.size() >= limit_) map_.clear();
    return map_.insert_or_assign(std::string(pText), std::move(pValue)).first->second;
  }

 private:
  struct Hash {
    using is_transparent = void;
    size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
  };
  std::unordered_map<std::string, V, Hash, std::equal_to<>> map_;
  size_t limit_;
};

}  // namespace rykel
