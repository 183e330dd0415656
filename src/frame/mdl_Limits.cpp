#include "frame/mdl_Limits.h"

#include <algorithm>
#include <array>

#include "frame/Error.h"
#include "frame/Text.h"

namespace rykel {
namespace mdl_Limits {

namespace {

struct Definition {
  const char* name;
  int64_t byDefault;
  int64_t cap;
};

constexpr std::array<Definition, kLimitCount> kDefinitions{{
    {"STRUCTURE.DEPTH.MAX", 1000, 5000},
    {"SERIALIZED.DEPTH.MAX", 100, 5000},
    {"INPUT.SIZE.MAX", int64_t{1} << 30, int64_t{1} << 40},
    {"IMPORT.LINE.MAX", int64_t{1} << 24, int64_t{1} << 40},
}};

std::array<std::atomic<int64_t>, kLimitCount>& hValues() {
  static std::array<std::atomic<int64_t>, kLimitCount> values;
  static const bool filled = [] {
    for (size_t i = 0; i < values.size(); ++i) values[i].store(kDefinitions[i].byDefault);
    return true;
  }();
  (void)filled;
  return values;
}

Limit hFind(std::string_view pName) {
  const std::string upper = text::UCase(text::Trim(pName));
  for (size_t i = 0; i < kDefinitions.size(); ++i)
    if (upper == kDefinitions[i].name) return static_cast<Limit>(i);
  Raise(err::kInvalidCall, "Unknown limit '" + std::string(pName) + "'");
}

}  // namespace

int64_t Get(Limit pLimit) { return hValues()[pLimit].load(std::memory_order_relaxed); }

int64_t LIMIT_GET(std::string_view pName) { return Get(hFind(pName)); }

void LIMIT_LET(std::string_view pName, int64_t pValue) {
  const Limit l = hFind(pName);
  if (pValue < 1 || pValue > kDefinitions[l].cap)
    Raise(err::kInvalidCall, std::string(kDefinitions[l].name) + " must be from 1 to " +
                                 std::to_string(kDefinitions[l].cap) + ", not " + std::to_string(pValue));
  hValues()[l].store(pValue, std::memory_order_relaxed);
}

std::vector<std::string> LIMITS() {
  std::vector<std::string> names;
  for (const auto& d : kDefinitions) names.emplace_back(d.name);
  return names;
}

void RESET() {
  for (size_t i = 0; i < kDefinitions.size(); ++i) hValues()[i].store(kDefinitions[i].byDefault);
}

void CheckInputSize(uint64_t pSize, std::string_view pWhat) {
  const int64_t max = Get(kInputSize);
  if (pSize > static_cast<uint64_t>(max))
    Raise(err::kInvalidData, std::string(pWhat) + " is larger than INPUT.SIZE.MAX (" + std::to_string(max) + " bytes)");
}

int64_t UnusedSlotBudget(uint64_t pBytes) {
  return (int64_t{1} << 20) + 16 * static_cast<int64_t>(std::min<uint64_t>(pBytes, uint64_t{1} << 40));
}

std::string DepthMessage(std::string_view pWhat, Limit pLimit) {
  return std::string(pWhat) + " nested deeper than " + std::to_string(Get(pLimit)) + " levels";
}

}  // namespace mdl_Limits
}  // namespace rykel
