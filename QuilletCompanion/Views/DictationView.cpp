// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Views/DictationView.h"

#include <array>
#include <utility>

namespace quillet {
namespace {

using namespace DictationPhases;

constexpr std::string_view kEmbedded = "embedded";

std::string engineNamed(const QString& address) {
  const auto trimmed = address.trimmed().toStdString();
  return trimmed.empty() ? std::string(kEmbedded) : trimmed;
}

std::string translate(std::string_view text) {
  return inWords(text).toStdString();
}

template <typename Access>
QString accessWord(Access access) {
  if (access == Access::authorized) return inWords("Allowed");
  return inWords(access == Access::notDetermined ? "Not asked yet" : "Not allowed");
}

}  // namespace

DictationView::DictationView(DictationFeature& feature, Executor mainThread, std::function<void(const QString&)> copy)
    : ViewObject(std::move(mainThread)), feature_(feature), copy_(std::move(copy)), shortcuts_(feature) {
  followAll();
}

void DictationView::followAll() {
  const auto& preferences = feature_.preferences;
  const auto& controller = feature_.controller();
  follow(controller.lastText());
  follow(feature_.configuration());
  follow(feature_.microphoneStatus());
  follow(feature_.systemAudioStatus());
  follow(feature_.unavailableShortcuts());
  follow(feature_.inputs.all);
  follow(feature_.inputs.systemDefault);
  follow(feature_.keyboard().keymap);
  follow(preferences.isEnabled.observable());
  follow(preferences.showsFloatingButton.observable());
  follow(preferences.toggleShortcut.observable());
  follow(preferences.holdShortcut.observable());
  follow(preferences.language.observable());
  follow(preferences.style.observable());
  follow(preferences.streamingEnabled.observable());
  follow(preferences.audioWhileDictating.observable());
  follow(preferences.microphone.observable());
  follow(preferences.recognizer.observable());
  follow(preferences.deviceEngine.observable());
  for (const auto role : {Role::hold, Role::toggle}) {
    follow(shortcuts_.recorder(role).recording());
    follow(shortcuts_.recorder(role).problem());
  }
  keep(controller.level().observe([this](float level) {
    levels_.add(level);
    Q_EMIT barsChanged();
  }));
  keep(controller.phase().observe([this](const DictationPhase& phase) {
    if (levels_.show(phase)) Q_EMIT barsChanged();
    Q_EMIT changed();
  }));
}

QString DictationView::phase() const {
  static constexpr std::array names{"idle", "recording", "transcribing", "inserted", "notInserted", "failed"};
  return names.at(static_cast<std::size_t>(PillContent::appearance(feature_.controller().phase().get())));
}

QList<double> DictationView::bars() const {
  QList<double> heights;
  for (const float level : levels_.values()) heights.append(PillContent::Levels::barHeight(level));
  return heights;
}

double DictationView::dotOpacity(int index, double seconds, bool animated) const {
  return PillContent::dotOpacity(static_cast<std::size_t>(index), seconds, animated);
}

QString DictationView::outcome() const {
  const auto& phase = feature_.controller().phase().get();
  if (is<Inserted>(phase)) return inWords("Inserted");
  if (const auto* refused = std::get_if<NotInserted>(&phase)) return inWords(PillContent::refusalText(refused->reason));
  if (const auto* failed = std::get_if<Failed>(&phase)) return inWords(text(failed->failure));
  return {};
}

QString DictationView::hint() const {
  const auto known = feature_.shortcutHint(translate);
  return known ? toQt(*known) : inWords("Click to dictate");
}

QString DictationView::shortcutText(Role role) const {
  return toQt(shortcuts_.text(role, translate));
}

QString DictationView::problem(Role role) const {
  return toQt(shortcuts_.problem(role, translate));
}

QStringList DictationView::languages() const {
  return {inWords("Automatic"), "English", "Nederlands", "Français", "Deutsch"};
}

QString DictationView::microphoneAccess() const {
  return accessWord(feature_.microphoneStatus().get());
}

QString DictationView::systemAudioAccess() const {
  return accessWord(feature_.systemAudioStatus().get());
}

std::vector<DictationTexts::MicrophoneChoice> DictationView::choices() const {
  return DictationTexts::microphoneChoices(feature_.inputs.all.get(), feature_.preferences.microphone.get());
}

QStringList DictationView::microphones() const {
  QStringList names;
  for (const auto& [input, isConnected] : choices()) {
    const auto& now = feature_.inputs.systemDefault.get();
    if (input) {
      names.append(isConnected ? toQt(input->name) : inWords("%1 (not connected)").arg(toQt(input->name)));
    } else {
      names.append(now ? inWords("System default (%1)").arg(toQt(now->name)) : inWords("System default"));
    }
  }
  return names;
}

int DictationView::microphone() const {
  return static_cast<int>(DictationTexts::placeOf(feature_.preferences.microphone.get(), choices()));
}

QString DictationView::engine() const {
  const auto& engine = feature_.preferences.deviceEngine.get();
  return engine == kEmbedded ? QString() : toQt(engine);
}

void DictationView::setRecognizer(int index) {
  feature_.preferences.recognizer.set(static_cast<RecognizerChoice>(index));
}

void DictationView::setEngine(const QString& address) {
  const auto name = engineNamed(address);
  if (DictationTexts::isEngine(name)) feature_.preferences.deviceEngine.set(name);
}

QString DictationView::engineProblem(const QString& address) const {
  if (DictationTexts::isEngine(engineNamed(address))) return {};
  return inWords("The address of an engine begins with http, https or tcp.");
}

QString DictationView::transcription() const {
  const auto name = DictationTexts::transcription(feature_.preferences, feature_.configuration().get());
  return name ? toQt(*name) : inWords("On this Mac");
}

QString DictationView::privacyNote() const {
  const auto note = DictationTexts::privacyNote(feature_.preferences, feature_.configuration().get());
  return inWords(note.text).replace("%1", toQt(note.place));
}

void DictationView::copyLastText() {
  if (const auto& last = feature_.controller().lastText().get()) copy_(toQt(*last));
}

void DictationView::copyOutcome() {
  if (const auto* refused = std::get_if<NotInserted>(&feature_.controller().phase().get())) copy_(toQt(refused->text));
  dismiss();
}

void DictationView::setLanguage(int index) {
  feature_.preferences.language.set(static_cast<RecognitionLanguage>(index));
}

void DictationView::setClean(bool on) {
  feature_.preferences.style.set(on ? TranscriptStyle::clean : TranscriptStyle::verbatim);
}

void DictationView::setMicrophone(int index) {
  const auto all = choices();
  if (index >= 0 && index < static_cast<int>(all.size())) {
    feature_.preferences.microphone.set(all[static_cast<std::size_t>(index)].input);
  }
}

}  // namespace quillet
