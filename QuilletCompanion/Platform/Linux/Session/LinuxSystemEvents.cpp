// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/LinuxSystemEvents.h"

#include <unistd.h>

#include <chrono>
#include <list>
#include <memory>
#include <utility>
#include <vector>

#include "QuilletCompanion/Platform/Linux/Session/DBusSignals.h"

namespace quillet {
namespace {

constexpr const char* logind = "org.freedesktop.login1";
/// More than a polite end of a socket takes, less than the five seconds that logind waits by default.
constexpr guint longestDelayMs = 2500;
/// For the network's monitor, which asks the system bus before it is there.
constexpr std::chrono::milliseconds monitorWithin{500};

/// GLib's monitor shares a bus connection that ends the process when the bus goes away, unless told otherwise.
GRef<GNetworkMonitor> defaultMonitor() {
  const GRef<GDBusConnection> shared(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, GErrorSlot()));
  if (shared) g_dbus_connection_set_exit_on_close(shared.get(), FALSE);
  return addRef(g_network_monitor_get_default());
}

/// The descriptor that a reply "(h)" brings, now the caller's; -1 without one.
int descriptorIn(GVariant* reply, GUnixFDList* descriptors) {
  if (reply == nullptr || descriptors == nullptr || !g_variant_is_of_type(reply, G_VARIANT_TYPE("(h)"))) return -1;
  gint32 index = 0;
  g_variant_get(reply, "(h)", &index);
  if (index < 0 || index >= g_unix_fd_list_get_length(descriptors)) return -1;
  return g_unix_fd_list_get(descriptors, index, GErrorSlot());
}

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

void SleepInhibitor::take() {
  if (descriptor_ >= 0 || request_) return;
  request_ = std::make_shared<int>();
  bus_.callLater(
      logind, "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "Inhibit",
      g_variant_new("(ssss)", "sleep", "Quillet", "Tells the phone that this computer goes to sleep", "delay"),
      [this, request = std::weak_ptr(request_)](GVariant* reply, GUnixFDList* descriptors) {
        const int received = descriptorIn(reply, descriptors);
        if (request.expired()) {
          if (received >= 0) close(received);
          return;
        }
        request_.reset();
        descriptor_ = received;
      });
}

void SleepInhibitor::release() {
  request_.reset();
  if (descriptor_ >= 0) close(std::exchange(descriptor_, -1));
}

}  // namespace

class LinuxSystemEvents::Source : public std::enable_shared_from_this<Source> {
 public:
  using Observers = std::list<std::shared_ptr<const Handlers>>;

  explicit Source(GNetworkMonitor* network) {
    bus_.subscribe(logind, "org.freedesktop.login1.Manager", "PrepareForSleep", "/org/freedesktop/login1",
                   [this](GVariant* arguments) { prepareForSleep(arguments); });
    bus_.watchName(
        logind, [this] { logindAppeared(); }, [this] { logindVanished(); });
    follow(network);
    available_ = networkAvailable();
  }
  void follow(GNetworkMonitor* network) {
    if (network_ || network == nullptr) return;
    network_ = addRef(network);
    // The monitor that follows NetworkManager tells of new paths by the first, of a new answer by the second only.
    g_signal_connect(network_.get(), "network-changed", G_CALLBACK(pathChanged), this);
    g_signal_connect(network_.get(), "notify::network-available", G_CALLBACK(answerChanged), this);
  }
  ~Source() {
    if (network_) g_signal_handlers_disconnect_by_data(network_.get(), this);
    if (bound_ != 0) g_source_remove(bound_);
  }
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  Observers::iterator add(Handlers handlers) {
    return observers_.insert(observers_.end(), std::make_shared<const Handlers>(std::move(handlers)));
  }
  void remove(Observers::iterator observer) { observers_.erase(observer); }
  std::shared_ptr<void> hold() const { return hold_.lock(); }
  void tellIfChanged() {
    if (available_ != networkAvailable()) tellPath();
  }
  bool networkAvailable() const {
    return !network_ || g_network_monitor_get_network_available(network_.get()) != FALSE;
  }

 private:
  static void pathChanged(GNetworkMonitor*, gboolean, void* self) { static_cast<Source*>(self)->tellPath(); }
  static void answerChanged(GNetworkMonitor*, GParamSpec*, void* data) { static_cast<Source*>(data)->tellIfChanged(); }
  void tellPath() {
    const bool available = available_ = networkAvailable();
    tell([available](const Handlers& handlers) {
      if (handlers.networkPath) handlers.networkPath(available);
    });
  }

  /// A handler may end observations, and with the last one this object.
  template <typename Call>
  void tell(Call call) {
    const auto self = shared_from_this();
    const std::vector<std::weak_ptr<const Handlers>> now(observers_.begin(), observers_.end());
    for (const auto& observer : now) {
      if (const auto handlers = observer.lock()) call(*handlers);
    }
  }

  void prepareForSleep(GVariant* arguments) {
    gboolean sleeping = FALSE;
    if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(b)"))) return;
    g_variant_get(arguments, "(b)", &sleeping);
    if (sleeping == FALSE) return woke();
    if (std::exchange(asleep_, true)) return;
    const auto hold = delay();
    tell([](const Handlers& handlers) {
      if (handlers.willSleep) handlers.willSleep();
    });
  }

  void woke() {
    asleep_ = false;
    ++sleeps_;  // what is left of the last one has no more say
    if (bound_ != 0) g_source_remove(std::exchange(bound_, 0U));
    inhibitor_.take();
    tell([](const Handlers& handlers) {
      if (handlers.didWake) handlers.didWake();
    });
  }

  void logindAppeared() {
    inhibitor_.release();
    inhibitor_.take();
  }
  void logindVanished() {
    inhibitor_.release();
    if (asleep_) woke();
  }

  /// Sleep waits while this lives.
  std::shared_ptr<void> delay() {
    struct End {
      std::weak_ptr<Source> source;
      int sleep;
    };
    const auto end = [](void* data) -> gboolean {
      const std::unique_ptr<End> told(static_cast<End*>(data));
      if (const auto source = told->source.lock()) source->letSleep(told->sleep);
      return G_SOURCE_REMOVE;
    };
    std::shared_ptr<void> hold(new End{weak_from_this(), sleeps_}, [end](End* data) { g_idle_add(end, data); });
    hold_ = hold;
    bound_ = g_timeout_add(longestDelayMs, boundReached, this);
    return hold;
  }
  static gboolean boundReached(void* data) {
    auto* const self = static_cast<Source*>(data);
    self->bound_ = 0;
    self->inhibitor_.release();
    return G_SOURCE_REMOVE;
  }
  void letSleep(int sleep) {
    if (sleep != sleeps_) return;
    if (bound_ != 0) g_source_remove(std::exchange(bound_, 0U));
    inhibitor_.release();
  }

  GRef<GNetworkMonitor> network_;
  DBusSignals bus_{G_BUS_TYPE_SYSTEM};
  SleepInhibitor inhibitor_{bus_};
  Observers observers_;
  bool available_ = true;  ///< As told last.
  guint bound_ = 0;
  std::weak_ptr<void> hold_;
  bool asleep_ = false;
  int sleeps_ = 0;
};

LinuxSystemEvents::LinuxSystemEvents() : self_(std::make_shared<LinuxSystemEvents*>(this)) {
  // The monitor tells the main context of changes all the same, since that thread has none.
  making_.emplace([self = std::weak_ptr(self_)] {
    auto monitor = defaultMonitor();
    g_idle_add(made, new std::weak_ptr(self));
    return monitor;
  });
  if (making_->wait(monitorWithin)) takeMonitor();
}

LinuxSystemEvents::LinuxSystemEvents(GNetworkMonitor* network) : network_(addRef(network)) {}

LinuxSystemEvents::~LinuxSystemEvents() = default;

gboolean LinuxSystemEvents::made(void* data) {
  const std::unique_ptr<std::weak_ptr<LinuxSystemEvents*>> told(static_cast<std::weak_ptr<LinuxSystemEvents*>*>(data));
  if (const auto self = told->lock()) (*self)->adopt();
  return G_SOURCE_REMOVE;
}

void LinuxSystemEvents::takeMonitor() {
  network_ = making_->take();
  making_.reset();
}

void LinuxSystemEvents::adopt() {
  if (making_) takeMonitor();
  const auto source = source_.lock();
  if (!source) return;
  source->follow(network_.get());
  source->tellIfChanged();
}

std::unique_ptr<SystemEvents::Observation> LinuxSystemEvents::observe(Handlers handlers) {
  class SourceObservation final : public Observation {
   public:
    SourceObservation(std::shared_ptr<Source> source, Handlers observed)
        : source_(std::move(source)), observer_(source_->add(std::move(observed))) {}
    ~SourceObservation() override { source_->remove(observer_); }
    std::shared_ptr<void> delaySleep() override { return source_->hold(); }

   private:
    std::shared_ptr<Source> source_;
    Source::Observers::iterator observer_;
  };
  auto source = source_.lock();
  if (!source) source_ = source = std::make_shared<Source>(network_.get());
  if (handlers.networkPath) handlers.networkPath(source->networkAvailable());
  return std::make_unique<SourceObservation>(std::move(source), std::move(handlers));
}

}  // namespace quillet
