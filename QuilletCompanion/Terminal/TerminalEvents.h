// SPDX-License-Identifier: MIT
#pragma once

#include <boost/json/array.hpp>
#include <functional>
#include <list>

#include "QuilletCompanion/App/AppModel.h"
#include "QuilletCompanion/Terminal/TerminalOutput.h"

namespace quillet {

/// Tells every change of the model, once each. Main thread only.
class TerminalEvents {
 public:
  TerminalEvents(AppModel& model, const TerminalOutput& output);

 private:
  template <typename T>
  void watch(const Observable<T>& observable, std::function<void()> show);
  void watchSetUp();
  void showRegistration();
  void showTrust();
  void showPeers();

  AppModel& model_;
  const TerminalOutput& output_;
  boost::json::array shownPeers_;
  std::list<Subscription> watched_;
};

}  // namespace quillet
