// cls_KELErrorList: builds the two forms of an error (the HTML line and the error text) and collects
// the lines in ERRORLIST, with the place of each error in ERRORPLACES. Only collects: deciding what
// an error is belongs to the callers.
#pragma once

#include <string>
#include <string_view>

#include "structure/cls_Structure.h"

namespace rykel {

class cls_KELErrorList {
 public:
  cls_KELErrorList(StructurePtr pList, StructurePtr pPlaces, StructurePtr pTrace)
      : list_(std::move(pList)), places_(std::move(pPlaces)), trace_(std::move(pTrace)) {}

  struct Built {
    std::string html;  // "<b>title</b>[: detail<br/>[<hr><ul><li>trace</li>...</ul>]]"
    std::string text;  // "---title[: detail]---" (without "ERR:")
  };
  // The detail has "{" "}" turned into "(" ")" and is cut after 100 characters with " (...)".
  Built Build(std::string_view pTitle, std::string_view pDetail) const;
  // Adds the line and its place; a failing list operation leaves the list as it was.
  // pMessage is the plain form ("title: detail") kept with the place.
  void Add(const std::string& pHtml, const std::string& pMessage, const std::string& pFile, int32_t pLine,
           int32_t pColumn);

  // Line and column (1-based) of a byte offset in a text; columns count characters.
  static void LineColumn(std::string_view pText, size_t pOffset, int32_t& rLine, int32_t& rColumn);

 private:
  StructurePtr list_, places_, trace_;
};

}  // namespace rykel
