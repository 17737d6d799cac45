// SPDX-License-Identifier: MIT
#include "QuilletKit/JSON/JSONWriter.h"

#include <unicode/utf8.h>

#include <charconv>

#include "QuilletKit/JSON/JSONCoding.h"

namespace quillet {
namespace {

bool isPlain(unsigned char c) {
  return c >= 0x20 && c < 0x80 && c != '"' && c != '\\';
}

/// The same for all of a block, as wide as the bytes so that it is a few vector operations.
template <std::size_t size>
bool isPlainBlock(const char* block) {
  unsigned char special = 0;
  for (std::size_t i = 0; i < size; ++i) {
    const auto c = static_cast<signed char>(block[i]);
    special |= static_cast<unsigned char>((c < 0x20) | (c == '"') | (c == '\\'));
  }
  return special == 0;
}

/// How many bytes from `from` on stand for themselves.
std::size_t plainLength(std::string_view text, std::size_t from) {
  constexpr std::size_t kLarge = 64, kSmall = 16;
  std::size_t at = from;
  while (at + kLarge <= text.size() && isPlainBlock<kLarge>(text.data() + at)) at += kLarge;
  while (at + kSmall <= text.size() && isPlainBlock<kSmall>(text.data() + at)) at += kSmall;
  while (at < text.size() && isPlain(static_cast<unsigned char>(text[at]))) ++at;
  return at - from;
}

/// Steps over one character beyond ASCII.
std::size_t sequenceLength(std::string_view text, std::size_t at) {
  std::size_t next = at;
  UChar32 character = 0;
  U8_NEXT(text.data(), next, text.size(), character);
  if (character < 0) throw JSONCoding::EncodingError("text is not UTF-8");
  return next - at;
}

void appendEscape(std::string& out, char c) {
  constexpr std::string_view kNamed = "\"\\\b\f\n\r\t";
  constexpr std::string_view kNames = "\"\\bfnrt";
  constexpr std::string_view kHex = "0123456789abcdef";
  out += '\\';
  if (const std::size_t named = kNamed.find(c); named != std::string_view::npos) {
    out += kNames[named];
  } else {
    out += "u00";
    out += kHex[static_cast<unsigned char>(c) >> 4];
    out += kHex[static_cast<unsigned char>(c) & 0xF];
  }
}

template <typename Number>
void appendNumber(std::string& out, Number value) {
  char digits[32];
  const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
  out.append(digits, end);
}

}  // namespace

void JSONWriter::separate() {
  if (comma_) out_ += ',';
  comma_ = true;
}

void JSONWriter::open(char bracket) {
  separate();
  out_ += bracket;
  comma_ = false;
}

void JSONWriter::close(char bracket) {
  out_ += bracket;
  comma_ = true;
}

void JSONWriter::key(std::string_view literal) {
  out_ += comma_ ? std::string_view(",\"") : std::string_view("\"");
  out_ += literal;
  out_ += "\":";
  comma_ = false;
}

void JSONWriter::anyKey(std::string_view text) {
  separate();
  quote(text);
  out_ += ':';
  comma_ = false;
}

void JSONWriter::string(std::string_view text) {
  separate();
  quote(text);
}

void JSONWriter::quote(std::string_view text) {
  out_ += '"';
  std::size_t written = 0;
  std::size_t at = plainLength(text, 0);
  while (at < text.size()) {
    if (static_cast<unsigned char>(text[at]) < 0x80) {
      out_.append(text, written, at - written);
      appendEscape(out_, text[at]);
      written = ++at;
    } else {
      at += sequenceLength(text, at);
    }
    at += plainLength(text, at);
  }
  out_.append(text, written);
  out_ += '"';
}

void JSONWriter::integer(std::int64_t value) {
  separate();
  appendNumber(out_, value);
}

void JSONWriter::unsignedInteger(std::uint64_t value) {
  separate();
  appendNumber(out_, value);
}

void JSONWriter::raw(std::string_view encoded) {
  separate();
  out_ += encoded;
}

}  // namespace quillet
