// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <unistd.h>

#include <QRasterWindow>

#include "Tests/Desktop/TypingTarget.h"
#include "Tests/Doubles/Files.h"

namespace quillet::test {
namespace {

using std::chrono::milliseconds;

template <typename Call>
milliseconds timed(Call call) {
  const auto start = std::chrono::steady_clock::now();
  call();
  return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
}

class Accessibility : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(eventually([this] { return provider.enableAccessibility(); }));
  }

  /// Waits until the program is in front with an element that has the focus.
  ElementRef awaitFocus(const Editor& editor) {
    ElementRef found;
    EXPECT_TRUE(eventually([&] {
      const auto front = provider.frontApplication();
      if (!front || front->pid != editor.pid()) return false;
      found = provider.focusedElement(editor.pid());
      return found != nullptr && provider.inspect(found).role.has_value();
    }));
    return found;
  }
  /// Which some programs tell only after their window has come up.
  std::string idInFront() { return provider.frontApplication().value_or(FrontApplication{}).bundleId.value_or(""); }
  bool becomes(const ElementRef& element, const std::string& value, AXTextRange selection) {
    return eventually(
        [&] {
          if (provider.readValue(element) != value || provider.selectedRange(element) != selection) return false;
          const auto together = provider.readField(element);
          return together.value == value && together.selection == selection;
        },
        std::chrono::seconds(5));
  }

  StubLock lock;
  KeyTypist typist;
  SystemAccessibilityProvider provider{getpid(), lock, typist};
};

struct EditorCase {
  const char *program, *id;
};

class EditorAccess : public Accessibility, public testing::WithParamInterface<EditorCase> {};

TEST_P(EditorAccess, ReadsAndReplacesInUTF16Units) {
  const Editor editor(GetParam().program, {Editor::emptyFile});
  const auto field = awaitFocus(editor);
  ASSERT_TRUE(field);
  EXPECT_TRUE(eventually([&] { return idInFront() == GetParam().id; })) << idInFront();
  EXPECT_FALSE(provider.frontApplication()->name.empty());
  EXPECT_EQ(provider.inspect(field).role, "AXTextArea");
  EXPECT_TRUE(provider.inspect(field).editable);
  EXPECT_FALSE(provider.isSecureInputEnabled());
  EXPECT_TRUE(becomes(field, "", {0, 0}));

  // The wave with its skin tone is 4 units, 2 code points, 8 bytes.
  EXPECT_TRUE(provider.replaceSelection(field, "Grüße 👋🏽 an alle"));
  EXPECT_TRUE(becomes(field, "Grüße 👋🏽 an alle", {18, 0}));
  EXPECT_TRUE(provider.replaceSelection(field, ".\n日本"));
  EXPECT_TRUE(becomes(field, "Grüße 👋🏽 an alle.\n日本", {22, 0}));

  press({"shift+Left", "shift+Left"});
  EXPECT_TRUE(becomes(field, "Grüße 👋🏽 an alle.\n日本", {20, 2}));
  EXPECT_TRUE(provider.replaceSelection(field, "𝄞é"));
  EXPECT_TRUE(becomes(field, "Grüße 👋🏽 an alle.\n𝄞é", {23, 0}));
  EXPECT_TRUE(sameElement(field, provider.focusedElement(editor.pid())));
}

TEST_P(EditorAccess, SuspendedProgramBlocksNobodyForLong) {
  const Editor editor(GetParam().program, {Editor::emptyFile});
  const auto field = awaitFocus(editor);
  ASSERT_TRUE(field);
  editor.suspend();
  const std::vector<std::function<void()>> calls{
      [&] { EXPECT_FALSE(provider.focusedElement(editor.pid())); },
      [&] { EXPECT_FALSE(provider.isSecureInputEnabled()); },
      [&] { EXPECT_FALSE(provider.inspect(field).editable); },
      [&] { EXPECT_FALSE(provider.selectedRange(field)); },
      [&] { EXPECT_FALSE(provider.readValue(field)); },
      [&] { EXPECT_FALSE(provider.replaceSelection(field, "late")); },
      [&] { EXPECT_TRUE(provider.focusedWindow(editor.pid())); },
  };
  milliseconds all{0};
  for (const auto& call : calls) {
    const auto one = timed(call);
    EXPECT_LE(one, milliseconds(900));
    all += one;
  }
  EXPECT_GE(all, milliseconds(300));
  EXPECT_LE(all, milliseconds(1500)) << "a hung program was asked again and again";
  editor.resume();
  EXPECT_TRUE(becomes(field, "", {0, 0})) << "something was written after the time was up";
}

INSTANTIATE_TEST_SUITE_P(Toolkits, EditorAccess,
                         testing::Values(EditorCase{"mousepad", "org.xfce.mousepad"},
                                         EditorCase{"featherpad", "featherpad"},
                                         EditorCase{"gnome-text-editor", "org.gnome.TextEditor"}),
                         [](const auto& tested) {
                           std::string name = tested.param.program;
                           std::erase(name, '-');
                           return name;
                         });

TEST_F(Accessibility, FieldThatBecomesAPasswordFieldIsReadNoMore) {
  const Editor fields(QString::fromStdString(sourceFile("Tests/Desktop/fields.py")), {"--text", "known"});
  const auto field = awaitFocus(fields);
  ASSERT_TRUE(field);
  ASSERT_TRUE(becomes(field, "known", {5, 0}));
  EXPECT_FALSE(provider.isSecureInputEnabled());
  ::kill(fields.pid(), SIGUSR2);
  EXPECT_TRUE(eventually([&] { return provider.isSecureInputEnabled(); }));
  EXPECT_TRUE(provider.inspect(field).isSecure);
  EXPECT_FALSE(provider.readValue(field));
  EXPECT_FALSE(provider.readField(field).value);
}

TEST_F(Accessibility, SearchingATableOfManyRowsHangsNobody) {
  const Editor table(QString::fromStdString(sourceFile("Tests/Desktop/fields.py")), {"--rows", "100000"});
  const auto isInFront = [&] { return table.pid() > 0 && provider.focusedWindow(table.pid()); };
  ASSERT_TRUE(eventually(isInFront));
  EXPECT_FALSE(provider.focusedElement(table.pid())) << "a table is no field";
  ::kill(table.pid(), SIGHUP);  // goes to the field
  EXPECT_TRUE(eventually([&] { return provider.focusedElement(table.pid()) != nullptr; }, std::chrono::seconds(3)));
}

TEST_F(Accessibility, WindowThatChangesHandsIsSeenAtOnce) {
  const Editor editor("mousepad");
  ASSERT_TRUE(awaitFocus(editor));
  const auto change = [](const QString& arguments) {
    QProcess::execute("sh", {"-c", "xprop -id $(xdotool getactivewindow) " + arguments});
  };
  const auto front = [&] {
    QCoreApplication::processEvents();
    provider.frontApplication();
    return provider.frontApplication().value_or(FrontApplication{}).pid;
  };
  for (int i = 0; i < 3; ++i) EXPECT_EQ(front(), editor.pid());
  change("-f _NET_WM_PID 32c -set _NET_WM_PID 1");
  EXPECT_EQ(provider.frontApplication().value_or(FrontApplication{}).pid, 1);
  EXPECT_FALSE(provider.focusedWindow(editor.pid()));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(front(), 1);
  change("-remove _NET_WM_PID");
  EXPECT_FALSE(provider.frontApplication());
}

TEST_F(Accessibility, ProgramMayTellItsNameLate) {
  const Editor editor("mousepad", {Editor::emptyFile});
  awaitFocus(editor);
  EXPECT_TRUE(eventually([this] { return idInFront() == "org.xfce.mousepad"; })) << idInFront();
  QProcess::execute("sh", {"-c",
                           "xprop -id $(xdotool getactivewindow) -f _GTK_APPLICATION_ID 8u "
                           "-set _GTK_APPLICATION_ID org.example.later"});
  EXPECT_TRUE(eventually([this] { return idInFront() == "org.example.later"; }));
}

TEST_F(Accessibility, ReadOnlyTextIsLeftAlone) {
  const Editor dialog("sh", {"-c", "printf fixed > text && exec zenity --text-info --filename=text"});
  const auto field = awaitFocus(dialog);
  ASSERT_TRUE(field);
  EXPECT_FALSE(provider.inspect(field).editable);
  EXPECT_FALSE(provider.replaceSelection(field, "x"));
  EXPECT_EQ(provider.readValue(field), "fixed");
}

TEST_F(Accessibility, DialogOfTheSameProgramIsAnotherWindowAndTellsOfItsFocus) {
  const Editor editor("mousepad");
  const auto field = awaitFocus(editor);
  const auto window = provider.focusedWindow(editor.pid());
  ASSERT_TRUE(field && window);
  EXPECT_TRUE(sameElement(window, provider.focusedWindow(editor.pid())));
  std::vector<ElementRef> told;
  int windowChanges = 0;
  const auto focus = provider.observeFocus(editor.pid(), [&](const ElementRef& element) { told.push_back(element); });
  const auto front = provider.observeFrontApplication([&] { ++windowChanges; });
  press({"ctrl+r"});
  ElementRef entry;
  EXPECT_TRUE(eventually([&] {
    entry = provider.focusedElement(editor.pid());
    return entry && !sameElement(entry, field) && !sameElement(window, provider.focusedWindow(editor.pid()));
  }));
  EXPECT_EQ(provider.inspect(entry).role, "AXTextField");
  EXPECT_TRUE(eventually([&] { return windowChanges > 0 && !told.empty() && sameElement(told.back(), entry); }));
  press({"Escape"});
  EXPECT_TRUE(eventually([&] {
    return sameElement(field, provider.focusedElement(editor.pid())) &&
           sameElement(window, provider.focusedWindow(editor.pid()));
  }));
}

TEST_F(Accessibility, OwnWindowIsNeverAsked) {
  QRasterWindow window;
  window.show();
  ASSERT_TRUE(eventually([&] { return provider.isOwnApplicationActive(); }));
  EXPECT_EQ(provider.frontApplication()->pid, getpid());
  EXPECT_LE(timed([&] {
              EXPECT_FALSE(provider.focusedElement(getpid()));
              EXPECT_FALSE(provider.focusedWindow(getpid()));
              EXPECT_FALSE(provider.isSecureInputEnabled());
            }),
            milliseconds(300));
}

TEST_F(Accessibility, ACallFromAnotherThreadStopsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::thread([this] { provider.isTrusted(); }).join(), testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
}  // namespace quillet::test
