#include "interpreter/cls_KELErrorList.h"

#include <algorithm>

#include "frame/Convert.h"
#include "frame/Text.h"

namespace rykel {

cls_KELErrorList::Built cls_KELErrorList::Build(std::string_view pTitle, std::string_view pDetail) const {
  Built b;
  b.html = "<b>" + std::string(pTitle) + "</b>";
  if (pDetail.empty()) {
    b.text = "---" + std::string(pTitle) + "---";
    return b;
  }
  // Only the part that is kept is copied (a detail may be a whole template).
  std::string detail(text::Left(pDetail, 101));
  std::replace(detail.begin(), detail.end(), '{', '(');
  std::replace(detail.begin(), detail.end(), '}', ')');
  if (text::Len(detail) > 100) detail = std::string(text::Left(detail, 100)) + " (...)";
  b.html += ": " + detail + "<br/>";
  if (trace_ && trace_->COUNT() > 0) {
    bool first = true;
    for (int32_t i = trace_->BASE(); i <= trace_->MAX(); ++i) {
      if (!trace_->EXISTS_GET(i)) continue;
      b.html += first ? "<hr><ul><li>" : "</li><li>";
      b.html += CStr(trace_->ITEM_GET(i));
      first = false;
    }
    if (!first) b.html += "</li></ul>";
  }
  b.text = "---" + std::string(pTitle) + ": " + detail + "---";
  return b;
}

void cls_KELErrorList::Add(const std::string& pHtml, const std::string& pMessage, const std::string& pFile,
                           int32_t pLine, int32_t pColumn) {
  try {
    auto place = cls_Structure::New();
    place->ITEM_LET("FILE", pFile);
    place->ITEM_LET("LINE", pLine);
    place->ITEM_LET("COLUMN", pColumn);
    place->ITEM_LET("MESSAGE", pMessage);
    list_->ADD(pHtml);
    places_->ADD(Variant(place));
  } catch (...) {}
}

void cls_KELErrorList::LineColumn(std::string_view pText, size_t pOffset, int32_t& rLine, int32_t& rColumn) {
  pOffset = std::min(pOffset, pText.size());
  std::string_view before = pText.substr(0, pOffset);
  rLine = 1 + static_cast<int32_t>(std::count(before.begin(), before.end(), '\n'));
  size_t nl = before.rfind('\n');
  std::string_view lineText = nl == std::string_view::npos ? before : before.substr(nl + 1);
  rColumn = 1 + static_cast<int32_t>(text::Len(lineText));
}

}  // namespace rykel
