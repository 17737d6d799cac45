// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Media/MprisPlayers.h"

#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

namespace quillet {
namespace {

namespace asio = boost::asio;
using Error = boost::system::error_code;
using Answers = std::vector<GVariantRef>;

constexpr std::string_view kPlayerNames = "org.mpris.MediaPlayer2.";
/// Stands for whichever player was used last, which has a name of its own.
constexpr std::string_view kProxy = "org.mpris.MediaPlayer2.playerctld";
constexpr const char* kPath = "/org/mpris/MediaPlayer2";
constexpr const char* kPlayer = "org.mpris.MediaPlayer2.Player";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr const char* kBus = "org.freedesktop.DBus";

/// A coroutine that waits for answers, as what goes on with them.
class Waiting : public std::enable_shared_from_this<Waiting> {
 public:
  using Resume = asio::async_result<asio::use_awaitable_t<>, void(Error, Answers)>::handler_type;

  Waiting(Executor mainThread, std::size_t questions, Resume resume)
      : mainThread_(std::move(mainThread)), left_(questions), answers_(questions), resume_(std::move(resume)) {}

  void begin() {
    if (auto slot = asio::get_associated_cancellation_slot(*resume_); slot.is_connected()) {
      slot.assign([weak = weak_from_this()](asio::cancellation_type) {
        if (const auto alive = weak.lock()) alive->endSoon(asio::error::operation_aborted);
      });
    }
    if (left_ == 0) endSoon({});
  }
  void take(std::size_t question, GVariant* answer) {
    if (answer != nullptr) answers_[question].reset(g_variant_ref(answer));
    if (--left_ == 0) endSoon({});
  }

 private:
  void endSoon(Error error) {
    asio::post(mainThread_, [self = shared_from_this(), error] { self->end(error); });
  }
  void end(Error error) {
    if (!resume_) return;
    asio::get_associated_cancellation_slot(*resume_).clear();
    Resume resume = *std::exchange(resume_, std::nullopt);
    std::move(resume)(error, std::move(answers_));
  }

  Executor mainThread_;
  std::size_t left_;
  Answers answers_;
  std::optional<Resume> resume_;
};

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
  co_return co_await asio::async_initiate<const asio::use_awaitable_t<>, void(Error, Answers)>(
      [this](auto resume, std::vector<Question> asked) {
        const auto waiting = std::make_shared<Waiting>(mainThread_, asked.size(), std::move(resume));
        waiting->begin();
        for (std::size_t i = 0; i < asked.size(); ++i) {
          const Question& each = asked[i];
          bus_.callLater(each.service.c_str(), each.path, each.interface, each.method, each.arguments.get(),
                         [waiting, i](GVariant* answer, GUnixFDList*) { waiting->take(i, answer); });
        }
      },
      asio::use_awaitable, std::move(questions));
}

}  // namespace quillet
