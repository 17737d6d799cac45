// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "QuilletCompanion/Dictation/AudioMuffler.h"
#include "QuilletCompanion/Dictation/MediaPauser.h"
#include "Tests/Doubles/FakeSound.h"
#include "Tests/Doubles/LogCapture.h"
#include "Tests/Doubles/VirtualTime.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class MediaPauserTest : public testing::Test {
 protected:
  void answersTake(Duration duration) {
    players.beforeAnswer = [this, duration] { return time.source().sleep(duration); };
  }

  test::VirtualTime time;
  test::FakeMediaPlayers players;
  std::optional<MediaPauser> pauser{std::in_place, time.executor(), players, players};
};

TEST_F(MediaPauserTest, SendsEachCommandOnce) {
  pauser->resume();
  pauser->pause();
  pauser->pause();
  time.run();
  EXPECT_THAT(players.commands, ElementsAre("pause"));
  pauser->resume();
  pauser->resume();
  time.run();
  EXPECT_THAT(players.commands, ElementsAre("pause", "play"));
}

TEST_F(MediaPauserTest, LeavesASilentSystemAlone) {
  players.heard = false;
  pauser->pause();
  pauser->resume();
  time.run();
  EXPECT_TRUE(players.commands.empty());
}

TEST_F(MediaPauserTest, OwesNothingWhenThePauseHadNoEffect) {
  players.obeys = false;
  pauser->pause();
  pauser->resume();
  time.run();
  pauser->resumeNow();
  EXPECT_THAT(players.commands, ElementsAre("pause"));
}

TEST_F(MediaPauserTest, KeepsTheOrderWhileAnswersTakeTime) {
  answersTake(100ms);
  pauser->pause();
  pauser->resume();
  pauser->pause();
  time.advance(1s);
  EXPECT_THAT(players.commands, ElementsAre("pause", "play", "pause"));
}

TEST_F(MediaPauserTest, ResumeNowCountsAPauseUnderWay) {
  answersTake(100ms);
  pauser->pause();
  time.advance(50ms);
  pauser->resumeNow();
  EXPECT_TRUE(players.commands.empty()) << "nobody was told to pause yet";
  pauser->pause();
  time.advance(150ms);
  pauser->resumeNow();
  EXPECT_THAT(players.commands, ElementsAre("pause", "play now"));
  time.advance(1s);
  pauser->pause();
  time.advance(1s);
  pauser->resumeNow();
  EXPECT_THAT(players.commands, ElementsAre("pause", "play now", "pause", "play now"));
}

TEST_F(MediaPauserTest, MayGoAwayInTheMiddle) {
  answersTake(100ms);
  pauser->pause();
  time.advance(150ms);
  pauser.reset();
  time.advance(1s);
  EXPECT_THAT(players.commands, ElementsAre("pause"));
}

using End = MuffleRoute::End;

/// A sleep that is over at the very moment of its cancellation.
Awaitable<void> sleepThrough(test::VirtualTime& time, Duration duration) {
  co_await boost::asio::this_coro::reset_cancellation_state(boost::asio::disable_cancellation());
  co_await time.source().sleep(duration);
}

class AudioMufflerTest : public testing::Test {
 protected:
  test::VirtualTime time;
  test::FakeMuffleRoutes routes;
  AudioMuffler muffler{time.executor(), time.source(), routes};
};

TEST_F(AudioMufflerTest, KeepsTheRouteUntilTheFadeIsOver) {
  muffler.restore();
  time.advance(1s);
  EXPECT_EQ(routes.built, 0);
  muffler.start();
  EXPECT_TRUE(routes.engaged);
  muffler.restore();
  EXPECT_FALSE(routes.engaged);
  time.advance(349ms);
  EXPECT_EQ(routes.standing, 1);
  time.advance(1ms);
  EXPECT_EQ(routes.standing, 0);
}

TEST_F(AudioMufflerTest, StartWithinTheFadeTurnsItRound) {
  muffler.start();
  muffler.restore();
  time.advance(300ms);
  muffler.start();
  muffler.start();
  time.advance(1s);
  EXPECT_TRUE(routes.engaged);
  EXPECT_EQ(routes.built, 1);
  EXPECT_EQ(routes.standing, 1);
  // The teardown counts from the last restore, and a second restore doesn't put it off.
  muffler.restore();
  time.advance(200ms);
  muffler.restore();
  time.advance(150ms);
  EXPECT_EQ(routes.standing, 0);
}

TEST_F(AudioMufflerTest, RestoreNowTearsDownWithoutAFade) {
  muffler.start();
  muffler.restoreNow();
  EXPECT_EQ(routes.tornDownNow, 1);
  EXPECT_EQ(routes.standing, 0);
  muffler.start();
  muffler.restore();
  muffler.restoreNow();
  EXPECT_EQ(routes.tornDownNow, 2);
  time.advance(1s);
  muffler.restoreNow();
  EXPECT_EQ(routes.tornDownNow, 2);
}

TEST_F(AudioMufflerTest, LogsWhatCannotBeBuiltAndTriesAtTheNextStart) {
  test::LogCapture::instance().expect("Couldn't muffle audio: create sink (6)");
  muffler.start();
  routes.end(End::neverStood, {"create sink", 6});
  EXPECT_EQ(routes.standing, 0);
  time.advance(1min);
  EXPECT_EQ(routes.built, 1);
  muffler.restore();
  muffler.start();
  EXPECT_EQ(routes.built, 2);
  EXPECT_TRUE(routes.engaged);
}

TEST_F(AudioMufflerTest, BuildsARouteThatBrokeAgainUntilRestore) {
  test::LogCapture::instance().expect("Couldn't muffle audio: play (1)");
  muffler.start();
  routes.end(End::broke, {"play", 1});
  EXPECT_EQ(routes.standing, 0);
  time.advance(500ms);
  EXPECT_EQ(routes.built, 2);
  EXPECT_TRUE(routes.engaged);
  routes.end(End::neverStood, {"connect", 2});
  time.advance(999ms);
  EXPECT_EQ(routes.built, 2);
  time.advance(1ms);
  EXPECT_EQ(routes.built, 3);
  routes.end(End::neverStood, {"connect", 2});
  muffler.start();
  EXPECT_EQ(routes.built, 3) << "it is being seen to";
  muffler.restore();
  time.advance(1min);
  EXPECT_EQ(routes.built, 3);
}

TEST_F(AudioMufflerTest, LeavesARouteThatBreaksInTheFade) {
  test::LogCapture::instance().expect("Couldn't muffle audio: record (1)");
  muffler.start();
  muffler.restore();
  routes.end(End::broke, {"record", 1});
  time.advance(1min);
  EXPECT_EQ(routes.built, 1);
  EXPECT_EQ(routes.standing, 0);
}

TEST_F(AudioMufflerTest, CancelsAlsoASleepThatIsJustOver) {
  test::LogCapture::instance().expect("Couldn't muffle audio: play (1)");
  TimeSource source = time.source();
  source.sleep = [this](Duration duration) { return sleepThrough(time, duration); };
  std::optional<AudioMuffler> sleepy(std::in_place, time.executor(), source, routes);
  sleepy->start();
  sleepy->restore();
  time.run();
  sleepy->start();
  time.advance(350ms);
  EXPECT_EQ(routes.standing, 1) << "the teardown was called off";
  routes.end(End::broke, {"play", 1});
  time.run();
  sleepy->restore();
  time.advance(1s);
  EXPECT_EQ(routes.built, 1) << "so was the new route";
  sleepy->start();
  sleepy->restore();
  time.run();
  sleepy.reset();
  time.advance(1s);
}

}  // namespace
}  // namespace quillet
