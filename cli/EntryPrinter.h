// How the commands that print entries lay them out: an aligned table for a person at a terminal,
// tab-separated text for scripts, CSV, and JSON for programs.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

#include "host/cls_DB.h"
#include "structure/cls_Structure.h"

namespace rykel::cli {

// Adds --as table|tsv|csv|json|jsonl to pCommand, bound to rAs ("" when not given); pWhat names
// what is printed in the option's help.
void AddEntryFormatOption(CLI::App& pCommand, std::string& rAs, const std::string& pWhat = "entries");

// Prints the entries pIDs of pDB in the form pAs names; "" picks table when standard output is a
// terminal and tsv otherwise.
//   table  a header of display names, columns aligned by characters (an umlaut is one), values cut
//          with "…" so that a line fits the terminal (COLUMNS, else the terminal's width, else 80)
//   tsv    a header "ID<TAB>FIELD..." of field ids, then id and display texts, tab-separated
//   csv    the same columns, quoted where a value holds a comma, quote or line break
//   json   one array of objects {"ID": id, "FIELD": value}; jsonl one such object a line.
//          Numbers and yes/no values keep their type, dates are "yyyy-mm-dd HH:MM:SS"; every other
//          value is its display text.
void PrintEntries(cls_DB& pDB, const cls_DB::IdList& pIDs, const std::string& pAs);

// Rows of text cells, the first the header, as table, tsv or csv ("": table on a terminal, else
// tsv), laid out as PrintEntries lays out entries.
void PrintRows(std::vector<std::vector<std::string>> pRows, const std::string& pAs);

// A summary (db facets, stats, schema) in the form pAs names: table, tsv or csv from pRows as
// PrintRows lays them out, json as pJson's text (PrintJson with pList), jsonl one line of JSON per
// item of pLines.
void PrintSummary(std::vector<std::vector<std::string>> pRows, const StructurePtr& pJson, bool pList,
                  const StructurePtr& pLines, const std::string& pAs);

// The structure's JSON text on standard output, pretty-printed (a structure without items is
// printed as [] when pList, for results that are lists).
void PrintJson(const StructurePtr& pData, bool pList);

// Width of a UTF-8 text on a terminal: one column per character.
size_t DisplayWidth(const std::string& pText);

}  // namespace rykel::cli
