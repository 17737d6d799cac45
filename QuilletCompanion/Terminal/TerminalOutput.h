// SPDX-License-Identifier: MIT
#pragma once

#include <boost/json/object.hpp>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace quillet {

/// Writes events and answers, as text for people or as one JSON object a line.
class TerminalOutput {
 public:
  enum class Style { people, json };
  using Object = boost::json::object;

  /// `print` gets whole lines without the line feed (a QR code holds several).
  TerminalOutput(Style style, std::function<void(std::string)> print) : style_(style), print_(std::move(print)) {}

  Style style() const { return style_; }
  /// What stands in the place of lines that were left out.
  static std::string lostLines(Style style, std::size_t count);
  /// `fields` for programs, `text` for people.
  void event(std::string_view name, Object fields, const std::string& text) const;
  void answer(std::string_view name, Object fields, const std::string& text) const;
  /// Says why nothing was done, in one line.
  void refuse(const std::string& text) const;

 private:
  void emit(const Object& object, const std::string& text) const;

  Style style_;
  std::function<void(std::string)> print_;
};

}  // namespace quillet
