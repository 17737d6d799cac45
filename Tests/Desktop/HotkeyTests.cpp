// SPDX-License-Identifier: MIT
#include <sys/wait.h>
#include <unistd.h>

#include "QuilletCompanion/Dictation/HotkeyMonitor.h"
#include "QuilletCompanion/Dictation/ShortcutRecorder.h"
#include "QuilletCompanion/Dictation/ShortcutText.h"
#include "QuilletCompanion/Platform/Linux/Hotkeys/KeyPlaces.h"
#include "QuilletCompanion/Platform/Linux/Hotkeys/X11SystemKeyboard.h"
#include "QuilletCompanion/Platform/Linux/Typing/KeyTypist.h"
#include "Tests/Desktop/Editor.h"
#include "Tests/Doubles/LogCapture.h"
// The macros of its own headers must come last.
#include <X11/extensions/XInput2.h>

#include "Tests/Desktop/DisplayKeyboard.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
using Role = HotkeyMonitor::Role;
using Events = std::vector<HotkeyEvent>;
using enum HotkeyEvent;

// Keycodes.
constexpr unsigned xEscape = 9, xControl = 37, xA = 38, xShift = 50, xAlt = 64, xSpace = 65, xCapsLock = 66, xF5 = 71,
                   xNumLock = 77, xRightAlt = 108, xSuper = 133, xF13 = 191;
constexpr std::uint16_t kSpace = 49, kY = 16, kF5 = 96, kF13 = 105, kRightOption = 61, kRightShift = 60;
constexpr DictationShortcut kControlOptionSpace{kSpace, DictationShortcut::kControl | DictationShortcut::kOption};

void setKeymap(const QStringList& arguments) {
  ASSERT_EQ(QProcess::execute("setxkbmap", arguments), 0);
}

class Hotkeys : public testing::Test {
 protected:
  Hotkeys() {
    monitor.onEvent = [this](HotkeyEvent event) { events.push_back(event); };
  }
  ~Hotkeys() override {
    for (const unsigned key : {xControl, xA, xShift, xAlt, xSpace, xRightAlt, xSuper, xEscape, xF5})
      display.release(key);
    setKeymap({"us", "-option", ""});
  }
  /// Those that came before the one that F13 makes, which must be a shortcut.
  Events told() {
    display.tap(xF13);
    EXPECT_TRUE(eventually([this] { return !events.empty() && events.back() == toggle; }));
    events.pop_back();
    return std::exchange(events, {});
  }
  void pressAll(std::initializer_list<unsigned> keys) {
    for (const unsigned key : keys) display.press(key);
    for (auto key = std::rbegin(keys); key != std::rend(keys); ++key) display.release(*key);
  }

  const DisplayKeyboard display;
  X11SystemKeyboard keyboard;
  HotkeyMonitor monitor{keyboard};
  Events events;
};

TEST_F(Hotkeys, EveryPlaceHasOneKeyAndEveryKeyOnePlace) {
  for (unsigned code = 8; code < 256; ++code) {
    const auto keycode = static_cast<std::uint8_t>(code);
    EXPECT_EQ(KeyPlaces::keycode(KeyPlaces::virtualCode(keycode)), keycode);
  }
  EXPECT_FALSE(KeyPlaces::keycode(52));
  const std::pair<std::uint16_t, const char*> names[] = {
      {0, "A"},  {6, "Z"},  {12, "Q"},  {50, "`"}, {18, "1"}, {29, "0"},   {43, ","},    {36, "↩"},
      {53, "⎋"}, {51, "⌫"}, {117, "⌦"}, {83, "1"}, {67, "*"}, {122, "F1"}, {111, "F12"}, {0x17f, "PAUSE"}};
  for (const auto& [code, name] : names) EXPECT_EQ(displayText({code}, keyboard), name) << code;
}

TEST_F(Hotkeys, AModifierThatIsHeldAsLongAsASentenceIsStillLetGo) {
  monitor.configure(DictationShortcut{kF13}, DictationShortcut{kRightOption});
  display.press(xRightAlt);
  EXPECT_TRUE(eventually([&] { return events == Events{holdDown}; }));
  EXPECT_FALSE(eventually([&] { return events.size() > 1; }, 1s));
  display.release(xRightAlt);
  EXPECT_EQ(told(), (Events{holdDown, holdUp}));
}

TEST_F(Hotkeys, ACombinationIsOursWhateverIsLockedAndTellsItsPressOnce) {
  monitor.configure(DictationShortcut{kF13}, kControlOptionSpace);
  for (const unsigned lock : {0U, xNumLock, xCapsLock}) {
    if (lock != 0) display.tap(lock);
    for (const unsigned key : {xControl, xAlt, xSpace}) display.press(key);
    EXPECT_TRUE(eventually([&] { return events == Events{holdDown}; })) << lock;
    // Longer than it takes the display to repeat the key, and for that to be told.
    EXPECT_FALSE(eventually([&] { return events.size() > 1; }, 1s));
    for (const unsigned key : {xControl, xAlt, xSpace}) display.release(key);
    EXPECT_EQ(told(), (Events{holdDown, holdUp})) << lock;
    pressAll({xShift, xControl, xAlt, xSpace});
    pressAll({xControl, xSpace});
    EXPECT_EQ(told(), Events{}) << lock;
    if (lock != 0) display.tap(lock);
  }
}

TEST_F(Hotkeys, LoneModifiersAreToldApartOnAnyLayoutAndOnlyWhenAlone) {
  for (const char* const layout : {"us", "de"}) {
    setKeymap({layout});
    monitor.configure(DictationShortcut{kF13}, DictationShortcut{kRightOption});
    display.tap(xAlt);
    display.tap(xRightAlt);
    EXPECT_EQ(told(), (Events{holdDown, holdUp})) << layout;
    pressAll({xRightAlt, xA});
    EXPECT_EQ(told(), (Events{holdDown, holdInterrupted})) << layout;
    pressAll({xShift, xRightAlt});
    EXPECT_EQ(told(), Events{}) << layout;
  }
  display.press(xShift);
  monitor.configure(DictationShortcut{kF13}, std::nullopt);
  monitor.configure(DictationShortcut{kF13}, DictationShortcut{kRightOption});
  display.tap(xRightAlt);
  display.release(xShift);
  EXPECT_EQ(told(), Events{}) << "what was down before counts, too";
}

TEST_F(Hotkeys, OtherProgramsGetEscapeUnlessADictationRuns) {
  monitor.configure(DictationShortcut{kF13}, std::nullopt);
  X11SystemKeyboard other;
  EXPECT_EQ(other.registerHotKey({53}, [](bool) {}).error, 0);
  monitor.setCancelActive(true);
  EXPECT_EQ(other.registerHotKey({53}, [](bool) {}).error, BadAccess);
  display.tap(xEscape);
  EXPECT_EQ(told(), Events{cancel});
  monitor.setCancelActive(false);
  EXPECT_EQ(other.registerHotKey({53}, [](bool) {}).error, 0);
}

TEST_F(Hotkeys, EscapeAlsoCancelsWhileAHoldCombinationIsDown) {
  monitor.configure(DictationShortcut{kF13}, DictationShortcut{kF5});
  monitor.setCancelActive(true);
  display.press(xF5);
  display.tap(xA);
  display.tap(xEscape);
  display.release(xF5);
  EXPECT_EQ(told(), (Events{holdDown, cancel, holdUp}));
}

TEST_F(Hotkeys, ModifiersLetGoDuringACombinationAreNotTakenForHeld) {
  monitor.configure(DictationShortcut{kF13, DictationShortcut::kControl}, DictationShortcut{kRightOption});
  display.press(xControl);
  display.press(xF13);
  display.release(xControl);
  display.release(xF13);
  display.tap(xRightAlt);
  EXPECT_TRUE(eventually([&] { return events == Events{toggle, holdDown, holdUp}; }));
}

TEST_F(Hotkeys, WhatAnotherProgramGrabbedIsUnavailable) {
  LogCapture::instance().expect("Shortcut for hold unavailable: 10");
  auto* const other = XOpenDisplay(nullptr);
  const auto root = DefaultRootWindow(other);
  XGrabKey(other, xF5, LockMask, root, False, GrabModeAsync, GrabModeAsync);
  XSync(other, False);
  monitor.configure(DictationShortcut{kF13}, DictationShortcut{kF5});
  EXPECT_EQ(monitor.unavailable(), std::set{Role::hold});
  XUngrabKey(other, xF5, LockMask, root);
  XSync(other, False);
  monitor.configure(DictationShortcut{kF13}, DictationShortcut{kF5});
  EXPECT_EQ(monitor.unavailable(), std::set<Role>{});
  monitor.configure(DictationShortcut{kF13}, std::nullopt);

  int major = 2, minor = 2;
  XIQueryVersion(other, &major, &minor);
  XIGrabModifiers none{};
  std::array<unsigned char, 4> bits{};
  XIEventMask mask{XIAllMasterDevices, bits.size(), bits.data()};
  ASSERT_EQ(
      XIGrabKeycode(other, XIAllMasterDevices, xF5, root, XIGrabModeAsync, XIGrabModeAsync, False, &mask, 1, &none), 0);
  XSync(other, False);
  monitor.configure(DictationShortcut{kF13}, DictationShortcut{kF5});
  EXPECT_EQ(monitor.unavailable(), std::set{Role::hold}) << "grabbed by XInput";
  XCloseDisplay(other);
  monitor.configure(DictationShortcut{kF13}, DictationShortcut{kF5});
  EXPECT_EQ(told(), Events{});
}

TEST_F(Hotkeys, NothingStaysGrabbedWhenAProgramIsKilled) {
  std::array<int, 2> grabbed{};
  ASSERT_EQ(pipe(grabbed.data()), 0);
  const pid_t child = fork();
  if (child == 0) {
    X11SystemKeyboard doomed;
    const auto hotKey = doomed.registerHotKey({kF5}, [](bool) {});
    const auto all = doomed.captureKeys([](const KeyEvent&) {});
    const char error = static_cast<char>(hotKey.error);
    (void)!write(grabbed[1], &error, 1);
    pause();
  }
  char error = 1;
  ASSERT_EQ(read(grabbed[0], &error, 1), 1);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(keyboard.registerHotKey({kF5}, [](bool) {}).error, BadAccess);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_TRUE(eventually([&] { return keyboard.registerHotKey({kF5}, [](bool) {}).error == 0; }));
  EXPECT_TRUE(eventually([&] { return display.grabKeyboard() == GrabSuccess; }));
  display.ungrabKeyboard();
}

TEST_F(Hotkeys, WhatWeTypeIsNoKeyPress) {
  setKeymap({"de"});
  KeyTypist typist;
  typist.announceTo(keyboard.typingWitness());
  monitor.configure(DictationShortcut{kF13}, DictationShortcut{kRightOption});
  std::int64_t typed = 0;
  const auto type = [&](std::u16string_view text) {
    // As if the target had taken everything up at each look.
    const auto look = [&] { return KeyTypist::Observation{.characters = typed += std::ssize(text)}; };
    return typist.type(text, look, std::chrono::steady_clock::now() + 5s);
  };
  EXPECT_TRUE(type(u"Das @ und der €"));
  EXPECT_EQ(told(), Events{});
  display.tap(xRightAlt);
  EXPECT_EQ(told(), (Events{holdDown, holdUp})) << "another program's keys count";

  monitor.configure(DictationShortcut{kF13}, DictationShortcut{kRightShift});
  display.press(62);
  EXPECT_TRUE(type(u"AB ☃"));
  display.tap(xAlt);
  display.release(62);
  EXPECT_EQ(told(), (Events{holdDown, holdInterrupted}));
  display.press(62);
  EXPECT_TRUE(type(u"AB ☃"));
  display.release(62);
  EXPECT_EQ(told(), (Events{holdDown, holdUp}));
}

TEST_F(Hotkeys, FollowTheKeymap) {
  const auto before = keyboard.keyText(kY);
  EXPECT_EQ(before, "y");
  setKeymap({"de"});
  EXPECT_TRUE(eventually([&] { return keyboard.keyText(kY) == "z"; }));
  EXPECT_EQ(keyboard.keyText(24), "´") << "a dead key";
  setKeymap({"us,ru"});
  EXPECT_TRUE(eventually([&] { return keyboard.keyText(kY) == "y"; }));
  display.lockGroup(1);
  EXPECT_TRUE(eventually([&] { return keyboard.keyText(kY) == "н"; }));
  EXPECT_EQ(displayText({kY}, keyboard), "Н");
  EXPECT_EQ(shortcutFromText("alt+н", keyboard), (DictationShortcut{kY, DictationShortcut::kOption}));
  display.lockGroup(0);
  setKeymap({"us"});
  EXPECT_TRUE(eventually([&] { return keyboard.keyText(kY) == "y"; }));

  monitor.configure(DictationShortcut{kF13}, kControlOptionSpace);
  const auto changes = keyboard.keymap.get();
  setKeymap({"us", "-option", "altwin:swap_alt_win"});
  EXPECT_TRUE(eventually([&] { return keyboard.keymap.get() > changes; }));
  pressAll({xControl, xSuper, xSpace});
  EXPECT_EQ(told(), (Events{holdDown, holdUp})) << "Alt is where the keymap says";
}

TEST_F(Hotkeys, ARecorderGetsTheKeysInsteadOfTheOthers) {
  std::vector<DictationShortcut> recorded;
  ShortcutRecorder recorder(keyboard, [](bool) {});
  recorder.onChange = [&](const DictationShortcut& shortcut) { recorded.push_back(shortcut); };
  recorder.begin();
  EXPECT_EQ(display.grabKeyboard(), AlreadyGrabbed);
  pressAll({xSuper, xAlt, xA});
  EXPECT_TRUE(eventually([&] { return !recorded.empty(); }));
  EXPECT_EQ(display.grabKeyboard(), GrabSuccess);
  recorder.begin();
  display.tap(xRightAlt);
  EXPECT_TRUE(eventually([&] { return recorded.size() == 2; })) << "also while another has the keyboard";
  display.ungrabKeyboard();
  EXPECT_EQ(recorded, (std::vector<DictationShortcut>{{0, DictationShortcut::kOption | DictationShortcut::kCommand},
                                                      {kRightOption}}));
}

TEST_F(Hotkeys, ADisplayThatGoesIsAFailureAndNoMore) {
  QProcess server;
  server.setStandardErrorFile(QProcess::nullDevice());
  server.start("Xvfb", {"-displayfd", "1", "-noreset", "-screen", "0", "64x64x24"});
  ASSERT_TRUE(eventually([&] { return server.canReadLine(); }));
  const auto name = ":" + server.readLine().trimmed().toStdString();
  X11SystemKeyboard lost(name);
  auto hotKey = lost.registerHotKey({kF5}, [](bool) {});
  auto listener = lost.followKeys([](const KeyEvent&) {});
  EXPECT_EQ(hotKey.error, 0);
  server.kill();
  ASSERT_TRUE(server.waitForFinished());
  for (X11SystemKeyboard never(name); auto* const gone : {&lost, &never}) {
    QCoreApplication::processEvents();
    EXPECT_NE(gone->registerHotKey({kF13}, [](bool) {}).error, 0);
    EXPECT_EQ(gone->followKeys([](const KeyEvent&) {}), nullptr);
  }
  listener.reset();
  hotKey.taken.reset();
}

}  // namespace
}  // namespace quillet::test
