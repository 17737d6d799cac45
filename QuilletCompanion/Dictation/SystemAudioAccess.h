// SPDX-License-Identifier: MIT
#pragma once

#include "QuilletKit/Async/Task.h"

namespace quillet {

/// Whether the user lets us take over other programs' sound. Main thread only.
class SystemAudioAccess {
 public:
  enum class Status { authorized, denied, notDetermined };

  virtual ~SystemAudioAccess() = default;

  virtual Status status() const = 0;
  /// Asks the user where the platform does so.
  virtual Awaitable<bool> request() = 0;
  /// Shows where the user can change it.
  virtual void openSettings() = 0;
};

/// Of a platform that asks nobody.
class UnguardedSystemAudio final : public SystemAudioAccess {
 public:
  Status status() const override { return Status::authorized; }
  Awaitable<bool> request() override { co_return true; }
  void openSettings() override {}
};

}  // namespace quillet
