// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/MediaPauser.h"

#include <gmock/gmock.h>

#include <optional>

#include "Tests/Doubles/FakeMediaPlayers.h"
#include "Tests/Doubles/VirtualTime.h"

namespace quillet {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

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
  EXPECT_THAT(players.commands, IsEmpty());
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
  EXPECT_THAT(players.commands, IsEmpty()) << "nobody was told to pause yet";
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

}  // namespace
}  // namespace quillet
