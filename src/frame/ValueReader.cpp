#include "frame/ValueReader.h"

#include <cstring>

#include "frame/Error.h"

namespace rykel {

const char* ValueReader::hTake(size_t n) {
  if (n > data_.size() - pos_)
    Raise(err::kInputPastEnd, "value data ends at byte " + std::to_string(data_.size()) + " inside a value");
  const char* p = data_.data() + pos_;
  pos_ += n;
  return p;
}

uint8_t ValueReader::hByte() { return static_cast<uint8_t>(*hTake(1)); }

uint64_t ValueReader::hVarint() {
  uint64_t v = 0;
  for (int shift = 0; shift < 64; shift += 7) {
    uint8_t b = hByte();
    v |= static_cast<uint64_t>(b & 0x7F) << shift;
    if (!(b & 0x80)) return v;
  }
  Raise(err::kInvalidData, "bad length at byte " + std::to_string(pos_));
}

std::string_view ValueReader::ReadStringView() {
  size_t at = pos_;
  uint8_t tag = hByte();
  if (tag != static_cast<uint8_t>(VarType::String))
    Raise(err::kInvalidData, "string expected at byte " + std::to_string(at));
  uint64_t n = hVarint();
  if (n > data_.size() - pos_) Raise(err::kInputPastEnd, "string runs past the end of the data");
  const char* p = hTake(static_cast<size_t>(n));
  return {p, static_cast<size_t>(n)};
}

Variant ValueReader::Read() {
  size_t at = pos_;
  uint8_t tag = hByte();
  switch (static_cast<VarType>(tag)) {
    case VarType::Empty: return Variant();
    case VarType::Null: return Variant::Null();
    case VarType::Integer: {
      int16_t v;
      std::memcpy(&v, hTake(2), 2);
      return Variant(v);
    }
    case VarType::Long: {
      int32_t v;
      std::memcpy(&v, hTake(4), 4);
      return Variant(v);
    }
    case VarType::Single: {
      float v;
      std::memcpy(&v, hTake(4), 4);
      return Variant(v);
    }
    case VarType::Double: {
      double v;
      std::memcpy(&v, hTake(8), 8);
      return Variant(v);
    }
    case VarType::Date: {
      double v;
      std::memcpy(&v, hTake(8), 8);
      return Variant::Date(v);
    }
    case VarType::Currency: {
      int64_t v;
      std::memcpy(&v, hTake(8), 8);
      return Variant::Currency(v);
    }
    case VarType::String: {
      pos_ = at;
      return Variant(ReadStringView());
    }
    case VarType::Boolean: return Variant(hByte() != 0);
    default: Raise(err::kInvalidData, "unknown value tag " + std::to_string(tag) + " at byte " + std::to_string(at));
  }
}

}  // namespace rykel
