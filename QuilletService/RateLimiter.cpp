// SPDX-License-Identifier: MIT
#include "QuilletService/RateLimiter.h"

namespace quillet {

bool RateLimiter::admit(const std::string& key) {
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
