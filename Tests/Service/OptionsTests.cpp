// SPDX-License-Identifier: MIT
#include "QuilletService/Options.h"

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>

#include "Tests/Doubles/Rows.h"

namespace quillet::test {
namespace {

/// A command line, its words parted by single blanks.
Options parse(const std::string& line) {
  std::istringstream stream(line);
  const std::vector<std::string> words(std::istream_iterator<std::string>(stream), {});
  std::vector<const char*> arguments;
  for (const auto& word : words) arguments.push_back(word.c_str());
  return Options::parse(arguments);
}

TEST(OptionsTest, ReadsEverything) {
  const Options options = parse(
      "--listen [::1]:0 --database /x/y --max-age 60 --pairing-ttl 30 --certificate c --key k --log debug "
      "--trust-proxy 10.0.0.1 --trust-proxy ::1 --max-connections 7 --max-connections-per-address 0 "
      "--max-registrations-per-hour 8 --max-queue 9 --metrics-port 0 --engine https://speech.example/v1 "
      "--engine-model large --engine-region Ghent --engine-key /k --max-streams 5 --max-uploads 3 "
      "--max-uploads-waiting 0 --max-sound-per-hour 600");
  ASSERT_TRUE(options.engine);
  EXPECT_EQ(options.engine->url, "https://speech.example/v1");
  EXPECT_EQ(options.engine->model, "large");
  EXPECT_EQ(options.engine->region, "Ghent");
  EXPECT_EQ(options.engine->keyFile, "/k");
  EXPECT_EQ(options.settings.transcription.streams, 5U);
  EXPECT_EQ(options.settings.transcription.uploads, 3U);
  EXPECT_EQ(options.settings.transcription.uploadsWaiting, 0U);
  EXPECT_EQ(options.settings.transcription.soundPerDeviceAndHour, std::chrono::minutes(10));
  EXPECT_FALSE(parse("").engine);
  EXPECT_EQ(options.host, "::1");
  EXPECT_EQ(options.port, 0);
  EXPECT_EQ(options.settings.database, "/x/y");
  EXPECT_EQ(options.settings.maximumAge, std::chrono::minutes(1));
  EXPECT_EQ(options.settings.pairingTimeToLive, std::chrono::seconds(30));
  ASSERT_TRUE(options.tls);
  EXPECT_EQ(options.tls->key, "k");
  EXPECT_EQ(options.logLevel, Log::Level::debug);
  ASSERT_EQ(options.limits.trustedProxies.size(), 2U);
  EXPECT_TRUE(options.limits.trustedProxies[1].is_v6());
  EXPECT_EQ(options.limits.connections, 7U);
  EXPECT_EQ(options.limits.connectionsPerAddress, 0U);
  EXPECT_EQ(options.settings.registrationsPerHour, 8);
  EXPECT_EQ(options.settings.relay.backlogCount, 9);
  EXPECT_EQ(options.metricsPort, 0);
  EXPECT_FALSE(parse("").metricsPort);
  EXPECT_EQ(parse("").host, "127.0.0.1") << "nothing but this machine unless asked";
}

TEST(OptionsTest, RefusesWhatItDoesNotUnderstand) {
  for (const std::string& line : rows<std::string>("command_lines", "service")) {
    EXPECT_THROW(parse(line), Options::UsageError) << line;
  }
  for (const std::vector<const char*>& empty :
       {std::vector{"--database", ""}, std::vector{"--certificate", "", "--key", ""}, std::vector{"--listen", ""},
        std::vector{"--listen", "[]:80"}}) {
    EXPECT_THROW(Options::parse(empty), Options::UsageError) << empty[0];
  }
}

}  // namespace
}  // namespace quillet::test
