// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QTimer>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "QuilletCompanion/Dictation/SystemKeyboard.h"
#include "QuilletCompanion/Platform/Linux/Hotkeys/PresentKeymap.h"
#include "QuilletCompanion/Platform/Linux/X11/X11Connection.h"

class QSocketNotifier;
union _XEvent;

namespace quillet {

/// The keyboard of an X display. Hot keys are grabbed for this process alone, which the server undoes however the
/// process ends; other keys are told of without a grab. Nothing is asked of the server before the first call, and it
/// tells nothing while no key is pressed. Construct after QCoreApplication.
class X11SystemKeyboard final : public SystemKeyboard {
 public:
  /// Connects to `display`, or to the environment's if it is empty. Without one every call fails.
  explicit X11SystemKeyboard(const std::string& display = {});
  ~X11SystemKeyboard() override;

  HotKey registerHotKey(const DictationShortcut& shortcut, std::function<void(bool)> onChange) override;
  std::unique_ptr<Taken> followKeys(OnKey onKey) override;
  /// Other programs get no keys meanwhile, unless one of them has the whole keyboard already.
  std::unique_ptr<Taken> captureKeys(OnKey onKey) override;
  std::optional<std::string> keyText(std::uint16_t keyCode) const override;

  /// The window that programs tell when they type on this display by XTEST, so that their keys don't count. 0 without a
  /// display.
  unsigned long typingWitness() const { return witness_; }

 private:
  struct Grab {
    Keycode keycode = 0;
    unsigned modifiers = 0;       ///< Of X.
    std::vector<unsigned> locks;  ///< The variants that were grabbed.
    std::function<void(bool)> onChange;
  };
  struct Listener {
    OnKey onKey;
    bool captures = false;
  };
  struct Key {
    Keycode keycode = 0;
    bool pressed = false;
    int source = 0;  ///< The device; 0 if not told.
    unsigned long time = 0;
  };
  class TakenGrab;
  class TakenListener;

  void setUp();
  bool isReady();
  const PresentKeymap* keymapNow() const;
  int grab(const Grab& wanted);
  int probe(const Grab& wanted) const;
  void ungrab(const Grab& grab) const;
  std::unique_ptr<Taken> listen(Listener listener);
  void listenersChanged();
  void selectRawKeys(bool on) const;
  void readHeldKeys();

  void readEvents();
  void readSoon() const;
  void handle(_XEvent& event);
  void handleGrabbed(const _XEvent& event);
  void handleKey(const Key& key);
  bool isOurTyping(int source);
  void forgetStale(const Key& now);
  void tell(const KeyEvent& event);
  void adoptKeymap();

  X11Connection connection_;
  unsigned long witness_ = 0, typingMessage_ = 0;
  int xkbEvent_ = 0, xinput_ = 0;
  bool following_ = false, capturing_ = false;
  bool typing_ = false;        ///< Keys of XTEST are our own.
  std::map<int, bool> xtest_;  ///< Devices that were asked about.
  std::set<Keycode> down_;     ///< While following.
  unsigned long lastKeyTime_ = 0;
  std::map<unsigned, Grab> grabs_;  ///< By number.
  std::map<unsigned, Listener> listeners_;
  unsigned lastNumber_ = 0;
  mutable std::unique_ptr<PresentKeymap> present_;  ///< Read at first need.
  mutable QObject context_;
  QTimer settle_;  ///< A keymap comes in many pieces.
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace quillet
