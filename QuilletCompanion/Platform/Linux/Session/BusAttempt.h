// SPDX-License-Identifier: MIT
#pragma once

#include <gio/gio.h>

#include <string>
#include <utility>

#include "QuilletCompanion/Platform/Linux/Session/GObjectRef.h"
#include "QuilletKit/Async/Attempt.h"

namespace quillet {

/// A question to a message bus, which may be long in answering, or never answer. Its end cancels it.
template <typename Answer>
class BusQuestion {
 public:
  ~BusQuestion() { g_cancellable_cancel(ending_.get()); }
  BusQuestion(const BusQuestion&) = delete;
  BusQuestion& operator=(const BusQuestion&) = delete;

  /// False if there is no answer by then.
  bool wait(Duration limit) const { return attempt_.wait(limit); }
  /// The answer, once. Waits for it.
  Answer take() { return attempt_.take(); }

 protected:
  /// `ask` gets what cancels the question.
  template <typename Ask>
  explicit BusQuestion(Ask ask)
      : attempt_([ask = std::move(ask), ending = addRef(ending_.get())] { return ask(ending.get()); }) {}

 private:
  const GRef<GCancellable> ending_{g_cancellable_new()};
  Attempt<Answer> attempt_;
};

/// A connection on which a bus has answered, or null. What it receives arrives from the main loop.
class BusAttempt : public BusQuestion<GRef<GDBusConnection>> {
 public:
  explicit BusAttempt(std::string address);
};

/// Whether the program of a name answers, which is started if need be.
class BusPing : public BusQuestion<bool> {
 public:
  BusPing(GDBusConnection* connection, std::string name);
};

}  // namespace quillet
