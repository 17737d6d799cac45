// SPDX-License-Identifier: MIT
#pragma once

namespace quillet {

/// Whether the desktop starts this program when the user logs in. Main thread only; nothing fails: what can't be
/// changed stays as it is, and `isEnabled` tells.
class LoginItem {
 public:
  virtual ~LoginItem() = default;
  virtual bool isEnabled() = 0;
  virtual void setEnabled(bool enabled) = 0;
};

}  // namespace quillet
