#include "structure/cls_StructureSerializer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/DoubleChars.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "structure/SerialCache.h"
#include "structure/cls_StructureCompact.h"

namespace rykel {

namespace {

using Item = cls_StructureManager::Item;
constexpr const char* kClass = "cls_StructureManager";

[[noreturn]] void hInvalid() { Raise(err::kInvalidData, "Serialized data invalid"); }

// True when the n bytes at p are all ASCII: eight at a time, the tail as one word that overlaps
// the last one read (names and values are mostly short).
inline bool hAscii(const char* p, size_t n) {
  constexpr uint64_t kHigh = 0x8080808080808080ull;
  if (n >= 8) {
    uint64_t w;
    for (size_t i = 0; i + 8 <= n; i += 8) {
      std::memcpy(&w, p + i, 8);
      if (w & kHigh) return false;
    }
    std::memcpy(&w, p + n - 8, 8);
    return !(w & kHigh);
  }
  if (n >= 4) {
    uint32_t a, b;
    std::memcpy(&a, p, 4);
    std::memcpy(&b, p + n - 4, 4);
    return !((a | b) & 0x80808080u);
  }
  for (size_t i = 0; i < n; ++i)
    if (static_cast<unsigned char>(p[i]) >= 0x80) return false;
  return true;
}

// Decodes up to `want` code points of strict UTF-8 from p (at most n bytes). Returns the bytes
// they take, or npos when an invalid sequence comes first or (unless pToEnd) the text ends before
// `want` of them; with pToEnd, the bytes decoded when it ends first.
size_t hUtf8Span(const char* p, size_t n, size_t want, size_t* rChars = nullptr, bool pToEnd = false) {
  size_t i = 0, chars = 0;
  const auto* u = reinterpret_cast<const unsigned char*>(p);
  while (chars < want && i < n) {
    unsigned char c = u[i];
    size_t len;
    unsigned char lo = 0x80, hi = 0xBF;
    if (c < 0x80) len = 1;
    else if (c >= 0xC2 && c <= 0xDF) len = 2;
    else if (c >= 0xE0 && c <= 0xEF) {
      len = 3;
      if (c == 0xE0) lo = 0xA0;
      if (c == 0xED) hi = 0x9F;  // no surrogates
    } else if (c >= 0xF0 && c <= 0xF4) {
      len = 4;
      if (c == 0xF0) lo = 0x90;
      if (c == 0xF4) hi = 0x8F;
    } else {
      return std::string_view::npos;
    }
    if (i + len > n) return std::string_view::npos;
    for (size_t k = 1; k < len; ++k) {
      unsigned char d = u[i + k];
      if (k == 1 ? (d < lo || d > hi) : (d < 0x80 || d > 0xBF)) return std::string_view::npos;
    }
    i += len;
    ++chars;
  }
  if (rChars) *rChars = chars;
  return chars == want || pToEnd ? i : std::string_view::npos;
}

// Appends to a buffer that grows geometrically and is written through raw pointers; the buffer's
// size runs ahead of the text, whose length is Size().
class Out {
 public:
  explicit Out(std::string& rBuf, size_t pLen = 0) : buf_(rBuf), len_(pLen) {}
  char* Room(size_t n) {
    if (len_ + n > buf_.size()) buf_.resize(std::max(buf_.size() * 2, len_ + n + 256));
    return buf_.data() + len_;
  }
  void Commit(size_t n) { len_ += n; }
  void Put(const char* p, size_t n) {
    std::memcpy(Room(n), p, n);
    len_ += n;
  }
  void Put(std::string_view s) { Put(s.data(), s.size()); }
  void Int(int64_t v) {
    char* p = Room(24);
    len_ += static_cast<size_t>(std::to_chars(p, p + 24, v).ptr - p);
  }
  size_t Size() const { return len_; }

 private:
  std::string& buf_;
  size_t len_;
};

// "s:" chars ":\"" text "\";"
void hPutString(Out& out, std::string_view s) {
  char* p = out.Room(s.size() + 32);
  char* q = p;
  *q++ = 's';
  *q++ = ':';
  q = std::to_chars(q, q + 20, cls_StructureSerializer::CharCount(s)).ptr;
  *q++ = ':';
  *q++ = '"';
  if (!s.empty()) std::memcpy(q, s.data(), s.size());
  q += s.size();
  *q++ = '"';
  *q++ = ';';
  out.Commit(static_cast<size_t>(q - p));
}

// "yyyy-mm-dd HH:MM:SS"; a date outside the years 100..9999 has no such text and is written as
// its day number ("d:").
void hPutDate(Out& out, double ole) {
  char buf[40];
  if (date::ToIsoChars(ole, buf)) {
    hPutString(out, std::string_view(buf, 19));
    return;
  }
  size_t n = cls_StructureSerializer::DoubleText(ole, buf);
  char* q = out.Room(n + 3);
  q[0] = 'd';
  q[1] = ':';
  std::memcpy(q + 2, buf, n);
  q[n + 2] = ';';
  out.Commit(n + 3);
}

void hNumber(Out& out, char tag, const char* p, size_t n) {
  char* q = out.Room(n + 3);
  q[0] = tag;
  q[1] = ':';
  std::memcpy(q + 2, p, n);
  q[n + 2] = ';';
  out.Commit(n + 3);
}

void hPutValue(Out& out, const Variant& v) {
  char buf[48];
  switch (v.type()) {
    case VarType::Null: out.Put("n:0;", 4); return;
    case VarType::Integer: hNumber(out, 'i', buf, std::to_chars(buf, buf + 24, v.rawInteger()).ptr - buf); return;
    case VarType::Long: hNumber(out, 'i', buf, std::to_chars(buf, buf + 24, v.rawLong()).ptr - buf); return;
    case VarType::Single: {
      // the float's own shortest text, as the classic writer gave it ("0.1", not 0.100000001...)
      auto r = std::to_chars(buf, buf + 40, v.rawSingle());
      std::string_view t(buf, static_cast<size_t>(r.ptr - buf));
      double d = 0;
      std::from_chars(t.data(), t.data() + t.size(), d);
      hNumber(out, 'd', buf, cls_StructureSerializer::DoubleText(d, buf));
      return;
    }
    case VarType::Double: hNumber(out, 'd', buf, cls_StructureSerializer::DoubleText(v.rawDouble(), buf)); return;
    case VarType::Currency: {
      std::string t = CurrencyText(v.rawCurrency());
      for (char& c : t)
        if (c == ',') c = '.';
      hNumber(out, 'd', t.data(), t.size());
      return;
    }
    case VarType::Date: hPutDate(out, v.rawDouble()); return;
    case VarType::String: hPutString(out, v.str()); return;
    case VarType::Boolean: out.Put(v.rawBool() ? "b:1;" : "b:0;", 4); return;
    default: out.Put("i:0;", 4); return;
  }
}

// What the text form keeps for the manager this thread used last: a serializer works on a manager
// of its own thread, and a thread mostly works on one (its global one). Another manager starts the
// cache afresh; a manager that ends drops it (cls_StructureSerializer::Forget), so a new manager
// at the same address never meets the atoms of the old one.
// (The owner is a plain pointer: a manager may end after the thread's cache has been destroyed.)
thread_local const cls_StructureManager* tCacheOwner = nullptr;
thread_local std::unique_ptr<SerialCache> tCache;

SerialCache& hCacheFor(const cls_StructureManager& m) {
  if (!tCache) tCache = std::make_unique<SerialCache>();
  if (tCacheOwner != &m) {
    *tCache = SerialCache();
    tCacheOwner = &m;
  }
  return *tCache;
}

// The key piece of a name: "s:" chars ":\"" name "\";".
std::string hKeyPiece(std::string_view pName) {
  std::string piece;
  Out out(piece);
  hPutString(out, pName);
  piece.resize(out.Size());
  return piece;
}

class Writer {
 public:
  explicit Writer(const cls_StructureManager& m) : m_(m), cache_(hCacheFor(m)) {}

  void Node(int32_t id, int depth) {
    if (depth > cls_StructureSerializer::MaxDepth())
      Raise(err::kInvalidData, "Structure nested deeper than " + std::to_string(cls_StructureSerializer::MaxDepth()) +
                                   " levels (does it hold itself?)");
    const std::vector<Item>& items = m_.Items(id);
    const size_t base = m_.HASZERO_GET(id) ? 0 : 1;
    int64_t used = 0;
    for (size_t i = base; i < items.size(); ++i) used += items[i].used;
    out_.Put("a:", 2);
    out_.Int(used);
    out_.Put(":{", 2);
    for (size_t i = base; i < items.size(); ++i) {
      const Item& it = items[i];
      if (!it.used) continue;
      Key(it.name);
      if (it.isStruct) Node(it.child, depth + 1);
      else hPutValue(out_, it.value);
    }
    out_.Put("}", 1);
  }

  std::string Take() {
    text_.resize(out_.Size());
    return std::move(text_);
  }

 private:
  // Key pieces are made once per name and kept with the manager, so every later write copies them.
  void Key(uint32_t atom) {
    if (atom >= cache_.keyAt.size()) cache_.keyAt.resize(atom + 1, 0);
    uint64_t& k = cache_.keyAt[atom];
    if (k == 0) {
      std::string piece = hKeyPiece(m_.Names().Name(atom));
      k = (static_cast<uint64_t>(cache_.keyText.size()) << 32) | piece.size();
      cache_.keyText += piece;
    }
    out_.Put(cache_.keyText.data() + (k >> 32), static_cast<uint32_t>(k));
  }

  const cls_StructureManager& m_;
  SerialCache& cache_;
  std::string text_;
  Out out_{text_};
};

thread_local int tDepth = 0;

}  // namespace

// ---- the reader ----------------------------------------------------------------------------
// Recursive descent over a string_view with one cursor; every step checks the end first, so no
// input reads past it. Items go straight into the node's slots (see Put).
class SerializedReader {
 public:
  SerializedReader(cls_StructureManager& m, std::string_view text, size_t pos)
      : m_(m), names_(hCacheFor(m).names), begin_(text.data()), p_(text.data() + pos), end_(text.data() + text.size()) {
    gapBudget_ = mdl_Limits::UnusedSlotBudget(text.size());
  }

  size_t Pos() const { return static_cast<size_t>(p_ - begin_); }
  bool AtEnd() const { return p_ >= end_; }

  // A flat record, "a:" count ":{" { "s:" name scalar } "}" and blanks to the end, item by item
  // into pItem(atom, value); false at the first thing that is not of that shape (the caller reads
  // the text the general way, which also gives its errors).
  template <class ItemFn>
  bool Flat(const ItemFn& pItem) {
    if (end_ - p_ < 2 || p_[0] != 'a' || p_[1] != ':') return false;
    p_ += 2;
    const int64_t count = Int(':');
    Expect('{');
    for (int64_t i = 0; i < count; ++i) {
      if (end_ - p_ < 2 || p_[0] != 's' || p_[1] != ':') return false;
      p_ += 2;
      const uint32_t atom = Intern(Str());
      if (p_ >= end_ || *p_ == 'a' || *p_ == 'O') return false;
      pItem(atom, Scalar());
    }
    Expect('}');
    for (; p_ < end_; ++p_)
      if (*p_ != ' ' && *p_ != '\t' && *p_ != '\r' && *p_ != '\n') return false;
    return true;
  }

  // value -> "a:" ... | "O:" ... | scalar. Arrays fill pID; scalars are returned.
  Variant Value(int32_t pID) {
    if (p_ >= end_) hInvalid();
    char tag = *p_;
    if (tag == 'a') {
      ++p_;
      Expect(':');
      Array(pID);
      return {};
    }
    if (tag == 'O') {
      ++p_;
      Expect(':');
      ClassName();
      Array(pID, true);
      return {};
    }
    return Scalar();
  }

 private:
  struct Key {
    bool isIndex = false;
    int64_t index = 0;
    uint32_t atom = 0;
  };

  void Expect(char c) {
    if (p_ >= end_ || *p_ != c) hInvalid();
    ++p_;
  }

  // decimal -> ["-" | "+"] digit {digit}, followed by the terminator
  int64_t Int(char term) {
    bool neg = false;
    if (p_ < end_ && (*p_ == '-' || *p_ == '+')) neg = *p_++ == '-';
    const char* start = p_;
    uint64_t v = 0;
    while (p_ < end_ && *p_ >= '0' && *p_ <= '9') {
      if (v > (std::numeric_limits<uint64_t>::max() - 9) / 10) hInvalid();  // beyond 64 bits
      v = v * 10 + static_cast<uint64_t>(*p_ - '0');
      ++p_;
    }
    // the negative side reaches one further: PHP writes PHP_INT_MIN as i:-9223372036854775808;
    const uint64_t limit = static_cast<uint64_t>(std::numeric_limits<int64_t>::max()) + (neg ? 1 : 0);
    if (p_ == start || v > limit) hInvalid();
    Expect(term);
    return neg ? static_cast<int64_t>(uint64_t{0} - v) : static_cast<int64_t>(v);
  }

  // After "s:": chars ":\"" text "\";" (or "\":" when a count follows, for class names).
  // The length counts characters; when that does not end on the closing quote, bytes.
  std::string_view Str(char closer = ';') {
    int64_t n = Int(':');
    if (n < 0) hInvalid();
    Expect('"');
    const char* s = p_;
    const size_t avail = static_cast<size_t>(end_ - s);
    auto closes = [&](size_t bytes) { return bytes + 2 <= avail && s[bytes] == '"' && s[bytes + 1] == closer; };
    size_t bytes;
    if (static_cast<uint64_t>(n) > avail) hInvalid();
    if (hAscii(s, static_cast<size_t>(n))) {
      bytes = static_cast<size_t>(n);  // characters and bytes agree
      if (!closes(bytes)) hInvalid();
    } else {
      // characters of well-formed UTF-8 first; text that is not (or does not end there) was
      // counted in bytes, as PHP and our writer for malformed text count it
      bytes = hUtf8Span(s, avail, static_cast<size_t>(n));
      if (bytes == std::string_view::npos || !closes(bytes)) {
        bytes = static_cast<size_t>(n);
        if (!closes(bytes)) hInvalid();
      }
    }
    p_ = s + bytes + 2;
    return {s, bytes};
  }

  // After "O:": the class name. Any class is read as a structure of its properties.
  void ClassName() { Str(':'); }

  // key -> "s:" ... | "i:" decimal ";"
  Key ReadKey(bool inObject) {
    if (p_ >= end_) hInvalid();
    char tag = *p_++;
    Key k;
    if (tag == 's') {
      Expect(':');
      std::string_view name = Str();
      // private and protected properties of objects carry "\0Class\0" or "\0*\0" in front;
      // what is left never starts with "\0" again, so a tree written back reads the same
      if (inObject && name.size() > 3 && name[0] == '\0') {
        size_t second = name.find('\0', 1);
        if (second != std::string_view::npos && second >= 2 && second + 1 < name.size() && name[second + 1] != '\0')
          name.remove_prefix(second + 1);
      }
      k.atom = Intern(name);
      return k;
    }
    if (tag == 'i') {
      Expect(':');
      int64_t idx = Int(';');
      if (idx < 0 || idx > std::numeric_limits<int32_t>::max() - 1) {
        // no slot can hold it: the number's text becomes the name
        k.atom = hInternUpper(std::to_string(idx));  // not cached: the text is a temporary
        return k;
      }
      k.isIndex = true;
      k.index = idx;
      return k;
    }
    hBadType(tag, "asiObdnN}");
  }

  [[noreturn]] void hBadType(char tag, const char* known) {
    if (std::strchr(known, tag) && tag != '\0') hInvalid();
    std::string letter;
    unsigned char c = static_cast<unsigned char>(tag);
    if (c >= 0x20 && c < 0x7F) letter.assign(1, tag);
    else letter = "chr(" + std::to_string(c) + ")";
    Raise(err::kInvalidData, "Invalid data type found: " + letter);
  }

  // Names repeat from record to record and from call to call: the manager's cache from the name
  // as written to its atom spares upper-casing and interning it again.
  uint32_t Intern(std::string_view name) {
    if (name.size() > SerialCache::kNameBytes) return hInternUpper(name);
    uint32_t h = 2166136261u;
    for (unsigned char c : name) h = (h ^ c) * 16777619u;
    SerialCache::Name& e = names_[(h ^ (h >> 11)) & (SerialCache::kNames - 1)];
    if (e.size == name.size() + 1 && std::memcmp(e.bytes, name.data(), name.size()) == 0) return e.atom;
    uint32_t atom = hInternUpper(name);
    e.atom = atom;
    e.size = static_cast<uint8_t>(name.size() + 1);
    if (!name.empty()) std::memcpy(e.bytes, name.data(), name.size());
    return atom;
  }

  uint32_t hInternUpper(std::string_view name) {
    for (const char* q = name.data(); q < name.data() + name.size(); ++q) {
      unsigned char c = static_cast<unsigned char>(*q);
      if ((c >= 'a' && c <= 'z') || c >= 0x80) return m_.Names().Intern(text::UCase(name));
    }
    return m_.Names().Intern(name);
  }

  // array -> count ":{" { key value } "}"   (after "a:" or after the class name of "O:")
  void Array(int32_t pID, bool inObject = false) {
    int64_t count = Int(':');
    Expect('{');
    if (count < 0) hInvalid();
    if (++tDepth > cls_StructureSerializer::MaxDepth()) hInvalid();
    // every pair takes at least 8 bytes ("i:0;N;" plus the closing brace): never trust the count
    m_.ReserveSlots(pID, static_cast<size_t>(std::min(count, static_cast<int64_t>(end_ - p_) / 6)));
    // the writes below mark the node changed; what it was before reading is what it stays
    KeepChanged keep(m_, pID);
    for (int64_t i = 0; i < count; ++i) {
      Key k = ReadKey(inObject);
      if (p_ >= end_) hInvalid();
      char tag = *p_;
      if (tag == 'a' || tag == 'O') {
        int32_t child = m_.Alloc();  // may move the node table: slots are found afterwards
        Put(pID, k, Variant(), child);
        Value(child);
      } else {
        Put(pID, k, Scalar(), 0);
      }
    }
    Expect('}');
    --tDepth;
  }

  // scalar -> "s:" ... | "i:" ... | "d:" ... | "b:" ... | "n:" ... ";" | "N;"
  Variant Scalar() {
    char tag = *p_++;
    switch (tag) {
      case 's': {
        Expect(':');
        std::string_view s = Str();
        return StringValue(s);
      }
      case 'i': {
        Expect(':');
        int64_t v = Int(';');
        return Variant(static_cast<long long>(v));
      }
      case 'd': {
        Expect(':');
        const char* start = p_;
        const char* semi = static_cast<const char*>(std::memchr(p_, ';', static_cast<size_t>(end_ - p_)));
        if (!semi) hInvalid();
        std::string_view t(start, static_cast<size_t>(semi - start));
        p_ = semi + 1;
        return Variant(hDouble(t));
      }
      case 'b': {
        Expect(':');
        if (p_ >= end_ || (*p_ != '0' && *p_ != '1')) hInvalid();
        bool b = *p_++ == '1';
        Expect(';');
        return Variant(b);
      }
      case 'n': {
        Expect(':');
        while (p_ < end_ && *p_ >= '0' && *p_ <= '9') ++p_;
        Expect(';');
        return Variant::Null();
      }
      case 'N': Expect(';'); return Variant::Null();
      default: hBadType(tag, "asiObdnN}");
    }
  }

  static double hDouble(std::string_view t) {
    if (t == "INF" || t == "+INF") return std::numeric_limits<double>::infinity();
    if (t == "-INF") return -std::numeric_limits<double>::infinity();
    if (t == "NAN") return std::numeric_limits<double>::quiet_NaN();
    if (!t.empty() && t[0] == '+') t.remove_prefix(1);
    if (t.empty() || !((t[0] >= '0' && t[0] <= '9') || t[0] == '-' || t[0] == '.')) hInvalid();
    double d = 0;
    auto r = std::from_chars(t.data(), t.data() + t.size(), d);
    if (r.ec == std::errc::result_out_of_range) {
      // beyond the range of a double: PHP gives infinity or zero
      d = std::strtod(std::string(t).c_str(), nullptr);
    } else if (r.ec != std::errc() || r.ptr != t.data() + t.size()) {
      hInvalid();
    }
    return d;
  }

  // A text whose 5th and 8th characters are "-" comes back as a date when it reads as one.
  static Variant StringValue(std::string_view s) {
    if (s.size() >= 8 && hAscii(s.data(), 8) && s[4] == '-' && s[7] == '-') {
      double d;
      if (date::Parse(s, d)) return Variant::Date(d);
    }
    return Variant(s);
  }

  // Stores a read item: a name appends a new slot (lookups keep finding the first slot with a
  // name), "" appends a numbered slot, a numbered key takes its own slot.
  void Put(int32_t pID, const Key& k, Variant&& v, int32_t child) {
    if (!k.isIndex) {
      m_.AppendItem(pID, k.atom, std::move(v), child);
      return;
    }
    const int64_t max = m_.MAX(pID);
    if (k.index > max) {
      gapBudget_ -= k.index - max - 1;
      if (gapBudget_ < 0) hInvalid();
    }
    const int32_t slot = m_.SlotAt(pID, static_cast<int32_t>(k.index));
    if (child) m_.SetChild(pID, slot, child);
    else m_.SetValue(pID, slot, std::move(v));
  }

  // Puts a node's CHANGED flag back as it was when the reader came to it.
  class KeepChanged {
   public:
    KeepChanged(cls_StructureManager& m, int32_t id) : m_(m), id_(id), was_(m.CHANGED_GET(id)) {}
    ~KeepChanged() {
      if (!was_) m_.CHANGED_LET(id_, false);
    }
    KeepChanged(const KeepChanged&) = delete;
    KeepChanged& operator=(const KeepChanged&) = delete;

   private:
    cls_StructureManager& m_;
    int32_t id_;
    bool was_;
  };

  cls_StructureManager& m_;
  std::array<SerialCache::Name, SerialCache::kNames>& names_;
  const char* begin_;
  const char* p_;
  const char* end_;
  int64_t gapBudget_;
};

// ---- public face ---------------------------------------------------------------------------

int& cls_StructureSerializer::Depth() { return tDepth; }

void cls_StructureSerializer::Forget(const cls_StructureManager* pManager) {
  if (tCacheOwner == pManager) tCacheOwner = nullptr;
}

size_t cls_StructureSerializer::CharCount(std::string_view s) {
  if (hAscii(s.data(), s.size())) return s.size();
  // asking for as many characters as there are bytes decodes to the end or stops at a flaw; well-
  // formed text ends short of that count with every byte used
  size_t chars = 0;
  const size_t used = hUtf8Span(s.data(), s.size(), s.size(), &chars, true);
  return used == s.size() ? chars : s.size();  // malformed UTF-8: bytes
}

size_t cls_StructureSerializer::DoubleText(double d, char* buf) {
  if (std::isnan(d)) {
    std::memcpy(buf, "NAN", 3);
    return 3;
  }
  if (std::isinf(d)) {
    if (d > 0) {
      std::memcpy(buf, "INF", 3);
      return 3;
    }
    std::memcpy(buf, "-INF", 4);
    return 4;
  }
  char* q = buf;
  if (std::signbit(d)) {
    *q++ = '-';
    d = -d;
  }
  if (d == 0) {
    *q++ = '0';
    return static_cast<size_t>(q - buf);
  }
  // The shortest round-trip text picks plain digits only while they are no longer than the
  // exponent form, so its decimal point never sits more than three zeros after "0.": that text is
  // PHP's whenever it has no exponent and at most 15 digits before the point (past 2^53 the plain
  // form spells out the exact integer, not the shortest digits).
  {
    char* end = q + number::ShortestChars(d, q);
    const char* dot = std::find(q, end, '.');
    if (std::find(q, end, 'e') == end && dot - q <= 15) return static_cast<size_t>(end - buf);
  }
  // shortest round-trip digits and the decimal exponent, from the scientific form "d.ddde+XX"
  char sci[40];
  auto r = std::to_chars(sci, sci + sizeof sci, d, std::chars_format::scientific);
  char digits[24];
  int nd = 0;
  const char* s = sci;
  for (; s < r.ptr && *s != 'e'; ++s)
    if (*s != '.') digits[nd++] = *s;
  int exp10 = 0;
  std::from_chars(s + 1 + (s[1] == '+'), r.ptr, exp10);
  while (nd > 1 && digits[nd - 1] == '0') --nd;
  const int decpt = exp10 + 1;  // value = 0.digits x 10^decpt
  if (decpt < -3 || decpt > 17) {
    // exponent form: "1.0E+25", "1.5E-7"
    *q++ = digits[0];
    *q++ = '.';
    if (nd == 1) *q++ = '0';
    for (int i = 1; i < nd; ++i) *q++ = digits[i];
    *q++ = 'E';
    *q++ = exp10 < 0 ? '-' : '+';
    q = std::to_chars(q, q + 8, exp10 < 0 ? -exp10 : exp10).ptr;
  } else if (decpt <= 0) {
    *q++ = '0';
    *q++ = '.';
    for (int i = decpt; i < 0; ++i) *q++ = '0';
    for (int i = 0; i < nd; ++i) *q++ = digits[i];
  } else {
    for (int i = 0; i < decpt; ++i) *q++ = i < nd ? digits[i] : '0';
    if (nd > decpt) {
      *q++ = '.';
      for (int i = decpt; i < nd; ++i) *q++ = digits[i];
    }
  }
  return static_cast<size_t>(q - buf);
}

std::string cls_StructureSerializer::Write(int32_t pID) {
  if (!m_.Valid(pID)) Raise(err::kOutOfRange, "Subscript out of range (node " + std::to_string(pID) + ")");
  Writer w(m_);
  w.Node(pID, 1);
  return w.Take();
}

Variant cls_StructureSerializer::ReadValue(int32_t pID, std::string_view pText, int64_t& rPos) {
  if (!m_.Valid(pID)) Raise(err::kOutOfRange, "Subscript out of range (node " + std::to_string(pID) + ")");
  if (rPos < 0 || static_cast<uint64_t>(rPos) > pText.size()) hInvalid();
  const int depth = tDepth;
  try {
    SerializedReader r(m_, pText, static_cast<size_t>(rPos));
    Variant v = r.Value(pID);
    rPos = static_cast<int64_t>(r.Pos());
    tDepth = depth;
    return v;
  } catch (...) {
    tDepth = 0;
    throw;
  }
}

bool cls_StructureSerializer::ReadFlat(std::string_view pText,
                                       const std::function<void(uint32_t pAtom, Variant&& pValue)>& pItem) {
  try {
    mdl_Limits::CheckInputSize(pText.size(), "Serialized text");
    SerializedReader r(m_, pText, 0);
    return r.Flat(pItem);
  } catch (const Error&) { return false; }
}

void cls_StructureSerializer::Unserialize(int32_t pID, std::string_view pText) {
  if (pText.size() >= 2 && pText[0] == 'Q' && pText[1] == 'S') {
    cls_StructureCompact(m_).Read(pID, pText);
    return;
  }
  mdl_Limits::CheckInputSize(pText.size(), "Serialized text");
  tDepth = 0;
  m_.Empty(pID);
  try {
    hUnserialize(pID, pText);
  } catch (...) {
    tDepth = 0;
    m_.Empty(pID);  // no half-read tree
    throw;
  }
}

void cls_StructureSerializer::hUnserialize(int32_t pID, std::string_view pText) {
  size_t start = 0;
  auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  while (start < pText.size() && blank(pText[start])) ++start;
  if (start == pText.size()) return;
  if (pText[start] != 'a' && pText[start] != 'O') {
    // one scalar is no structure; an unknown letter still names itself
    SerializedReader probe(m_, pText, start);
    probe.Value(pID);
    hInvalid();
  }
  int64_t pos = static_cast<int64_t>(start);
  ReadValue(pID, pText, pos);
  for (size_t i = static_cast<size_t>(pos); i < pText.size(); ++i)
    if (!blank(pText[i])) hInvalid();
}

// ---- the manager's members for this form ---------------------------------------------------

std::string cls_StructureManager::SERIALIZE(int32_t pID) {
  return Guard(kClass, "SERIALIZE", [&] { return cls_StructureSerializer(*this).Write(pID); });
}

void cls_StructureManager::UNSERIALIZE(int32_t pID, std::string_view rSerialData) {
  if (rSerialData.size() >= 2 && rSerialData[0] == 'Q' && rSerialData[1] == 'S') {
    UNSERIALIZEBINARY(pID, rSerialData);
    return;
  }
  // the reader's failures are reported under the name of the routine that reads
  GuardVoid(kClass, "UNSERIALIZE2", [&] { cls_StructureSerializer(*this).Unserialize(pID, rSerialData); });
}

Variant cls_StructureManager::UNSERIALIZE2(int32_t pID, std::string_view rSerialData, int64_t& rIndex) {
  return Guard(kClass, "UNSERIALIZE2",
               [&] { return cls_StructureSerializer(*this).ReadValue(pID, rSerialData, rIndex); });
}

// ---- flat records ---------------------------------------------------------------------------

std::string SerializedRecordWriter::Key(std::string_view pName) { return hKeyPiece(text::UCase(pName)); }

void SerializedRecordWriter::Begin(size_t pItems) {
  Out out(buf_);
  out.Put("a:", 2);
  out.Int(static_cast<int64_t>(pItems));
  out.Put(":{", 2);
  len_ = out.Size();
}

void SerializedRecordWriter::Item(std::string_view pKey, const Variant& pValue) {
  Out out(buf_, len_);
  out.Put(pKey);
  hPutValue(out, pValue);
  len_ = out.Size();
}

void SerializedRecordWriter::Text(std::string_view pKey, std::string_view pText) {
  Out out(buf_, len_);
  out.Put(pKey);
  hPutString(out, pText);
  len_ = out.Size();
}

std::string_view SerializedRecordWriter::End() {
  Out out(buf_, len_);
  out.Put("}", 1);
  len_ = out.Size();
  return {buf_.data(), len_};
}

}  // namespace rykel
