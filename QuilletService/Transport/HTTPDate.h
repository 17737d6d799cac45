// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <ctime>
#include <string_view>

namespace quillet {

/// The time as HTTP writes it. Written anew once a second.
class HTTPDate {
 public:
  std::string_view now() {
    const std::time_t time = std::time(nullptr);
    if (time != written_) {
      std::tm parts{};
      gmtime_r(&time, &parts);
      // The program runs in the C locale, so the names are English.
      size_ = std::strftime(text_.data(), text_.size(), "%a, %d %b %Y %H:%M:%S GMT", &parts);
      written_ = time;
    }
    return {text_.data(), size_};
  }

 private:
  std::time_t written_ = -1;
  std::array<char, 40> text_{};
  std::size_t size_ = 0;
};

}  // namespace quillet
