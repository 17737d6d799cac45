// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

#include "QuilletCompanion/Platform/Linux/Session/DBusSignals.h"

namespace quillet {

/// The program's name on the session bus, by which a second start, a menu entry or the desktop reaches the running one
/// (org.freedesktop.Application). Without a bus nobody does. Main thread only.
class ApplicationName {
 public:
  /// The answer to a request that the program show itself.
  enum class Answer { shows, hasNoWindows };

  /// `onActivate` runs from the main loop, whatever the answer.
  ApplicationName(const std::string& name, Answer answer, std::function<void()> onActivate);
  ~ApplicationName();
  ApplicationName(const ApplicationName&) = delete;
  ApplicationName& operator=(const ApplicationName&) = delete;

  /// Asks the program that has the name to show itself. False if there is none that could; waits a moment at most.
  static bool activate(const std::string& name);

 private:
  void tellBus(const char* method, GVariant* arguments) const;
  static void called(GDBusConnection*, const char* sender, const char* path, const char* interface, const char* method,
                     GVariant* arguments, GDBusMethodInvocation* invocation, void* self);

  const Answer answer_;
  std::function<void()> onActivate_;
  std::string name_;
  GRef<GDBusConnection> connection_;
  unsigned object_ = 0;
};

}  // namespace quillet
