// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Target/LocalTestField.h"

namespace quillet {

LocalTestField::LocalTestField(std::function<bool()> isApplicationActive, std::function<std::int64_t()> now)
    : isApplicationActive_(std::move(isApplicationActive)), now_(std::move(now)) {}

bool LocalTestField::receive(std::string_view text) {
  if (!isFocused() || !isApplicationActive_()) return false;
  std::string all = text_.get();
  if (!all.empty() && all.back() != ' ' && all.back() != '\n') all += ' ';
  text_.set(all.append(text));
  lastReceivedAt_.set(now_());
  return true;
}

void LocalTestField::setFocused(bool focused) {
  if (focused == isFocused()) return;
  isFocused_.set(focused);
  if (onFocusChange) onFocusChange();
}

void LocalTestField::clear() {
  text_.set({});
  lastReceivedAt_.set(std::nullopt);
}

}  // namespace quillet
