// rykel render ...: process a KEL template and print its output.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "Commands.h"
#include "StructJson.h"
#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/Notifier.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModules.h"
#include "modules/mod_KELDB.h"
#include "site/cls_Site.h"
#include "structure/mdl_StructureJson.h"

namespace rykel::cli {

namespace {

struct RenderOptions {
  std::string file, expression;
  std::vector<std::string> directories, variables, settings, structs, databases, data;
  bool errors = false, quiet = false, autoescape = false;
};

// "NAME=VALUE": the value as a number when it is one, else as text; with pJson a value that starts
// as JSON (LooksLikeJson) is a structure read from it.
bool hAssign(cls_Structure& s, const std::string& a, bool pJson) {
  auto eq = a.find('=');
  if (eq == std::string::npos || eq == 0) return false;
  std::string name = a.substr(0, eq), value = a.substr(eq + 1);
  double d;
  if (pJson && mdl_StructureJson::LooksLikeJson(value)) s.ITEM_LET(name, Variant(JsonToStruct(value, "--var " + name)));
  else if (IsNumericText(value) && ParseNumber(value, d)) s.ITEM_LET(name, d);
  else s.ITEM_LET(name, value);
  return true;
}

// A structure file for --struct and --data (standard input for "-"): JSON when the name ends in
// ".json" or the text starts as JSON (after a byte order mark and blanks), serialized text when it
// starts so, else the script form.
StructurePtr hReadStructure(const std::string& pFile) {
  std::string content = ReadInput(pFile);
  const auto form = mdl_StructureJson::FormOf(content, pFile);
  if (form == mdl_StructureJson::FileForm::Json) return JsonToStruct(content, pFile == "-" ? "<stdin>" : pFile);
  auto value = cls_Structure::New();
  if (form == mdl_StructureJson::FileForm::Serialized) value->UNSERIALIZE(content);
  else value->PARSE(content);
  return value;
}

// --data FILE: each named item at the top of the file becomes a variable.
void hAddData(cls_Structure& rVariables, const std::string& pFile) {
  auto data = hReadStructure(pFile);
  for (int32_t i = data->BASE(); i <= data->MAX(); ++i) {
    if (!data->EXISTS_GET(i)) continue;
    std::string name = data->ID_GET(i);
    if (name.empty())
      FailUsage(pFile + ": item " + std::to_string(i) +
                " has no name; --data needs named items at the top (a JSON object, not an array)");
    rVariables.ITEMBYID_LET(name, data->ITEM_GET(i));
  }
}

// Each recorded error once on stderr (cls_Site::ERRORLINES).
void hPrintErrors(cls_KEL& k, const std::string& pMain, bool pHtml) {
  for (const auto& line : cls_Site::ERRORLINES(k, pMain, pHtml)) std::fprintf(stderr, "%s\n", line.c_str());
}

}  // namespace

void AddRenderCommand(CLI::App& app) {
  static RenderOptions o;
  auto* r = app.add_subcommand("render", "Process a KEL template and print the output");
  auto* fileOpt = r->add_option("file", o.file, "template file (- for standard input)");
  auto* exprOpt = r->add_option("-e,--expression", o.expression, "template text given on the command line");
  fileOpt->excludes(exprOpt);
  // one value per use of a repeatable option, so a template file after it is not taken as a value
  r->add_option("-d,--directory", o.directories, "directory searched for templates (repeatable)")
      ->allow_extra_args(false);
  r->add_option("-v,--var", o.variables,
                "NAME=VALUE: a template variable (repeatable); a VALUE that starts as a JSON object or array "
                "({\"... or [ and a JSON value) is read as JSON and gives a structure")
      ->allow_extra_args(false);
  r->add_option("-s,--setting", o.settings, "KEY=VALUE: an interpreter setting (repeatable)")->allow_extra_args(false);
  r->add_option("--struct", o.structs,
                "NAME=FILE: a structure variable read from a file: JSON when FILE ends in .json, else serialized "
                "(or script-form) text (repeatable)")
      ->allow_extra_args(false);
  r->add_option("--data", o.data,
                "FILE: each top-level key of a JSON object (or named item of a structure file) becomes a variable; "
                "-v and --struct override them (repeatable)")
      ->allow_extra_args(false);
  r->add_option("--db", o.databases,
                "[NAME=]FILE: a database opened read-only for the DB commands (repeatable; the last is current)")
      ->allow_extra_args(false);
  r->add_flag("--autoescape", o.autoescape,
              "escape the text of every {VAR:name} and {DATA:name} in the page for HTML (SYS.AUTOESCAPE=1)");
  r->add_flag("--errors", o.errors, "print the error list as its HTML lines instead of plain text");
  r->add_flag("-q,--quiet", o.quiet, "print nothing on standard error (the exit status still tells)");
  r->callback([] {
    if (o.file.empty() && o.expression.empty()) throw CLI::ValidationError("render", "give a template file or -e TEXT");
    // The program reports each failure once itself: the library's own log line would repeat it.
    SetErrorPolicy([](const ErrorContext&) { return kDecisionRaise; });
    const Notifier silent = [](const Notification& n) { return DefaultAnswer(n); };
    if (o.quiet) SetNotifier(silent);
    auto k = std::make_shared<cls_KEL>();
    // Templates rendered here may read databases: {DB:OPEN file}, {DB:QUERY ...}.
    auto dbModule = std::make_shared<mod_KELDB>();
    k->MODULES->ADD(dbModule);
    for (const auto& a : o.databases) {
      const auto db = SplitDatabaseArgument(a);
      dbModule->ATTACH(OpenDatabase(db.file), db.name);
    }
    SetNotifier(o.quiet ? silent : Notifier{});  // opening a database silenced the notices
    std::string text = o.expression;
    if (!o.file.empty()) {
      text = ReadInput(o.file);
      if (o.file != "-") {
        // The template's own folder is searched first, so its includes are found.
        std::string dir = std::filesystem::path(o.file).parent_path().string();
        k->DIRECTORIES->ADD((dir.empty() ? std::string(".") : dir) + "/");
      }
    }
    // a directory is joined to file names as it is: make sure it ends with "/"
    for (const auto& d : o.directories) k->DIRECTORIES->ADD(d.ends_with("/") ? d : d + "/");
    for (const auto& f : o.data) hAddData(*k->VARIABLES, f);
    for (const auto& v : o.variables)
      if (!hAssign(*k->VARIABLES, v, true)) throw CLI::ValidationError("--var", "expected NAME=VALUE: " + v);
    for (const auto& a : o.structs) {
      auto eq = a.find('=');
      if (eq == std::string::npos || eq == 0) throw CLI::ValidationError("--struct", "expected NAME=FILE: " + a);
      k->VARIABLES->ITEM_LET(a.substr(0, eq), Variant(hReadStructure(a.substr(eq + 1))));
    }
    if (o.autoescape) k->AUTOESCAPE_LET(true);
    for (const auto& s : o.settings)
      if (!hAssign(*k->SETTINGS, s, false)) throw CLI::ValidationError("--setting", "expected KEY=VALUE: " + s);
    std::string out = k->PROCESS(text, nullptr);
    std::fwrite(out.data(), 1, out.size(), stdout);
    std::fflush(stdout);
    int32_t count = k->ERRORLIST->COUNT();
    if (count > 0 && k->ERRORLIST->ISEMPTY()) count = 0;
    if (!o.quiet) hPrintErrors(*k, o.file.empty() ? "<text>" : o.file == "-" ? "<stdin>" : o.file, o.errors);
    if (count > 0 || k->CUTSHORT_GET()) throw CLI::RuntimeError(1);
  });
}

}  // namespace rykel::cli
