// SPDX-License-Identifier: MIT
#include <unistd.h>

#include <optional>

#include "QuilletCompanion/Platform/Linux/Accessibility/SystemAccessibilityProvider.h"
#include "Tests/Desktop/Editor.h"
#include "Tests/Desktop/StubLock.h"
#include "Tests/Doubles/AccessibilityContract.h"

namespace quillet::test {
namespace {

/// The real one, with programs of a toolkit.
class RealDesktop {
 public:
  RealDesktop() {
    EXPECT_TRUE(test::eventually([this] { return provider_.enableAccessibility(); }));
  }
  AccessibilityProvider& provider() { return provider_; }
  std::int32_t pid() const { return program_->pid(); }

  void select(int characters) { press(QStringList(QList<QString>(characters, "shift+Left"))); }
  void focusSecondField() { press({"Tab"}); }
  void close() { program_->kill(); }
  void holdControl(bool held) { QProcess::execute("xdotool", {held ? "keydown" : "keyup", "ctrl"}); }
  bool eventually(const std::function<bool()>& condition) { return test::eventually(condition); }

 protected:
  StubLock lock_;
  KeyTypist typist_;
  SystemAccessibilityProvider provider_{getpid(), lock_, typist_};
  std::optional<Editor> program_;
};

template <const char* program>
class FieldsDesktop : public RealDesktop {
 public:
  void open(const std::string& text) { program_.emplace(program, QStringList{"--text", QString::fromStdString(text)}); }
  void openPassword() { program_.emplace(program, QStringList{"--password", "--text", "secret"}); }
};

constexpr char kGTKFields[] = QUILLET_SOURCE_DIR "/Tests/Desktop/fields.py", kQtFields[] = QUILLET_BIN_DIR "/QtFields";
using Desktops = testing::Types<FieldsDesktop<kGTKFields>, FieldsDesktop<kQtFields>>;
INSTANTIATE_TYPED_TEST_SUITE_P(Real, AccessibilityContract, Desktops);

}  // namespace
}  // namespace quillet::test
