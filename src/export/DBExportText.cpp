// DBExportText: CSV, TSV, JSON and JSON lines over the plain walk, through one row buffer.
#include "export/DBExportText.h"

#include <array>

#include "export/DBExportPlain.h"
#include "frame/Text.h"
#include "structure/mdl_StructureJson.h"

namespace rykel::mdl_DBExport {

namespace {

constexpr size_t kFlushBytes = 1 << 16;

// The bytes a cell must not hold as they are, marked in a table: one look-up per byte of a cell.
using CharSet = std::array<bool, 256>;
constexpr CharSet hCharSet(std::string_view pChars) {
  CharSet set{};
  for (char ch : pChars) set[static_cast<unsigned char>(ch)] = true;
  return set;
}
constexpr CharSet kCsvSpecial = hCharSet(",\"\r\n"), kTsvSpecial = hCharSet("\\\t\r\n");

bool hHasAny(std::string_view s, const CharSet& pSet) {
  for (char ch : s)
    if (pSet[static_cast<unsigned char>(ch)]) return true;
  return false;
}

void hCsvCell(std::string& out, std::string_view s) {
  if (!hHasAny(s, kCsvSpecial)) {
    out += s;
    return;
  }
  out += '"';
  for (char ch : s) {
    if (ch == '"') out += '"';
    out += ch;
  }
  out += '"';
}

void hTsvCell(std::string& out, std::string_view s) {
  if (!hHasAny(s, kTsvSpecial)) {
    out += s;
    return;
  }
  for (char ch : s) {
    switch (ch) {
      case '\\': out += "\\\\"; break;
      case '\t': out += "\\t"; break;
      case '\r': out += "\\r"; break;
      case '\n': out += "\\n"; break;
      default: out += ch;
    }
  }
}

void hJsonCell(std::string& out, const PlainCell& c) {
  switch (c.kind) {
    case PlainKind::Null: out += "null"; break;
    case PlainKind::Integer:
    case PlainKind::Real:
    case PlainKind::Bool:
    case PlainKind::Json: out += c.text; break;
    case PlainKind::Date:
    case PlainKind::Text: out += mdl_StructureJson::Quote(c.text); break;
  }
}

}  // namespace

bool TEXTFORMAT(std::string_view pWord, TextFormat& rFormat) {
  std::string w = text::UCase(pWord);
  if (w == "CSV") rFormat = TextFormat::Csv;
  else if (w == "TSV") rFormat = TextFormat::Tsv;
  else if (w == "JSON") rFormat = TextFormat::Json;
  else if (w == "JSONL") rFormat = TextFormat::Jsonl;
  else return false;
  return true;
}

void EXPORTTEXT(cls_DBStore& rDB, std::FILE* pOut, TextFormat pFormat, const Variant& pView,
                const cls_DBStore::IDList& pIDs, const StructurePtr& pSettings) {
  PlainWalk walk(rDB, pView, pIDs, pSettings);
  const auto& fields = walk.FIELDS();
  bool json = pFormat == TextFormat::Json || pFormat == TextFormat::Jsonl;
  auto cell = pFormat == TextFormat::Csv ? hCsvCell : hTsvCell;
  const char* rowEnd = pFormat == TextFormat::Csv ? "\r\n" : "\n";
  char sep = pFormat == TextFormat::Csv ? ',' : '\t';
  std::string buf;
  auto flush = [&] {
    if (!buf.empty()) std::fwrite(buf.data(), 1, buf.size(), pOut);
    buf.clear();
  };
  // The object keys are the same for every entry: quoted once.
  std::vector<std::string> keys;
  if (json) {
    for (const auto& f : fields) keys.push_back(mdl_StructureJson::Quote(f->ID) + ":");
  } else {
    for (size_t i = 0; i < fields.size(); ++i) {
      if (i) buf += sep;
      cell(buf, fields[i]->ID);
    }
    buf += rowEnd;
  }
  if (pFormat == TextFormat::Json) buf += walk.ROWS() ? "[\n" : "[";
  Variant id;
  for (int64_t r = 0, rows = walk.ROWS(); r < rows; ++r) {
    const auto& cells = walk.ROW(r, id);
    if (json) {
      buf += '{';
      for (size_t i = 0; i < cells.size(); ++i) {
        if (i) buf += ',';
        buf += keys[i];
        hJsonCell(buf, cells[i]);
      }
      buf += '}';
      if (pFormat == TextFormat::Json && r + 1 < rows) buf += ',';
      buf += '\n';
    } else {
      for (size_t i = 0; i < cells.size(); ++i) {
        if (i) buf += sep;
        if (cells[i].kind != PlainKind::Null) cell(buf, cells[i].text);
      }
      buf += rowEnd;
    }
    if (buf.size() >= kFlushBytes) flush();
  }
  if (pFormat == TextFormat::Json) buf += "]\n";
  flush();
}

}  // namespace rykel::mdl_DBExport
