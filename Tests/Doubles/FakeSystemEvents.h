// SPDX-License-Identifier: MIT
#pragma once

#include <list>
#include <optional>

#include "QuilletCompanion/Relay/SystemEvents.h"

namespace quillet::test {

/// Sleep, wake and network on command.
class FakeSystemEvents final : public SystemEvents {
 public:
  std::optional<bool> announcedAtOnce = true;  ///< The path that observe() tells before it returns.

  std::unique_ptr<Observation> observe(Handlers handlers) override {
    const auto position = handlers_.insert(handlers_.end(), handlers);
    auto observation = std::make_unique<Ending>(handlers_, position);
    if (announcedAtOnce && handlers.networkPath) handlers.networkPath(*announcedAtOnce);
    return observation;
  }

  void sleep() {
    tell([](const Handlers& h) {
      if (h.willSleep) h.willSleep();
    });
  }
  void wake() {
    tell([](const Handlers& h) {
      if (h.didWake) h.didWake();
    });
  }
  void network(bool available) {
    tell([=](const Handlers& h) {
      if (h.networkPath) h.networkPath(available);
    });
  }
  std::size_t observers() const { return handlers_.size(); }

 private:
  struct Ending final : Observation {
    Ending(std::list<Handlers>& handlers, std::list<Handlers>::iterator position) : list(handlers), entry(position) {}
    ~Ending() override { list.erase(entry); }
    std::list<Handlers>& list;
    std::list<Handlers>::iterator entry;
  };

  template <typename Call>
  void tell(Call call) {
    const auto now = handlers_;  // a handler may end its observation
    for (const auto& handlers : now) call(handlers);
  }

  std::list<Handlers> handlers_;
};

}  // namespace quillet::test
