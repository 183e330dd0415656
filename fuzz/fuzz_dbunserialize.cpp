// Fuzzes UNSERIALIZE of the database one-string form: any text is read or refused with false;
// what was read must write and read back to the same fields and entries.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "FuzzCommon.h"

namespace {
// The entries and field ids of a database in a comparable text (the one-string form itself uses
// a random separator).
std::string Content(rykel::cls_DB& db) {
  std::string out = std::to_string(db.FIELDS()) + ":";
  for (int32_t i = 1; i <= db.FIELDS(); ++i) out += db.FIELD(i)->ID + ",";
  out += db.ENTRYSTRUCTURE_GET()->SERIALIZE();
  return out;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  rykel::fuzz::Quiet();
  const std::string text(reinterpret_cast<const char*>(data), size);
  auto db = std::make_shared<rykel::cls_DB>();
  bool ok;
  try {
    ok = db->UNSERIALIZE(text);
  } catch (const rykel::Error&) {
    return 0;  // the error convention: refused with an error
  }
  if (!ok) return 0;
  std::string once;
  try {
    once = Content(*db);
  } catch (const rykel::Error&) {
    return 0;  // e.g. nested deeper than the serialized form allows
  }
  auto again = std::make_shared<rykel::cls_DB>();
  if (!again->UNSERIALIZE(db->SERIALIZE())) std::abort();
  if (Content(*again) != once) std::abort();
  return 0;
}
