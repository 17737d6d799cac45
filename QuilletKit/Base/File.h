// SPDX-License-Identifier: MIT
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>

namespace quillet {

/// An open file or folder, closed with the object. What doesn't open is an object without a file, and `error` says why.
class File {
 public:
  enum class Lock { held, elsewhere, impossible };
  /// What is there to be had: nothing, something that can't be read, something that makes no sense, or a value.
  enum class Condition { absent, unreadable, damaged, good };
  template <typename T>
  struct Reading {
    Condition condition = Condition::absent;
    std::optional<T> value;       ///< With `good` only.
    int error = 0;                ///< The errno behind `absent` and `unreadable`.
    std::int64_t modifiedAt = 0;  ///< Milliseconds since 1970, where the file could be opened.
  };
  static constexpr std::size_t kAny = std::numeric_limits<std::size_t>::max();

  File() = default;
  /// `flags` are open(2)'s; a file that they create is for its owner alone. Never passed on to other programs.
  File(const std::filesystem::path& path, int flags);
  File(File&& other) noexcept;
  File& operator=(File&& other) noexcept;
  ~File() { close(); }

  explicit operator bool() const { return descriptor_ >= 0; }
  int descriptor() const { return descriptor_; }
  int error() const { return error_; }
  void close();
  /// Not a folder, a pipe or a device.
  bool isPlain() const;
  /// It has a name still.
  bool isLinked() const;

  /// From here to the end. `unreadable` with EFBIG if that is more than `most` bytes.
  Reading<std::string> read(std::size_t most = kAny) const;
  /// Keeps out other programs that lock the same file, until this object is gone. Waits for its turn; false where files
  /// can't be locked.
  bool lock() const;
  /// As above without waiting.
  Lock tryLock() const;

  /// The whole of a file.
  static Reading<std::string> read(const std::filesystem::path& path);
  /// The whole of a file as what `decode` makes of its text; `damaged` where that gives nothing.
  template <typename Decode>
  static auto read(const std::filesystem::path& path, Decode decode) {
    using Optional = std::invoke_result_t<Decode&, const std::string&>;
    auto text = read(path);
    Reading<typename Optional::value_type> reading{text.condition, {}, text.error, text.modifiedAt};
    if (text.value) reading.value = decode(*text.value);
    if (text.value && !reading.value) reading.condition = Condition::damaged;
    return reading;
  }

 private:
  int descriptor_ = -1;
  int error_ = EBADF;
};

}  // namespace quillet
