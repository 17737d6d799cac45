// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Terminal/TerminalFrontEnd.h"

#include <algorithm>

#include "QuilletCompanion/App/FeedbackForm.h"
#include "QuilletCompanion/Terminal/TerminalText.h"
#include "QuilletKit/Base/PlainText.h"
#include "QuilletKit/Base/Unicode.h"
#include "QuilletKit/Identity/DeviceCalled.h"

namespace quillet {

using namespace TerminalText;

namespace {

std::string notForgotten(const AppModel::Remains& remains) {
  std::string list;
  for (const auto& item : remains) list += (list.empty() ? "" : ", ") + item;
  return "This computer could not forget: " + list +
         ". See that its data folder can be written and that its keyring is unlocked, then type \"reset\" again.";
}

}  // namespace

TerminalFrontEnd::TerminalFrontEnd(AppModel& model, Executor mainThread, Style style,
                                   std::function<void(std::string)> print, std::function<void()> quit)
    : model_(model),
      mainThread_(std::move(mainThread)),
      output_(style, std::move(print)),
      quit_(std::move(quit)),
      events_(model_, output_),
      pairing_(model_, output_),
      dictation_(model_, output_) {}

const std::vector<TerminalFrontEnd::Command>& TerminalFrontEnd::commands() {
  using Front = TerminalFrontEnd;
  static const std::vector<Command> list{
      {"status", "", "what this computer is doing", Argument::none, &Front::status},
      {"pair", "", "show a code for a phone", Argument::none, &Front::pair},
      {"confirm", "", "the four words agree", Argument::none, &Front::confirm},
      {"cancel", "", "end the dictation, or the pairing", Argument::none, &Front::cancel},
      {"peers", "", "the paired phones", Argument::none, &Front::peers},
      {"revoke", "PHONE", "end a pairing; by name, id or its start", Argument::required, &Front::revoke},
      {"rename", "NAME", "the name that phones show", Argument::required, &Front::rename},
      {"health", "", "check every link from the service to the field", Argument::none, &Front::health},
      {"retry", "", "register or connect again now", Argument::none, &Front::retry},
      {"accessibility", "", "let this program type", Argument::none, &Front::accessibility},
      {"login", "on|off", "start when you log in", Argument::optional, &Front::login},
      {"dictation", "on|off", "dictate on this computer", Argument::optional, &Front::dictation},
      {"dictate", "", "begin a dictation, or end it", Argument::none, &Front::dictate},
      {"last", "", "the text that was dictated last", Argument::none, &Front::last},
      {"shortcut", "hold|toggle KEYS|off", "what to press", Argument::optional, &Front::shortcut},
      {"microphones", "", "the microphones", Argument::none, &Front::microphones},
      {"microphone", "NAME|default", "the one to dictate into", Argument::optional, &Front::microphone},
      {"language", "auto|en|nl|fr|de", "what you speak", Argument::optional, &Front::language},
      {"style", "verbatim|clean", "with or without filler words", Argument::optional, &Front::style},
      {"streaming", "on|off", "transcribe while you speak", Argument::optional, &Front::streaming},
      {"music", "muffle|pause|keep", "what happens to other sound", Argument::optional, &Front::music},
      {"recognizer", "cloud|device [ENGINE]", "who transcribes", Argument::optional, &Front::recognizer},
      {"words", "", "how many words were dictated", Argument::none, &Front::words},
      {"feedback", "[reply-to=ADDRESS] TEXT", "write to the developer", Argument::required, &Front::feedback},
      {"reset", "[confirm]", "forget keys and phones, begin as a new device", Argument::optional, &Front::reset},
      {"delete", "[confirm]", "delete this computer's data at the service, then reset", Argument::optional,
       &Front::deleteData},
      {"restart", "", "start this program anew", Argument::none, &Front::restart},
      {"version", "", "which version this is", Argument::none, &Front::version},
      {"help", "", "this list", Argument::none, &Front::help},
      {"quit", "", "end the program", Argument::none, &Front::quit}};
  return list;
}

void TerminalFrontEnd::handleLine(std::string_view line) {
  const std::string_view text = Unicode::trim(line);
  if (const auto action = std::exchange(questioned_, nullptr)) {
    if (text == "yes") return (this->*action)();
    if (text.empty() || text == "no") return output_.answer("unchanged", {}, "Nothing was changed.");
  }
  if (text.empty()) return;
  if (!Unicode::isValidUTF8(text)) return output_.refuse("This line is not UTF-8.");
  const std::string_view word = text.substr(0, text.find_first_of(" \t"));
  const std::string argument(Unicode::trim(text.substr(word.size())));
  const auto& list = commands();
  const auto found = std::find_if(list.begin(), list.end(), [&](const Command& c) { return c.name == word; });
  if (found == list.end()) {
    return output_.refuse("There is no command \"" + std::string(word) + "\". Type \"help\".");
  }
  if (found->argument == Argument::none && !argument.empty()) {
    return output_.refuse("\"" + std::string(word) + "\" stands alone. Type \"help\".");
  }
  if (found->argument == Argument::required && argument.empty()) {
    return output_.refuse("Say which: " + std::string(word) + " " + std::string(found->argumentName));
  }
  (this->*found->run)(argument);
}

void TerminalFrontEnd::startedAgain() const {
  output_.event("startedAgain", {},
                "Quillet was started once more. It runs here already; to have its windows, quit here first.");
}

void TerminalFrontEnd::endOfInput() {
  inputEnded_ = true;
  if (unanswered_ == 0) quit_();
}

template <typename Body>
void TerminalFrontEnd::background(Body body) {
  tasks_.remove_if([](const Task& task) { return !task.running(); });
  ++unanswered_;
  tasks_.emplace_back(mainThread_).start([this, body](Task::Token token) -> Awaitable<void> {
    co_await body(token);
    if (!token.cancelled() && --unanswered_ == 0 && inputEnded_) quit_();
  });
}

void TerminalFrontEnd::status(const std::string&) {
  model_.publishReadiness();
  output_.answer("status", describeStatus(model_), statusText(model_));
}

void TerminalFrontEnd::peers(const std::string&) {
  output_.answer("peers", {{"peers", describePeers(model_)}}, peersText(model_));
}

void TerminalFrontEnd::revoke(const std::string& wanted) {
  const auto* found = deviceCalled(model_.peerStore().peers().get(), wanted);
  if (found == nullptr) return output_.refuse("No one phone is called that. \"peers\" lists them.");
  background([this, id = found->identity.deviceId](Task::Token token) -> Awaitable<void> {
    const bool told = co_await model_.revoke(id);
    if (token.cancelled()) co_return;
    output_.answer("revoke", {{"deviceId", id}, {"serviceKnows", told}},
                   told ? "Revoked." : "Removed from this computer. The service will be told when it is reachable.");
  });
}

void TerminalFrontEnd::rename(const std::string& name) {
  const bool changed = model_.rename(name);
  const std::string& now = model_.macName().get();
  const bool saved = model_.areSettingsSaved();
  output_.answer("rename", {{"macName", now}, {"changed", changed}, {"saved", saved}},
                 "This computer is called " + plainText(now) + "." +
                     (saved ? "" : " This could not be saved, and will be forgotten when the program ends."));
}

void TerminalFrontEnd::health(const std::string&) {
  background([this](Task::Token token) -> Awaitable<void> {
    co_await model_.checkHealth();
    if (token.cancelled()) co_return;
    if (model_.connectionStatus().get() != ConnectionStatus::connected) model_.retryConnection();
    const auto rows = checkRows(model_);
    output_.answer("health", {{"state", rawValue(model_.health().get())}, {"rows", describe(rows)}}, textOf(rows));
  });
}

void TerminalFrontEnd::retry(const std::string&) {
  if (model_.registration().get() == AppModel::Registration(RegistrationLoop::Step::revoked)) {
    return output_.refuse(textOf(model_.registration().get()));
  }
  output_.answer("retry", {}, "Trying again.");
  model_.retryConnection();
}

void TerminalFrontEnd::accessibility(const std::string&) {
  model_.requestAccessibility();
  model_.refreshAccessibilityTrust();
  output_.answer("accessibility",
                 {{"trusted", model_.axTrusted().get()}, {"needsRestart", model_.axNeedsRestart().get()}},
                 std::string("Accessibility: ") + (model_.axTrusted().get() ? "Allowed" : "Not allowed"));
}

void TerminalFrontEnd::login(const std::string& choice) {
  if (!choice.empty() && choice != "on" && choice != "off") return output_.refuse("Say \"login on\" or \"login off\".");
  if (!choice.empty()) model_.setLaunchAtLogin(choice == "on");
  const bool on = model_.launchAtLogin().get();
  if (!choice.empty() && on != (choice == "on"))
    return output_.refuse("The desktop's list of programs could not be changed.");
  output_.answer("login", {{"enabled", on}}, std::string("Launch at login: ") + (on ? "on" : "off"));
}

void TerminalFrontEnd::feedback(const std::string& text) {
  constexpr std::string_view kReplyTo = "reply-to=";
  FeedbackForm form{text, {}};
  if (text.starts_with(kReplyTo)) {
    const auto end = std::min(text.find(' '), text.size());
    form = {text.substr(end), text.substr(kReplyTo.size(), end - kReplyTo.size())};
  }
  form = form.trimmed();
  if (const auto problem = form.problem()) return output_.refuse(*problem);
  if (!form.canBeSent()) return output_.refuse("There is nothing to send.");
  background([this, form](Task::Token token) -> Awaitable<void> {
    std::exception_ptr error;
    try {
      co_await model_.sendFeedback(form.message,
                                   form.replyTo.empty() ? std::nullopt : std::optional<std::string>(form.replyTo));
    } catch (...) {
      error = std::current_exception();
    }
    if (token.cancelled()) co_return;
    if (error) co_return output_.refuse(FeedbackForm::failureText(error));
    output_.answer("feedback", {{"sent", true}}, std::string(FeedbackForm::kSent));
  });
}

void TerminalFrontEnd::confirmed(const std::string& argument, const char* command, const std::string& question,
                                 void (TerminalFrontEnd::*action)()) {
  if (argument == "confirm") return (this->*action)();
  const std::string how = std::string(command) + " confirm";
  if (!argument.empty() || output_.style() == Style::json) {
    return output_.refuse(question + " Type \"" + how + "\" to do it.");
  }
  questioned_ = action;
  output_.answer("question", {}, question + " Type \"yes\" or \"no\".");
}

void TerminalFrontEnd::reset(const std::string& argument) {
  confirmed(argument, "reset", "This computer forgets its keys and all paired phones, which must pair again.",
            &TerminalFrontEnd::resetNow);
}

void TerminalFrontEnd::resetNow() {
  pairing_.end();
  const auto remains = model_.resetLocal();
  if (!remains.empty()) return output_.refuse(notForgotten(remains));
  output_.answer("reset", {{"deviceId", model_.deviceId().get().value_or("")}},
                 "This computer begins as a new device. Type \"pair\" to pair a phone.");
}

void TerminalFrontEnd::deleteData(const std::string& argument) {
  confirmed(argument, "delete", "Delete your cloud data? All paired phones will be disconnected and must pair again.",
            &TerminalFrontEnd::deleteNow);
}

void TerminalFrontEnd::deleteNow() {
  background([this](Task::Token token) -> Awaitable<void> {
    std::string failure;
    AppModel::Remains remains;
    try {
      remains = co_await model_.deleteCloudData();
    } catch (const std::exception& error) {
      failure = error.what();
    }
    if (token.cancelled()) co_return;
    if (!failure.empty()) co_return output_.refuse(failure);
    pairing_.end();
    if (!remains.empty()) co_return output_.refuse("Deleted at the service. " + notForgotten(remains));
    output_.answer("delete", {{"deviceId", model_.deviceId().get().value_or("")}},
                   "Deleted. This computer begins as a new device.");
  });
}

void TerminalFrontEnd::words(const std::string&) {
  model_.wordStats().reload();
  const WordStatsSummary summary = model_.wordStats().summary();
  output_.answer("words", describe(summary), textOf(summary));
}

void TerminalFrontEnd::restart(const std::string&) {
  output_.answer("restart", {}, "Starting anew.");
  model_.restartApp();
}

void TerminalFrontEnd::version(const std::string&) {
  output_.answer("version", {{"version", model_.appVersion()}}, "QuilletCompanion " + model_.appVersion());
}

void TerminalFrontEnd::help(const std::string&) {
  std::string text;
  for (const auto& command : commands()) {
    std::string line = std::string(command.name) + (command.argumentName.empty() ? "" : " ");
    line += command.argumentName;
    constexpr std::size_t kColumn = 35;
    line.resize(std::max(line.size() + 2, kColumn), ' ');
    text += (text.empty() ? "" : "\n") + line + std::string(command.help);
  }
  output_.answer("help", {{"text", text}}, text);
}

}  // namespace quillet
