// Fuzzes the condition reader behind ENTRYQUERY, the filters and cls_DBTool.FILTER. The input is
// "operator\nvalue" (no line break: the whole input is the value); the first byte picks the
// field. Every answer must be a subsequence of the searched ids, without doubles.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>

#include "FuzzCommon.h"
#include "frame/Convert.h"
#include "query/cls_DBCondition.h"
#include "tools/cls_DBTool.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  rykel::fuzz::Quiet();
  static const auto db = rykel::fuzz::People();
  static rykel::cls_DBTool tool;
  if (size == 0) return 0;
  const int field = data[0] % 12;  // 0: a field that does not exist
  std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
  std::string_view op, value = rest;
  if (size_t nl = rest.find('\n'); nl != std::string_view::npos) {
    op = rest.substr(0, nl);
    value = rest.substr(nl + 1);
  }
  rykel::Variant v{std::string(value)};
  if (data[0] & 0x80) {
    double d;
    if (rykel::ParseNumber(value, d)) v = rykel::Variant(d);  // the value as a number
  }
  const rykel::Variant fieldKey = field == 0 ? rykel::Variant("NOSUCH") : rykel::Variant(field);
  const auto all = db->ENTRYALL_IDS();
  const auto ids = db->ENTRYQUERY(fieldKey, std::string(op), v);
  size_t at = 0;
  for (const auto& id : ids) {
    while (at < all.size() && rykel::CStr(all[at]) != rykel::CStr(id)) ++at;
    if (at == all.size()) std::abort();  // not in the list, out of order or doubled
    ++at;
  }
  // the same reader on lone values, in every comparison type
  const std::string condition = std::string(op) + (op.empty() ? "" : " ") + std::string(value);
  (void)tool.FILTER(rykel::Variant("Meier"), condition);
  (void)tool.FILTER(rykel::Variant(40), condition);
  rykel::cls_DBCondition c;
  c.READ(op, v);
  for (int32_t type = 0; type <= 10; ++type) {
    rykel::cls_DBCondition t = c;
    t.PREPARE(type);
    (void)t.TEST(rykel::Variant(""));
    (void)t.TEST(rykel::Variant(-7.25));
    (void)t.TEST(rykel::Variant("2024-02-29 12:00:00"));
  }
  return 0;
}
