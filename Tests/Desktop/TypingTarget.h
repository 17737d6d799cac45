// SPDX-License-Identifier: MIT
#pragma once

#include <thread>

#include "QuilletCompanion/Platform/Linux/Accessibility/SystemAccessibilityProvider.h"
#include "QuilletKit/Base/Unicode.h"
#include "Tests/Desktop/Editor.h"

namespace quillet::test {

constexpr std::string_view asciiSample =
    "The quick (brown) Fox jumps over 13 lazy dogs; \"WHY\"? #{x} = [a|b] * ~10% & so on @ ho^me! ";
constexpr std::string_view mixedSample =
    "Größe Übung naïve \u20ac5 — привет Мир, Ελλάδα, שלום, สวัสดี, 漢字かな交じり文, "
    "e\u0301a\u0308, \U0001F468\u200D\U0001F469\u200D\U0001F467 \U0001F600\U0001F680\U0001F1EB\U0001F1F7 “ok” ";

/// A program in front with an empty text field, or a terminal, that takes keys.
class TypingTarget {
 public:
  TypingTarget(SystemAccessibilityProvider& provider, const std::string& program,
               std::chrono::milliseconds startLimit = std::chrono::seconds(20))
      : provider_(provider),
        terminal_(program == "sakura"),
        editor_(QString::fromStdString(program), arguments(program)) {
    ready_ = eventually([this] { return isInFront(); }, startLimit);
  }

  bool ready() const { return ready_; }
  const Editor& editor() const { return editor_; }
  int refusals() const { return refusals_; }

  /// All that has arrived so far.
  std::string text() {
    if (!terminal_) return provider_.readValue(provider_.focusedElement(editor_.pid())).value_or("");
    QFile file(editor_.path(taken));
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "";
  }
  bool becomes(const std::string& expected) {
    return eventually([&] { return text() == expected; });
  }

  /// As an insertion does it: chunks of up to 16 units, 6 ms apart. False at the first chunk that isn't taken. An
  /// insertion would end when a chunk is refused first; with patience, that is only counted.
  bool type(std::string_view text, std::chrono::milliseconds patience = {}) {
    patience_ = patience;
    const auto find = [this] { return (field_ = provider_.focusedElement(editor_.pid())) != nullptr; };
    if (!find() && patience.count() > 0) eventually(find, patience);
    const auto units = Unicode::toUTF16(text).value();
    std::u16string chunk;
    for (const auto cluster : Unicode::graphemeClusters(units)) {
      if (!chunk.empty() && chunk.size() + cluster.size() > 16 && !post(chunk)) return false;
      chunk += cluster;
    }
    return chunk.empty() || post(chunk);
  }

 private:
  static constexpr auto taken = "taken.txt";

  static QStringList arguments(const std::string& program) {
    if (program == "gnome-text-editor") return {"--standalone", Editor::emptyFile};
    if (program != "sakura") return {Editor::emptyFile};
    // Without line editing each byte is handed on at once, so that no Return is needed.
    return {"-x", QString("sh -c 'stty -icanon && exec cat >%1'").arg(taken)};
  }
  bool isInFront() {
    const auto front = provider_.frontApplication();
    if (!provider_.enableAccessibility() || !front || front->pid != editor_.pid()) return false;
    const auto field = provider_.focusedElement(editor_.pid());
    return field && provider_.inspect(field).editable && (!terminal_ || QFile::exists(editor_.path(taken)));
  }
  bool post(std::u16string& chunk) {
    const auto postRest = [&] {
      chunk.erase(0, provider_.typeUnicode(field_, chunk).count);
      return chunk.empty();
    };
    bool posted = postRest();
    if (!posted && patience_.count() > 0) {
      ++refusals_;
      posted = eventually(postRest, patience_);
    }
    chunk.clear();
    std::this_thread::sleep_for(std::chrono::milliseconds(6));
    QCoreApplication::processEvents();
    return posted;
  }

  SystemAccessibilityProvider& provider_;
  std::chrono::milliseconds patience_{};
  int refusals_ = 0;
  bool terminal_;
  Editor editor_;
  bool ready_ = false;
  ElementRef field_;
};

}  // namespace quillet::test
