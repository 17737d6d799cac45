// SPDX-License-Identifier: MIT
#pragma once

#include <type_traits>

#include "QuilletCompanion/App/UserDefaults.h"
#include "QuilletKit/Base/Observable.h"
#include "QuilletKit/Base/RawValue.h"

namespace quillet {

enum class OnboardingStep { welcome, pair, accessibility, ready };
constexpr auto rawNames(std::type_identity<OnboardingStep>) {
  return rawTable<4>({"welcome", "pair", "accessibility", "ready"});
}

/// How far the user has come in setting the program up; kept in the settings, so that a relaunch goes on there. Main
/// thread only.
class Onboarding {
 public:
  explicit Onboarding(UserDefaults& defaults);

  void setStep(OnboardingStep step);
  void complete();
  /// Back to the beginning, as on a fresh machine.
  void forget();

  const Observable<bool>& completed() const { return completed_; }
  const Observable<OnboardingStep>& step() const { return step_; }

 private:
  UserDefaults& defaults_;
  Observable<bool> completed_;
  Observable<OnboardingStep> step_;
};

}  // namespace quillet
