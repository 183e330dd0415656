// Variant: the one scalar type of the component (item values, parameters, field values).
//
// A Variant is 16 bytes: a type code and an 8-byte payload. Strings are immutable, reference
// counted UTF-8 buffers, so copying a Variant never copies text. Objects are shared pointers.
// Type codes are the classic variant codes and reach the disk in some file forms: do not renumber.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include "frame/Object.h"

namespace rykel {

enum class VarType : int16_t {
  Empty = 0,
  Null = 1,
  Integer = 2,  // 16-bit
  Long = 3,     // 32-bit
  Single = 4,
  Double = 5,
  Currency = 6,  // 64-bit integer scaled by 10,000
  Date = 7,      // OLE automation date: days since 1899-12-30
  String = 8,
  Object = 9,
  Error = 10,
  Boolean = 11,
};

class Variant {
 public:
  Variant() noexcept : type_(VarType::Empty) { u_.i64 = 0; }
  Variant(bool b) noexcept : type_(VarType::Boolean) {
    u_.i64 = 0;
    u_.b = b;
  }
  Variant(int16_t v) noexcept : type_(VarType::Integer) {
    u_.i64 = 0;
    u_.i16 = v;
  }
  Variant(int v) noexcept : type_(VarType::Long) {
    u_.i64 = 0;
    u_.i32 = v;
  }
  // Wider integers stay Long while they fit in 32 bits, else become Double.
  Variant(long v) noexcept;
  Variant(long long v) noexcept : Variant(static_cast<long>(v)) {}
  Variant(unsigned v) noexcept : Variant(static_cast<long>(v)) {}
  Variant(float v) noexcept : type_(VarType::Single) {
    u_.i64 = 0;
    u_.f32 = v;
  }
  Variant(double v) noexcept : type_(VarType::Double) { u_.f64 = v; }
  Variant(std::string_view s);
  Variant(const std::string& s) : Variant(std::string_view(s)) {}
  Variant(const char* s) : Variant(std::string_view(s)) {}
  Variant(ObjectPtr o);
  template <class T>
  Variant(std::shared_ptr<T> o) : Variant(std::static_pointer_cast<Object>(std::move(o))) {}

  static Variant Null() noexcept {
    Variant v;
    v.type_ = VarType::Null;
    return v;
  }
  static Variant Date(double oleDate) noexcept {
    Variant v(oleDate);
    v.type_ = VarType::Date;
    return v;
  }
  static Variant Currency(int64_t scaled) noexcept {
    Variant v;
    v.type_ = VarType::Currency;
    v.u_.i64 = scaled;
    return v;
  }
  static Variant ErrorValue(int32_t code) noexcept {
    Variant v(code);
    v.type_ = VarType::Error;
    return v;
  }

  // Copies of numbers are the common case: inline, with the shared text or object apart.
  Variant(const Variant& o) noexcept : type_(o.type_), u_(o.u_) {
    if (type_ >= VarType::String) hShare();
  }
  Variant(Variant&& o) noexcept : type_(o.type_), u_(o.u_) {
    o.type_ = VarType::Empty;
    o.u_.i64 = 0;
  }
  Variant& operator=(const Variant& o) noexcept;
  Variant& operator=(Variant&& o) noexcept;
  ~Variant() {
    if (type_ >= VarType::String) hDrop();
  }

  VarType type() const noexcept { return type_; }
  int vartype() const noexcept { return static_cast<int>(type_); }
  bool isEmpty() const noexcept { return type_ == VarType::Empty; }
  bool isNull() const noexcept { return type_ == VarType::Null; }
  bool isString() const noexcept { return type_ == VarType::String; }
  bool isObject() const noexcept { return type_ == VarType::Object; }
  bool isBool() const noexcept { return type_ == VarType::Boolean; }
  bool isDate() const noexcept { return type_ == VarType::Date; }
  // Integer, Long, Single, Double, Currency (not Boolean, not Date).
  bool isNumber() const noexcept { return type_ >= VarType::Integer && type_ <= VarType::Currency; }

  // Raw payload access. REQUIRES: the matching type.
  int16_t rawInteger() const noexcept { return u_.i16; }
  int32_t rawLong() const noexcept { return u_.i32; }
  float rawSingle() const noexcept { return u_.f32; }
  double rawDouble() const noexcept { return u_.f64; }  // Double and Date
  int64_t rawCurrency() const noexcept { return u_.i64; }
  bool rawBool() const noexcept { return u_.b; }
  // The text of a String value; an empty view for any other type.
  std::string_view str() const noexcept {
    return type_ == VarType::String ? std::string_view(u_.s->data, u_.s->size) : std::string_view();
  }
  // A word that a user of a text may remember against it (the structure store keeps what it
  // learnt of a key there: its kind and hash), 0 until set and for other types. A text never
  // changes, so neither does what was learnt of it; threads that race set the same word.
  uint32_t keyHint() const noexcept {
    return type_ == VarType::String ? u_.s->hint.load(std::memory_order_relaxed) : 0;
  }
  void keyHintSet(uint32_t pHint) const noexcept {
    if (type_ == VarType::String && u_.s != &sEmptyText) u_.s->hint.store(pHint, std::memory_order_relaxed);
  }
  // The object of an Object value (may be null: "Nothing"); null for any other type.
  const ObjectPtr& obj() const noexcept;
  // The object cast to T, or null when it is not a T.
  template <class T>
  std::shared_ptr<T> as() const {
    return std::dynamic_pointer_cast<T>(obj());
  }

 private:
  struct StrRep {
    std::atomic<uint32_t> refs;
    uint32_t size;
    mutable std::atomic<uint32_t> hint;
    char data[1];
  };
  static StrRep sEmptyText;  // shared by every empty text, never counted or freed
  void hDrop() noexcept;
  void hShare() noexcept;  // a copy's own reference on its text or object

  VarType type_;
  union {
    int16_t i16;
    int32_t i32;
    int64_t i64;
    float f32;
    double f64;
    bool b;
    StrRep* s;
    ObjectPtr* o;
  } u_;
};

}  // namespace rykel
