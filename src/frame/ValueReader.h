// ValueReader: reads the values a ValueWriter wrote, in the same order (the encoding is written
// down in ValueWriter.h). Reads a byte range the caller owns; never reads past its end.
//
//   rykel::ValueReader r(bytes);  Variant sig = r.Read();
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/Variant.h"

namespace rykel {

class ValueReader {
 public:
  // REQUIRES: pData outlives the reader.
  explicit ValueReader(std::string_view pData) : data_(pData) {}
  // The next value. Raises 62 (input past end) when the data ends inside a value and
  // kInvalidData for an unknown tag.
  Variant Read();
  // The next value, which must be a string (raises kInvalidData otherwise); a view into the data.
  std::string_view ReadStringView();
  bool AtEnd() const { return pos_ >= data_.size(); }
  size_t Position() const { return pos_; }

 private:
  uint8_t hByte();
  const char* hTake(size_t n);
  uint64_t hVarint();
  std::string_view data_;
  size_t pos_ = 0;
};

}  // namespace rykel
