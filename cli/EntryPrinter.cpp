// The one printer for entries on standard output (see EntryPrinter.h).
#include "EntryPrinter.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "frame/Convert.h"
#include "structure/mdl_StructureJson.h"

namespace rykel::cli {

namespace {

using Row = std::vector<std::string>;

size_t hTerminalWidth() {
  if (const char* columns = std::getenv("COLUMNS")) {
    long n = std::strtol(columns, nullptr, 10);
    if (n > 0) return static_cast<size_t>(n);
  }
  winsize ws{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &ws) == 0 && ws.ws_col > 0) return ws.ws_col;
  return 80;
}

// The text cut to at most pWidth characters, the last of them "…" when something was cut.
std::string hCut(const std::string& pText, size_t pWidth) {
  if (DisplayWidth(pText) <= pWidth) return pText;
  if (pWidth == 0) return {};
  size_t chars = 0, at = 0;
  for (; at < pText.size(); ++at) {
    bool lead = (static_cast<unsigned char>(pText[at]) & 0xC0) != 0x80;
    if (lead && chars++ == pWidth - 1) break;
  }
  return pText.substr(0, at) + "…";
}

// Line breaks and tabs inside a value would break the table's lines: shown as blanks.
std::string hOneLine(std::string pText) {
  std::replace_if(
      pText.begin(), pText.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
  return pText;
}

void hPrintTable(const std::vector<Row>& pRows) {
  const size_t columns = pRows.front().size();
  std::vector<size_t> width(columns, 0);
  for (const auto& row : pRows)
    for (size_t c = 0; c < columns; ++c) width[c] = std::max(width[c], DisplayWidth(row[c]));
  // Too wide for the terminal: the widest column gives up a character at a time, down to 3
  // characters, until the line (columns and two blanks between them) fits.
  const size_t limit = hTerminalWidth();
  auto total = [&] {
    size_t sum = 2 * (columns - 1);
    for (size_t w : width) sum += w;
    return sum;
  };
  while (total() > limit) {
    auto widest = std::max_element(width.begin(), width.end());
    if (*widest <= 3) break;
    --*widest;
  }
  for (const auto& row : pRows) {
    std::string line;
    for (size_t c = 0; c < columns; ++c) {
      std::string cell = hCut(row[c], width[c]);
      line += cell;
      if (c + 1 < columns) line += std::string(width[c] - DisplayWidth(cell) + 2, ' ');
    }
    while (!line.empty() && line.back() == ' ') line.pop_back();
    std::printf("%s\n", line.c_str());
  }
}

std::string hCsvCell(const std::string& pText) {
  if (pText.find_first_of(",\"\r\n") == std::string::npos) return pText;
  std::string quoted = "\"";
  for (char c : pText) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

// An entry as a structure: numbers, yes/no values and dates keep their type, the rest is display text.
StructurePtr hEntryData(cls_DB& pDB, const Variant& pID) {
  auto entry = cls_Structure::New();
  entry->ITEMBYID_LET("ID", pID);
  for (int32_t f = 1; f <= pDB.FIELDS(); ++f) {
    auto field = pDB.FIELD(f);
    Variant value = pDB.ENTRYFIELD_GET(pID, f);
    bool typed = false;
    switch (field->TYPE) {
      case ID_DBFieldType_Long:
      case ID_DBFieldType_Double: typed = value.isNumber(); break;
      case ID_DBFieldType_Boolean: typed = value.isBool(); break;
      case ID_DBFieldType_Date: typed = value.isDate(); break;
      default: break;
    }
    entry->ITEMBYID_LET(field->ID, typed ? value : Variant(pDB.FIELDTEXT_GET(pID, f)));
  }
  return entry;
}

}  // namespace

size_t DisplayWidth(const std::string& pText) {
  return static_cast<size_t>(
      std::count_if(pText.begin(), pText.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

void AddEntryFormatOption(CLI::App& pCommand, std::string& rAs, const std::string& pWhat) {
  pCommand
      .add_option("--as", rAs,
                  "print the " + pWhat +
                      " as table (aligned, display names; the default on a terminal), tsv "
                      "(the default otherwise), csv, json or jsonl")
      ->check(CLI::IsMember({"table", "tsv", "csv", "json", "jsonl"}));
}

void PrintEntries(cls_DB& pDB, const cls_DB::IdList& pIDs, const std::string& pAs) {
  std::string as = !pAs.empty() ? pAs : isatty(STDOUT_FILENO) ? "table" : "tsv";
  if (as == "json" || as == "jsonl") {
    if (as == "json") {
      auto list = cls_Structure::New();
      for (const auto& id : pIDs) list->ADD(Variant(hEntryData(pDB, id)));
      PrintJson(list, true);
      return;
    }
    for (const auto& id : pIDs) std::printf("%s\n", mdl_StructureJson::Write(*hEntryData(pDB, id), -1).c_str());
    return;
  }
  std::vector<Row> rows;
  Row head{"ID"};
  for (int32_t f = 1; f <= pDB.FIELDS(); ++f) {
    auto field = pDB.FIELD(f);
    head.push_back(as == "table" && !field->NAME.empty() ? field->NAME : field->ID);
  }
  rows.push_back(head);
  for (const auto& id : pIDs) {
    Row row{CStr(id)};
    for (int32_t f = 1; f <= pDB.FIELDS(); ++f) row.push_back(pDB.FIELDTEXT_GET(id, f));
    rows.push_back(std::move(row));
  }
  PrintRows(std::move(rows), as);
}

void PrintRows(std::vector<Row> pRows, const std::string& pAs) {
  std::string as = !pAs.empty() ? pAs : isatty(STDOUT_FILENO) ? "table" : "tsv";
  if (as == "table") {
    for (auto& row : pRows)
      for (auto& cell : row) cell = hOneLine(cell);
    return hPrintTable(pRows);
  }
  for (const auto& row : pRows) {
    std::string line;
    for (size_t c = 0; c < row.size(); ++c)
      line += (c ? (as == "csv" ? "," : "\t") : "") + (as == "csv" ? hCsvCell(row[c]) : row[c]);
    std::printf("%s\n", line.c_str());
  }
}

void PrintSummary(std::vector<Row> pRows, const StructurePtr& pJson, bool pList, const StructurePtr& pLines,
                  const std::string& pAs) {
  if (pAs == "json") return PrintJson(pJson, pList);
  if (pAs != "jsonl") return PrintRows(std::move(pRows), pAs);
  for (int32_t i = pLines->BASE(); i <= pLines->MAX(); ++i)
    if (auto item = pLines->ITEM_GET(Variant(i), {}, true).as<cls_Structure>())
      std::printf("%s\n", mdl_StructureJson::Write(*item, -1).c_str());
}

void PrintJson(const StructurePtr& pData, bool pList) {
  if (pList && pData->COUNT() == 0) return void(std::printf("[]\n"));
  std::fputs(mdl_StructureJson::Write(*pData, 2).c_str(), stdout);
}

}  // namespace rykel::cli
