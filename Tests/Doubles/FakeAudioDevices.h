// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

#include "QuilletCompanion/Dictation/AudioDevices.h"

namespace quillet::test {

/// Sound devices that a test plugs and unplugs; one watcher at a time.
class FakeAudioDevices final : public AudioDevices {
 public:
  std::unique_ptr<Watch> watch(std::function<void(const List&)> onList) override {
    ++watches;
    onList_ = std::move(onList);
    return std::make_unique<Ticket>(*this);
  }
  bool isWatched() const { return onList_ != nullptr; }
  /// Also what the platform does once, a moment after `watch`.
  void tell(List list) {
    if (onList_) onList_(list);
  }

  int watches = 0;

 private:
  class Ticket final : public Watch {
   public:
    explicit Ticket(FakeAudioDevices& devices) : devices_(devices) {}
    ~Ticket() override { devices_.onList_ = nullptr; }

   private:
    FakeAudioDevices& devices_;
  };

  std::function<void(const List&)> onList_;
};

}  // namespace quillet::test
