// Fuzzes item writes on one big structure: names written, written again into chosen slots (two
// slots of one name), removed, renamed and cut off by shrinking, the base moved, by kept keys
// (which remember their atoms) and by fresh ones. After every step each name of a small pool must
// be found where a scan of the slots finds it: the node's name index and the kept keys agree with
// the slots. Any disagreement aborts; no step may crash or read past the slots.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "FuzzCommon.h"
#include "frame/Convert.h"

namespace {

using rykel::Variant;

constexpr int kPool = 12;

// The first used slot named pName, by walking the slots one by one.
int32_t ScanFor(rykel::cls_Structure& s, const std::string& pName, const Variant& pUnused) {
  for (int32_t i = s.BASE(); i <= s.MAX(); ++i)
    if (!s.ITEM_GET(i, pUnused).isObject() && s.ID_GET(i) == pName) return i;
  return -1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  rykel::fuzz::Quiet();
  static const std::vector<std::string> names = [] {
    std::vector<std::string> v;
    for (int i = 0; i < kPool; ++i) v.push_back("N" + std::to_string(i));
    return v;
  }();
  static const std::vector<Variant> kept(names.begin(), names.end());
  // an unused slot reads as this default: an object, which no step writes
  const Variant unused(rykel::cls_Structure::New());
  auto s = rykel::cls_Structure::New();
  for (int i = 1; i <= 40; ++i) s->ITEM_LET("P" + std::to_string(i), i);  // big enough to be indexed
  size_t at = 0;
  auto next = [&] { return at < size ? data[at++] : 0; };
  for (int steps = 0; at < size && steps < 256; ++steps) {
    const uint8_t op = next(), arg = next();
    const int k = arg % kPool;
    const Variant fresh(names[k]);
    const Variant& key = (arg & 0x80) ? kept[k] : fresh;
    try {
      switch (op % 7) {
        case 0: s->ITEM_LET(key, static_cast<int>(next())); break;
        case 1: s->ITEMDIRECT_LET(1 + next() % 80, names[k], static_cast<int>(next())); break;
        case 2: s->REMOVE(key); break;
        case 3: s->RESIZE(next() % 90); break;
        case 4:
          if (s->MAX() >= 1) s->ID_LET(1 + next() % s->MAX(), names[k]);
          break;
        case 5: s->HASZERO_LET((next() & 1) != 0); break;
        default: s->ITEMDIRECT_LET(0, names[k], static_cast<int>(next())); break;
      }
    } catch (const rykel::Error&) {
      // a refused step changes nothing the checks below rely on
    }
    for (int n = 0; n < kPool; ++n) {
      const int32_t want = ScanFor(*s, names[n], unused);
      if (s->ITEMINDEX_GET(kept[n]) != want || s->ITEMINDEX_GET(Variant(names[n])) != want) std::abort();
      const Variant byKept = s->ITEM_GET(kept[n], unused);
      const Variant bySlot = want < 0 ? unused : s->ITEM_GET(want, unused);
      if (byKept.isObject() != bySlot.isObject() || (!byKept.isObject() && rykel::CLng(byKept) != rykel::CLng(bySlot)))
        std::abort();
    }
  }
  return 0;
}
