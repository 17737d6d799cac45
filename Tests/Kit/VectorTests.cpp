// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "QuilletVectors/VectorRun.h"
#include "Tests/Doubles/Rows.h"

namespace quillet::vectors {
namespace {

const std::filesystem::path kFolder = test::sourceFile("Tests/data/vectors");

TEST(Vectors, HoldForTheKit) {
  Tally tally;
  runPath(kFolder, tally);
  for (const auto& failure : tally.failures) {
    ADD_FAILURE() << failure.file << ": " << failure.id << ": " << failure.reason;
  }
  EXPECT_GE(tally.passed, 292);
}

TEST(Vectors, FailWhereTheKitDiffers) {
  const test::TemporaryFolder folder;
  for (boost::json::object each : test::rows<boost::json::object>("wrong_vectors", "cases")) {
    each["id"] = "x";
    test::writeText(folder.path() / "case.json", boost::json::serialize(boost::json::object{{"cases", {each}}}));
    Tally tally;
    runPath(folder.path(), tally);
    EXPECT_EQ(tally.failures.size(), 1U) << each;
    EXPECT_EQ(tally.passed, 0) << each;
  }
}

}  // namespace
}  // namespace quillet::vectors
