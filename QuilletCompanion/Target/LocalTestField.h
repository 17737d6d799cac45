// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "QuilletCompanion/Target/TargetGuard.h"
#include "QuilletKit/Base/Observable.h"

namespace quillet {

/// The field inside this application in which a person sees text arrive, even before accessibility is granted. The
/// front end shows it and mirrors the keyboard focus into it. Main thread only.
class LocalTestField final : public LocalTestTarget {
 public:
  /// `now` in milliseconds since 1970.
  LocalTestField(std::function<bool()> isApplicationActive, std::function<std::int64_t()> now);

  /// Runs when `isFocused` changes.
  std::function<void()> onFocusChange;

  bool isFocused() const override { return isFocused_.get(); }
  /// Keeps what stands there, with a blank between, unless it ends in a space or a newline.
  bool receive(std::string_view text) override;

  void setFocused(bool focused);
  /// What the person typed or erased in the field.
  void setText(std::string text) { text_.set(std::move(text)); }
  /// Empties the field and forgets the time of receipt.
  void clear();

  const Observable<std::string>& text() const { return text_; }
  const Observable<bool>& focused() const { return isFocused_; }
  /// Milliseconds since 1970; absent until something was received.
  const Observable<std::optional<std::int64_t>>& lastReceivedAt() const { return lastReceivedAt_; }

 private:
  std::function<bool()> isApplicationActive_;
  std::function<std::int64_t()> now_;
  Observable<std::string> text_;
  Observable<bool> isFocused_{false};
  Observable<std::optional<std::int64_t>> lastReceivedAt_;
};

}  // namespace quillet
