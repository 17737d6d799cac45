// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/Media/MprisPlayers.h"

#include <gmock/gmock.h>

#include <boost/asio/io_context.hpp>
#include <csignal>

#include "Tests/Platform/PrivateBus.h"

namespace quillet {
namespace {

/// A player of its own on the bus, playing a tone that nobody hears.
class RealPlayer {
 public:
  explicit RealPlayer(const std::vector<std::string>& options) {
    std::vector<std::string> arguments{"mpv", "--ao=null", "--no-video", "--really-quiet", "--loop=inf"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.push_back("av://lavfi:sine=frequency=220:duration=1");
    program_ = test::ChildProcess::quiet(std::move(arguments));
  }
  pid_t process() const { return program_->id(); }
  void stop() { program_.reset(); }

 private:
  std::optional<test::ChildProcess> program_;
};

class MprisPlayersTest : public testing::Test {
 protected:
  template <typename Condition>
  bool eventually(Condition condition) {
    return test::eventually([&] {
      main.restart();
      main.poll();
      return condition();
    });
  }
  /// The name of the player with that process; empty until it has one.
  std::string nameOf(const RealPlayer& player) {
    const auto names = ask("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "ListNames", nullptr);
    const GVariantRef list(g_variant_get_child_value(names.get(), 0));
    for (gsize i = 0; i < g_variant_n_children(list.get()); ++i) {
      const GVariantRef name(g_variant_get_child_value(list.get(), i));
      const std::string text = g_variant_get_string(name.get(), nullptr);
      if (text.starts_with("org.mpris.") && processOf(text) == player.process()) return text;
    }
    return "";
  }
  std::string status(const RealPlayer& player) {
    const std::string name = nameOf(player);
    if (name.empty()) return "";
    const auto reply = ask(name.c_str(), "/org/mpris/MediaPlayer2", "org.freedesktop.DBus.Properties", "Get",
                           g_variant_new("(ss)", "org.mpris.MediaPlayer2.Player", "PlaybackStatus"));
    if (!reply) return "";
    GVariant* boxed = nullptr;
    g_variant_get(reply.get(), "(v)", &boxed);
    const GVariantRef value(boxed);
    return g_variant_get_string(value.get(), nullptr);
  }
  bool becomes(const RealPlayer& player, const std::string& wanted) {
    return eventually([&] { return status(player) == wanted; });
  }
  std::optional<bool> pause() {
    std::optional<bool> paused;
    task.start([&]() -> Awaitable<void> { paused = co_await players->pause(); });
    EXPECT_TRUE(eventually([&] { return !task.running(); }));
    return paused;
  }
  void play() {
    task.start([&] { return players->play(); });
    EXPECT_TRUE(eventually([&] { return !task.running(); }));
  }

  test::PrivateBus bus{G_BUS_TYPE_SESSION};
  boost::asio::io_context main;
  std::optional<MprisPlayers> players{std::in_place};
  Task task{main.get_executor()};

 private:
  GVariantRef ask(const char* service, const char* path, const char* interface, const char* method,
                  GVariant* arguments) {
    return bus.client().call(service, path, interface, method, arguments);
  }
  int processOf(const std::string& name) {
    const auto reply = ask("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "GetConnectionUnixProcessID",
                           g_variant_new("(s)", name.c_str()));
    guint32 process = 0;
    if (reply) g_variant_get(reply.get(), "(u)", &process);
    return static_cast<int>(process);
  }
};

TEST_F(MprisPlayersTest, PausesAndPlaysThoseThatWerePlaying) {
  EXPECT_EQ(pause(), false) << "there is no player";
  const RealPlayer playing({}), second({}), paused({"--pause"});
  ASSERT_TRUE(becomes(playing, "Playing") && becomes(second, "Playing") && becomes(paused, "Paused"));
  EXPECT_EQ(pause(), true);
  EXPECT_TRUE(becomes(playing, "Paused") && becomes(second, "Paused"));
  EXPECT_EQ(pause(), false) << "nobody plays any more";
  play();
  EXPECT_EQ(status(playing), "Paused") << "and nobody is owed anything";

  bus.client().call(nameOf(playing).c_str(), "/org/mpris/MediaPlayer2", "org.mpris.MediaPlayer2.Player", "Play",
                    nullptr);
  ASSERT_TRUE(becomes(playing, "Playing"));
  EXPECT_EQ(pause(), true);
  ASSERT_TRUE(becomes(playing, "Paused"));
  play();
  EXPECT_TRUE(becomes(playing, "Playing"));
  EXPECT_EQ(status(paused), "Paused");
  EXPECT_EQ(status(second), "Paused");
}

TEST_F(MprisPlayersTest, WaitsForNobodyWhoHangs) {
  RealPlayer hanging({}), playing({}), ended({});
  ASSERT_TRUE(becomes(hanging, "Playing") && becomes(playing, "Playing") && becomes(ended, "Playing"));
  ::kill(hanging.process(), SIGSTOP);
  const auto begun = std::chrono::steady_clock::now();
  EXPECT_EQ(pause(), true);
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(2));
  EXPECT_TRUE(becomes(playing, "Paused"));
  ended.stop();
  play();
  EXPECT_TRUE(becomes(playing, "Playing"));
  ::kill(hanging.process(), SIGCONT);
  EXPECT_TRUE(becomes(hanging, "Playing")) << "it was never told to pause";
}

TEST_F(MprisPlayersTest, PlaysNowBeforeTheProgramEnds) {
  const RealPlayer playing({});
  ASSERT_TRUE(becomes(playing, "Playing"));
  EXPECT_EQ(pause(), true);
  ASSERT_TRUE(becomes(playing, "Paused"));
  players->playNow();
  players.reset();
  EXPECT_TRUE(becomes(playing, "Playing"));
}

TEST_F(MprisPlayersTest, DoesWithoutABus) {
  bus.stop();
  EXPECT_EQ(pause(), false);
  play();
  players->playNow();
}

}  // namespace
}  // namespace quillet
