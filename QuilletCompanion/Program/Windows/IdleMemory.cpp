// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Program/Windows/IdleMemory.h"

#include <link.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace quillet {
namespace {

/// Only what nobody ever writes: such pages are the file's, word for word.
int giveBackCode(dl_phdr_info* object, std::size_t, void*) {
  const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
  for (int i = 0; i < object->dlpi_phnum; ++i) {
    const auto& segment = object->dlpi_phdr[i];
    if (segment.p_type != PT_LOAD || (segment.p_flags & PF_W) != 0) continue;
    const std::uintptr_t begin = (object->dlpi_addr + segment.p_vaddr) & ~(page - 1);
    const std::uintptr_t end = (object->dlpi_addr + segment.p_vaddr + segment.p_filesz + page - 1) & ~(page - 1);
    ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED);
  }
  return 0;
}

}  // namespace

void giveBackIdleMemory() {
  ::malloc_trim(0);
  ::dl_iterate_phdr(giveBackCode, nullptr);
}

}  // namespace quillet
