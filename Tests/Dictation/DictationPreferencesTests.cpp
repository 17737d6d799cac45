// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/DictationPreferences.h"

#include <gtest/gtest.h>

#include "Tests/Doubles/MemoryPreferences.h"

namespace quillet::test {
namespace {

void expectDefaults(const DictationPreferences& fresh) {
  EXPECT_FALSE(fresh.isEnabled.get());
  EXPECT_TRUE(fresh.showsFloatingButton.get());
  EXPECT_EQ(fresh.toggleShortcut.get(), (DictationShortcut{49, 0xC0000}));
  EXPECT_EQ(fresh.holdShortcut.get(), (DictationShortcut{61, 0}));
  EXPECT_EQ(fresh.language.get(), RecognitionLanguage::automatic);
  EXPECT_EQ(fresh.style.get(), TranscriptStyle::verbatim);
  EXPECT_TRUE(fresh.streamingEnabled.get());
  EXPECT_EQ(fresh.audioWhileDictating.get(), DictationAudio::muffle);
  EXPECT_EQ(fresh.microphone.get(), std::nullopt);
  EXPECT_EQ(fresh.recognizer.get(), RecognizerChoice::cloud);
  EXPECT_EQ(fresh.deviceEngine.get(), "embedded");
}

TEST(DictationPreferencesTest, EveryWriteIsKeptAndReadBack) {
  MemoryPreferences store;
  const AudioInput microphone{"alsa_input.usb", "Desk \"1\""};
  {
    DictationPreferences chosen(store);
    chosen.isEnabled.set(true);
    chosen.showsFloatingButton.set(false);
    chosen.toggleShortcut.set(DictationShortcut{96, 0});
    chosen.holdShortcut.set(std::nullopt);
    chosen.language.set(RecognitionLanguage::nl);
    chosen.style.set(TranscriptStyle::clean);
    chosen.streamingEnabled.set(false);
    chosen.audioWhileDictating.set(DictationAudio::pause);
    chosen.microphone.set(microphone);
    chosen.recognizer.set(RecognizerChoice::device);
    chosen.deviceEngine.set("tcp://127.0.0.1:10300");
  }
  EXPECT_EQ(store.json("dictation.holdShortcut"), "null");
  EXPECT_EQ(store.json("dictation.toggleShortcut"), R"({"keyCode":96,"modifiers":0})");
  EXPECT_EQ(store.json("dictation.microphone"), R"({"name":"Desk \"1\"","uid":"alsa_input.usb"})");
  EXPECT_EQ(store.values.at("dictation.language"), "nl");
  DictationPreferences later(store);
  EXPECT_TRUE(later.isEnabled.get());
  EXPECT_FALSE(later.showsFloatingButton.get());
  EXPECT_EQ(later.toggleShortcut.get(), (DictationShortcut{96, 0}));
  EXPECT_EQ(later.holdShortcut.get(), std::nullopt);
  EXPECT_EQ(later.style.get(), TranscriptStyle::clean);
  EXPECT_FALSE(later.streamingEnabled.get());
  EXPECT_EQ(later.audioWhileDictating.get(), DictationAudio::pause);
  EXPECT_EQ(later.microphone.get(), microphone);
  EXPECT_EQ(later.recognizer.get(), RecognizerChoice::device);
  EXPECT_EQ(later.deviceEngine.get(), "tcp://127.0.0.1:10300");
  later.microphone.set(std::nullopt);
  EXPECT_EQ(store.json("dictation.microphone"), std::nullopt) << "the default is the absence of a choice";
}

TEST(DictationPreferencesTest, NoneAndDamagedValuesReadAsDefaults) {
  MemoryPreferences store;
  expectDefaults(DictationPreferences(store));
  EXPECT_EQ(store.writes, 0);
  for (const auto* key : {"dictation.language", "dictation.style", "dictation.audio", "dictation.recognizer"}) {
    store.setString(key, "something new");
  }
  for (const auto* key : {"dictation.enabled", "dictation.floatingButton", "dictation.streaming"}) {
    store.setString(key, "maybe");
  }
  store.setJSON("dictation.toggleShortcut", R"({"keyCode":70000,"modifiers":0})");
  store.setJSON("dictation.holdShortcut", R"("right option")");
  store.setJSON("dictation.microphone", R"({"uid":"x"})");
  expectDefaults(DictationPreferences(store));
}

TEST(DictationPreferencesTest, TheOlderChoiceOfAudioCountsUntilThereIsANewerOne) {
  MemoryPreferences store;
  store.setFlag("dictation.muffleAudio", true);
  EXPECT_EQ(DictationPreferences(store).audioWhileDictating.get(), DictationAudio::muffle);
  store.setFlag("dictation.muffleAudio", false);
  DictationPreferences old(store);
  EXPECT_EQ(old.audioWhileDictating.get(), DictationAudio::keep);
  EXPECT_FALSE(store.string("dictation.audio")) << "reading migrates nothing";
  old.audioWhileDictating.set(DictationAudio::keep);
  store.setFlag("dictation.muffleAudio", true);
  EXPECT_EQ(DictationPreferences(store).audioWhileDictating.get(), DictationAudio::keep);
}

}  // namespace
}  // namespace quillet::test
