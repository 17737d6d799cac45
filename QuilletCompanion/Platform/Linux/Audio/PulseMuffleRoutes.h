// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "QuilletCompanion/Dictation/MuffleRoute.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseThread.h"

namespace quillet {

/// Muffled routes on the sound server. Main thread only.
class PulseMuffleRoutes final : public MuffleRoutes {
 public:
  /// Of a thread that outlives it and its routes.
  explicit PulseMuffleRoutes(PulseThread& thread);
  ~PulseMuffleRoutes() override;

  std::unique_ptr<MuffleRoute> build(MuffleRoute::OnEnd onEnd) override;

 private:
  class Handle;
  class Slot;

  PulseThread& thread_;
  std::shared_ptr<Slot> slot_;
  bool used_ = false;
};

}  // namespace quillet
