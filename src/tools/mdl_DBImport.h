// mdl_DBImport: fills a database store from a CSV, TSV, JSON or JSONL file (the reading:
// DBImportReader.h). Each row becomes a new entry with the next free id.
//
// Columns map to fields by --map (COLUMN=FIELD), else by field ID or display name (case-blind,
// "_" and "." alike). With pCreate, a column that maps to no field gets a new one: its ID is the
// column name upper-cased with every character but letters, digits, "_" and "." as "_" (the column
// name becomes the display name when it differs), its type inferred from all its values:
//   LONG    whole numbers within 32 bits, none with a leading zero ("0421" is a postal code)
//   DOUBLE  numbers with "." or "," as the decimal point (and whole numbers within 32 bits)
//   DATE    dates as the system reads them (yyyy-mm-dd, d.m.yyyy, optionally with a time)
//   BOOL    the words true/false, yes/no, ja/nein, wahr/falsch (any case)
//   STRING  anything else; also a column without values, numbers with a leading "+" or zero,
//           and whole numbers past 32 bits
// A column mapped to a field that does not exist gets a field of that ID. Without pCreate such
// columns are an error.
//
// Each value must fit its field's type (a date that exists, a (whole) number, a yes/no word, a
// choice member's key or text); an empty value sets nothing.
//
// All or nothing: a bad row (a flaw in the file, a value that does not fit) raises 1000
// "FILE:LINE: message" and takes back every entry and field the import added; with pSkipBad the
// bad rows are left out and their lines listed instead. The import does not save: the caller
// saves once when it returns.
//
//   mdl_DBImport::Options o; o.create = true;
//   auto r = mdl_DBImport::Import(db, "people.csv", o);  // r.imported entries added
//   db.DBSAVE();
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "database/cls_DBStore.h"

namespace rykel::mdl_DBImport {

struct Options {
  std::string format;     // "csv", "tsv", "json", "jsonl"; "" picks by the file's extension (else csv)
  std::string delimiter;  // one character; "" for "," (csv) or a tab (tsv); "\t" and "tab" name a tab
  std::string encoding;   // "utf-8" (default) or "cp1252" (csv and tsv only)
  std::vector<std::pair<std::string, std::string>> map;         // column -> field
  bool create = false;                                          // make fields for unmapped columns
  bool skipBad = false;                                         // leave bad rows out instead of failing
  std::function<void(int64_t pDone, int64_t pTotal)> progress;  // bytes read of the file's size
  // When set, each row's entry goes here as soon as it is read, in file order, instead of into the
  // database (nothing is kept aside); a later failure still raises, and what the sink did with the
  // rows before is its caller's to take back (the program writes them to the temporary file of an
  // atomic write). pRows: with create, the rows the first pass read (so, unless skipBad, the rows
  // the sink gets when the import succeeds); else -1.
  std::function<void(const StructurePtr& pEntry, int64_t pRows)> sink;
  // The same with each entry as its serialized text (what SERIALIZE gives for the entry), made
  // straight from the row without building the structure; takes the place of sink when set.
  std::function<void(std::string_view pSerialized, int64_t pRows)> textSink;
};

struct Result {
  int64_t imported = 0;
  std::vector<std::string> fieldsCreated;  // IDs of the fields made for columns
  std::vector<int64_t> skipped;            // lines of the rows left out (pSkipBad)
  std::vector<std::string> problems;       // and why, "FILE:LINE: message", in the same order
};

// Imports pFile into rDB (see the header comment). Raises 5 for bad options, the file errors of
// reading it, and 1000 for a bad row (unless skipped) or a column without a field.
Result Import(cls_DBStore& rDB, const std::string& pFile, const Options& pOptions);

// The same with options as a structure: "FORMAT", "DELIMITER", "ENCODING", "CREATE", "SKIPBAD",
// and "MAP": "COLUMN=FIELD" texts (one per item, or lines of one text). Returns "IMPORTED" (a
// number), "FIELDS" (the created fields' IDs, items 1..n) and "SKIPPED" (lines, items 1..n).
// Errors follow the common convention (Guard / ERRHANDLE) under "cls_DB.IMPORTFILE"; null when
// the policy continues.
StructurePtr IMPORTFILE(cls_DBStore& rDB, const std::string& pFile, const StructurePtr& pOptions = nullptr);

// The type a new field gets for these values (see the header comment).
int32_t InferType(const std::vector<std::string>& pValues);

}  // namespace rykel::mdl_DBImport
