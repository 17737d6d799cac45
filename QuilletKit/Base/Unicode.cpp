// SPDX-License-Identifier: MIT
#include "QuilletKit/Base/Unicode.h"

#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/ucol.h>
#include <unicode/uloc.h>
#include <unicode/ustring.h>
#include <unicode/utext.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <limits>
#include <memory>
#include <new>
#include <stdexcept>

namespace quillet::Unicode {
namespace {

std::int32_t lengthOf(std::size_t size) {
  if (size > std::numeric_limits<std::int32_t>::max()) throw std::length_error("text");
  return static_cast<std::int32_t>(size);
}

template <typename T>
T checked(T value, UErrorCode status) {
  if (U_FAILURE(status)) throw std::runtime_error(u_errorName(status));
  return value;
}

struct TextCloser {
  void operator()(UText* text) const { utext_close(text); }
};
using TextHandle = std::unique_ptr<UText, TextCloser>;

TextHandle openText(std::string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  UText* opened = utext_openUTF8(nullptr, text.data() == nullptr ? "" : text.data(), lengthOf(text.size()), &status);
  return TextHandle(checked(opened, status));
}

TextHandle openText(std::u16string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  UText* opened = utext_openUChars(nullptr, text.data() == nullptr ? u"" : text.data(), lengthOf(text.size()), &status);
  return TextHandle(checked(opened, status));
}

struct BreakCloser {
  void operator()(UBreakIterator* iterator) const { ubrk_close(iterator); }
};

// Opening one loads rules, which costs more than walking a sentence.
UBreakIterator* clusterBreaks() {
  thread_local const std::unique_ptr<UBreakIterator, BreakCloser> breaks = [] {
    UErrorCode status = U_ZERO_ERROR;
    UBreakIterator* opened = ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &status);
    return std::unique_ptr<UBreakIterator, BreakCloser>(checked(opened, status));
  }();
  return breaks.get();
}

/// Calls `visit(start, end)` for each cluster until it gives false.
template <typename View, typename Visit>
void walkClusters(View text, Visit visit) {
  const TextHandle handle = openText(text);
  UBreakIterator* breaks = clusterBreaks();
  UErrorCode status = U_ZERO_ERROR;
  ubrk_setUText(breaks, handle.get(), &status);
  checked(0, status);
  std::int32_t start = ubrk_first(breaks);
  for (std::int32_t end = ubrk_next(breaks); end != UBRK_DONE; start = end, end = ubrk_next(breaks)) {
    if (!visit(static_cast<std::size_t>(start), static_cast<std::size_t>(end))) return;
  }
}

template <typename View>
std::vector<View> clustersOf(View text) {
  std::vector<View> clusters;
  walkClusters(text, [&](std::size_t start, std::size_t end) {
    clusters.push_back(text.substr(start, end - start));
    return true;
  });
  return clusters;
}

// One step over text of either form; ill-formed input gives U+FFFD.
UChar32 next(std::string_view text, std::int32_t& position) {
  UChar32 scalar = 0;
  U8_NEXT_OR_FFFD(text.data(), position, static_cast<std::int32_t>(text.size()), scalar);
  return scalar;
}
UChar32 next(std::u16string_view text, std::int32_t& position) {
  UChar32 scalar = 0;
  U16_NEXT_OR_FFFD(text.data(), position, static_cast<std::int32_t>(text.size()), scalar);
  return scalar;
}
UChar32 previous(std::string_view text, std::int32_t& position) {
  UChar32 scalar = 0;
  U8_PREV_OR_FFFD(text.data(), 0, position, scalar);
  return scalar;
}
UChar32 previous(std::u16string_view text, std::int32_t& position) {
  UChar32 scalar = 0;
  U16_PREV_OR_FFFD(text.data(), 0, position, scalar);
  return scalar;
}

template <typename View>
bool anyControl(View text) {
  const std::int32_t end = lengthOf(text.size());
  for (std::int32_t position = 0; position < end;) {
    if (isControl(static_cast<char32_t>(next(text, position)))) return true;
  }
  return false;
}

template <typename View>
View trimmed(View text) {
  std::int32_t start = 0;
  std::int32_t end = lengthOf(text.size());
  for (std::int32_t position = 0; position < end; start = position) {
    if (!isWhiteSpaceOrNewline(static_cast<char32_t>(next(text, position)))) break;
  }
  for (std::int32_t position = end; position > start; end = position) {
    if (!isWhiteSpaceOrNewline(static_cast<char32_t>(previous(text, position)))) break;
  }
  return text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start));
}

struct CollatorCloser {
  void operator()(UCollator* collator) const { ucol_close(collator); }
};

UCollator* nameCollator() {
  thread_local const std::unique_ptr<UCollator, CollatorCloser> collator = [] {
    UErrorCode status = U_ZERO_ERROR;
    // Without a language (LANG=C) that would be the order of bytes; the root's rules do for people.
    const char* const language = std::string_view(uloc_getDefault()) == "en_US_POSIX" ? "" : nullptr;
    std::unique_ptr<UCollator, CollatorCloser> opened(ucol_open(language, &status));
    if (U_SUCCESS(status)) ucol_setAttribute(opened.get(), UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
    return checked(std::move(opened), status);
  }();
  return collator.get();
}

}  // namespace

std::optional<std::u16string> toUTF16(std::string_view utf8) {
  // No UTF-8 text has more UTF-16 units than bytes.
  std::u16string units(utf8.size(), u'\0');
  std::int32_t written = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8(units.data(), lengthOf(units.size()), &written, utf8.data(), lengthOf(utf8.size()), &status);
  if (status == U_INVALID_CHAR_FOUND) return std::nullopt;
  units.resize(static_cast<std::size_t>(checked(written, status)));
  return units;
}

std::optional<std::string> toUTF8(std::u16string_view utf16) {
  std::string bytes(utf16.size() * 3, '\0');
  std::int32_t written = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8(bytes.data(), lengthOf(bytes.size()), &written, utf16.data(), lengthOf(utf16.size()), &status);
  if (status == U_INVALID_CHAR_FOUND) return std::nullopt;
  bytes.resize(static_cast<std::size_t>(checked(written, status)));
  return bytes;
}

std::optional<std::u32string> toUTF32(std::u16string_view utf16) {
  std::u32string scalars;
  scalars.reserve(utf16.size());
  const std::int32_t end = lengthOf(utf16.size());
  for (std::int32_t position = 0; position < end;) {
    UChar32 scalar = 0;
    U16_NEXT(utf16.data(), position, end, scalar);
    if (U_IS_SURROGATE(scalar)) return std::nullopt;
    scalars.push_back(static_cast<char32_t>(scalar));
  }
  return scalars;
}

bool isValidUTF8(std::string_view text) {
  return utf16Length(text).has_value();
}

std::optional<std::size_t> utf16Length(std::string_view utf8) {
  std::size_t length = 0;
  const std::int32_t end = lengthOf(utf8.size());
  for (std::int32_t position = 0; position < end;) {
    UChar32 scalar = 0;
    U8_NEXT(utf8.data(), position, end, scalar);
    if (scalar < 0) return std::nullopt;
    length += static_cast<std::size_t>(U16_LENGTH(scalar));
  }
  return length;
}

std::vector<std::u16string_view> graphemeClusters(std::u16string_view text) {
  return clustersOf(text);
}
std::vector<std::string_view> graphemeClusters(std::string_view utf8) {
  return clustersOf(utf8);
}

std::string_view cutToClusters(std::string_view utf8, std::size_t count) {
  if (utf8.size() <= count) return utf8;
  std::size_t kept = 0;
  std::size_t bytes = 0;
  walkClusters(utf8, [&](std::size_t, std::size_t end) {
    if (kept == count) return false;
    ++kept;
    bytes = end;
    return true;
  });
  return utf8.substr(0, bytes);
}

bool isControl(char32_t scalar) {
  if (scalar < 0x20) return true;
  if (scalar < 0x7F) return false;
  return scalar == 0x2028 || scalar == 0x2029 || u_charType(static_cast<UChar32>(scalar)) == U_CONTROL_CHAR;
}

bool containsControl(std::u16string_view text) {
  return anyControl(text);
}
bool containsControl(std::string_view utf8) {
  return anyControl(utf8);
}

bool isWhiteSpaceOrNewline(char32_t scalar) {
  if (scalar < 0x7F) return scalar == ' ' || (scalar >= 0x09 && scalar <= 0x0D);
  return scalar == 0x85 || (U_GET_GC_MASK(static_cast<UChar32>(scalar)) & U_GC_Z_MASK) != 0;
}

std::string_view trim(std::string_view utf8) {
  return trimmed(utf8);
}
std::u16string_view trim(std::u16string_view text) {
  return trimmed(text);
}

bool nameComesBefore(std::string_view utf8, std::string_view otherUTF8) {
  UErrorCode status = U_ZERO_ERROR;
  const auto order =
      ucol_strcollUTF8(nameCollator(), utf8.data() == nullptr ? "" : utf8.data(), lengthOf(utf8.size()),
                       otherUTF8.data() == nullptr ? "" : otherUTF8.data(), lengthOf(otherUTF8.size()), &status);
  return checked(order, status) == UCOL_LESS;
}

}  // namespace quillet::Unicode
