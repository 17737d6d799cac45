// SPDX-License-Identifier: MIT
#include <unistd.h>

#include "QuilletCompanion/Platform/Linux/Accessibility/SystemAccessibilityProvider.h"
#include "Tests/Desktop/Editor.h"
#include "Tests/Doubles/AccessibilityContract.h"
#include "Tests/Doubles/Files.h"

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

template <std::string (*program)()>
class FieldsDesktop : public RealDesktop {
 public:
  void open(const std::string& text) { start({"--text", QString::fromStdString(text)}); }
  void openPassword() { start({"--password", "--text", "secret"}); }

 private:
  void start(const QStringList& arguments) { program_.emplace(QString::fromStdString(program()), arguments); }
};

std::string gtkFields() {
  return sourceFile("Tests/Desktop/fields.py");
}
std::string qtFields() {
  return builtProgram("QtFields");
}
using Desktops = testing::Types<FieldsDesktop<gtkFields>, FieldsDesktop<qtFields>>;
INSTANTIATE_TYPED_TEST_SUITE_P(Real, AccessibilityContract, Desktops);

}  // namespace
}  // namespace quillet::test
