#pragma once
#include <cstddef>
#include <new>

namespace kmd::view {

// Memory for the large tables of a tree (its nodes' blocks, its key table). A block from
// kLargeFrom bytes is mapped on its own and filled at once; a block that fills whole huge pages
// (but for a sixteenth of them) is asked for on huge pages. A new window's first load writes tens
// of megabytes of fresh memory, and on a virtual machine each page's first fault costs far more
// than writing it: a huge page is one fault for 512 pages (where the system has none to give, it
// falls back to ordinary pages). The block goes back to the system when freed. Smaller blocks
// come from the heap.
constexpr size_t kLargeFrom = 256 * 1024;
constexpr size_t kHugePage = 2 * 1024 * 1024;
// Null when the system has no memory to map.
void* MapLarge(size_t bytes);
void UnmapLarge(void* p, size_t bytes);

// A standard allocator over MapLarge for blocks from kLargeFrom bytes, the heap below.
template <class T>
struct LargeAllocator {
  using value_type = T;
  LargeAllocator() = default;
  template <class U>
  LargeAllocator(const LargeAllocator<U>&) {}
  T* allocate(size_t n) {
    size_t bytes = n * sizeof(T);
    if (bytes < kLargeFrom) return static_cast<T*>(::operator new(bytes));
    if (void* p = MapLarge(bytes)) return static_cast<T*>(p);
    throw std::bad_alloc();
  }
  void deallocate(T* p, size_t n) {
    size_t bytes = n * sizeof(T);
    if (bytes < kLargeFrom) ::operator delete(p);
    else UnmapLarge(p, bytes);
  }
  template <class U>
  bool operator==(const LargeAllocator<U>&) const { return true; }
};

}  // namespace kmd::view
