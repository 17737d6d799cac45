// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/LinuxSystemEvents.h"

#include <gio/gunixfdlist.h>
#include <unistd.h>

#include <utility>

#include "QuilletCompanion/Platform/Linux/DBusSignals.h"

namespace quillet {
namespace {

constexpr const char* logind = "org.freedesktop.login1";
constexpr const char* managerPath = "/org/freedesktop/login1";
constexpr const char* managerInterface = "org.freedesktop.login1.Manager";
constexpr int callTimeoutMs = 1000;
constexpr guint frameLeavesMs = 500;

/// Holds sleep up from `take` to `release`.
class SleepDelay {
 public:
  ~SleepDelay() { release(); }

  void take(GDBusConnection* bus) {
    if (bus == nullptr || descriptor_ >= 0) return;
    GUnixFDList* received = nullptr;
    const GVariantRef reply(g_dbus_connection_call_with_unix_fd_list_sync(
        bus, logind, managerPath, managerInterface, "Inhibit",
        g_variant_new("(ssss)", "sleep", "Quillet", "Tells the phone that this computer goes to sleep", "delay"),
        G_VARIANT_TYPE("(h)"), G_DBUS_CALL_FLAGS_NO_AUTO_START, callTimeoutMs, nullptr, &received, nullptr,
        GErrorSlot()));
    const GRef<GUnixFDList> descriptors(received);
    if (!reply || !descriptors || g_unix_fd_list_get_length(descriptors.get()) == 0) return;
    gint32 index = 0;
    g_variant_get(reply.get(), "(h)", &index);
    descriptor_ = g_unix_fd_list_get(descriptors.get(), index, GErrorSlot());
  }
  void release() {
    if (descriptor_ >= 0) close(descriptor_);
    descriptor_ = -1;
  }

 private:
  int descriptor_ = -1;
};

class LinuxObservation final : public SystemEvents::Observation {
 public:
  LinuxObservation(SystemEvents::Handlers handlers, GNetworkMonitor* network)
      : handlers_(std::move(handlers)), network_(addRef(network)) {
    bus_.subscribe(logind, managerInterface, "PrepareForSleep", managerPath,
                   [this](GVariant* arguments) { prepareForSleep(arguments); });
    delay_.take(bus_.connection());
    if (network_) {
      subscription_ = g_signal_connect(network_.get(), "network-changed", G_CALLBACK(networkChanged), this);
    }
    reportNetwork(!network_ || g_network_monitor_get_network_available(network_.get()) != FALSE);
  }
  ~LinuxObservation() override {
    if (subscription_ != 0) g_signal_handler_disconnect(network_.get(), subscription_);
    if (pendingRelease_ != 0) g_source_remove(pendingRelease_);
  }

 private:
  static void networkChanged(GNetworkMonitor*, gboolean available, void* self) {
    static_cast<LinuxObservation*>(self)->reportNetwork(available != FALSE);
  }
  static gboolean releaseNow(void* data) {
    auto* const self = static_cast<LinuxObservation*>(data);
    self->pendingRelease_ = 0;
    self->delay_.release();
    return G_SOURCE_REMOVE;
  }

  void reportNetwork(bool available) const {
    if (handlers_.networkPath) handlers_.networkPath(available);
  }

  void prepareForSleep(GVariant* arguments) {
    gboolean sleeping = FALSE;
    if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(b)"))) return;
    g_variant_get(arguments, "(b)", &sleeping);
    if (pendingRelease_ != 0) g_source_remove(std::exchange(pendingRelease_, 0U));
    // Handlers run last but for what must follow them: one may end this observation.
    if (sleeping == FALSE) {
      delay_.take(bus_.connection());
      if (handlers_.didWake) handlers_.didWake();
      return;
    }
    pendingRelease_ = g_timeout_add(frameLeavesMs, releaseNow, this);
    if (handlers_.willSleep) handlers_.willSleep();
  }

  SystemEvents::Handlers handlers_;
  GRef<GNetworkMonitor> network_;
  DBusSignals bus_{G_BUS_TYPE_SYSTEM};
  SleepDelay delay_;
  gulong subscription_ = 0;
  guint pendingRelease_ = 0;
};

}  // namespace

std::unique_ptr<SystemEvents::Observation> LinuxSystemEvents::observe(Handlers handlers) {
  return std::make_unique<LinuxObservation>(std::move(handlers), network_.get());
}

}  // namespace quillet
