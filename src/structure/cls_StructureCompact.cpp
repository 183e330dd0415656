#include "structure/cls_StructureCompact.h"

#include <charconv>
#include <cstring>
#include <limits>

#include "frame/Error.h"
#include "frame/Random.h"
#include "frame/Text.h"

namespace rykel {

namespace {

using Item = cls_StructureManager::Item;

[[noreturn]] void hInvalid() { Raise(err::kInvalidData, "Serialized data invalid"); }

// The pieces of one tree: texts that live in the tree (names, strings) are referenced, the rest
// (headers, item pieces, numbers) is written into one arena.
class PieceList {
 public:
  void Ref(std::string_view s) { list_.push_back({s.data(), 0, static_cast<uint32_t>(s.size())}); }
  // Starts a piece in the arena; Add appends to it.
  void Begin() { list_.push_back({nullptr, static_cast<uint32_t>(arena_.size()), 0}); }
  void Add(std::string_view s) {
    arena_.append(s);
    list_.back().n += static_cast<uint32_t>(s.size());
  }
  template <class T>
  void AddNumber(T v) {
    char buf[40];
    auto r = std::to_chars(buf, buf + sizeof buf, v);
    Add(std::string_view(buf, static_cast<size_t>(r.ptr - buf)));
  }
  size_t Size() const { return list_.size(); }
  std::string_view At(size_t i) const {
    const Piece& p = list_[i];
    return p.p ? std::string_view(p.p, p.n) : std::string_view(arena_.data() + p.off, p.n);
  }

 private:
  struct Piece {
    const char* p;
    uint32_t off, n;
  };
  std::vector<Piece> list_;
  std::string arena_;
};

void hWriteNode(const cls_StructureManager& m, int32_t id, int depth, PieceList& out) {
  if (depth > cls_StructureCompact::MaxDepth())
    Raise(err::kInvalidData, "Structure nested deeper than " + std::to_string(cls_StructureCompact::MaxDepth()) +
                                 " levels (does it hold itself?)");
  const std::vector<Item>& items = m.Items(id);
  const size_t base = m.HASZERO_GET(id) ? 0 : 1;
  int64_t used = 0;
  for (size_t i = base; i < items.size(); ++i) used += items[i].used;
  int flags = (m.DEFAULTMODE_GET(id) ? 1 : 0) | (base == 0 ? 2 : 0) | (m.CHANGED_GET(id) ? 4 : 0) |
              (m.ALLOWNOTHING_GET(id) ? 8 : 0);
  out.Begin();
  out.AddNumber(flags);
  out.Add("@");
  out.AddNumber(static_cast<int64_t>(items.size()) - 1);
  out.Add("@");
  out.AddNumber(used);
  for (size_t i = base; i < items.size(); ++i) {
    const Item& it = items[i];
    if (!it.used) continue;
    out.Begin();
    out.AddNumber(static_cast<int64_t>(i));
    out.Add(":");
    if (it.isStruct) {
      out.Add("S@");
      out.Add(m.Names().Name(it.name));
      hWriteNode(m, it.child, depth + 1, out);
      continue;
    }
    const Variant& v = it.value;
    int type = v.vartype();
    if (v.isObject() || type > 11) type = 0;
    out.AddNumber(type);
    out.Add("@");
    out.Add(m.Names().Name(it.name));
    switch (v.type()) {
      case VarType::String: out.Ref(v.str()); break;
      case VarType::Integer:
        out.Begin();
        out.AddNumber(v.rawInteger());
        break;
      case VarType::Long:
      case VarType::Error:
        out.Begin();
        out.AddNumber(v.rawLong());
        break;
      case VarType::Single:
        out.Begin();
        out.AddNumber(v.rawSingle());
        break;
      case VarType::Double:
      case VarType::Date:
        out.Begin();
        out.AddNumber(v.rawDouble());
        break;
      case VarType::Currency:
        out.Begin();
        out.AddNumber(v.rawCurrency());
        break;
      case VarType::Boolean:
        out.Begin();
        out.Add(v.rawBool() ? "1" : "0");
        break;
      default: out.Begin(); break;
    }
  }
}

// A separator of capital letters that occurs in no piece; its first letter appears once in it,
// so no match can start inside a piece and run on into the separator that follows.
std::string hSeparator(const PieceList& pieces) {
  // Drawn from the thread's one generator, so a seeded run writes the same separators.
  Random& rng = ThreadRandom();
  for (size_t len = 6;; ++len) {
    for (int attempt = 0; attempt < 8; ++attempt) {
      std::string sep(len, 'A');
      sep[0] = static_cast<char>('A' + rng.Below(26));
      for (size_t i = 1; i < len; ++i) {
        char c;
        do c = static_cast<char>('A' + rng.Below(26));
        while (c == sep[0]);
        sep[i] = c;
      }
      bool clash = false;
      for (size_t i = 0; i < pieces.Size() && !clash; ++i) {
        std::string_view p = pieces.At(i);
        clash = p.size() >= len && p.find(sep) != std::string_view::npos;
      }
      if (!clash) return sep;
    }
  }
}

// Reads decimal text as a whole piece (or up to a stop character); false when it is not one.
template <class T>
bool hNumber(std::string_view s, T& out) {
  if (s.empty()) return false;
  auto r = std::from_chars(s.data(), s.data() + s.size(), out);
  return r.ec == std::errc() && r.ptr == s.data() + s.size();
}

}  // namespace

// ---- the reader ----------------------------------------------------------------------------
class CompactReader {
 public:
  CompactReader(cls_StructureManager& m, const std::vector<std::string_view>& pieces, size_t next)
      : m_(m), pieces_(pieces), next_(next) {
    size_t bytes = 0;
    for (std::string_view p : pieces) bytes += p.size() + 1;
    slotBudget_ = mdl_Limits::UnusedSlotBudget(bytes);
  }
  size_t Next() const { return next_; }

  // node -> header { item }
  void Node(int32_t pID, int depth) {
    if (depth > cls_StructureCompact::MaxDepth()) hInvalid();
    std::string_view h = Take();
    size_t a1 = h.find('@'), a2 = a1 == std::string_view::npos ? a1 : h.find('@', a1 + 1);
    int flags = 0;
    int64_t max = 0, used = 0;
    if (a2 == std::string_view::npos || !hNumber(h.substr(0, a1), flags) ||
        !hNumber(h.substr(a1 + 1, a2 - a1 - 1), max) || !hNumber(h.substr(a2 + 1), used))
      hInvalid();
    if (flags < 0 || flags > 15 || max < 0 || max >= std::numeric_limits<int32_t>::max() || used < 0 || used > max + 1)
      hInvalid();
    slotBudget_ -= max;
    if (slotBudget_ < 0) hInvalid();
    const int32_t base = (flags & cls_StructureManager::kHasZero) ? 0 : 1;
    if (max > 0) m_.SlotAt(pID, static_cast<int32_t>(max));  // MAX as written, unused slots included
    int64_t last = base - 1;
    for (int64_t k = 0; k < used; ++k) {
      std::string_view ip = Take();
      size_t colon = ip.find(':'), at = colon == std::string_view::npos ? colon : ip.find('@', colon + 1);
      int64_t index = 0;
      if (at == std::string_view::npos || !hNumber(ip.substr(0, colon), index) || index <= last || index > max)
        hInvalid();
      last = index;
      std::string_view type = ip.substr(colon + 1, at - colon - 1);
      const auto slot = static_cast<int32_t>(index);
      const uint32_t atom = Intern(ip.substr(at + 1));
      const int32_t child = type == "S" ? m_.Alloc() : 0;
      m_.SetItem(pID, slot, atom, child ? Variant() : Value(type, Take()), child);
      if (child) Node(child, depth + 1);
    }
    m_.SetFlags(pID, static_cast<uint8_t>(flags));  // as written, CHANGED included
  }

 private:
  std::string_view Take() {
    if (next_ >= pieces_.size()) hInvalid();
    return pieces_[next_++];
  }

  static Variant Value(std::string_view type, std::string_view t) {
    int code = -1;
    if (!hNumber(type, code)) hInvalid();
    switch (code) {
      case 0: return {};
      case 1: return Variant::Null();
      case 2: {
        int16_t v;
        if (!hNumber(t, v)) hInvalid();
        return Variant(v);
      }
      case 3: {
        int32_t v;
        if (!hNumber(t, v)) hInvalid();
        return Variant(v);
      }
      case 4: {
        float v;
        if (!hNumber(t, v)) hInvalid();
        return Variant(v);
      }
      case 5: {
        double v;
        if (!hNumber(t, v)) hInvalid();
        return Variant(v);
      }
      case 6: {
        int64_t v;
        if (!hNumber(t, v)) hInvalid();
        return Variant::Currency(v);
      }
      case 7: {
        double v;
        if (!hNumber(t, v)) hInvalid();
        return Variant::Date(v);
      }
      case 8: return Variant(t);
      case 10: {
        int32_t v;
        if (!hNumber(t, v)) hInvalid();
        return Variant::ErrorValue(v);
      }
      case 11:
        if (t != "0" && t != "1") hInvalid();
        return Variant(t == "1");
      default: hInvalid();
    }
  }

  uint32_t Intern(std::string_view name) {
    for (unsigned char c : name)
      if ((c >= 'a' && c <= 'z') || c >= 0x80) return m_.Names().Intern(text::UCase(name));
    return m_.Names().Intern(name);
  }

  cls_StructureManager& m_;
  const std::vector<std::string_view>& pieces_;
  size_t next_;
  int64_t slotBudget_;
};

std::string cls_StructureCompact::Write(int32_t pID) {
  if (!m_.Valid(pID)) Raise(err::kOutOfRange, "Subscript out of range (node " + std::to_string(pID) + ")");
  PieceList pieces;
  hWriteNode(m_, pID, 1, pieces);
  std::string sep = hSeparator(pieces);
  size_t total = 5 + sep.size();
  for (size_t i = 0; i < pieces.Size(); ++i) total += pieces.At(i).size() + sep.size();
  std::string out;
  out.reserve(total);
  out.append("QS1:").append(sep).append(":");
  for (size_t i = 0; i < pieces.Size(); ++i) {
    if (i) out.append(sep);
    out.append(pieces.At(i));
  }
  return out;
}

void cls_StructureCompact::WritePieces(int32_t pID, std::vector<std::string>& rPieces) {
  if (!m_.Valid(pID)) Raise(err::kOutOfRange, "Subscript out of range (node " + std::to_string(pID) + ")");
  PieceList pieces;
  hWriteNode(m_, pID, 1, pieces);
  rPieces.reserve(rPieces.size() + pieces.Size());
  for (size_t i = 0; i < pieces.Size(); ++i) rPieces.emplace_back(pieces.At(i));
}

int64_t cls_StructureCompact::CountPieces(int32_t pID) {
  if (!m_.Valid(pID)) Raise(err::kOutOfRange, "Subscript out of range (node " + std::to_string(pID) + ")");
  // one header per node, two pieces per scalar item, one per sub-structure item
  int64_t n = 0;
  std::vector<std::pair<int32_t, int>> stack{{pID, 1}};
  while (!stack.empty()) {
    auto [id, depth] = stack.back();
    stack.pop_back();
    if (depth > MaxDepth())
      Raise(err::kInvalidData,
            "Structure nested deeper than " + std::to_string(MaxDepth()) + " levels (does it hold itself?)");
    const auto& items = m_.Items(id);
    ++n;
    for (size_t i = m_.HASZERO_GET(id) ? 0 : 1; i < items.size(); ++i) {
      if (!items[i].used) continue;
      if (items[i].isStruct) {
        ++n;
        stack.push_back({items[i].child, depth + 1});
      } else {
        n += 2;
      }
    }
  }
  return n;
}

void cls_StructureCompact::Read(int32_t pID, std::string_view pText) {
  mdl_Limits::CheckInputSize(pText.size(), "Compact text");
  m_.Empty(pID);
  if (pText.substr(0, 4) != "QS1:") hInvalid();
  size_t colon = pText.find(':', 4);
  if (colon == std::string_view::npos || colon == 4) hInvalid();
  std::string_view sep = pText.substr(4, colon - 4);
  for (size_t i = 0; i < sep.size(); ++i)
    if (sep[i] < 'A' || sep[i] > 'Z' || (i > 0 && sep[i] == sep[0])) hInvalid();
  std::vector<std::string_view> pieces;
  std::string_view body = pText.substr(colon + 1);
  for (size_t start = 0;;) {
    size_t hit = body.find(sep, start);
    if (hit == std::string_view::npos) {
      pieces.push_back(body.substr(start));
      break;
    }
    pieces.push_back(body.substr(start, hit - start));
    start = hit + sep.size();
  }
  int64_t index = 0;
  ReadPieces(pID, pieces, index);
  if (static_cast<size_t>(index) != pieces.size()) hInvalid();
}

void cls_StructureCompact::ReadPieces(int32_t pID, const std::vector<std::string_view>& pPieces, int64_t& rIndex) {
  if (!m_.Valid(pID)) Raise(err::kOutOfRange, "Subscript out of range (node " + std::to_string(pID) + ")");
  if (rIndex < 0 || static_cast<uint64_t>(rIndex) > pPieces.size()) hInvalid();
  m_.Empty(pID);
  CompactReader r(m_, pPieces, static_cast<size_t>(rIndex));
  try {
    r.Node(pID, 1);
  } catch (...) {
    m_.Empty(pID);  // no half-read tree: sub-structures read so far are released
    throw;
  }
  rIndex = static_cast<int64_t>(r.Next());
}

// ---- the manager's members for this form ---------------------------------------------------

namespace {
constexpr const char* kClass = "cls_StructureManager";
}

std::string cls_StructureManager::SERIALIZEBINARY(int32_t pID) {
  return Guard(kClass, "SERIALIZEBINARY", [&] { return cls_StructureCompact(*this).Write(pID); });
}

void cls_StructureManager::SERIALIZEBINARYBUFFER(int32_t pID, std::vector<std::string>& rBuffer, int64_t& rIndex) {
  GuardVoid(kClass, "SERIALIZEBINARYBUFFER", [&] {
    if (rIndex < 0) Raise(err::kOutOfRange, "Subscript out of range");
    std::vector<std::string> pieces;
    cls_StructureCompact(*this).WritePieces(pID, pieces);
    const size_t at = static_cast<size_t>(rIndex);
    if (rBuffer.size() < at + pieces.size()) rBuffer.resize(at + pieces.size());
    for (size_t i = 0; i < pieces.size(); ++i) rBuffer[at + i] = std::move(pieces[i]);
    rIndex += static_cast<int64_t>(pieces.size());
  });
}

int64_t cls_StructureManager::SERIALIZEBINARYCOUNT(int32_t pID) {
  return Guard(kClass, "SERIALIZEBINARYCOUNT", [&] { return cls_StructureCompact(*this).CountPieces(pID); });
}

void cls_StructureManager::UNSERIALIZEBINARY(int32_t pID, std::string_view rSerialData) {
  GuardVoid(kClass, "UNSERIALIZEBINARY", [&] { cls_StructureCompact(*this).Read(pID, rSerialData); });
}

void cls_StructureManager::UNSERIALIZEBINARYBUFFER(int32_t pID, const std::vector<std::string>& pBuffer,
                                                   int64_t& rIndex) {
  GuardVoid(kClass, "UNSERIALIZEBINARYBUFFER", [&] {
    std::vector<std::string_view> views(pBuffer.begin(), pBuffer.end());
    cls_StructureCompact(*this).ReadPieces(pID, views, rIndex);
  });
}

}  // namespace rykel
