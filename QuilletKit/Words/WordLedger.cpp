// SPDX-License-Identifier: MIT
#include "QuilletKit/Words/WordLedger.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <limits>

#include "QuilletKit/JSON/JSONFields.h"

namespace quillet {
namespace {

bool isLetterOrNumber(UChar32 c) {
  return u_isUAlphabetic(c) != 0 || u_getIntPropertyValue(c, UCHAR_NUMERIC_TYPE) != U_NT_NONE;
}

}  // namespace

std::int64_t WordCounter::count(std::string_view utf8) {
  std::int64_t words = 0;
  bool counted = false;
  for (std::size_t at = 0; at < utf8.size();) {
    UChar32 c = 0;
    U8_NEXT_OR_FFFD(utf8.data(), at, utf8.size(), c);
    if (u_isUWhiteSpace(c) != 0) {
      counted = false;
    } else if (!counted && isLetterOrNumber(c)) {
      counted = true;
      ++words;
    }
  }
  return words;
}

std::int64_t saturatingSum(std::int64_t a, std::int64_t b) {
  using Limits = std::numeric_limits<std::int64_t>;
  std::int64_t sum = 0;
  if (!__builtin_add_overflow(a, b, &sum)) return sum;
  return b > 0 ? Limits::max() : Limits::min();
}

std::int64_t WordLedger::total() const {
  std::int64_t sum = archived;
  for (const auto& [day, words] : days) sum = saturatingSum(sum, words);
  return sum;
}

void WordLedger::add(std::int64_t words, const std::string& today, std::string_view cutoff) {
  if (words < 1) return;
  days[today] = saturatingSum(days[today], words);
  for (auto day = days.begin(); day != days.end() && day->first < cutoff;) {
    if (day->first == today) {
      ++day;
      continue;
    }
    archived = saturatingSum(archived, day->second);
    day = days.erase(day);
  }
}

constexpr auto jsonFields(std::type_identity<WordLedger>) {
  using namespace JSONCoding;
  return fields(field("archived", &WordLedger::archived), field("days", &WordLedger::days),
                field("name", &WordLedger::name), field("symbol", &WordLedger::symbol));
}

}  // namespace quillet

JSONCODING_INSTANTIATE(WordLedger);
