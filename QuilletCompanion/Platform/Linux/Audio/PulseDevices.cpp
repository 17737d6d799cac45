// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Audio/PulseDevices.h"

#include <algorithm>
#include <utility>

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr Duration kFirstRetry = 1s, kLongestRetry = 1min;
constexpr auto kChanges =
    static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SOURCE | PA_SUBSCRIPTION_MASK_SERVER);

}  // namespace

/// What the sound thread does for it.
class PulseDevices::Listing final : public PulseConnection::Observer,
                                    public std::enable_shared_from_this<PulseDevices::Listing> {
 public:
  Listing(PulseCore& core, std::weak_ptr<Watchers> watchers) : core_(core), watchers_(std::move(watchers)) {}

  void begin() {
    if (!use_) use_.emplace(core_.connection, kChanges, this);
    list();
  }
  void end() { use_.reset(); }

  void changed(pa_subscription_event_type_t, std::uint32_t) override { listSoon(); }
  void connected() override { listSoon(); }
  void lost() override {
    tell({});
    retryLater();
  }

 private:
  void list() {
    pending_ = false;
    if (!use_) return;
    const bool connected = core_.connection.connect() == PA_OK;
    tell(connected ? core_.connection.devices().value_or(List{}) : List{});
    if (connected) {
      retry_ = kFirstRetry;
    } else {
      retryLater();
    }
  }
  // Changes come in bursts, which one list answers.
  void listSoon() {
    if (std::exchange(pending_, true)) return;
    core_.loop.post([self = weak_from_this()] {
      if (const auto alive = self.lock()) alive->list();
    });
  }
  void retryLater() {
    core_.loop.later(retry_, [self = weak_from_this()] {
      const auto alive = self.lock();
      if (alive && alive->use_ && !alive->core_.connection.isReady()) alive->listSoon();
    });
    retry_ = std::min(retry_ * 2, kLongestRetry);
  }
  void tell(List list) {
    core_.tell([watchers = watchers_, list = std::move(list)] {
      const auto known = watchers.lock();
      if (!known) return;
      // A watcher may end itself or another.
      for (const auto& [id, handler] : Watchers(*known)) {
        if (known->contains(id)) handler(list);
      }
    });
  }

  PulseCore& core_;
  std::weak_ptr<Watchers> watchers_;
  std::optional<PulseConnection::Use> use_;
  bool pending_ = false;
  Duration retry_ = kFirstRetry;
};

class PulseDevices::Ticket final : public Watch {
 public:
  Ticket(PulseDevices& devices, int id) : devices_(&devices), watchers_(devices.watchers_), id_(id) {}
  ~Ticket() override {
    if (!watchers_.expired()) devices_->end(id_);
  }

 private:
  PulseDevices* devices_;
  std::weak_ptr<Watchers> watchers_;
  int id_;
};

PulseDevices::PulseDevices(PulseThread& thread)
    : thread_(thread), listing_(std::make_shared<Listing>(*thread.core(), watchers_)) {}

PulseDevices::~PulseDevices() {
  if (lastId_ == 0) return;
  thread_.post([listing = std::move(listing_), core = thread_.core()] { listing->end(); });
}

std::unique_ptr<AudioDevices::Watch> PulseDevices::watch(std::function<void(const List&)> onList) {
  watchers_->emplace(++lastId_, std::move(onList));
  thread_.post([listing = listing_] { listing->begin(); });
  return std::make_unique<Ticket>(*this, lastId_);
}

void PulseDevices::end(int id) {
  watchers_->erase(id);
  if (watchers_->empty()) thread_.post([listing = listing_] { listing->end(); });
}

}  // namespace quillet
