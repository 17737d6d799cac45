// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "QuilletCompanion/Platform/Linux/X11/ServerWatch.h"
#include "QuilletKit/Async/Attempt.h"

// Xlib's own headers define macros like None and Bool; only sources include them.
struct _XDisplay;

namespace quillet {

/// A display connection of our own whose failures never end the process, and that is answered also while another
/// client keeps the server for itself, if only the server has XTEST. A server that answers nothing is waited for within
/// a bound, and then taken for gone. Main thread only.
class X11Connection {
 public:
  /// Whether waits within an `X11ErrorTrap` or a `ServerWait` are bounded. Unbounded is for a program that can't begin
  /// again, and so must keep what the server holds for it.
  enum class Waits { bounded, unbounded };

  /// Connects to `display`, or to the environment's if it is empty.
  explicit X11Connection(const std::string& display, Waits waits = Waits::bounded);
  ~X11Connection();
  X11Connection(const X11Connection&) = delete;
  X11Connection& operator=(const X11Connection&) = delete;

  /// False if it never opened, lacks XKB, or broke.
  bool usable() const { return display_ != nullptr && !broken_; }
  /// Replaces a connection that isn't usable. True once there is a new one, which has no state of the last one's.
  /// Tries every few seconds, and never waits. Whoever watches the last one's socket must have let go of it.
  bool reopen();
  bool hasXTest() const { return xtest_; }
  _XDisplay* get() const { return display_; }

 private:
  struct Close {
    void operator()(_XDisplay* display) const;
  };
  /// Of a display that isn't this connection's yet.
  using Opening = Attempt<std::unique_ptr<_XDisplay, Close>>;
  void open();
  bool takeOpened();
  void setUp();
  void close();

  const std::string name_;
  const Waits waits_;
  std::optional<Opening> opening_;  ///< While it is under way.
  std::chrono::steady_clock::time_point nextOpening_;
  _XDisplay* display_ = nullptr;
  bool broken_ = false;
  bool xtest_ = false;
};

/// While it lives, errors that the X server reports about any connection are ignored instead of ending the process, and
/// waits have their bound. Waits for the server at its end. Nests.
class X11ErrorTrap {
 public:
  explicit X11ErrorTrap(const X11Connection& connection);
  ~X11ErrorTrap();
  /// Waits for the server. The number of the first error that it reported about this connection; 0 for none.
  int error() const;
  X11ErrorTrap(const X11ErrorTrap&) = delete;
  X11ErrorTrap& operator=(const X11ErrorTrap&) = delete;

 private:
  const ServerWait wait_;
  const X11Connection& connection_;
  _XDisplay* outerWatched_;
  int outerError_;
  void (*previous_)();  ///< The handler to put back, whose type only Xlib's header knows.
};

}  // namespace quillet
