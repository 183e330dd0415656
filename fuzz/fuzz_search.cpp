// Fuzzes the free-text search of ENTRYSEARCH: any text gives ids (a subsequence of the entries,
// without doubles) or error 5 for groups nested too deep.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "FuzzCommon.h"
#include "frame/Convert.h"
#include "query/cls_DBSearch.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  rykel::fuzz::Quiet();
  static const auto db = rykel::fuzz::People();
  const std::string text(reinterpret_cast<const char*>(data), size);
  rykel::cls_DB::IdList ids;
  try {
    ids = db->ENTRYSEARCH(text);
  } catch (const rykel::Error& e) {
    if (e.number != 5) std::abort();
    return 0;
  }
  const auto all = db->ENTRYALL_IDS();
  size_t at = 0;
  for (const auto& id : ids) {
    while (at < all.size() && rykel::CStr(all[at]) != rykel::CStr(id)) ++at;
    if (at == all.size()) std::abort();
    ++at;
  }
  rykel::cls_DBSearch s;
  s.READ(text);
  (void)s.DESCRIBE();
  return 0;
}
