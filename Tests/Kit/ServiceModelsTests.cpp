// SPDX-License-Identifier: MIT
#include "QuilletKit/ServiceModels.h"

#include <gtest/gtest.h>

#include <string>

#include "QuilletKit/JSONCoding.h"

namespace quillet {
namespace {

TEST(Feedback, KnowsAnEmailAddress) {
  const std::string domain = "@b.nl";
  const std::string accepted[] = {"a@b.nl",
                                  "a.b+c'd@e-f.co.uk",
                                  "a@b..",
                                  "a@..b",
                                  "é@ü.рф",
                                  "a!#$%&*/=?^_`{|}~@b.c",
                                  std::string(254 - 5, 'a') + domain,
                                  [] {  // 254 characters of two code points each
                                    std::string text = "a@b.";
                                    for (int i = 0; i < 250; ++i) text += "e\u0301";
                                    return text;
                                  }()};
  for (const std::string& text : accepted) EXPECT_TRUE(Feedback::isEmail(text)) << text;

  const std::string refused[] = {"",
                                 "@",
                                 "a",
                                 "a@",
                                 "@b.nl",
                                 "a@b",
                                 "a@b.",
                                 "a@.b",
                                 "a@.",
                                 "a b@c.nl",
                                 "a@b c.nl",
                                 "a@b.nl ",
                                 "a@b.nl\n",
                                 "a@b@c.nl",
                                 "<a@b.nl>",
                                 "a,c@b.nl",
                                 "a:@b.nl",
                                 "a;@b.nl",
                                 "a\\@b.nl",
                                 "\"a\"@b.nl",
                                 "a@[b.nl]",
                                 "(a)@b.nl",
                                 "a\u00A0@b.nl",
                                 "a@b\u2003.nl",
                                 "a\xFF@b.nl",
                                 std::string(255 - 5, 'a') + domain};
  for (const std::string& text : refused) EXPECT_FALSE(Feedback::isEmail(text)) << text;
}

TEST(TranscribeBody, IsLengthMetadataAudio) {
  const TranscribeMeta meta{"u/1", RecognitionLanguage::nl, TranscriptStyle::clean, {"één"}, true};
  const Bytes audio = {0, 1, 255};
  const Bytes body = TranscribeBody::build(meta, audio);
  const std::string json = JSONCoding::encode(meta);
  ASSERT_EQ(body.size(), 4 + json.size() + audio.size());
  EXPECT_EQ(Bytes(body.begin(), body.begin() + 4), (Bytes{0, 0, 0, static_cast<std::uint8_t>(json.size())}));
  EXPECT_EQ(textOf(ByteView(body).subspan(4, json.size())), json);

  const auto parsed = TranscribeBody::parse(body);
  EXPECT_EQ(parsed.meta, meta);
  EXPECT_EQ(Bytes(parsed.audio.begin(), parsed.audio.end()), audio);
  EXPECT_TRUE(TranscribeBody::parse(ByteView(body).first(4 + json.size())).audio.empty());
}

TEST(TranscribeBody, RefusesEveryCutAndAnyOtherMetadata) {
  const Bytes body = TranscribeBody::build({"u", {}, {}, {}, false}, {});
  for (std::size_t length = 0; length < body.size(); ++length) {
    EXPECT_THROW(TranscribeBody::parse(ByteView(body).first(length)), JSONCoding::DecodingError) << length;
  }
  EXPECT_THROW(TranscribeBody::parse(Bytes{0xFF, 0xFF, 0xFF, 0xFF, '{', '}'}), JSONCoding::DecodingError);
  EXPECT_THROW(TranscribeBody::parse(Bytes{0, 0, 0, 2, '{', '}'}), JSONCoding::DecodingError);
}

}  // namespace
}  // namespace quillet
