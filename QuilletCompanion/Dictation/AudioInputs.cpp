// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/AudioInputs.h"

#include <algorithm>

#include "QuilletKit/Base/Unicode.h"

namespace quillet {
namespace {

using Devices = std::vector<AudioDevice>;

Devices::const_iterator deviceWith(const Devices& devices, std::uint32_t id) {
  return std::find_if(devices.begin(), devices.end(), [&](const AudioDevice& each) { return each.id == id; });
}

AudioInput inputOf(const AudioDevice& device) {
  return {device.uid, device.name.value_or(device.uid)};
}

bool isMicrophone(const AudioDevice& device) {
  return device.hasInput && !device.hidden.value_or(false) && !device.uid.empty() &&
         !device.uid.starts_with(AudioInputs::ownDevices);
}

std::vector<AudioInput> microphonesAmong(const Devices& devices) {
  std::vector<AudioInput> found;
  for (const auto& device : devices) {
    if (isMicrophone(device)) found.push_back(inputOf(device));
  }
  std::sort(found.begin(), found.end(), [](const AudioInput& a, const AudioInput& b) {
    if (Unicode::nameComesBefore(a.name, b.name)) return true;
    return !Unicode::nameComesBefore(b.name, a.name) && a.uid < b.uid;
  });
  return found;
}

std::optional<AudioInput> defaultAmong(const AudioDevices::List& list) {
  if (!list.defaultInput) return std::nullopt;
  const auto device = deviceWith(list.all, *list.defaultInput);
  if (device == list.all.end() || device->uid.empty()) return std::nullopt;
  return inputOf(*device);
}

}  // namespace

void AudioInputs::start() {
  if (watch_) return;
  watch_ = devices_.watch([this](const AudioDevices::List& list) { refresh(list); });
}

void AudioInputs::stop() {
  watch_.reset();
  refresh({});
}

void AudioInputs::refresh(const AudioDevices::List& list) {
  list_ = list;
  all.set(microphonesAmong(list_.all));
  systemDefault.set(defaultAmong(list_));
}

bool AudioInputs::isAvailable(std::uint32_t device) const {
  const auto found = deviceWith(list_.all, device);
  return found != list_.all.end() && found->hasInput;
}

std::optional<std::uint32_t> AudioInputs::deviceID(const AudioDevices::List& list,
                                                   const std::optional<std::string>& uid) {
  if (uid) {
    const auto chosen =
        std::find_if(list.all.begin(), list.all.end(), [&](const AudioDevice& each) { return each.uid == *uid; });
    if (chosen != list.all.end() && chosen->hasInput) return chosen->id;
  }
  return list.defaultInput;
}

}  // namespace quillet
