// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Dictation/AudioMuffler.h"
#include "QuilletCompanion/Platform/Linux/Audio/PulseMuffleRoutes.h"
#include "Tests/Audio/SoundRig.h"
#include "Tests/Doubles/LogCapture.h"

namespace quillet {
namespace {

using namespace test;
using End = MuffleRoute::End;

class MuffleTest : public SoundTest {
 protected:
  ~MuffleTest() override {
    route.reset();
    EXPECT_TRUE(eventually([] { return sinks().find("quillet_muffle") == std::string::npos; }));
    EXPECT_TRUE(eventually([] { return watchers() == 0; })) << "a watcher is left";
    EXPECT_TRUE(eventually([] { return outputOf("pactl list sink-inputs | grep '\"Muffled\"'").empty(); }));
  }

  static std::string sinks() { return outputOf("pactl list short sinks"); }
  static int watchers() {
    const auto program = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "quillet-muffle-watch";
    return std::stoi("0" + outputOf("readlink /proc/[0-9]*/exe | grep -cx " + program.string()));
  }
  void build() {
    route = routes.build([this](End end, const MuffleRoute::Failure& failure) {
      ended = end;
      told = failure.text();
    });
    route->setEngaged(true);
  }
  bool buildMuffled() {
    build();
    return eventually([&] { return listener.hearsMuffledMusic(); });
  }
  /// Not a moment of high tones in a second; a busy machine may drop some of the rest.
  bool staysMuffled() {
    return during(1s, [&] { return listener.levels().high < 0.1; }) &&
           eventually([&] { return listener.hearsMuffledMusic(); });
  }
  bool hearsMusicSoon(std::chrono::milliseconds atMost = 15s) {
    return eventually([&] { return listener.hearsMusic(); }, atMost);
  }
  /// PipeWire answers before it has done so. A sink that is recorded and isn't the default keeps its music.
  void makeDefault(const std::string& sink) {
    run("pactl set-default-sink " + sink);
    EXPECT_TRUE(eventually([&] { return outputOf("pactl get-default-sink") == sink; }));
  }
  static std::string load(const std::string& module) { return outputOf("pactl load-module " + module); }

  PulseMuffleRoutes routes{thread};
  Listener listener;
  std::unique_ptr<MuffleRoute> route;
  std::optional<End> ended;
  std::string told;
};

TEST_F(MuffleTest, TakesTheHighTonesAndGivesThemBack) {
  const Music music;
  ASSERT_TRUE(hearsMusicSoon());
  EXPECT_EQ(watchers(), 0);
  ASSERT_TRUE(buildMuffled()) << told << listener.levels().low << " " << listener.levels().high;
  EXPECT_EQ(watchers(), 1);
  EXPECT_TRUE(staysMuffled());
  route->setEngaged(false);
  EXPECT_TRUE(hearsMusicSoon()) << "through the route, without its effect";
  listener.mark();
  route.reset();
  EXPECT_TRUE(eventually([] { return sinks().find("quillet_muffle") == std::string::npos; }));
  EXPECT_TRUE(hearsMusicSoon());
  EXPECT_LT(listener.silentMilliseconds(), 120);
  EXPECT_EQ(music.place(), "speakers");
  EXPECT_EQ(ended, std::nullopt) << told;
}

TEST_F(MuffleTest, MufflesWhatBeginsLaterAlsoWithAnOutputOfItsOwn) {
  build();
  ASSERT_TRUE(eventually([] { return sinks().find("quillet_muffle") != std::string::npos; }));
  const Music music({"-d", "headphones"});
  EXPECT_TRUE(eventually([&] { return listener.hearsMuffledMusic(); }));
  Listener headphones("headphones");
  EXPECT_TRUE(eventually([&] { return headphones.isListening(); }));
  EXPECT_LT(headphones.levels().high, 0.01);
  route.reset();
  EXPECT_TRUE(eventually([&] { return headphones.hearsMusic(); })) << "it goes back to where it belongs";
}

TEST_F(MuffleTest, LeavesWhatFeedsAMicrophone) {
  std::vector<std::string> modules;
  for (const char* each :
       {"module-null-sink sink_name=mixer norewinds=1", "module-null-sink sink_name=desk norewinds=1",
        "module-loopback source=mixer.monitor sink=microphone-in",
        "module-loopback source=desk.monitor sink=speakers"}) {
    modules.push_back(load(each));
  }
  const Music spoken({"-d", "microphone-in"}), mixed({"-d", "mixer"}), heard({"-d", "desk"});
  ASSERT_TRUE(eventually(
      [&] { return spoken.place() == "microphone-in" && mixed.place() == "mixer" && heard.place() == "desk"; }));
  build();
  EXPECT_TRUE(eventually([&] { return heard.place() == "quillet_muffle"; })) << "its loop leads to a person";
  const Music later({"-d", "microphone-in"});
  EXPECT_TRUE(eventually([&] { return later.place() == "microphone-in"; }));
  EXPECT_EQ(spoken.place(), "microphone-in");
  EXPECT_EQ(mixed.place(), "mixer");
  route.reset();
  for (const auto& each : modules) run("pactl unload-module " + each);
}

TEST_F(MuffleTest, StandsWhileTheDefaultOutputChanges) {
  const Music music;
  ASSERT_TRUE(buildMuffled());
  run("pactl set-default-sink headphones");
  EXPECT_TRUE(staysMuffled());
  Listener headphones("headphones");
  route.reset();
  EXPECT_TRUE(eventually([&] { return headphones.hearsMusic(); })) << "what followed the default does so again";
}

TEST_F(MuffleTest, ComesBackWithinASecondOfAKill) {
  const Music music;
  ASSERT_TRUE(hearsMusicSoon());
  for (int round = 0; round < 2; ++round) {
    ChildProcess program({std::filesystem::read_symlink("/proc/self/exe").string(), "--muffle"});
    ASSERT_TRUE(eventually([&] { return listener.hearsMuffledMusic(); })) << "round " << round;
    const auto killed = SteadyClock::now();
    program.end(SIGKILL);
    ASSERT_TRUE(hearsMusicSoon(1s)) << "round " << round;
    RecordProperty("milliseconds-after-kill",
                   static_cast<int>(std::chrono::milliseconds((SteadyClock::now() - killed) / 1ms).count()));
    EXPECT_TRUE(eventually([] { return sinks().find("quillet_muffle") == std::string::npos; }));
  }
}

TEST_F(MuffleTest, CleansUpWhatAnEarlierRunLeft) {
  run("pactl load-module module-null-sink sink_name=quillet_muffle norewinds=1");
  ASSERT_TRUE(eventually([] { return sinks().find("quillet_muffle") != std::string::npos; }));
  const Music music({"-d", "quillet_muffle"});
  EXPECT_TRUE(during(300ms, [&] { return !listener.hearsMusic(); }));
  thread.post([core = thread.core()] { core->connection.connect(); });
  EXPECT_TRUE(hearsMusicSoon());
  EXPECT_TRUE(eventually([] { return sinks().find("quillet_muffle") == std::string::npos; }));
}

TEST_F(MuffleTest, MovesOnToAnotherOutputWhenItsOwnIsUnplugged) {
  LogCapture::instance().expect("Couldn't muffle audio: play (" + std::to_string(PA_ERR_KILLED) + ")");
  LogCapture::instance().expect("Couldn't muffle audio: play (" + std::to_string(PA_ERR_NOENTITY) + ")");
  const std::string output = outputOf("pactl load-module module-null-sink sink_name=usb norewinds=1");
  ASSERT_TRUE(eventually([] { return sinks().find("usb") != std::string::npos; }));
  makeDefault("usb");
  // Told where to, since a server may remember where its kind of music went before.
  const Music music({"-d", "usb"});
  Listener usb("usb");
  AudioMuffler muffler(main.get_executor(), systemTime(main.get_executor()), routes);
  muffler.start();
  ASSERT_TRUE(eventually([&] { return usb.hearsMuffledMusic(); }));
  run("pactl set-default-sink speakers");
  run("pactl unload-module " + output);
  EXPECT_TRUE(eventually([&] { return listener.hearsMuffledMusic(); }));
  muffler.restore();
  EXPECT_TRUE(hearsMusicSoon());
}

TEST_F(MuffleTest, TellsOfASinkThatWasRemovedByOthers) {
  const Music music;
  ASSERT_TRUE(buildMuffled());
  run("pactl list short modules | grep sink_name=quillet_muffle | cut -f1 | xargs pactl unload-module");
  ASSERT_TRUE(eventually([&] { return ended == End::broke; }));
}

TEST_F(MuffleTest, EndsAtOnceWhenToldSo) {
  const Music music;
  ASSERT_TRUE(buildMuffled());
  const auto begun = SteadyClock::now();
  route->tearDownNow();
  EXPECT_LT(SteadyClock::now() - begun, 900ms);
  EXPECT_EQ(music.place(), "speakers");
  EXPECT_TRUE(hearsMusicSoon(1s));
  // Also one that is only being built.
  build();
  route->tearDownNow();
  EXPECT_TRUE(during(500ms, [&] { return !listener.hearsMuffledMusic(); }));
}

TEST_F(MuffleTest, TurnsRoundAtAnyMoment) {
  const Music music;
  ASSERT_TRUE(hearsMusicSoon());
  for (int wait = 0; wait < 300; wait += 20) {
    build();
    serve(std::chrono::milliseconds(wait));
    route.reset();
    serve(std::chrono::milliseconds(wait % 50));
  }
  ASSERT_TRUE(buildMuffled()) << told;
  route.reset();
  EXPECT_TRUE(hearsMusicSoon());
  EXPECT_EQ(ended, std::nullopt) << told;
}

using MuffleServerLossTest = LosingServer<MuffleTest>;

TEST_F(MuffleServerLossTest, EndsTheRouteInEveryPhase) {
  for (const auto wait : {0ms, 5ms, 15ms, 40ms, 80ms, 500ms}) {
    ended.reset();
    build();
    serve(wait);
    kill("KILL");
    ASSERT_TRUE(eventually([&] { return ended.has_value(); }, 5s)) << wait.count() << " ms";
    route.reset();
    restart();
  }
  // While it is being given back.
  build();
  ASSERT_TRUE(eventually([] { return sinks().find("quillet_muffle") != std::string::npos; }));
  serve(200ms);
  route.reset();
  kill("KILL");
  serve(100ms);
  restart();
  EXPECT_EQ(sinks().find("quillet_muffle"), std::string::npos);
  Listener again;
  const Music music;
  build();
  EXPECT_TRUE(eventually([&] { return again.hearsMuffledMusic(); })) << told;
}

TEST_F(MuffleServerLossTest, NeverWaitsForAServerThatHangs) {
  build();
  ASSERT_TRUE(eventually([] { return sinks().find("quillet_muffle") != std::string::npos; }));
  serve(300ms);
  kill("STOP");
  const auto begun = SteadyClock::now();
  route->tearDownNow();
  EXPECT_LT(SteadyClock::now() - begun, 1200ms);
  kill("CONT");
  EXPECT_TRUE(eventually([] { return sinks().find("quillet_muffle") == std::string::npos; })) << "by the watcher";
}

}  // namespace
}  // namespace quillet
