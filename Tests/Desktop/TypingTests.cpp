// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Tests/Desktop/TypingTarget.h"
// The macros of its own headers must come last.
#include "Tests/Desktop/DisplayKeyboard.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

/// For a loaded machine, on which an editor that leaves questions unanswered for a moment looks hung.
constexpr auto patience = 20s;

const std::string ascii(asciiSample);
const std::string mixed(mixedSample);

/// More different characters than there are places for.
std::string han() {
  std::u16string characters;
  for (char16_t c = 0x4e00; c < 0x4e80; ++c) characters += c;
  return Unicode::toUTF8(characters).value();
}

void run(const QString& program, const QStringList& arguments) {
  EXPECT_EQ(QProcess::execute(program, arguments), 0) << program.toStdString();
}

class Typing : public testing::Test {
 protected:
  std::unique_ptr<TypingTarget> open(const std::string& program) {
    auto target = std::make_unique<TypingTarget>(*provider, program);
    EXPECT_TRUE(target->ready());
    return target;
  }
  void restart() {
    provider.reset();
    typist.reset();
    typist.emplace();
    provider.emplace(getpid(), lock, *typist);
  }

  const DisplayKeyboard display;
  const std::vector<KeySym> untouched = display.symbols();
  StubLock lock;
  std::optional<KeyTypist> typist{std::in_place};
  std::optional<SystemAccessibilityProvider> provider{std::in_place, getpid(), lock, *typist};
};

class TypingInto : public Typing, public testing::WithParamInterface<const char*> {};

TEST_P(TypingInto, GetsEveryCharacterRight) {
  const auto target = open(GetParam());
  std::string expected;
  for (const auto& text : {ascii, mixed + mixed, han(), ascii + mixed}) {
    ASSERT_TRUE(target->type(text, patience));
    expected += text;
    ASSERT_TRUE(target->becomes(expected)) << target->text();
  }
  typist->restoreKeymap();
  EXPECT_EQ(display.symbols(), untouched);
}

INSTANTIATE_TEST_SUITE_P(Editors, TypingInto, testing::Values("mousepad", "featherpad", "gnome-text-editor", "sakura"),
                         [](const auto& editor) {
                           std::string name = editor.param;
                           std::erase(name, '-');
                           return name;
                         });

TEST_F(Typing, HeldAndLockedModifiersDoNotShowInTheText) {
  const auto target = open("mousepad");
  const struct {
    const char *down, *up, *key;
  } rows[] = {{"keydown", "keyup", "Shift_L"},
              {"keydown", "keyup", "ISO_Level3_Shift"},
              {"key", "key", "Caps_Lock"},
              {"key", "key", "Num_Lock"}};
  std::string expected;
  for (const auto& row : rows) {
    run("xdotool", {row.down, row.key});
    const auto before = display.state();
    EXPECT_NE(before.mods, 0) << row.key;
    EXPECT_TRUE(target->type("aB1! äÖ \U0001F600 жД; ", patience)) << row.key;
    expected += "aB1! äÖ \U0001F600 жД; ";
    EXPECT_TRUE(target->becomes(expected)) << row.key << ": " << target->text();
    EXPECT_EQ(display.state().mods, before.mods) << row.key;
    run("xdotool", {row.up, row.key});
  }
  EXPECT_EQ(display.state().mods, 0);
}

TEST_F(Typing, HeldShortcutModifiersStopIt) {
  const auto target = open("mousepad");
  for (const char* const key : {"Control_L", "Alt_L", "Super_L"}) {
    run("xdotool", {"keydown", key});
    EXPECT_TRUE(provider->modifiersDown());
    EXPECT_FALSE(target->type("a")) << key;
    run("xdotool", {"keyup", key});
    EXPECT_FALSE(provider->modifiersDown());
  }
  run("xdotool", {"key", "Escape"});  // what letting Alt go may have opened
  EXPECT_TRUE(target->type("b"));
  EXPECT_TRUE(target->becomes("b"));
}

TEST_F(Typing, NothingGoesToAPromptThatTakesAllKeys) {
  const auto target = open("mousepad");
  EXPECT_TRUE(target->type("a", patience));
  ASSERT_EQ(display.grabKeyboard(), GrabSuccess);
  EXPECT_FALSE(target->type("b"));
  display.ungrabKeyboard();
  EXPECT_TRUE(target->type("c", patience));
  EXPECT_TRUE(target->becomes("ac")) << target->text();
}

TEST_F(Typing, AKeyboardThatDropsShortOrRepeatedPressesIsLeftAlone) {
  const auto target = open("mousepad");
  for (const unsigned control : {XkbSlowKeysMask, XkbBounceKeysMask}) {
    display.control(control, true);
    EXPECT_FALSE(target->type("coffee")) << control;
    display.control(control, false);
  }
  display.control(XkbStickyKeysMask, true);
  EXPECT_TRUE(target->type("Coffee É", patience));
  EXPECT_TRUE(target->becomes("Coffee É")) << target->text();
  display.control(XkbStickyKeysMask, false);
}

TEST_F(Typing, AnyLayoutWillDo) {
  const auto target = open("featherpad");
  std::string expected;
  for (const auto& [layout, group] :
       {std::pair("de", 0U), std::pair("fr", 0U), std::pair("ru", 0U), std::pair("us,ru", 1U), std::pair("us", 0U)}) {
    run("setxkbmap", {layout});
    display.lockGroup(group);
    EXPECT_TRUE(target->type(ascii + "Grüße, привет €", patience)) << layout;
    expected += ascii + "Grüße, привет €";
    EXPECT_TRUE(target->becomes(expected)) << layout << ": " << target->text();
    EXPECT_EQ(display.state().group, group);
  }
}

TEST_F(Typing, TheUsersOwnKeyboardMayHaveAnotherLayoutAndKeepsIt) {
  constexpr unsigned leftShift = 50;
  for (const auto& [layout, program] :
       {std::pair("de", "sakura"), std::pair("de", "mousepad"), std::pair("br", "gnome-text-editor")}) {
    run("setxkbmap", {"-device", QString::number(display.ownId()), layout});
    const auto own = display.ownSymbols();
    const auto target = open(program);
    std::string expected;
    for (const auto& text : {std::string("zyzy (yes)"), std::string("y{z}@ zy"), mixed, std::string("zy; Ýż привет")}) {
      display.pressOwn(leftShift);
      EXPECT_TRUE(target->type(text, patience)) << program;
      expected += text;
      EXPECT_TRUE(target->becomes(expected)) << program << ": " << target->text();
    }
    const auto meanwhile = display.ownSymbols();
    for (std::size_t key = 0; key < own.size(); ++key) EXPECT_TRUE(own[key] == NoSymbol || own[key] == meanwhile[key]);
    EXPECT_NE(meanwhile, own) << "what is under way must be found there as well";
    typist->restoreKeymap();
    EXPECT_EQ(display.ownSymbols(), own);
    EXPECT_EQ(display.symbols(), untouched);
  }
  run("setxkbmap", {"us"});
}

TEST_F(Typing, ALayoutThatTheUserChoosesWhileItWaitsStays) {
  run("setxkbmap", {"fr"});
  const auto chosen = display.symbols();
  run("setxkbmap", {"us"});
  const auto target = open("mousepad");
  // Of the borrowed keys only one place each can be reached, so that the second text needs the first one's.
  for (const char* const key : {"Shift_L", "ISO_Level3_Shift"}) run("xdotool", {"keydown", key});
  int looks = 0;
  const auto progress = [&] {
    if (++looks == 2) run("setxkbmap", {"fr"});
    const auto arrived = looks < 2 ? 0 : static_cast<std::int64_t>(target->text().size() / 3);
    return KeyTypist::Observation{.characters = arrived, .element = 1};
  };
  const auto type = [&](std::u16string_view text) {
    looks = 0;
    return typist->type(text, progress, steady_clock::now() + 20s);
  };
  const auto characters = *Unicode::toUTF16(han());
  const auto allButOne = [&] {
    const auto count = static_cast<std::int64_t>(target->text().size() / 3);
    return KeyTypist::Observation{.characters = std::max<std::int64_t>(count - 1, 0), .element = 1};
  };
  EXPECT_TRUE(typist->type(characters.substr(0, 16), allButOne, steady_clock::now() + 20s));
  EXPECT_TRUE(type(characters.substr(16, 16)));
  EXPECT_GE(looks, 2);
  EXPECT_TRUE(target->becomes(Unicode::toUTF8(characters.substr(0, 32)).value())) << target->text();
  for (const char* const key : {"Shift_L", "ISO_Level3_Shift"}) run("xdotool", {"keyup", key});
  typist->restoreKeymap();
  EXPECT_EQ(display.symbols(), chosen);
  run("setxkbmap", {"us"});
}

TEST_F(Typing, SuspendedProgramHoldsNobodyUp) {
  const auto target = open("mousepad");
  ASSERT_TRUE(target->type(mixed, patience));
  ASSERT_TRUE(target->becomes(mixed));
  target->editor().suspend();
  for (int i = 0; i < 4; ++i) {
    const auto start = steady_clock::now();
    EXPECT_FALSE(target->type("привет"));
    EXPECT_LE(steady_clock::now() - start, 900ms);
  }
  target->editor().resume();
  EXPECT_TRUE(eventually([&] { return target->type("!"); }));
  EXPECT_TRUE(target->becomes(mixed + "!")) << target->text();
}

TEST_F(Typing, ProgramThatTakesNothingUpIsGivenUpBeforeItGetsAnythingWrong) {
  const auto target = open("mousepad");
  const auto standingStill = [] { return KeyTypist::Observation{.element = 1}; };
  const auto characters = *Unicode::toUTF16(han());
  target->editor().suspend();
  std::u16string taken;
  TypedUnits posted{.count = 1};
  while (posted && taken.size() < characters.size()) {
    const auto next = characters.substr(taken.size(), 16);
    const auto start = steady_clock::now();
    posted = typist->type(next, standingStill, start + 200ms);
    EXPECT_LE(steady_clock::now() - start, 350ms);
    taken += next.substr(0, posted.count);
  }
  EXPECT_TRUE(!posted && posted.later);
  EXPECT_GE(taken.size(), 2U);
  target->editor().resume();
  EXPECT_TRUE(target->becomes(Unicode::toUTF8(taken).value())) << target->text();
}

TEST_F(Typing, OfAChunkThatWasBrokenOffTheRestCanFollow) {
  const auto target = open("mousepad");
  bool pressed = false;
  // Such a target gets little at a time.
  const auto slowAnswer = [&] {
    std::this_thread::sleep_for(130ms);
    const auto text = target->text();
    if (text.find('1') != text.npos && !std::exchange(pressed, true)) run("xdotool", {"keydown", "Control_L"});
    return KeyTypist::Observation{.characters = static_cast<std::int64_t>(text.size()), .element = 1};
  };
  const auto type = [&](std::u16string_view text) { return typist->type(text, slowAnswer, steady_clock::now() + 20s); };
  for (const auto* const text : {u"a", u"b", u"c", u"d"}) EXPECT_TRUE(type(text));
  std::u16string rest = u"0123456789";
  rest.erase(0, type(rest).count);
  EXPECT_TRUE(pressed && !rest.empty() && rest.size() < 10);
  EXPECT_FALSE(type(rest)) << "a shortcut's key is held";
  run("xdotool", {"keyup", "Control_L"});
  EXPECT_TRUE(eventually([&] { return rest.erase(0, type(rest).count).empty(); }));
  EXPECT_TRUE(target->becomes("abcd0123456789")) << target->text();
}

TEST_F(Typing, WhatCannotBeReadIsNotTypedInto) {
  const auto target = open("mousepad");
  EXPECT_FALSE(typist->type(
      u"a", [] { return std::nullopt; }, steady_clock::now() + 750ms));
  EXPECT_TRUE(target->type("b"));
  EXPECT_TRUE(target->becomes("b"));
}

TEST_F(Typing, GivesTheKeymapBackByItselfAfterAWhile) {
  const auto target = open("featherpad");
  ASSERT_TRUE(target->type(mixed, patience));
  EXPECT_NE(display.symbols(), untouched);
  EXPECT_TRUE(eventually([&] { return display.symbols() == untouched; }));
  EXPECT_TRUE(target->type(mixed, patience));
  EXPECT_TRUE(target->becomes(mixed + mixed));
}

TEST_F(Typing, CleansUpAfterARunThatWasKilled) {
  const pid_t child = fork();
  if (child == 0) {
    KeyTypist doomed;
    doomed.type(
        u"☃ привет", [] { return KeyTypist::Observation{}; }, steady_clock::now() + 750ms);
    raise(SIGKILL);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
  EXPECT_NE(display.symbols(), untouched);
  restart();
  EXPECT_EQ(display.symbols(), untouched);
}

TEST_F(Typing, ABrokenDisplayConnectionIsAFailureAndNoMore) {
  QProcess server;
  server.setStandardErrorFile(QProcess::nullDevice());
  server.start("Xvfb", {"-displayfd", "1", "-noreset", "-screen", "0", "64x64x24"});
  ASSERT_TRUE(eventually([&] { return server.canReadLine(); }));
  const auto name = ":" + server.readLine().trimmed().toStdString();
  const auto empty = [] { return KeyTypist::Observation{}; };
  KeyTypist lost(name);
  EXPECT_TRUE(lost.type(u"ä", empty, steady_clock::now() + 750ms));
  ModifierState modifiers(name);
  EXPECT_FALSE(modifiers.modifiersDown());
  server.kill();
  ASSERT_TRUE(server.waitForFinished());
  for (int i = 0; i < 2; ++i) {
    EXPECT_FALSE(lost.type(u"ä", empty, steady_clock::now() + 750ms));
    EXPECT_FALSE(modifiers.modifiersDown());
  }
  KeyTypist never(name);
  EXPECT_FALSE(never.type(u"a", empty, steady_clock::now() + 750ms));
}

}  // namespace
}  // namespace quillet::test
