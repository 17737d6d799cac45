// SPDX-License-Identifier: MIT
#pragma once

#include <atspi/atspi.h>

#include <chrono>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "QuilletKit/Async/Clock.h"

namespace quillet {

/// Calls to one accessible that don't depend on each other: all are sent before the first answer is awaited, over the
/// connection that libatspi has to the application. An application takes them in the order in which they were added.
/// Calls without an answer are given up at the end of the batch.
class AtspiBatch {
 public:
  using Argument = std::variant<int, const char*>;
  using Index = std::size_t;

  /// `accessible` must outlive it. Waiting takes at most twice `limit`, or once for an application that hangs.
  AtspiBatch(AtspiAccessible* accessible, std::chrono::milliseconds limit);
  ~AtspiBatch();
  AtspiBatch(const AtspiBatch&) = delete;
  AtspiBatch& operator=(const AtspiBatch&) = delete;

  /// Sent at once. `interface` without "org.a11y.atspi.".
  Index call(const char* interface, const char* method, std::initializer_list<Argument> arguments = {});
  Index property(const char* interface, const char* name);
  void wait();

  /// After wait(): absent if the call failed or answered something else.
  std::optional<int> number(Index index) const;
  std::optional<std::string> text(Index index) const;
  bool succeeded(Index index) const { return replies_[index] != nullptr; }

 private:
  struct GiveUp {
    void operator()(DBusPendingCall* call) const;
  };
  struct Unref {
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
  };
  using Message = std::unique_ptr<DBusMessage, Unref>;

  Message message(const char* interface, const char* method) const;
  Index send(Message message);
  void await(Index index);
  bool valueOf(Index index, int type, void* value) const;

  AtspiObject& object_;
  std::chrono::milliseconds limit_;
  MonotonicTime start_;
  std::vector<std::unique_ptr<DBusPendingCall, GiveUp>> calls_;
  std::vector<Message> replies_;
};

}  // namespace quillet
