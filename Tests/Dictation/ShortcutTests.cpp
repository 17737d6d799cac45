// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "QuilletCompanion/Dictation/ShortcutRecorder.h"
#include "QuilletCompanion/Dictation/ShortcutText.h"
#include "Tests/Doubles/FakeSystemKeyboard.h"

namespace quillet {
namespace {

using test::FakeSystemKeyboard;

constexpr auto kShift = DictationShortcut::kShift;
constexpr auto kControl = DictationShortcut::kControl;
constexpr auto kOption = DictationShortcut::kOption;
constexpr auto kCommand = DictationShortcut::kCommand;
constexpr std::uint16_t kA = 0, kZ = 6, kQ = 12, k3 = 20, kEqual = 24, kMinus = 27, kTab = 48, kSpace = 49,
                        kEscape = 53, kLeftCommand = 55, kLeftShift = 56, kCapsLock = 57, kLeftOption = 58,
                        kRightOption = 61, kF5 = 96, kF20 = 90, kUp = 126;

class Shortcuts : public testing::Test {
 protected:
  Shortcuts() { keyboard.layout = {{kA, "q"}, {kQ, " a "}, {kZ, "ß"}, {kMinus, "  "}, {kEqual, "+"}}; }

  FakeSystemKeyboard keyboard;
};

TEST_F(Shortcuts, AreCalledAsTheLayoutCallsThem) {
  const struct {
    DictationShortcut shortcut;
    const char* text;
  } rows[] = {
      {{kSpace, kControl | kOption}, "⌃⌥Space"},
      {{kA, kControl | kOption | kShift | kCommand}, "⌃⌥⇧⌘Q"},
      {{kQ, kCommand}, "⌘A"},
      {{kZ, kOption}, "⌥SS"},
      {{kMinus, kOption}, "⌥Key 27"},
      {{10, 0}, "Key 10"},
      {{kUp, kShift}, "⇧↑"},
      {{kF20, 0}, "F20"},
      {{kRightOption, 0}, "Right ⌥"},
      {{63, 0}, "fn"},
      {{kCapsLock, 0}, "Key 57"},
  };
  for (const auto& row : rows) EXPECT_EQ(displayText(row.shortcut, keyboard), row.text);
  const Translate words = [](std::string_view text) { return "<" + std::string(text) + ">"; };
  EXPECT_EQ(displayText({kSpace, kControl | kOption}, keyboard, words), "<⌃><⌥><Space>");
  EXPECT_EQ(displayText({kA, kControl}, keyboard, words), "<⌃>Q") << "the layout's own names are no words of ours";
}

TEST_F(Shortcuts, AreReadFromWhatPeopleWrite) {
  const struct {
    const char* text;
    std::optional<DictationShortcut> shortcut;
  } rows[] = {
      {"ctrl+alt+space", DictationShortcut{kSpace, kControl | kOption}},
      {" Super + Q ", DictationShortcut{kA, kCommand}},
      {"⌃⌥Space", DictationShortcut{kSpace, kControl | kOption}},
      {"⇧⌘↑", DictationShortcut{kUp, kShift | kCommand}},
      {"shift alt up", DictationShortcut{kUp, kShift | kOption}},
      {"ctrl++", DictationShortcut{kEqual, kControl}},
      {"option+ß", DictationShortcut{kZ, kOption}},
      {"f5", DictationShortcut{kF5, 0}},
      {"right alt", DictationShortcut{kRightOption, 0}},
      {"Left Super", DictationShortcut{kLeftCommand, 0}},
      {"fn", DictationShortcut{63, 0}},
      {"left", DictationShortcut{123, 0}},
      {"", std::nullopt},
      {"ctrl", std::nullopt},
      {"ctrl+fn", std::nullopt},
      {"ctrl+a+q", std::nullopt},
      {"right space", std::nullopt},
      {"hyper+a", std::nullopt},
  };
  for (const auto& row : rows) EXPECT_EQ(shortcutFromText(row.text, keyboard), row.shortcut) << row.text;
}

TEST_F(Shortcuts, ThatTheSystemNeedsOrThatWouldTakePlainKeysAreRefused) {
  using Reason = RefusedShortcut::Reason;
  constexpr const char* needsModifier = "Use ⌘, ⌃ or ⌥ with that key, or a modifier key on its own.";
  const struct {
    DictationShortcut shortcut;
    std::optional<Reason> reason;
    const char* text = "";
  } rows[] = {
      {{12, kCommand}, Reason::reserved, "macOS already uses ⌘A."},
      {{12, kCommand | kOption}, {}},
      {{12, kControl}, {}},
      {{50, kCommand}, Reason::reserved, "macOS already uses ⌘Key 50."},
      {{k3, kCommand | kShift}, Reason::reserved, "macOS already uses ⇧⌘Key 20."},
      {{k3, kCommand}, {}},
      {{22, kCommand | kShift}, {}},
      {{kTab, kCommand | kShift | kControl}, Reason::reserved, "macOS already uses ⌃⇧⌘⇥."},
      {{kTab, kControl}, {}},
      {{kSpace, kCommand}, Reason::reserved, "macOS already uses ⌘Space."},
      {{kSpace, kControl}, Reason::reserved, "macOS already uses ⌃Space."},
      {{kSpace, kCommand | kOption}, Reason::reserved, "macOS already uses ⌥⌘Space."},
      {{kSpace, kControl | kOption}, {}},
      {{kSpace, kOption}, {}},
      {{kA, 0}, Reason::needsModifier, needsModifier},
      {{kA, kShift}, Reason::needsModifier, needsModifier},
      {{kSpace, kShift}, Reason::needsModifier, needsModifier},
      {{kF5, 0}, {}},
      {{kF20, kShift}, {}},
      {{kRightOption, 0}, {}},
      {{63, 0}, {}},
      {{kEscape, kOption}, {}},
  };
  for (const auto& row : rows) {
    const auto found = refusal(row.shortcut);
    const auto name = displayText(row.shortcut, keyboard);
    ASSERT_EQ(found.has_value(), row.reason.has_value()) << name;
    if (!found) continue;
    EXPECT_EQ(found->reason, *row.reason) << name;
    EXPECT_EQ(text(*found, keyboard), row.text);
  }
}

class Recorder : public Shortcuts {
 protected:
  Recorder() {
    recorder.onChange = [this](DictationShortcut shortcut) {
      EXPECT_FALSE(recorder.recording().get());
      changes.push_back(shortcut);
    };
  }

  std::vector<bool> pauses;
  std::vector<DictationShortcut> changes;
  ShortcutRecorder recorder{keyboard, [this](bool paused) { pauses.push_back(paused); }};
};

TEST_F(Recorder, TakesTheKeyboardOnlyWhileItRecords) {
  EXPECT_FALSE(keyboard.captured());
  recorder.begin();
  recorder.begin();
  EXPECT_TRUE(keyboard.captured());
  EXPECT_TRUE(recorder.recording().get());
  keyboard.tap(kCapsLock);
  keyboard.tap(kA);
  EXPECT_TRUE(recorder.problem().get());
  recorder.end();
  recorder.end();
  EXPECT_FALSE(keyboard.captured());
  keyboard.tap(kF5);
  EXPECT_EQ(pauses, (std::vector{true, false}));
  EXPECT_TRUE(changes.empty());
  recorder.begin();
  EXPECT_FALSE(recorder.problem().get());
  keyboard.tap(kEscape);
  EXPECT_FALSE(recorder.recording().get());
  EXPECT_TRUE(changes.empty());
  {
    ShortcutRecorder other(keyboard, [this](bool paused) { pauses.push_back(paused); });
    other.begin();
  }
  EXPECT_FALSE(keyboard.captured());
  EXPECT_EQ(pauses, (std::vector{true, false, true, false, true, false}));
}

TEST_F(Recorder, GoesOnAfterARefusalAndTakesTheNextKey) {
  recorder.begin();
  keyboard.press(kLeftCommand);
  keyboard.tap(kSpace);
  keyboard.release(kLeftCommand);
  ASSERT_TRUE(recorder.problem().get());
  EXPECT_EQ(text(*recorder.problem().get(), keyboard), "macOS already uses ⌘Space.");
  EXPECT_TRUE(recorder.recording().get());
  keyboard.press(kLeftOption);
  keyboard.tap(kEscape);
  EXPECT_EQ(changes, (std::vector<DictationShortcut>{{kEscape, kOption}}));
  EXPECT_FALSE(recorder.problem().get());
  keyboard.release(kLeftOption);
  EXPECT_EQ(changes.size(), 1U);
}

TEST_F(Recorder, TakesAModifierKeyWhenItIsLetGoAndWasAlone) {
  recorder.begin();
  keyboard.press(kLeftCommand);
  keyboard.press(kLeftShift);
  keyboard.release(kLeftShift);
  keyboard.release(kLeftCommand);
  EXPECT_TRUE(changes.empty());
  keyboard.press(kRightOption);
  keyboard.tap(kCapsLock);
  EXPECT_TRUE(changes.empty());
  keyboard.release(kRightOption);
  EXPECT_EQ(changes, (std::vector<DictationShortcut>{{kRightOption, 0}}));
  recorder.begin();
  keyboard.press(kRightOption);
  keyboard.tap(kLeftShift);
  keyboard.release(kRightOption);
  EXPECT_TRUE(recorder.recording().get());
}

}  // namespace
}  // namespace quillet
