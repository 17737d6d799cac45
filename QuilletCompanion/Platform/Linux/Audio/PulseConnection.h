// SPDX-License-Identifier: MIT
#pragma once

#include <pulse/pulseaudio.h>

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QuilletCompanion/Dictation/AudioDevices.h"
#include "QuilletCompanion/Platform/Linux/Audio/SoundLoop.h"

namespace quillet {

/// Our one connection to the sound server, PulseAudio or PipeWire's. It is made when somebody needs it, and let go a
/// minute after nobody does any more. What asks the server waits for its answer, for a second or two at most, while the
/// streams go on; a server that doesn't answer counts as one that refuses. Of the sound thread; questions within jobs
/// only.
class PulseConnection {
 public:
  struct Sink {
    std::uint32_t index = PA_INVALID_INDEX;
    std::string name;
    pa_sample_spec format{};
    std::uint32_t monitor = PA_INVALID_INDEX;  ///< The source that records what is played to it.
    bool isVirtual = false;                    ///< Neither a device of this computer nor one on the network.
  };
  /// What another program, or we, play.
  struct SinkInput {
    std::uint32_t index = PA_INVALID_INDEX;
    std::uint32_t sink = PA_INVALID_INDEX;
    std::string wanted;  ///< The sink that it asked for, where the server tells that.
    bool corked = false;
    bool ours = false;
    /// It carries on what others play, as filters, loops and combined outputs do.
    bool forwards = false;
    std::string group;  ///< The same for the ends of what forwards; else empty.
  };
  /// What records.
  struct SourceOutput {
    std::uint32_t source = PA_INVALID_INDEX;
    std::string group;        ///< As a sink input's.
    bool onlyMeters = false;  ///< It shows how loud something is.
  };
  struct Module {
    std::uint32_t index = PA_INVALID_INDEX;
    std::string name, argument;
  };
  struct Server {
    std::string defaultSink, defaultSource;  ///< Empty where there is none.
    bool isPipeWire = false;
  };
  /// A listener. It is called from within the streams' service, where nothing may be asked of the server.
  class Observer {
   public:
    virtual ~Observer() = default;
    /// Facility and kind of a change, as `pa_context_subscribe` tells them.
    virtual void changed(pa_subscription_event_type_t what, std::uint32_t index) = 0;
    /// A connection stands, after there was none.
    virtual void connected() {}
    /// The connection is gone, with all its streams.
    virtual void lost() = 0;
  };
  /// Keeps the connection for as long as it lives, hears of what happens, and chooses which changes are told.
  class Use {
   public:
    Use(PulseConnection& connection, pa_subscription_mask_t changes, Observer* observer);
    ~Use();
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

   private:
    friend class PulseConnection;
    PulseConnection& connection_;
    pa_subscription_mask_t changes_;
    Observer* observer_;
    std::list<Use*>::iterator place_;
  };

  explicit PulseConnection(SoundLoop& loop) : loop_(loop) {}
  ~PulseConnection() { drop(); }
  PulseConnection(const PulseConnection&) = delete;
  PulseConnection& operator=(const PulseConnection&) = delete;

  /// Runs in the job that made a connection, once it stands.
  std::function<void()> onConnected;

  /// Whether a server that isn't there may be started, where the user's settings say so.
  enum class Start { never, ifMissing };
  /// Connects unless connected. 0, or the server's or the library's error (PA_ERR_...).
  int connect(Start start = Start::never);
  bool isReady() const { return context_ != nullptr && pa_context_get_state(context_) == PA_CONTEXT_READY; }
  /// Null before the first `connect` and after a loss.
  pa_context* context() { return context_; }
  /// The last error; PA_ERR_CONNECTIONTERMINATED without a connection.
  int error() const;
  SoundLoop& loop() { return loop_; }

  // Questions; without a value if the server gave none.

  std::optional<Server> server();
  std::optional<AudioDevices::List> devices();
  std::optional<std::vector<Sink>> sinks();
  std::optional<Sink> sink(const std::string& name);
  std::optional<std::vector<SinkInput>> sinkInputs();
  std::optional<std::vector<SourceOutput>> sourceOutputs();
  std::optional<std::vector<Module>> modules();

  // Orders; false, or no value, if they failed.

  std::optional<std::uint32_t> loadModule(const char* name, const std::string& argument);
  bool unloadModule(std::uint32_t index);
  bool moveSinkInput(std::uint32_t index, const std::string& sink);

 private:
  bool finish(pa_operation* operation);
  bool obey(const std::function<pa_operation*(pa_context_success_cb_t, void*)>& order);
  void subscribe();
  void drop();
  void lost();
  void letGoLater();

  SoundLoop& loop_;
  pa_context* context_ = nullptr;
  std::list<Use*> uses_;
  unsigned generation_ = 0;  ///< Of uses, to know whether a minute passed without any.
};

}  // namespace quillet
