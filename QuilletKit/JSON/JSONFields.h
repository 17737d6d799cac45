// SPDX-License-Identifier: MIT
#pragma once

#include <concepts>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "QuilletKit/Base/RawValue.h"
#include "QuilletKit/JSON/JSONCoding.h"
#include "QuilletKit/JSON/JSONReader.h"
#include "QuilletKit/JSON/JSONWriter.h"

/// Describing types for JSONCoding; see the top of JSONCoding.h. For sources, not for headers that others include.
namespace quillet::JSONCoding {

enum class Absence { refused, keepsInitialValue };

template <typename Record, typename Member>
struct Field {
  std::string_view key;
  Member Record::*member;
  Absence absence;
};
/// A key with one permitted value: the tag by which the alternatives of a variant are told apart.
struct Constant {
  std::string_view key, value;
};

template <typename Record, typename Member>
constexpr Field<Record, Member> field(std::string_view key, Member Record::*member) {
  return {key, member, Absence::refused};
}
/// Absent or null on input, the member keeps its initial value.
template <typename Record, typename Member>
constexpr Field<Record, Member> defaulted(std::string_view key, Member Record::*member) {
  return {key, member, Absence::keepsInitialValue};
}
constexpr Constant constant(std::string_view key, std::string_view value) {
  return {key, value};
}

/// Compiles only with the keys in ascending order.
template <typename... Fields>
constexpr std::tuple<Fields...> fields(Fields... list) {
  std::string_view last;
  for (const std::string_view key : {list.key...}) {
    if (!(last < key)) throw "keys must ascend";
    last = key;
  }
  return {list...};
}

template <typename T>
concept Described = requires {
  jsonFields(std::type_identity<T>{});
};
/// The description as a constant, so that an unsorted one doesn't compile.
template <typename T>
inline constexpr auto kJSONFields = jsonFields(std::type_identity<T>{});

template <typename T>
void writeValue(JSONWriter& writer, const T& value);
template <typename T>
void readValue(const JSONReader& reader, T& value);

namespace detail {

template <typename T, template <typename...> class Template>
inline constexpr bool isA = false;
template <template <typename...> class Template, typename... Arguments>
inline constexpr bool isA<Template<Arguments...>, Template> = true;

template <typename Record>
void writeField(JSONWriter& writer, const Record&, const Constant& field) {
  writer.key(field.key);
  writer.string(field.value);
}

template <typename Record, typename Member>
void writeField(JSONWriter& writer, const Record& record, const Field<Record, Member>& field) {
  const Member& member = record.*field.member;
  if constexpr (isA<Member, std::optional>) {
    if (!member) return;
    writer.key(field.key);
    writeValue(writer, *member);
  } else {
    writer.key(field.key);
    writeValue(writer, member);
  }
}

template <typename Record>
void readField(const JSONReader& reader, Record&, const Constant& field) {
  const JSONReader member = reader.member(field.key);
  if (member.string() != field.value) member.fail("of another kind");
}

template <typename Record, typename Member>
void readField(const JSONReader& reader, Record& record, const Field<Record, Member>& field) {
  Member& member = record.*field.member;
  if constexpr (isA<Member, std::optional>) {
    if (const auto found = reader.find(field.key)) readValue(*found, member.emplace(typename Member::value_type{}));
  } else if (field.absence == Absence::keepsInitialValue) {
    if (const auto found = reader.find(field.key)) readValue(*found, member);
  } else {
    readValue(reader.member(field.key), member);
  }
}

/// The tag of a variant's alternative; an alternative without one takes what no other one takes.
template <typename... Fields>
constexpr std::optional<Constant> tagAmong(const std::tuple<Fields...>& list) {
  if constexpr ((std::is_same_v<Fields, Constant> || ...)) return std::get<Constant>(list);
  return std::nullopt;
}

template <typename Variant, typename Alternative>
bool readAlternative(const JSONReader& reader, Variant& value) {
  constexpr auto tag = tagAmong(jsonFields(std::type_identity<Alternative>{}));
  if (tag && reader.member(tag->key).string() != tag->value) return false;
  readValue(reader, value.template emplace<Alternative>());
  return true;
}

template <typename... Alternatives>
void readVariant(const JSONReader& reader, std::variant<Alternatives...>& value) {
  if (!(readAlternative<std::variant<Alternatives...>, Alternatives>(reader, value) || ...))
    reader.fail("of no known kind");
}

template <typename T>
void writeRange(JSONWriter& writer, const T& values) {
  if constexpr (isA<T, std::map>) {
    writer.beginObject();
    for (const auto& [key, value] : values) {
      writer.anyKey(key);
      writeValue(writer, value);
    }
    writer.endObject();
  } else {
    writer.beginArray();
    for (const auto& value : values) writeValue(writer, value);
    writer.endArray();
  }
}

template <typename T>
void readRange(const JSONReader& reader, T& values) {
  values.clear();
  if constexpr (isA<T, std::map>) {
    reader.forEachMember(
        [&](std::string_view key, const JSONReader& member) { readValue(member, values[std::string(key)]); });
  } else {
    values.reserve(reader.size());
    reader.forEachElement([&](const JSONReader& element) { readValue(element, values.emplace_back()); });
  }
}

template <typename T>
void readInteger(const JSONReader& reader, T& value) {
  const auto wide = [&] {
    if constexpr (std::is_signed_v<T>)
      return reader.integer();
    else
      return reader.unsignedInteger();
  }();
  if (!std::in_range<T>(wide)) reader.fail("out of range");
  value = static_cast<T>(wide);
}

template <typename E>
void readEnum(const JSONReader& reader, E& value) {
  const auto known = fromRaw<E>(reader.string());
  if (!known) reader.fail("not a known word");
  value = *known;
}

}  // namespace detail

template <typename T>
void writeValue(JSONWriter& writer, const T& value) {
  if constexpr (Described<T>) {
    writer.beginObject();
    std::apply([&](const auto&... each) { (detail::writeField(writer, value, each), ...); }, kJSONFields<T>);
    writer.endObject();
  } else if constexpr (RawEnum<T>) {
    writer.string(rawValue(value));
  } else if constexpr (std::is_same_v<T, std::string>) {
    writer.string(value);
  } else if constexpr (std::is_same_v<T, bool>) {
    writer.boolean(value);
  } else if constexpr (std::signed_integral<T>) {
    writer.integer(value);
  } else if constexpr (std::unsigned_integral<T>) {
    writer.unsignedInteger(value);
  } else if constexpr (detail::isA<T, std::variant>) {
    std::visit([&](const auto& alternative) { writeValue(writer, alternative); }, value);
  } else {
    static_assert(detail::isA<T, std::vector> || detail::isA<T, std::map>, "no jsonFields in sight");
    detail::writeRange(writer, value);
  }
}

template <typename T>
void readValue(const JSONReader& reader, T& value) {
  if constexpr (Described<T>) {
    std::apply([&](const auto&... each) { (detail::readField(reader, value, each), ...); }, kJSONFields<T>);
  } else if constexpr (RawEnum<T>) {
    detail::readEnum(reader, value);
  } else if constexpr (std::is_same_v<T, std::string>) {
    value = reader.string();
  } else if constexpr (std::is_same_v<T, bool>) {
    value = reader.boolean();
  } else if constexpr (std::integral<T>) {
    detail::readInteger(reader, value);
  } else if constexpr (detail::isA<T, std::variant>) {
    detail::readVariant(reader, value);
  } else {
    static_assert(detail::isA<T, std::vector> || detail::isA<T, std::map>, "no jsonFields in sight");
    detail::readRange(reader, value);
  }
}

template <typename T>
std::string encode(const T& value) {
  constexpr std::size_t kUsualSize = 2048;  // holds a sealed frame
  std::string out;
  out.reserve(kUsualSize);
  JSONWriter writer(out);
  writeValue(writer, value);
  if (out.size() < kUsualSize / 4) out.shrink_to_fit();  // what is kept shouldn't waste
  return out;
}

template <typename T>
T decode(std::string_view json) {
  T value{};
  JSONReader::parse(json, [&](const JSONReader& reader) { readValue(reader, value); });
  return value;
}

}  // namespace quillet::JSONCoding

#define JSONCODING_INSTANTIATE(Type)                                                     \
  template std::string quillet::JSONCoding::encode<quillet::Type>(const quillet::Type&); \
  template quillet::Type quillet::JSONCoding::decode<quillet::Type>(std::string_view)
