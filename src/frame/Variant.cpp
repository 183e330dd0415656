#include "frame/Variant.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace rykel {

// Immutable text with a shared reference count; the characters follow the header in one block.
namespace {
const ObjectPtr kNoObject;
}

// Empty cells and fields are common: they share this one text and cost no allocation.
Variant::StrRep Variant::sEmptyText{{0}, 0, {0}, {'\0'}};

Variant::Variant(long v) noexcept {
  if (v >= std::numeric_limits<int32_t>::min() && v <= std::numeric_limits<int32_t>::max()) {
    type_ = VarType::Long;
    u_.i64 = 0;
    u_.i32 = static_cast<int32_t>(v);
  } else {
    type_ = VarType::Double;
    u_.f64 = static_cast<double>(v);
  }
}

Variant::Variant(std::string_view s) : type_(VarType::String) {
  if (s.empty()) {
    u_.s = &sEmptyText;
    return;
  }
  if (s.size() > std::numeric_limits<uint32_t>::max() - 16) throw std::bad_alloc();
  void* mem = std::malloc(offsetof(StrRep, data) + s.size() + 1);
  if (!mem) throw std::bad_alloc();
  StrRep* rep = static_cast<StrRep*>(mem);
  new (&rep->refs) std::atomic<uint32_t>(1);
  new (&rep->hint) std::atomic<uint32_t>(0);
  rep->size = static_cast<uint32_t>(s.size());
  std::memcpy(rep->data, s.data(), s.size());
  rep->data[s.size()] = '\0';
  u_.s = rep;
}

Variant::Variant(ObjectPtr o) : type_(VarType::Object) { u_.o = new ObjectPtr(std::move(o)); }

void Variant::hShare() noexcept {
  if (type_ == VarType::String) {
    if (u_.s != &sEmptyText) u_.s->refs.fetch_add(1, std::memory_order_relaxed);
  } else if (type_ == VarType::Object) {
    u_.o = new ObjectPtr(*u_.o);
  }
}

Variant& Variant::operator=(const Variant& o) noexcept {
  if (this != &o) {
    Variant copy(o);
    *this = std::move(copy);
  }
  return *this;
}

Variant& Variant::operator=(Variant&& o) noexcept {
  if (this != &o) {
    if (type_ >= VarType::String) hDrop();
    type_ = o.type_;
    u_ = o.u_;
    o.type_ = VarType::Empty;
    o.u_.i64 = 0;
  }
  return *this;
}

void Variant::hDrop() noexcept {
  if (type_ == VarType::String) {
    if (u_.s != &sEmptyText && u_.s->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) std::free(u_.s);
  } else if (type_ == VarType::Object) {
    delete u_.o;
  }
}

const ObjectPtr& Variant::obj() const noexcept { return type_ == VarType::Object ? *u_.o : kNoObject; }

}  // namespace rykel
