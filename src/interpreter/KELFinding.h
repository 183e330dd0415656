// KELFinding: one mistake that cls_KEL::CHECK found in a template, with its place.
#pragma once

#include <cstdint>
#include <string>

namespace rykel {

struct KELFinding {
  std::string file;              // the name CHECK was given; "" for none
  int32_t line = 0, column = 0;  // 1-based; the column counts characters, not bytes
  std::string severity;          // "error": the page fails or comes out wrong; "warning": probably a slip
  std::string message;           // plain text, one line

  // "file:line:column: message" ("line:column: message" without a file name).
  std::string Text() const {
    std::string place = std::to_string(line) + ":" + std::to_string(column);
    return (file.empty() ? place : file + ":" + place) + ": " + message;
  }
};

}  // namespace rykel
