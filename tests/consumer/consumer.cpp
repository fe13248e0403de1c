// Touches each kind of thing that a library can fail to hand over: classes, templates made in the library,
// exceptions, the error category, printing.
#include <iostream>
#include <string>
#include <vector>

#include <zivra/zivra.h>

int main(int, char** argv) {
  try {
    zivra::StandardRobot robot(argv[1]);
    std::cout << "connected as the wrong class\n";
    return 1;
  } catch (const zivra::ExecutionException& error) {
    std::cout << "as expected: " << error.what() << "\n";
  }

  zivra::TandiRobot robot(argv[1]);
  std::error_code ec;
  const zivra::Info info = robot.robotInfo(ec);
  std::string id;
  robot.moveAppend(std::vector<zivra::MoveLCommand>{}, id, ec);
  if (ec != zivra::Code::argumentInvalid || ec.category() != zivra::category()) {
    std::cout << "an empty batch gives " << ec << "\n";
    return 1;
  }
  std::cout << robot.cartPosture(zivra::CoordinateType::endInRef, ec) << ", " << robot.powerState(ec) << "\n";
  if (ec || robot.sdkVersion().rfind("0.7.", 0) != 0) return 1;
  std::cout << "done: " << info.type << ", " << info.joint_num << " axes\n";
}
