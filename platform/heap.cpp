#include "platform/heap.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<long> g_live_blocks{0};
}

void* dlmalloc(size_t size) {
  void* block = std::malloc(size ? size : 1);
  if (block) ++g_live_blocks;
  return block;
}

void dlfree(void* block) {
  if (!block) return;
  --g_live_blocks;
  std::free(block);
}

namespace platform {

long LiveHeapBlocks() { return g_live_blocks.load(); }

void* DlNew(size_t size) {
  void* block = dlmalloc(size);
  if (!block) throw std::bad_alloc();
  return block;
}

}  // namespace platform
