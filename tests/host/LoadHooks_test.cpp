// The hooks the host layer installs when the library loads: the lower layers work without them
// (with less), and work fully with them.
#include <gtest/gtest.h>

#include "TestSupport.h"
#include "frame/Convert.h"
#include "host/cls_DB.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModules.h"
#include "modules/mod_KELDB.h"

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

// Databases made below the host layer reach hosts as cls_DB, with their query members: a
// reference field's database, one a template opens through the DB module, a new one.
TEST(LoadHooks, DatabasesMadeBelowTheHostAreFacades) {
  TempDir dir;
  auto towns = std::make_shared<cls_DB>();
  towns->FIELDCREATE("CITY", ID_DBFieldType_String);
  ASSERT_TRUE(towns->HEADERSAVE(dir / "towns.header"));
  ASSERT_TRUE(towns->DBOPEN(dir / "towns.ry-dbb", dir / "towns.header", true));
  towns->ENTRYADD(1);
  towns->ENTRYFIELD_LET(1, "CITY", "Bonn");
  ASSERT_TRUE(towns->DBCLOSE());

  auto people = std::make_shared<cls_DB>();
  people->FIELDCREATE("TOWN", ID_DBFieldType_ReferenceNumeric)->REFERENCESOURCE = dir / "towns.ry-dbb";
  DBPtr linked = people->FIELDDB("TOWN");
  ASSERT_NE(linked, nullptr);
  EXPECT_EQ(linked->ENTRYQUERY("CITY", "=", "Bonn").size(), 1u);
  EXPECT_EQ(people->FIELDDB("TOWN"), linked);  // kept for later calls

  auto kel = std::make_shared<cls_KEL>();
  auto module = std::make_shared<mod_KELDB>();
  kel->MODULES->ADD(module);
  kel->DIRECTORIES->ADD(dir.path.string() + "/");
  EXPECT_EQ(kel->PROCESS(R"({DB:OPEN "towns.ry-dbb"}{DB:COUNT})", nullptr), "1");
  auto opened = std::dynamic_pointer_cast<cls_DB>(module->DB_GET());
  ASSERT_NE(opened, nullptr);
  EXPECT_EQ(opened->TypeName(), "cls_DB");
  EXPECT_EQ(opened->ENTRYSEARCH("bonn").size(), 1u);

  // Without the factory the lower layers make plain stores.
  const auto factory = cls_DBStore::hFactory();
  ASSERT_NE(factory, nullptr);
  cls_DBStore::SetFactory(nullptr);
  auto plain = cls_DBStore::New();
  cls_DBStore::SetFactory(factory);
  EXPECT_EQ(plain->TypeName(), "cls_DBStore");
  EXPECT_EQ(std::dynamic_pointer_cast<cls_DB>(plain), nullptr);
  EXPECT_NE(std::dynamic_pointer_cast<cls_DB>(cls_DBStore::New()), nullptr);
}

}  // namespace rykel
