// SPDX-License-Identifier: MIT
#include "QuilletService/Transcription/AudioBudget.h"

namespace quillet {

bool AudioBudget::over(const Hour& hour) const {
  return time_.monotonic() - hour.start >= std::chrono::hours(1);
}

bool AudioBudget::spent(const std::string& deviceId) const {
  const auto hour = hours_.find(deviceId);
  return perHour_.count() != 0 && hour != hours_.end() && !over(hour->second) && hour->second.used >= perHour_;
}

void AudioBudget::use(const std::string& deviceId, std::chrono::milliseconds sound) {
  if (perHour_.count() == 0) return;
  Hour& hour = hours_.try_emplace(deviceId, Hour{time_.monotonic()}).first->second;
  if (over(hour)) hour = {time_.monotonic()};
  hour.used += sound;
}

void AudioBudget::sweep() {
  std::erase_if(hours_, [&](const auto& entry) { return over(entry.second); });
}

}  // namespace quillet
