#include "modules/mod_KELStructure.h"

#include <algorithm>

#include "frame/Convert.h"
#include "frame/Text.h"
#include "interpreter/KELCommandTable.h"
#include "interpreter/cls_KEL.h"

namespace rykel {

namespace {

using Params = const StructurePtr&;

struct StructCommand {
  std::string_view name;
  std::string_view wanted;
  Variant (*run)(Params p);
};

Variant hGet(Params p) {
  Variant def = p->ITEM_GET("DEFAULT");
  auto s = p->ITEM_GET("STRUCTURE").as<cls_Structure>();
  if (!s) return def;
  return s->ITEM_GET(Variant(CStr(p->ITEM_GET("FIELD"))), def);
}

// Positions follow the structure's own numbering: from 0 when it has item 0, else from 1.
Variant hGetIndex(Params p) {
  Variant def = p->ITEM_GET("DEFAULT");
  auto s = p->ITEM_GET("STRUCTURE").as<cls_Structure>();
  if (!s) return def;
  double d;
  if (!NumericValue(p->ITEM_GET("INDEX"), d) && !ParseNumber(CStr(p->ITEM_GET("INDEX")), d)) return def;
  return s->ITEM_GET(Variant(static_cast<int32_t>(d)), def, true);
}

// Pieces numbered from 1; an empty delimiter cuts the text into its characters.
Variant hSplit(Params p) {
  auto out = cls_Structure::New();
  std::string textIn = CStr(p->ITEM_GET("TEXT"));
  std::string delim = CStr(p->ITEM_GET("DELIMETER"));
  if (delim.empty()) {
    // One walk over the text: each character's bytes are the distance to the next one.
    std::string_view rest = textIn;
    while (!rest.empty()) {
      size_t step = std::max<size_t>(1, text::ByteOffset(rest, 1));
      out->ADD(Variant(rest.substr(0, step)));
      rest.remove_prefix(step);
    }
  } else {
    for (const auto& piece : text::Split(textIn, delim)) out->ADD(Variant(piece));
  }
  return Variant(out);
}

Variant hTest(Params) {
  auto s = cls_Structure::New();
  s->ITEM_LET("ALPHA.A", 1);
  s->ITEM_LET("ALPHA.B", 2);
  s->ITEM_LET("ALPHA.C", 3);
  s->ITEM_LET("BETA", 4);
  s->ITEM_LET("GAMMA.A", 5);
  s->ITEM_LET("GAMMA.B", 6);
  return Variant(s);
}

Variant hTestLinear(Params) {
  auto s = cls_Structure::New();
  s->ITEM_LET("ALPHA", 1);
  s->ITEM_LET("BETA", 4);
  s->ITEM_LET("GAMMA", 6);
  return Variant(s);
}

constexpr StructCommand kStructCommands[] = {
    {"GET", "STRUCTURE,FIELD,DEFAULT=''", hGet},
    {"GETINDEX", "STRUCTURE,INDEX,DEFAULT=''", hGetIndex},
    {"SPLIT", "TEXT,DELIMETER=''", hSplit},
    {"TEST", "", hTest},
    {"TESTLINEAR", "", hTestLinear},
};

}  // namespace

mod_KELStructure::mod_KELStructure() : module_(std::make_shared<cls_KELModule>()) {
  module_->ID_LET("STRUCTURE");
  module_->ALIAS("STRUCT");
  module_->EXECUTEEVENT = &mod_KELStructure::MODULE_EXECUTE;
  ListCommands(*module_, kStructCommands);
}

void mod_KELStructure::MODULE_EXECUTE(const StructurePtr&, bool& rDone, Variant& rValue, const std::string& pCmd,
                                      const StructurePtr& pParameters, cls_KEL& pKEL) {
  if (!RunCommand(kStructCommands, pCmd, pParameters, pKEL, rValue,
                  [&](const StructCommand& row) { return row.run(pParameters); }))
    rValue = Variant(pKEL.ERRORS("STRUCTURE function not supported", pCmd));
}

}  // namespace rykel
