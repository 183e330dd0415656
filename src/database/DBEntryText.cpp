#include "database/DBEntryText.h"

#include <cstdlib>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Text.h"

namespace rykel {

// Interim writer and reader of the serialized form for entries (scalars and nested structures),
// used until the structure's own SERIALIZE / UNSERIALIZE are available.
namespace {

void hPutString(std::string& out, std::string_view s) {
  out += "s:";
  out += std::to_string(text::Len(s));
  out += ":\"";
  out += s;
  out += "\";";
}

void hPutNode(std::string& out, cls_StructureManager& m, int32_t id, int depth) {
  if (depth > 200) Raise(err::kInvalidData, "structure nested too deeply");
  const auto& items = m.Items(id);
  int32_t used = 0;
  for (size_t i = 0; i < items.size(); ++i) used += items[i].used;
  out += "a:" + std::to_string(used) + ":{";
  for (size_t i = 0; i < items.size(); ++i) {
    const auto& it = items[i];
    if (!it.used) continue;
    if (it.name) hPutString(out, m.Names().Name(it.name));
    else out += "i:" + std::to_string(i) + ";";
    if (it.isStruct) { hPutNode(out, m, it.child, depth + 1); continue; }
    const Variant& v = it.value;
    switch (v.type()) {
      case VarType::Empty: case VarType::Null: out += "N;"; break;
      case VarType::Boolean: out += v.rawBool() ? "b:1;" : "b:0;"; break;
      case VarType::Integer: case VarType::Long: out += "i:" + CStr(v) + ";"; break;
      case VarType::Single: case VarType::Double: case VarType::Currency:
        out += "d:" + NumberText(CDbl(v), 17) + ";"; break;
      case VarType::Date: hPutString(out, date::ToIso(v.rawDouble())); break;
      default: hPutString(out, CStr(v));
    }
  }
  out += "}";
}

struct Parser {
  std::string_view s;
  size_t p = 0;
  [[noreturn]] void Fail() { Raise(err::kInvalidData, "malformed serialized text at " + std::to_string(p)); }
  void Expect(char c) { if (p >= s.size() || s[p] != c) Fail(); ++p; }
  std::string_view Until(char c) {
    size_t q = s.find(c, p);
    if (q == std::string_view::npos) Fail();
    auto r = s.substr(p, q - p);
    p = q + 1;
    return r;
  }
  long Int(char end) {
    std::string t(Until(end));
    char* e = nullptr;
    long v = std::strtol(t.c_str(), &e, 10);
    if (t.empty() || *e) Fail();
    return v;
  }
  std::string_view Str() {
    long n = Int(':');
    Expect('"');
    size_t bytes = text::ByteOffset(s.substr(p), static_cast<size_t>(n));
    if (p + bytes + 2 > s.size()) Fail();
    auto r = s.substr(p, bytes);
    p += bytes;
    Expect('"');
    Expect(';');
    return r;
  }
  Variant Value(int depth) {
    if (p + 1 >= s.size()) Fail();
    char t = s[p];
    p += 2;
    switch (t) {
      case 'N': --p; Expect(';'); return Variant();
      case 'b': return Variant(Int(';') != 0);
      case 'i': return Variant(Int(';'));
      case 'd': { std::string x(Until(';')); double d; if (!ParseNumber(x, d)) Fail(); return Variant(d); }
      case 's': return Variant(Str());
      case 'a': { auto st = cls_Structure::New(); Node(*st, depth + 1); return Variant(st); }
      default: Fail();
    }
  }
  void Node(cls_Structure& st, int depth) {
    if (depth > 200) Fail();
    long n = Int(':');
    Expect('{');
    for (long i = 0; i < n; ++i) {
      if (p + 1 >= s.size()) Fail();
      Variant key;
      if (s[p] == 'i') { p += 2; key = Variant(Int(';')); }
      else if (s[p] == 's') { p += 2; key = Variant(Str()); }
      else Fail();
      Variant v = Value(depth);
      if (key.isString()) st.ITEMBYID_LET(key.str(), v);
      else st.ITEM_LET(key, v, true);
    }
    Expect('}');
  }
};

}  // namespace

std::string hEntryText(const StructurePtr& pEntry) {
  if (!pEntry) return "a:0:{}";
  std::string out;
  hPutNode(out, *pEntry->MANAGER_GET(), pEntry->SID_GET(), 0);
  return out;
}

StructurePtr hEntryFromText(std::string_view pText) {
  Parser ps{pText};
  if (pText.size() < 2 || pText.substr(0, 2) != "a:") ps.Fail();
  ps.p = 2;
  auto st = cls_Structure::New();
  ps.Node(*st, 0);
  return st;
}

}  // namespace rykel

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace rykel {

void hWriteFileAtomic(const std::string& pFile, const std::function<void(std::FILE*)>& pWrite) {
  std::string tmp = pFile + ".~" + std::to_string(::getpid()) + ".tmp";
  std::FILE* f = std::fopen(tmp.c_str(), "wb");
  if (!f) Raise(err::kPathFileAccess, "cannot write '" + tmp + "': " + std::strerror(errno));
  try {
    pWrite(f);
    if (std::fflush(f) != 0 || std::ferror(f)) Raise(err::kFileIO, "cannot write '" + tmp + "': " + std::strerror(errno));
    if (::fsync(::fileno(f)) != 0) Raise(err::kFileIO, "cannot flush '" + tmp + "': " + std::strerror(errno));
  } catch (...) {
    std::fclose(f);
    std::remove(tmp.c_str());
    throw;
  }
  if (std::fclose(f) != 0) {
    std::remove(tmp.c_str());
    Raise(err::kFileIO, "cannot close '" + tmp + "'");
  }
  if (std::rename(tmp.c_str(), pFile.c_str()) != 0) {
    int e = errno;
    std::remove(tmp.c_str());
    Raise(err::kPathFileAccess, "cannot replace '" + pFile + "': " + std::strerror(e));
  }
}

std::string hReadFile(const std::string& pFile) {
  std::FILE* f = std::fopen(pFile.c_str(), "rb");
  if (!f) Raise(err::kFileNotFound, "cannot open '" + pFile + "'");
  std::string data;
  std::fseek(f, 0, SEEK_END);
  long size = std::ftell(f);
  std::fseek(f, 0, SEEK_SET);
  if (size > 0) {
    data.resize(static_cast<size_t>(size));
    size_t got = std::fread(data.data(), 1, data.size(), f);
    data.resize(got);
  }
  std::fclose(f);
  return data;
}

void hStructureFileSave(const StructurePtr& pStructure, const std::string& pFile) {
  std::string text = hEntryText(pStructure);
  hWriteFileAtomic(pFile, [&](std::FILE* f) {
    if (std::fwrite(text.data(), 1, text.size(), f) != text.size()) Raise(err::kFileIO, "write failed");
  });
}

StructurePtr hStructureFileLoad(const std::string& pFile) { return hEntryFromText(hReadFile(pFile)); }

StructurePtr hStructureCopy(const StructurePtr& pStructure) {
  return pStructure ? hEntryFromText(hEntryText(pStructure)) : nullptr;
}

}  // namespace rykel
