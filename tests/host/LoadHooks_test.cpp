// The hooks the host layer installs when the library loads: the lower layers work without them
// (with less), and work fully with them.
#include <gtest/gtest.h>

#include "database/cls_DB.h"
#include "frame/Convert.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModules.h"

namespace rykel {

TEST(LoadHooks, DefaultModulesAndDynamicFieldsComeFromTheHostLayer) {
  const auto modules = cls_KEL::hDefaultModules();
  const auto dynamic = cls_DB::hDynamicFields();
  ASSERT_NE(modules, nullptr);
  ASSERT_NE(dynamic, nullptr);

  auto db = std::make_shared<cls_DB>();
  db->FIELDCREATE("NAME", ID_DBFieldType_String);
  auto upper = db->FIELDCREATE("UPPER", ID_DBFieldType_String);
  upper->DYNAMIC = true;
  upper->CODE = "<{VAR:ENTRY.NAME}>";
  Variant id = db->ENTRYFREEID();
  db->ENTRYADD(id);

  {  // Installed: a new interpreter knows IO, STRUCT and TEXT; the database renders with its own.
    cls_KEL k;
    EXPECT_EQ(k.MODULES->COUNT(), 3);
    EXPECT_EQ(k.PROCESS("{IO:TELNORM \"0o1 2\"}"), "001-2");
    db->ENTRYFIELD_LET(id, "NAME", "anna");
    EXPECT_EQ(CStr(db->ENTRYFIELD_GET(id, "UPPER")), "<anna>");
    EXPECT_TRUE(db->KEL_GET());
  }

  cls_KEL::SetDefaultModules(nullptr);
  cls_DB::SetDynamicFields(nullptr);
  {  // Without: an empty registry, and dynamic values stay as stored.
    cls_KEL k;
    EXPECT_EQ(k.MODULES->COUNT(), 0);
    db->ENTRYFIELD_LET(id, "NAME", "berta");
    EXPECT_EQ(CStr(db->ENTRYFIELD_GET(id, "UPPER")), "<anna>");
  }
  cls_KEL::SetDefaultModules(modules);
  cls_DB::SetDynamicFields(dynamic);
  db->ENTRYFIELD_LET(id, "NAME", "carla");
  EXPECT_EQ(CStr(db->ENTRYFIELD_GET(id, "UPPER")), "<carla>");
}

}  // namespace rykel
