// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

#include "QuilletKit/Base/Signal.h"

namespace quillet {

/// A value that views watch. Writing an equal value notifies nobody. An observer may subscribe, unsubscribe, write, or
/// destroy the observable; whoever hears of an older value after that is told the present one. Main thread only.
template <typename T>
class Observable {
 public:
  using Observer = typename Signal<T>::Listener;
  using Subscription = quillet::Subscription;

  explicit Observable(T value = {}) : value_(std::move(value)) {}

  const T& get() const { return value_; }
  void set(T value) {
    if (value_ == value) return;
    value_ = std::move(value);
    changed_.emit(value_);
  }
  [[nodiscard]] Subscription observe(Observer observer) const { return changed_.subscribe(std::move(observer)); }

 private:
  T value_;
  Signal<T> changed_;
};

}  // namespace quillet
