// SPDX-License-Identifier: MIT
#include "QuilletSpeech/SphinxEngine.h"

#include <gtest/gtest.h>

#include <cmath>

#include "Tests/Doubles/NetworkThread.h"
#include "Tests/Speech/Recordings.h"

namespace quillet::test {
namespace {

class SphinxEngineTest : public testing::Test {
 protected:
  std::string transcribe(SphinxEngine& engine, std::span<const std::int16_t> samples, std::size_t piece = 1600) {
    auto session = main_.await(engine.begin({}));
    for (std::size_t at = 0; at < samples.size(); at += piece) {
      session->accept(samples.subspan(at, std::min(piece, samples.size() - at)));
    }
    return main_.await(session->finish());
  }

  std::optional<SpeechFailure> failure(SphinxEngine& engine) {
    try {
      main_.await(engine.begin({}));
      return std::nullopt;
    } catch (const SpeechError& error) {
      return error.failure;
    }
  }

  MainThread main_;
};

/// The share of words that it gets wrong is what the README tells.
TEST_F(SphinxEngineTest, HearsPeople) {
  SphinxEngine engine;
  std::size_t errors = 0, words = 0;
  const auto recordings = transcribedRecordings();
  ASSERT_EQ(recordings.size(), 10U);
  for (const Recording& recording : recordings) {
    errors += wordErrors(recording.words, transcribe(engine, recording.samples));
    words += static_cast<std::size_t>(std::count(recording.words.begin(), recording.words.end(), ' ')) + 1;
  }
  RecordProperty("wordErrors", static_cast<int>(errors));
  RecordProperty("words", static_cast<int>(words));
  EXPECT_EQ(words, 92U);
  EXPECT_LE(errors, 24U);
}

TEST_F(SphinxEngineTest, RemembersNothingOfEarlierSounds) {
  SphinxEngine engine({.workers = 1, .sessionsPerWorker = 1});
  const auto recordings = transcribedRecordings();
  const std::string first = transcribe(engine, recordings[1].samples);
  { main_.await(engine.begin({}))->accept(recordings[0].samples); }  // dropped in the middle
  transcribe(engine, recordings[5].samples);
  EXPECT_EQ(transcribe(engine, recordings[1].samples), first);
}

TEST_F(SphinxEngineTest, HearsNothingInSilenceAndHum) {
  SphinxEngine engine;
  EXPECT_EQ(transcribe(engine, {}), "");
  EXPECT_EQ(transcribe(engine, std::vector<std::int16_t>(1)), "");
  std::vector<std::int16_t> hum(2 * kSpeechRate);
  EXPECT_EQ(transcribe(engine, hum), "");
  for (std::size_t i = 0; i < hum.size(); ++i) hum[i] = static_cast<std::int16_t>(200 * std::sin(i * 0.02));
  EXPECT_EQ(transcribe(engine, hum), "");
}

TEST_F(SphinxEngineTest, TellsWordsWhilePeopleStillSpeak) {
  SphinxEngine engine;
  const auto session = main_.await(engine.begin({}));
  session->accept(transcribedRecordings()[0].samples);
  const auto told = [&] { return session->partialText().find("leisure") != std::string::npos; };
  EXPECT_TRUE(main_.runUntil(told, std::chrono::seconds(60)));
}

TEST_F(SphinxEngineTest, CutsLongSoundAtPauses) {
  SphinxEngine engine;
  std::vector<std::int16_t> sound;
  std::string words;
  for (const Recording& recording : transcribedRecordings()) {
    if (!recording.name.starts_with("sense")) continue;
    sound.insert(sound.end(), recording.samples.begin(), recording.samples.end());
    sound.resize(sound.size() + kSpeechRate);
    words += recording.words + " ";
  }
  const auto session = main_.await(engine.begin({}));
  session->accept(sound);
  const std::string text = main_.await(session->finish());
  EXPECT_LE(wordErrors(words, text), 26U) << text;
}

TEST_F(SphinxEngineTest, SharesItsWorkerAndRefusesMoreThanItCarries) {
  SphinxEngine engine({.workers = 1, .sessionsPerWorker = 2});
  auto first = main_.await(engine.begin({}));
  auto second = main_.await(engine.begin({}));
  EXPECT_EQ(failure(engine), SpeechFailure::busy);
  // A long sound doesn't keep a short one waiting for its end.
  const auto recordings = transcribedRecordings();
  for (const Recording& recording : recordings) first->accept(recording.samples);
  second->accept(goForward());
  EXPECT_EQ(main_.await(second->finish()), "go forward ten meters");
  EXPECT_LT(first->partialText().size(), 300U);
  second.reset();
  EXPECT_EQ(failure(engine), std::nullopt);
}

TEST_F(SphinxEngineTest, TellsAModelThatIsMissing) {
  const TemporaryFolder folder;
  SphinxEngine engine({.model = folder.path()});
  EXPECT_EQ(failure(engine), SpeechFailure::modelNotInstalled);
}

}  // namespace
}  // namespace quillet::test
