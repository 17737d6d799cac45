// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "QuilletKit/JSON/JSONFields.h"
#include "Tests/Doubles/Rows.h"

namespace quillet {
namespace {

using JSONCoding::DecodingError;
using JSONCoding::EncodingError;

enum class Colour { red, green };
constexpr auto rawNames(std::type_identity<Colour>) {
  return rawTable<2>({"red", "green"});
}

struct Record {
  std::int64_t count = 0;
  std::optional<std::string> note;
  bool operator==(const Record&) const = default;
};
constexpr auto jsonFields(std::type_identity<Record>) {
  using namespace JSONCoding;
  return fields(field("count", &Record::count), field("note", &Record::note));
}

struct Settings {
  std::uint8_t level = 7;
  bool enabled = true;
  std::vector<Colour> colours;
  std::map<std::string, Record> records;
};
constexpr auto jsonFields(std::type_identity<Settings>) {
  using namespace JSONCoding;
  return fields(field("colours", &Settings::colours), defaulted("enabled", &Settings::enabled),
                defaulted("level", &Settings::level), field("records", &Settings::records));
}

std::string nested(std::size_t depth) {
  return R"({"count":1,"x":)" + std::string(depth, '[') + std::string(depth, ']') + "}";
}

TEST(JSONDecoding, RefusesWhatIsNoJSONOrOfAnotherType) {
  std::vector<std::string> refused = test::rows<std::string>("json", "refused");
  for (const std::string note : {"\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82"}) {
    refused.push_back(R"({"count":1,"note":")" + note + "\"}");
  }
  for (const std::string& text : {nested(40), nested(200'000), std::string("{\"count\":1,\"x\":\"\xFF\"}"),
                                  std::string("{\"count\":1,\"\xFF\":0}")}) {
    refused.push_back(text);
  }
  for (const auto& text : refused) {
    EXPECT_THROW(JSONCoding::decode<Record>(text), DecodingError) << text.substr(0, 80);
  }
}

TEST(JSONDecoding, AcceptsEveryWayToWriteTheSame) {
  for (const auto& [text, plain] : test::rows<std::tuple<std::string, std::string>>("json", "accepted")) {
    EXPECT_EQ(JSONCoding::encode(JSONCoding::decode<Record>(text)), plain) << text;
  }
  EXPECT_EQ(JSONCoding::decode<Record>(nested(20)), (Record{1, std::nullopt}));
}

TEST(JSONDecoding, NamesTheKeyAndNeverTheValue) {
  EXPECT_THAT([] { JSONCoding::decode<Record>(R"({"count":1,"note":["secret"]})"); },
              testing::ThrowsMessage<DecodingError>("\"note\" is not a string"));
}

TEST(JSONEncoding, FindsASpecialCharacterAtAnyPlace) {
  for (const std::string special : {"\"", "\\", "\x01", "\x1F", "\xC3\xA9"}) {
    for (std::size_t at = 0; at < 70; ++at) {
      const std::string text = std::string(at, 'x') + special + std::string(69 - at, 'y');
      const std::string encoded = JSONCoding::encode(text);
      EXPECT_EQ(JSONCoding::decode<std::string>(encoded), text);
      EXPECT_EQ(encoded.size(), 2 + 69 + (special < " " ? 6 : 2)) << at;
    }
    EXPECT_THROW(JSONCoding::encode(std::string(40, 'x') + special + "\xFF"), EncodingError);
  }
}

TEST(JSONCoding, ReadsAndWritesNestedTypes) {
  Settings settings;
  settings.colours = {Colour::green, Colour::red};
  settings.records = {{"b", {2, "x"}}, {"a\"", {1, std::nullopt}}};
  const std::string text = JSONCoding::encode(settings);
  EXPECT_EQ(text, R"({"colours":["green","red"],"enabled":true,"level":7,)"
                  R"("records":{"a\"":{"count":1},"b":{"count":2,"note":"x"}}})");
  const auto read = JSONCoding::decode<Settings>(text);
  EXPECT_EQ(read.colours, settings.colours);
  EXPECT_EQ(read.records, settings.records);
}

TEST(JSONCoding, DefaultedMembersKeepTheirValueButNotAnyType) {
  const auto read =
      JSONCoding::decode<Settings>(R"({"colours":[],"else":{"b":[{}, -1.5, "é"],"a":null},"level":null,"records":{}})");
  EXPECT_EQ(read.level, 7);
  EXPECT_TRUE(read.enabled);
  for (const char* member : {R"("level":256)", R"("level":-1)", R"("enabled":1)", R"("enabled":"true")",
                             R"("level":7.5)", R"("colours":["blue"])", R"("colours":["Red"])", R"("colours":{})",
                             R"("colours":[null])", R"("records":[])", R"("records":{"a":{}})"}) {
    const std::string text = R"({"colours":[],"records":{},)" + std::string(member) + "}";
    EXPECT_THROW(JSONCoding::decode<Settings>(text), DecodingError) << member;
  }
}

TEST(JSONCoding, KeepsOfRepeatedMembersTheLastAlone) {
  using Records = std::map<std::string, Record>;
  const auto read = JSONCoding::decode<Records>(
      R"({"b":7,"a":{"count":1,"note":"x"},"\u0061":{"count":2},"b":{"count":3},"c":{"count":4}})");
  EXPECT_EQ(read, (Records{{"a", {2, std::nullopt}}, {"b", {3, std::nullopt}}, {"c", {4, std::nullopt}}}));
}

TEST(JSONCoding, KeepsManyEscapedTextsApart) {
  std::map<std::string, std::string> texts;
  for (int i = 0; i < 300; ++i) {
    const std::string number = std::to_string(i);
    texts["\n" + number] = number + "\"" + std::string(static_cast<std::size_t>(i), 'x') + "\\\t";
  }
  EXPECT_EQ((JSONCoding::decode<std::map<std::string, std::string>>(JSONCoding::encode(texts))), texts);
}

}  // namespace
}  // namespace quillet
