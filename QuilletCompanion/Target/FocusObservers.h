// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace quillet {

/// Lasts until it is destroyed; may outlive what it observes.
class FocusObservation {
 public:
  virtual ~FocusObservation() = default;
};

/// The callbacks of the observations that have not ended. Main thread only.
template <typename... Arguments>
class FocusObservers {
 public:
  using Callback = std::function<void(Arguments...)>;

  [[nodiscard]] std::unique_ptr<FocusObservation> add(Callback callback) {
    auto held = std::make_unique<Held>(std::move(callback));
    callbacks_.push_back(held->callback);
    return held;
  }

  bool any() const {
    return std::any_of(callbacks_.begin(), callbacks_.end(), [](const auto& callback) { return !callback.expired(); });
  }
  /// A callback may begin and end observations, its own too; one that has ended is not called any more.
  void notify(const Arguments&... arguments) {
    std::erase_if(callbacks_, [](const auto& callback) { return callback.expired(); });
    const auto present = callbacks_;
    for (const auto& weak : present) {
      if (const auto callback = weak.lock()) (*callback)(arguments...);
    }
  }

 private:
  struct Held final : FocusObservation {
    explicit Held(Callback call) : callback(std::make_shared<const Callback>(std::move(call))) {}
    std::shared_ptr<const Callback> callback;
  };

  std::vector<std::weak_ptr<const Callback>> callbacks_;
};

}  // namespace quillet
