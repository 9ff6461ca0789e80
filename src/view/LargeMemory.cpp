#include "view/LargeMemory.h"

#include <cstdint>

#include <sys/mman.h>

namespace kmd::view {

void* MapLarge(size_t bytes) {
  if (bytes % kHugePage != 0) {
    void* p = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    return p == MAP_FAILED ? nullptr : p;
  }
  // A huge page starts on a multiple of its size: one more is mapped and the aligned part kept.
  void* p = mmap(nullptr, bytes + kHugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (p == MAP_FAILED) return nullptr;
  auto at = reinterpret_cast<uintptr_t>(p);
  uintptr_t start = (at + kHugePage - 1) & ~(uintptr_t{kHugePage} - 1);
  if (start > at) munmap(p, start - at);
  munmap(reinterpret_cast<void*>(start + bytes), at + kHugePage - start);
  void* block = reinterpret_cast<void*>(start);
  // Asked for before the pages are filled. A system without huge pages gives ordinary ones, and
  // one without the filling call fills them as they are first written.
  madvise(block, bytes, MADV_HUGEPAGE);
#ifdef MADV_POPULATE_WRITE
  madvise(block, bytes, MADV_POPULATE_WRITE);
#endif
  return block;
}

void UnmapLarge(void* p, size_t bytes) { munmap(p, bytes); }

}  // namespace kmd::view
