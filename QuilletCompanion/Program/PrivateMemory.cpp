// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Program/PrivateMemory.h"

#include <malloc.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace quillet {

void keepMemoryPrivate() {
  ::prctl(PR_SET_DUMPABLE, 0);
  const rlimit none{0, 0};
  ::setrlimit(RLIMIT_CORE, &none);
}

}  // namespace quillet

// Sanitizers have allocators of their own.
#if !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer)

// Texts and keys pass through buffers of many libraries, and none may lie about for as long as the program runs. So
// these two of the C library are replaced, for the whole process.
extern "C" {

void __libc_free(void* memory);

void free(void* memory) noexcept {
  if (memory == nullptr) return;
  ::explicit_bzero(memory, ::malloc_usable_size(memory));
  __libc_free(memory);
}

/// The library's own would leave a copy behind where it moves.
void* realloc(void* memory, std::size_t size) noexcept {
  if (memory == nullptr) return ::malloc(size);
  if (size == 0) {
    ::free(memory);
    return nullptr;
  }
  const std::size_t room = ::malloc_usable_size(memory);
  if (size <= room && size >= room / 2) return memory;
  void* const moved = ::malloc(size);
  if (moved == nullptr) return nullptr;
  std::memcpy(moved, memory, std::min(size, room));
  ::free(memory);
  return moved;
}

}  // extern "C"

#endif
