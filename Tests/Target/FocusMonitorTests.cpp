// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Target/FocusMonitor.h"

#include <gtest/gtest.h>

#include "Tests/Doubles/FakeAccessibilityProvider.h"

namespace quillet {
namespace {

using test::FakeAccessibilityProvider;
using Call = FakeAccessibilityProvider::Call;
constexpr auto kPid = FakeAccessibilityProvider::kPid;
constexpr auto kField = FakeAccessibilityProvider::kField;
constexpr std::int32_t kOtherPid = 300;
constexpr int kOtherField = 7;

class FocusMonitorTest : public testing::Test {
 protected:
  void bringToFront(std::int32_t pid) {
    desktop.front = FrontApplication{pid, std::nullopt, "Other"};
    desktop.focus[pid] = {8, 9};
    desktop.tellFrontChanged();
  }
  /// The generations at which the change callback ran since the last call.
  std::vector<std::uint64_t> told() { return std::exchange(told_, {}); }

  FakeAccessibilityProvider desktop;
  TargetGuard guard{desktop, {}, [] { return std::int64_t{0}; }};
  FocusMonitor monitor{guard, desktop, [this] { told_.push_back(guard.focusGeneration()); }};

 private:
  std::vector<std::uint64_t> told_;
};

using Generations = std::vector<std::uint64_t>;

TEST_F(FocusMonitorTest, FollowsTheFrontApplicationAndTellsAfterTheGuardCounted) {
  monitor.start();
  EXPECT_EQ(monitor.observedPID(), kPid);
  EXPECT_EQ(told(), Generations{1});
  bringToFront(kOtherPid);
  EXPECT_EQ(monitor.observedPID(), kOtherPid);
  EXPECT_EQ(told(), Generations{2});
  desktop.tellFocusMoved(kPid, kField);  // no longer observed
  EXPECT_EQ(told(), Generations{});
  desktop.tellFrontChanged();  // nothing changed, which is told all the same
  EXPECT_EQ(told(), Generations{2});
  EXPECT_EQ(desktop.calls(Call::observeFocus), 2);
  desktop.front.reset();
  desktop.tellFrontChanged();
  EXPECT_EQ(monitor.observedPID(), std::nullopt);
  EXPECT_EQ(told(), Generations{3});
}

TEST_F(FocusMonitorTest, StartsOnceAndStopsForGood) {
  monitor.start();
  monitor.start();
  desktop.tellFrontChanged();
  EXPECT_EQ(told(), (Generations{1, 1}));
  EXPECT_EQ(desktop.calls(Call::observeFrontApplication), 1);
  monitor.stop();
  monitor.stop();
  desktop.tellFrontChanged();
  desktop.tellFocusMoved(kPid, kOtherField);
  EXPECT_EQ(told(), Generations{});
  EXPECT_EQ(guard.focusGeneration(), 1U);
  monitor.start();
  desktop.tellFocusMoved(kPid, kOtherField);
  EXPECT_EQ(told(), (Generations{1, 2}));
}

TEST_F(FocusMonitorTest, WhatCannotBeObservedIsTriedAgainAtEachRefresh) {
  desktop.trusted = false;
  monitor.start();
  monitor.refresh();
  EXPECT_EQ(monitor.observedPID(), std::nullopt);
  EXPECT_EQ(desktop.calls(Call::observeFocus), 0);
  desktop.trusted = true;
  desktop.observable = false;
  monitor.refresh();
  monitor.refresh();
  EXPECT_EQ(monitor.observedPID(), std::nullopt);
  EXPECT_EQ(desktop.calls(Call::observeFocus), 2);
  desktop.observable = true;
  monitor.refresh();
  EXPECT_EQ(monitor.observedPID(), kPid);
}

TEST_F(FocusMonitorTest, AGrantThatChangedGetsANewObserver) {
  monitor.start();
  monitor.detach();
  desktop.tellFocusMoved(kPid, kOtherField);
  EXPECT_EQ(told(), Generations{1});
  monitor.refresh();
  EXPECT_EQ(desktop.calls(Call::observeFocus), 2);
  desktop.tellFocusMoved(kPid, kOtherField);
  EXPECT_EQ(told(), (Generations{1, 2}));
}

TEST_F(FocusMonitorTest, ADestroyedMonitorHearsNothing) {
  int changes = 0;
  {
    FocusMonitor brief(guard, desktop, [&] { ++changes; });
    brief.start();
  }
  desktop.tellFrontChanged();
  desktop.tellFocusMoved(kPid, kOtherField);
  EXPECT_EQ(changes, 1);
}

TEST_F(FocusMonitorTest, AStopFromWithinACallbackIsSafe) {
  FocusMonitor* self = nullptr;
  int changes = 0;
  FocusMonitor stopping(guard, desktop, [&] {
    if (++changes > 1) self->stop();
  });
  self = &stopping;
  stopping.start();
  desktop.tellFocusMoved(kPid, kOtherField);
  desktop.tellFocusMoved(kPid, kOtherField);
  EXPECT_EQ(changes, 2);
}

}  // namespace
}  // namespace quillet
