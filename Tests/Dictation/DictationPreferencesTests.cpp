// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/DictationPreferences.h"

#include <gtest/gtest.h>

#include "Tests/Doubles/FakeStores.h"

namespace quillet::test {
namespace {

/// All of them, in the order of their declaration.
auto valuesOf(const DictationPreferences& p) {
  return std::tuple(p.isEnabled.get(), p.showsFloatingButton.get(), p.toggleShortcut.get(), p.holdShortcut.get(),
                    p.language.get(), p.style.get(), p.streamingEnabled.get(), p.audioWhileDictating.get(),
                    p.microphone.get(), p.recognizer.get(), p.deviceEngine.get());
}

const auto kDefaults = [] {
  using Shortcut = std::optional<DictationShortcut>;
  return std::tuple(false, true, Shortcut({49, 0xC0000}), Shortcut({61, 0}), RecognitionLanguage::automatic,
                    TranscriptStyle::verbatim, true, DictationAudio::muffle, std::optional<AudioInput>(),
                    RecognizerChoice::cloud, std::string("embedded"));
}();

TEST(DictationPreferencesTest, EveryWriteIsKeptAndReadBack) {
  MemoryPreferences store;
  DictationPreferences chosen(store);
  chosen.isEnabled.set(true);
  chosen.showsFloatingButton.set(false);
  chosen.toggleShortcut.set(DictationShortcut{96, 0});
  chosen.holdShortcut.set(std::nullopt);
  chosen.language.set(RecognitionLanguage::nl);
  chosen.style.set(TranscriptStyle::clean);
  chosen.streamingEnabled.set(false);
  chosen.audioWhileDictating.set(DictationAudio::pause);
  chosen.microphone.set(AudioInput{"alsa_input.usb", "Desk \"1\""});
  chosen.recognizer.set(RecognizerChoice::device);
  chosen.deviceEngine.set("tcp://127.0.0.1:10300");
  EXPECT_EQ(store.json("dictation.holdShortcut"), "null");
  EXPECT_EQ(store.json("dictation.toggleShortcut"), R"({"keyCode":96,"modifiers":0})");
  EXPECT_EQ(store.json("dictation.microphone"), R"({"name":"Desk \"1\"","uid":"alsa_input.usb"})");
  EXPECT_EQ(store.values.at("dictation.language"), "nl");
  DictationPreferences later(store);
  EXPECT_EQ(valuesOf(later), valuesOf(chosen));
  later.microphone.set(std::nullopt);
  EXPECT_EQ(store.json("dictation.microphone"), std::nullopt) << "the default is the absence of a choice";
}

TEST(DictationPreferencesTest, NoneAndDamagedValuesReadAsDefaults) {
  MemoryPreferences store;
  EXPECT_EQ(valuesOf(DictationPreferences(store)), kDefaults);
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
  EXPECT_EQ(valuesOf(DictationPreferences(store)), kDefaults);
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
