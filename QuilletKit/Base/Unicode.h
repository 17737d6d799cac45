// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Text beyond bytes. Thread-safe; views that come back point into the argument. Where a function takes UTF-8 without
/// saying more, ill-formed bytes count as U+FFFD and pass through unchanged.
namespace quillet::Unicode {

/// Absent for ill-formed UTF-8 (overlong forms, encoded surrogates, truncation).
std::optional<std::u16string> toUTF16(std::string_view utf8);
/// Absent for a lone surrogate.
std::optional<std::string> toUTF8(std::u16string_view utf16);
/// Absent for a lone surrogate.
std::optional<std::u32string> toUTF32(std::u16string_view utf16);
bool isValidUTF8(std::string_view text);

/// The length in UTF-16 units; absent for ill-formed UTF-8.
std::optional<std::size_t> utf16Length(std::string_view utf8);

/// Extended grapheme clusters, in order; together they are the whole text.
std::vector<std::u16string_view> graphemeClusters(std::u16string_view text);
std::vector<std::string_view> graphemeClusters(std::string_view utf8);
/// At most the first `count` grapheme clusters.
std::string_view cutToClusters(std::string_view utf8, std::size_t count);

/// General category Control, U+2028 or U+2029.
bool isControl(char32_t scalar);
bool containsControl(std::u16string_view text);
bool containsControl(std::string_view utf8);

/// General categories Z*, U+0009 to U+000D and U+0085.
bool isWhiteSpaceOrNewline(char32_t scalar);
/// Without white space and new lines at both ends.
std::string_view trim(std::string_view utf8);
std::u16string_view trim(std::u16string_view text);

/// The order in which people of the user's language list names; numbers within them count as numbers, so that "Mic 2"
/// comes before "Mic 10". A strict weak order: names of which neither comes before the other may still differ in bytes.
bool nameComesBefore(std::string_view utf8, std::string_view otherUTF8);

}  // namespace quillet::Unicode
