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
  db->ENTRYADD(1);
  auto upperOf = [&](const char* name) {
    db->ENTRYFIELD_LET(1, "NAME", name);
    return CStr(db->ENTRYFIELD_GET(1, "UPPER"));
  };

  {  // Installed: a new interpreter knows IO, STRUCT and TEXT; the database renders with its own.
    cls_KEL k;
    EXPECT_EQ(
        (std::tuple{k.MODULES->COUNT(), k.PROCESS("{IO:TELNORM \"0o1 2\"}"), upperOf("anna"), bool(db->KEL_GET())}),
        std::tuple(3, "001-2", "<anna>", true));
  }

  cls_KEL::SetDefaultModules(nullptr);
  cls_DB::SetDynamicFields(nullptr);
  {  // Without: an empty registry, and dynamic values stay as stored.
    cls_KEL k;
    EXPECT_EQ((std::tuple{k.MODULES->COUNT(), upperOf("berta")}), std::tuple(0, "<anna>"));
  }
  cls_KEL::SetDefaultModules(modules);
  cls_DB::SetDynamicFields(dynamic);
  EXPECT_EQ(upperOf("carla"), "<carla>");
}

// Databases made below the host layer reach hosts as cls_DB, with their query members: a
// reference field's database, one a template opens through the DB module, a new one.
TEST(LoadHooks, DatabasesMadeBelowTheHostAreFacades) {
  TempDir dir;
  auto towns = std::make_shared<cls_DB>();
  towns->FIELDCREATE("CITY", ID_DBFieldType_String);
  ASSERT_TRUE(towns->HEADERSAVE(dir / "towns.header"));
  ASSERT_TRUE(towns->DBOPEN(dir / "towns.ry-dbb", dir / "towns.header", true));
  towns->ENTRYFIELD_LET(1, "CITY", "Bonn");
  ASSERT_TRUE(towns->DBCLOSE());

  auto people = std::make_shared<cls_DB>();
  people->FIELDCREATE("TOWN", ID_DBFieldType_ReferenceNumeric)->REFERENCESOURCE = dir / "towns.ry-dbb";
  DBPtr linked = people->FIELDDB("TOWN");
  ASSERT_NE(linked, nullptr);
  // kept for later calls
  EXPECT_TRUE(linked->ENTRYQUERY("CITY", "=", "Bonn").size() == 1u && people->FIELDDB("TOWN") == linked);

  auto kel = std::make_shared<cls_KEL>();
  auto module = std::make_shared<mod_KELDB>();
  kel->MODULES->ADD(module);
  kel->DIRECTORIES->ADD(dir.path.string() + "/");
  EXPECT_EQ(kel->PROCESS(R"({DB:OPEN "towns.ry-dbb"}{DB:COUNT})", nullptr), "1");
  auto opened = std::dynamic_pointer_cast<cls_DB>(module->DB_GET());
  ASSERT_NE(opened, nullptr);
  EXPECT_EQ(std::tuple(opened->TypeName(), opened->ENTRYSEARCH("bonn").size()), std::tuple("cls_DB", 1u));

  // Without the factory the lower layers make plain stores.
  const auto factory = cls_DBStore::hFactory();
  ASSERT_NE(factory, nullptr);
  cls_DBStore::SetFactory(nullptr);
  auto plain = cls_DBStore::New();
  cls_DBStore::SetFactory(factory);
  EXPECT_EQ(std::tuple(plain->TypeName(), std::dynamic_pointer_cast<cls_DB>(plain) == nullptr,
                       std::dynamic_pointer_cast<cls_DB>(cls_DBStore::New()) != nullptr),
            std::tuple("cls_DBStore", true, true));
}

}  // namespace rykel
