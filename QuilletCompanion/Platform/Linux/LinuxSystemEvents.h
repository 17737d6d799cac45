// SPDX-License-Identifier: MIT
#pragma once

#include <gio/gio.h>

#include <memory>

#include "QuilletCompanion/Platform/Linux/GObjectRef.h"
#include "QuilletCompanion/Relay/SystemEvents.h"

namespace quillet {

/// Sleep and wake from logind, the network from GLib's monitor, which follows NetworkManager where that runs and the
/// kernel's routes elsewhere. While it is observed, sleep is delayed until half a second after `willSleep` returned,
/// so that a frame can leave. Without logind there is no sleep; without a working monitor the network is always
/// available. Needs the GLib main context, which Qt's event loop serves. Main thread only.
class LinuxSystemEvents final : public SystemEvents {
 public:
  LinuxSystemEvents() : LinuxSystemEvents(g_network_monitor_get_default()) {}
  /// Follows another monitor, of which it takes a reference.
  explicit LinuxSystemEvents(GNetworkMonitor* network) : network_(addRef(network)) {}

  std::unique_ptr<Observation> observe(Handlers handlers) override;

 private:
  GRef<GNetworkMonitor> network_;
};

}  // namespace quillet
