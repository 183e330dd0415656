// Random: the component's pseudo-random generator, one per thread.
//
// Algorithm (fixed, so that one seed gives the same sequence on every machine and build):
//   state   four 64-bit words s0..s3, never all zero
//   seeding SplitMix64 run from the 64-bit seed fills s0, s1, s2, s3 in that order:
//             x += 0x9E3779B97F4A7C15; z = x;
//             z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9; z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
//             word = z ^ (z >> 31)
//   step    xoshiro256** (Blackman and Vigna): result = rotl(s1 * 5, 7) * 9, then the state update
//   Rnd     the top 53 bits of one step times 2^-53: a double in [0, 1), every value a multiple of 2^-53
//
// Thread safety: a Random object is not locked; ThreadRandom() gives each thread its own, seeded
// once on first use from the system's entropy source (different on every run). Seed() makes the
// sequence of the calling thread reproducible.
//
//   rykel::ThreadRandom().Seed(42);
//   double r = rykel::ThreadRandom().Rnd();   // same r for seed 42 everywhere
#pragma once

#include <cstdint>

namespace rykel {

class Random {
 public:
  explicit Random(uint64_t pSeed) { Seed(pSeed); }

  // Restarts the sequence: equal seeds give equal sequences.
  void Seed(uint64_t pSeed);

  // The next 64 random bits.
  uint64_t Next() {
    const uint64_t result = hRotl(s_[1] * 5, 7) * 9;
    const uint64_t t = s_[1] << 17;
    s_[2] ^= s_[0];
    s_[3] ^= s_[1];
    s_[1] ^= s_[2];
    s_[0] ^= s_[3];
    s_[2] ^= t;
    s_[3] = hRotl(s_[3], 45);
    return result;
  }

  // A uniform double in [0, 1), as the classic runtime's Rnd.
  double Rnd() { return static_cast<double>(Next() >> 11) * 0x1.0p-53; }

  // A uniform whole number in [0, pCount); 0 when pCount is 0. Unbiased (Lemire's method:
  // multiply-shift, redrawing the few values that would make the low end more likely).
  uint64_t Below(uint64_t pCount) {
    unsigned __int128 m = static_cast<unsigned __int128>(Next()) * pCount;
    if (static_cast<uint64_t>(m) < pCount) [[unlikely]]
      return hBelowSlow(pCount, m);
    return static_cast<uint64_t>(m >> 64);
  }

 private:
  static uint64_t hRotl(uint64_t x, int k) { return (x << k) | (x >> (64 - k)); }
  uint64_t hBelowSlow(uint64_t pCount, unsigned __int128 pFirst);
  uint64_t s_[4];
};

// The calling thread's generator, created and seeded from entropy on first use.
Random& ThreadRandom();

// A seed from the system's entropy source, the clock and the thread, for a fresh unpredictable run.
uint64_t hEntropySeed();

}  // namespace rykel
