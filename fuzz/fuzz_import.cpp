// Fuzzes the import of CSV, TSV, JSON and JSONL files. The first byte picks the format (bits 0-1),
// whether columns without a field get one (bit 2), whether bad rows are left out (bit 3) and the
// Windows-1252 reading (bit 4, CSV and TSV only); the rest is the file. An import either succeeds
// or raises rykel::Error, and one that raises leaves the database as it was: no entry, no field.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "FuzzCommon.h"
#include "tools/mdl_DBImport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  rykel::fuzz::Quiet();
  if (size == 0) return 0;
  static const std::string folder = rykel::fuzz::ScratchFolder("import");
  static const char* const kFormats[] = {"csv", "tsv", "json", "jsonl"};
  const std::string file = folder + "/rows.txt";
  rykel::fuzz::PutFile(file, std::string_view(reinterpret_cast<const char*>(data) + 1, size - 1));
  rykel::mdl_DBImport::Options o;
  o.format = kFormats[data[0] & 3];
  o.create = data[0] & 4;
  o.skipBad = data[0] & 8;
  if ((data[0] & 16) && (data[0] & 3) < 2) o.encoding = "cp1252";
  auto db = rykel::fuzz::People();
  const int32_t entries = db->ENTRYCOUNT(), fields = db->FIELDS();
  try {
    auto r = rykel::mdl_DBImport::Import(*db, file, o);
    if (db->ENTRYCOUNT() != entries + r.imported) std::abort();
  } catch (const rykel::Error&) {
    if (db->ENTRYCOUNT() != entries || db->FIELDS() != fields) std::abort();  // all or nothing
  }
  return 0;
}
