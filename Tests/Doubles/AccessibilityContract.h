// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "QuilletCompanion/Target/AccessibilityProvider.h"

namespace quillet::test {

/// What every AccessibilityProvider must do. `Desktop` is default-constructible, shows one application at a time, and
/// has
///   AccessibilityProvider& provider();
///   void open(const std::string& text);     an application comes to the front, with the focus and the caret at the
///                                           end of the text in its first field, and a second field
///   void openPassword();                    the same with a password field
///   std::int32_t pid();                     of the application opened last
///   void select(int characters);            extends the selection backwards from the caret
///   void focusSecondField();
///   void close();                           the application ends
///   void holdControl(bool);
///   bool eventually(std::function<bool()>); lets time pass until the condition holds; false if it doesn't
/// Use: INSTANTIATE_TYPED_TEST_SUITE_P(Name, AccessibilityContract, Desktop);
template <typename Desktop>
class AccessibilityContract : public testing::Test {
 protected:
  AccessibilityProvider& provider() { return desktop_.provider(); }
  bool eventually(const std::function<bool()>& condition) { return desktop_.eventually(condition); }

  ElementRef awaitField() {
    ElementRef found;
    EXPECT_TRUE(eventually([&] {
      const auto front = provider().frontApplication();
      found = front && front->pid == desktop_.pid() ? provider().focusedElement(front->pid) : nullptr;
      return found && provider().inspect(found).role && provider().selectedRange(found);
    }));
    return found;
  }
  ElementRef open(const std::string& text) {
    desktop_.open(text);
    return awaitField();
  }
  testing::AssertionResult becomes(const ElementRef& field, const std::string& text, AXTextRange selection) {
    std::optional<std::string> value;
    std::optional<AXTextRange> range;
    const bool reached = eventually([&] {
      value = provider().readValue(field);
      range = provider().selectedRange(field);
      return value == text && range == selection;
    });
    if (reached) return testing::AssertionSuccess();
    auto failure = testing::AssertionFailure() << "value " << value.value_or("absent");
    if (range) failure << ", selection " << range->location << " + " << range->length;
    return failure;
  }

  Desktop desktop_;
};
TYPED_TEST_SUITE_P(AccessibilityContract);

TYPED_TEST_P(AccessibilityContract, TellsOfTheFrontApplicationAndOnlyOfThat) {
  auto& provider = this->provider();
  const auto field = this->open("");
  ASSERT_TRUE(field);
  const auto pid = this->desktop_.pid();
  const auto front = provider.frontApplication();
  ASSERT_TRUE(front);
  EXPECT_TRUE(front->bundleId && !front->bundleId->empty());
  EXPECT_FALSE(front->name.empty());
  EXPECT_FALSE(provider.isOwnApplicationActive());
  EXPECT_FALSE(provider.isLocked());
  const auto window = provider.focusedWindow(pid);
  ASSERT_TRUE(window);
  EXPECT_TRUE(sameElement(window, provider.focusedWindow(pid)));
  EXPECT_TRUE(sameElement(field, provider.focusedElement(pid)));
  EXPECT_FALSE(sameElement(field, window));
  for (const auto other : {provider.ownPID(), pid + 1}) {
    EXPECT_FALSE(provider.focusedWindow(other));
    EXPECT_FALSE(provider.focusedElement(other));
  }
}

TYPED_TEST_P(AccessibilityContract, CountsAndReplacesInUTF16Units) {
  auto& provider = this->provider();
  const auto field = this->open("ab😀é");
  ASSERT_TRUE(field);
  const auto traits = provider.inspect(field);
  EXPECT_EQ(traits.role, "AXTextField");
  EXPECT_TRUE(traits.editable);
  EXPECT_FALSE(traits.isSecure);
  EXPECT_TRUE(this->becomes(field, "ab😀é", {5, 0}));
  this->desktop_.select(2);
  EXPECT_TRUE(this->becomes(field, "ab😀é", {2, 3}));
  EXPECT_TRUE(provider.replaceSelection(field, "日👋🏽"));
  EXPECT_TRUE(this->becomes(field, "ab日👋🏽", {7, 0}));
  EXPECT_TRUE(provider.replaceSelection(field, "."));
  EXPECT_TRUE(this->becomes(field, "ab日👋🏽.", {8, 0}));
}

TYPED_TEST_P(AccessibilityContract, ATextThatIsNotUTF8IsRefused) {
  const auto field = this->open("kept");
  ASSERT_TRUE(field);
  for (const char* text : {"\xFF", "a\xC3", "\xED\xA0\x80"}) {
    EXPECT_FALSE(this->provider().replaceSelection(field, text));
  }
  EXPECT_TRUE(this->becomes(field, "kept", {4, 0}));
}

TYPED_TEST_P(AccessibilityContract, TypesAtTheCaretOfTheElementWithTheFocus) {
  auto& provider = this->provider();
  const auto field = this->open("ab");
  ASSERT_TRUE(field);
  this->desktop_.select(1);
  ASSERT_TRUE(this->becomes(field, "ab", {1, 1}));
  EXPECT_FALSE(provider.typeUnicode(field, u""));
  EXPECT_FALSE(provider.typeUnicode(field, std::u16string(21, u'x')));
  EXPECT_TRUE(provider.typeUnicode(field, u"Xyß"));
  EXPECT_TRUE(this->becomes(field, "aXyß", {4, 0}));
  this->desktop_.focusSecondField();
  ElementRef second;
  EXPECT_TRUE(this->eventually([&] {
    second = provider.focusedElement(this->desktop_.pid());
    return second && !sameElement(second, field);
  }));
  EXPECT_FALSE(provider.typeUnicode(field, u"x"));
  EXPECT_TRUE(this->eventually([&] { return provider.typeUnicode(second, u"z").count == 1; }));
  EXPECT_TRUE(this->becomes(second, "z", {1, 0}));
  EXPECT_TRUE(this->becomes(field, "aXyß", {4, 0}));
}

TYPED_TEST_P(AccessibilityContract, APasswordFieldIsSecureAndNeverRead) {
  auto& provider = this->provider();
  this->open("");
  EXPECT_FALSE(provider.isSecureInputEnabled());
  this->desktop_.close();
  this->desktop_.openPassword();
  ElementRef field;
  ASSERT_TRUE(this->eventually([&] {
    field = provider.focusedElement(this->desktop_.pid());
    return field && provider.inspect(field).isSecure;
  }));
  EXPECT_TRUE(provider.isSecureInputEnabled());
  EXPECT_FALSE(provider.readValue(field));
}

TYPED_TEST_P(AccessibilityContract, WhatIsGoneIsAbsentAndTakesNothing) {
  auto& provider = this->provider();
  const auto field = this->open("text");
  ASSERT_TRUE(field);
  const auto pid = this->desktop_.pid();
  this->desktop_.close();
  EXPECT_TRUE(this->eventually([&] {
    const auto front = provider.frontApplication();
    return !front || front->pid != pid;
  }));
  EXPECT_FALSE(provider.focusedWindow(pid));
  EXPECT_FALSE(provider.focusedElement(pid));
  class Stranger final : public ElementHandle {
    bool isSame(const ElementHandle&) const override { return false; }
  };
  for (const ElementRef& lost : {field, ElementRef(), ElementRef(std::make_shared<Stranger>())}) {
    const auto traits = provider.inspect(lost);
    EXPECT_FALSE(traits.role || traits.subrole || traits.isSecure || traits.editable);
    EXPECT_FALSE(provider.selectedRange(lost));
    EXPECT_FALSE(provider.readValue(lost));
    EXPECT_FALSE(provider.replaceSelection(lost, "x"));
    EXPECT_FALSE(provider.typeUnicode(lost, u"x"));
  }
}

TYPED_TEST_P(AccessibilityContract, TellsWhenTheFocusMovesAndWhenTheFrontChanges) {
  auto& provider = this->provider();
  int changes = 0;
  const auto front = provider.observeFrontApplication([&] { ++changes; });
  const auto first = this->open("");
  ASSERT_TRUE(first);
  EXPECT_TRUE(this->eventually([&] { return changes > 0; }));
  std::vector<ElementRef> told;
  EXPECT_FALSE(provider.observeFocus(provider.ownPID(), [&](const ElementRef&) { told.emplace_back(); }));
  auto focus = provider.observeFocus(this->desktop_.pid(), [&](const ElementRef& element) { told.push_back(element); });
  ASSERT_TRUE(focus);
  this->desktop_.focusSecondField();
  EXPECT_TRUE(this->eventually([&] { return !told.empty() && told.back() && !sameElement(told.back(), first); }));
  EXPECT_TRUE(sameElement(told.back(), provider.focusedElement(this->desktop_.pid())));
  focus.reset();
  told.clear();
  changes = 0;
  this->desktop_.close();
  EXPECT_TRUE(this->eventually([&] { return changes > 0; }));
  EXPECT_TRUE(told.empty());
}

TYPED_TEST_P(AccessibilityContract, KnowsWhetherControlIsHeld) {
  ASSERT_TRUE(this->open(""));
  EXPECT_FALSE(this->provider().modifiersDown());
  this->desktop_.holdControl(true);
  EXPECT_TRUE(this->eventually([&] { return this->provider().modifiersDown(); }));
  this->desktop_.holdControl(false);
  EXPECT_TRUE(this->eventually([&] { return !this->provider().modifiersDown(); }));
}

REGISTER_TYPED_TEST_SUITE_P(AccessibilityContract, TellsOfTheFrontApplicationAndOnlyOfThat,
                            CountsAndReplacesInUTF16Units, ATextThatIsNotUTF8IsRefused,
                            TypesAtTheCaretOfTheElementWithTheFocus, APasswordFieldIsSecureAndNeverRead,
                            WhatIsGoneIsAbsentAndTakesNothing, TellsWhenTheFocusMovesAndWhenTheFrontChanges,
                            KnowsWhetherControlIsHeld);

}  // namespace quillet::test
