// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <utility>

#include "QuilletKit/Base/Subscription.h"

namespace quillet {

/// Something that happens, for any number of listeners, told in the order in which they came. A listener may subscribe,
/// unsubscribe, emit, or destroy the signal: the remaining ones then hear no more of it. One thread.
template <typename... Values>
class Signal {
 public:
  using Listener = std::function<void(const Values&...)>;

  Signal() = default;
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;

  [[nodiscard]] Subscription subscribe(Listener listener) const {
    const int id = ++lastId_;
    listeners_->emplace(id, std::move(listener));
    return Subscription([weak = std::weak_ptr(listeners_), id] {
      if (const auto listeners = weak.lock()) listeners->erase(id);
    });
  }

  void emit(const Values&... values) const {
    const std::weak_ptr<Listeners> alive = listeners_;
    const Listeners now = *listeners_;
    for (const auto& [id, listener] : now) {
      const auto known = alive.lock();
      if (!known) return;
      if (known->contains(id)) listener(values...);
    }
  }

 private:
  using Listeners = std::map<int, Listener>;

  mutable int lastId_ = 0;
  std::shared_ptr<Listeners> listeners_ = std::make_shared<Listeners>();
};

}  // namespace quillet
