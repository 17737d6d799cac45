// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QVariantList>
#include <functional>

#include "QuilletCompanion/App/AppModel.h"
#include "QuilletCompanion/Views/ViewObject.h"

namespace quillet {

/// The model as most views see it: what this device is called, whether everything works, how far its set-up has come.
class DeskView final : public ViewObject {
  Q_OBJECT
  Q_PROPERTY(QString macName READ macName NOTIFY changed)
  Q_PROPERTY(QString statusLine READ statusLine NOTIFY changed)
  Q_PROPERTY(QVariantList rows READ rows NOTIFY changed)
  Q_PROPERTY(bool axTrusted READ axTrusted NOTIFY changed)
  Q_PROPERTY(bool axNeedsRestart READ axNeedsRestart NOTIFY changed)
  Q_PROPERTY(QString startupError READ startupError NOTIFY changed)
  Q_PROPERTY(bool revoked READ revoked NOTIFY changed)
  Q_PROPERTY(bool onboardingCompleted READ onboardingCompleted NOTIFY changed)
  Q_PROPERTY(QString onboardingStep READ onboardingStep NOTIFY changed)
  Q_PROPERTY(int onboardingNumber READ onboardingNumber NOTIFY changed)
  Q_PROPERTY(bool launchAtLogin READ launchAtLogin NOTIFY changed)
  Q_PROPERTY(QString version READ version CONSTANT)
  Q_PROPERTY(bool hasSoundSettings READ hasSoundSettings CONSTANT)

 public:
  /// What lies outside the model. All are called on the main thread.
  struct Surroundings {
    std::function<void(const QString&window)> openWindow, closeWindow;
    std::function<void(const QString& text)> copy;
    std::function<void()> dismissPopover, openEditor, quit;
    std::function<void()> openSoundSettings;  ///< Empty where the desktop has none.
  };
  DeskView(AppModel& model, Executor mainThread, Surroundings surroundings);

  QString macName() const { return toQt(model_.macName().get()); }
  QString statusLine() const;
  /// What works and what doesn't, each with "title", "value" and "tint".
  QVariantList rows() const;
  bool axTrusted() const { return model_.axTrusted().get(); }
  bool axNeedsRestart() const { return model_.axNeedsRestart().get(); }
  QString startupError() const { return inWords(model_.startupError().get().value_or("")); }
  bool revoked() const;
  bool onboardingCompleted() const { return model_.onboardingCompleted().get(); }
  QString onboardingStep() const { return toQt(rawValue(model_.onboardingStep().get())); }
  int onboardingNumber() const { return static_cast<int>(model_.onboardingStep().get()) + 1; }
  bool launchAtLogin() const { return model_.launchAtLogin().get(); }
  QString version() const { return toQt(model_.appVersion()); }
  bool hasSoundSettings() const { return surroundings_.openSoundSettings != nullptr; }

  /// By their ids: "onboarding", "pair", "connection-test", "statistics", "settings".
  Q_INVOKABLE void openWindow(const QString& window) { surroundings_.openWindow(window); }
  Q_INVOKABLE void closeWindow(const QString& window) { surroundings_.closeWindow(window); }
  Q_INVOKABLE void dismissPopover() { surroundings_.dismissPopover(); }
  /// Where a phone is paired now: in its window, or as a step of the set-up.
  Q_INVOKABLE void pair();
  Q_INVOKABLE void copy(const QString& text) { surroundings_.copy(text); }
  /// With a place to write in.
  Q_INVOKABLE void openEditor() { surroundings_.openEditor(); }
  Q_INVOKABLE void openSoundSettings() { surroundings_.openSoundSettings(); }
  Q_INVOKABLE void quit() { surroundings_.quit(); }

  /// An empty name brings the one back that the machine has.
  Q_INVOKABLE void nameDuringSetUp(const QString& name);
  Q_INVOKABLE bool rename(const QString& name) { return model_.rename(name.toStdString()); }
  Q_INVOKABLE void setLaunchAtLogin(bool on) { model_.setLaunchAtLogin(on); }
  Q_INVOKABLE void setOnboardingStep(const QString& step);
  Q_INVOKABLE void completeOnboarding() { model_.completeOnboarding(); }
  Q_INVOKABLE void requestAccessibility() { model_.requestAccessibility(); }
  Q_INVOKABLE void refreshAccessibilityTrust() { model_.refreshAccessibilityTrust(); }
  Q_INVOKABLE void restartApp() { model_.restartApp(); }
  Q_INVOKABLE void resetLocal() { model_.resetLocal(); }

 private:
  AppModel& model_;
  Surroundings surroundings_;
};

}  // namespace quillet
