// SPDX-License-Identifier: MIT
#include "QuilletKit/Network/Dialer.h"

#include <gtest/gtest.h>

#include <boost/asio/steady_timer.hpp>
#include <future>
#include <variant>

#include "Tests/Kit/HTTPSessionFixture.h"

namespace quillet {
namespace {

using Endpoint = Dialer::TCP::endpoint;
using boost::system::error_code;
namespace error = boost::asio::error;

Endpoint loopback(std::uint16_t port = 0) {
  return {boost::asio::ip::address_v4::loopback(), port};
}

class DialerTest : public testing::Test {
 protected:
  /// An address where nobody answers, as behind a firewall.
  Endpoint silent() const { return full_.endpoint(); }
  Endpoint refusing() {
    Dialer::TCP::acceptor closed(context, loopback());
    return closed.local_endpoint();
  }
  static Dialer::Lookup gives(Dialer::Endpoints endpoints) {
    return [endpoints = std::move(endpoints)](const std::string&, const std::string&) { return endpoints; };
  }
  /// Where it came out, or why not.
  std::variant<Endpoint, error_code> dial(Dialer& dialer) {
    try {
      return test::await(context, dialer.dial("quillet.example", "443")).remote_endpoint();
    } catch (const boost::system::system_error& failure) {
      return failure.code();
    }
  }
  std::variant<Endpoint, error_code> dial(Dialer::Endpoints endpoints) {
    Dialer dialer(context.get_executor(), gives(std::move(endpoints)));
    return dial(dialer);
  }

  boost::asio::io_context context;
  Dialer::TCP::acceptor service{context, loopback()};
  const test::FullListener full_;
};

TEST_F(DialerTest, TakesTheFirstAddressThatAnswers) {
  const Endpoint there = service.local_endpoint();
  using Outcome = std::variant<Endpoint, error_code>;
  EXPECT_EQ(dial({refusing(), there}), Outcome(there));
  EXPECT_EQ(dial({silent(), refusing(), there}), Outcome(there));
  EXPECT_EQ(dial({refusing(), refusing()}), Outcome(error_code(error::connection_refused)));
  EXPECT_EQ(dial(Dialer::Endpoints{}), Outcome(error_code(error::host_not_found)));
}

TEST_F(DialerTest, EndsAtOnceWhenItIsCancelled) {
  Dialer dialer(context.get_executor(), gives({silent()}));
  boost::asio::steady_timer soon(context, std::chrono::milliseconds(5));
  soon.async_wait([&](error_code) { dialer.cancel(); });
  const std::variant<Endpoint, error_code> aborted = error_code(error::operation_aborted);
  EXPECT_EQ(dial(dialer), aborted);
  EXPECT_EQ(dial(dialer), aborted) << "for good";
}

TEST_F(DialerTest, ALookupThatHangsHoldsNobodyUp) {
  std::promise<void> asked, release, left;
  const auto hangs = [&](const std::string&, const std::string&) -> Dialer::Endpoints {
    asked.set_value();
    release.get_future().wait();
    left.set_value_at_thread_exit();
    return {loopback(1)};
  };
  auto network = std::make_unique<test::NetworkThread>();
  auto dialer = std::make_shared<Dialer>(network->executor(), hangs);
  boost::asio::co_spawn(
      network->executor(),
      [](std::shared_ptr<Dialer> used) -> Awaitable<void> { co_await used->dial("quillet.example", "443"); }(dialer),
      [](const std::exception_ptr&) {});
  asked.get_future().wait();
  dialer.reset();
  network.reset();
  release.set_value();
  left.get_future().wait();
}

}  // namespace
}  // namespace quillet
