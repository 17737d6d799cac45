// SPDX-License-Identifier: MIT
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <cstdlib>
#include <cstring>

#include "QuilletCompanion/Platform/Linux/Audio/PulseMuffleRoutes.h"
#include "Tests/Doubles/LogCapture.h"

namespace {

/// A program that muffles until it is killed.
int muffle() {
  using namespace quillet;
  boost::asio::io_context main;
  const auto open = boost::asio::make_work_guard(main);
  PulseThread thread(main.get_executor());
  PulseMuffleRoutes routes(thread);
  const auto route = routes.build([&](MuffleRoute::End, const MuffleRoute::Failure& failure) {
    std::fprintf(stderr, "%s\n", failure.text().c_str());
    main.stop();
  });
  route->setEngaged(true);
  main.run();
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "--muffle") == 0) return muffle();
  testing::InitGoogleTest(&argc, argv);
  if (std::getenv("QUILLET_SOUND_KIND") == nullptr) {
    std::fputs("No sound server: start these tests through audio.sh.\n", stderr);
    return 1;
  }
  return quillet::test::runTests();
}
