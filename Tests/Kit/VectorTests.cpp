// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "QuilletVectors/VectorRun.h"
#include "Tests/Doubles/FileText.h"
#include "Tests/Doubles/Paths.h"
#include "Tests/Doubles/Rows.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace quillet::vectors {
namespace {

const std::filesystem::path kFolder = test::sourceFile("Tests/data/vectors");

void expectAllPass(const Tally& tally, std::int64_t atLeast) {
  for (const auto& failure : tally.failures) {
    ADD_FAILURE() << failure.file << ": " << failure.id << ": " << failure.reason;
  }
  EXPECT_GE(tally.passed, atLeast);
}

TEST(Vectors, HoldForTheKit) {
  Tally tally;
  runPath(kFolder, tally);
  expectAllPass(tally, 291);
}

TEST(Vectors, PublishedOnesHoldForTheAlgorithms) {
  const char* folder = std::getenv("QUILLET_WYCHEPROOF_DIR");
  if (folder == nullptr) GTEST_SKIP() << "QUILLET_WYCHEPROOF_DIR names no folder";
  Tally tally;
  runPath(folder, tally);
  expectAllPass(tally, 1000);
}

class ChangedVector : public testing::Test {
 protected:
  /// The tally of one vectors file with `cases`, which may be any text.
  Tally run(const std::string& content) {
    test::writeText(folder_.path() / "case.json", content);
    Tally tally;
    runPath(folder_.path(), tally);
    return tally;
  }

  const test::TemporaryFolder folder_;
};

TEST_F(ChangedVector, FailsWhereTheKitDiffers) {
  for (boost::json::object each : test::rows<boost::json::object>("wrong_vectors", "cases")) {
    each["id"] = "x";
    const Tally tally = run(boost::json::serialize(boost::json::object{{"cases", {each}}}));
    EXPECT_EQ(tally.failures.size(), 1U) << each;
    EXPECT_EQ(tally.passed, 0) << each;
  }
}

TEST_F(ChangedVector, FailsWhereAPublishedOneCannotBeRun) {
  const std::string test = R"("testGroups":[{"tests":[{"tcId":1,"result":"invalid","ikm":"","salt":"","info":""}]}]})";
  for (const char* algorithm : {"HKDF-SHA-256", "HKDF-MD5"}) {
    const Tally tally = run(std::string(R"({"algorithm":")") + algorithm + "\"," + test);
    EXPECT_EQ(tally.failures.size(), 1U) << algorithm;
    EXPECT_EQ(tally.passed, 0) << algorithm;
  }
}

TEST_F(ChangedVector, KnowsWhenNothingWasChecked) {
  EXPECT_TRUE(run(R"({"cases":[]})").checkedNothing());
  EXPECT_TRUE(run(R"({"cases":[{"id":"x","expect":"ok","kind":"wavHeader","in":{}}]})").checkedNothing());
}

TEST_F(ChangedVector, RefusesWhatHoldsNoVectors) {
  for (const char* content : {"", "[]", "{}", R"({"cases":5})", R"({"cases":[{}]})", "{\"cases\":"}) {
    EXPECT_THROW(run(content), InputError) << content;
  }
  Tally tally;
  EXPECT_THROW(runPath(folder_.path() / "absent.json", tally), InputError);
}

}  // namespace
}  // namespace quillet::vectors
