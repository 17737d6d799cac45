// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Terminal/TerminalDictation.h"

#include <algorithm>
#include <vector>

#include "QuilletCompanion/Dictation/ShortcutRecorder.h"
#include "QuilletCompanion/Terminal/Overload.h"
#include "QuilletKit/Base/PlainText.h"
#include "QuilletKit/Base/Unicode.h"
#include "QuilletSpeech/SpeechEngineChoice.h"

namespace quillet {
namespace {

using namespace DictationPhases;
using Role = HotkeyMonitor::Role;
using Object = TerminalOutput::Object;

constexpr const char* kTakenShortcut = "Another app is using this shortcut. Choose a different one.";

/// In words that are true here.
std::string_view failureText(DictationFailure failure) {
  switch (failure) {
    case DictationFailure::languageUnsupported:
      return "This language can't be dictated on this computer.";
    case DictationFailure::modelNotInstalled:
      return "Install the speech model: the package pocketsphinx-en-us.";
    case DictationFailure::offline:
      return "Connect this computer to the internet to dictate.";
    default:
      return text(failure);
  }
}

Object describe(const DictationPhase& phase) {
  const auto named = [](const char* name, Object more = {}) {
    more["phase"] = name;
    return more;
  };
  return std::visit(
      Overload{[&](const Idle&) { return named("idle"); }, [&](const Starting&) { return named("starting"); },
               [&](const Listening& listening) {
                 return named("listening", {{"since", listening.since}});
               },
               [&](const Transcribing&) { return named("transcribing"); },
               [&](const Inserted&) { return named("inserted"); },
               [&](const NotInserted& refused) {
                 return named("notInserted", {{"text", refused.text}, {"reason", rawValue(refused.reason)}});
               },
               [&](const Failed& failed) {
                 return named("failed", {{"message", failureText(failed.failure)}});
               }},
      phase);
}

std::string textOf(const DictationPhase& phase) {
  return std::visit(
      Overload{[](const Idle&) { return std::string("Dictation: idle"); },
               [](const Starting&) { return std::string("Dictation: starting"); },
               [](const Listening&) { return std::string("Dictation: listening"); },
               [](const Transcribing&) { return std::string("Dictation: transcribing"); },
               [](const Inserted&) { return std::string("Dictation: inserted"); },
               [](const NotInserted& refused) {
                 return "Dictation: not inserted (" + std::string(rawValue(refused.reason)) +
                        "). \"last\" shows the text.";
               },
               [](const Failed& failed) { return "Dictation: " + std::string(failureText(failed.failure)); }},
      phase);
}

std::string valueText(bool value) {
  return value ? "on" : "off";
}
template <RawEnum E>
std::string valueText(E value) {
  return std::string(rawValue(value));
}

std::optional<bool> valueFrom(std::type_identity<bool>, std::string_view text) {
  if (text == "on") return true;
  return text == "off" ? std::optional(false) : std::nullopt;
}
template <RawEnum E>
std::optional<E> valueFrom(std::type_identity<E>, std::string_view text) {
  return fromRaw<E>(text);
}

std::string choices(std::type_identity<bool>) {
  return "on, off";
}
template <RawEnum E>
std::string choices(std::type_identity<E> type) {
  std::string list;
  for (const auto name : rawNames(type)) list += (list.empty() ? "" : ", ") + std::string(name);
  return list;
}

/// The first word, and what stands behind it.
std::pair<std::string, std::string> splitWord(const std::string& words) {
  const auto end = std::min(words.find_first_of(" \t"), words.size());
  return {words.substr(0, end), std::string(Unicode::trim(std::string_view(words).substr(end)))};
}

/// Empty, or what is wrong with the name of an engine.
std::string problemWith(const std::string& engine) {
  try {
    SpeechEngineChoice::parse(engine);
    return "";
  } catch (const SpeechEngineChoice::Malformed& malformed) {
    return malformed.what();
  }
}

}  // namespace

TerminalDictation::TerminalDictation(AppModel& model, const TerminalOutput& output)
    : model_(model), dictation_(model.dictation()), output_(output) {
  const auto& controller = dictation_.controller();
  phase_ = controller.phase().observe([this](const DictationPhase& phase) { showPhase(phase); });
  if (output_.style() == TerminalOutput::Style::json) {
    level_ = controller.level().observe([this](float level) { output_.event("level", {{"level", level}}, ""); });
  }
  unavailable_ = dictation_.unavailableShortcuts().observe([this](const std::set<Role>& roles) {
    if (!roles.empty()) output_.event("shortcutUnavailable", {}, kTakenShortcut);
  });
}

void TerminalDictation::showPhase(const DictationPhase& phase) {
  output_.event("dictation", describe(phase), textOf(phase));
}

bool TerminalDictation::isInProgress() const {
  return quillet::isInProgress(dictation_.controller().phase().get());
}

void TerminalDictation::cancel() {
  dictation_.controller().cancel();
  output_.answer("cancel", {}, "The dictation was cancelled.");
}

template <typename T>
void TerminalDictation::choose(std::string_view name, Preference<T>& preference, const std::string& choice) {
  constexpr std::type_identity<T> type;
  const auto value = valueFrom(type, choice);
  if (!choice.empty() && !value) {
    return output_.refuse("Say one of these: " + choices(type) + ".");
  }
  if (value) preference.set(*value);
  const std::string now = valueText(preference.get());
  output_.answer(name, {{"value", now}, {"saved", model_.areSettingsSaved()}}, std::string(name) + ": " + now);
}

void TerminalDictation::enable(const std::string& choice) {
  const auto wanted = valueFrom(std::type_identity<bool>(), choice);
  if (!choice.empty() && !wanted) return output_.refuse("Say \"dictation on\" or \"dictation off\".");
  if (wanted) dictation_.setEnabled(*wanted);
  const bool on = dictation_.preferences.isEnabled.get();
  const auto hint = dictation_.shortcutHint();
  output_.answer("dictation", {{"enabled", on}, {"canDictate", dictation_.canDictate()}, {"hint", hint.value_or("")}},
                 "Dictation: " + valueText(on) + (on && hint ? ". " + *hint + "." : ""));
}

bool TerminalDictation::isOff() const {
  const bool off = !dictation_.preferences.isEnabled.get();
  if (off) output_.refuse("Dictation is off. Type \"dictation on\".");
  return off;
}

void TerminalDictation::dictate() {
  if (isOff()) return;
  dictation_.toggleFromPanel();
  const auto& phase = dictation_.controller().phase().get();
  output_.answer("dictate", describe(phase), textOf(phase));
}

void TerminalDictation::microphones() {
  if (isOff()) return;
  const auto& standard = dictation_.inputs.systemDefault.get();
  const auto& chosen = dictation_.preferences.microphone.get();
  boost::json::array list;
  std::string lines;
  for (const auto& input : dictation_.inputs.all.get()) {
    const bool isChosen = chosen && chosen->uid == input.uid;
    const bool isDefault = standard && standard->uid == input.uid;
    list.push_back({{"uid", input.uid}, {"name", input.name}, {"isDefault", isDefault}, {"isChosen", isChosen}});
    lines += (lines.empty() ? "" : "\n") + plainText(input.name) + (isDefault ? " (default)" : "") +
             (isChosen ? " (chosen)" : "");
  }
  output_.answer("microphones", {{"microphones", std::move(list)}}, lines.empty() ? "There is no microphone." : lines);
}

void TerminalDictation::microphone(const std::string& wanted) {
  auto& preference = dictation_.preferences.microphone;
  if (wanted == "default") {
    preference.set(std::nullopt);
  } else if (!wanted.empty()) {
    if (isOff()) return;
    const auto& all = dictation_.inputs.all.get();
    const auto found = std::find_if(
        all.begin(), all.end(), [&](const AudioInput& input) { return input.uid == wanted || input.name == wanted; });
    if (found == all.end()) return output_.refuse("No microphone is called that. \"microphones\" lists them.");
    preference.set(*found);
  }
  const auto& now = preference.get();
  output_.answer("microphone", {{"uid", now ? now->uid : ""}, {"name", now ? now->name : ""}},
                 "Microphone: " + (now ? plainText(now->name) : "the system's default"));
}

std::string TerminalDictation::shortcutText(const std::optional<DictationShortcut>& shortcut) const {
  return shortcut ? displayText(*shortcut, dictation_.keyboard()) : "Off";
}

void TerminalDictation::answerShortcuts() {
  const std::string hold = shortcutText(dictation_.preferences.holdShortcut.get());
  const std::string toggle = shortcutText(dictation_.preferences.toggleShortcut.get());
  const auto& taken = dictation_.unavailableShortcuts().get();
  boost::json::array unavailable;
  if (taken.contains(Role::hold)) unavailable.emplace_back("hold");
  if (taken.contains(Role::toggle)) unavailable.emplace_back("toggle");
  std::string text = "Hold: " + hold + "\nToggle: " + toggle;
  if (!taken.empty()) text += std::string("\n") + kTakenShortcut;
  output_.answer("shortcut", {{"hold", hold}, {"toggle", toggle}, {"unavailable", std::move(unavailable)}}, text);
}

void TerminalDictation::shortcut(const std::string& words) {
  const auto [which, keys] = splitWord(words);
  if (which.empty()) return answerShortcuts();
  if ((which != "hold" && which != "toggle") || keys.empty()) {
    return output_.refuse("Say \"shortcut hold KEYS\", \"shortcut toggle KEYS\", or \"off\" for the keys.");
  }
  setShortcut(which == "hold" ? Role::hold : Role::toggle, keys);
}

void TerminalDictation::setShortcut(Role role, const std::string& keys) {
  std::optional<DictationShortcut> wanted;
  if (keys != "off") {
    wanted = shortcutFromText(keys, dictation_.keyboard());
    if (!wanted) return output_.refuse("That is no shortcut. Examples: \"right alt\", \"ctrl+alt+space\", \"f5\".");
    if (const auto refused = refusal(*wanted)) return output_.refuse(text(*refused, dictation_.keyboard()));
  }
  dictation_.setShortcut(role, wanted);
  answerShortcuts();
}

void TerminalDictation::language(const std::string& choice) {
  choose("language", dictation_.preferences.language, choice);
}

void TerminalDictation::style(const std::string& choice) {
  choose("style", dictation_.preferences.style, choice);
}

void TerminalDictation::streaming(const std::string& choice) {
  choose("streaming", dictation_.preferences.streamingEnabled, choice);
}

void TerminalDictation::music(const std::string& choice) {
  if (const auto mode = fromRaw<DictationAudio>(choice)) dictation_.setAudio(*mode);
  choose("music", dictation_.preferences.audioWhileDictating, choice);
}

void TerminalDictation::recognizer(const std::string& words) {
  const auto [choice, engine] = splitWord(words);
  if (!engine.empty()) {
    if (choice != "device") return output_.refuse("Only \"recognizer device\" takes an engine.");
    if (const auto problem = problemWith(engine); !problem.empty()) return output_.refuse(problem);
    dictation_.preferences.deviceEngine.set(engine);
  }
  choose("recognizer", dictation_.preferences.recognizer, choice);
}

void TerminalDictation::last() {
  const auto& text = dictation_.controller().lastText().get();
  if (!text) return output_.refuse("Nothing was dictated yet.");
  output_.answer("last", {{"text", *text}}, plainText(*text));
}

}  // namespace quillet
