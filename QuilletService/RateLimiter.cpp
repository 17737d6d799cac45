// SPDX-License-Identifier: MIT
#include "QuilletService/RateLimiter.h"

namespace quillet {

bool RateLimiter::spent(const std::string& key) const {
  const auto window = windows_.find(key);
  return window != windows_.end() && window->second.used >= limit_ &&
         time_.monotonic() - window->second.start < window_;
}

bool RateLimiter::admit(const std::string& key) {
  if (limit_ == 0) return true;
  const MonotonicTime now = time_.monotonic();
  auto& window = windows_.try_emplace(key, Window{now}).first->second;
  if (now - window.start >= window_) window = {now};
  if (window.used >= limit_) return false;
  ++window.used;
  return true;
}

void RateLimiter::sweep() {
  const MonotonicTime now = time_.monotonic();
  std::erase_if(windows_, [&](const auto& entry) { return now - entry.second.start >= window_; });
}

}  // namespace quillet
