// ValueWriter: the sequential value writer. Values go one after the other into a byte buffer that
// the caller writes out; ValueReader reads them back in the same order.
//
// Encoding (little endian throughout; the tag is the Variant type code, so do not renumber):
//   value    := tag:u8 payload
//   Empty 0, Null 1     := (no payload)
//   Integer 2           := i16
//   Long 3              := i32
//   Single 4            := f32 (IEEE 754)
//   Double 5, Date 7    := f64 (IEEE 754; a date is its OLE serial number)
//   Currency 6          := i64 (scaled by 10,000)
//   String 8            := length:varint bytes[length]   (UTF-8, length in bytes)
//   Boolean 11          := u8 (0 false, 1 true)
//   varint              := 7 bits per byte, low group first, high bit set on all but the last byte
// Objects and error values cannot be written (error 13).
//
//   rykel::ValueWriter w;  w.Write(Variant("EOF"));  fwrite(w.Data().data(), 1, w.Data().size(), f);
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/Variant.h"

namespace rykel {

class ValueWriter {
 public:
  // Appends one value. Raises 13 for an object or error value.
  void Write(const Variant& pValue);
  void WriteString(std::string_view pText);
  void WriteBool(bool pValue);
  // The bytes written so far.
  const std::string& Data() const { return buf_; }
  std::string& Data() { return buf_; }
  void Clear() { buf_.clear(); }

 private:
  void hRaw(const void* p, size_t n) { buf_.append(static_cast<const char*>(p), n); }
  void hVarint(uint64_t v);
  std::string buf_;
};

}  // namespace rykel
