// HandlePool: the memory of a manager's structure handles, reused instead of going through the heap
// for every handle (a handle and its shared-pointer count are one block, made and dropped in
// great numbers: one per sub-structure read, per loop round, per CREATE).
//
// Invariants:
// - Every block has the size of the first one asked for; a request of another size goes to the
//   heap. Blocks come from slabs of kSlabBlocks that are kept until the pool ends: a block handed
//   back goes to the front of the free list and is the next one handed out.
// - The pool ends when its manager has ended and the last block has come back (a handle may
//   outlive its manager's thread), so a handle never returns its block to a pool that is gone.
// Threads: as the manager's nodes, a pool's blocks are taken and returned by one thread at a time.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

namespace rykel {

class HandlePool {
 public:
  HandlePool() = default;
  HandlePool(const HandlePool&) = delete;
  HandlePool& operator=(const HandlePool&) = delete;

  void* Get(size_t pBytes) {
    if (pBytes != block_) [[unlikely]] {
      if (block_ != 0 || pBytes < sizeof(Free)) return ::operator new(pBytes);
      block_ = pBytes;
    }
    if (!free_) [[unlikely]]
      hSlab();
    Free* f = free_;
    free_ = f->next;
    ++out_;
    return f;
  }
  void Put(void* p, size_t pBytes) {
    if (pBytes != block_) [[unlikely]]
      return ::operator delete(p);
    free_ = new (p) Free{free_};
    if (--out_ == 0 && !owned_) [[unlikely]]
      delete this;
  }
  // The manager's end: the pool goes now, or with the last block that comes back.
  void Disown() {
    owned_ = false;
    if (out_ == 0) delete this;
  }

 private:
  static constexpr size_t kSlabBlocks = 256;
  struct Free {
    Free* next;
  };
  [[gnu::noinline, gnu::cold]] void hSlab() {  // kept out of Get, which stays a few instructions
    slabs_.emplace_back(new std::byte[block_ * kSlabBlocks]);
    std::byte* s = slabs_.back().get();
    for (size_t i = kSlabBlocks; i-- > 0;) free_ = new (s + i * block_) Free{free_};
  }

  Free* free_ = nullptr;
  size_t block_ = 0;
  size_t out_ = 0;  // blocks handed out and not yet back
  bool owned_ = true;
  std::vector<std::unique_ptr<std::byte[]>> slabs_;
};

// The allocator std::allocate_shared uses for handles: one block per handle from the pool.
template <class T>
struct HandleAllocator {
  using value_type = T;
  HandlePool* pool;
  explicit HandleAllocator(HandlePool* p) noexcept : pool(p) {}
  template <class U>
  HandleAllocator(const HandleAllocator<U>& o) noexcept : pool(o.pool) {}
  T* allocate(size_t n) { return static_cast<T*>(pool->Get(n * sizeof(T))); }
  void deallocate(T* p, size_t n) noexcept { pool->Put(p, n * sizeof(T)); }
  template <class U>
  bool operator==(const HandleAllocator<U>& o) const noexcept {
    return pool == o.pool;
  }
};

}  // namespace rykel
