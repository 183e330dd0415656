// rykel struct ...: work with structures from the shell.
#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "frame/Convert.h"
#include "frame/mdl_Global.h"
#include "structure/cls_Structure.h"

namespace rykel::cli {

namespace {

// One line per item, indented by nesting: "NAME = value" or "NAME {" ... "}".
void hPrintTree(cls_Structure& s, int depth) {
  const std::string pad(static_cast<size_t>(depth) * 2, ' ');
  for (int32_t i = s.BASE(); i <= s.MAX(); ++i) {
    Variant v = s.ITEM_GET(i);
    std::string name = s.ID_GET(i);
    if (name.empty()) name = "[" + std::to_string(i) + "]";
    if (auto sub = v.as<cls_Structure>()) {
      std::printf("%s%s {\n", pad.c_str(), name.c_str());
      hPrintTree(*sub, depth + 1);
      std::printf("%s}\n", pad.c_str());
    } else if (s.EXISTS_GET(i)) {
      std::printf("%s%s = %s\n", pad.c_str(), name.c_str(), CStr(v).c_str());
    }
  }
}

}  // namespace

void AddStructCommands(CLI::App& app) {
  auto* st = app.add_subcommand("struct", "Work with structures");
  st->require_subcommand(1);

  static std::vector<std::string> assignments;
  static bool info = false;
  auto* set = st->add_subcommand("set", "Build a structure from KEY=VALUE assignments (dotted keys nest) and print it");
  set->add_option("assignment", assignments, "KEY=VALUE, e.g. person.name=Anna")->required();
  set->add_flag("--info", info, "also print the node store's usage");
  set->callback([] {
    auto s = cls_Structure::New();
    for (const auto& a : assignments) {
      auto eq = a.find('=');
      if (eq == std::string::npos) throw CLI::ValidationError("assignment", "expected KEY=VALUE: " + a);
      std::string value = a.substr(eq + 1);
      double d;
      if (ParseNumber(value, d) && value.find(',') == std::string::npos)
        s->ITEM_LET(a.substr(0, eq), d == static_cast<int32_t>(d) ? Variant(static_cast<int32_t>(d)) : Variant(d));
      else
        s->ITEM_LET(a.substr(0, eq), value);
    }
    hPrintTree(*s, 0);
    if (info) std::printf("%s\n", mdl_Global::SMAN_GET()->INFO().c_str());
  });
}

}  // namespace rykel::cli
