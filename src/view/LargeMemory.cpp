#include "view/LargeMemory.h"

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <vector>

#include <sys/mman.h>

namespace kmd::view {

namespace {
// What a block of `bytes` is mapped as: whole huge pages when it fills them but for a sixteenth
// (a tree's block of nodes is a huge page less the part no node fits in), else 0: ordinary pages.
size_t HugeBytes(size_t bytes) {
  size_t huge = (bytes + kHugePage - 1) / kHugePage * kHugePage;
  return huge - bytes <= bytes / 16 ? huge : 0;
}

// The blocks freed and kept, by the size they were mapped with; the windows' threads free and
// take them at once.
struct Kept {
  void* block;
  size_t mapped;
};
struct KeptBlocks {
  std::mutex mutex;
  bool keep = false;
  size_t bytes = 0;
  std::vector<Kept> blocks;
};
KeptBlocks& Keeper() {
  static KeptBlocks* keeper = new KeptBlocks;  // never destroyed: blocks may be freed at exit
  return *keeper;
}

// A kept block mapped with `mapped` bytes, taken from the kept ones; null when there is none.
void* TakeKept(size_t mapped) {
  KeptBlocks& k = Keeper();
  std::lock_guard<std::mutex> lock(k.mutex);
  auto it = std::find_if(k.blocks.begin(), k.blocks.end(), [&](const Kept& b) { return b.mapped == mapped; });
  if (it == k.blocks.end()) return nullptr;
  void* block = it->block;
  k.bytes -= mapped;
  *it = k.blocks.back();
  k.blocks.pop_back();
  return block;
}
}  // namespace

void KeepFreedBlocks() {
  std::lock_guard<std::mutex> lock(Keeper().mutex);
  Keeper().keep = true;
}

void ReleaseFreedBlocks() {
  std::vector<Kept> blocks;
  {
    std::lock_guard<std::mutex> lock(Keeper().mutex);
    blocks.swap(Keeper().blocks);
    Keeper().bytes = 0;
  }
  for (const Kept& b : blocks) munmap(b.block, b.mapped);
}

size_t FreedBlockBytes() {
  std::lock_guard<std::mutex> lock(Keeper().mutex);
  return Keeper().bytes;
}

void* MapLarge(size_t bytes) {
  size_t huge = HugeBytes(bytes);
  if (void* kept = TakeKept(huge ? huge : bytes)) return kept;
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
  size_t mapped = huge ? huge : bytes;
  {
    KeptBlocks& k = Keeper();
    std::lock_guard<std::mutex> lock(k.mutex);
    if (k.keep && k.bytes + mapped <= kKeptBlocksMax) {
      k.blocks.push_back({p, mapped});
      k.bytes += mapped;
      return;
    }
  }
  munmap(p, mapped);
}

}  // namespace kmd::view
