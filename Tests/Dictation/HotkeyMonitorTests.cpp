// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/HotkeyMonitor.h"

#include "Tests/Doubles/FakeSystemKeyboard.h"
#include "Tests/Doubles/LogCapture.h"

namespace quillet {
namespace {

using test::FakeSystemKeyboard;
using Role = HotkeyMonitor::Role;
using Events = std::vector<HotkeyEvent>;
using enum HotkeyEvent;

constexpr std::uint16_t kA = 0, kS = 1, kSpace = 49, kEscape = 53, kLeftShift = 56, kCapsLock = 57, kLeftOption = 58,
                        kLeftControl = 59, kRightOption = 61;
constexpr DictationShortcut kControlOptionSpace{kSpace, DictationShortcut::kControl | DictationShortcut::kOption};
constexpr DictationShortcut kLoneRightOption{kRightOption};

class HotkeyMonitorTest : public testing::Test {
 protected:
  HotkeyMonitorTest() {
    monitor.onEvent = [this](HotkeyEvent event) { events_.push_back(event); };
  }
  /// Those since the last call.
  Events told() { return std::exchange(events_, {}); }

  FakeSystemKeyboard keyboard;
  HotkeyMonitor monitor{keyboard};

 private:
  Events events_;
};

/// Letters stand for keys, upper case for a press and lower case for a release: the shortcut (O), Shift (S), another
/// modifier (C), Caps Lock (L) and an ordinary key (K).
struct LoneModifierRow {
  const char* keys;
  Events asHold, asToggle;
};

TEST_F(HotkeyMonitorTest, AModifierKeyCountsOnlyWhileItIsAlone) {
  const std::map<char, std::uint16_t> codes{
      {'O', kRightOption}, {'S', kLeftShift}, {'C', kLeftControl}, {'L', kCapsLock}, {'K', kA}};
  const LoneModifierRow rows[] = {
      {"Oo", {holdDown, holdUp}, {toggle}},
      {"OKkKko", {holdDown, holdInterrupted}, {}},
      {"OSso", {holdDown, holdInterrupted}, {}},
      {"OSCKksco", {holdDown, holdInterrupted}, {}},
      {"SOos", {}, {}},
      {"SOsKko", {}, {}},
      {"OLlo", {holdDown, holdUp}, {toggle}},
      {"KOko", {holdDown, holdUp}, {toggle}},
      {"SsKkOo", {holdDown, holdUp}, {toggle}},
      {"OKkoOo", {holdDown, holdInterrupted, holdDown, holdUp}, {toggle}},
  };
  for (const auto& row : rows) {
    for (const bool hold : {true, false}) {
      hold ? monitor.configure(std::nullopt, kLoneRightOption) : monitor.configure(kLoneRightOption, std::nullopt);
      for (const char key : std::string_view(row.keys)) {
        const auto upper = static_cast<char>(key & ~0x20);
        key == upper ? keyboard.press(codes.at(upper)) : keyboard.release(codes.at(upper));
      }
      EXPECT_EQ(told(), hold ? row.asHold : row.asToggle) << row.keys;
    }
  }
}

TEST_F(HotkeyMonitorTest, OneModifierKeyServesBothRoles) {
  monitor.configure(kLoneRightOption, kLoneRightOption);
  keyboard.press(kRightOption);
  EXPECT_EQ(told(), Events{holdDown});
  keyboard.release(kRightOption);
  EXPECT_EQ(told(), (Events{toggle, holdUp}));
  keyboard.tap(kLeftOption);
  EXPECT_EQ(told(), Events{});
}

TEST_F(HotkeyMonitorTest, ACombinationTellsItsPressOnceHoweverOftenItRepeats) {
  for (const bool hold : {true, false}) {
    hold ? monitor.configure(std::nullopt, kControlOptionSpace) : monitor.configure(kControlOptionSpace, std::nullopt);
    keyboard.press(kLeftControl);
    keyboard.press(kLeftOption);
    for (int repeats = 0; repeats < 3; ++repeats) keyboard.press(kSpace);
    EXPECT_EQ(told(), Events{hold ? holdDown : toggle});
    keyboard.release(kLeftControl);
    keyboard.release(kLeftOption);
    keyboard.release(kSpace);
    EXPECT_EQ(told(), hold ? Events{holdUp} : Events{});
  }
}

TEST_F(HotkeyMonitorTest, EscapeIsOursOnlyWhileAsked) {
  monitor.configure(kControlOptionSpace, kLoneRightOption);
  keyboard.tap(kEscape);
  EXPECT_EQ(told(), Events{});
  monitor.setCancelActive(true);
  monitor.setCancelActive(true);
  EXPECT_EQ(keyboard.hotKeys().size(), 2U);
  keyboard.tap(kEscape);
  EXPECT_EQ(told(), Events{cancel});
  monitor.configure(std::nullopt, std::nullopt);
  keyboard.tap(kEscape);
  EXPECT_EQ(told(), Events{cancel}) << "shortcuts that change leave it alone";
  monitor.setCancelActive(false);
  keyboard.tap(kEscape);
  EXPECT_EQ(told(), Events{});
  EXPECT_TRUE(keyboard.hotKeys().empty());
}

TEST_F(HotkeyMonitorTest, ANewKeymapRegistersAnewAndLosesNoRelease) {
  auto& log = test::LogCapture::instance();
  log.expect("Shortcut for toggle unavailable: 10");
  constexpr DictationShortcut optionS{kS, DictationShortcut::kOption};
  int changes = 0;
  monitor.onUnavailableChange = [&] { ++changes; };
  monitor.configure(kControlOptionSpace, optionS);
  keyboard.press(kLeftOption);
  keyboard.press(kS);
  EXPECT_EQ(told(), Events{holdDown});
  keyboard.othersHave = {kControlOptionSpace};
  keyboard.keymap.set(1);
  EXPECT_EQ(monitor.unavailable(), std::set{Role::toggle});
  EXPECT_EQ(changes, 1);
  keyboard.release(kS);
  EXPECT_EQ(told(), Events{holdUp});
  keyboard.othersHave.clear();
  keyboard.keymap.set(2);
  EXPECT_EQ(monitor.unavailable(), std::set<Role>{});
  EXPECT_EQ(changes, 2);
  EXPECT_EQ(keyboard.hotKeys().size(), 2U);
}

TEST_F(HotkeyMonitorTest, WhoeverGetsAnEventMayChangeTheShortcuts) {
  int events = 0;
  monitor.onEvent = [&](HotkeyEvent) {
    ++events;
    monitor.configure(std::nullopt, std::nullopt);
  };
  monitor.configure(kLoneRightOption, kLoneRightOption);
  keyboard.tap(kRightOption);
  monitor.configure(kControlOptionSpace, std::nullopt);
  keyboard.press(kLeftControl);
  keyboard.press(kLeftOption);
  keyboard.press(kSpace);
  EXPECT_EQ(events, 2);
}

}  // namespace
}  // namespace quillet
