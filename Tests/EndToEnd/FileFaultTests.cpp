// SPDX-License-Identifier: MIT
#include "Tests/EndToEnd/FileFaults.h"

#include "QuilletKit/Base/AtomicFile.h"
#include "Tests/Doubles/Files.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/VirtualTime.h"
#include "Tests/EndToEnd/Desk.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;
using Operations = std::vector<std::string>;

const Operations kOneWrite{"open", "write", "fdatasync", "rename", "open", "fsync"};
constexpr int kLongestSweep = 100;

bool isInFirstWrite(int failedAt) {
  return failedAt >= 1 && failedAt <= 6;
}
/// The last two operations sync the folder; not every file system can.
bool isFatal(int failedAt) {
  return failedAt >= 1 && (failedAt - 1) % 6 < 4;
}

Operations repeated(int times) {
  Operations all;
  while (times-- > 0) all.insert(all.end(), kOneWrite.begin(), kOneWrite.end());
  return all;
}

std::ptrdiff_t filesIn(const fs::path& folder) {
  return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

/// One delivery into a fresh desk whose journal knows an older one.
struct Round {
  Round() {
    desk.handler->setTransport(transport);
    desk.desktop.field().write = FakeField::Write::fails;  // so that it types
    desk.journal->record({.peerId = phone.peer.deviceId,
                          .utteranceId = "older",
                          .state = JournalState::refused,
                          .createdAt = 1,
                          .updatedAt = time.wall});
    desk.desktop.afterChunk = [this](std::size_t) {
      const auto inFile = readText(file).find(R"("state":"attempting")") != std::string::npos;
      const auto& seen = FileFaults::seen();
      EXPECT_TRUE(inFile && seen.operations.size() >= 5 && !isFatal(seen.failedAt)) << "typed without a durable entry";
    };
  }
  ~Round() {
    desk.crash();
    time.advance(10s);
  }

  void deliver() {
    desk.handler->handle(delivery);
    time.advance(10s);
  }
  ResultPayload answer() {
    const auto results = phone.results(desk.identity(), *transport);
    return results.empty() ? ResultPayload() : results.back();
  }
  void restart() {
    desk.crash();
    time.advance(10s);
    desk.desktop.afterChunk = nullptr;
    desk.start();
    desk.handler->setTransport(transport);
  }
  std::optional<JournalEntry> entry(const std::string& utteranceId) {
    return desk.journal->entry(phone.peer.deviceId, utteranceId);
  }

  VirtualTime time;
  TemporaryFolder folder;
  fs::path file = folder.path() / "journal.json";
  SealingPhone phone;
  Desk desk{time.executor(), time.source(), folder.path(), phone.peer};
  std::shared_ptr<RecordingTransport> transport = std::make_shared<RecordingTransport>();
  RelayServer::Deliver delivery = phone.delivers(desk.identity(), "u", desk.token(phone));
};

void expectTheTruth(Round& round, int failedAt) {
  const auto first = round.answer();
  const bool refused = isFatal(failedAt) && isInFirstWrite(failedAt);
  EXPECT_EQ(first.outcome, refused ? InsertionOutcome::refused : InsertionOutcome::inserted);
  EXPECT_EQ(round.desk.desktop.text(), refused ? "" : "Hello");
  EXPECT_EQ(filesIn(round.folder.path()), 1) << "a temporary file was left";

  round.restart();
  EXPECT_TRUE(round.entry("older")) << "the old contents are gone";
  round.deliver();
  const auto again = round.answer();
  EXPECT_EQ(round.desk.desktop.text(), refused ? "" : "Hello");
  if (refused) {
    EXPECT_EQ(first.reason, RefusalReason::busy);
    EXPECT_EQ(again.reason, RefusalReason::tokenUnknown);
  } else if (isFatal(failedAt)) {
    EXPECT_EQ(again.outcome, InsertionOutcome::uncertain);
  } else {
    EXPECT_EQ(again, first);
  }
}

TEST(FileFaultSweep, ADeliveryTellsTheTruthWhicheverOperationFails) {
  for (const int code : {ENOSPC, EIO}) {
    bool clean = false;
    for (int number = 1; !clean; ++number) {
      SCOPED_TRACE(std::to_string(number) + ", errno " + std::to_string(code));
      ASSERT_LT(number, kLongestSweep);
      LogCapture::instance().expect("Journal write failed; refusing to insert");
      LogCapture::instance().expect("Journal write of the final state failed");
      Round round;
      FileFaults::start(number, code);
      round.deliver();
      const auto seen = FileFaults::stop();
      expectTheTruth(round, seen.failedAt);
      clean = seen.failedAt == 0;
      if (clean) {
        EXPECT_EQ(seen.operations, repeated(2));
        EXPECT_EQ(number, 13);
      }
    }
  }
}

TEST(FileFaultSweep, ThePeersFileHoldsTheOldListOrTheNew) {
  const SealingPhone a, b;
  bool clean = false;
  for (int number = 1; !clean; ++number) {
    SCOPED_TRACE(number);
    ASSERT_LT(number, kLongestSweep);
    const TemporaryFolder folder;
    const auto file = folder.path() / "peers.json";
    PeerStore store(file);
    store.upsert(a.peer, 1);
    std::vector<std::vector<StoredPeer>> lists{store.peers().get()};
    std::vector<bool> threw;
    FileFaults::start(number, EIO);
    for (const bool adding : {true, false}) {
      try {
        adding ? store.upsert(b.peer, 2) : store.remove(a.peer.deviceId);
        threw.push_back(false);
      } catch (const AtomicFile::Failure&) {
        threw.push_back(true);
      }
      lists.push_back(store.peers().get());
    }
    const auto seen = FileFaults::stop();
    clean = seen.failedAt == 0;
    EXPECT_EQ(threw[0], isFatal(seen.failedAt) && isInFirstWrite(seen.failedAt));
    EXPECT_EQ(threw[1], isFatal(seen.failedAt) && !isInFirstWrite(seen.failedAt));
    EXPECT_EQ(lists[1].size(), 2u);
    EXPECT_EQ(lists[2], (std::vector<StoredPeer>{{b.peer, 2}})) << "memory goes first";
    EXPECT_EQ(PeerStore(file).peers().get(), threw[1] ? lists[1] : lists[2]);
    EXPECT_EQ(filesIn(folder.path()), 1);
    if (clean) {
      EXPECT_EQ(number, 13);
    }
  }
}

/// A round whose program died after its text went in and before that was noted; another start is under way.
struct CrashedRound : Round {
  CrashedRound() {
    desk.desktop.afterChunk = nullptr;
    desk.handler->handle(delivery);
    time.run();
    desk.crash();
    time.advance(10s);
    EXPECT_EQ(desk.desktop.text(), "Hello");
  }
  void startAgain() {
    desk.start();
    desk.handler->setTransport(transport);
  }
  /// With a token that is good.
  ResultPayload deliverAnew(const std::string& utteranceId) {
    desk.handler->handle(phone.delivers(desk.identity(), utteranceId, desk.token(phone)));
    time.advance(10s);
    return answer();
  }
  /// Nothing is lost nor doubled, now that the disk works.
  void expectAllWell() {
    EXPECT_EQ(deliverAnew("u").outcome, InsertionOutcome::uncertain);
    EXPECT_EQ(desk.desktop.text(), "Hello");
    EXPECT_EQ(deliverAnew("v").outcome, InsertionOutcome::inserted);
    restart();
    EXPECT_EQ(deliverAnew("u").outcome, InsertionOutcome::uncertain);
    EXPECT_EQ(deliverAnew("v").outcome, InsertionOutcome::inserted);
    EXPECT_TRUE(entry("older"));
    EXPECT_EQ(desk.desktop.text(), "HelloHello");
  }
};

TEST(FileFaultSweep, AStartAfterACrashForgetsNothingWhicheverOperationFails) {
  for (const int code : {ENOSPC, EIO}) {
    bool clean = false;
    for (int number = 1; !clean; ++number) {
      SCOPED_TRACE(std::to_string(number) + ", errno " + std::to_string(code));
      ASSERT_LT(number, kLongestSweep);
      LogCapture::instance().expect("Journal can't be written; inserting nothing until it can");
      CrashedRound round;
      FileFaults::start(number, code);
      round.startAgain();
      const auto seen = FileFaults::stop();
      clean = seen.failedAt == 0;
      round.expectAllWell();
      if (clean) {
        EXPECT_EQ(seen.operations,
                  (Operations{"open", "read", "read", "open", "write", "fdatasync", "rename", "open", "fsync"}));
      }
    }
  }
}

TEST(FileFaultSweep, AStartAfterACrashOnADiskThatCannotBeWrittenForgetsNothing) {
  for (const int code : {ENOSPC, EROFS}) {
    SCOPED_TRACE(code);
    LogCapture::instance().expect("Journal can't be written; inserting nothing until it can");
    LogCapture::instance().expect("Journal write failed; refusing to insert");
    LogCapture::instance().expect("Journal write of the final state failed");
    CrashedRound round;
    FileFaults::startLasting(code);
    round.startAgain();
    EXPECT_EQ(round.desk.journal->trouble().get(), JournalTrouble::unwritable);
    EXPECT_EQ(round.deliverAnew("u").outcome, InsertionOutcome::uncertain);
    EXPECT_EQ(round.deliverAnew("v").reason, RefusalReason::busy);
    round.restart();
    EXPECT_EQ(round.deliverAnew("u").outcome, InsertionOutcome::uncertain);
    EXPECT_EQ(round.deliverAnew("v").reason, RefusalReason::busy);
    EXPECT_EQ(round.desk.desktop.text(), "Hello");
    FileFaults::stop();
    round.expectAllWell();
    EXPECT_EQ(round.desk.journal->trouble().get(), JournalTrouble::none);
  }
}

TEST(FileFaultSweep, AnInterruptedWriteGoesOn) {
  const TemporaryFolder folder;
  const auto file = folder.path() / "file";
  FileFaults::start(2, EINTR);
  AtomicFile::write(bytesOf("text"), file);
  EXPECT_EQ(FileFaults::stop().failedAt, 2);
  EXPECT_EQ(readText(file), "text");
}

}  // namespace
}  // namespace quillet::test
