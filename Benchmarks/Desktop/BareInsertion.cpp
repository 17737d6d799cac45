// SPDX-License-Identifier: MIT
#include "Benchmarks/Desktop/BareInsertion.h"

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>

#include "Benchmarks/Table.h"
#include "QuilletCompanion/Platform/Linux/Accessibility/AtspiElement.h"
#include "QuilletCompanion/Platform/Linux/Accessibility/TextUnits.h"

namespace quillet::bench {
namespace {

const AtspiElement& elementOf(const ElementRef& element) {
  return dynamic_cast<const AtspiElement&>(*element);
}

void syncAndClose(int descriptor) {
  if (descriptor < 0 || fsync(descriptor) != 0 || close(descriptor) != 0) throw std::runtime_error("file");
}

}  // namespace

void BareInsertion::insert(const std::string& text, const std::string& fileContents) {
  replaceFile(fileContents);
  look();
  const auto& element = elementOf(element_);
  GErrorSlot caretError, error;
  const int caret = atspi_text_get_caret_offset(element.text(), caretError);
  const bool bytes = takeText(atspi_accessible_get_toolkit_name(element.accessible(), GErrorSlot())) != "Qt";
  const auto length = bytes ? static_cast<std::int64_t>(text.size()) : TextUnits::utf16Length(text);
  atspi_editable_text_insert_text(ATSPI_EDITABLE_TEXT(element.accessible()), caret, text.c_str(),
                                  static_cast<int>(length), error);
  look();
  replaceFile(fileContents);
}

void BareInsertion::clear() {
  GErrorSlot error;
  atspi_editable_text_set_text_contents(ATSPI_EDITABLE_TEXT(elementOf(element_).accessible()), "", error);
}

void BareInsertion::look() {
  const auto& element = elementOf(element_);
  GErrorSlot countError, textError, caretError;
  const int count = atspi_text_get_character_count(element.text(), countError);
  keep(takeText(atspi_text_get_text(element.text(), 0, count, textError)));
  keep(atspi_text_get_caret_offset(element.text(), caretError));
}

void BareInsertion::replaceFile(const std::string& contents) const {
  const auto temporary = file_.string() + ".new";
  const int file = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (write(file, contents.data(), contents.size()) != static_cast<ssize_t>(contents.size())) {
    throw std::runtime_error("file");
  }
  syncAndClose(file);
  std::filesystem::rename(temporary, file_);
  syncAndClose(open(file_.parent_path().c_str(), O_RDONLY | O_DIRECTORY));
}

}  // namespace quillet::bench
