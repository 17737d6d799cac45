// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "QuilletCompanion/App/DeviceModel.h"
#include "QuilletCompanion/App/DictationTexts.h"
#include "QuilletCompanion/App/PillContent.h"
#include "QuilletCompanion/App/StatusRows.h"
#include "QuilletCompanion/App/UserDefaults.h"
#include "QuilletCompanion/App/WordMilestone.h"
#include "Tests/Doubles/Rows.h"

namespace quillet {
namespace {

using namespace DictationPhases;
using Tint = StatusRow::Tint;

StatusRow dictationRow(const DictationStatus& dictation) {
  return statusRows(ConnectionStatus::offline, true, 0, dictation).back();
}

TEST(StatusRowsTest, SayHowItStandsInWordsAndColours) {
  const auto rows = statusRows(ConnectionStatus::reconnecting, false, 2, {});
  const std::vector<StatusRow> expected{{"Connection", "Reconnecting", Tint::yellow},
                                        {"Accessibility", "Not allowed", Tint::orange},
                                        {"Paired iPhones", "2", Tint::none},
                                        {"Dictation on this Mac", "Off", Tint::none}};
  EXPECT_EQ(rows, expected);
  const std::string title = "Dictation on this Mac";
  EXPECT_EQ(dictationRow({true, true, Idle{}}), (StatusRow{title, "On", Tint::green}));
  EXPECT_EQ(dictationRow({true, false, Inserted{}}), (StatusRow{title, "Needs setup", Tint::orange}));
  EXPECT_EQ(dictationRow({true, true, Transcribing{}}).value, "Listening");
  EXPECT_EQ(dictationRow({false, true, Listening{}}).value, "Off");
}

TEST(StatusRowsTest, TheIconShowsADictationBeforeTheConnection) {
  EXPECT_EQ(menuIcon(ConnectionStatus::offline, true).symbol, "waveform");
  EXPECT_EQ(menuIcon(ConnectionStatus::offline, false), (MenuIcon{"mic.slash", "Quillet, offline"}));
  EXPECT_EQ(menuIcon(ConnectionStatus::reconnecting, false).symbol, "mic");
}

TEST(PillContentTest, BarsAreAHistoryThatBeginsAnewWithWhatLooksDifferent) {
  PillContent::Levels levels;
  EXPECT_TRUE(levels.show(Starting{}));
  for (int i = 1; i <= 17; ++i) levels.add(static_cast<float>(i));
  EXPECT_FALSE(levels.show(Listening{7}));
  EXPECT_EQ(levels.values().front(), 2);
  EXPECT_EQ(levels.values().back(), 17);
  EXPECT_TRUE(levels.show(Transcribing{}));
  EXPECT_EQ(levels.values().back(), 0);
  EXPECT_EQ(PillContent::Levels::barHeight(0), 4);
  EXPECT_EQ(PillContent::Levels::barHeight(1), 22);
}

TEST(PillContentTest, DotsAreAWaveOverAPeriod) {
  EXPECT_DOUBLE_EQ(PillContent::dotOpacity(0, 0.3, true), 1);
  EXPECT_DOUBLE_EQ(PillContent::dotOpacity(0, 0.9, true), 0.35);
  EXPECT_NEAR(PillContent::dotOpacity(1, 0.3 + 0.7 * 1.2 / 6.2831853, true), 1, 1e-6);
  EXPECT_DOUBLE_EQ(PillContent::dotOpacity(2, 0.3, false), 0.8);
}

TEST(PillContentTest, DoesNotTellTheChangesOfATargetApart) {
  for (const auto reason : {RefusalReason::appChanged, RefusalReason::selectionChanged, RefusalReason::focusChanged}) {
    EXPECT_EQ(PillContent::refusalText(reason), PillContent::refusalText(RefusalReason::noField));
  }
  EXPECT_EQ(PillContent::refusalText(RefusalReason::asleep), "This Mac is locked");
  EXPECT_EQ(PillContent::refusalText(RefusalReason::tokenExpired), "Couldn't type here");
}

TEST(DictationTextsTest, NameWhoTranscribesOnlyOnceTheServiceHasToldIt) {
  UserDefaults store(std::nullopt);
  DictationPreferences preferences(store);
  ServiceConfig told;
  EXPECT_EQ(DictationTexts::privacyNote(preferences, told).place, "") << "the built-in default is nobody's word";
  told.cloud = {"whisper", "", "2", ServiceConfig::Cloud::Streaming{true, "quick", "Mars"}};
  EXPECT_EQ(DictationTexts::privacyNote(preferences, told).place, "quick (Mars)");
  EXPECT_EQ(DictationTexts::transcription(preferences, told), "quick");
  preferences.style.set(TranscriptStyle::clean);
  EXPECT_EQ(DictationTexts::privacyNote(preferences, told).place, "whisper");
  EXPECT_EQ(DictationTexts::transcription(preferences, told), "whisper");
  preferences.recognizer.set(RecognizerChoice::device);
  EXPECT_EQ(DictationTexts::privacyNote(preferences, told).place, "");
  EXPECT_EQ(DictationTexts::transcription(preferences, told), std::nullopt);
  EXPECT_TRUE(DictationTexts::isEngine("tcp://studio:10300"));
  EXPECT_FALSE(DictationTexts::isEngine("studio")) << "nothing would be transcribed, and nobody told why";
}

TEST(DictationTextsTest, AnUnpluggedMicrophoneStaysInTheListWhileItIsChosen) {
  const AudioInput desk{"a", "Desk"}, headset{"b", "Headset"}, renamed{"a", "Table"};
  using DictationTexts::microphoneChoices;
  using DictationTexts::placeOf;
  EXPECT_EQ(microphoneChoices({desk}, renamed), (std::vector<DictationTexts::MicrophoneChoice>{{}, {desk}}));
  EXPECT_EQ(placeOf(renamed, microphoneChoices({desk}, renamed)), 1u);
  EXPECT_EQ(microphoneChoices({desk}, headset).back(), (DictationTexts::MicrophoneChoice{headset, false}));
  EXPECT_EQ(placeOf(headset, microphoneChoices({desk}, headset)), 2u);
  EXPECT_EQ(placeOf(std::nullopt, microphoneChoices({desk}, std::nullopt)), 0u);
}

TEST(WordMilestone, ComparesWithPagesAndBooks) {
  using Row = std::tuple<std::int64_t, std::string, std::string, std::string, double>;
  for (const auto& [words, headline, subject, next, progress] : test::rows<Row>("words", "milestones")) {
    const auto found = WordMilestone::of(words);
    EXPECT_EQ(found.headline, headline) << words;
    EXPECT_EQ(found.subject, subject) << words;
    EXPECT_EQ(found.next ? found.next->title : "", next) << words;
    if (found.next) EXPECT_DOUBLE_EQ(found.next->progress, progress) << words;
  }
}

TEST(WordMilestone, TellsWholeMinutesOfTypingFromOneOn) {
  EXPECT_EQ(minutesOfTypingSaved(54), std::nullopt);
  EXPECT_EQ(minutesOfTypingSaved(55), 1);
  EXPECT_EQ(minutesOfTypingSaved(10000), 183);
}

TEST(DeviceModel, PrefersTheModelNameToTheBattery) {
  for (const auto& [name, battery, kind] :
       test::rows<std::tuple<std::string, bool, std::string>>("devices", "models")) {
    int questions = 0;
    const auto named = [&, name = name] { return ++questions, name.empty() ? std::nullopt : std::optional(name); };
    const DeviceModel model(named, [battery = battery] { return battery; });
    for (int i = 0; i < 2; ++i) EXPECT_EQ(model.kind(), fromRaw<DeviceKind>(kind)) << name;
    EXPECT_EQ(questions, 1);
  }
}

}  // namespace
}  // namespace quillet
