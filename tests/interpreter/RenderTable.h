// Rows of "template -> output", each run through PROCESS on a fresh interpreter (no data, the
// default modules). A row's output holds error text exactly when the error list has an entry,
// so an error swallowed on the way to the output is caught, and so is one never listed.
#pragma once

#include <gtest/gtest.h>

#include "frame/Convert.h"
#include "interpreter/cls_KEL.h"

#include "../CaseTable.h"

namespace rykel {

// The template, which names the row, and its output.
using RenderRow = Case<const char*>;

// "MESSAGE @ FILE:LINE:COLUMN" of the last listed error; "none" when nothing is listed.
inline std::string LastPlace(cls_KEL& k) {
  auto p = k.ERRORPLACES->ITEM_GET(k.ERRORPLACES->MAX()).as<cls_Structure>();
  if (!p) return "none";
  return CStr(p->ITEM_GET("MESSAGE")) + " @ " + CStr(p->ITEM_GET("FILE")) + ":" + CStr(p->ITEM_GET("LINE")) + ":" +
         CStr(p->ITEM_GET("COLUMN"));
}

template <size_t N>
void CheckRenderRows(const RenderRow (&pRows)[N], std::source_location pWhere = std::source_location::current()) {
  ForEachRow(
      pRows,
      [](const RenderRow& r) {
        cls_KEL k;
        EXPECT_EQ(k.PROCESS(r.name, nullptr), r.want);
        const bool failed = std::string_view(r.want).find("ERR:---") != std::string_view::npos;
        EXPECT_EQ(k.ERRORLIST->COUNT() > 0, failed) << "errors listed: " << k.ERRORLIST->COUNT();
      },
      pWhere);
}

}  // namespace rykel
