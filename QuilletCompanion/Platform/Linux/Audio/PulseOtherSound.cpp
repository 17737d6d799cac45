// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Audio/PulseOtherSound.h"

#include <algorithm>

#include "QuilletKit/Async/RunOn.h"

namespace quillet {
namespace {

Awaitable<bool> othersPlay(std::shared_ptr<PulseCore> core) {
  if (core->connection.connect() != PA_OK) co_return false;
  const auto inputs = core->connection.sinkInputs();
  co_return inputs&& std::any_of(inputs->begin(), inputs->end(),
                                 [](const auto& input) { return !input.ours && !input.corked; });
}

}  // namespace

Awaitable<bool> PulseOtherSound::isPlaying() {
  co_return co_await runOn(thread_.executor(), othersPlay(thread_.core()));
}

}  // namespace quillet
