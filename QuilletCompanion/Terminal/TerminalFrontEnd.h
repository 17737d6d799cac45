// SPDX-License-Identifier: MIT
#pragma once

#include <boost/json/object.hpp>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "QuilletCompanion/App/AppModel.h"

namespace quillet {

/// The line-oriented front of the program: commands come in as lines, events and answers go out as lines, for people or
/// as one JSON object each. Main thread only.
class TerminalFrontEnd {
 public:
  enum class Style { people, json };
  /// `print` gets whole lines without the line feed (a QR code holds several).
  TerminalFrontEnd(AppModel& model, Style style, std::function<void(std::string)> print, std::function<void()> quit);
  ~TerminalFrontEnd();

  /// One line of input. Unknown words get an answer that says so.
  void handleLine(std::string_view line);

 private:
  using Object = boost::json::object;

  void watch();
  void watchConnection();
  void event(std::string_view name, Object fields, const std::string& text);
  void answer(std::string_view name, Object fields, const std::string& text);
  void emit(Object object, const std::string& text);
  void refuse(const std::string& text);

  void status();
  void pair();
  void confirm();
  void cancel();
  void peers();
  void help();
  void showRegistration();
  void showConnection();
  void showReadiness();
  void showPhase(const PairingViewModel::Phase& phase);

  AppModel& model_;
  Style style_;
  std::function<void(std::string)> print_;
  std::function<void()> quit_;
  std::unique_ptr<PairingViewModel> pairing_;
  Observable<AppModel::Registration>::Subscription registration_;
  Observable<AppModel::Readiness>::Subscription readiness_;
  Observable<std::optional<std::string>>::Subscription startupError_;
  Observable<int>::Subscription wiring_;
  Observable<RelayConnection::State>::Subscription connection_;
  Observable<PairingViewModel::Phase>::Subscription phase_;
  Observable<bool>::Subscription networkTrouble_;
  std::string lastStatus_;
};

}  // namespace quillet
