// SPDX-License-Identifier: MIT
#pragma once

#include <string>

// Xlib's own headers define macros like None and Bool; only sources include them.
struct _XDisplay;

namespace quillet {

/// A display connection of our own whose failures never end the process, and that is answered also while another
/// client keeps the server for itself, if only the server has XTEST; unless a question was on its way in the very
/// moment when that began, which the server then keeps back until it ends. Main thread only.
class X11Connection {
 public:
  /// Connects to `display`, or to the environment's if it is empty.
  explicit X11Connection(const std::string& display);
  ~X11Connection();
  X11Connection(const X11Connection&) = delete;
  X11Connection& operator=(const X11Connection&) = delete;

  /// False if it never opened, lacks XKB, or broke.
  bool usable() const { return display_ != nullptr && !broken_; }
  bool hasXTest() const { return xtest_; }
  _XDisplay* get() const { return display_; }

 private:
  _XDisplay* display_ = nullptr;
  bool broken_ = false;
  bool xtest_ = false;
};

/// While it lives, errors that the X server reports about any connection are ignored instead of ending the process.
/// Waits for the server at its end. Nests.
class X11ErrorTrap {
 public:
  explicit X11ErrorTrap(const X11Connection& connection);
  ~X11ErrorTrap();
  /// Waits for the server. The number of the first error that it reported about this connection; 0 for none.
  int error() const;
  X11ErrorTrap(const X11ErrorTrap&) = delete;
  X11ErrorTrap& operator=(const X11ErrorTrap&) = delete;

 private:
  const X11Connection& connection_;
  _XDisplay* outerWatched_;
  int outerError_;
  void (*previous_)();  ///< The handler to put back, whose type only Xlib's header knows.
};

}  // namespace quillet
