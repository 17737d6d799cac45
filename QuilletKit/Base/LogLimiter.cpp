// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/LogLimiter.h"

#include <algorithm>

namespace quillet {
namespace {

constexpr std::size_t kWritten = 10;
constexpr std::chrono::minutes kWindow{1};
constexpr std::size_t kMostLines = 1000;  // more different ones are no repetition, and aren't counted

}  // namespace

bool LogLimiter::admits(std::string_view line, Time now) {
  auto known = counts_.find(std::string(line));
  if (known == counts_.end()) {
    if (counts_.size() >= kMostLines) return true;
    known = counts_.emplace(line, Count{now}).first;
    nextEnd_ = std::min(nextEnd_, now + kWindow);
  }
  return ++known->second.times <= kWritten;
}

void LogLimiter::summarise(Time now, const Summary& tell) {
  if (now < nextEnd_) return;
  nextEnd_ = Time::max();
  for (auto each = counts_.begin(); each != counts_.end();) {
    const auto& [line, count] = *each;
    if (now < count.first + kWindow) {
      nextEnd_ = std::min(nextEnd_, count.first + kWindow);
      ++each;
      continue;
    }
    if (count.times > kWritten) tell(line, count.times - kWritten);
    each = counts_.erase(each);
  }
}

}  // namespace quillet
