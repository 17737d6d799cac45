// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <unordered_map>

#include "QuilletKit/Async/Clock.h"

namespace quillet {

/// At most `limit` admissions per key in each window, which starts with a key's first one. No limit at 0.
class RateLimiter {
 public:
  RateLimiter(int limit, Duration window, TimeSource time) : limit_(limit), window_(window), time_(std::move(time)) {}

  bool admit(const std::string& key);
  /// Would be refused now.
  bool spent(const std::string& key) const;
  bool empty() const { return windows_.empty(); }
  void sweep();

 private:
  struct Window {
    MonotonicTime start;
    int used = 0;
  };
  int limit_;
  Duration window_;
  TimeSource time_;
  std::unordered_map<std::string, Window> windows_;
};

}  // namespace quillet
