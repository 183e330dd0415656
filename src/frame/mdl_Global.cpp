#include "frame/mdl_Global.h"

#include <unistd.h>

#include <filesystem>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "frame/mdl_Confine.h"

namespace rykel {

namespace mdl_Global {

void Main() {}

void VARSET(Variant& rTarget, const Variant& pValue) { rTarget = pValue; }

bool hIsDate(std::string_view pText) {
  size_t n = text::Len(pText);
  bool shaped = false;
  if (n == 19) {
    shaped = pText.size() == 19 && pText[4] == '-' && pText[7] == '-' && pText[10] == ' ' && pText[13] == ':' &&
             pText[16] == ':';
  } else if (n == 10) {
    shaped = pText.size() == 10 && pText[4] == '-' && pText[7] == '-';
  }
  double d;
  return shaped && date::Parse(pText, d);
}

bool hCBool(const Variant& pValue) {
  return Guard("mdl_Global", "hCBool", [&] {
    if (pValue.isBool()) return pValue.rawBool();
    if (!pValue.isString()) {
      double d;
      if (NumericValue(pValue, d)) return d != 0;
      if (pValue.isEmpty()) return false;
      return CDbl(pValue) != 0;
    }
    std::string u = text::UCase(pValue.str());
    for (const char* f : {"FALSE", "FALSCH", "NO", "", "F", "N", "0", " "})
      if (u == f) return false;
    return true;
  });
}

}  // namespace mdl_Global

namespace mdl_FileTools {

bool FILEEXISTS(std::string_view pPath) {
  if (const auto* roots = mdl_Confine::ACTIVE()) {
    // Confined, an outside file must look as missing as one that is not there.
    int fd = mdl_Confine::OPEN(std::string(pPath), roots);
    if (fd < 0) return false;
    ::close(fd);
    return true;
  }
  std::error_code ec;
  auto st = std::filesystem::status(std::filesystem::path(pPath), ec);
  return !ec && std::filesystem::exists(st) && !std::filesystem::is_directory(st);
}

}  // namespace mdl_FileTools

}  // namespace rykel
