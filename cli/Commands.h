// The rykel program's sub-commands; each area adds its own in its own file.
#pragma once

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CommandFailure.h"
#include "host/cls_DB.h"
#include "structure/cls_Structure.h"

namespace rykel::cli {

// Reads a whole file, or standard input for "-", never more than INPUT.SIZE.MAX bytes. Raises the
// library's file errors (53 not found, 1000 "... is larger than INPUT.SIZE.MAX", ...).
std::string ReadInput(const std::string& path);

// Opens a database file (read-only unless pWrite) and silences the library's message boxes, which
// a command that reports its own failures does not want (SetNotifier({}) brings them back). A file
// that cannot be opened ends the command with the open error as its one message (exit 1).
// pStream opens a binary file read-only for one pass over its entries (the setting "STREAM").
DBPtr OpenDatabase(const std::string& pPath, bool pWrite = false, bool pStream = false);

// Ends the command with a usage error "unknown field X; fields: A, B" unless pDB has the field
// pName. A leading "&" (sort by display text) is allowed; "_" and "." are the same in names.
void CheckField(const rykel::cls_DB& pDB, const std::string& pName);

// The condition text the program hands to the library for a value typed on the command line.
// A value that starts with an operator of the condition language ("BEGINS m", ">= 10", "!x",
// "[] 1 9", "$=meier") is that condition; operator characters glued to a value with blanks are the
// operator too ("=Frankfurt am Main"). Any other value is compared whole, blanks included:
// "Frankfurt am Main" finds the entries whose value it is (with the language's default equality,
// case-blind), where the library alone would read "Frankfurt" as an operator. pRaw (--condition)
// hands the text on unchanged.
std::string ConditionText(const std::string& pValue, bool pRaw);

// What `db filter` and `db export --filter` ask for.
struct FilterRequest {
  std::vector<std::string> conditions;  // "FIELD=CONDITION", the condition as ConditionText reads it
  bool orMode = false;                  // any condition instead of every one
  bool raw = false;                     // --condition: the conditions are raw condition texts
  std::string sort, then;               // sort fields; empty: the view's
  bool rev = false, thenRev = false;
};

// The sort options of a command that prints sorted ids, bound to rRequest: --sort FIELD (with
// pSortOption; a command that takes the field as an argument has none), --rev, and with pThen the
// second field --then FIELD and --then-rev.
void AddSortOptions(CLI::App& pCommand, FilterRequest& rRequest, bool pSortOption, bool pThen);

// The ids of view pView's entries that meet the request, sorted. One field may carry several
// conditions (ORT=Kiel ORT=Bremen --or). A text without "=" or an unknown field (or sort field)
// ends the command with a usage error naming pOption.
rykel::cls_DB::IdList FilterEntries(rykel::cls_DB& pDB, const rykel::Variant& pView, const FilterRequest& pRequest,
                                    const std::string& pOption);

// The value of a KEY=VALUE assignment (struct set, tree): a text that reads as a number with "."
// as the decimal point (no ",": "1,5" stays text) is that number, a Long when it is whole and fits
// 32 bits ("7"), else a Double ("1.5", "1E20"); any other text stays text ("Anna", "", "1,5").
rykel::Variant AssignmentValue(const std::string& pText);
// The rule above for --help.
inline constexpr const char* kAssignmentHelp =
    "A VALUE that reads as a number with \".\" as the decimal point is stored as that number (a whole one\n"
    "as Long, else Double); any other text, \"1,5\" included, is stored as text.";
// KEY and value of one assignment; a text without "=" is a usage error "expected KEY=VALUE: ...".
std::pair<std::string, rykel::Variant> SplitAssignment(const std::string& pAssignment);

// Name and file of a --db [NAME=]FILE argument (render, build, serve); without a name, "MAIN".
struct DatabaseArgument {
  std::string name, file;
};
DatabaseArgument SplitDatabaseArgument(const std::string& pArgument);

void AddClassesCommand(CLI::App& app);
void AddStructCommands(CLI::App& app);
void AddSerializedCommands(CLI::App& app);
void AddTreeCommands(CLI::App& app);
void AddDbCommands(CLI::App& app);
// db query / filter / search / sort; REQUIRES: AddDbCommands ran.
void AddQueryCommands(CLI::App& app);
// rykel db export: after AddDbCommands, under its "db" command.
void AddDbExportCommand(CLI::App& app);
// db facets / stats / schema / field; REQUIRES: AddDbCommands ran.
void AddSchemaCommands(CLI::App& app);
// rykel db import: after AddDbCommands, under its "db" command.
void AddDbImportCommand(CLI::App& app);
void AddRenderCommand(CLI::App& app);
// rykel check FILE...: templates read without running them.
void AddCheckCommand(CLI::App& app);
void AddRandomCommands(CLI::App& app);
// rykel build SITE OUT: a site folder rendered to static files.
void AddBuildCommand(CLI::App& app);
// rykel serve: a site folder served over HTTP with live reload.
void AddServeCommand(CLI::App& app);
// rykel help [TOPIC] and the manual page.
void AddHelpCommand(CLI::App& app);

}  // namespace rykel::cli
