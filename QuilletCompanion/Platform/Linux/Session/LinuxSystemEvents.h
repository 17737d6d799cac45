// SPDX-License-Identifier: MIT
#pragma once

#include <gio/gio.h>

#include <memory>
#include <optional>

#include "QuilletCompanion/Platform/Linux/Session/GObjectRef.h"
#include "QuilletCompanion/Relay/SystemEvents.h"
#include "QuilletKit/Async/Attempt.h"

namespace quillet {

/// Sleep and wake from logind, the network from GLib's monitor, which follows NetworkManager where that runs and the
/// kernel's routes elsewhere. While anybody observes, sleep is delayed until `willSleep` has returned and nobody holds
/// it up any more, for two and a half seconds at most. Without logind there is no sleep, and if logind goes away during
/// one, that counts as waking; without a working monitor the network is always available. Needs the GLib main context,
/// which Qt's event loop serves. Main thread only.
class LinuxSystemEvents final : public SystemEvents {
 public:
  /// A system bus that doesn't answer holds nobody up: its monitor is followed once it does.
  LinuxSystemEvents();
  /// Follows another monitor, of which it takes a reference.
  explicit LinuxSystemEvents(GNetworkMonitor* network);

  ~LinuxSystemEvents() override;

  std::unique_ptr<Observation> observe(Handlers handlers) override;

 private:
  /// What all observations share.
  class Source;
  static gboolean made(void* self);
  void takeMonitor();
  void adopt();

  GRef<GNetworkMonitor> network_;
  std::weak_ptr<Source> source_;
  std::optional<Attempt<GRef<GNetworkMonitor>>> making_;  ///< Until it is taken.
  /// This object, for the attempt, which may outlive it.
  std::shared_ptr<LinuxSystemEvents*> self_;
};

}  // namespace quillet
