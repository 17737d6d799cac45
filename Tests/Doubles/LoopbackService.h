// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <future>

#include "QuilletKit/Protocol/APIClient.h"
#include "QuilletService/Transport/HTTPServer.h"
#include "Tests/Doubles/NetworkThread.h"

namespace quillet::test {

/// The real service on a loopback port, with a thread and a clock of its own.
class LoopbackService {
 public:
  explicit LoopbackService(ServiceSettings settings = {}) : settings_(std::move(settings)) {
    onItsThread([this] {
      auto time = systemTime(context_.get_executor());
      time.now = [this, now = time.now] { return now() + clockIsOffBy; };
      service_.emplace(context_.get_executor(), time, settings_);
      server_.emplace(context_, *service_, "127.0.0.1", 0);
      server_->start();
    });
  }
  ~LoopbackService() {
    std::promise<void> stopped;
    boost::asio::post(context_, [&] { server_->stop([&] { stopped.set_value(); }); });
    stopped.get_future().wait_for(std::chrono::seconds(10));
    work_.reset();
    context_.stop();
    thread_.join();
  }

  void enrol(const DeviceIdentity& identity, DevicePlatform platform) {
    const auto peer = identity.peerIdentity("Device", platform);
    onItsThread([&] {
      service_->devices.registerDevice(
          {peer.signingPublicKey, peer.agreementPublicKey, peer.platform, peer.name, "1.0", std::nullopt});
    });
  }
  void pair(const std::string& macId, const std::string& phoneId) {
    onItsThread([&] { service_->pairDirectory.add({macId, phoneId, 1}); });
  }
  ServiceURL url() const { return ServiceURL::parse(server_->url()).value(); }
  boost::asio::ip::tcp::endpoint endpoint() const { return server_->endpoint(); }

  std::atomic<std::int64_t> clockIsOffBy{0};  ///< Milliseconds.

 private:
  template <typename Work>
  void onItsThread(Work work) {
    std::promise<void> done;
    boost::asio::post(context_, [&] {
      work();
      done.set_value();
    });
    done.get_future().wait();
  }

  ServiceSettings settings_;
  boost::asio::io_context context_{1};
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_{context_.get_executor()};
  std::thread thread_{[this] { context_.run(); }};
  std::optional<Service> service_;
  std::optional<HTTPServer> server_;
};

}  // namespace quillet::test
