// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace quillet {

/// What the database's last failure was, for whoever asks how the service is. Each change is logged once.
class StorageHealth {
 public:
  /// `code` is the library's.
  void failed(int code);
  void worked();
  bool failing() const { return code_ != 0; }
  /// In the library's fixed words.
  std::string_view problem() const;

 private:
  int code_ = 0;
};

}  // namespace quillet
