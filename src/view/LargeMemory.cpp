#include "view/LargeMemory.h"

#include <cstdint>

#include <sys/mman.h>

namespace kmd::view {

namespace {
// What a block of `bytes` is mapped as: whole huge pages when it fills them but for a sixteenth
// (a tree's block of nodes is a huge page less the part no node fits in), else 0: ordinary pages.
size_t HugeBytes(size_t bytes) {
  size_t huge = (bytes + kHugePage - 1) / kHugePage * kHugePage;
  return huge - bytes <= bytes / 16 ? huge : 0;
}
}  // namespace

void* MapLarge(size_t bytes) {
  size_t huge = HugeBytes(bytes);
  if (!huge) {
    void* p = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    return p == MAP_FAILED ? nullptr : p;
  }
  // A huge page starts on a multiple of its size: one more is mapped and the aligned part kept.
  void* p = mmap(nullptr, huge + kHugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (p == MAP_FAILED) return nullptr;
  auto at = reinterpret_cast<uintptr_t>(p);
  uintptr_t start = (at + kHugePage - 1) & ~(uintptr_t{kHugePage} - 1);
  if (start > at) munmap(p, start - at);
  munmap(reinterpret_cast<void*>(start + huge), at + kHugePage - start);
  void* block = reinterpret_cast<void*>(start);
  // Asked for before the pages are filled. A system without huge pages gives ordinary ones, and
  // one without the filling call fills them as they are first written.
  madvise(block, huge, MADV_HUGEPAGE);
#ifdef MADV_POPULATE_WRITE
  madvise(block, huge, MADV_POPULATE_WRITE);
#endif
  return block;
}

void UnmapLarge(void* p, size_t bytes) {
  size_t huge = HugeBytes(bytes);
  munmap(p, huge ? huge : bytes);
}

}  // namespace kmd::view
