// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>

#include "QuilletCompanion/Target/AccessibilityProvider.h"

namespace quillet::bench {

/// What no insertion can do without, with nothing around it: the field's text and caret are read, the text is written,
/// both are read again, and a file is replaced durably before and after.
class BareInsertion {
 public:
  /// `element` is one of the desktop's own.
  BareInsertion(ElementRef element, std::filesystem::path file)
      : element_(std::move(element)), file_(std::move(file)) {}

  void insert(const std::string& text, const std::string& fileContents);
  /// Empties the field.
  void clear();

 private:
  void look();
  void replaceFile(const std::string& contents) const;

  ElementRef element_;
  std::filesystem::path file_;
};

}  // namespace quillet::bench
