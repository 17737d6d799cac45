// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/X11/FrontWindow.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "QuilletCompanion/Platform/Linux/Typing/ModifierState.h"
#include "QuilletCompanion/Platform/Linux/X11/X11Connection.h"
#include "Tests/Desktop/Editor.h"

// Last: its macros break other headers.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace quillet::test {
namespace {

TEST(FrontWindow, NamesAreUTF8WhateverTheWindowSays) {
  const X11Connection connection{""};
  Display* const display = connection.get();
  const std::pair<std::string, std::string> names[] = {{"Caf\xE9", "Café"}, {"Café", "Café"}};
  for (const auto& [given, expected] : names) {
    const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 200, 100, 0, 0, 0);
    std::string name = given;
    XClassHint hint{.res_name = name.data(), .res_class = name.data()};
    XSetClassHint(display, window, &hint);
    XWMHints takesKeys{.flags = InputHint, .input = True};
    XSetWMHints(display, window, &takesKeys);
    const long pid = getpid();
    XChangeProperty(display, window, XInternAtom(display, "_NET_WM_PID", False), XA_CARDINAL, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&pid), 1);
    XMapWindow(display, window);
    XSync(display, False);
    FrontWindow front;
    ASSERT_TRUE(eventually([&] {
      const auto owner = front.owner();
      return owner && owner->window == window;
    }));
    EXPECT_EQ(front.owner()->windowClass, expected);
    EXPECT_EQ(front.owner()->id, "café");
    XDestroyWindow(display, window);
    XSync(display, False);
  }
}

TEST(FrontWindow, TellsWhetherAnotherProgramTakesAllKeys) {
  const X11Connection locker{""};
  FrontWindow front;
  EXPECT_FALSE(front.isKeyboardTaken());
  ASSERT_EQ(
      XGrabKeyboard(locker.get(), DefaultRootWindow(locker.get()), False, GrabModeAsync, GrabModeAsync, CurrentTime),
      GrabSuccess);
  EXPECT_TRUE(front.isKeyboardTaken());
  XUngrabKeyboard(locker.get(), CurrentTime);
  XSync(locker.get(), False);
  EXPECT_FALSE(front.isKeyboardTaken());
}

TEST(FrontWindow, AProgramThatKeepsTheServerForItselfHoldsNobodyUp) {
  FrontWindow front;
  ModifierState modifiers;
  Display* const other = XOpenDisplay(nullptr);
  XGrabServer(other);
  XSync(other, False);
  std::atomic<bool> asked = false;
  std::thread release([&] {
    for (int i = 0; i < 1000 && !asked; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_TRUE(asked) << "who asked had to wait";
    XCloseDisplay(other);
  });
  EXPECT_FALSE(front.owner());
  EXPECT_FALSE(modifiers.modifiersDown());
  asked = true;
  release.join();
}

}  // namespace
}  // namespace quillet::test
