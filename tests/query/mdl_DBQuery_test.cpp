// The query and export functions on a bare store, with no cls_DB around it: the results a host
// gets through cls_DB come from here, so they must hold on the store alone.
#include "query/mdl_DBQuery.h"

#include <gtest/gtest.h>

#include "TestSupport.h"
#include "export/mdl_DBExport.h"
#include "frame/Convert.h"
#include "structure/cls_Structure.h"

namespace rykel {
namespace {

// A plain store (not made through the factory, which would give a cls_DB).
DBStorePtr Towns() {
  auto db = std::make_shared<cls_DBStore>();
  db->FIELDCREATE("NAME", ID_DBFieldType_String)->INDEXED = true;
  db->FIELDCREATE("CITY", ID_DBFieldType_String);
  db->FIELDCREATE("AGE", ID_DBFieldType_Long);
  int32_t id = 0;
  for (const auto& [name, city, age] : {std::tuple{"Meier", "Hamburg", 40},
                                        {"Abel", "Köln", 12},
                                        {"Zander", "Hamburg-Altona", 40},
                                        {"Meier", "Bonn", 7}}) {
    db->ENTRYADD(++id);
    for (const auto& [field, value] : {std::pair<const char*, Variant>{"NAME", name}, {"CITY", city}, {"AGE", age}})
      db->ENTRYFIELD_LET(id, field, value);
  }
  return db;
}

TEST(mdl_DBQuery, WorksOnABareStore) {
  auto db = Towns();
  ASSERT_EQ(db->TypeName(), "cls_DBStore");
  using namespace mdl_DBQuery;
  // The index path (NAME is indexed) answers in table order; the scan path the same way.
  EXPECT_EQ(Ids(ENTRYQUERY(*db, "NAME", "=", "Meier")), "1,4");
  EXPECT_EQ(Ids(ENTRYQUERY(*db, "AGE", ">", 10)), "1,2,3");
  EXPECT_EQ(Ids(ENTRYQUERY(*db, "CITY", "", "$BEGINS hamburg", IdList{3, 2, 99})), "3");
  // Sorting: descending age with the second field ascending under it; a given list only.
  EXPECT_EQ(Ids(ENTRYSORTADVANCED(*db, "AGE", true, "NAME")), "1,3,2,4");
  EXPECT_EQ(Ids(ENTRYSORT(*db, "NAME", false, {3, 2, 1})), "2,1,3");
  EXPECT_EQ(Ids(ENTRYALL(*db, "CITY", true)), "2,3,1,4");
  // Search and the filters that combine queries and sorting.
  EXPECT_EQ(Ids(ENTRYSEARCH(*db, "hamburg -altona")), "1");
  auto filters = cls_Structure::New();
  LetAll(*filters, "MODE", "OR", "CITY", "= Bonn", "AGE", "= 12");
  EXPECT_EQ(Ids(ENTRYFILTER(*db, Variant(), filters, "NAME")), "2,4");
  EXPECT_EQ(FIELDFILTERCOUNT(*db, "CITY", "$CONTAINS burg"), 2);
  auto choices = FIELDFILTERVALUES(*db, "AGE");
  EXPECT_EQ(CStr(choices->ITEMBYID_GET("10 - 100", Variant(""))), "[[ 10 100");
  // The field chooser set on the store decides FIELDSELECT.
  EXPECT_EQ(FIELDSELECT(*db, "city"), "CITY");
  std::string offered;
  db->FIELDCHOOSER_SET([&](const std::string&, const std::vector<std::string>& names, const std::string& pre) {
    for (const auto& n : names) offered += n + ",";
    return pre + "!";
  });
  EXPECT_EQ((std::tuple{FIELDSELECT(*db, "age"), offered}), std::tuple("AGE!", "NAME,CITY,AGE,"));
  // Errors keep the source hosts know.
  std::string source = "no error";
  try {
    ENTRYSEARCH(*db, std::string(40, '(') + "x" + std::string(40, ')'));
  } catch (const Error& e) { source = std::to_string(e.number) + " " + e.source; }
  EXPECT_EQ(source, "5 cls_DB.ENTRYSEARCH");
}

TEST(mdl_DBExport, CopiesABareStoreIntoANewFile) {
  QuietNotices quiet;
  TempDir dir;
  auto db = Towns();
  const std::string file = dir / "copy.ry-dbb";
  ASSERT_TRUE(mdl_DBExport::EXPORTDB(*db, Variant("DEFAULT"), Variant(file), cls_DBStore::IdList{3, 1}));
  auto back = std::make_shared<cls_DBStore>();
  ASSERT_TRUE(back->DBOPEN(file, file + ".header", false));
  EXPECT_EQ(std::tuple(Ids(back->ENTRYALL_IDS()), CStr(back->ENTRYFIELD_GET(3, "CITY")), back->FIELDINDEXED("NAME")),
            std::tuple("3,1", "Hamburg-Altona", true));
  // A folder in the way is refused before anything is written.
  std::filesystem::create_directory(dir / "taken.ry-dbb");
  EXPECT_NE(FailureNumber([&] { mdl_DBExport::EXPORTDB(*db, Variant("DEFAULT"), Variant(dir / "taken.ry-dbb")); }), 0);
  EXPECT_TRUE(std::filesystem::is_directory(dir / "taken.ry-dbb"));
}

}  // namespace
}  // namespace rykel
