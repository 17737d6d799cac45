// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "QuilletCompanion/Dictation/ShortcutRecorder.h"
#include "QuilletCompanion/Dictation/ShortcutText.h"
#include "Tests/Doubles/FakeSystemKeyboard.h"
#include "Tests/Doubles/Rows.h"

namespace quillet {
namespace {

using test::FakeSystemKeyboard;
using test::rows;

constexpr auto kShift = DictationShortcut::kShift;
constexpr auto kControl = DictationShortcut::kControl;
constexpr auto kOption = DictationShortcut::kOption;
constexpr auto kCommand = DictationShortcut::kCommand;
constexpr std::uint16_t kA = 0, kZ = 6, kQ = 12, kEqual = 24, kMinus = 27, kSpace = 49, kEscape = 53, kLeftCommand = 55,
                        kLeftShift = 56, kCapsLock = 57, kLeftOption = 58, kRightOption = 61, kF5 = 96;

const std::map<std::string, std::uint64_t> kModifiers{{"⇧", kShift}, {"⌃", kControl}, {"⌥", kOption}, {"⌘", kCommand}};

class Shortcuts : public testing::Test {
 protected:
  Shortcuts() { keyboard.layout = {{kA, "q"}, {kQ, " a "}, {kZ, "ß"}, {kMinus, "  "}, {kEqual, "+"}}; }

  /// "Space" with "⌃⌥", say.
  static DictationShortcut shortcut(const std::string& key, const std::string& modifiers) {
    DictationShortcut made;
    for (const auto& [name, code] : rows<std::tuple<std::string, std::uint16_t>>("shortcuts", "keys")) {
      if (name == key) made.keyCode = code;
    }
    for (const auto& [symbol, bit] : kModifiers) made.modifiers |= modifiers.find(symbol) != modifiers.npos ? bit : 0;
    return made;
  }
  using Row = std::tuple<std::string, std::string, std::string>;

  FakeSystemKeyboard keyboard;
};

TEST_F(Shortcuts, AreCalledAsTheLayoutCallsThem) {
  for (const auto& [key, modifiers, text] : rows<Row>("shortcuts", "called")) {
    EXPECT_EQ(displayText(shortcut(key, modifiers), keyboard), text);
  }
  const Translate words = [](std::string_view text) { return "<" + std::string(text) + ">"; };
  EXPECT_EQ(displayText({kSpace, kControl | kOption}, keyboard, words), "<⌃><⌥><Space>");
  EXPECT_EQ(displayText({kA, kControl}, keyboard, words), "<⌃>Q") << "the layout's own names are no words of ours";
}

TEST_F(Shortcuts, AreReadFromWhatPeopleWrite) {
  for (const auto& [text, key, modifiers] : rows<Row>("shortcuts", "written")) {
    const auto expected = key.empty() ? std::nullopt : std::optional(shortcut(key, modifiers));
    EXPECT_EQ(shortcutFromText(text, keyboard), expected) << text;
  }
}

TEST_F(Shortcuts, ThatTheSystemNeedsOrThatWouldTakePlainKeysAreRefused) {
  for (const auto& [key, modifiers, reason] : rows<Row>("shortcuts", "refused")) {
    const auto found = refusal(shortcut(key, modifiers));
    EXPECT_EQ(found ? text(*found, keyboard) : "", reason) << key << modifiers;
    using Reason = RefusedShortcut::Reason;
    if (found) EXPECT_EQ(found->reason, reason.starts_with("Use") ? Reason::needsModifier : Reason::reserved);
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
