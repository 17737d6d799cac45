// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/DeskView.h"

#include <QVariantMap>
#include <utility>

#include "QuilletCompanion/App/StatusRows.h"

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
  follow(model_.dictation().preferences.isEnabled.observable());
  follow(model_.dictation().microphoneStatus());
  follow(model_.dictation().configuration());
  follow(model_.dictation().controller().phase());
}

QString DeskView::statusLine() const {
  return inWordsAfterName(quillet::statusLine(model_.connectionStatus().get(), model_.readiness().get()));
}

QVariantList DeskView::rows() const {
  const auto& dictation = model_.dictation();
  QVariantList found;
  for (const auto& row :
       statusRows(model_.connectionStatus().get(), model_.axTrusted().get(), model_.peerStore().peers().get().size(),
                  {.isEnabled = dictation.preferences.isEnabled.get(),
                  .canDictate = dictation.canDictate(),
                  .phase = dictation.controller().phase().get()})) {
    found.append(
        QVariantMap{{"title", inWords(row.title)}, {"value", inWords(row.value)}, {"tint", toQt(rawValue(row.tint))}});
  }
  return found;
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
