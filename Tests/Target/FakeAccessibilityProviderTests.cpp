// SPDX-License-Identifier: MIT
#include "Tests/Doubles/FakeAccessibilityProvider.h"

#include "Tests/Doubles/AccessibilityContract.h"

namespace quillet::test {
namespace {

/// The desktop in memory, driven as a person would drive a real one.
class MemoryDesktop {
 public:
  MemoryDesktop() { close(); }
  AccessibilityProvider& provider() { return fake_; }
  std::int32_t pid() const { return FakeAccessibilityProvider::kPid; }

  void open(const std::string& text) {
    fake_.fields[FakeAccessibilityProvider::kField] = {};
    fake_.setText(text);
    fake_.fields[kSecond] = {};
    fake_.focus[pid()] = {FakeAccessibilityProvider::kWindow, FakeAccessibilityProvider::kField};
    fake_.front = FrontApplication{pid(), "org.example.editor", "Editor"};
    fake_.tellFrontChanged();
  }
  void openPassword() {
    open("secret");
    fake_.field().traits = {
        .role = "AXSecureTextField", .subrole = "AXSecureTextField", .isSecure = true, .editable = true};
  }
  void select(int characters) {
    auto& selection = fake_.field().selection;
    const auto before = fake_.field().text.substr(0, static_cast<std::size_t>(selection.location));
    std::int64_t units = 0;
    for (auto clusters = Unicode::graphemeClusters(std::u16string_view(before)); characters > 0; --characters) {
      units += static_cast<std::int64_t>(clusters.back().size());
      clusters.pop_back();
    }
    selection = {selection.location - units, units};
  }
  void focusSecondField() {
    fake_.focus[pid()].element = kSecond;
    fake_.tellFocusMoved(pid(), kSecond);
  }
  void close() {
    fake_.front.reset();
    fake_.focus.clear();
    fake_.fields.clear();
    fake_.tellFrontChanged();
  }
  void holdControl(bool held) { fake_.modifiersHeld = held; }
  bool eventually(const std::function<bool()>& condition) { return condition(); }

 private:
  static constexpr int kSecond = 7;
  FakeAccessibilityProvider fake_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Memory, AccessibilityContract, MemoryDesktop);

}  // namespace
}  // namespace quillet::test
