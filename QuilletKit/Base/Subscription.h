// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <utility>

namespace quillet {

/// Ends an observation when destroyed. May outlive what is observed.
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

}  // namespace quillet
