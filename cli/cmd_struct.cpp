// rykel struct ...: work with structures from the shell.
#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "StructJson.h"
#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/mdl_Global.h"
#include "structure/cls_Structure.h"
#include "structure/cls_StructureManager.h"
#include "structure/mdl_GlobalStructure.h"
#include "structure/mdl_StructureScript.h"

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

// One-line forms read from a file usually end with a line break that is not part of the text.
std::string_view hTrimEnd(std::string_view t) {
  while (!t.empty() && (t.back() == '\n' || t.back() == '\r')) t.remove_suffix(1);
  return t;
}

// JSON gives a new structure; its items move into the (empty) target.
void hReadJson(std::string_view t, cls_Structure& s, const std::string& where) {
  auto read = JsonToStruct(t, where);
  mdl_StructureScript::MoveContent(*s.MANAGER_GET(), read->SID_GET(), s.SID_GET());
}

// The text forms "rykel struct convert" reads and writes, one row each. A reader fills an empty
// structure; "where" names the input in messages.
struct Form {
  const char* name;
  void (*read)(std::string_view text, cls_Structure& s, const std::string& where);
  std::string (*write)(cls_Structure& s);
};
const Form kForms[] = {
    {"script", [](std::string_view t, cls_Structure& s, const std::string&) { s.PARSE(t); },
     [](cls_Structure& s) { return s.SCRIPT(); }},
    {"json", hReadJson, [](cls_Structure& s) { return StructToJson(s); }},
    {"php", [](std::string_view t, cls_Structure& s, const std::string&) { s.UNSERIALIZE(hTrimEnd(t)); },
     [](cls_Structure& s) { return s.SERIALIZE() + "\n"; }},
    {"compact", [](std::string_view t, cls_Structure& s, const std::string&) { s.UNSERIALIZEBINARY(hTrimEnd(t)); },
     [](cls_Structure& s) { return s.SERIALIZEBINARY() + "\n"; }},
};

std::string hInputName(const std::string& file) { return file == "-" ? "<stdin>" : file; }

const Form& hForm(const std::string& name) {
  for (const Form& f : kForms)
    if (name == f.name) return f;
  throw CLI::ValidationError("--from/--to", "unknown form: " + name);
}

std::vector<std::string> hFormNames() {
  std::vector<std::string> names;
  for (const Form& f : kForms) names.emplace_back(f.name);
  return names;
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
  set->footer(kAssignmentHelp);
  set->callback([] {
    auto s = cls_Structure::New();
    for (const auto& a : assignments) {
      auto [key, value] = SplitAssignment(a);
      s->ITEM_LET(key, value);
    }
    hPrintTree(*s, 0);
    if (info) std::printf("%s\n", mdl_Global::SMAN_GET()->INFO().c_str());
  });

  static std::string from = "script", to = "json", convertFile;
  auto* convert =
      st->add_subcommand("convert", "Read a structure in one text form and write it in another to standard output");
  convert->add_option("--from", from, "form of the input")->check(CLI::IsMember(hFormNames()))->capture_default_str();
  convert->add_option("--to", to, "form of the output")->check(CLI::IsMember(hFormNames()))->capture_default_str();
  convert->add_option("FILE", convertFile, "input file, \"-\" for standard input")->required();
  convert->footer(
      "Forms: php (PHP's serialize text), script (the structure file form), compact (\"QS1:\" text),\n"
      "json (objects for named items, arrays for purely numbered ones, an unnamed item among named ones\n"
      "under \"[i]\"; names come back upper case; dates as \"yyyy-mm-dd HH:MM:SS\"; a byte that is not\n"
      "UTF-8, such as PHP's Latin-1 text, as its Latin-1 character). Malformed JSON is a usage error\n"
      "(exit 2) naming its line and column. Files and standard input are read up to INPUT.SIZE.MAX (1 GiB).");
  convert->callback([] {
    auto s = cls_Structure::New();
    hForm(from).read(ReadInput(convertFile), *s, hInputName(convertFile));
    std::string out = hForm(to).write(*s);
    std::fwrite(out.data(), 1, out.size(), stdout);
  });

  static std::string showFile, showFrom = "php";
  static bool showJson = false;
  auto* show = st->add_subcommand("show", "Print a serialized structure (or another form) as an indented tree");
  show->add_option("FILE", showFile, "input file, \"-\" for standard input")->required();
  show->add_option("--from", showFrom, "form of the input")->check(CLI::IsMember(hFormNames()))->capture_default_str();
  show->add_flag("--json", showJson, "print the JSON view instead of the tree");
  show->callback([] {
    auto s = cls_Structure::New();
    hForm(showFrom).read(ReadInput(showFile), *s, hInputName(showFile));
    if (showJson) {
      std::string out = StructToJson(*s);
      std::fwrite(out.data(), 1, out.size(), stdout);
    } else {
      hPrintTree(*s, 0);
    }
  });
}

}  // namespace rykel::cli
