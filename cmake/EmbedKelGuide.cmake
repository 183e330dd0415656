# Writes OUT, a C++ source that defines rykel::cli::kKelGuide: the part of IN (docs/KEL.md) between
# the lines "<!-- help kel: begin -->" and "<!-- help kel: end -->". `rykel help kel` prints it, so
# the program and the document show one text.
#   cmake -DIN=docs/KEL.md -DOUT=build/generated/KelGuide.cpp -P cmake/EmbedKelGuide.cmake
set(begin_mark "<!-- help kel: begin -->\n")
set(end_mark "<!-- help kel: end -->")
file(READ "${IN}" doc)
string(FIND "${doc}" "${begin_mark}" from)
string(FIND "${doc}" "${end_mark}" to)
if(from EQUAL -1 OR to EQUAL -1 OR to LESS from)
  message(FATAL_ERROR "${IN}: the lines '<!-- help kel: begin -->' and '<!-- help kel: end -->' are missing")
endif()
string(LENGTH "${begin_mark}" mark_length)
math(EXPR from "${from} + ${mark_length}")
math(EXPR length "${to} - ${from}")
string(SUBSTRING "${doc}" ${from} ${length} guide)
string(FIND "${guide}" ")KELGUIDE\"" clash)
if(NOT clash EQUAL -1)
  message(FATAL_ERROR "${IN}: the guide holds the text ')KELGUIDE\"'")
endif()
file(WRITE "${OUT}" "// Generated from docs/KEL.md by cmake/EmbedKelGuide.cmake: edit the document, not this file.
#include <string_view>

namespace rykel::cli {
extern const std::string_view kKelGuide;
const std::string_view kKelGuide = R\"KELGUIDE(${guide})KELGUIDE\";
}  // namespace rykel::cli
")
