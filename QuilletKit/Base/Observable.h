// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <utility>

#include "QuilletKit/Base/Signal.h"

namespace quillet {

/// A value that views watch. Writing an equal value notifies nobody. An observer may subscribe, unsubscribe, write, or
/// destroy the observable, and what it was told stands until it returns; whoever hears of an older value after that is
/// told the present one. A writer that observers may destroy belongs to its coroutine and writes nothing once its
/// token is cancelled. Main thread only.
template <typename T>
class Observable {
 public:
  using Observer = typename Signal<T>::Listener;
  using Subscription = quillet::Subscription;

  explicit Observable(T value = {}) : value_(std::make_shared<T>(std::move(value))) {}

  const T& get() const { return *value_; }
  void set(T value) {
    if (*value_ == value) return;
    *value_ = std::move(value);
    const std::shared_ptr<const T> told = value_;
    changed_.emit(*told);
  }
  [[nodiscard]] Subscription observe(Observer observer) const { return changed_.subscribe(std::move(observer)); }

 private:
  std::shared_ptr<T> value_;  ///< Shared with the write that tells of it.
  Signal<T> changed_;
};

}  // namespace quillet
