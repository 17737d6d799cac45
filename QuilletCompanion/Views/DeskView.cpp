// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/DeskView.h"

#include <utility>

namespace quillet {
namespace {

constexpr std::string_view separator = " · ";

/// The application's name before it isn't ours to translate.
QString inWordsAfterName(const std::string& line) {
  const auto at = line.rfind(separator);
  if (at == std::string::npos) return inWords(line);
  const auto end = at + separator.size();
  return toQt(line.substr(0, end)) + inWords(line.substr(end));
}

}  // namespace

DeskView::DeskView(AppModel& model, Executor mainThread, Surroundings surroundings)
    : ViewObject(std::move(mainThread)), model_(model), surroundings_(std::move(surroundings)) {
  follow(model_.macName());
  follow(model_.connectionStatus());
  follow(model_.readiness());
  follow(model_.axTrusted());
  follow(model_.axNeedsRestart());
  follow(model_.peerStore().peers());
  follow(model_.startupError());
  follow(model_.registration());
  follow(model_.onboardingCompleted());
  follow(model_.onboardingStep());
  follow(model_.launchAtLogin());
}

QString DeskView::statusLine() const {
  return inWordsAfterName(quillet::statusLine(model_.connectionStatus().get(), model_.readiness().get()));
}

QString DeskView::connectionWord() const {
  return inWords(statusWord(model_.connectionStatus().get()));
}

QString DeskView::connectionTint() const {
  switch (model_.connectionStatus().get()) {
    case ConnectionStatus::connected:
      return "green";
    case ConnectionStatus::reconnecting:
      return "yellow";
    case ConnectionStatus::offline:
      break;
  }
  return "red";
}

bool DeskView::revoked() const {
  return model_.registration().get() == AppModel::Registration(RegistrationLoop::Step::revoked);
}

void DeskView::pair() {
  if (onboardingCompleted()) return openWindow("pair");
  if (model_.onboardingStep().get() == OnboardingStep::welcome) model_.setOnboardingStep(OnboardingStep::pair);
  openWindow("onboarding");
}

void DeskView::nameDuringSetUp(const QString& name) {
  const auto wanted = name.trimmed();
  model_.rename(wanted.isEmpty() ? model_.fallbackName() : wanted.toStdString());
}

void DeskView::setOnboardingStep(const QString& step) {
  if (const auto known = fromRaw<OnboardingStep>(step.toStdString())) model_.setOnboardingStep(*known);
}

}  // namespace quillet
