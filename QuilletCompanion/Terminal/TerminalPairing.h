// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "QuilletCompanion/App/AppModel.h"
#include "QuilletCompanion/Terminal/TerminalOutput.h"

namespace quillet {

/// Pairing by commands: shows the code and the words, takes the person's answer. Main thread only.
class TerminalPairing {
 public:
  TerminalPairing(AppModel& model, const TerminalOutput& output) : model_(model), output_(output) {}
  ~TerminalPairing() { end(); }

  void pair();
  void confirm();
  void cancel();
  /// Gives up what is under way without a word.
  void end();

 private:
  void show(const PairingViewModel::Phase& phase);
  void showPhase(std::string_view name, TerminalOutput::Object fields, const std::string& text);

  AppModel& model_;
  const TerminalOutput& output_;
  std::unique_ptr<PairingViewModel> pairing_;
  Subscription phase_;
  Subscription networkTrouble_;
};

}  // namespace quillet
