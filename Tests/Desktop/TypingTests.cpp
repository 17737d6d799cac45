// SPDX-License-Identifier: MIT
#include <atspi/atspi.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "QuilletCompanion/Platform/Linux/KeyTypist.h"

extern char** environ;

namespace quillet {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

/// Looks until `found` gives something, for half a minute at most.
template <typename Look>
auto eventually(Look look) {
  auto found = look();
  for (const auto end = steady_clock::now() + 30s; !found && steady_clock::now() < end; found = look()) {
    std::this_thread::sleep_for(20ms);
  }
  return found;
}

bool has(AtspiAccessible* element, AtspiStateType state) {
  const Owned<AtspiStateSet> states(atspi_accessible_get_state_set(element));
  return states && atspi_state_set_contains(states.get(), state);
}

Owned<AtspiAccessible> focusedText(AtspiAccessible* element, int depth = 0) {
  if (has(element, ATSPI_STATE_FOCUSED) && has(element, ATSPI_STATE_EDITABLE)) {
    return Owned<AtspiAccessible>(static_cast<AtspiAccessible*>(g_object_ref(element)));
  }
  const int children = depth > 30 ? 0 : atspi_accessible_get_child_count(element, nullptr);
  for (int i = 0; i < children; ++i) {
    const Owned<AtspiAccessible> child(atspi_accessible_get_child_at_index(element, i, nullptr));
    if (!child) continue;
    if (auto found = focusedText(child.get(), depth + 1)) return found;
  }
  return nullptr;
}

/// A running editor with its text view focused.
class Editor {
 public:
  explicit Editor(const std::string& program) {
    auto home = (std::filesystem::temp_directory_path() / "editor.XXXXXX").string();
    if (mkdtemp(home.data()) == nullptr) return;
    home_ = home;
    const auto document = home_ / "document.txt";
    std::ofstream(document).flush();
    setenv("HOME", home.c_str(), 1);
    std::vector<std::string> words{program, document.string()};
    if (program == "gnome-text-editor") words.insert(words.begin() + 1, "--standalone");
    std::vector<char*> arguments;
    for (auto& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    if (posix_spawnp(&pid_, program.c_str(), nullptr, nullptr, arguments.data(), environ) != 0) pid_ = 0;
    text_ = eventually([this] { return find(); });
  }
  ~Editor() {
    if (pid_ > 0) kill(pid_, SIGKILL);
    if (pid_ > 0) waitpid(pid_, nullptr, 0);
    std::error_code ignored;
    std::filesystem::remove_all(home_, ignored);
  }

  bool ready() const { return text_ != nullptr; }
  pid_t pid() const { return pid_; }
  std::optional<KeyTypist::Observation> look() const {
    GError* error = nullptr;
    auto* const text = ATSPI_TEXT(text_.get());
    const int characters = atspi_text_get_character_count(text, &error);
    const int caret = error == nullptr ? atspi_text_get_caret_offset(text, &error) : 0;
    if (error == nullptr) return KeyTypist::Observation{characters, caret, 0, 1, unit_};
    g_error_free(error);
    return std::nullopt;
  }
  std::string text() const {
    const auto seen = look();
    gchar* const raw = seen ? atspi_text_get_text(ATSPI_TEXT(text_.get()), 0, seen->characters, nullptr) : nullptr;
    const std::string found = raw == nullptr ? "" : raw;
    g_free(raw);
    return found;
  }

 private:
  Owned<AtspiAccessible> find() {
    const Owned<AtspiAccessible> desktop(atspi_get_desktop(0));
    for (int i = 0; i < atspi_accessible_get_child_count(desktop.get(), nullptr); ++i) {
      const Owned<AtspiAccessible> application(atspi_accessible_get_child_at_index(desktop.get(), i, nullptr));
      if (!application || static_cast<pid_t>(atspi_accessible_get_process_id(application.get(), nullptr)) != pid_)
        continue;
      gchar* const toolkit = atspi_accessible_get_toolkit_name(application.get(), nullptr);
      unit_ = toolkit != nullptr && std::string(toolkit) == "Qt" ? KeyTypist::CountUnit::utf16
                                                                 : KeyTypist::CountUnit::codePoints;
      g_free(toolkit);
      return focusedText(application.get());
    }
    return nullptr;
  }

  std::filesystem::path home_;
  pid_t pid_ = 0;
  Owned<AtspiAccessible> text_;
  KeyTypist::CountUnit unit_ = KeyTypist::CountUnit::unknown;
};

std::u16string utf16(const std::string& text) {
  std::u16string units;
  glong count = 0;
  gunichar2* const raw = g_utf8_to_utf16(text.data(), static_cast<glong>(text.size()), nullptr, &count, nullptr);
  for (glong i = 0; i < count; ++i) units.push_back(static_cast<char16_t>(raw[i]));
  g_free(raw);
  return units;
}

/// As insertion does it: chunks of up to 16 units, 6 ms apart. Surrogate pairs stay together.
bool typeAll(KeyTypist& typist, const Editor& editor, const std::string& text) {
  const auto units = utf16(text);
  for (std::size_t start = 0; start < units.size();) {
    std::size_t length = std::min<std::size_t>(16, units.size() - start);
    const char16_t last = units[start + length - 1];
    if (last >= 0xd800 && last <= 0xdbff) --length;
    const auto progress = [&] { return editor.look(); };
    if (!typist.type(std::u16string_view(units).substr(start, length), progress, steady_clock::now() + 750ms)) {
      return false;
    }
    std::this_thread::sleep_for(6ms);
    start += length;
  }
  return true;
}

std::string repeated(const std::string& pattern, std::size_t characters) {
  std::string text;
  const auto length = static_cast<std::size_t>(g_utf8_strlen(pattern.c_str(), -1));
  for (std::size_t n = 0; n < characters; n += length) text += pattern;
  return text;
}

class TypingTest : public testing::TestWithParam<const char*> {};

TEST_P(TypingTest, TypesEveryCharacterRight) {
  const Editor editor(GetParam());
  ASSERT_TRUE(editor.ready());
  const std::string ascii =
      "The quick (brown) Fox jumps over 13 lazy dogs; \"WHY\"? #{x} = [a|b] * ~10% & so on @ home, isn't it! ";
  const std::string mixed =
      "Größe Übung naïve \u20ac5 — привет Мир, Ελλάδα, שלום, สวัสดี, 漢字かな交じり文, "
      "e\u0301a\u0308, \U0001F468\u200D\U0001F469\u200D\U0001F467 \U0001F600\U0001F680\U0001F1EB\U0001F1F7 “ok” ";
  KeyTypist typist;
  std::string expected;
  for (const auto& pattern : {ascii, mixed}) {
    const auto text = repeated(pattern, 2000);
    expected += text;
    const auto start = steady_clock::now();
    ASSERT_TRUE(typeAll(typist, editor, text));
    ASSERT_TRUE(eventually([&] { return editor.text().size() >= expected.size(); }));
    const auto seconds = std::chrono::duration<double>(steady_clock::now() - start).count();
    RecordProperty(pattern == ascii ? "asciiPerSecond" : "mixedPerSecond",
                   static_cast<int>(static_cast<double>(g_utf8_strlen(text.c_str(), -1)) / seconds));
    ASSERT_EQ(editor.text(), expected);
  }
}

INSTANTIATE_TEST_SUITE_P(Editors, TypingTest, testing::Values("mousepad", "featherpad"), [](const auto& editor) {
  std::string name = editor.param;
  std::erase(name, '-');
  return name;
});

}  // namespace
}  // namespace quillet
