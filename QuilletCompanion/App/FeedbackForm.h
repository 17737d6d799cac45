// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

namespace quillet {

/// What a person typed to write to the developer, and what to tell them about it.
struct FeedbackForm {
  std::string message, replyTo;

  /// As people count the message.
  std::size_t characters() const;
  /// What stands in the way and is to be shown; absent for an empty message, which can't be sent either. "%1" in it
  /// stands for `characters`, "%2" for how many there may be.
  std::optional<std::string> problem() const;
  bool canBeSent() const;
  /// Without white space at both ends.
  FeedbackForm trimmed() const;

  static constexpr std::string_view kSent = "Sent. Thanks for your feedback!";
  static std::string failureText(const std::exception_ptr& error);
};

}  // namespace quillet
