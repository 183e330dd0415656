// rykel check FILE...: reads KEL templates without running them and lists their mistakes
// (cls_KEL::CHECK), one "file:line:column: message" line each, or with --json one array for editors.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "Commands.h"
#include "StructJson.h"
#include "frame/Error.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModules.h"
#include "modules/mod_KELDB.h"

namespace rykel::cli {

namespace {

struct CheckOptions {
  std::vector<std::string> files, directories, settings;
  bool json = false;
};

constexpr const char* kCheckFooter =
    "Reports unclosed or unmatched braces, quotes and parentheses, unknown commands and module commands\n"
    "(with \"did you mean\"), wrong parameter counts, ELSEIF and ELSE without their IF, includes that\n"
    "cannot be found, more commands in one text than SYS.COMMANDS.MAX and quotes inside COMMENT.\n"
    "Includes are looked for as render looks for them: the template's folder, then each -d folder.\n"
    "--json prints [{\"file\": ..., \"line\": 1, \"column\": 1, \"severity\": \"error\", \"message\": ...}]\n"
    "(line and column 1-based, the column in characters; severity \"error\" or \"warning\").\n"
    "Exit status: 0 nothing found, 1 something found, 2 a usage error or a file that cannot be read.";

// An interpreter set up as `rykel render` sets one up for the file, so the check sees what
// rendering would see: the DB module, the template's folder and the -d folders, the settings.
std::shared_ptr<cls_KEL> hInterpreter(const CheckOptions& o, const std::string& pFile) {
  auto k = std::make_shared<cls_KEL>();
  k->MODULES->ADD(std::make_shared<mod_KELDB>());
  if (pFile != "-") {
    std::string dir = std::filesystem::path(pFile).parent_path().string();
    k->DIRECTORIES->ADD((dir.empty() ? std::string(".") : dir) + "/");
  }
  for (const auto& d : o.directories) k->DIRECTORIES->ADD(d.ends_with("/") ? d : d + "/");
  for (const auto& s : o.settings) {
    auto [key, value] = SplitAssignment(s);
    k->SETTINGS->ITEM_LET(key, value);
  }
  return k;
}

void hAppendJson(std::string& rOut, const KELFinding& f) {
  rOut += rOut.size() > 1 ? ", {\"file\": " : "{\"file\": ";
  AppendJsonString(rOut, f.file);
  rOut += ", \"line\": " + std::to_string(f.line) + ", \"column\": " + std::to_string(f.column) + ", \"severity\": ";
  AppendJsonString(rOut, f.severity);
  rOut += ", \"message\": ";
  AppendJsonString(rOut, f.message);
  rOut += "}";
}

}  // namespace

void AddCheckCommand(CLI::App& app) {
  static CheckOptions o;
  auto* c = app.add_subcommand("check", "Read KEL templates without running them and list their mistakes");
  c->add_option("files", o.files, "template files (- for standard input)")->required();
  c->add_option("-d,--directory", o.directories, "directory searched for included templates (repeatable)")
      ->allow_extra_args(false);
  c->add_option("-s,--setting", o.settings, "KEY=VALUE: an interpreter setting, e.g. SYS.COMMANDS.MAX=200 (repeatable)")
      ->allow_extra_args(false);
  c->add_flag("--json", o.json, "print the findings as one JSON array (for editors)");
  c->footer(kCheckFooter);
  c->callback([] {
    // Each failure is reported once, here; the library's own log line would repeat it.
    SetErrorPolicy([](const ErrorContext&) { return kDecisionRaise; });
    std::string json = "[";
    bool found = false, unreadable = false;
    for (const auto& file : o.files) {
      std::string text;
      try {
        text = ReadInput(file);
      } catch (const Error& e) {
        ReportFailure("rykel check", e.description, kExitUsage);
        unreadable = true;
        continue;
      }
      auto k = hInterpreter(o, file);
      for (const auto& f : k->CHECK(text, file == "-" ? "<stdin>" : file)) {
        found = true;
        if (o.json) hAppendJson(json, f);
        else std::printf("%s\n", f.Text().c_str());
      }
    }
    if (o.json) std::printf("%s]\n", json.c_str());
    if (unreadable) throw CommandFailure(kExitUsage, "");
    if (found) throw CommandFailure(kExitError, "");
  });
}

}  // namespace rykel::cli
