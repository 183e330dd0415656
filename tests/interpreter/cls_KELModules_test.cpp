// The module registry's routing, and the IO and structure modules' commands.
#include "interpreter/cls_KELModules.h"

#include <gtest/gtest.h>

#include <chrono>

#include "frame/Convert.h"
#include "interpreter/cls_KEL.h"
#include "modules/mod_KELIO.h"

#include "../TestSupport.h"
#include "RenderTable.h"

namespace rykel {
namespace {

// A host module: answers "id:cmd" for the commands it knows, refuses the rest.
class EchoModule : public cls_KELModuleInterface {
 public:
  EchoModule(std::string id, bool first, bool all, std::string knows) : knows_(std::move(knows)) {
    m_->ID_LET(id);
    m_->CATCHFIRST_LET(first);
    m_->CATCHALL_LET(all);
    m_->EXECUTEEVENT = [this](const StructurePtr&, bool& rDone, Variant& rValue, const std::string& pCmd,
                              const StructurePtr& p, cls_KEL&) {
      ++calls;
      if (pCmd.find(knows_) == std::string::npos) {
        rDone = false;
        return;
      }
      if (knows_ == "SILENT") return;
      rValue = Variant(m_->ID_GET() + ":" + pCmd + "/" + std::to_string(p->COUNT()));
    };
  }
  std::shared_ptr<cls_KELModule> MODULE_GET() override { return m_; }
  int calls = 0;

 private:
  std::shared_ptr<cls_KELModule> m_ = std::make_shared<cls_KELModule>();
  std::string knows_;
};

TEST(cls_KELModules, LookupAndRouting) {
  cls_KEL k;
  auto& reg = *k.MODULES;
  ASSERT_EQ(reg.COUNT(), 3);
  EXPECT_EQ(
      std::tuple(reg.MODULE(Variant(1))->MODULE_GET()->ID_GET(), reg.MODULE(Variant("struct"))->MODULE_GET()->ID_GET(),
                 reg.MODULE(Variant(3))->MODULE_GET()->ID_GET()),
      std::tuple("IO", "STRUCTURE", "TEXT"));
  EXPECT_EQ(reg.ITEM(Variant("io")), reg.MODULE(Variant(1)));
  for (const Variant& none : {Variant(0), Variant(-1), Variant(4), Variant("nope")})
    EXPECT_FALSE(reg.MODULE(none)) << CStr(none);

  EXPECT_EQ(k.PROCESS("{HELLO:X}", nullptr), "ERR:---Module not found: HELLO---");
  auto hello = std::make_shared<EchoModule>("Hello", false, false, "X");
  reg.ADD(hello);  // the next EXECUTE sees it
  EXPECT_EQ(k.PROCESS("{hello:x 1 2}", nullptr), "Hello:X/2");
  EXPECT_EQ(k.PROCESS("{HELLO:Y}", nullptr), "ERR:---Module 'Hello' does not support command 'Y'---");
  // A handler that keeps the done flag and sets nothing gives empty output, no error.
  auto silent = std::make_shared<EchoModule>("QUIET", false, false, "SILENT");
  reg.ADD(silent);
  int errors = k.ERRORLIST->COUNT();
  EXPECT_EQ((std::tuple{k.PROCESS("[{QUIET:SILENT}]", nullptr), k.ERRORLIST->COUNT()}), std::tuple("[]", errors));

  // Unknown commands go to a catch-all module as OTHER:...; without one they cannot execute.
  EXPECT_EQ(k.PROCESS("{FOO 1}", nullptr), "ERR:---Cannot execute: FOO 1---");
  auto all = std::make_shared<EchoModule>("ALL", false, true, "FOO");
  reg.ADD(all);
  EXPECT_EQ(k.PROCESS("{foo 1}", nullptr), "ALL:OTHER:FOO/1");
  // Catch-first sees commands before the alias lookup, and the alias module is not asked twice.
  auto first = std::make_shared<EchoModule>("FIRST", true, false, "TAB");
  reg.ADD(first);
  EXPECT_EQ((std::vector<std::string>{k.PROCESS("{IO:TAB}", nullptr), k.PROCESS("{IO:CRLF}", nullptr),
                                      k.PROCESS("{FIRST:TAB}", nullptr)}),
            (std::vector<std::string>{"FIRST:IO:TAB/0", "\r\n", "FIRST:FIRST:TAB/0"}));
  int before = first->calls;
  EXPECT_EQ((std::tuple{k.PROCESS("{FIRST:ZZ}", nullptr), first->calls}),
            std::tuple("ERR:---Module not found: FIRST---", before + 1));
  reg.INDEXCLEAR();
  EXPECT_EQ(reg.FIND("hello"), hello);  // rebuilt on demand
}

// The IO and structure modules' commands, one template a row on a fresh interpreter.
TEST(cls_KELModules, ModuleCommandTable) {
  const RenderRow rows[] = {
      {"{IO:TAB}|{IO:CRLF}|{IO:LOG x}", "\t|\r\n|"},
      {"{IO:YEAR 2024-05-06}", "2024"},
      {"{IO:YEAR DATE=5.6.2023}", "2023"},
      {"{IO:OUT \"first\" second}", "first"},
      {"{IO:TELNORM \" 0711 / 12 34o \"}", "0711---12-340"},
      {"{IO:DATEFORMAT 2024-05-06 \"dd.mm.yyyy\"}", "06.05.2024"},
      {"{IO:DATEFORMAT FORMAT=\"yyyy\" DATE=2024-05-06}", "2024"},
      {"{IO:LEFT \"Grüße\" 3}", "Grü"},
      {"{IO:LEFT STRING=Hallo LEFT=0}", ""},
      {"{IO:DATEVAL 2024-05-06}", "06.05.2024"},
      {"{IO:NOPE}", "ERR:---IO function not supported: NOPE---"},
      {"a{IO:DIE}b", "a"},
      {"{VAR t STRUCT:TEST}{STRUCT:GET VAR:t ALPHA.A}{STRUCT:GET VAR:t BETA}{STRUCT:GET VAR:t GAMMA.B}", "146"},
      {"{VAR l STRUCTURE:TESTLINEAR}{STRUCT:GET VAR:l ALPHA}{STRUCT:GET VAR:l BETA}{STRUCT:GET VAR:l GAMMA}", "146"},
      {"{VAR l STRUCTURE:TESTLINEAR}[{STRUCT:GET VAR:l DELTA}]", "[]"},
      {"{VAR l STRUCTURE:TESTLINEAR}{STRUCT:GETINDEX VAR:l 2}|{STRUCT:GETINDEX VAR:l 9 none}", "4|none"},
      {"{VAR p {{STRUCT:SPLIT \"a,b,c\" \",\"}}}{STRUCT:GETINDEX VAR:p 3}", "c"},
      {"{VAR p {{STRUCT:SPLIT abc}}}{STRUCT:GETINDEX VAR:p 2}", "b"},
      {"{STRUCT:NOPE}", "ERR:---STRUCTURE function not supported: NOPE---"},
  };
  CheckRenderRows(rows);
}

TEST(cls_KELModules, IOModule) {
  cls_KEL k;
  auto P = [&](std::string_view t) { return k.PROCESS(t, nullptr); };
  EXPECT_EQ(mod_KELIO::TELNORM("o89/1"), "089-1");
  EXPECT_EQ(std::tuple(P("{IO:DATE}").size(), P("{IO:TIME}").size()), std::tuple(10u, 8u));
  EXPECT_EQ(P("{IO:LEFT}"), "");
  EXPECT_EQ(CStr(k.ERRORLIST->ITEM_GET(k.ERRORLIST->MAX())),
            "<b>The command IO:LEFT needs other parameters: STRING,LEFT required,  delivered</b>");
  auto s = Struct({{"A", 1}});
  EXPECT_TRUE(k.SYNTAXCHECK(s, "A, B='', C=x"));
  EXPECT_EQ(s->SCRIPT(), "A = 1\r\nB = \"\"\r\nC = \"x\"\r\n");
}

// Without a delimiter SPLIT gives one item per character (not byte), in time linear in the text:
// 200,000 characters took minutes when each piece was found by counting from the start.
TEST(cls_KELModules, SplitIntoCharactersIsLinear) {
  cls_KEL k;
  k.VARIABLES->ITEM_LET("T", "aä€𝄞\xff");
  auto pieces = k.EXECUTE("STRUCT:SPLIT VAR:T").as<cls_Structure>();
  ASSERT_TRUE(pieces);
  std::string joined;
  for (int32_t i = pieces->BASE(); i <= pieces->MAX(); ++i) joined += CStr(pieces->ITEM_GET(i)) + "|";
  EXPECT_EQ(joined, "a|ä|€|𝄞|\xff|");
  std::string big;
  for (int i = 0; i < 50000; ++i) big += "xä€𝄞";
  k.VARIABLES->ITEM_LET("T", big);
  auto started = std::chrono::steady_clock::now();
  pieces = k.EXECUTE("STRUCT:SPLIT VAR:T").as<cls_Structure>();
  double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  ASSERT_TRUE(pieces);
  EXPECT_EQ(std::tuple(pieces->COUNT(), CStr(pieces->ITEM_GET(199999))), std::tuple(200000, "€"));
  EXPECT_LT(seconds, 5.0);
}

}  // namespace
}  // namespace rykel
