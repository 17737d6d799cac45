// SPDX-License-Identifier: MIT
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <span>

#include "QuilletKit/Base/Bytes.h"

namespace quillet {

/// Bytes that never move while they grow, up to a capacity that costs nothing until it is used. All of it goes back to
/// the system, which clears it, at the end.
class PageBuffer {
 public:
  explicit PageBuffer(std::size_t capacity)
      : capacity_(capacity),
        data_(::mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {
    if (data_ == MAP_FAILED) throw std::bad_alloc();
  }
  ~PageBuffer() { ::munmap(data_, capacity_); }
  PageBuffer(const PageBuffer&) = delete;
  PageBuffer& operator=(const PageBuffer&) = delete;

  std::size_t room() const { return capacity_ - size_; }
  std::size_t size() const { return size_; }
  ByteView bytes() const { return {static_cast<const std::uint8_t*>(data_), size_}; }
  /// More of it, to be written to; at most `room`.
  std::span<std::uint8_t> grow(std::size_t count) {
    const std::span<std::uint8_t> added(static_cast<std::uint8_t*>(data_) + size_, count);
    size_ += count;
    return added;
  }

 private:
  std::size_t capacity_, size_ = 0;
  void* data_;
};

}  // namespace quillet
