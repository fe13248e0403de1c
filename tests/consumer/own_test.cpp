// A test of somebody's own program: the whole controller runs in the same process.
#include <chrono>
#include <iostream>
#include <string>
#include <vector>

#include <zivra/sim/controller.h>
#include <zivra/zivra.h>

int main(int, char** argv) {
  zivra::sim::Options options;
  options.address = argv[1];
  options.speedFactor = 50;
  zivra::sim::Controller controller(options);
  controller.start();

  std::error_code ec;
  zivra::TandiRobot robot(argv[1]);
  robot.setOperateMode(zivra::OperateMode::automatic, ec);
  robot.setPowerState(true, ec);
  std::vector<double> target = controller.jointPositions();
  target[0] += 0.2;
  std::string id;
  robot.moveAppend(std::vector<zivra::MoveAbsJCommand>{{zivra::JointPosition(target)}}, id, ec);
  robot.moveStart(ec);
  if (ec || !controller.waitUntilIdle(std::chrono::seconds(20))) return 1;
  const double off = controller.jointPositions()[0] - target[0];
  if (off < -1e-6 || off > 1e-6) return 1;

  controller.inject({zivra::sim::Fault::Kind::refuse, "sys.power.off", -514});
  robot.setPowerState(false, ec);
  return ec.value() == -514 ? 0 : 1;
}
