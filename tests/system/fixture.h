// The library and a simulated controller in one process.
#pragma once

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include <zivra/error.h>
#include <zivra/robot.h>
#include <zivra/sim/controller.h>

#include "support/loopback.h"
#include "support/moving_robot.h"
#include "support/temporary_folder.h"

namespace zivra::test {

class SystemTest : public testing::Test {
 protected:
  SystemTest() : address_(50) { ::setenv("LC_ALL", "C", 1); }

  const std::string& address() const { return address_.text(); }
  // Starts a controller that lives as long as the test.
  sim::Controller& startController(sim::Model model = sim::Model::tandi, double speedFactor = 50) {
    sim::Options options;
    options.address = address();
    options.model = model;
    options.speedFactor = speedFactor;
    options.id = "simulated";
    controller_ = std::make_unique<sim::Controller>(options);
    controller_->start();
    return *controller_;
  }
  sim::Controller& controller() { return *controller_; }

  TemporaryFolder folder_;
  LoopbackAddress address_;
  std::unique_ptr<sim::Controller> controller_;
};

}  // namespace zivra::test
