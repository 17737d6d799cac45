// SPDX-License-Identifier: MIT
#pragma once

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/co_spawn.hpp>

#include "QuilletCompanion/Target/LocalTestField.h"
#include "Tests/Doubles/FakeAccessibilityProvider.h"
#include "Tests/Doubles/InsertionReports.h"
#include "Tests/Doubles/VirtualTime.h"

namespace quillet::test {

using namespace std::chrono_literals;
using Call = FakeAccessibilityProvider::Call;
using Chunks = std::vector<std::u16string>;
inline constexpr auto kPid = FakeAccessibilityProvider::kPid;

constexpr InsertionReport refusedFor(RefusalReason reason) {
  return {InsertionOutcome::refused, reason, std::nullopt};
}

/// An inserter over a desktop in memory and virtual time.
class TextInserterTest : public testing::Test {
 protected:
  TargetSnapshot prepared() { return std::get<TargetSnapshot>(guard.prepare("phone")); }

  void start(const std::string& text) { start(text, prepared()); }
  void start(const std::string& text, TargetSnapshot snapshot) {
    report.reset();
    failure = nullptr;
    boost::asio::co_spawn(time.executor(), inTurn(*inserter, text, std::move(snapshot)),
                          boost::asio::bind_cancellation_slot(cancellation.slot(),
                                                              [this](std::exception_ptr error, InsertionReport result) {
                                                                failure = error;
                                                                if (!error) report = result;
                                                              }));
    time.run();
  }
  InsertionReport insert(const std::string& text) {
    start(text);
    time.advance(10s);
    EXPECT_TRUE(report.has_value());
    EXPECT_EQ(time.sleepers(), 0U);
    return report.value_or(InsertionReport{});
  }
  /// A field that must be typed into: its write fails honestly.
  void typingOnly() { desktop.field().write = FakeField::Write::fails; }

  VirtualTime time;
  FakeAccessibilityProvider desktop;
  std::shared_ptr<LocalTestField> local =
      std::make_shared<LocalTestField>([this] { return desktop.ownApplicationActive; }, time.source().now);
  TargetGuard guard{desktop, local, time.source().now};
  std::unique_ptr<TextInserter> inserter =
      std::make_unique<TextInserter>(desktop, guard, InsertionPacing{}, time.source());
  boost::asio::cancellation_signal cancellation;
  std::optional<InsertionReport> report;
  std::exception_ptr failure;
};

}  // namespace quillet::test
