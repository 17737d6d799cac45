// SPDX-License-Identifier: MIT
#include <set>
#include <sstream>

#include "Fuzz/FuzzInput.h"
#include "Fuzz/ScratchFile.h"
#include "QuilletCompanion/Relay/RelayMessageHandler.h"
#include "Tests/Doubles/FakeAccessibilityProvider.h"
#include "Tests/Doubles/RelayEnds.h"
#include "Tests/Doubles/VirtualTime.h"

namespace {

using namespace quillet;
using namespace std::chrono_literals;
using Call = test::FakeAccessibilityProvider::Call;

const DeviceIdentity& mac() {
  static const DeviceIdentity keys = fuzz::identityOf(1);
  return keys;
}
const DeviceIdentity& phone() {
  static const DeviceIdentity keys = fuzz::identityOf(2);
  return keys;
}
PeerIdentity peerOf(const DeviceIdentity& keys, DevicePlatform platform) {
  return keys.peerIdentity("Device", platform);
}

/// A desktop with one paired phone.
class Desktop {
 public:
  Desktop() {
    peers_.upsert(peerOf(phone(), DevicePlatform::ios), 1);
    handler_->setTransport(transport_);
  }

  /// A line is a relay frame (F), what a phone seals for a prepare (P) or for a delivery (D), or a pause (any other).
  void take(const std::string& line) {
    const std::string rest = line.substr(1);
    if (line[0] == 'F') return takeFrame(rest);
    if (line[0] == 'P') return takeFrame(frame("prepare", "requestId", sealed(rest, EnvelopePurpose::prepare)));
    if (line[0] == 'D') {
      return takeFrame(frame("deliver", "utteranceId", sealed(withToken(rest), EnvelopePurpose::delivery)));
    }
    time_.advance(1s);
  }

  /// Each delivery is acknowledged, each result is genuine, and no utterance is inserted twice.
  void check() {
    time_.advance(60s);
    fuzz::require(transport_->all<RelayClient::Received>().size() == deliveries_);
    for (const auto& sent : transport_->all<RelayClient::Result>()) {
      fuzz::require(sent.to == phone().deviceId());
      const auto peer = peerOf(mac(), DevicePlatform::macos);
      fuzz::require(sent.envelope.open<ResultPayload>(EnvelopePurpose::result, phone(), peer).verify(peer));
    }
    fuzz::require(desktop_.calls(Call::replaceSelection) <= static_cast<int>(utterances_.size()));
  }

 private:
  void takeFrame(const std::string& text) {
    const auto message = fuzz::decoded<RelayServerMessage>(text);
    if (!message) return;
    if (const auto* delivery = std::get_if<RelayServer::Deliver>(&*message)) {
      ++deliveries_;
      utterances_.insert(delivery->utteranceId);
    }
    handler_->handle(*message);
    if (!std::holds_alternative<RelayServer::Deliver>(*message)) time_.run();
  }

  static Envelope sealed(const std::string& payload, EnvelopePurpose purpose) {
    return Envelope::sealBytes(payload, purpose, phone(), peerOf(mac(), DevicePlatform::macos));
  }
  static std::string frame(const std::string& type, const std::string& idKey, const Envelope& envelope) {
    return R"({"type":")" + type + R"(","from":")" + phone().deviceId() + R"(",")" + idKey + R"(":"u","envelope":)" +
           JSONCoding::encode(envelope) + "}";
  }
  /// A lone "$" stands for the last token that the phone was given.
  std::string withToken(std::string payload) const {
    const auto answers = transport_->all<RelayClient::PrepareResult>();
    const auto mark = payload.find("\"$\"");
    if (answers.empty() || mark == payload.npos) return payload;
    const auto answer = answers.back().envelope.open<PrepareResultPayload>(EnvelopePurpose::prepareResult, phone(),
                                                                           peerOf(mac(), DevicePlatform::macos));
    return payload.replace(mark + 1, 1, answer.token.value_or("none"));
  }

  test::VirtualTime time_;
  PeerStore peers_{std::nullopt};
  test::FakeAccessibilityProvider desktop_;
  TargetGuard guard_{desktop_, {}, time_.source().now};
  TextInserter inserter_{desktop_, guard_, {}, time_.source()};
  const fuzz::ScratchFile file_{"journal.json", nullptr, 0};
  InsertionJournal journal_{file_.path(), time_.source().now};
  std::shared_ptr<test::RecordingTransport> transport_ = std::make_shared<test::RecordingTransport>();
  std::shared_ptr<RelayMessageHandler> handler_ =
      test::makeHandler(time_.executor(), mac(), peers_, guard_, journal_, inserter_, time_.source().now);
  std::size_t deliveries_ = 0;
  std::set<std::string> utterances_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool quiet = fuzz::silenceLog();
  fuzz::require(quiet);
  Desktop desktop;
  std::istringstream lines{std::string(fuzz::textOf(data, size))};
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty()) desktop.take(line);
  }
  desktop.check();
  return 0;
}
