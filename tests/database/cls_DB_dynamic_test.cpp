#include <gtest/gtest.h>

#include "database/cls_DB.h"
#include "frame/Convert.h"

namespace rykel {

TEST(DBDynamicFields, RenderedFromTheEntryAndKeptInStep) {
  auto db = std::make_shared<cls_DB>();
  db->FIELDCREATE("FIRST", ID_DBFieldType_String);
  db->FIELDCREATE("LAST", ID_DBFieldType_String);
  auto full = db->FIELDCREATE("FULL", ID_DBFieldType_String);
  full->DYNAMIC = true;
  full->CODE = "{VAR:ENTRY.LAST}, {VAR:ENTRY.FIRST}";
  Variant id = db->ENTRYFREEID();
  db->ENTRYADD(id);
  db->ENTRYFIELD_LET(id, "FIRST", "Anna");
  db->ENTRYFIELD_LET(id, "LAST", "Schulze");
  EXPECT_EQ(CStr(db->ENTRYFIELD_GET(id, "FULL")), "Schulze, Anna");
  db->ENTRYFIELD_LET(id, "LAST", "Meier");  // every change renders again
  EXPECT_EQ(CStr(db->ENTRYFIELD_GET(id, "FULL")), "Meier, Anna");
}

}  // namespace rykel
