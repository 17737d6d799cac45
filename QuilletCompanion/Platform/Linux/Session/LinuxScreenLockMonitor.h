// SPDX-License-Identifier: MIT
#pragma once

#include <gio/gio.h>

#include <cstddef>
#include <list>
#include <optional>
#include <string>

#include "QuilletCompanion/Platform/Linux/Session/DBusSignals.h"
#include "QuilletCompanion/Target/ScreenLockMonitor.h"

namespace quillet {

/// The screen's lock as logind and the desktop's screen savers tell it. The flag follows their signals, the session's
/// own answer is what they last said when asked; both are kept current, so that asking never waits. Where they disagree
/// the screen is locked. A session in the background (another user's is in front) counts as locked. logind's request to
/// lock counts until somebody tells of an unlock. What a screen saver said is void once it is gone; logind's last word
/// stays until logind is back. Construction waits for logind for some seconds at most, without a bus not at all.
class LinuxScreenLockMonitor final : public ScreenLockMonitor {
 public:
  LinuxScreenLockMonitor();
  ~LinuxScreenLockMonitor() override;

  bool isScreenLocked() override;

 private:
  struct Saver {
    const char *name, *path;
    bool notified = false;  ///< As its signals say.
    bool active = false;    ///< As its signals say, or its answer.
  };

  /// Whether an answer of logind is waited for, or comes from the main loop.
  enum class Asking { now, later };

  void ask(Asking asking, const std::string& object, const char* interface, const char* method, GVariant* arguments,
           DBusSignals::Reply reply) const;
  void look(Asking asking);
  void lookAgain();
  /// From the `attempt`-th question on. `other` is a session that will do if no graphical one is found, or empty.
  void findSession(Asking asking, std::size_t attempt, const std::string& other);
  void adoptIfGraphical(Asking asking, const std::string& path, std::size_t attempt, const std::string& other);
  void adoptSession(Asking asking, const std::string& path);
  void watchSession();
  void askSession(Asking asking);
  void watch(Saver& saver);
  void takeProperties(GVariant* reply);
  void propertiesChanged(GVariant* properties);
  void saverChanged(Saver& saver, bool active);
  void logindAppeared();
  bool anyNotified() const;
  /// Sets the flag by what all sources notified.
  void notified();
  /// Runs `change` and tells if the answer is another one afterwards.
  template <typename Change>
  void answer(Change change);

  bool lockedHint_ = false, hintNotified_ = false;
  bool active_ = true;
  bool lockRequested_ = false;
  std::optional<std::string> session_;
  int looksLeft_ = 0;    ///< How often logind is asked again that knows no session of ours, or doesn't answer.
  guint lookTimer_ = 0;  ///< A GLib source, or 0.
  std::list<Saver> savers_;
  DBusSignals systemBus_{G_BUS_TYPE_SYSTEM};
  DBusSignals sessionBus_{G_BUS_TYPE_SESSION};
};

}  // namespace quillet
