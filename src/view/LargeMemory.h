#pragma once
#include <cstddef>
#include <new>

namespace kmd::view {

// Memory for the large tables of a tree (its nodes' blocks, its key table). A block from
// kLargeFrom bytes is mapped on its own and filled at once; a block that fills whole huge pages
// (but for a sixteenth of them) is asked for on huge pages. A new window's first load writes tens
// of megabytes of fresh memory, and on a virtual machine each page's first fault costs far more
// than writing it: a huge page is one fault for 512 pages (where the system has none to give, it
// falls back to ordinary pages). The block goes back to the system when freed, or, in a process
// that keeps freed blocks, when it releases them. Smaller blocks come from the heap.
constexpr size_t kLargeFrom = 256 * 1024;
constexpr size_t kHugePage = 2 * 1024 * 1024;
// Null when the system has no memory to map.
void* MapLarge(size_t bytes);
void UnmapLarge(void* p, size_t bytes);

// A server whose windows come and go keeps the blocks a closed window freed, up to
// kKeptBlocksMax bytes, so that the next window of that size writes into memory that is already
// there: memory given back to the system is fresh again when taken, and on a virtual machine whose
// host takes back what its guest frees, fresh memory costs that host's faults as well. The server
// gives kept blocks back with ReleaseFreedBlocks a little after its windows close.
constexpr size_t kKeptBlocksMax = size_t{256} << 20;
// From now on this process keeps freed blocks.
void KeepFreedBlocks();
// Unmaps every kept block.
void ReleaseFreedBlocks();
// The bytes of the blocks kept now.
size_t FreedBlockBytes();

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
