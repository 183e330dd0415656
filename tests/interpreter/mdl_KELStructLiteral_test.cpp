#include <gtest/gtest.h>

#include "frame/Convert.h"
#include "host/sys_Global.h"
#include "structure/cls_StructureTools.h"

namespace rykel {

TEST(StructLiteral, CreateOfAPlainValueUsesTheStructCommand) {
  auto s = sys_Global::STRUCT_GET()->CREATE({Variant("NAME=\"Anna Schulze\" CITY=Köln AGE=34")});
  EXPECT_EQ(CStr(s->ITEM_GET("NAME")), "Anna Schulze");
  EXPECT_EQ(CStr(s->ITEM_GET("CITY")), "Köln");
  EXPECT_EQ(CLng(s->ITEM_GET("AGE")), 34);
  EXPECT_FALSE(s->EXISTS_GET("ERROR"));
}

}  // namespace rykel
