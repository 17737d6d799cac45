// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "QuilletCompanion/Platform/Linux/Typing/TypingObservation.h"
#include "QuilletCompanion/Target/AccessibilityProvider.h"
#include "QuilletKit/Async/Clock.h"

namespace quillet {

/// Types text into whatever has the X focus, as key events of its own display connection. Characters of the present
/// layout come from their own keys; others from keys that the layout leaves free, which are given symbols for a while.
/// Clients look a key up when they handle its event, so a place on a key gets a new symbol only once the target has
/// taken up what was typed with the old one. Main thread only.
class KeyTypist {
 public:
  using Observation = TypingObservation;
  using CountUnit = Observation::CountUnit;
  /// Looks at the target; absent when it can't be read, which stops the typing. Called every 2 ms or so while waiting.
  using Progress = std::function<std::optional<Observation>()>;

  /// Opens `display`, or the environment's if it is empty, and frees keys that a killed run left assigned. Where
  /// no display can be opened every call of `type` gives false.
  explicit KeyTypist(const std::string& display = {});
  /// Gives the borrowed keys back.
  ~KeyTypist();
  KeyTypist(const KeyTypist&) = delete;
  KeyTypist& operator=(const KeyTypist&) = delete;

  /// The next chunk is the first of a text: what became of an earlier one doesn't stop it.
  void beginText();

  /// Posts 1 to 20 units as presses and releases with no delay. Before that it waits until most of what was typed
  /// earlier has arrived, and all of it whose keys are needed anew. A target that is slow but alive may fall behind a
  /// little. Nothing is posted for a count outside that, a control character, a lone surrogate, a held Control, Alt or
  /// Super, a keyboard that another program has grabbed, slow or bounce keys, a character without a free key, a target
  /// that has lost what was typed before, or a connection that is gone. By `deadline` it returns, having posted what it
  /// could: the rest can be typed later where the target doesn't answer or has fallen behind too far.
  TypedUnits type(std::u16string_view units, const Progress& progress, MonotonicTime deadline);

  /// From now on tells a window of the same display before and after our keys; see X11Keyboard::typingMessage.
  void announceTo(unsigned long window);

  /// Gives the borrowed keys back now. Otherwise that happens some seconds after the last chunk, if a Qt event
  /// loop runs, and on destruction.
  void restoreKeymap();

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace quillet
