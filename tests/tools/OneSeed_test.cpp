// One seed reproduces everything that draws numbers: random test data, the database's text ids and
// its one-string separator, and the compact form's separator all come from the thread's generator.
#include <gtest/gtest.h>

#include <string>

#include "frame/Convert.h"
#include "host/cls_DB.h"
#include "structure/cls_Structure.h"
#include "tools/cls_DBTool.h"

#include "../TestSupport.h"

namespace rykel {
namespace {

// One line of everything that draws, after seeding once.
std::string hDrawAll(int64_t pSeed) {
  cls_DBTool tool;
  tool.RANDOMIZE(pSeed);
  std::string out = tool.RANDOM("{LASTNAME} {D*5}", ID_DBFieldType_String) + "|";
  auto s = Struct({{"a", "text"}});
  out += s->SERIALIZEBINARY() + "|";
  cls_DB db;
  db.DBNUMERIC_LET(false);
  db.FIELDCREATE("NOTE");
  Variant id = db.ENTRYFREEID();
  out += CStr(id) + "|" + CStr(db.ENTRYFREEIDEVEN()) + "|";
  db.ENTRYADD(id);
  db.ENTRYFIELD_LET(id, "NOTE", "a < b");  // a "<" in a text makes the separator draw letters
  out += db.SERIALIZE();
  return out;
}

TEST(OneSeed, ReproducesEveryDrawingPart) {
  const std::string first = hDrawAll(4711);
  EXPECT_TRUE(hDrawAll(4711) == first && hDrawAll(4712) != first);
  // The database's separator did draw: "<", at least one letter, ">".
  EXPECT_TRUE(first.find("DBS1:<") != std::string::npos && first.find("DBS1:<>") == std::string::npos) << first;
}

}  // namespace
}  // namespace rykel
