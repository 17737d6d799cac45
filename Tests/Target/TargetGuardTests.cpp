// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Target/TargetGuard.h"

#include <gtest/gtest.h>

#include "QuilletCompanion/Target/LocalTestField.h"
#include "Tests/Doubles/FakeAccessibilityProvider.h"

namespace quillet {
namespace {

using test::FakeAccessibilityProvider;
using test::FakeHandle;
using Call = FakeAccessibilityProvider::Call;
constexpr auto kPid = FakeAccessibilityProvider::kPid;
constexpr int kOther = 7;

class TargetGuardTest : public testing::Test {
 protected:
  TargetSnapshot prepared(const std::string& peer = "phone") { return std::get<TargetSnapshot>(guard.prepare(peer)); }
  TargetRefusal refusedProbe() { return std::get<TargetRefusal>(guard.probe()); }
  /// The reason that a token is refused for; absent when it is known.
  std::optional<RefusalReason> refusal(const TargetSnapshot& snapshot, const std::string& peer) {
    const auto found = guard.lookup(snapshot.token, peer);
    const auto* reason = std::get_if<RefusalReason>(&found);
    return reason == nullptr ? std::nullopt : std::optional(*reason);
  }
  void moveFocus(int element) {
    desktop.fields[element];
    desktop.focus[kPid].element = element;
    guard.focusChanged(nullptr);
  }

  std::int64_t now = 1'000'000;
  FakeAccessibilityProvider desktop;
  std::shared_ptr<LocalTestField> local =
      std::make_shared<LocalTestField>([this] { return desktop.ownApplicationActive; }, [this] { return now; });
  TargetGuard guard{desktop, local, [this] { return now; }};
};

TEST_F(TargetGuardTest, ProbeRefusesInOrder) {
  // Each step makes the checks before it pass, and all later ones still fail.
  auto& field = desktop.field();
  field.traits.isSecure = true;
  field.traits.editable = false;
  desktop.focus[kPid].element = 0;
  desktop.keyboardTaken = true;
  desktop.secureInput = true;
  desktop.trusted = false;
  desktop.locked = true;
  const auto front = std::exchange(desktop.front, std::nullopt);
  const FrontApplication nameless{kPid, std::nullopt, ""};
  const struct {
    std::function<void()> repair;
    RefusalReason reason;
    std::optional<std::string> appName;
  } steps[] = {
      {[] {}, RefusalReason::locked, std::nullopt},
      {[&] { desktop.locked = false; }, RefusalReason::noField, std::nullopt},
      {[&] { desktop.front = front; }, RefusalReason::noField, std::nullopt},
      {[&] { desktop.keyboardTaken = false, desktop.front = nameless; }, RefusalReason::noField, std::nullopt},
      {[&] { desktop.front = front; }, RefusalReason::noAccessibility, "Editor"},
      {[&] { desktop.trusted = true; }, RefusalReason::secureField, "Editor"},
      {[&] { desktop.secureInput = false; }, RefusalReason::noField, "Editor"},
      {[&] { desktop.focus[kPid].element = FakeAccessibilityProvider::kField; }, RefusalReason::secureField, "Editor"},
      {[&] { field.traits.isSecure = false; }, RefusalReason::noField, "Editor"},
  };
  for (const auto& step : steps) {
    step.repair();
    const auto refusal = refusedProbe();
    EXPECT_EQ(refusal.reason, step.reason) << &step - steps;
    EXPECT_EQ(refusal.appName, step.appName) << &step - steps;
  }
  field.traits.editable = true;
  EXPECT_TRUE(std::holds_alternative<CapturedTarget>(guard.probe()));
}

TEST_F(TargetGuardTest, ProbeCapturesWhatIsFocused) {
  desktop.setText("caf\u00E9");
  const auto target = std::get<CapturedTarget>(guard.probe());
  EXPECT_EQ(target.pid, kPid);
  EXPECT_EQ(target.bundleId, "org.example.editor");
  EXPECT_EQ(target.appName, "Editor");
  EXPECT_TRUE(sameElement(target.window, std::make_shared<FakeHandle>(FakeAccessibilityProvider::kWindow)));
  EXPECT_TRUE(
      sameElement(std::get<ElementRef>(target.kind), std::make_shared<FakeHandle>(FakeAccessibilityProvider::kField)));
  EXPECT_EQ(target.selectedRange, (AXTextRange{4, 0}));
  const struct {
    std::optional<std::string> role, subrole;
    std::string label;
  } labels[] = {{"AXTextArea", std::nullopt, "Text area"},
                {"AXSearchField", std::nullopt, "Search field"},
                {"AXTextArea", "AXSearchField", "Search field"},
                {"terminal", "AXTextArea", "Text field"},
                {std::nullopt, std::nullopt, "Text field"}};
  for (const auto& c : labels) {
    desktop.field().traits = {.role = c.role, .subrole = c.subrole, .isSecure = false, .editable = true};
    EXPECT_EQ(std::get<CapturedTarget>(guard.probe()).fieldLabel, c.label);
  }
}

TEST_F(TargetGuardTest, LocalTestFieldNeedsFocusAndAnActiveApplicationButNoAccessibility) {
  desktop.activateOwnApplication();
  desktop.trusted = false;
  desktop.secureInput = true;
  EXPECT_EQ(refusedProbe().reason, RefusalReason::noField);
  local->setFocused(true);
  desktop.ownApplicationActive = false;
  EXPECT_EQ(refusedProbe().reason, RefusalReason::noField);
  EXPECT_EQ(refusedProbe().appName, "Quillet");
  desktop.ownApplicationActive = true;
  const auto target = std::get<CapturedTarget>(guard.probe());
  EXPECT_TRUE(std::holds_alternative<LocalTestKind>(target.kind));
  EXPECT_EQ(target.fieldLabel, "Test field");
  EXPECT_FALSE(target.window || target.selectedRange);
  EXPECT_EQ(desktop.calls(Call::focusedElement) + desktop.calls(Call::focusedWindow), 0);
  local.reset();
  EXPECT_EQ(refusedProbe().reason, RefusalReason::noField);
}

TEST_F(TargetGuardTest, PrepareIssuesTokensAndCountsFocusOnlyWhenItMoved) {
  const auto first = prepared();
  EXPECT_EQ(first.token.size(), 22U);
  EXPECT_EQ(first.generation, 1U);
  EXPECT_EQ(first.issuedAt, now);
  EXPECT_EQ(first.expiresAt, now + 600'000);
  EXPECT_EQ(first.peerId, "phone");
  const auto second = prepared();
  EXPECT_EQ(second.generation, 1U);
  EXPECT_NE(first.token, second.token);
  EXPECT_EQ(guard.validate(first, true), std::nullopt);
  EXPECT_EQ(guard.validate(second, true), std::nullopt);
  desktop.fields[kOther];
  desktop.focus[kPid].element = kOther;  // no notification came
  EXPECT_EQ(prepared().generation, 2U);
  desktop.locked = true;
  EXPECT_EQ(std::get<TargetRefusal>(guard.prepare("phone")).reason, RefusalReason::locked);
  EXPECT_EQ(guard.focusGeneration(), 2U);
}

TEST_F(TargetGuardTest, TokensBelongToOnePeerAndExpire) {
  const auto snapshot = prepared();
  EXPECT_EQ(refusal(snapshot, "stranger"), RefusalReason::tokenUnknown);
  now = snapshot.issuedAt + 599'999;
  EXPECT_EQ(refusal(snapshot, "phone"), std::nullopt);
  now = snapshot.issuedAt + 600'000;
  EXPECT_EQ(refusal(snapshot, "phone"), RefusalReason::tokenExpired);

  // Pruned by a prepare at the end of the hour, also by one that is refused; not a millisecond before.
  desktop.locked = true;
  now = snapshot.expiresAt + 3'599'999;
  guard.prepare("phone");
  EXPECT_EQ(refusal(snapshot, "phone"), RefusalReason::tokenExpired);
  ++now;
  guard.prepare("phone");
  EXPECT_EQ(refusal(snapshot, "phone"), RefusalReason::tokenUnknown);
}

TEST_F(TargetGuardTest, ConsumeAndRevocationRemoveTokens) {
  const auto spent = prepared("a"), mine = prepared("a"), others = prepared("b");
  guard.consume(spent.token);
  EXPECT_EQ(refusal(spent, "a"), RefusalReason::tokenUnknown);
  EXPECT_EQ(refusal(mine, "a"), std::nullopt);
  guard.dropTokens("a");
  EXPECT_EQ(refusal(mine, "a"), RefusalReason::tokenUnknown);
  EXPECT_EQ(refusal(others, "b"), std::nullopt);
}

TEST_F(TargetGuardTest, The129thTokenEvictsTheOldestAlsoWithinOneMillisecond) {
  for (int i = 0; i < 200; ++i) ASSERT_EQ(refusal(prepared(), "phone"), std::nullopt) << i;
  std::vector<TargetSnapshot> issued;
  for (int i = 0; i < 129; ++i) {
    ++now;
    issued.push_back(prepared(i % 2 == 0 ? "a" : "b"));
  }
  EXPECT_EQ(refusal(issued[0], "a"), RefusalReason::tokenUnknown);
  for (std::size_t i = 1; i < issued.size(); ++i) EXPECT_EQ(refusal(issued[i], issued[i].peerId), std::nullopt) << i;
}

TEST_F(TargetGuardTest, ValidateReportsTheFirstThatFails) {
  desktop.setText("text");
  const auto snapshot = prepared();
  const auto good = desktop.front;
  // Breaks one thing after the other, from the last check to the first: each must hide those after it.
  const struct {
    std::function<void()> damage;
    RefusalReason reason;
  } steps[] = {
      {[&] { desktop.field().selection.location = 1; }, RefusalReason::selectionChanged},
      {[&] { desktop.field().traits.editable = false; }, RefusalReason::unsupportedTarget},
      {[&] { desktop.field().traits.isSecure = true; }, RefusalReason::secureField},
      {[&] { desktop.focus[kPid].element = 0; }, RefusalReason::focusChanged},
      {[&] { desktop.focus[kPid].window = 0; }, RefusalReason::focusChanged},
      {[&] { desktop.secureInput = true; }, RefusalReason::secureField},
      {[&] { desktop.front->bundleId.reset(); }, RefusalReason::appChanged},
      {[&] { desktop.trusted = false; }, RefusalReason::noAccessibility},
      {[&] { desktop.locked = true; }, RefusalReason::locked},
  };
  EXPECT_EQ(guard.validate(snapshot, true), std::nullopt);
  for (const auto& step : steps) {
    step.damage();
    EXPECT_EQ(guard.validate(snapshot, true), step.reason) << &step - steps;
  }
}

TEST_F(TargetGuardTest, ValidateTellsApplicationsAndSelectionsApart) {
  const auto snapshot = prepared();
  desktop.field().selection = {0, 0};
  desktop.field().selectionShown = false;
  EXPECT_EQ(guard.validate(snapshot, true), RefusalReason::selectionChanged);
  EXPECT_EQ(guard.validate(snapshot, false), std::nullopt);
  const auto hidden = prepared();
  EXPECT_EQ(guard.validate(hidden, true), std::nullopt);
  desktop.front->pid = kPid + 1;
  EXPECT_EQ(guard.validate(hidden, true), RefusalReason::appChanged);
  desktop.front.reset();
  EXPECT_EQ(guard.validate(hidden, true), RefusalReason::appChanged);
  desktop.front = FrontApplication{kPid, std::nullopt, "Editor"};
  EXPECT_EQ(guard.validate(prepared(), true), std::nullopt);
}

TEST_F(TargetGuardTest, FocusThatCameBackStillCounts) {
  const auto snapshot = prepared();
  moveFocus(kOther);
  moveFocus(FakeAccessibilityProvider::kField);
  EXPECT_EQ(guard.validate(snapshot, true), RefusalReason::focusChanged);
  const auto again = prepared();
  EXPECT_EQ(again.generation, snapshot.generation + 2);
  guard.invalidateFocus();
  EXPECT_EQ(guard.validate(again, true), RefusalReason::focusChanged);
  EXPECT_EQ(prepared().generation, again.generation + 2);  // the invalidation, and a focus not known before
}

TEST_F(TargetGuardTest, NotificationsCountOnlyWhenTheyMeanAChange) {
  prepared();
  const auto named = [](int id) { return std::make_shared<FakeHandle>(id); };
  const struct {
    ElementRef element;
    std::uint64_t generation;
  } steps[] = {{nullptr, 1},
               {named(FakeAccessibilityProvider::kField), 1},
               {named(FakeAccessibilityProvider::kWindow), 1},
               {named(kOther), 2},
               {named(kOther), 3},
               {nullptr, 3}};
  for (const auto& step : steps) {
    guard.focusChanged(step.element);
    EXPECT_EQ(guard.focusGeneration(), step.generation) << &step - steps;
  }
  guard.resyncFocus();
  EXPECT_EQ(guard.focusGeneration(), 3U);
  desktop.front.reset();
  guard.focusChanged(named(kOther));
  EXPECT_EQ(guard.focusGeneration(), 4U);
  guard.focusChanged(named(kOther));  // no front application, as before
  EXPECT_EQ(guard.focusGeneration(), 4U);
}

TEST_F(TargetGuardTest, CurrentFocusAsksNobodyAboutThisApplication) {
  desktop.activateOwnApplication();
  EXPECT_EQ(guard.currentFocus(), (FocusBaseline{.pid = FakeAccessibilityProvider::kOwnPid}));
  EXPECT_EQ(desktop.calls(Call::focusedElement) + desktop.calls(Call::focusedWindow), 0);
  desktop.front = FrontApplication{kPid, std::nullopt, "Editor"};
  desktop.trusted = false;
  EXPECT_EQ(guard.currentFocus(), (FocusBaseline{.pid = kPid}));
  desktop.trusted = true;
  EXPECT_TRUE(guard.currentFocus()->element && guard.currentFocus()->window);
  desktop.front.reset();
  EXPECT_EQ(guard.currentFocus(), std::nullopt);
}

TEST_F(TargetGuardTest, ValidatesTheLocalTestField) {
  desktop.activateOwnApplication();
  local->setFocused(true);
  const auto snapshot = prepared();
  desktop.trusted = false;
  EXPECT_EQ(guard.validate(snapshot, true), std::nullopt);
  desktop.ownApplicationActive = false;
  EXPECT_EQ(guard.validate(snapshot, true), RefusalReason::focusChanged);
  desktop.ownApplicationActive = true;
  guard.invalidateFocus();
  EXPECT_EQ(guard.validate(snapshot, true), RefusalReason::focusChanged);
  const auto next = prepared();
  local->setFocused(false);
  EXPECT_EQ(guard.validate(next, true), RefusalReason::focusChanged);
  desktop.front->pid = kPid;
  EXPECT_EQ(guard.validate(next, true), RefusalReason::appChanged);
  desktop.locked = true;
  EXPECT_EQ(guard.validate(next, true), RefusalReason::locked);
}

TEST(LocalTestField, ReceivesOnlyWhileFocusedAndActive) {
  bool active = true;
  int changes = 0;
  LocalTestField field([&] { return active; }, [] { return std::int64_t{42}; });
  field.onFocusChange = [&] { ++changes; };
  EXPECT_FALSE(field.receive("no"));
  field.setFocused(true);
  field.setFocused(true);
  EXPECT_EQ(changes, 1);
  active = false;
  EXPECT_FALSE(field.receive("no"));
  EXPECT_EQ(field.lastReceivedAt().get(), std::nullopt);
  active = true;
  EXPECT_TRUE(field.receive("one"));
  EXPECT_TRUE(field.receive("two\n"));
  EXPECT_TRUE(field.receive("three "));
  EXPECT_TRUE(field.receive("four"));
  EXPECT_EQ(field.text().get(), "one two\nthree four");
  EXPECT_EQ(field.lastReceivedAt().get(), 42);
  field.clear();
  EXPECT_EQ(field.text().get(), "");
  EXPECT_EQ(field.lastReceivedAt().get(), std::nullopt);
}

}  // namespace
}  // namespace quillet
