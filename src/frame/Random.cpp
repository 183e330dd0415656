#include "frame/Random.h"

#include <chrono>
#include <functional>
#include <random>
#include <thread>

namespace rykel {

namespace {

uint64_t hSplitMix64(uint64_t& rX) {
  rX += 0x9E3779B97F4A7C15ULL;
  uint64_t z = rX;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
  return z ^ (z >> 31);
}

}  // namespace

void Random::Seed(uint64_t pSeed) {
  uint64_t x = pSeed;
  for (auto& word : s_) word = hSplitMix64(x);
  // SplitMix64 is a bijection of distinct counters, so four zero words cannot occur; keep the
  // guard anyway, since an all-zero state would stay zero for ever.
  if ((s_[0] | s_[1] | s_[2] | s_[3]) == 0) s_[0] = 1;
}

uint64_t Random::hBelowSlow(uint64_t pCount, unsigned __int128 pFirst) {
  if (pCount == 0) return 0;
  const uint64_t threshold = (0 - pCount) % pCount;
  unsigned __int128 m = pFirst;
  while (static_cast<uint64_t>(m) < threshold) m = static_cast<unsigned __int128>(Next()) * pCount;
  return static_cast<uint64_t>(m >> 64);
}

uint64_t hEntropySeed() {
  uint64_t seed = 0;
  try {
    std::random_device device;
    seed = (static_cast<uint64_t>(device()) << 32) ^ device();
  } catch (...) {
    // No entropy source: the clock and the thread id below still differ between runs.
  }
  seed ^= static_cast<uint64_t>(std::chrono::high_resolution_clock::now().time_since_epoch().count());
  seed ^= static_cast<uint64_t>(std::hash<std::thread::id>{}(std::this_thread::get_id())) << 1;
  return seed;
}

Random& ThreadRandom() {
  thread_local Random generator(hEntropySeed());
  return generator;
}

}  // namespace rykel
