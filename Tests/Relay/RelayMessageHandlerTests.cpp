// SPDX-License-Identifier: MIT
#include "Tests/Doubles/FakeAccessibilityProvider.h"
#include "Tests/Doubles/Files.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/RelayEnds.h"
#include "Tests/Doubles/VirtualTime.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;
using test::LogCapture;
using Phone = test::SealingPhone;

/// A desktop with one paired phone, a real journal on a real disk, and virtual time.
class RelayMessageHandlerTest : public testing::Test {
 protected:
  RelayMessageHandlerTest() {
    peers.upsert(phone.peer, 1);
    start();
  }
  ~RelayMessageHandlerTest() override {
    handler.reset();
    time.advance(10s);  // lets what was cancelled unwind
  }

  void start() { start(file); }
  void start(std::optional<std::filesystem::path> journalFile) {
    journal = std::make_unique<InsertionJournal>(std::move(journalFile), time.source().now);
    handler = test::makeHandler(time.executor(), mac, peers, guard, *journal, inserter, time.source().now);
    handler->setTransport(transport);
    handler->setEvents(events);
  }
  RelayServer::Prepare prepareFrame(const std::string& requestId) { return phone.prepares(macPeer, requestId); }
  std::string token() { return std::get<TargetSnapshot>(guard.prepare(phone.peer.deviceId)).token; }
  RelayServer::Deliver deliverFrame(const std::string& utteranceId, const std::string& withToken) {
    return phone.delivers(macPeer, utteranceId, withToken);
  }
  std::vector<ResultPayload> results() { return phone.results(macPeer, *transport); }
  void expectRefusal(RefusalReason reason) {
    ASSERT_FALSE(results().empty());
    EXPECT_EQ(results().back().outcome, InsertionOutcome::refused);
    EXPECT_EQ(results().back().reason, reason);
    EXPECT_EQ(desktop.text(), "");
  }
  std::optional<JournalEntry> entry(const std::string& utteranceId) {
    return journal->entry(phone.peer.deviceId, utteranceId);
  }

  test::VirtualTime time;
  test::TemporaryFolder folder;
  std::filesystem::path file = folder.path() / "journal.json";
  DeviceIdentity mac = DeviceIdentity::generate();
  PeerIdentity macPeer = mac.peerIdentity("Mac", DevicePlatform::macos);
  Phone phone{"Ada's phone"}, stranger{"Ada's phone"};
  PeerStore peers{std::nullopt};
  test::FakeAccessibilityProvider desktop;
  TargetGuard guard{desktop, {}, time.source().now};
  TextInserter inserter{desktop, guard, {}, time.source()};
  std::shared_ptr<test::RecordingTransport> transport = std::make_shared<test::RecordingTransport>();
  std::shared_ptr<test::RecordingEventSink> events = std::make_shared<test::RecordingEventSink>();
  std::unique_ptr<InsertionJournal> journal;
  std::shared_ptr<RelayMessageHandler> handler;
};

TEST_F(RelayMessageHandlerTest, RepeatsAreAnsweredFromTheJournalWhileTypingAndAfter) {
  desktop.field().write = test::FakeField::Write::fails;  // so that it types, which takes time
  handler->handle(prepareFrame("r"));
  time.run();
  const auto answer = transport->all<RelayClient::PrepareResult>().at(0).envelope.open<PrepareResultPayload>(
      EnvelopePurpose::prepareResult, phone.keys, macPeer);
  ASSERT_EQ(answer.status, PrepareStatus::ready);
  EXPECT_EQ(answer.appName, "Editor");
  const auto frame = deliverFrame("u", answer.token.value());
  handler->handle(frame);
  handler->handle(frame);
  time.run();
  ASSERT_EQ(entry("u")->state, JournalState::attempting);
  handler->handle(frame);
  time.advance(10s);
  start();
  handler->handle(frame);
  handler->handle(frame);
  time.advance(10s);
  EXPECT_EQ(desktop.text(), "Hello");
  EXPECT_EQ(transport->all<RelayClient::Received>().size(), 5u);
  ASSERT_EQ(results().size(), 5u);
  EXPECT_EQ(results()[0].outcome, InsertionOutcome::inserted);
  EXPECT_EQ(results()[0].appName, "Editor");
  for (const auto& result : results()) EXPECT_EQ(result, results()[0]);
  EXPECT_EQ(events->told, std::vector<std::string>{"inserted Ada's phone"});
  handler->handle(deliverFrame("another", answer.token.value()));
  time.advance(10s);
  EXPECT_EQ(results().back().reason, RefusalReason::tokenUnknown) << "a token is good for one delivery";
}

TEST_F(RelayMessageHandlerTest, BeyondSixteenPendingDeliveriesAreRefusedAtOnce) {
  desktop.field().write = test::FakeField::Write::fails;
  const auto typed = deliverFrame("typed", token());
  handler->handle(typed);
  time.run();
  for (int i = 1; i < 15; ++i) handler->handle(prepareFrame("r"));
  handler->handle(deliverFrame("last", "no token"));
  EXPECT_TRUE(results().empty());
  handler->handle(typed);
  handler->handle(deliverFrame("new", "no token"));
  ASSERT_EQ(results().size(), 2u);
  for (const auto& result : results()) EXPECT_EQ(result.reason, RefusalReason::busy);
  handler->handle(prepareFrame("r"));
  time.advance(10s);
  ASSERT_EQ(results().size(), 4u);
  EXPECT_EQ(results()[2].outcome, InsertionOutcome::inserted);
  EXPECT_EQ(results()[3].reason, RefusalReason::tokenUnknown);
  EXPECT_EQ(transport->all<RelayClient::PrepareResult>().size(), 15u) << "a prepare is never refused";
  EXPECT_FALSE(entry("new"));
  handler->handle(deliverFrame("new", token()));
  time.advance(10s);
  EXPECT_EQ(desktop.text(), "HelloHello");
}

TEST_F(RelayMessageHandlerTest, DropsWhatNoPairedPhoneSent) {
  auto posing = stranger.delivers(macPeer, "u1", token());
  posing.from = phone.peer.deviceId;
  auto misdirected = deliverFrame("u2", token());
  misdirected.envelope.to = stranger.peer.deviceId;
  handler->handle(posing);
  handler->handle(misdirected);
  handler->handle(stranger.delivers(macPeer, "u3", token()));
  time.advance(5s);
  EXPECT_EQ(transport->all<RelayClient::Received>().size(), 3u);
  EXPECT_EQ(transport->sent.size(), 3u);
  EXPECT_EQ(desktop.text(), "");
  auto renamed = prepareFrame("r");
  renamed.requestId = "another";
  handler->handle(renamed);
  auto broken = prepareFrame("r");
  broken.envelope.purpose = EnvelopePurpose::delivery;
  handler->handle(broken);
  time.run();
  EXPECT_TRUE(LogCapture::instance().contains("Dropped prepare with mismatched request id"));
  EXPECT_TRUE(LogCapture::instance().contains("Dropped prepare that failed to open"));
  EXPECT_EQ(transport->sent.size(), 3u);
}

TEST_F(RelayMessageHandlerTest, RefusesAndRemembersAsTheFaultAsks) {
  const auto good = token();
  handler->handle(phone.delivers(macPeer, "inner", good, "other"));
  time.run();
  expectRefusal(RefusalReason::tokenUnknown);
  EXPECT_FALSE(entry("inner"));

  peers.upsert(stranger.peer, 2);
  handler->handle(stranger.delivers(macPeer, "foreign", good));
  time.run();
  const auto told = stranger.results(macPeer, *transport);
  ASSERT_EQ(told.size(), 1u);
  EXPECT_EQ(told[0].reason, RefusalReason::tokenUnknown);
  EXPECT_TRUE(journal->entry(stranger.peer.deviceId, "foreign"));

  desktop.setText("moved");
  handler->handle(deliverFrame("stale", good));
  time.advance(5s);
  EXPECT_EQ(results().back().reason, RefusalReason::selectionChanged);
  EXPECT_EQ(results().back().appName, "Editor");
  EXPECT_EQ(desktop.text(), "moved");
}

TEST_F(RelayMessageHandlerTest, AnEntryIsDatedWhenItsTurnComesNotWhenTheTargetHasAnswered) {
  TargetGuard slow(desktop, {}, [this] { return time.wall += 700; });
  handler = test::makeHandler(time.executor(), mac, peers, slow, *journal, inserter, time.source().now);
  const auto before = time.source().now();
  handler->handle(deliverFrame("u", "no token"));
  handler->handle(deliverFrame("v", std::get<TargetSnapshot>(slow.prepare(phone.peer.deviceId)).token));
  const auto prepared = time.source().now();
  time.advance(5s);
  EXPECT_GE(prepared, before);
  EXPECT_EQ(entry("u")->createdAt, prepared);
  EXPECT_EQ(entry("v")->createdAt, prepared);
}

TEST_F(RelayMessageHandlerTest, RevocationOvertakesTheQueue) {
  const auto spare = token();
  handler->handle(deliverFrame("u", token()));
  handler->handle(RelayServer::PairRevoked{phone.peer.deviceId});
  handler->handle(RelayServer::Paired{phone.peer.deviceId});
  EXPECT_EQ(events->told, std::vector<std::string>{"revoked " + phone.peer.deviceId});
  time.advance(5s);
  EXPECT_EQ(events->told.size(), 2u);
  EXPECT_TRUE(LogCapture::instance().contains("Dropped delivery from an unknown sender"));
  EXPECT_EQ(desktop.text(), "");
  EXPECT_TRUE(std::holds_alternative<RefusalReason>(guard.lookup(spare, phone.peer.deviceId)));
}

TEST_F(RelayMessageHandlerTest, ARevocationIsToldThoughTheDiskRefusesIt) {
  LogCapture::instance().expect("Could not remove revoked peer from disk");
  const auto peersFile = folder.path() / "peers.json";
  PeerStore stored(peersFile);
  stored.upsert(phone.peer, 1);
  std::filesystem::remove(peersFile);
  std::filesystem::create_directories(peersFile / "blocked");
  const auto revoking = test::makeHandler(time.executor(), mac, stored, guard, *journal, inserter, time.source().now);
  revoking->setEvents(events);
  revoking->handle(RelayServer::PairRevoked{phone.peer.deviceId});
  EXPECT_FALSE(stored.peer(phone.peer.deviceId));
  EXPECT_EQ(events->told, std::vector<std::string>{"revoked " + phone.peer.deviceId});
}

TEST_F(RelayMessageHandlerTest, OnlyInsertedTextShowsTheBadge) {
  desktop.field().write = test::FakeField::Write::differs;
  handler->handle(deliverFrame("uncertain", token()));
  handler->handle(deliverFrame("refused", "no token"));
  time.advance(5s);
  ASSERT_EQ(results().size(), 2u);
  EXPECT_EQ(results()[0].outcome, InsertionOutcome::uncertain);
  EXPECT_EQ(results()[1].outcome, InsertionOutcome::refused);
  EXPECT_TRUE(events->told.empty());
}

TEST_F(RelayMessageHandlerTest, SaysNothingToAPeerWhoseKeyCannotSeal) {
  LogCapture::instance().expect("Could not seal a result");
  auto broken = stranger.peer;
  broken.agreementPublicKey = std::string(43, 'A');  // 32 zero bytes
  peers.upsert(broken, 2);
  journal->record({.peerId = broken.deviceId, .utteranceId = "u", .createdAt = 1, .updatedAt = 1});
  handler->handle(stranger.delivers(macPeer, "u", "t"));
  time.run();
  EXPECT_EQ(transport->sent.size(), 1u) << "only that it was received";
  EXPECT_TRUE(LogCapture::instance().contains("Could not seal a result"));
  EXPECT_EQ(journal->entry(broken.deviceId, "u")->result->outcome, InsertionOutcome::uncertain);
}

TEST_F(RelayMessageHandlerTest, AnInsertionThatRunsOutlivesTheHandlerAndWhatWaitsDoesNot) {
  desktop.field().write = test::FakeField::Write::fails;
  const auto frame = deliverFrame("u", token());
  handler->handle(frame);
  handler->handle(deliverFrame("waiting", token()));
  handler->handle(prepareFrame("r"));
  time.run();
  ASSERT_EQ(entry("u")->state, JournalState::attempting);
  const std::weak_ptr<RelayMessageHandler> left = handler;
  transport = std::make_shared<test::RecordingTransport>();
  handler.reset();
  EXPECT_FALSE(left.expired());
  time.advance(10s);
  EXPECT_TRUE(left.expired());
  EXPECT_TRUE(transport->sent.empty());
  EXPECT_EQ(desktop.text(), "Hello");
  EXPECT_EQ(entry("u")->state, JournalState::inserted);
  EXPECT_FALSE(entry("waiting"));
  start();
  handler->handle(frame);
  time.run();
  ASSERT_EQ(results().size(), 1u);
  EXPECT_EQ(results()[0].outcome, InsertionOutcome::inserted);
}

TEST_F(RelayMessageHandlerTest, ClaimsNothingOfWhatAnEarlierRunMayHaveInserted) {
  LogCapture::instance().expect("Journal unreadable; inserting nothing until it can be read");
  std::filesystem::create_directory(file);  // which can't be read
  start();
  handler->handle(deliverFrame("u", token()));
  handler->handle(deliverFrame("v", "of an earlier run"));
  time.run();
  ASSERT_EQ(results().size(), 2u);
  for (const auto& result : results()) EXPECT_EQ(result.outcome, InsertionOutcome::uncertain);
  EXPECT_EQ(desktop.text(), "");
  LogCapture::instance().expect("Journal unreadable; moving it aside");
  std::filesystem::remove(file);
  test::writeText(file, R"({"entries":[)");
  handler->handle(deliverFrame("v", "of an earlier run"));
  handler->handle(deliverFrame("w", token()));
  time.run();
  EXPECT_EQ(results()[2].outcome, InsertionOutcome::uncertain);
  EXPECT_EQ(results()[3].outcome, InsertionOutcome::inserted);
}

TEST_F(RelayMessageHandlerTest, InsertsNothingThatNoFileWouldTellOf) {
  LogCapture::instance().expect("Journal write failed; refusing to insert");
  start(std::nullopt);
  handler->handle(deliverFrame("u", token()));
  time.run();
  expectRefusal(RefusalReason::busy);
  handler->handle(deliverFrame("v", "of an earlier run"));
  time.run();
  EXPECT_EQ(results().back().outcome, InsertionOutcome::uncertain);
}

TEST_F(RelayMessageHandlerTest, WaitsForADictationThatIsBeingInserted) {
  std::optional<TextInserter::Turn> dictation;
  const auto dictate = [&]() -> Awaitable<void> { dictation = co_await inserter.turn(); };
  Task task(time.executor());
  task.start([&] { return dictate(); });
  time.run();
  handler->handle(prepareFrame("r"));
  handler->handle(deliverFrame("u", token()));
  time.run();
  EXPECT_TRUE(transport->all<RelayClient::PrepareResult>().empty());
  EXPECT_FALSE(entry("u"));
  dictation.reset();
  time.advance(5s);
  EXPECT_EQ(transport->all<RelayClient::PrepareResult>().size(), 1u);
  EXPECT_EQ(entry("u")->state, JournalState::inserted);
  task.start([&] { return dictate(); });
  time.run();
  handler->handle(deliverFrame("waiting", token()));
  time.run();
  handler->stop();
  dictation.reset();
  time.advance(5s);
  EXPECT_FALSE(entry("waiting"));
  EXPECT_EQ(desktop.text(), "Hello");
}

TEST_F(RelayMessageHandlerTest, AnswersAfreshWhatTheJournalHoldsNoFittingResultFor) {
  const auto stored =
      ResultPayload::makeSigned("u", InsertionOutcome::inserted, std::nullopt, std::nullopt, std::nullopt, 1, mac);
  const std::tuple<JournalState, std::optional<ResultPayload>, InsertionOutcome> cases[] = {
      {JournalState::attempting, std::nullopt, InsertionOutcome::uncertain},
      {JournalState::refused, stored, InsertionOutcome::refused},
      {JournalState::inserted, std::nullopt, InsertionOutcome::inserted}};
  std::size_t answered = 0;
  for (const auto& [state, result, expected] : cases) {
    journal->record({.peerId = phone.peer.deviceId,
                     .utteranceId = "u",
                     .state = state,
                     .appName = "Then",
                     .createdAt = 1,
                     .updatedAt = 1,
                     .result = result});
    const auto repeat = deliverFrame("u", token());
    handler->handle(repeat);
    handler->handle(repeat);
    time.advance(5s);
    answered += 2;
    ASSERT_EQ(results().size(), answered);
    EXPECT_EQ(results().back().outcome, expected);
    EXPECT_EQ(results().back().appName, "Then");
    EXPECT_EQ(results()[answered - 2], results().back());
    EXPECT_EQ(entry("u")->result, results().back());
    EXPECT_EQ(entry("u")->updatedAt, results().back().at);
  }
  EXPECT_EQ(desktop.text(), "");
}

}  // namespace
}  // namespace quillet
