// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Program/Windows/DisplayLoss.h"

#include <cstdlib>
#include <utility>

#include "QuilletKit/Base/Log.h"

namespace quillet {

DisplayLoss* DisplayLoss::current_ = nullptr;

DisplayLoss::DisplayLoss(std::function<void()> putRight) : putRight_(std::move(putRight)) {
  static const bool registered = std::atexit(&DisplayLoss::ended) == 0;
  if (registered) current_ = this;
}

DisplayLoss::~DisplayLoss() {
  current_ = nullptr;
}

/// Other threads still run, so that what is static must stay: nothing after this is undone.
void DisplayLoss::ended() {
  auto* const loss = std::exchange(current_, nullptr);
  if (loss == nullptr) return;
  Log::standard("relay", "The display is gone; Quillet ends");
  loss->putRight_();
  std::_Exit(kExitCode);
}

}  // namespace quillet
