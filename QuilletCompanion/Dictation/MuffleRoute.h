// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace quillet {

/// Other programs' sound, taken over and played through a LowPassMuffler. The sound is given back when it is destroyed,
/// a moment later, and whatever ends this process. Main thread only.
class MuffleRoute {
 public:
  /// What went wrong.
  struct Failure {
    std::string step;
    int status = 0;  ///< The platform's own code.
    std::string text() const { return step + " (" + std::to_string(status) + ")"; }
    bool operator==(const Failure&) const = default;
  };
  enum class End { neverStood, broke };
  using OnEnd = std::function<void(End, const Failure&)>;

  virtual ~MuffleRoute() = default;

  /// Whether the filter is wanted. It fades in and out; at the beginning it isn't. Takes effect also while the route is
  /// being built.
  virtual void setEngaged(bool engaged) = 0;
  /// Gives the sound back, without a fade. Returns when that is done, after a second at most.
  virtual void tearDownNow() = 0;
};

/// Where routes come from. Main thread only.
class MuffleRoutes {
 public:
  virtual ~MuffleRoutes() = default;

  /// Begins to build a route to the present default output; it stays on that. At most one is held at a time. `onEnd` is
  /// called on the main thread if the route can't be built or breaks later, once, never inside this call, and not
  /// after the route was destroyed; what the route had taken is given back then.
  virtual std::unique_ptr<MuffleRoute> build(MuffleRoute::OnEnd onEnd) = 0;
};

}  // namespace quillet
