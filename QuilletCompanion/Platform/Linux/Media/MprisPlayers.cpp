// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Media/MprisPlayers.h"

#include <boost/asio/this_coro.hpp>
#include <memory>
#include <utility>

#include "QuilletKit/Async/Event.h"

namespace quillet {
namespace {

namespace asio = boost::asio;
using Answers = std::vector<GVariantRef>;

constexpr std::string_view kPlayerNames = "org.mpris.MediaPlayer2.";
/// Stands for whichever player was used last, which has a name of its own.
constexpr std::string_view kProxy = "org.mpris.MediaPlayer2.playerctld";
constexpr const char* kPath = "/org/mpris/MediaPlayer2";
constexpr const char* kPlayer = "org.mpris.MediaPlayer2.Player";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr const char* kBus = "org.freedesktop.DBus";

/// The text in a reply "(v)".
std::string textIn(GVariant* reply) {
  if (reply == nullptr || !g_variant_is_of_type(reply, G_VARIANT_TYPE("(v)"))) return "";
  const GVariantRef boxed(g_variant_get_child_value(reply, 0));
  const GVariantRef value(g_variant_get_variant(boxed.get()));
  return g_variant_is_of_type(value.get(), G_VARIANT_TYPE_STRING) ? g_variant_get_string(value.get(), nullptr) : "";
}

std::vector<std::string> playersIn(GVariant* reply) {
  std::vector<std::string> players;
  if (reply == nullptr || !g_variant_is_of_type(reply, G_VARIANT_TYPE("(as)"))) return players;
  const GVariantRef names(g_variant_get_child_value(reply, 0));
  for (gsize i = 0; i < g_variant_n_children(names.get()); ++i) {
    const GVariantRef name(g_variant_get_child_value(names.get(), i));
    const std::string_view text = g_variant_get_string(name.get(), nullptr);
    if (text.starts_with(kPlayerNames) && text != kProxy) players.emplace_back(text);
  }
  return players;
}

}  // namespace

struct MprisPlayers::Question {
  std::string service;
  const char *path, *interface, *method;
  GVariantRef arguments;
};

// Answers may come at the moment of a cancellation, after which this object may be gone.
Awaitable<bool> MprisPlayers::pause() {
  Names playing = co_await inState(co_await players(), "Playing");
  if (isCancelled(co_await asio::this_coro::cancellation_state)) co_return false;
  paused_ = std::move(playing);
  command(paused_, "Pause");
  co_return !paused_.empty();
}

Awaitable<void> MprisPlayers::play() {
  // Whoever was stopped or set going by its user in the meantime stays as it is.
  const Names still = co_await inState(std::exchange(paused_, {}), "Paused");
  if (!isCancelled(co_await asio::this_coro::cancellation_state)) command(still, "Play");
}

void MprisPlayers::playNow() {
  command(std::exchange(paused_, {}), "Play");
  // Its answer comes after what was sent before.
  bus_.call(kBus, "/org/freedesktop/DBus", kBus, "GetId", nullptr);
}

void MprisPlayers::command(const Names& players, const char* command) {
  for (const auto& player : players) {
    bus_.callLater(player.c_str(), kPath, kPlayer, command, nullptr, [](GVariant*, GUnixFDList*) {});
  }
}

Awaitable<MprisPlayers::Names> MprisPlayers::players() {
  std::vector<Question> question;
  question.push_back({kBus, "/org/freedesktop/DBus", kBus, "ListNames", nullptr});
  const Answers answers = co_await ask(std::move(question));
  co_return playersIn(answers[0].get());
}

Awaitable<MprisPlayers::Names> MprisPlayers::inState(Names players, std::string_view state) {
  std::vector<Question> questions;
  for (const auto& player : players) {
    GVariant* const property = g_variant_new("(ss)", kPlayer, "PlaybackStatus");
    questions.push_back({player, kPath, kProperties, "Get", GVariantRef(g_variant_ref_sink(property))});
  }
  const Answers answers = co_await ask(std::move(questions));
  Names found;
  for (std::size_t i = 0; i < players.size(); ++i) {
    if (textIn(answers[i].get()) == state) found.push_back(players[i]);
  }
  co_return found;
}

Awaitable<std::vector<GVariantRef>> MprisPlayers::ask(std::vector<Question> questions) {
  struct Asked {
    Answers answers;
    std::size_t left;
    Event answered;
  };
  // Answers may still come to a coroutine that was cancelled.
  const auto asked = std::make_shared<Asked>(Answers(questions.size()), questions.size());
  for (std::size_t i = 0; i < questions.size(); ++i) {
    const Question& each = questions[i];
    bus_.callLater(each.service.c_str(), each.path, each.interface, each.method, each.arguments.get(),
                   [asked = std::weak_ptr(asked), i](GVariant* answer, GUnixFDList*) {
                     const auto open = asked.lock();
                     if (!open) return;
                     if (answer != nullptr) open->answers[i].reset(g_variant_ref(answer));
                     if (--open->left == 0) open->answered.wake();
                   });
  }
  if (asked->left > 0) co_await asked->answered.wait();
  co_return std::move(asked->answers);
}

}  // namespace quillet
