// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "QuilletCompanion/Platform/Linux/Typing/KeymapPlan.h"
#include "QuilletCompanion/Platform/Linux/X11/X11Connection.h"
#include "QuilletCompanion/Platform/Linux/X11/XkbKeymap.h"

namespace quillet {

/// The core keyboard of an X display: its modifiers, and key events of our own. These come from a keyboard that the
/// display keeps for XTEST beside the user's own ones. The core keyboard has the layout of the one that was used last,
/// so the layout that is read here is XTEST's. What is assigned there is assigned to the user's keyboards too, as far
/// as keys are free on them: a key that the user presses changes the core keyboard's layout while clients still look
/// ours up. Every call is a no-op that answers false or nothing once `usable` is false. Main thread only.
class X11Keyboard {
 public:
  struct Layout {
    std::map<char32_t, KeymapPlan::Place> natives;
    /// Places on keys that the layout leaves free, with the characters that we gave them.
    std::map<KeymapPlan::Place, std::optional<char32_t>> borrowable;
  };
  struct State {
    bool shortcutHeld = false;  ///< Control, Alt or Super, also locked or latched.
    unsigned level = 0;         ///< Which level the held or locked modifiers choose; once a layout was read.
    bool otherHeld = false;     ///< Another modifier that changes what the layout's keys write.
    unsigned latched = 0;       ///< X modifiers that the next key alone will have.
    bool capsLock = false;
    bool grabbed = false;    ///< Another client gets all keys, whatever has the focus.
    bool selective = false;  ///< Slow or bounce keys are on, and drop short or repeated presses, ours too.
    unsigned group = 0;
    std::set<Keycode> held;
    bool operator==(const State&) const = default;
  };

  /// Connects, and frees the keycodes that a killed run left assigned.
  explicit X11Keyboard(const std::string& display);
  ~X11Keyboard();

  /// What a window is told before and after our key events: a client message of this type whose first number is 1 or 0.
  static constexpr auto typingMessage = "_QUILLET_TYPING";
  void announceTo(unsigned long window) { witness_ = window; }

  /// False without a display, XKB or XTEST.
  bool usable() const { return connection_.hasXTest() && connection_.usable(); }
  /// As `usable`, after trying again to connect where the server had stopped answering.
  bool connect();
  State state();
  /// Whether the layout changed since the last `readLayout`, or the core keyboard may show that of another one.
  bool layoutChanged();
  /// Makes the core keyboard show XTEST's layout. True if it showed another one before: clients must notice first.
  bool becomeCurrent();
  Layout readLayout(unsigned group);
  /// Gives places of `borrowable` a character each, in one request.
  bool assign(const std::vector<KeymapPlan::Assignment>& assignments);
  /// Frees every keycode that was assigned.
  void restore();
  /// Presses and releases each key, with Caps Lock off meanwhile and nothing latched. `state` is the present one.
  /// Returns once the server has handled all of it.
  bool post(std::span<const KeymapPlan::Stroke> strokes, const State& state);

 private:
  void setUp();
  void findDevices();
  void selectEvents() const;
  void readOthers();
  bool drainEvents();
  void adoptLeftovers();
  bool isGrabbed() const;
  bool change(const std::map<Keycode, XkbKeymap::Symbols>& keys);
  void recordBorrowed();
  void announce(bool begins) const;
  void press(Keycode keycode, bool down);
  void setLevel(unsigned from, unsigned to);

  X11Connection connection_;
  int xkbEventBase_ = 0;
  unsigned device_ = 0;         ///< XTEST's keyboard, as XKB knows it.
  bool changed_ = true;         ///< Since the last `readLayout`.
  unsigned long witness_ = 0;   ///< Is told of our typing; 0 for none.
  unsigned long unmapped_ = 0;  ///< A window of ours that is never shown.
  std::unique_ptr<XkbKeymap> keymap_;
  std::vector<unsigned> otherDevices_;              ///< The user's keyboards.
  std::vector<std::unique_ptr<XkbKeymap>> others_;  ///< Theirs, where a key of ours can have as many levels.
  std::map<Keycode, XkbKeymap::Symbols> borrowed_;  ///< What we assigned.
};

}  // namespace quillet
