// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "QuilletCompanion/Platform/Linux/Session/DBusSignals.h"

namespace quillet {

/// logind's delay of sleep: taken ahead, since it can't be had any more once sleep was announced, and let go when there
/// is nothing left to do before it. Main thread only.
class SleepInhibitor {
 public:
  /// Of a bus that outlives it.
  explicit SleepInhibitor(const DBusSignals& bus) : bus_(bus) {}
  ~SleepInhibitor() { release(); }
  SleepInhibitor(const SleepInhibitor&) = delete;
  SleepInhibitor& operator=(const SleepInhibitor&) = delete;

  /// Asks for it unless it is there or on its way.
  void take();
  /// Lets it go, also one that is on its way.
  void release();

 private:
  const DBusSignals& bus_;
  int descriptor_ = -1;
  /// Of the request that is under way.
  std::shared_ptr<int> request_;
};

}  // namespace quillet
