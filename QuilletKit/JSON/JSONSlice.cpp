// SPDX-License-Identifier: MIT
#include "QuilletKit/JSON/JSONSlice.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "QuilletKit/JSON/JSONReader.h"

namespace quillet::JSONSlice {
namespace {

/// Goes through a text value by value.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  /// Steps over one character if it stands next.
  bool take(char wanted) {
    skipBlanks();
    if (at_ >= text_.size() || text_[at_] != wanted) return false;
    ++at_;
    return true;
  }
  std::string_view value() {
    skipBlanks();
    const std::size_t start = at_;
    skipValue();
    return text_.substr(start, at_ - start);
  }

 private:
  void skipBlanks() { at_ = std::min(text_.find_first_not_of(" \t\r\n", at_), text_.size()); }

  void skipValue() {
    std::size_t depth = 0;
    do {
      const char c = at_ < text_.size() ? text_[at_] : '\0';
      if (c == '"') {
        skipString();
      } else if (c == '{' || c == '[') {
        ++depth;
        ++at_;
      } else if (c == '}' || c == ']') {
        depth -= depth > 0;
        ++at_;
      } else {
        skipOther(depth > 0);
      }
    } while (depth > 0 && at_ < text_.size());
  }

  void skipString() {
    std::size_t end = at_;
    do {
      end = text_.find('"', end + 1);
    } while (end != text_.npos && isEscaped(end));
    at_ = end == text_.npos ? text_.size() : end + 1;
  }

  /// An odd number of backslashes stands before.
  bool isEscaped(std::size_t at) const {
    std::size_t first = at;
    while (first > 0 && text_[first - 1] == '\\') --first;
    return (at - first) % 2 == 1;
  }

  /// Numbers and words; within a container also what stands between its values.
  void skipOther(bool within) {
    at_ = std::min(text_.find_first_of(within ? "\"{}[]" : ",]} \t\r\n", at_), text_.size());
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

/// A key as it is written may hold escapes.
bool isKey(std::string_view written, std::string_view key) {
  if (written.size() < 2) return false;
  if (written.find('\\') == written.npos) return written.substr(1, written.size() - 2) == key;
  bool same = false;
  JSONReader::parse(written, [&](const JSONReader& reader) { same = reader.string() == key; });
  return same;
}

}  // namespace

std::string_view member(std::string_view object, std::string_view key) {
  Scanner scanner(object);
  std::string_view found;
  if (!scanner.take('{')) return found;
  do {
    const std::string_view name = scanner.value();
    if (!scanner.take(':')) break;
    const std::string_view value = scanner.value();
    if (isKey(name, key)) found = value;
  } while (scanner.take(','));
  return found;
}

std::vector<std::string_view> elements(std::string_view array) {
  Scanner scanner(array);
  std::vector<std::string_view> found;
  if (!scanner.take('[') || scanner.take(']')) return found;
  do {
    found.push_back(scanner.value());
  } while (scanner.take(','));
  return found;
}

}  // namespace quillet::JSONSlice
