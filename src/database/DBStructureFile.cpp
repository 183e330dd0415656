#include "database/DBStructureFile.h"

#include <array>
#include <charconv>
#include <cstring>
#include <unordered_set>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/FileIO.h"
#include "frame/Text.h"
#include "frame/mdl_Global.h"
#include "structure/cls_StructureManager.h"
#include "structure/mdl_GlobalStructure.h"
#include "structure/mdl_StructureScript.h"

namespace rykel {

namespace {

constexpr std::string_view kDefaultHeader = "info.header";
constexpr size_t kPieceSize = 1 << 20;  // bytes handed to the file at a time

bool hBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view hTrim(std::string_view s) {
  while (!s.empty() && hBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && hBlank(s.back())) s.remove_suffix(1);
  return s;
}

// True when the name needs upper-casing (a lower-case ASCII letter or any non-ASCII byte).
bool hNeedsUpper(std::string_view s) {
  for (char ch : s) {
    unsigned char c = static_cast<unsigned char>(ch);
    if ((c >= 'a' && c <= 'z') || c >= 0x80) return true;
  }
  return false;
}

std::string hUpper(std::string_view s) { return hNeedsUpper(s) ? text::UCase(s) : std::string(s); }

// A name the plain form writes as it is: no path dots, index brackets, quotes, braces or control
// characters (the generic reader handles those, or rejects them).
bool hSimpleName(std::string_view s) {
  if (s.empty()) return false;
  for (char ch : s) {
    unsigned char c = static_cast<unsigned char>(ch);
    if (c < 0x20 || c == '.' || c == '[' || c == '"' || c == '}' || c == '{' || c == '=') return false;
  }
  return true;
}

// Reads the plain form; every method returns false where the text leaves it.
class Reader {
 public:
  Reader(cls_StructureManager& m, std::vector<DBStructureFile::Row>& rows) : m_(m), rows_(rows) {}

  bool Run(std::string_view text, std::string& rHeaderName) {
    if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);  // UTF-8 byte order mark
    while (!text.empty()) {
      // the line ends at the first CR or LF: find the LF fast, then look for a CR before it
      const char* lf = static_cast<const char*>(std::memchr(text.data(), '\n', text.size()));
      size_t end = lf ? static_cast<size_t>(lf - text.data()) : text.size();
      if (const void* cr = std::memchr(text.data(), '\r', end))
        end = static_cast<size_t>(static_cast<const char*>(cr) - text.data());
      if (!Line(hTrim(text.substr(0, end)))) return false;
      if (end == text.size()) break;
      end += (text[end] == '\r' && end + 1 < text.size() && text[end + 1] == '\n') ? 2 : 1;
      text.remove_prefix(end);
    }
    if (where_ != kTop) return false;  // a block left open
    rHeaderName = haveHeader_ ? CStr(header_) : std::string(kDefaultHeader);
    return true;
  }

 private:
  enum Where { kTop, kInfo, kEntries, kEntry };

  // An open sub-structure of an entry, with the names it holds (kept in a set once it grows).
  struct Level {
    int32_t id;
    std::unordered_set<uint32_t> names;
  };

  bool Line(std::string_view s) {
    if (s.empty() || s[0] == '#' || s.substr(0, 2) == "//") return true;
    if (s == "}") return Close();
    size_t pos = 0;
    while (pos < s.size() && s[pos] != '=' && s[pos] != '{') ++pos;
    std::string_view name = hTrim(s.substr(0, pos));
    std::string_view rest = s.substr(pos);
    if (!hSimpleName(name) || rest.empty()) return false;
    if (rest[0] == '{') return rest.size() == 1 && Open(name);
    std::string_view value = hTrim(rest.substr(1));
    if (value == "{") return Open(name);
    Variant v;
    bool emptyStruct = false;
    if (!mdl_StructureScript::ReadLiteral(value, v, emptyStruct, error_)) return false;
    switch (where_) {
      case kInfo:
        if (emptyStruct) return false;
        if (name.size() == 6 && hUpper(name) == "HEADER") {
          header_ = std::move(v);
          haveHeader_ = true;
        }
        return true;
      case kEntry: {
        uint32_t atom;
        if (!NewName(name, atom)) return false;
        if (emptyStruct) {
          // "{}": an empty sub-structure, one level deeper
          if (levels_.size() + 2 >= static_cast<size_t>(mdl_StructureScript::MaxDepth())) return false;
          m_.AppendItem(levels_.back().id, atom, Variant(), m_.Alloc());
        } else {
          m_.AppendItem(levels_.back().id, atom, std::move(v));
        }
        return true;
      }
      default: return false;  // a value at the top or among the entries
    }
  }

  bool Open(std::string_view name) {
    switch (where_) {
      case kTop: {
        std::string up = hUpper(name);
        if (up == "INFO" && !seenInfo_) return seenInfo_ = true, where_ = kInfo, true;
        if (up == "ENTRIES" && !seenEntries_) return seenEntries_ = true, where_ = kEntries, true;
        return false;
      }
      case kEntries: {
        int32_t id = m_.Alloc();
        rows_.push_back({hUpper(name), m_.CONVERT(id)});
        levels_.push_back({id, {}});
        where_ = kEntry;
        return true;
      }
      case kEntry: {
        // the entry sits at depth 2 of the whole structure; its sub-structures below it
        if (levels_.size() + 2 >= static_cast<size_t>(mdl_StructureScript::MaxDepth())) return false;
        uint32_t atom;
        if (!NewName(name, atom)) return false;
        int32_t child = m_.Alloc();
        m_.AppendItem(levels_.back().id, atom, Variant(), child);
        levels_.push_back({child, {}});
        return true;
      }
      default: return false;
    }
  }

  bool Close() {
    switch (where_) {
      case kInfo:
      case kEntries: where_ = kTop; return true;
      case kEntry:
        levels_.pop_back();
        if (levels_.empty()) where_ = kEntries;
        return true;
      default: return false;
    }
  }

  // The atom of a name new in the innermost open node; false when the node has it already (the
  // generic reader merges or overwrites then).
  bool NewName(std::string_view name, uint32_t& rAtom) {
    rAtom = Intern(name);
    Level& level = levels_.back();
    const auto& items = m_.Items(level.id);
    constexpr size_t kScan = 24;  // small nodes are scanned, larger ones keep a set
    if (items.size() < kScan) {
      for (const auto& it : items)
        if (it.used && it.name == rAtom) return false;
      return true;
    }
    if (level.names.empty())
      for (const auto& it : items)
        if (it.used) level.names.insert(it.name);
    return level.names.insert(rAtom).second;
  }

  // Names repeat from entry to entry: a small cache from the name as written (it stays in the
  // text being read) to its atom spares upper-casing and interning it again.
  uint32_t Intern(std::string_view name) {
    if (name.size() > 64) return m_.Names().Intern(hUpper(name));
    uint32_t h = 2166136261u;
    for (unsigned char c : name) h = (h ^ c) * 16777619u;
    CacheEntry& e = cache_[(h ^ (h >> 11)) & (kCacheSize - 1)];
    if (e.p && e.n == name.size() && std::memcmp(e.p, name.data(), name.size()) == 0) return e.atom;
    uint32_t atom = m_.Names().Intern(hUpper(name));
    e = {name.data(), static_cast<uint32_t>(name.size()), atom};
    return atom;
  }

  struct CacheEntry {
    const char* p = nullptr;
    uint32_t n = 0;
    uint32_t atom = 0;
  };
  static constexpr size_t kCacheSize = 256;

  cls_StructureManager& m_;
  std::vector<DBStructureFile::Row>& rows_;
  std::vector<Level> levels_;
  std::array<CacheEntry, kCacheSize> cache_{};
  Where where_ = kTop;
  bool seenInfo_ = false, seenEntries_ = false, haveHeader_ = false;
  Variant header_;
  std::string error_;
};

}  // namespace

bool DBStructureFile::Read(std::string_view pText, std::string& rHeaderName, std::vector<Row>& rRows) {
  rRows.clear();
  Reader r(*mdl_Global::SMAN_GET(), rRows);
  if (r.Run(pText, rHeaderName)) return true;
  rRows.clear();
  return false;
}

bool DBStructureFile::Write(const std::string& pFile, std::string_view pHeaderName,
                            const std::vector<DBEntryTable::Entry>& pEntries, bool pNumeric) {
  // The whole structure would hold the entries under the upper-cased text of their ids: each
  // must give a name of its own.
  std::vector<std::string> names;
  if (!pNumeric) {
    names.reserve(pEntries.size());
    std::unordered_set<std::string_view> seen;
    seen.reserve(pEntries.size());
    for (const auto& e : pEntries) names.push_back(hUpper(CStr(e.id)));
    for (const auto& n : names)
      if (n.empty() || !seen.insert(n).second) return false;
  } else {
    for (const auto& e : pEntries)
      if (e.id.type() != VarType::Long) return false;
  }
  cls_StructureManager& m = *mdl_Global::SMAN_GET();
  auto info = cls_Structure::New();
  info->ITEM_LET("INFO.VERSION", 1);
  info->ITEM_LET("INFO.HEADER", std::string(pHeaderName));
  info->ITEM_LET("INFO.TIMESTAMP", Variant::Date(date::Now()));
  size_t next = 0;
  bool started = false;
  fileio::WriteFileAtomic(pFile, [&](std::string& rOut) {
    if (!started) {
      started = true;
      mdl_StructureScript::WriteNode(rOut, m, info->SID_GET(), 0, 0);
      rOut += "ENTRIES {\r\n";
    }
    for (; next < pEntries.size() && rOut.size() < kPieceSize; ++next) {
      const auto& e = pEntries[next];
      rOut += '\t';
      if (pNumeric) {
        char buf[16];
        std::string_view text(buf, static_cast<size_t>(std::to_chars(buf, buf + sizeof buf, e.id.rawLong()).ptr - buf));
        mdl_StructureScript::AppendName(rOut, text, 0);
      } else {
        mdl_StructureScript::AppendName(rOut, names[next], 0);
      }
      rOut += " {\r\n";
      if (e.data) mdl_StructureScript::WriteNode(rOut, m, e.data->SID_GET(), 2, 2);
      rOut += "\t}\r\n";
    }
    if (next < pEntries.size()) return true;
    rOut += "}\r\n";
    return false;
  });
  return true;
}

}  // namespace rykel
