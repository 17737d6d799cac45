// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

namespace quillet {

/// Sleep, wake and the network's state, as the desktop tells them. Callbacks arrive on the main thread.
class SystemEvents {
 public:
  virtual ~SystemEvents() = default;

  struct Handlers {
    std::function<void()> willSleep;  ///< Early enough for one frame to leave; see Observation::delaySleep.
    std::function<void()> didWake;
    /// Whether any network can be used; called at once with the present state, and after every change of path, also
    /// one that leaves the value as it was.
    std::function<void(bool)> networkPath;
  };
  class Observation {
   public:
    virtual ~Observation() = default;
    /// Inside `willSleep`: sleep waits, within a bound, until the last copy of the result is destroyed, on whichever
    /// thread. Null elsewhere, and where sleep can't be delayed.
    virtual std::shared_ptr<void> delaySleep() { return nullptr; }
  };
  /// Observes until the result is destroyed. Any handler may be empty.
  virtual std::unique_ptr<Observation> observe(Handlers handlers) = 0;
};

}  // namespace quillet
