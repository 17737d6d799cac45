// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Session/LinuxSystemEvents.h"

#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "QuilletCompanion/Platform/Linux/Session/SleepInhibitor.h"

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

/// The monitor as it is made on a thread of its own, which is left behind with a bus that answers nothing. It tells the
/// main context of changes all the same, since that thread has none.
struct LinuxSystemEvents::MonitorAttempt {
  std::mutex mutex;
  std::condition_variable made;
  bool isMade = false;
  GRef<GNetworkMonitor> monitor;
  LinuxSystemEvents* owner = nullptr;  ///< Of the main thread alone.

  static void run(const std::shared_ptr<MonitorAttempt>& attempt) {
    auto found = defaultMonitor();
    {
      const std::lock_guard lock(attempt->mutex);
      attempt->monitor = std::move(found);
      attempt->isMade = true;
      attempt->made.notify_one();
    }
    const auto tell = [](void* data) -> gboolean {
      const std::unique_ptr<std::shared_ptr<MonitorAttempt>> told(static_cast<std::shared_ptr<MonitorAttempt>*>(data));
      if (auto* const events = (*told)->owner) events->adopt((*told)->monitor.get());
      return G_SOURCE_REMOVE;
    };
    g_idle_add(tell, new std::shared_ptr<MonitorAttempt>(attempt));
  }
};

LinuxSystemEvents::LinuxSystemEvents() : attempt_(std::make_shared<MonitorAttempt>()) {
  attempt_->owner = this;
  std::thread([attempt = attempt_] { MonitorAttempt::run(attempt); }).detach();
  std::unique_lock lock(attempt_->mutex);
  attempt_->made.wait_for(lock, monitorWithin, [this] { return attempt_->isMade; });
  network_ = addRef(attempt_->monitor.get());
}

LinuxSystemEvents::LinuxSystemEvents(GNetworkMonitor* network) : network_(addRef(network)) {}

LinuxSystemEvents::~LinuxSystemEvents() {
  if (attempt_) attempt_->owner = nullptr;
}

void LinuxSystemEvents::adopt(GNetworkMonitor* network) {
  attempt_.reset();
  if (!network_) network_ = addRef(network);
  const auto source = source_.lock();
  if (!source) return;
  source->follow(network);
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
