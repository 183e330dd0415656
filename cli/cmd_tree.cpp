// rykel tree ...: the whole-tree operations on a structure built from KEY=VALUE assignments.
#include <cctype>
#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "frame/Convert.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureTree.h"

namespace rykel::cli {

namespace {

StructurePtr hBuild(const std::vector<std::string>& assignments) {
  auto s = cls_Structure::New();
  for (const auto& a : assignments) {
    auto [key, value] = SplitAssignment(a);
    s->ITEM_LET(key, value);
  }
  return s;
}

// One line per scalar: "PATH = value", lines ended by "\n" for the shell.
void hPrint(const StructurePtr& s) {
  std::string text = cls_StructureTree(*s->MANAGER_GET()).CLIPBOARDTEXT(s->SID_GET(), false);
  std::string out;
  out.reserve(text.size());
  for (char c : text)
    if (c != '\r') out.push_back(c);
  std::printf("%s\n", out.c_str());
}

}  // namespace

void AddTreeCommands(CLI::App& app) {
  auto* tree = app.add_subcommand("tree", "Run a whole-tree operation on a structure built from KEY=VALUE assignments");
  static std::string op, arg;
  static std::vector<std::string> assignments;
  tree->add_option("operation", op, "flatten, restructure, linear, idlist, join, menu, selection, increase")
      ->required()
      ->check(CLI::IsMember({"flatten", "restructure", "linear", "idlist", "join", "menu", "selection", "increase"},
                            CLI::ignore_case));
  tree->add_option("assignment", assignments, "KEY=VALUE, e.g. person.name=Anna (dotted keys nest)");
  tree->add_option("--arg", arg,
                   "the operation's parameter: separator (flatten, restructure), glue (join), menu path, "
                   "selected key, amount (increase)");
  tree->footer(kAssignmentHelp);
  tree->callback([] {
    auto s = hBuild(assignments);
    std::string o = op;
    for (auto& c : o) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const std::string sep = arg.empty() ? "." : arg;
    if (o == "join") {
      std::printf("%s\n", s->JOIN(arg).c_str());
    } else if (o == "flatten") {
      hPrint(s->FLATTEN(sep));
    } else if (o == "restructure") {
      // the assignments are flat names here: store them whole, then nest them
      auto flat = cls_Structure::New();
      for (const auto& a : assignments) {
        auto [key, value] = SplitAssignment(a);
        flat->ITEMBYID_LET(key, value);
      }
      hPrint(flat->RESTRUCTURE(sep));
    } else if (o == "linear") {
      hPrint(s->LINEAR());
    } else if (o == "idlist") {
      hPrint(s->IDLIST());
    } else if (o == "menu") {
      hPrint(s->MENU(arg));
    } else if (o == "selection") {
      hPrint(s->SELECTION(arg.empty() ? Variant() : Variant(arg)));
    } else {
      hPrint(s->INCREASE(arg.empty() ? Variant(1) : Variant(arg)));
    }
  });
}

}  // namespace rykel::cli
