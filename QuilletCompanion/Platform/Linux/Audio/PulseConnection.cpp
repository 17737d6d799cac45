// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Audio/PulseConnection.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>
#include <utility>

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr Duration kConnecting = 2s, kAnswering = 1s, kLinger = 1min;

std::string textOf(const char* text) {
  return text != nullptr ? text : "";
}

std::optional<std::string> propertyOf(const pa_proplist* properties, const char* key) {
  const char* const text = properties != nullptr ? pa_proplist_gets(properties, key) : nullptr;
  return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

bool isMonitor(const pa_source_info& source) {
  return source.monitor_of_sink != PA_INVALID_INDEX ||
         propertyOf(source.proplist, PA_PROP_DEVICE_CLASS) == std::string("monitor");
}

AudioDevice deviceOf(const pa_source_info& source) {
  AudioDevice device{.id = source.index, .uid = textOf(source.name), .hasInput = !isMonitor(source)};
  if (source.description != nullptr && *source.description != 0) device.name = source.description;
  return device;
}

PulseConnection::Sink sinkOf(const pa_sink_info& sink) {
  return {.index = sink.index,
          .name = textOf(sink.name),
          .format = sink.sample_spec,
          .monitor = sink.monitor_source,
          .isVirtual = (sink.flags & (PA_SINK_HARDWARE | PA_SINK_NETWORK)) == 0};
}

/// What forwards has no client. PipeWire names the pair of streams, PulseAudio the module that both belong to.
template <typename Info>
std::string groupOf(const Info& stream) {
  if (const auto named = propertyOf(stream.proplist, "node.link-group")) return *named;
  return stream.client == PA_INVALID_INDEX ? "module " + std::to_string(stream.owner_module) : "";
}

PulseConnection::SinkInput inputOf(const pa_sink_input_info& input, std::uint32_t ownClient) {
  const auto process = propertyOf(input.proplist, PA_PROP_APPLICATION_PROCESS_ID);
  const std::string group = groupOf(input);
  return {.index = input.index,
          .sink = input.sink,
          .wanted = propertyOf(input.proplist, "target.object").value_or(""),
          .corked = input.corked != 0,
          .ours = input.client == ownClient || process == std::to_string(::getpid()),
          .forwards = !group.empty(),
          .group = group};
}

PulseConnection::SourceOutput outputOf(const pa_source_output_info& output) {
  return {.source = output.source,
          .group = groupOf(output),
          .onlyMeters = textOf(output.resample_method) == "peaks" ||
                        propertyOf(output.proplist, "stream.monitor") == std::string("true")};
}

}  // namespace

PulseConnection::Use::Use(PulseConnection& connection, pa_subscription_mask_t changes, Observer* observer)
    : connection_(connection), changes_(changes), observer_(observer) {
  ++connection_.generation_;
  place_ = connection_.uses_.insert(connection_.uses_.end(), this);
  if (changes_ != PA_SUBSCRIPTION_MASK_NULL) connection_.subscribe();
}

PulseConnection::Use::~Use() {
  connection_.uses_.erase(place_);
  if (changes_ != PA_SUBSCRIPTION_MASK_NULL) connection_.subscribe();
  if (connection_.uses_.empty()) connection_.letGoLater();
}

int PulseConnection::connect(Start start) {
  if (isReady()) return 0;
  drop();
  context_ = pa_context_new(loop_.api(), "Quillet");
  const auto flags = start == Start::never ? PA_CONTEXT_NOAUTOSPAWN : PA_CONTEXT_NOFLAGS;
  if (pa_context_connect(context_, nullptr, flags, nullptr) >= 0) {
    loop_.waitUntil([this] { return isReady() || pa_context_get_state(context_) == PA_CONTEXT_FAILED; }, kConnecting);
  }
  if (!isReady()) {
    const int failure = pa_context_get_state(context_) == PA_CONTEXT_FAILED ? error() : PA_ERR_TIMEOUT;
    drop();
    return failure == PA_OK ? PA_ERR_CONNECTIONREFUSED : failure;
  }
  pa_context_set_state_callback(
      context_,
      [](pa_context* context, void* self) {
        if (!PA_CONTEXT_IS_GOOD(pa_context_get_state(context))) static_cast<PulseConnection*>(self)->lost();
      },
      this);
  subscribe();
  if (uses_.empty()) letGoLater();
  if (onConnected) onConnected();
  for (Use* use : uses_) {
    if (use->observer_ != nullptr) use->observer_->connected();
  }
  return isReady() ? PA_OK : PA_ERR_CONNECTIONTERMINATED;
}

int PulseConnection::error() const {
  return context_ != nullptr ? pa_context_errno(context_) : PA_ERR_CONNECTIONTERMINATED;
}

void PulseConnection::drop() {
  pa_context* const context = std::exchange(context_, nullptr);
  if (context == nullptr) return;
  pa_context_set_state_callback(context, nullptr, nullptr);
  pa_context_set_subscribe_callback(context, nullptr, nullptr);
  pa_context_disconnect(context);
  pa_context_unref(context);
}

void PulseConnection::lost() {
  for (Use* use : std::list<Use*>(uses_)) {
    if (std::find(uses_.begin(), uses_.end(), use) != uses_.end() && use->observer_ != nullptr) use->observer_->lost();
  }
}

void PulseConnection::letGoLater() {
  loop_.later(kLinger, [this, generation = generation_] {
    if (generation == generation_ && uses_.empty()) drop();
  });
}

void PulseConnection::subscribe() {
  if (!isReady()) return;
  unsigned mask = PA_SUBSCRIPTION_MASK_NULL;
  for (const Use* use : uses_) mask |= use->changes_;
  pa_context_set_subscribe_callback(
      context_,
      [](pa_context*, pa_subscription_event_type_t what, std::uint32_t index, void* self) {
        for (Use* use : std::list<Use*>(static_cast<PulseConnection*>(self)->uses_)) {
          if (use->observer_ != nullptr &&
              (use->changes_ & (1U << (what & PA_SUBSCRIPTION_EVENT_FACILITY_MASK))) != 0) {
            use->observer_->changed(what, index);
          }
        }
      },
      this);
  if (auto* operation = pa_context_subscribe(context_, static_cast<pa_subscription_mask_t>(mask), nullptr, nullptr)) {
    pa_operation_unref(operation);
  }
}

bool PulseConnection::finish(pa_operation* operation) {
  if (operation == nullptr) return false;
  const auto running = [&] { return pa_operation_get_state(operation) == PA_OPERATION_RUNNING; };
  loop_.waitUntil([&] { return !running() || !isReady(); }, kAnswering);
  const bool done = pa_operation_get_state(operation) == PA_OPERATION_DONE;
  if (running()) pa_operation_cancel(operation);
  pa_operation_unref(operation);
  return done;
}

/// What a question's callback fills in; it ends before the callback could outlive it.
template <typename Info>
struct Answer {
  std::function<void(const Info&)> keep;
  bool failed = false;

  static void take(pa_context*, const Info* info, int end, void* self) {
    auto& answer = *static_cast<Answer*>(self);
    if (end < 0) answer.failed = true;
    if (end == 0 && info != nullptr) answer.keep(*info);
  }
};

std::optional<PulseConnection::Server> PulseConnection::server() {
  if (!isReady()) return std::nullopt;
  std::optional<Server> found;
  const auto take = [](pa_context*, const pa_server_info* info, void* slot) {
    if (info == nullptr) return;
    *static_cast<std::optional<Server>*>(slot) =
        Server{textOf(info->default_sink_name), textOf(info->default_source_name),
               textOf(info->server_name).find("PipeWire") != std::string::npos};
  };
  if (!finish(pa_context_get_server_info(context_, take, &found))) return std::nullopt;
  return found;
}

std::optional<AudioDevices::List> PulseConnection::devices() {
  const auto known = server();
  if (!known) return std::nullopt;
  AudioDevices::List list;
  Answer<pa_source_info> answer{[&](const pa_source_info& info) {
    list.all.push_back(deviceOf(info));
    const AudioDevice& device = list.all.back();
    if (device.uid == known->defaultSource && device.hasInput) list.defaultInput = device.id;
  }};
  if (!finish(pa_context_get_source_info_list(context_, Answer<pa_source_info>::take, &answer)) || answer.failed) {
    return std::nullopt;
  }
  return list;
}

std::optional<std::vector<PulseConnection::Sink>> PulseConnection::sinks() {
  if (!isReady()) return std::nullopt;
  std::vector<Sink> found;
  Answer<pa_sink_info> answer{[&](const pa_sink_info& info) { found.push_back(sinkOf(info)); }};
  if (!finish(pa_context_get_sink_info_list(context_, Answer<pa_sink_info>::take, &answer)) || answer.failed) {
    return std::nullopt;
  }
  return found;
}

std::optional<PulseConnection::Sink> PulseConnection::sink(const std::string& name) {
  const auto all = sinks();
  if (!all) return std::nullopt;
  const auto found = std::find_if(all->begin(), all->end(), [&](const Sink& each) { return each.name == name; });
  return found != all->end() ? std::optional(*found) : std::nullopt;
}

std::optional<std::vector<PulseConnection::SinkInput>> PulseConnection::sinkInputs() {
  if (!isReady()) return std::nullopt;
  std::vector<SinkInput> found;
  const std::uint32_t own = pa_context_get_index(context_);
  Answer<pa_sink_input_info> answer{[&](const pa_sink_input_info& info) { found.push_back(inputOf(info, own)); }};
  if (!finish(pa_context_get_sink_input_info_list(context_, Answer<pa_sink_input_info>::take, &answer)) ||
      answer.failed) {
    return std::nullopt;
  }
  return found;
}

std::optional<std::vector<PulseConnection::SourceOutput>> PulseConnection::sourceOutputs() {
  if (!isReady()) return std::nullopt;
  std::vector<SourceOutput> found;
  Answer<pa_source_output_info> answer{[&](const pa_source_output_info& info) { found.push_back(outputOf(info)); }};
  if (!finish(pa_context_get_source_output_info_list(context_, Answer<pa_source_output_info>::take, &answer)) ||
      answer.failed) {
    return std::nullopt;
  }
  return found;
}

std::optional<std::vector<PulseConnection::Module>> PulseConnection::modules() {
  if (!isReady()) return std::nullopt;
  std::vector<Module> found;
  Answer<pa_module_info> answer{[&](const pa_module_info& info) {
    found.push_back({info.index, textOf(info.name), textOf(info.argument)});
  }};
  if (!finish(pa_context_get_module_info_list(context_, Answer<pa_module_info>::take, &answer)) || answer.failed) {
    return std::nullopt;
  }
  return found;
}

std::optional<std::uint32_t> PulseConnection::loadModule(const char* name, const std::string& argument) {
  if (!isReady()) return std::nullopt;
  std::uint32_t loaded = PA_INVALID_INDEX;
  const auto take = [](pa_context*, std::uint32_t index, void* slot) { *static_cast<std::uint32_t*>(slot) = index; };
  if (!finish(pa_context_load_module(context_, name, argument.c_str(), take, &loaded))) return std::nullopt;
  return loaded != PA_INVALID_INDEX ? std::optional(loaded) : std::nullopt;
}

bool PulseConnection::unloadModule(std::uint32_t index) {
  return obey([&](auto done, void* slot) { return pa_context_unload_module(context_, index, done, slot); });
}

bool PulseConnection::moveSinkInput(std::uint32_t index, const std::string& sink) {
  return obey([&](auto done, void* slot) {
    return pa_context_move_sink_input_by_name(context_, index, sink.c_str(), done, slot);
  });
}

bool PulseConnection::obey(const std::function<pa_operation*(pa_context_success_cb_t, void*)>& order) {
  if (!isReady()) return false;
  bool done = false;
  const auto take = [](pa_context*, int success, void* slot) { *static_cast<bool*>(slot) = success != 0; };
  return finish(order(take, &done)) && done;
}

}  // namespace quillet
