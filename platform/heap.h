#pragma once
// One process heap shared by the library and its host (dlmalloc/dlfree of the
// utility library). Counts live blocks so tests can see leaks.
#include <cstddef>

#include "platform/export.h"

SURVEYCAM_API void* dlmalloc(size_t size);
SURVEYCAM_API void dlfree(void* block);

namespace platform {
// Number of blocks handed out by dlmalloc and not yet returned.
SURVEYCAM_API long LiveHeapBlocks();
}  // namespace platform

// Class-specific allocation through dlmalloc/dlfree, for value classes whose
// objects may be created by the library and destroyed by the host.
#define SURVEYCAM_DLMALLOC_OPERATORS                                           \
  static void* operator new(size_t size) { return ::platform::DlNew(size); }   \
  static void* operator new[](size_t size) { return ::platform::DlNew(size); } \
  static void operator delete(void* p) { dlfree(p); }                          \
  static void operator delete[](void* p) { dlfree(p); }                        \
  static void* operator new(size_t, void* where) { return where; }             \
  static void* operator new[](size_t, void* where) { return where; }           \
  static void operator delete(void*, void*) {}                                 \
  static void operator delete[](void*, void*) {}

namespace platform {
// dlmalloc that never returns null: allocation failure of a value object is
// treated like any other out-of-memory in C++.
SURVEYCAM_API void* DlNew(size_t size);
}  // namespace platform
