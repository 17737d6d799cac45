// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "QuilletKit/JSON/JSONCoding.h"
#include "Tests/Doubles/LoopbackServer.h"
#include "Tests/Doubles/Rows.h"
#include "Tests/EndToEnd/Desk.h"

namespace quillet::test {
namespace {

using namespace std::chrono_literals;
using Socket = LoopbackServer::Socket;

/// A server's WebSocket frame.
std::string framed(char first, const std::string& payload) {
  std::string frame(1, first);
  if (payload.size() < 126) {
    frame += static_cast<char>(payload.size());
  } else {
    const bool isLong = payload.size() > 0xffff;
    frame += isLong ? '\x7f' : '\x7e';
    for (int shift = isLong ? 56 : 8; shift >= 0; shift -= 8) frame += static_cast<char>(payload.size() >> shift);
  }
  return frame + payload;
}
std::string text(const std::string& payload) {
  return framed('\x81', payload);
}

class MisbehavingServiceTest : public ConnectedDesk {
 protected:
  RelayServer::Deliver delivery(const std::string& utteranceId) {
    return pocket.delivers(desk.identity(), utteranceId, desk.token(pocket));
  }
};

/// Every bad frame is followed, on the same socket or the next, by a delivery that still works.
TEST_F(MisbehavingServiceTest, BadConnectionsAndFramesDoNoHarm) {
  const std::string deep(10'000, '['), id(32, 'a');
  const std::string envelope = JSONCoding::encode(delivery("spare").envelope);
  auto answersInPlaceOfTheUpgrade = rows<std::string>("http", "in place of an upgrade");
  answersInPlaceOfTheUpgrade.push_back(LoopbackServer::answer(401, "{}"));
  answersInPlaceOfTheUpgrade.push_back(LoopbackServer::answer(403, std::string(200'000, 'x')));
  const std::vector<std::string> endOfTheSocket = {
      "",                              // dropped without a close frame
      std::string("\x81\x7e\x04", 3),  // within a frame's header
      text(R"({"type":"paired","peerDeviceId":"a"})").substr(0, 20),
      text(std::string(1'048'577, ' ')),                            // over the limit
      std::string("\x81\x7f\x7f\xff\xff\xff\xff\xff\xff\xff", 10),  // claims 2^63 bytes
      text("\xff\xfe"),
      framed('\xf1', "reserved bits"),
      framed('\x83', "reserved opcode"),
      framed('\x80', "continues nothing"),
      std::string("\x81\x82\0\0\0\0{}", 8),  // masked, as only a client does
      std::string("\x88\x02\x03\xe9", 4),
      std::string("\x88\x01\x03", 3),
  };
  std::vector<std::string> droppedFrames = {
      text(deep),
      text(R"({"type":)" + deep),
      text(R"({"type":"prepare","requestId":"r","from":")" + id + R"(","envelope":)" +
           envelope.substr(0, envelope.size() - 1)),
      framed('\x82', "\xff\xfe\x00"),
      framed('\x89', std::string(125, 'p')),
      std::string("\x01\x03{\"t\x89\x01x\x80\x01}", 11),  // fragments around a control frame; not JSON together
      text(std::string(1'048'576, ' ')),
  };
  for (const auto& none : rows<std::string>("json", "no frames")) droppedFrames.push_back(text(none));
  const int bad = static_cast<int>(answersInPlaceOfTheUpgrade.size() + endOfTheSocket.size());
  const std::string goodFrame = text(JSONCoding::encode(RelayServerMessage(delivery("good"))));
  std::atomic<int> results{0};
  LoopbackServer server([&](LoopbackServer& self, Socket socket) -> Awaitable<void> {
    auto number = static_cast<std::size_t>(self.connections() - 1);
    if (number < answersInPlaceOfTheUpgrade.size()) {
      co_await self.readRequest(socket);
      co_return co_await LoopbackServer::write(socket, answersInPlaceOfTheUpgrade[number]);
    }
    number -= answersInPlaceOfTheUpgrade.size();
    auto stream = co_await self.upgrade(std::move(socket));
    if (number < endOfTheSocket.size()) {
      co_await LoopbackServer::write(stream.next_layer(), endOfTheSocket[number]);
      // Whether to give up is the other side's to see, but where nothing more comes.
      if (endOfTheSocket[number].size() <= 20) co_return;
      boost::beast::flat_buffer buffer;
      for (;;) co_await stream.async_read(buffer, boost::asio::use_awaitable);
    }
    for (const auto& frame : droppedFrames) co_await LoopbackServer::write(stream.next_layer(), frame);
    for (int copy = 0; copy < 5; ++copy) co_await LoopbackServer::write(stream.next_layer(), goodFrame);
    for (;;) {
      if ((co_await LoopbackServer::readText(stream)).find(R"("type":"result")") != std::string::npos) ++results;
    }
  });
  connect([&] { return server.request("/v1/mac/connect", "GET", "ws"); });
  EXPECT_TRUE(main.runUntil([&] { return results == 5; }, 60s)) << server.connections() << " connections";
  EXPECT_EQ(server.connections(), bad + 1);
  EXPECT_EQ(rejections, 2);
  EXPECT_EQ(desk.desktop.text(), "Hello");
  EXPECT_EQ(messages, 6) << "five deliveries and one frame of an unknown type";
}

}  // namespace
}  // namespace quillet::test
