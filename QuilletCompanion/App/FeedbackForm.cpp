// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/FeedbackForm.h"

#include "QuilletKit/Base/Unicode.h"
#include "QuilletKit/Protocol/APIClient.h"

namespace quillet {
FeedbackForm FeedbackForm::trimmed() const {
  return {std::string(Unicode::trim(message)), std::string(Unicode::trim(replyTo))};
}

std::size_t FeedbackForm::characters() const {
  return Unicode::graphemeClusters(std::string_view(message)).size();
}

std::optional<std::string> FeedbackForm::problem() const {
  const auto address = Unicode::trim(replyTo);
  if (!address.empty() && !Feedback::isEmail(address)) return "That email address doesn't look right.";
  if (characters() <= Feedback::kMaximumMessageCharacters) return std::nullopt;
  return "%1 of %2 characters";
}

bool FeedbackForm::canBeSent() const {
  return !Unicode::trim(message).empty() && !problem();
}

std::string FeedbackForm::failureText(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const APIError& failure) {
    if (std::holds_alternative<APIError::Transport>(failure.detail)) return "Connect to the internet and try again.";
    if (failure.server() != nullptr && failure.server()->body.code == "rate_limited") {
      return "You've sent several messages recently. Try again in an hour.";
    }
  } catch (const std::exception&) {
    return "Something went wrong. Try again later.";
  }
  return "Something went wrong. Try again later.";
}

}  // namespace quillet
