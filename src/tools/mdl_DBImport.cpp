#include "tools/mdl_DBImport.h"

#include <cctype>
#include <climits>
#include <cmath>
#include <string_view>
#include <unordered_set>

#include "database/mdl_DBValueFit.h"
#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "structure/cls_StructureSerializer.h"
#include "tools/DBImportReader.h"

namespace rykel::mdl_DBImport {

namespace {

constexpr const char* kClass = "cls_DB";

// Digits with an optional "-", and (pDecimal) one "." or "," between digits. A leading zero
// before another digit ("0421", "007.5") marks an identifier, not a number.
bool hIsNumber(std::string_view s, bool pDecimal) {
  size_t i = !s.empty() && s[0] == '-' ? 1 : 0;
  size_t digits = 0, sep = std::string_view::npos;
  for (size_t k = i; k < s.size(); ++k) {
    if (std::isdigit(static_cast<unsigned char>(s[k]))) ++digits;
    else if (pDecimal && (s[k] == '.' || s[k] == ',') && sep == std::string_view::npos && k > i) sep = k;
    else return false;
  }
  if (digits == 0 || (sep != std::string_view::npos && sep + 1 == s.size())) return false;
  size_t intEnd = sep == std::string_view::npos ? s.size() : sep;
  return !(s[i] == '0' && intEnd - i > 1);
}

bool hIsLong(std::string_view s) {
  if (!hIsNumber(s, false) || s.size() > 11) return false;
  long long v = 0;
  for (char c : s.substr(s[0] == '-' ? 1 : 0)) v = v * 10 + (c - '0');
  if (s[0] == '-') v = -v;
  return v >= INT32_MIN && v <= INT32_MAX;
}

// What the values of one column allow so far.
struct TypeGuess {
  bool any = false, isLong = true, isDouble = true, isDate = true, isBool = true;
  void Add(std::string_view v) {
    if (v.empty()) return;
    any = true;
    if (!(isLong || isDouble || isDate || isBool)) return;  // text already
    bool whole = hIsLong(v);
    if (!whole) isLong = false;
    // A whole number past 32 bits (a phone or account number) keeps the column text.
    if (isDouble && !whole && !(hIsNumber(v, true) && v.find_first_of(".,") != std::string_view::npos))
      isDouble = false;
    if (isDate && !mdl_DBValueFit::ISDATE(v)) isDate = false;
    if (isBool && mdl_DBValueFit::YESNO(v, true).empty()) isBool = false;
  }
  int32_t Type() const {
    if (!any) return ID_DBFieldType_String;
    if (isLong) return ID_DBFieldType_Long;
    if (isDouble) return ID_DBFieldType_Double;
    if (isDate) return ID_DBFieldType_Date;
    if (isBool) return ID_DBFieldType_Boolean;
    return ID_DBFieldType_String;
  }
};

// The value to store for the field (converted to the field's type), or Empty with rProblem set
// when it does not fit the field's type.
Variant hFit(const cls_DBField& pField, const std::string& pValue, std::string& rProblem) {
  using mdl_DBValueFit::Problem;
  // a text field takes any value as it is, and stores it so
  if (pField.TYPE == ID_DBFieldType_String) return Variant(std::string_view(pValue));
  mdl_DBValueFit::Result fit = mdl_DBValueFit::FIT(pField, pValue);
  const char* want = nullptr;
  switch (fit.problem) {
    case Problem::None:
      // a number or date already read is converted as such, not read from its text again
      if (fit.isNumber) return pField.VALUECONVERT(Variant(fit.number));
      if (fit.isDate) return pField.VALUECONVERT(Variant::Date(fit.number));
      return pField.VALUECONVERT(Variant(std::move(fit.value)));
    case Problem::NotMember: rProblem = "'" + fit.member + "' is not a member of " + pField.ID; return {};
    case Problem::NotDate: want = "a date (yyyy-mm-dd or d.m.yyyy)"; break;
    case Problem::NotWhole: want = "a whole number"; break;
    case Problem::NotNumber: want = "a number"; break;
    case Problem::NotYesNo: want = "a yes/no word"; break;
  }
  rProblem = pField.ID + ": '" + pValue + "' is not " + want;
  return {};
}

// Field names compare upper-cased with "_" as ".".
std::string hNameKey(std::string_view s) {
  std::string k = text::UCase(s);
  for (char& c : k)
    if (c == '_') c = '.';
  return k;
}

// The field a column names by ID, then by display name; null when none.
DBFieldPtr hFieldNamed(cls_DBStore& rDB, const std::string& pName) {
  std::string key = hNameKey(text::Trim(pName));
  for (int32_t f = 1; f <= rDB.FIELDS(); ++f)
    if (hNameKey(rDB.FIELD(f)->ID) == key) return rDB.FIELD(f);
  for (int32_t f = 1; f <= rDB.FIELDS(); ++f)
    if (!rDB.FIELD(f)->NAME.empty() && hNameKey(rDB.FIELD(f)->NAME) == key) return rDB.FIELD(f);
  return nullptr;
}

// A field ID for a column name: upper case, letters, digits, "_" and "."; unique in rDB.
std::string hNewFieldID(cls_DBStore& rDB, const std::string& pColumn, size_t pNo) {
  std::string id = text::UCase(text::Trim(pColumn));
  for (char& c : id)
    if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.' || (c & 0x80))) c = '_';
  if (id.empty()) id = "FIELD" + std::to_string(pNo + 1);
  // An ID of digits alone would read as a field number.
  if (id.find_first_not_of("0123456789") == std::string::npos) id = "F" + id;
  std::string unique = id;
  for (int n = 2; hFieldNamed(rDB, unique); ++n) unique = id + "_" + std::to_string(n);
  return unique;
}

std::string hFieldList(cls_DBStore& rDB) {
  std::string list;
  for (int32_t f = 1; f <= rDB.FIELDS(); ++f) list += (f > 1 ? ", " : "") + rDB.FIELD(f)->ID;
  return list.empty() ? "none" : list;
}

DBImportReader::Settings hSettings(const std::string& pFile, const Options& o) {
  DBImportReader::Settings s;
  std::string format = text::LCase(o.format);
  if (format.empty()) {
    size_t dot = pFile.rfind('.');
    std::string ext = dot == std::string::npos ? "" : text::LCase(pFile.substr(dot + 1));
    format = ext == "tsv" || ext == "tab"        ? "tsv"
             : ext == "json"                     ? "json"
             : ext == "jsonl" || ext == "ndjson" ? "jsonl"
                                                 : "csv";
  }
  if (format == "json") s.format = DBImportReader::Format::kJson;
  else if (format == "jsonl" || format == "ndjson") s.format = DBImportReader::Format::kJsonl;
  else if (format == "tsv") s.delimiter = '\t';
  else if (format != "csv")
    Raise(err::kInvalidCall, "unknown import format '" + o.format + "' (csv, tsv, json, jsonl)");
  if (!o.delimiter.empty()) {
    std::string d = text::LCase(o.delimiter);
    if (d == "\\t" || d == "tab") s.delimiter = '\t';
    else if (d.size() == 1 && d != "\"" && d != "\n" && d != "\r") s.delimiter = d[0];
    else Raise(err::kInvalidCall, "the delimiter must be one character other than a quote or line break");
  }
  std::string enc = text::LCase(o.encoding);
  if (enc == "cp1252" || enc == "windows-1252") s.cp1252 = true;
  else if (!enc.empty() && enc != "utf-8" && enc != "utf8")
    Raise(err::kInvalidCall, "unknown encoding '" + o.encoding + "' (utf-8, cp1252)");
  if (s.cp1252 && s.format != DBImportReader::Format::kCsv)
    Raise(err::kInvalidCall, "JSON is read as UTF-8; --encoding cp1252 is for csv and tsv");
  return s;
}

}  // namespace

int32_t InferType(const std::vector<std::string>& pValues) {
  TypeGuess g;
  for (const auto& v : pValues) g.Add(v);
  return g.Type();
}

Result Import(cls_DBStore& rDB, const std::string& pFile, const Options& pOptions) {
  DBImportReader reader(pFile, hSettings(pFile, pOptions));
  Result result;
  auto where = [&](int64_t line) { return reader.Name() + ":" + std::to_string(line) + ": "; };
  const bool twoPasses = pOptions.create;
  auto progress = [&](int64_t pass) -> DBImportReader::ProgressFn {
    if (!pOptions.progress) return {};
    return
        [&, pass](int64_t done, int64_t total) { pOptions.progress(pass * total + done, (twoPasses ? 2 : 1) * total); };
  };

  // A first pass over the file learns the type of each column's values.
  std::vector<TypeGuess> guesses;
  int64_t rows = -1;
  if (pOptions.create) {
    rows = 0;
    reader.Read(
        [&](int64_t, std::vector<std::string>& values) {
          ++rows;
          if (guesses.size() < reader.Columns().size()) guesses.resize(reader.Columns().size());
          for (size_t c = 0; c < values.size(); ++c) guesses[c].Add(values[c]);
        },
        [](int64_t, const std::string&) {}, progress(0));
    guesses.resize(reader.Columns().size());
  }

  // Columns to fields: resolved when a column first shows up; fields made here are taken back
  // when the import fails.
  std::vector<DBFieldPtr> fieldOf;
  std::vector<bool> mapUsed(pOptions.map.size(), false);
  bool fieldsChangedBefore = rDB.FIELDSCHANGED_GET();
  auto resolve = [&](int64_t line) {
    const auto& columns = reader.Columns();
    for (size_t c = fieldOf.size(); c < columns.size(); ++c) {
      DBFieldPtr field;
      std::string columnKey = hNameKey(text::Trim(columns[c]));
      std::string target = columns[c];  // the name a field made for the column gets
      for (size_t m = 0; m < pOptions.map.size() && !field; ++m) {
        if (hNameKey(text::Trim(pOptions.map[m].first)) != columnKey) continue;
        mapUsed[m] = true;
        target = pOptions.map[m].second;
        field = hFieldNamed(rDB, target);
        if (!field && !pOptions.create)
          Raise(err::kInvalidCall, "map " + pOptions.map[m].first + "=" + target + ": no field '" + target +
                                       "' (fields: " + hFieldList(rDB) + ")");
        break;
      }
      if (!field && target == columns[c]) field = hFieldNamed(rDB, columns[c]);
      if (!field && pOptions.create) {
        std::string id = hNewFieldID(rDB, target, c);
        int32_t type = c < guesses.size() ? guesses[c].Type() : ID_DBFieldType_String;
        std::string name(text::Trim(columns[c]));
        field = rDB.FIELDCREATE(id, type, name == id ? "" : name);
        result.fieldsCreated.push_back(id);
      }
      if (!field)
        Raise(err::kInvalidData, where(line) + "column '" + columns[c] + "' matches no field (fields: " +
                                     hFieldList(rDB) + "); map it with COLUMN=FIELD or create fields");
      fieldOf.push_back(field);
    }
  };

  // The entries are kept aside until the whole file has been read, so a failure adds none.
  std::vector<StructurePtr> staged;
  std::string problem;
  auto bad = [&](int64_t line, const std::string& message) {
    if (!pOptions.skipBad) Raise(err::kInvalidData, where(line) + message);
    result.skipped.push_back(line);
    result.problems.push_back(where(line) + message);
  };
  // Rows that only travel on as text are written straight from their values, unless two columns
  // fill one field (the later value takes the earlier one's place in a structure).
  SerializedRecordWriter record;
  std::vector<std::string> keyOf;  // per column: its field's key piece
  struct Cell {
    size_t column;
    Variant value;
    bool text;  // the column's text as it was read
  };
  std::vector<Cell> row;
  auto direct = [&]() {
    if (!pOptions.textSink) return false;
    for (size_t c = keyOf.size(); c < fieldOf.size(); ++c) keyOf.push_back(SerializedRecordWriter::Key(fieldOf[c]->ID));
    std::unordered_set<std::string_view> keys(keyOf.begin(), keyOf.end());
    return keys.size() == keyOf.size();
  };
  // Hands each non-empty value of a row, fitted to its column's field, to pTake; false after a
  // value that does not fit (reported as the row's problem).
  auto fitRow = [&](int64_t line, const std::vector<std::string>& values, auto&& pTake) {
    for (size_t c = 0; c < values.size(); ++c) {
      if (values[c].empty()) continue;
      problem.clear();
      Variant value = hFit(*fieldOf[c], values[c], problem);
      if (!problem.empty()) {
        bad(line, problem);
        return false;
      }
      pTake(c, std::move(value));
    }
    return true;
  };
  bool textRows = false;
  size_t checkedColumns = 0;
  try {
    reader.Read(
        [&](int64_t line, std::vector<std::string>& values) {
          resolve(line);
          if (checkedColumns != fieldOf.size()) {
            textRows = direct();
            checkedColumns = fieldOf.size();
          }
          if (textRows) {
            // a text field's value is written as it was read (hFit keeps it as it is)
            row.clear();
            for (size_t c = 0; c < values.size(); ++c) {
              if (values[c].empty()) continue;
              if (fieldOf[c]->TYPE == ID_DBFieldType_String) {
                row.push_back({c, {}, true});
                continue;
              }
              problem.clear();
              Variant value = hFit(*fieldOf[c], values[c], problem);
              if (!problem.empty()) return bad(line, problem);
              row.push_back({c, std::move(value), false});
            }
            record.Begin(row.size());
            for (const auto& cell : row) {
              if (cell.text) record.Text(keyOf[cell.column], values[cell.column]);
              else record.Item(keyOf[cell.column], cell.value);
            }
            pOptions.textSink(record.End(), rows);
            ++result.imported;
            return;
          }
          auto data = cls_Structure::New();
          if (!fitRow(line, values, [&](size_t c, Variant v) { data->ITEMBYID_LET(fieldOf[c]->ID, v); })) return;
          if (pOptions.textSink) {
            pOptions.textSink(data->SERIALIZE(), rows);
            ++result.imported;
          } else if (pOptions.sink) {
            pOptions.sink(data, rows);
            ++result.imported;
          } else {
            staged.push_back(std::move(data));
          }
        },
        bad, progress(twoPasses ? 1 : 0));
    resolve(1);  // a CSV without rows still maps (or makes) its columns
    for (size_t m = 0; m < mapUsed.size(); ++m)
      if (!mapUsed[m])
        Raise(err::kInvalidCall, "map " + pOptions.map[m].first + ": no such column in " + reader.Name());
  } catch (...) {
    for (const auto& id : result.fieldsCreated) rDB.FIELDREMOVE(id);
    rDB.FIELDSCHANGED_LET(fieldsChangedBefore);
    throw;
  }
  if (pOptions.sink || pOptions.textSink) return result;
  for (auto& data : staged) rDB.ENTRYADD(rDB.ENTRYFREEID(), data);
  result.imported = static_cast<int64_t>(staged.size());
  if (!staged.empty()) rDB.ENTRYCHANGED_LET(true);
  return result;
}

StructurePtr IMPORTFILE(cls_DBStore& rDB, const std::string& pFile, const StructurePtr& pOptions) {
  return Guard(kClass, "IMPORTFILE", [&]() -> StructurePtr {
    Options o;
    if (pOptions) {
      o.format = CStr(pOptions->ITEM_GET("FORMAT"));
      o.delimiter = CStr(pOptions->ITEM_GET("DELIMITER"));
      o.encoding = CStr(pOptions->ITEM_GET("ENCODING"));
      o.create = CBool(pOptions->ITEM_GET("CREATE", false));
      o.skipBad = CBool(pOptions->ITEM_GET("SKIPBAD", false));
      Variant map = pOptions->ITEM_GET("MAP");
      std::vector<std::string> pairs;
      if (auto s = std::dynamic_pointer_cast<cls_Structure>(map.isObject() ? map.obj() : nullptr)) {
        for (int32_t i = s->BASE(); i <= s->MAX(); ++i) pairs.push_back(CStr(s->ITEM_GET(i)));
      } else {
        pairs = text::Split(CStr(map), "\n");
      }
      for (const auto& p : pairs) {
        size_t eq = p.find('=');
        if (p.empty()) continue;
        if (eq == std::string::npos) Raise(err::kInvalidCall, "MAP: expected COLUMN=FIELD: " + p);
        o.map.emplace_back(p.substr(0, eq), p.substr(eq + 1));
      }
    }
    Result r = Import(rDB, pFile, o);
    auto out = cls_Structure::New();
    out->ITEM_LET("IMPORTED", r.imported <= INT32_MAX ? Variant(static_cast<int>(r.imported))
                                                      : Variant(static_cast<double>(r.imported)));
    auto fields = cls_Structure::New();
    for (const auto& f : r.fieldsCreated) fields->ADD(f);
    out->ITEM_LET("FIELDS", Variant(ObjectPtr(fields)));
    auto skipped = cls_Structure::New();
    for (int64_t line : r.skipped) skipped->ADD(Variant(static_cast<long long>(line)));
    out->ITEM_LET("SKIPPED", Variant(ObjectPtr(skipped)));
    return out;
  });
}

}  // namespace rykel::mdl_DBImport
