// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

#include "QuilletCompanion/Dictation/MuffleRoute.h"

namespace quillet::test {

/// Routes that carry nothing, and end when a test says so.
class FakeMuffleRoutes final : public MuffleRoutes {
 public:
  std::unique_ptr<MuffleRoute> build(MuffleRoute::OnEnd onEnd) override {
    ++built;
    onEnd_ = std::move(onEnd);
    return std::make_unique<Route>(*this);
  }
  void end(MuffleRoute::End how, const MuffleRoute::Failure& failure) { std::exchange(onEnd_, nullptr)(how, failure); }

  int built = 0;
  int standing = 0;
  int tornDownNow = 0;
  bool engaged = false;

 private:
  class Route final : public MuffleRoute {
   public:
    explicit Route(FakeMuffleRoutes& routes) : routes_(routes) {
      ++routes_.standing;
      routes_.engaged = false;
    }
    ~Route() override { --routes_.standing; }
    void setEngaged(bool wanted) override { routes_.engaged = wanted; }
    void tearDownNow() override { ++routes_.tornDownNow; }

   private:
    FakeMuffleRoutes& routes_;
  };

  MuffleRoute::OnEnd onEnd_;
};

}  // namespace quillet::test
