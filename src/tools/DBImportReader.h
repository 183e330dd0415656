// DBImportReader: reads the rows of a data file for the database import, one at a time, without
// holding the file in memory.
//
//   CSV/TSV  RFC 4180: records end with CR LF, LF or CR; a value may be quoted with '"' and then
//            holds delimiters, line breaks and doubled quotes (""); the first record is the header
//            row naming the columns. A UTF-8 byte order mark is skipped. Blank lines are skipped.
//            utf-8 input must be valid UTF-8; cp1252 input is converted to UTF-8.
//   JSONL    one JSON object per line (blank lines skipped); its keys are the columns.
//   JSON     one array of objects, read object by object.
// In JSON, strings are taken as they are, numbers as their JSON text, true/false as "True"/"False",
// null as no value; an object or array as a value is a bad row.
//
// Row values are text; "" means no value. Lines count from 1; a row's line is the line it starts on.
// A CSV record, or a JSONL line, longer than IMPORT.LINE.MAX bytes (frame/mdl_Limits.h) stops the
// reading: "FILE:LINE: the record is longer than IMPORT.LINE.MAX (16777216 bytes)" ("the line" for
// JSONL).
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace rykel {

class DBImportReader {
 public:
  enum class Format { kCsv, kJson, kJsonl };
  struct Settings {
    Format format = Format::kCsv;
    char delimiter = ',';
    bool cp1252 = false;
  };
  // One row: the values by column number (shorter than the column list when the last columns
  // have no value).
  using RowFn = std::function<void(int64_t pLine, std::vector<std::string>& rValues)>;
  // A row that cannot be read (ragged, a bad quote, bad encoding, not an object): its line and why.
  using BadFn = std::function<void(int64_t pLine, const std::string& pMessage)>;
  // Bytes read so far, of pTotal.
  using ProgressFn = std::function<void(int64_t pDone, int64_t pTotal)>;

  // Opens pFile ("-" for standard input); raises 53 when it cannot be opened and 1000 when it is
  // not a regular file.
  DBImportReader(const std::string& pFile, Settings pSettings);
  ~DBImportReader();
  DBImportReader(const DBImportReader&) = delete;
  DBImportReader& operator=(const DBImportReader&) = delete;

  // Reads the file from its start: the column names, as the header row or the JSON keys give
  // them (JSON adds a column at the first row that holds a new key), then every row. Damage that
  // ends the reading (an unclosed quote, malformed JSON) raises 1000 "FILE:LINE: message"; a bad
  // row goes to pBad and the reading goes on at the next row.
  void Read(const RowFn& pRow, const BadFn& pBad, const ProgressFn& pProgress = {});
  // The name messages give the file: its path, or "standard input".
  const std::string& Name() const { return file_; }
  // The columns found so far.
  const std::vector<std::string>& Columns() const { return columns_; }

  // The file position and line counting the readers share.
  struct Source;

 private:
  void hReadCsv(const RowFn& pRow, const BadFn& pBad);
  void hReadJsonl(const RowFn& pRow, const BadFn& pBad);
  void hReadJsonArray(const RowFn& pRow, const BadFn& pBad);
  [[noreturn]] void hFail(int64_t pLine, const std::string& pMessage) const;

  std::string file_;
  Settings settings_;
  std::FILE* fp_ = nullptr;
  int64_t size_ = 0;
  std::vector<std::string> columns_;
  Source* src_ = nullptr;
};

}  // namespace rykel
