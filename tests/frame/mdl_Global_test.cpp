#include "frame/mdl_Global.h"
#include "structure/mdl_GlobalStructure.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "host/sys_Global.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureTools.h"

#include "../TestSupport.h"

namespace rykel {

TEST(mdl_Global, OneManagerPerThread) {
  auto a = mdl_Global::SMAN_GET();
  EXPECT_EQ(a, mdl_Global::SMAN_GET());
  std::shared_ptr<cls_StructureManager> other;
  std::thread t([&] { other = mdl_Global::SMAN_GET(); });
  t.join();
  EXPECT_NE(a, other);
  EXPECT_EQ(sys_Global::STRUCT_GET(), sys_Global::STRUCTURE_GET());
  sys_Global::STRUCTURE_SET(Variant(5));
  EXPECT_EQ(sys_Global::STRUCT_GET(), sys_Global::STRUCTURE_GET());
}

TEST(mdl_Global, PageLayoutDefaults) {
  auto f = mdl_Global::FLAGSGLOBAL(1);
  // 28 assignments, "STATUS.LEFT" twice: 27 distinct keys in 8 groups
  EXPECT_EQ(f->COUNT(), 8);
  EXPECT_EQ(f->COUNTALL() - f->COUNTSUBSTRUCTS(), 27);
  EXPECT_EQ(f->ITEM_GET("STATUS.COUNT").rawLong(), 3);  // SHOW, LEFT, CENTER
  EXPECT_EQ(f->ITEM_GET("STATUS.LEFT").str(), "Seite {PAGE} von {PAGES}");
  EXPECT_FALSE(f->EXISTS_GET("STATUS.RIGHT"));
  EXPECT_EQ(f->ITEM_GET("CELL.SEPERATOR").type(), VarType::Boolean);
  EXPECT_EQ(f->ITEM_GET("MARGIN.BOTTOM").type(), VarType::Integer);
  EXPECT_EQ(f->ITEM_GET("MARGIN.BOTTOM").rawInteger(), 10);
  EXPECT_EQ(f->ITEM_GET("TITLE.COLOR").rawLong(), 10446080);
  EXPECT_EQ(f->ITEM_GET("FONT.NAME").str(), "Arial");
  EXPECT_EQ(mdl_Global::FLAGSGLOBAL(0)->COUNT(), 0);
}

TEST(mdl_Global, DateTestAndTruth) {
  EXPECT_FALSE(mdl_Global::hIsDate("2024-02-30"));
  EXPECT_TRUE(mdl_Global::hIsDate("2024-02-29 10:00:00"));
  EXPECT_TRUE(mdl_Global::hIsDate("2024-02-29"));
  EXPECT_FALSE(mdl_Global::hIsDate("29.02.2024"));
  EXPECT_FALSE(mdl_Global::hIsDate("2024-02-29T10:00:00"));
  for (const char* f : {"falsch", "FaLsCh", "", " ", "n", "N", "no", "F", "0", "false"})
    EXPECT_FALSE(mdl_Global::hCBool(Variant(f))) << f;
  for (const char* t : {"  ", "x", "ja", "1", "-1"}) EXPECT_TRUE(mdl_Global::hCBool(Variant(t))) << t;
  EXPECT_TRUE(mdl_Global::hCBool(Variant(-1)));
  EXPECT_FALSE(mdl_Global::hCBool(Variant(0)));
  EXPECT_FALSE(mdl_Global::hCBool(Variant(0.0)));
  EXPECT_TRUE(mdl_Global::hCBool(Variant(true)));
}

TEST(mdl_Global, FileExistsOnlyForFiles) {
  TempDir temp;
  const std::filesystem::path dir = temp.path;
  EXPECT_FALSE(mdl_FileTools::FILEEXISTS(dir.string()));
  std::ofstream(dir / "f.txt") << "x";
  EXPECT_TRUE(mdl_FileTools::FILEEXISTS((dir / "f.txt").string()));
  EXPECT_FALSE(mdl_FileTools::FILEEXISTS((dir / "missing").string()));
}

TEST(sys_Global, CreatesClassesByName) {
  EXPECT_EQ(CreateObject("RyKEL.cls_Structure")->TypeName(), "cls_Structure");
  EXPECT_EQ(CreateObject("cls_DBTool")->TypeName(), "cls_DBTool");
  EXPECT_THROW(CreateObject("RyKEL.nothing"), Error);
  auto names = CreatableClasses();
  EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
}

}  // namespace rykel
