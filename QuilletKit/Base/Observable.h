// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace quillet {

/// A value that views watch. Writing an equal value notifies nobody. An observer may subscribe, unsubscribe, write, or
/// destroy the observable. Main thread only.
template <typename T>
class Observable {
 public:
  using Observer = std::function<void(const T&)>;

  /// Ends the observation when destroyed; may outlive the observable.
  class Subscription {
   public:
    Subscription() = default;
    explicit Subscription(std::function<void()> end) : end_(std::move(end)) {}
    Subscription(Subscription&& other) noexcept : end_(std::exchange(other.end_, nullptr)) {}
    Subscription& operator=(Subscription&& other) noexcept {
      if (this != &other) {
        reset();
        end_ = std::exchange(other.end_, nullptr);
      }
      return *this;
    }
    ~Subscription() { reset(); }
    void reset() {
      if (auto end = std::exchange(end_, nullptr)) end();
    }

   private:
    std::function<void()> end_;
  };

  explicit Observable(T value = {}) : value_(std::move(value)) {}
  Observable(const Observable&) = delete;
  Observable& operator=(const Observable&) = delete;

  const T& get() const { return value_; }
  void set(T value) {
    if (value_ == value) return;
    value_ = std::move(value);
    const std::weak_ptr<Observers> alive = observers_;
    const Observers observers = *observers_;
    for (const auto& [id, observer] : observers) {
      const auto known = alive.lock();
      if (!known) return;
      if (known->contains(id)) observer(value_);
    }
  }
  [[nodiscard]] Subscription observe(Observer observer) const {
    const int id = ++lastId_;
    observers_->emplace(id, std::move(observer));
    return Subscription([weak = std::weak_ptr(observers_), id] {
      if (const auto observers = weak.lock()) observers->erase(id);
    });
  }

 private:
  using Observers = std::map<int, Observer>;

  T value_;
  mutable int lastId_ = 0;
  std::shared_ptr<Observers> observers_ = std::make_shared<Observers>();
};

}  // namespace quillet
