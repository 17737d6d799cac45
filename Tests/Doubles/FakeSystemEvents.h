// SPDX-License-Identifier: MIT
#pragma once

#include <list>

#include "QuilletCompanion/Relay/SystemEvents.h"

namespace quillet::test {

/// Sleep, wake and network on command.
class FakeSystemEvents final : public SystemEvents {
 public:
  std::optional<bool> announcedAtOnce = true;  ///< The path that observe() tells before it returns.

  std::unique_ptr<Observation> observe(Handlers handlers) override {
    const auto position = handlers_.insert(handlers_.end(), handlers);
    auto observation = std::make_unique<Ending>(handlers_, position, hold_);
    if (announcedAtOnce && handlers.networkPath) handlers.networkPath(*announcedAtOnce);
    return observation;
  }

  void sleep() {
    const auto hold = std::make_shared<int>();
    hold_ = hold;
    tell(&Handlers::willSleep);
  }
  void wake() { tell(&Handlers::didWake); }
  void network(bool available) { tell(&Handlers::networkPath, available); }
  /// Whether somebody still has sleep wait.
  bool sleepWaits() const { return !hold_.expired(); }
  std::size_t observers() const { return handlers_.size(); }

 private:
  struct Ending final : Observation {
    Ending(std::list<Handlers>& handlers, std::list<Handlers>::iterator position, std::weak_ptr<void>& sleepHold)
        : list(handlers), entry(position), hold(sleepHold) {}
    ~Ending() override { list.erase(entry); }
    std::shared_ptr<void> delaySleep() override { return hold.lock(); }
    std::list<Handlers>& list;
    std::list<Handlers>::iterator entry;
    std::weak_ptr<void>& hold;
  };

  template <typename... Values>
  void tell(std::function<void(Values...)> Handlers::*handler, Values... values) {
    const auto now = handlers_;  // a handler may end its observation
    for (const auto& handlers : now) {
      if (handlers.*handler) (handlers.*handler)(values...);
    }
  }

  std::list<Handlers> handlers_;
  std::weak_ptr<void> hold_;
};

}  // namespace quillet::test
