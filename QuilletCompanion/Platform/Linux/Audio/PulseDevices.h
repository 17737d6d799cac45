// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <memory>

#include "QuilletCompanion/Dictation/AudioDevices.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseThread.h"

namespace quillet {

/// The sound server's devices, as long as somebody watches them. What copies a program's sound is no input. To a server
/// that is gone or was never there it connects again, after a second at first and a minute at last. Main thread only.
class PulseDevices final : public AudioDevices {
 public:
  /// Of a thread that outlives it.
  explicit PulseDevices(PulseThread& thread);
  ~PulseDevices() override;

  std::unique_ptr<Watch> watch(std::function<void(const List&)> onList) override;

 private:
  class Listing;
  class Ticket;
  /// Of the main thread, by their tickets.
  using Watchers = std::map<int, std::function<void(const List&)>>;

  void end(int id);

  PulseThread& thread_;
  std::shared_ptr<Watchers> watchers_ = std::make_shared<Watchers>();
  std::shared_ptr<Listing> listing_;
  int lastId_ = 0;
};

}  // namespace quillet
