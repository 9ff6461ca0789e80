#include "view/LargeMemory.h"

#include <sys/mman.h>

namespace kmd::view {

void* MapLarge(size_t bytes) {
  void* p = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
  return p == MAP_FAILED ? nullptr : p;
}

void UnmapLarge(void* p, size_t bytes) { munmap(p, bytes); }

}  // namespace kmd::view
