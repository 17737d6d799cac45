// SPDX-License-Identifier: MIT
#include <algorithm>
#include <boost/json/parse.hpp>
#include <cmath>

#include "Fuzz/FuzzInput.h"
#include "QuilletKit/JSON/JSONReader.h"

namespace {

using namespace quillet;
namespace json = boost::json;

void requireSame(const JSONReader& ours, const json::value& theirs);

void requireSame(const JSONReader& ours, const json::array& theirs) {
  fuzz::require(ours.size() == theirs.size());
  auto at = theirs.begin();
  ours.forEachElement([&](const JSONReader& element) { requireSame(element, *at++); });
}

void requireSame(const JSONReader& ours, const json::object& theirs) {
  std::size_t members = 0;
  ours.forEachMember([&](std::string_view key, const JSONReader& member) {
    const auto* found = theirs.if_contains(key);
    fuzz::require(found != nullptr && ours.find(key).has_value() != found->is_null());
    requireSame(member, *found);
    ++members;
  });
  fuzz::require(members == theirs.size());
}

void requireSame(const JSONReader& ours, const json::value& theirs) {
  switch (theirs.kind()) {
    case json::kind::null:
      return fuzz::require(ours.isNull());
    case json::kind::bool_:
      return fuzz::require(ours.boolean() == theirs.get_bool());
    case json::kind::int64:
      return fuzz::require(ours.integer() == theirs.get_int64());
    case json::kind::uint64:
      return fuzz::require(ours.unsignedInteger() == theirs.get_uint64());
    case json::kind::double_:
      return;  // only skipped: nothing asks for one
    case json::kind::string:
      return fuzz::require(ours.string() == std::string_view(theirs.get_string()));
    case json::kind::array:
      return requireSame(ours, theirs.get_array());
    case json::kind::object:
      return requireSame(ours, theirs.get_object());
  }
}

/// The other reader takes what no double can hold for infinite.
bool isFinite(const json::value& value) {
  if (value.is_double()) return std::isfinite(value.get_double());
  if (value.is_array()) {
    return std::all_of(value.get_array().begin(), value.get_array().end(), isFinite);
  }
  if (!value.is_object()) return true;
  return std::all_of(value.get_object().begin(), value.get_object().end(),
                     [](const auto& member) { return isFinite(member.value()); });
}

/// False for what is refused.
bool isRead(std::string_view text, const json::value* theirs) {
  try {
    JSONReader::parse(text, [&](const JSONReader& value) {
      fuzz::require(theirs != nullptr);
      requireSame(value, *theirs);
    });
    return true;
  } catch (const JSONCoding::DecodingError&) {
    return false;
  }
}

}  // namespace

/// A document reader of the same grammar must agree.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::textOf(data, size);
  json::error_code error;
  const json::value theirs = json::parse(text, error);
  const bool read = isRead(text, error ? nullptr : &theirs);
  // Only what no double can hold is refused beyond that. Of repeated keys the other one shows but the last.
  const bool mayBeInfinite = text.size() > 300 || text.find_first_of("eE") != text.npos;
  fuzz::require(read || error || mayBeInfinite || !isFinite(theirs));
  return 0;
}
