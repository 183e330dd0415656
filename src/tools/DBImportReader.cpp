#include "tools/DBImportReader.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <nlohmann/json.hpp>
#include <unordered_map>

#include "frame/Error.h"
#include "frame/Text.h"
#include "frame/mdl_Limits.h"

namespace rykel {

using Json = nlohmann::ordered_json;

// A buffered forward reader over the file that counts lines (LF, CR LF and a lone CR each end one)
// and reports how far it got.
struct DBImportReader::Source {
  static constexpr size_t kChunk = 1 << 20;
  std::FILE* fp = nullptr;
  int64_t size = 0;
  const ProgressFn* progress = nullptr;
  std::string buf;
  size_t pos = 0;
  int64_t done = 0;  // bytes before buf
  int64_t line = 1;
  bool eof = false;

  bool Fill() {
    if (eof) return false;
    done += static_cast<int64_t>(buf.size());
    buf.resize(kChunk);
    size_t n = std::fread(buf.data(), 1, kChunk, fp);
    buf.resize(n);
    pos = 0;
    if (n == 0) {
      eof = true;
      if (std::ferror(fp)) Raise(err::kFileIO, std::string("cannot read the file: ") + std::strerror(errno));
    }
    if (progress && *progress) (*progress)(done + static_cast<int64_t>(n), size);
    return n > 0;
  }
  int Peek() {
    if (pos == buf.size() && !Fill()) return EOF;
    return static_cast<unsigned char>(buf[pos]);
  }
  int Get() {
    // the common case, a plain byte in the buffer, stays small enough to be inlined everywhere
    if (pos < buf.size()) {
      const unsigned char c = static_cast<unsigned char>(buf[pos]);
      if (c != '\n' && c != '\r') {
        ++pos;
        return c;
      }
    }
    return hGetAny();
  }
  int hGetAny() {
    int c = Peek();
    if (c == EOF) return c;
    ++pos;
    if (c == '\n' || (c == '\r' && Peek() != '\n')) ++line;
    return c;
  }
  bool AtEnd() { return Peek() == EOF; }
};

namespace {

// Windows-1252's characters for the bytes 0x80-0x9F (0 where the code page has none); the bytes
// from 0xA0 are Latin-1.
constexpr char16_t kCp1252High[32] = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                      0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                      0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0};

// The UTF-8 text of cp1252 bytes; false (rProblem set) for a byte the code page does not define.
bool hFromCp1252(std::string& rText, std::string& rProblem) {
  if (text::IsAscii(rText)) return true;
  std::string out;
  out.reserve(rText.size() + 8);
  for (unsigned char b : rText) {
    char32_t cp = b;
    if (b >= 0x80 && b < 0xA0) {
      cp = kCp1252High[b - 0x80];
      if (cp == 0) {
        char hex[8];
        std::snprintf(hex, sizeof hex, "0x%02X", b);
        rProblem = std::string("the byte ") + hex + " is not a cp1252 character";
        return false;
      }
    }
    if (cp < 0x80) {
      out += static_cast<char>(cp);
    } else if (cp < 0x800) {
      out += static_cast<char>(0xC0 | (cp >> 6));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
      out += static_cast<char>(0xE0 | (cp >> 12));
      out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    }
  }
  rText = std::move(out);
  return true;
}

// "the record is longer than IMPORT.LINE.MAX (n bytes)".
std::string hTooLong(const char* pWhat, size_t pMax) {
  return std::string("the ") + pWhat + " is longer than IMPORT.LINE.MAX (" + std::to_string(pMax) + " bytes)";
}

// The bytes that end a run of plain characters in an unquoted value: the delimiter, CR, LF and the
// quote (true at their index).
using CsvStops = std::array<bool, 256>;
CsvStops hCsvStops(char delim) {
  CsvStops stops{};
  for (char c : {delim, '\n', '\r', '"'}) stops[static_cast<unsigned char>(c)] = true;
  return stops;
}

// One CSV record into rValues; false at the end of the file. rProblem names a flaw that spoils
// only this record (the rest of its line is skipped); an unclosed quote raises pFail. rHigh marks
// the values that hold a byte past 0x7F (bit i for value i, bit 63 for every value from the 63rd
// on): the others are plain ASCII and need no check of their encoding.
// record -> value { DELIM value } (CRLF | LF | CR | EOF)
// value  -> '"' { char | '""' } '"' | { char but DELIM, '"', CR, LF }
// A record longer than pMax bytes raises pFail too.
template <class FailFn>
bool hCsvRecord(DBImportReader::Source& s, char delim, const CsvStops& pStops, size_t pMax,
                std::vector<std::string>& rValues, int64_t& rLine, std::string& rProblem, uint64_t& rHigh,
                const FailFn& pFail) {
  size_t n = 0;     // values of this record; the strings of rValues are reused for their capacity
  size_t used = 0;  // bytes of the values before the current one
  rProblem.clear();
  unsigned char high = 0;  // the bits of the current value's bytes
  rHigh = 0;
  auto mark = [&] {
    if (n > 0 && (high & 0x80)) rHigh |= uint64_t{1} << std::min<size_t>(n - 1, 63);
    high = 0;
  };
  int c;
  for (;;) {  // blank lines hold no record
    rLine = s.line;
    c = s.Get();
    if (c != '\n' && c != '\r') break;
  }
  if (c == EOF) return false;
  auto skipLine = [&] {
    while (c != '\n' && c != '\r' && c != EOF) c = s.Get();
  };
  auto bound = [&](const std::string& cur) {
    if (used + cur.size() > pMax) pFail(rLine, hTooLong("record", pMax));
  };
  auto next = [&]() -> std::string& {
    mark();
    if (n > 0) used += rValues[n - 1].size() + 1;
    if (n == rValues.size()) rValues.emplace_back();
    std::string& v = rValues[n++];
    v.clear();
    return v;
  };
  auto finish = [&] {
    mark();
    rValues.resize(n);
  };
  // The common record, a whole line in the buffer without quotes or a lone CR, is cut at its
  // delimiters straight from the buffer.
  if (c != '"') {
    const char* first = s.buf.data() + s.pos - 1;  // c
    const char* stop = s.buf.data() + s.buf.size();
    const auto* lf = static_cast<const char*>(std::memchr(first, '\n', static_cast<size_t>(stop - first)));
    const char* end = lf && lf > first && lf[-1] == '\r' ? lf - 1 : lf;
    if (end && static_cast<size_t>(end - first) <= pMax && !std::memchr(first, '"', static_cast<size_t>(end - first)) &&
        !std::memchr(first, '\r', static_cast<size_t>(end - first))) {
      // eight bytes at a time: a zero byte in (word ^ delimiters) marks a delimiter
      constexpr uint64_t kOnes = 0x0101010101010101ull, kHighs = 0x8080808080808080ull;
      const uint64_t delims = kOnes * static_cast<unsigned char>(delim);
      for (const char* p = first;;) {
        const char* q = p;
        uint64_t bits = 0;
        for (; end - q >= 8; q += 8) {
          uint64_t w;
          std::memcpy(&w, q, 8);
          const uint64_t x = w ^ delims;
          const uint64_t hit = (x - kOnes) & ~x & kHighs;
          if (hit) {
            const int at = std::countr_zero(hit) / 8;  // the first delimiter (little-endian)
            bits |= w & ((uint64_t{1} << (8 * at)) - 1);
            q += at;
            break;
          }
          bits |= w;
        }
        while (q < end && *q != delim) bits |= static_cast<unsigned char>(*q++);
        std::string& v = next();
        v.append(p, static_cast<size_t>(q - p));
        high = (bits & kHighs) ? 0x80 : 0;
        if (q == end) break;
        p = q + 1;
      }
      s.pos = static_cast<size_t>(lf + 1 - s.buf.data());
      ++s.line;
      finish();
      return true;
    }
  }
  for (;;) {
    std::string& cur = next();
    if (c == '"') {
      int64_t opened = s.line;
      for (;;) {
        c = s.Get();
        if (c == EOF) pFail(opened, "a quote opened on this line is never closed");
        if (c == '"') {
          if (s.Peek() != '"') break;
          s.Get();
        }
        cur += static_cast<char>(c);
        high |= static_cast<unsigned char>(c);
        bound(cur);
      }
      c = s.Get();
      if (c != delim && c != '\n' && c != '\r' && c != EOF) {
        rProblem = "text after a closing quote (a quote inside a value is written \"\")";
        skipLine();
        finish();
        return true;
      }
    } else {
      // The common case, a value that ends in the buffer at a delimiter or line break, is copied
      // at once from where its first character was read.
      if (c != EOF && !pStops[static_cast<unsigned char>(c)]) {
        const size_t stop = s.buf.size();
        size_t end = s.pos;
        high |= static_cast<unsigned char>(c);
        while (end < stop && !pStops[static_cast<unsigned char>(s.buf[end])])
          high |= static_cast<unsigned char>(s.buf[end++]);
        if (end < stop && s.buf[end] != '"') {
          cur.append(s.buf.data() + s.pos - 1, end - s.pos + 1);  // cur is empty
          s.pos = end;
          bound(cur);
          c = s.Get();
        }
      }
      while (c != delim && c != '\n' && c != '\r' && c != EOF) {
        if (c == '"') {
          rProblem = "a quote inside an unquoted value (quote the whole value and write the quote \"\")";
          skipLine();
          finish();
          return true;
        }
        cur += static_cast<char>(c);
        high |= static_cast<unsigned char>(c);
        // The plain characters that follow are copied at once, straight from the buffer.
        const size_t stop = s.buf.size();
        size_t end = s.pos;
        while (end < stop && !pStops[static_cast<unsigned char>(s.buf[end])])
          high |= static_cast<unsigned char>(s.buf[end++]);
        cur.append(s.buf, s.pos, end - s.pos);
        s.pos = end;
        bound(cur);
        c = s.Get();
      }
    }
    if (c != delim) {
      finish();
      return true;
    }
    c = s.Get();
  }
}

// The text a JSON value is imported as; false for an object or array.
bool hJsonText(const Json& v, std::string& rOut) {
  switch (v.type()) {
    case Json::value_t::string: rOut = v.get_ref<const std::string&>(); return true;
    case Json::value_t::boolean: rOut = v.get<bool>() ? "True" : "False"; return true;
    case Json::value_t::null: rOut.clear(); return true;
    case Json::value_t::object:
    case Json::value_t::array: return false;
    default: rOut = v.dump(); return true;
  }
}

// "line 3, column 5: syntax error ..." out of the library's "[json.exception...] parse error at ...".
std::string hJsonMessage(const std::exception& e) {
  std::string m = e.what();
  size_t at = m.find(" at line ");
  if (at != std::string::npos) m = m.substr(at + 4);
  else if (size_t br = m.find("] "); br != std::string::npos) m = m.substr(br + 2);
  return "malformed JSON: " + m;
}

// An input iterator over the source, so the JSON parser reads the file as it goes.
struct SourceIt {
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = char;
  DBImportReader::Source* s = nullptr;
  char operator*() const { return static_cast<char>(s->Peek()); }
  SourceIt& operator++() {
    s->Get();
    return *this;
  }
  SourceIt operator++(int) {
    SourceIt old = *this;
    s->Get();
    return old;
  }
  bool operator==(const SourceIt& o) const { return (!s || s->AtEnd()) == (!o.s || o.s->AtEnd()); }
};

}  // namespace

DBImportReader::DBImportReader(const std::string& pFile, Settings pSettings) : file_(pFile), settings_(pSettings) {
  if (pFile == "-") {
    // Standard input is read once, into a temporary file, so that it can be read twice (the
    // types of new fields are learnt in a pass of their own) without being held in memory.
    file_ = "standard input";
    fp_ = std::tmpfile();
    if (!fp_)
      Raise(err::kFileIO, std::string("cannot make a temporary file for standard input: ") + std::strerror(errno));
    std::string buf(1 << 16, '\0');
    for (size_t n; (n = std::fread(buf.data(), 1, buf.size(), stdin)) > 0;) {
      if (std::fwrite(buf.data(), 1, n, fp_) != n)
        Raise(err::kFileIO, std::string("cannot keep standard input in a temporary file: ") + std::strerror(errno));
      size_ += static_cast<int64_t>(n);
    }
    if (std::ferror(stdin) || std::fflush(fp_) != 0)
      Raise(err::kFileIO, std::string("cannot read standard input: ") + std::strerror(errno));
    return;
  }
  struct stat st {};
  if (::stat(pFile.c_str(), &st) != 0) Raise(err::kFileNotFound, "File '" + pFile + "' not found");
  if (!S_ISREG(st.st_mode)) Raise(err::kInvalidData, "'" + pFile + "' is not a regular file");
  fp_ = std::fopen(pFile.c_str(), "rb");
  if (!fp_) Raise(err::kFileNotFound, "cannot open '" + pFile + "': " + std::strerror(errno));
  size_ = st.st_size;
}

DBImportReader::~DBImportReader() {
  if (fp_) std::fclose(fp_);
}

void DBImportReader::hFail(int64_t pLine, const std::string& pMessage) const {
  Raise(err::kInvalidData, file_ + ":" + std::to_string(pLine) + ": " + pMessage);
}

void DBImportReader::Read(const RowFn& pRow, const BadFn& pBad, const ProgressFn& pProgress) {
  std::rewind(fp_);
  columns_.clear();
  Source src;
  src.fp = fp_;
  src.size = size_;
  src.progress = &pProgress;
  src_ = &src;
  // A UTF-8 byte order mark is no part of the data.
  if (src.Peek() == 0xEF) {
    src.Get();
    if (src.Peek() != 0xBB) hFail(1, "the file starts with a byte that is not text");
    src.Get();
    if (src.Peek() != 0xBF) hFail(1, "the file starts with a byte that is not text");
    src.Get();
  }
  try {
    switch (settings_.format) {
      case Format::kCsv: hReadCsv(pRow, pBad); break;
      case Format::kJsonl: hReadJsonl(pRow, pBad); break;
      case Format::kJson: hReadJsonArray(pRow, pBad); break;
    }
  } catch (...) {
    src_ = nullptr;
    throw;
  }
  src_ = nullptr;
}

void DBImportReader::hReadCsv(const RowFn& pRow, const BadFn& pBad) {
  Source& s = *src_;
  std::vector<std::string> values;
  std::string problem;
  int64_t line = 1;
  auto fail = [this](int64_t l, const std::string& m) { hFail(l, m); };
  // Values in UTF-8, or what is wrong with their bytes.
  uint64_t high = 0;
  auto decode = [&](std::vector<std::string>& rValues) {
    // plain ASCII reads the same in both encodings
    for (size_t i = 0; high && i < rValues.size(); ++i) {
      if (!(high >> std::min<size_t>(i, 63) & 1)) continue;
      std::string& v = rValues[i];
      if (settings_.cp1252) {
        if (!hFromCp1252(v, problem)) return false;
      } else if (!text::IsUtf8(v)) {
        problem = "invalid UTF-8 (is the file cp1252? try --encoding cp1252)";
        return false;
      }
    }
    return true;
  };
  const auto max = static_cast<size_t>(mdl_Limits::Get(mdl_Limits::kImportLine));
  const CsvStops stops = hCsvStops(settings_.delimiter);
  if (!hCsvRecord(s, settings_.delimiter, stops, max, values, line, problem, high, fail)) hFail(1, "no header row");
  if (!problem.empty() || !decode(values)) hFail(line, "header row: " + problem);
  columns_ = values;
  while (hCsvRecord(s, settings_.delimiter, stops, max, values, line, problem, high, fail)) {
    if (!problem.empty() || !decode(values)) {
      pBad(line, problem);
    } else if (values.size() != columns_.size()) {
      pBad(line, "expected " + std::to_string(columns_.size()) + " values, found " + std::to_string(values.size()));
    } else {
      pRow(line, values);
    }
  }
}

namespace {

// Puts one JSON object's values into rValues by column, adding columns for new keys. False (and
// rProblem) for a value that is an object or array.
bool hJsonRow(const Json& pObject, std::vector<std::string>& rColumns, std::unordered_map<std::string, size_t>& rIndex,
              std::vector<std::string>& rValues, std::string& rProblem) {
  rValues.assign(rColumns.size(), std::string());
  for (const auto& [key, value] : pObject.items()) {
    auto [it, added] = rIndex.try_emplace(key, rColumns.size());
    if (added) {
      rColumns.push_back(key);
      rValues.emplace_back();
    }
    if (!hJsonText(value, rValues[it->second])) {
      rProblem = "\"" + key + "\" holds a nested object or array, which is not imported";
      return false;
    }
  }
  return true;
}

}  // namespace

void DBImportReader::hReadJsonl(const RowFn& pRow, const BadFn& pBad) {
  Source& s = *src_;
  std::unordered_map<std::string, size_t> index;
  std::vector<std::string> values;
  std::string lineText, problem;
  const auto max = static_cast<size_t>(mdl_Limits::Get(mdl_Limits::kImportLine));
  while (!s.AtEnd()) {
    int64_t line = s.line;
    lineText.clear();
    for (int c = s.Get(); c != EOF && c != '\n' && c != '\r'; c = s.Get()) {
      lineText += static_cast<char>(c);
      if (lineText.size() > max) hFail(line, hTooLong("line", max));
    }
    if (lineText.find_first_not_of(" \t") == std::string::npos) continue;
    Json row;
    try {
      row = Json::parse(lineText);
    } catch (const Json::parse_error& e) {
      pBad(line, hJsonMessage(e));
      continue;
    }
    if (!row.is_object()) {
      pBad(line, "expected a JSON object");
      continue;
    }
    if (!hJsonRow(row, columns_, index, values, problem)) {
      pBad(line, problem);
      continue;
    }
    pRow(line, values);
  }
}

void DBImportReader::hReadJsonArray(const RowFn& pRow, const BadFn& pBad) {
  Source& s = *src_;
  std::unordered_map<std::string, size_t> index;
  std::vector<std::string> values;
  std::string problem;
  int64_t rowLine = 1;
  // Each object of the top-level array is handed on when it ends and then dropped, so the array
  // never holds more than one of them.
  auto callback = [&](int depth, nlohmann::json::parse_event_t event, Json& parsed) {
    using E = nlohmann::json::parse_event_t;
    if (depth == 0 && (event == E::object_start || (event == E::value && !parsed.is_array())))
      hFail(s.line, "expected a JSON array of objects");
    if (depth != 1) return true;
    if (event == E::object_start || event == E::array_start) rowLine = s.line;
    if (event == E::object_end) {
      if (hJsonRow(parsed, columns_, index, values, problem)) pRow(rowLine, values);
      else pBad(rowLine, problem);
      return false;
    }
    if (event == E::array_end || event == E::value) {
      pBad(event == E::value ? s.line : rowLine, "expected a JSON object");
      return false;
    }
    return true;
  };
  try {
    Json top = Json::parse(SourceIt{&s}, SourceIt{}, callback);  // the emptied array
  } catch (const Json::parse_error& e) { hFail(s.line, hJsonMessage(e)); }
}

}  // namespace rykel
