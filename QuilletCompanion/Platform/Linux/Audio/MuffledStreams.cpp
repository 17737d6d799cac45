// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Audio/MuffledStreams.h"

#include <algorithm>
#include <chrono>

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr Duration kMoving = 250ms, kLook = 5ms;
/// PipeWire is still at work with a stream when it says that it is there.
constexpr Duration kSettling = 150ms;

using Sink = PulseConnection::Sink;
using SinkInput = PulseConnection::SinkInput;
using SourceOutput = PulseConnection::SourceOutput;

bool contains(const std::vector<Sink>& sinks, const std::string& name) {
  return std::any_of(sinks.begin(), sinks.end(), [&](const Sink& each) { return each.name == name; });
}

std::string nameOf(const std::vector<Sink>& sinks, std::uint32_t index) {
  const auto found = std::find_if(sinks.begin(), sinks.end(), [&](const Sink& each) { return each.index == index; });
  return found != sinks.end() ? found->name : "";
}

/// What may stand in for an output that is gone; empty if there is no other than ours.
std::string standIn(const std::vector<Sink>& sinks, const std::string& defaultSink) {
  if (defaultSink != MuffledStreams::sinkName && contains(sinks, defaultSink)) return defaultSink;
  const auto other =
      std::find_if(sinks.begin(), sinks.end(), [](const Sink& each) { return each.name != MuffledStreams::sinkName; });
  return other != sinks.end() ? other->name : "";
}

bool makesOurSink(const PulseConnection::Module& module) {
  return module.name == "module-null-sink" &&
         module.argument.find(std::string("sink_name=") + MuffledStreams::sinkName) != std::string::npos;
}

}  // namespace

void MuffledStreams::takeAll() {
  const auto scene = look();
  if (!scene) return;
  for (const auto& input : scene->inputs) take(input, *scene);
}

void MuffledStreams::take(std::uint32_t index) {
  const auto scene = look();
  if (!scene) return;
  const auto found = std::find_if(scene->inputs.begin(), scene->inputs.end(),
                                  [&](const SinkInput& each) { return each.index == index; });
  if (found != scene->inputs.end()) take(*found, *scene);
}

std::optional<MuffledStreams::Scene> MuffledStreams::look() {
  auto server = connection_.server();
  auto sinks = connection_.sinks();
  auto inputs = connection_.sinkInputs();
  const auto outputs = connection_.sourceOutputs();
  if (!server || !sinks || !inputs || !outputs) return std::nullopt;
  Scene scene{std::move(server->defaultSink), *std::move(sinks), *std::move(inputs), {}};
  scene.recorded = recordedOf(scene, *outputs);
  return scene;
}

/// Virtual sinks that others record. A loop to another sink counts as that sink does: it may be a person's.
std::set<std::string> MuffledStreams::recordedOf(const Scene& scene, const std::vector<SourceOutput>& outputs) {
  std::set<std::string> recorded;
  const auto feedsSomebody = [&](const SourceOutput& output) {
    if (output.onlyMeters) return false;
    const auto loop = std::find_if(scene.inputs.begin(), scene.inputs.end(), [&](const SinkInput& each) {
      return !output.group.empty() && each.group == output.group;
    });
    return loop == scene.inputs.end() || recorded.contains(nameOf(scene.sinks, loop->sink));
  };
  const auto stands = [&](const Sink& sink) {
    if (!sink.isVirtual || sink.name == sinkName || sink.name == scene.defaultSink) return false;
    return std::any_of(outputs.begin(), outputs.end(), [&](const SourceOutput& output) {
      return output.source == sink.monitor && feedsSomebody(output);
    });
  };
  // Once more for each loop into one that was found.
  for (std::size_t before = scene.sinks.size() + 1; before != recorded.size();) {
    before = recorded.size();
    for (const auto& sink : scene.sinks) {
      if (stands(sink)) recorded.insert(sink.name);
    }
  }
  return recorded;
}

void MuffledStreams::take(const SinkInput& input, const Scene& scene) {
  // What forwards would be fed with its own sound.
  if (input.ours || input.forwards) return;
  // One that has just begun may not be anywhere yet.
  const std::string known = nameOf(scene.sinks, input.sink);
  if (known == sinkName) return;
  const std::string present = !known.empty()                        ? known
                              : contains(scene.sinks, input.wanted) ? input.wanted
                                                                    : scene.defaultSink;
  if (scene.recorded.contains(present)) return;
  const std::string home = present == scene.defaultSink ? "" : present;
  // Told first: whoever watches must know of it before it is silent.
  onTaken_(input.index, home);
  homes_[input.index] = home;
  move(input.index, sinkName);
}

bool MuffledStreams::move(std::uint32_t index, const std::string& sink) {
  moved_[index] = sink;
  lastMove_ = std::chrono::steady_clock::now();
  return connection_.moveSinkInput(index, sink);
}

void MuffledStreams::awaitMoves() {
  if (moved_.empty()) return;
  const auto server = connection_.server();
  if (!server || !server->isPipeWire) return;
  auto& loop = connection_.loop();
  for (const auto end = lastMove_ + kMoving; !haveArrived() && std::chrono::steady_clock::now() < end;) {
    loop.waitUntil([] { return false; }, kLook);
  }
  loop.waitUntil([] { return false; }, lastMove_ + kSettling - std::chrono::steady_clock::now());
}

bool MuffledStreams::haveArrived() {
  const auto sinks = connection_.sinks();
  const auto inputs = connection_.sinkInputs();
  if (!sinks || !inputs) return true;
  return std::none_of(inputs->begin(), inputs->end(), [&](const SinkInput& input) {
    const auto target = moved_.find(input.index);
    return target != moved_.end() && !input.corked && contains(*sinks, target->second) &&
           nameOf(*sinks, input.sink) != target->second;
  });
}

bool MuffledStreams::giveBack() {
  awaitMoves();
  const auto server = connection_.server();
  const auto sinks = connection_.sinks();
  const auto inputs = connection_.sinkInputs();
  if (!server || !sinks || !inputs) return false;
  const std::string other = standIn(*sinks, server->defaultSink);
  bool all = true;
  for (const auto& input : *inputs) {
    if (nameOf(*sinks, input.sink) != sinkName) continue;
    const auto home = homes_.find(input.index);
    const bool known = home != homes_.end() && contains(*sinks, home->second);
    const std::string& target = known ? home->second : other;
    all = !target.empty() && move(input.index, target) && all;
  }
  awaitMoves();
  homes_.clear();
  moved_.clear();
  return all;
}

std::optional<std::set<std::uint32_t>> MuffledStreams::modulesOf(PulseConnection& connection) {
  const auto modules = connection.modules();
  if (!modules) return std::nullopt;
  std::set<std::uint32_t> ours;
  for (const auto& module : *modules) {
    if (makesOurSink(module)) ours.insert(module.index);
  }
  return ours;
}

void MuffledStreams::removeStale(PulseConnection& connection) {
  const auto stale = modulesOf(connection);
  if (!stale || stale->empty()) return;
  MuffledStreams(connection, {}).giveBack();
  for (const std::uint32_t module : *stale) connection.unloadModule(module);
}

}  // namespace quillet
