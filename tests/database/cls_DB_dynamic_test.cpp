#include <gtest/gtest.h>

#include "frame/Convert.h"
#include "host/cls_DB.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModuleInterface.h"
#include "interpreter/cls_KELModules.h"

namespace rykel {

TEST(DBDynamicFields, RenderedFromTheEntryAndKeptInStep) {
  auto db = std::make_shared<cls_DB>();
  db->FIELDCREATE("FIRST", ID_DBFieldType_String);
  db->FIELDCREATE("LAST", ID_DBFieldType_String);
  auto full = db->FIELDCREATE("FULL", ID_DBFieldType_String);
  full->DYNAMIC = true;
  full->CODE = "{VAR:ENTRY.LAST}, {VAR:ENTRY.FIRST}";
  db->ENTRYFIELD_LET(1, "FIRST", "Anna");
  db->ENTRYFIELD_LET(1, "LAST", "Schulze");
  EXPECT_EQ(CStr(db->ENTRYFIELD_GET(1, "FULL")), "Schulze, Anna");
  db->ENTRYFIELD_LET(1, "LAST", "Meier");  // every change renders again
  EXPECT_EQ(CStr(db->ENTRYFIELD_GET(1, "FULL")), "Meier, Anna");
}

namespace {

// A host module whose one command changes an entry of another database while a dynamic field of
// the first is being rendered.
class TouchModule : public cls_KELModuleInterface {
 public:
  TouchModule(std::shared_ptr<cls_DB> pOther, Variant pID) : other_(std::move(pOther)), id_(std::move(pID)) {
    m_->ID_LET("TOUCH");
    m_->EXECUTEEVENT = [this](const StructurePtr&, bool&, Variant& rValue, const std::string&, const StructurePtr&,
                              cls_KEL&) {
      other_->ENTRYFIELD_LET(id_, "FIRST", "Berta");
      rValue = Variant("touched");
    };
  }
  std::shared_ptr<cls_KELModule> MODULE_GET() override { return m_; }

 private:
  std::shared_ptr<cls_KELModule> m_ = std::make_shared<cls_KELModule>();
  std::shared_ptr<cls_DB> other_;
  Variant id_;
};

std::shared_ptr<cls_DB> hDynamicDB(const std::string& pCode) {
  auto db = std::make_shared<cls_DB>();
  db->FIELDCREATE("FIRST", ID_DBFieldType_String);
  auto dyn = db->FIELDCREATE("DYN", ID_DBFieldType_String);
  dyn->DYNAMIC = true;
  dyn->CODE = pCode;
  return db;
}

}  // namespace

// The rebuild guard belongs to one database: while A renders its dynamic field, the code changes
// an entry of B on the same thread, and B renders its own.
TEST(DBDynamicFields, TwoDatabasesOnOneThreadEachRebuild) {
  auto b = hDynamicDB("[{VAR:ENTRY.FIRST}]");
  const Variant idB(1), idA(1);
  b->ENTRYFIELD_LET(idB, "FIRST", "Anna");
  ASSERT_EQ(CStr(b->ENTRYFIELD_GET(idB, "DYN")), "[Anna]");

  auto a = hDynamicDB("{TOUCH:B}");
  auto kel = std::make_shared<cls_KEL>();
  kel->MODULES->ADD(std::make_shared<TouchModule>(b, idB));
  a->KEL_SET(kel);
  a->ENTRYFIELD_LET(idA, "FIRST", "x");
  EXPECT_EQ((std::tuple{CStr(a->ENTRYFIELD_GET(idA, "DYN")), CStr(b->ENTRYFIELD_GET(idB, "FIRST")),
                        CStr(b->ENTRYFIELD_GET(idB, "DYN"))}),
            std::tuple("touched", "Berta", "[Berta]"));
  // Each database's guard is down again afterwards.
  b->ENTRYFIELD_LET(idB, "FIRST", "Carl");
  EXPECT_EQ(CStr(b->ENTRYFIELD_GET(idB, "DYN")), "[Carl]");
}

}  // namespace rykel
