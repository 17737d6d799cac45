// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Terminal/TerminalOutput.h"

#include <boost/json/serialize.hpp>

#include "QuilletKit/Base/PlainText.h"

namespace quillet {

void TerminalOutput::emit(const Object& object, const std::string& text) const {
  print_(style_ == Style::json ? boost::json::serialize(object) : text);
}

std::string TerminalOutput::lostLines(Style style, std::size_t count) {
  if (style == Style::json) return boost::json::serialize(Object{{"event", "lostLines"}, {"count", count}});
  return "(" + std::to_string(count) + " lines were left out, as nobody read them.)";
}

void TerminalOutput::event(std::string_view name, Object fields, const std::string& text) const {
  fields["event"] = name;
  emit(fields, text);
}

void TerminalOutput::answer(std::string_view name, Object fields, const std::string& text) const {
  fields["answer"] = name;
  emit(fields, text);
}

void TerminalOutput::refuse(const std::string& text) const {
  answer("error", {{"message", text}}, plainText(text));
}

}  // namespace quillet
