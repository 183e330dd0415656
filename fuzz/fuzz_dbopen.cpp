// Fuzzes DBOPEN of both database file forms. The input is written to a temporary file; bit 0 of
// the first byte picks the binary form (".RY-DBB") or the structure form, and an input holding
// "\n--header--\n" gives the text after it as the header file. Any file must open or fail with
// false; an opened database must go through its one-string form and read back with as many
// entries.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "FuzzCommon.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  rykel::fuzz::Quiet();
  if (size == 0) return 0;
  const bool binary = data[0] & 1;
  std::string_view body(reinterpret_cast<const char*>(data) + 1, size - 1), header;
  constexpr std::string_view kMark = "\n--header--\n";
  if (size_t at = body.find(kMark); at != std::string_view::npos) {
    header = body.substr(at + kMark.size());
    body = body.substr(0, at);
  }
  static const std::string folder = rykel::fuzz::ScratchFolder("db");
  const std::string dbFile = folder + (binary ? "/fuzz.RY-DBB" : "/fuzz.db");
  const std::string headerFile = header.empty() ? std::string() : folder + "/info.header";
  rykel::fuzz::PutFile(dbFile, body);
  if (!headerFile.empty()) rykel::fuzz::PutFile(headerFile, header);
  auto db = std::make_shared<rykel::cls_DB>();
  if (!db->DBOPENREADONLY(dbFile, headerFile, false)) return 0;
  const std::string text = db->SERIALIZE();
  auto again = std::make_shared<rykel::cls_DB>();
  if (!again->UNSERIALIZE(text)) std::abort();
  if (again->ENTRYCOUNT() != db->ENTRYCOUNT()) std::abort();
  db->DBCLOSE();
  return 0;
}
