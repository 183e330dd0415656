#include "web/WebExchange.h"

namespace rykel {

namespace {

const std::string* hFirst(const std::vector<std::pair<std::string, std::string>>& pList, const std::string& pName) {
  for (const auto& [name, value] : pList)
    if (name == pName) return &value;
  return nullptr;
}

}  // namespace

const std::string* WebRequest::Param(const std::string& pName) const { return hFirst(params, pName); }

const std::string* WebRequest::Header(const std::string& pName) const { return hFirst(headers, pName); }

}  // namespace rykel
