// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/Onboarding.h"

namespace quillet {
namespace {

OnboardingStep storedStep(const UserDefaults& defaults) {
  return fromRaw<OnboardingStep>(defaults.string("onboardingStep").value_or("")).value_or(OnboardingStep::welcome);
}

}  // namespace

Onboarding::Onboarding(UserDefaults& defaults)
    : defaults_(defaults), completed_(defaults.boolean("onboardingCompleted")), step_(storedStep(defaults)) {}

void Onboarding::setStep(OnboardingStep step) {
  defaults_.set("onboardingStep", boost::json::string(rawValue(step)));
  step_.set(step);
}

void Onboarding::complete() {
  defaults_.set("onboardingCompleted", true);
  completed_.set(true);
  setStep(OnboardingStep::ready);
}

void Onboarding::forget() {
  defaults_.remove("onboardingCompleted");
  defaults_.remove("onboardingStep");
  completed_.set(false);
  step_.set(OnboardingStep::welcome);
}

}  // namespace quillet
