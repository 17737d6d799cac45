// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

#include "QuilletCompanion/App/DictationTexts.h"
#include "QuilletCompanion/App/PillContent.h"
#include "QuilletCompanion/App/ShortcutSettings.h"
#include "QuilletCompanion/Views/ViewObject.h"

namespace quillet {

/// Dictation on this computer as the pill, the popover and the settings show it.
class DictationView final : public ViewObject {
  Q_OBJECT
  Q_PROPERTY(bool hasLastText READ hasLastText NOTIFY changed)
  Q_PROPERTY(QString phase READ phase NOTIFY changed)
  Q_PROPERTY(QString outcome READ outcome NOTIFY changed)
  Q_PROPERTY(QString hint READ hint NOTIFY changed)
  Q_PROPERTY(QList<double> bars READ bars NOTIFY barsChanged)
  Q_PROPERTY(bool enabled READ enabled NOTIFY changed)
  Q_PROPERTY(bool showsButton READ showsButton NOTIFY changed)
  Q_PROPERTY(QString holdText READ holdText NOTIFY changed)
  Q_PROPERTY(QString toggleText READ toggleText NOTIFY changed)
  Q_PROPERTY(bool hasHold READ hasHold NOTIFY changed)
  Q_PROPERTY(bool hasToggle READ hasToggle NOTIFY changed)
  Q_PROPERTY(QString holdProblem READ holdProblem NOTIFY changed)
  Q_PROPERTY(QString toggleProblem READ toggleProblem NOTIFY changed)
  Q_PROPERTY(QStringList languages READ languages CONSTANT)
  Q_PROPERTY(int language READ language NOTIFY changed)
  Q_PROPERTY(bool streaming READ streaming NOTIFY changed)
  Q_PROPERTY(bool clean READ clean NOTIFY changed)
  Q_PROPERTY(int audio READ audio NOTIFY changed)
  Q_PROPERTY(QString microphoneAccess READ microphoneAccess NOTIFY changed)
  Q_PROPERTY(QString systemAudioAccess READ systemAudioAccess NOTIFY changed)
  Q_PROPERTY(QStringList microphones READ microphones NOTIFY changed)
  Q_PROPERTY(int microphone READ microphone NOTIFY changed)
  Q_PROPERTY(int recognizer READ recognizer NOTIFY changed)
  Q_PROPERTY(QString engine READ engine NOTIFY changed)
  Q_PROPERTY(QString transcription READ transcription NOTIFY changed)
  Q_PROPERTY(QString privacyNote READ privacyNote NOTIFY changed)

 public:
  DictationView(DictationFeature& feature, Executor mainThread, std::function<void(const QString&)> copy);

  bool hasLastText() const { return feature_.controller().lastText().get().has_value(); }
  /// "idle", "recording", "transcribing", "inserted", "notInserted" or "failed".
  QString phase() const;
  /// What an outcome says; empty in other phases.
  QString outcome() const;
  QString hint() const;
  /// Heights of the input's levels, the newest last, in points.
  QList<double> bars() const;
  Q_INVOKABLE double dotOpacity(int index, double seconds, bool animated) const;
  bool enabled() const { return feature_.preferences.isEnabled.get(); }
  bool showsButton() const { return feature_.preferences.showsFloatingButton.get(); }
  QString holdText() const { return shortcutText(Role::hold); }
  QString toggleText() const { return shortcutText(Role::toggle); }
  bool hasHold() const { return shortcuts_.shortcut(Role::hold).has_value(); }
  bool hasToggle() const { return shortcuts_.shortcut(Role::toggle).has_value(); }
  QString holdProblem() const { return problem(Role::hold); }
  QString toggleProblem() const { return problem(Role::toggle); }
  QStringList languages() const;
  int language() const { return static_cast<int>(feature_.preferences.language.get()); }
  bool streaming() const { return feature_.preferences.streamingEnabled.get(); }
  bool clean() const { return feature_.preferences.style.get() == TranscriptStyle::clean; }
  int audio() const { return static_cast<int>(feature_.preferences.audioWhileDictating.get()); }
  QString microphoneAccess() const;
  QString systemAudioAccess() const;
  /// The system's default first.
  QStringList microphones() const;
  int microphone() const;
  /// 0 for the service, 1 for an engine of this computer's own.
  int recognizer() const { return static_cast<int>(feature_.preferences.recognizer.get()); }
  /// The address of that engine; empty for the one in this program.
  QString engine() const;
  QString transcription() const;
  QString privacyNote() const;

  Q_INVOKABLE void copyLastText();
  Q_INVOKABLE void copyOutcome();
  Q_INVOKABLE void toggleFromPanel() { feature_.toggleFromPanel(); }
  Q_INVOKABLE void stop() { feature_.controller().stop(); }
  Q_INVOKABLE void cancel() { feature_.controller().cancel(); }
  Q_INVOKABLE void dismiss() { feature_.controller().dismiss(); }
  Q_INVOKABLE void setEnabled(bool on) { feature_.setEnabled(on); }
  Q_INVOKABLE void setShowsButton(bool on) { feature_.preferences.showsFloatingButton.set(on); }
  Q_INVOKABLE void setLanguage(int index);
  Q_INVOKABLE void setStreaming(bool on) { feature_.preferences.streamingEnabled.set(on); }
  Q_INVOKABLE void setClean(bool on);
  Q_INVOKABLE void setAudio(int index) { feature_.setAudio(static_cast<DictationAudio>(index)); }
  Q_INVOKABLE void setMicrophone(int index);
  Q_INVOKABLE void setRecognizer(int index);
  /// Takes what `engine` gives; anything that names no engine changes nothing.
  Q_INVOKABLE void setEngine(const QString& address);
  /// What is wrong with an address, if anything is.
  Q_INVOKABLE QString engineProblem(const QString& address) const;
  /// "hold" or "toggle": begins to record a shortcut, or ends that.
  Q_INVOKABLE void record(const QString& role) { shortcuts_.record(roleOf(role)); }
  Q_INVOKABLE void clearShortcut(const QString& role) { shortcuts_.clear(roleOf(role)); }
  Q_INVOKABLE void stopRecording() { shortcuts_.stop(); }

 Q_SIGNALS:
  void barsChanged();

 private:
  using Role = ShortcutSettings::Role;

  void followAll();
  QString shortcutText(Role role) const;
  QString problem(Role role) const;
  std::vector<DictationTexts::MicrophoneChoice> choices() const;
  static Role roleOf(const QString& name) { return name == "hold" ? Role::hold : Role::toggle; }

  DictationFeature& feature_;
  std::function<void(const QString&)> copy_;
  ShortcutSettings shortcuts_;
  PillContent::Levels levels_;
};

}  // namespace quillet
