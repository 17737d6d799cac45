// SPDX-License-Identifier: MIT
#include "QuilletKit/Protocol/ServiceModels.h"

#include <gtest/gtest.h>

#include <string>

#include "QuilletKit/JSON/JSONCoding.h"

namespace quillet {
namespace {

TEST(Feedback, KnowsAnEmailAddress) {
  std::string long254 = "a@b.";  // 254 characters of two code points each, but for these four
  for (int i = 0; i < 250; ++i) long254 += "e\u0301";
  const std::string accepted[] = {"a.b+c'd@e-f.co.uk",
                                  "a@b..",
                                  "a@..b",
                                  "é@ü.рф",
                                  "a!#$%&*/=?^_`{|}~@b.c",
                                  long254,
                                  std::string(249, 'a') + "@b.nl"};
  for (const std::string& text : accepted) EXPECT_TRUE(Feedback::isEmail(text)) << text;

  const std::string refused[] = {"",
                                 "@",
                                 "a",
                                 "a@",
                                 "a@b.",
                                 "a@.b",
                                 "a@.",
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
                                 std::string(250, 'a') + "@b.nl"};
  for (const std::string& text : refused) EXPECT_FALSE(Feedback::isEmail(text)) << text;
}

TEST(TranscribeBody, RefusesEveryCutAndAnyOtherMetadata) {
  const std::string body = TranscribeBody::build({"u", {}, {}, {}, false}, {});
  for (std::size_t length = 0; length < body.size(); ++length) {
    EXPECT_THROW(TranscribeBody::parse(bytesOf(body).first(length)), JSONCoding::DecodingError) << length;
  }
  EXPECT_THROW(TranscribeBody::parse(Bytes{0xFF, 0xFF, 0xFF, 0xFF, '{', '}'}), JSONCoding::DecodingError);
  EXPECT_THROW(TranscribeBody::parse(Bytes{0, 0, 0, 2, '{', '}'}), JSONCoding::DecodingError);
}

}  // namespace
}  // namespace quillet
