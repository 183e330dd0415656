#include "frame/ValueWriter.h"

#include "frame/Error.h"

namespace rykel {

void ValueWriter::hVarint(uint64_t v) {
  while (v >= 0x80) {
    buf_.push_back(static_cast<char>((v & 0x7F) | 0x80));
    v >>= 7;
  }
  buf_.push_back(static_cast<char>(v));
}

void ValueWriter::WriteString(std::string_view pText) {
  buf_.push_back(static_cast<char>(VarType::String));
  hVarint(pText.size());
  hRaw(pText.data(), pText.size());
}

void ValueWriter::WriteBool(bool pValue) {
  buf_.push_back(static_cast<char>(VarType::Boolean));
  buf_.push_back(pValue ? 1 : 0);
}

void ValueWriter::Write(const Variant& pValue) {
  switch (pValue.type()) {
    case VarType::Empty:
    case VarType::Null: buf_.push_back(static_cast<char>(pValue.type())); return;
    case VarType::Integer: {
      buf_.push_back(static_cast<char>(VarType::Integer));
      int16_t v = pValue.rawInteger();
      hRaw(&v, sizeof v);
      return;
    }
    case VarType::Long: {
      buf_.push_back(static_cast<char>(VarType::Long));
      int32_t v = pValue.rawLong();
      hRaw(&v, sizeof v);
      return;
    }
    case VarType::Single: {
      buf_.push_back(static_cast<char>(VarType::Single));
      float v = pValue.rawSingle();
      hRaw(&v, sizeof v);
      return;
    }
    case VarType::Double:
    case VarType::Date: {
      buf_.push_back(static_cast<char>(pValue.type()));
      double v = pValue.rawDouble();
      hRaw(&v, sizeof v);
      return;
    }
    case VarType::Currency: {
      buf_.push_back(static_cast<char>(VarType::Currency));
      int64_t v = pValue.rawCurrency();
      hRaw(&v, sizeof v);
      return;
    }
    case VarType::String: WriteString(pValue.str()); return;
    case VarType::Boolean: WriteBool(pValue.rawBool()); return;
    default: Raise(err::kTypeMismatch, "value of type " + std::to_string(pValue.vartype()) + " cannot be written");
  }
}

}  // namespace rykel
