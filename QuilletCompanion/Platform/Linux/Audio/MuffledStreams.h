// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "QuilletCompanion/Platform/Linux/Audio/PulseConnection.h"

namespace quillet {

/// Others' streams in the sink that nobody hears, and where each belongs. The sink's name never changes: the server
/// remembers it with the programs whose streams were moved there. Questions within; of the sound thread, within jobs.
class MuffledStreams {
 public:
  static constexpr const char* sinkName = "quillet_muffle";
  /// Of what was told when a stream was taken: its index and the sink it belongs to; empty for whichever is the
  /// default.
  using OnTaken = std::function<void(std::uint32_t index, const std::string& home)>;

  MuffledStreams(PulseConnection& connection, OnTaken onTaken)
      : connection_(connection), onTaken_(std::move(onTaken)) {}

  /// Moves the streams of other programs into the sink, but for those that aren't played to a person: what feeds a
  /// virtual microphone stays there.
  void takeAll();
  /// The same for one, which may be gone already.
  void take(std::uint32_t index);
  void setHome(std::uint32_t index, std::string home) { homes_[index] = std::move(home); }
  /// Moves what is in the sink to where it belongs, or to the default output where that is gone. False if the server
  /// didn't do all of it. Ends when the streams are there, so that the sink may go; that takes
  /// less than a second.
  bool giveBack();

  /// The modules that make such a sink; without a value if the server doesn't say.
  static std::optional<std::set<std::uint32_t>> modulesOf(PulseConnection& connection);
  /// Removes sinks that an earlier run may have left behind; their streams go to the default output.
  static void removeStale(PulseConnection& connection);

 private:
  /// What the server has at a moment.
  struct Scene {
    std::string defaultSink;
    std::vector<PulseConnection::Sink> sinks;
    std::vector<PulseConnection::SinkInput> inputs;
    std::set<std::string> recorded;  ///< Sinks that stand for a microphone.
  };

  std::optional<Scene> look();
  static std::set<std::string> recordedOf(const Scene& scene,
                                          const std::vector<PulseConnection::SourceOutput>& outputs);
  void take(const PulseConnection::SinkInput& input, const Scene& scene);
  bool move(std::uint32_t index, const std::string& sink);
  /// PipeWire answers before it has moved a stream. If the stream is moved again or the sink goes meanwhile, the stream
  /// stays wrongly linked for good.
  void awaitMoves();
  bool haveArrived();

  PulseConnection& connection_;
  OnTaken onTaken_;
  // By the stream's index.
  std::map<std::uint32_t, std::string> homes_;
  std::map<std::uint32_t, std::string> moved_;  ///< To these sinks.
  MonotonicTime lastMove_;
};

}  // namespace quillet
