// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Audio/MuffledStreams.h"

#include <algorithm>

namespace quillet {
namespace {

using Sink = PulseConnection::Sink;

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
  const auto server = connection_.server();
  const auto sinks = connection_.sinks();
  const auto inputs = connection_.sinkInputs();
  if (!server || !sinks || !inputs) return;
  for (const auto& input : *inputs) take(input, *sinks, server->defaultSink);
}

void MuffledStreams::take(std::uint32_t index) {
  const auto server = connection_.server();
  const auto sinks = connection_.sinks();
  const auto input = connection_.sinkInput(index);
  if (server && sinks && input) take(*input, *sinks, server->defaultSink);
}

void MuffledStreams::take(const PulseConnection::SinkInput& input, const std::vector<Sink>& sinks,
                          const std::string& defaultSink) {
  // What forwards would be fed with its own sound.
  if (input.ours || input.forwards) return;
  // One that has just begun may not be anywhere yet.
  const std::string known = nameOf(sinks, input.sink);
  if (known == sinkName) return;
  const std::string present = !known.empty() ? known : contains(sinks, input.wanted) ? input.wanted : defaultSink;
  const std::string home = present == defaultSink ? "" : present;
  // Told first: whoever watches must know of it before it is silent.
  onTaken_(input.index, home);
  homes_[input.index] = home;
  connection_.moveSinkInput(input.index, sinkName);
}

bool MuffledStreams::giveBack() {
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
    all = !target.empty() && connection_.moveSinkInput(input.index, target) && all;
  }
  homes_.clear();
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
