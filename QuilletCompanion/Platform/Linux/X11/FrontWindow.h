// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "QuilletCompanion/Platform/Linux/X11/X11Connection.h"
#include "QuilletCompanion/Target/AccessibilityProvider.h"

class QSocketNotifier;
union _XEvent;

namespace quillet {

/// A window by its X id.
class WindowHandle final : public ElementHandle {
 public:
  explicit WindowHandle(unsigned long id) : id_(id) {}
  bool isSame(const ElementHandle& other) const override;

 private:
  unsigned long id_;
};

/// The window that the window manager calls active. Main thread only; construct after QCoreApplication.
class FrontWindow {
 public:
  struct Owner {
    unsigned long window = 0;
    std::int32_t pid = 0;
    std::string id;           ///< The application's id; empty if the window names none.
    std::string windowClass;  ///< As the window spells it; may be empty.
  };

  /// Looks at `display`, or at the environment's if it is empty.
  explicit FrontWindow(const std::string& display = {});
  ~FrontWindow();
  FrontWindow(const FrontWindow&) = delete;
  FrontWindow& operator=(const FrontWindow&) = delete;

  /// Called from the event loop after another window, or none, became active, or the active one went away.
  std::function<void()> onChange;

  /// Absent without an active window or a display, when it went away meanwhile, and when it doesn't tell its process.
  std::optional<Owner> owner();
  /// Whether another client gets all keys. False without a display.
  bool isKeyboardTaken() const;

 private:
  std::optional<unsigned long> number(unsigned long window, unsigned long property, unsigned long type) const;
  std::string text(unsigned long window, unsigned long property) const;
  void identify(Owner& owner) const;
  bool connect();
  void setUp();
  void watch();
  void followActive();
  bool isChange(const _XEvent& event) const;
  bool isNewName(const _XEvent& event) const;
  std::optional<Owner> look();
  bool isUnchanged() const;
  void readEvents();

  X11Connection connection_;
  unsigned long activeWindow_ = 0, windowPID_ = 0, gtkApplicationId_ = 0, utf8String_ = 0;
  unsigned long unmapped_ = 0;  ///< A window of ours that is never shown.
  unsigned long followed_ = 0;  ///< The window whose end and properties we are told of.
  Owner last_;
  bool current_ = false;  ///< No event since `last_` was looked up.
  QObject context_;
  QSocketNotifier* notifier_ = nullptr;
};

}  // namespace quillet
