// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

#include "QuilletCompanion/Dictation/LowPassMuffler.h"
#include "QuilletCompanion/Dictation/MuffleRoute.h"
#include "QuilletCompanion/Platform/Linux/Audio/MuffleWatcher.h"
#include "QuilletCompanion/Platform/Linux/Audio/MuffledStreams.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseConnection.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseStream.h"

namespace quillet {

/// The muffled route on the sound server: others' streams are moved into a sink that nobody hears, and what is recorded
/// there is played to the default output through a filter. Streams that begin meanwhile are moved, too. Of the sound
/// thread; everything but what is told to be safe runs within jobs.
class PulseRoute final : public PulseConnection::Observer {
 public:
  /// What the owner on another thread says of it. Safe.
  struct Wishes {
    std::atomic<bool> engaged{false};
    std::atomic<bool> givenUp{false};
  };
  using OnBroken = std::function<void(const MuffleRoute::Failure&)>;

  PulseRoute(PulseConnection& connection, std::shared_ptr<const Wishes> wishes);
  ~PulseRoute() override;
  PulseRoute(const PulseRoute&) = delete;
  PulseRoute& operator=(const PulseRoute&) = delete;

  const Wishes* wishes() const { return wishes_.get(); }

  /// Builds all of it. A value if that failed; what stood by then is gone again. `onBroken` is called once, in a job,
  /// if it breaks later; it then is for the owner to end it.
  std::optional<MuffleRoute::Failure> build(OnBroken onBroken);
  /// Moves the streams back to where they belong. What of them is still under way is heard until the end.
  void giveBack();

  void changed(pa_subscription_event_type_t what, std::uint32_t index) override;
  void lost() override { broke({"connection", PA_ERR_CONNECTIONTERMINATED}); }

 private:
  using Failed = std::optional<MuffleRoute::Failure>;
  /// Expires with the route, for jobs that may come later.
  using Self = std::shared_ptr<PulseRoute*>;

  Failed findOutput();
  Failed makeSink();
  Failed openStreams();
  Failed startFlow();
  int recordMonitor(const PulseStream::Settings& settings);
  void carry(pa_stream* from);
  void write(const float* samples, std::size_t bytes);
  void watchFlow();
  void broke(const MuffleRoute::Failure& failure);
  void inJob(std::function<void(PulseRoute&)> work);
  bool givenUp() const { return wishes_->givenUp; }

  PulseConnection& connection_;
  std::shared_ptr<const Wishes> wishes_;
  OnBroken onBroken_;
  Self self_ = std::make_shared<PulseRoute*>(this);
  std::optional<PulseConnection::Use> use_;
  PulseConnection::Sink output_;
  MuffleWatcher watcher_;
  std::optional<std::uint32_t> module_;
  MuffledStreams streams_;
  std::optional<LowPassMuffler> muffler_;
  PulseStream monitor_, player_;
  std::uint64_t carried_ = 0;  ///< Frames, to know that sound flows.
  bool everythingBack_ = false;
};

}  // namespace quillet
