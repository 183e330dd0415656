#include "tools/cls_DBTool.h"

#include <utility>

#include "frame/Error.h"
#include "frame/Text.h"

namespace rykel {

namespace {
constexpr const char* kClass = "cls_DBTool";
}

int cls_DBTool::SORTDECODE(std::string_view pType) {
  return Guard(kClass, "SORTDECODE", [&] {
    static const std::pair<const char*, int> kWords[] = {
        {"INT", 0},       {"INTEGER", 0},   {"LONG", 0},          {"STRING", 1},
        {"CURRENCY", 1},  {"DATE", 2},      {"BOOL", 3},          {"BOOLEAN", 3},
        {"STRUCT", 4},    {"STRUCTURE", 4}, {"ENUM", 5},          {"ENUMNUMERIC", 6},
        {"DOUBLE", 7},    {"FLOAT", 7},     {"SINGLE", 7},        {"NUMERIC", 7},
        {"REFERENCE", 8}, {"REFERENCENUMERIC", 9}, {"ENUMMULTI", 10},
    };
    std::string u = text::UCase(pType);
    for (const auto& [word, code] : kWords)
      if (u == word) return code;
    return 1;
  });
}

std::string cls_DBTool::IDGENERATE(std::string_view pText) {
  return Guard(kClass, "IDGENERATE", [&] {
    std::string u = text::UCase(text::Trim(pText));
    std::string out;
    for (size_t i = 0; i < u.size();) {
      unsigned char c = static_cast<unsigned char>(u[i]);
      if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z')) {
        out += static_cast<char>(c);
        ++i;
        continue;
      }
      std::string_view rest(u.data() + i, u.size() - i);
      if (rest.starts_with("Ä")) out += "AE";
      else if (rest.starts_with("Ö")) out += "OE";
      else if (rest.starts_with("Ü")) out += "UE";
      else if (rest.starts_with("ß")) out += "SS";
      i += text::ByteOffset(rest, 1);
    }
    return std::string(text::Left(out, 12));
  });
}

}  // namespace rykel
