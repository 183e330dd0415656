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
  // STATUS holds SHOW, LEFT and CENTER
  EXPECT_EQ(std::tuple(f->COUNT(), f->COUNTALL() - f->COUNTSUBSTRUCTS(), f->ITEM_GET("STATUS.COUNT").rawLong(),
                       f->ITEM_GET("STATUS.LEFT").str(), f->EXISTS_GET("STATUS.RIGHT")),
            std::tuple(8, 27, 3, "Seite {PAGE} von {PAGES}", false));
  EXPECT_EQ(std::tuple(f->ITEM_GET("CELL.SEPERATOR").type(), f->ITEM_GET("MARGIN.BOTTOM").type(),
                       f->ITEM_GET("MARGIN.BOTTOM").rawInteger(), f->ITEM_GET("TITLE.COLOR").rawLong(),
                       f->ITEM_GET("FONT.NAME").str(), mdl_Global::FLAGSGLOBAL(0)->COUNT()),
            std::tuple(VarType::Boolean, VarType::Integer, 10, 10446080, "Arial", 0));
}

TEST(mdl_Global, DateTestAndTruth) {
  for (const auto& [text, isDate] : {std::pair{"2024-02-30", false},
                                     {"2024-02-29 10:00:00", true},
                                     {"2024-02-29", true},
                                     {"29.02.2024", false},
                                     {"2024-02-29T10:00:00", false}})
    EXPECT_EQ(mdl_Global::hIsDate(text), isDate) << text;
  for (const char* f : {"falsch", "FaLsCh", "", " ", "n", "N", "no", "F", "0", "false"})
    EXPECT_FALSE(mdl_Global::hCBool(Variant(f))) << f;
  for (const char* t : {"  ", "x", "ja", "1", "-1"}) EXPECT_TRUE(mdl_Global::hCBool(Variant(t))) << t;
  EXPECT_EQ((std::vector<bool>{mdl_Global::hCBool(Variant(-1)), mdl_Global::hCBool(Variant(0)),
                               mdl_Global::hCBool(Variant(0.0)), mdl_Global::hCBool(Variant(true))}),
            (std::vector<bool>{true, false, false, true}));
}

TEST(mdl_Global, FileExistsOnlyForFiles) {
  TempDir temp;
  const std::filesystem::path dir = temp.path;
  std::ofstream(dir / "f.txt") << "x";
  EXPECT_EQ(
      (std::vector<bool>{mdl_FileTools::FILEEXISTS(dir.string()), mdl_FileTools::FILEEXISTS((dir / "f.txt").string()),
                         mdl_FileTools::FILEEXISTS((dir / "missing").string())}),
      (std::vector<bool>{false, true, false}));
}

TEST(sys_Global, CreatesClassesByName) {
  EXPECT_EQ(std::tuple(CreateObject("RyKEL.cls_Structure")->TypeName(), CreateObject("cls_DBTool")->TypeName()),
            std::tuple("cls_Structure", "cls_DBTool"));
  EXPECT_THROW(CreateObject("RyKEL.nothing"), Error);
  auto names = CreatableClasses();
  EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
}

}  // namespace rykel
