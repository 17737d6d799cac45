// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/DictationPreferences.h"

#include "QuilletKit/JSON/JSONFields.h"

namespace quillet {

constexpr auto jsonFields(std::type_identity<DictationShortcut>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("keyCode", &DictationShortcut::keyCode),
                            field("modifiers", &DictationShortcut::modifiers));
}
constexpr auto jsonFields(std::type_identity<AudioInput>) {
  using JSONCoding::field;
  return JSONCoding::fields(field("name", &AudioInput::name), field("uid", &AudioInput::uid));
}

namespace {

constexpr std::string_view kNull = "null";

template <typename T>
std::optional<T> decoded(const std::optional<std::string>& json) {
  if (!json) return std::nullopt;
  try {
    return JSONCoding::decode<T>(*json);
  } catch (const JSONCoding::DecodingError&) {
    return std::nullopt;
  }
}

Preference<bool> flag(TypedPreferenceStore& store, std::string_view key, bool initially) {
  return {store.flag(key).value_or(initially), [&store, key](bool value) { store.setFlag(key, value); }};
}

/// A raw string of an enumeration.
template <typename E>
Preference<E> word(TypedPreferenceStore& store, std::string_view key, E initially) {
  const auto known = fromRaw<E>(store.string(key).value_or(""));
  return {known.value_or(initially), [&store, key](E value) { store.setString(key, std::string(rawValue(value))); }};
}

/// JSON, in which null is a shortcut that was turned off: only what is missing or damaged brings the default back.
Preference<std::optional<DictationShortcut>> shortcut(TypedPreferenceStore& store, std::string_view key,
                                                      DictationShortcut initially) {
  const auto json = store.json(key);
  std::optional<DictationShortcut> value;
  if (json != kNull) value = decoded<DictationShortcut>(json).value_or(initially);
  return {value, [&store, key](const std::optional<DictationShortcut>& chosen) {
            store.setJSON(key, chosen ? JSONCoding::encode(*chosen) : std::string(kNull));
          }};
}

Preference<std::optional<AudioInput>> input(TypedPreferenceStore& store, std::string_view key) {
  return {decoded<AudioInput>(store.json(key)), [&store, key](const std::optional<AudioInput>& chosen) {
            if (!chosen) return store.setString(key, std::nullopt);
            store.setJSON(key, JSONCoding::encode(*chosen));
          }};
}

/// What an older version knew: muffling, or nothing.
DictationAudio audioBefore(const TypedPreferenceStore& store) {
  return store.flag("dictation.muffleAudio").value_or(true) ? DictationAudio::muffle : DictationAudio::keep;
}

Preference<std::string> engine(TypedPreferenceStore& store, std::string_view key) {
  return {store.string(key).value_or("embedded"),
          [&store, key](const std::string& value) { store.setString(key, value); }};
}

}  // namespace

DictationPreferences::DictationPreferences(TypedPreferenceStore& store)
    : isEnabled(flag(store, "dictation.enabled", false)),
      showsFloatingButton(flag(store, "dictation.floatingButton", true)),
      toggleShortcut(shortcut(store, "dictation.toggleShortcut", kDefaultToggle)),
      holdShortcut(shortcut(store, "dictation.holdShortcut", kDefaultHold)),
      language(word(store, "dictation.language", RecognitionLanguage::automatic)),
      style(word(store, "dictation.style", TranscriptStyle::verbatim)),
      streamingEnabled(flag(store, "dictation.streaming", true)),
      audioWhileDictating(word(store, "dictation.audio", audioBefore(store))),
      microphone(input(store, "dictation.microphone")),
      recognizer(word(store, "dictation.recognizer", RecognizerChoice::cloud)),
      deviceEngine(engine(store, "dictation.deviceEngine")) {}

}  // namespace quillet
