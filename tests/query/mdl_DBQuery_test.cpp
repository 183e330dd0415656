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
  struct Row {
    const char* name;
    const char* city;
    int age;
  };
  const Row rows[] = {
      {"Meier", "Hamburg", 40}, {"Abel", "Köln", 12}, {"Zander", "Hamburg-Altona", 40}, {"Meier", "Bonn", 7}};
  int id = 1;
  for (const auto& r : rows) {
    db->ENTRYADD(id);
    db->ENTRYFIELD_LET(id, "NAME", r.name);
    db->ENTRYFIELD_LET(id, "CITY", r.city);
    db->ENTRYFIELD_LET(id, "AGE", r.age);
    ++id;
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
  filters->ITEMBYID_LET("MODE", Variant("OR"));
  filters->ITEMBYID_LET("CITY", Variant("= Bonn"));
  filters->ITEMBYID_LET("AGE", Variant("= 12"));
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
  EXPECT_EQ(FIELDSELECT(*db, "age"), "AGE!");
  EXPECT_EQ(offered, "NAME,CITY,AGE,");
  // Errors keep the source hosts know.
  try {
    ENTRYSEARCH(*db, std::string(40, '(') + "x" + std::string(40, ')'));
    ADD_FAILURE() << "no error for groups nested too deep";
  } catch (const Error& e) {
    EXPECT_EQ(e.number, 5);
    EXPECT_EQ(e.source, "cls_DB.ENTRYSEARCH");
  }
}

TEST(mdl_DBExport, CopiesABareStoreIntoANewFile) {
  QuietNotices quiet;
  TempDir dir;
  auto db = Towns();
  const std::string file = dir / "copy.ry-dbb";
  ASSERT_TRUE(mdl_DBExport::EXPORTDB(*db, Variant("DEFAULT"), Variant(file), cls_DBStore::IdList{3, 1}));
  auto back = std::make_shared<cls_DBStore>();
  ASSERT_TRUE(back->DBOPEN(file, file + ".header", false));
  EXPECT_EQ(Ids(back->ENTRYALL_IDS()), "3,1");
  EXPECT_EQ(CStr(back->ENTRYFIELD_GET(3, "CITY")), "Hamburg-Altona");
  EXPECT_TRUE(back->FIELDINDEXED("NAME"));
  // A folder in the way is refused before anything is written.
  std::filesystem::create_directory(dir / "taken.ry-dbb");
  EXPECT_NE(FailureNumber([&] { mdl_DBExport::EXPORTDB(*db, Variant("DEFAULT"), Variant(dir / "taken.ry-dbb")); }), 0);
  EXPECT_TRUE(std::filesystem::is_directory(dir / "taken.ry-dbb"));
}

}  // namespace
}  // namespace rykel
