// Each slip is refused by the compiler with a sentence that says what there is.
#include <zivra/robot.h>

void slip(zivra::TandiRobot& robot, std::error_code& ec) {
#if SLIP == 1
  double value = 0;
  robot.readRegister("r", 0, value, ec);
#elif SLIP == 2
  robot.writeRegister("r", 0, 1.5, ec);
#elif SLIP == 3
  robot.writeRegister("r", 0, {1.5, 2.5}, ec);
#elif SLIP == 4
  robot.setRailParameter("maxSpeed", 0.5f, ec);
#elif SLIP == 5
  const char* value = nullptr;
  robot.getRailParameter("name", value, ec);
#elif SLIP == 6
  float value = 0;
  robot.getExtAxisInfo("axis1", "max_acc", value, ec);
#elif SLIP == 7
  std::string value;
  robot.getMechUnit("u1", "unit_name", value, ec);
#else
  // What isn't refused.
  int whole = 0;
  char text[] = "track";
  robot.readRegister("r", 0, whole, ec);
  robot.writeRegister("r", 0, {1, 2}, ec);
  robot.writeRegister<std::vector<bool> >("r", 0, {}, ec);
  robot.writeRegister<float>("r", 0, 1.5, ec);
  robot.setRailParameter("name", "track", ec);
  robot.setRailParameter("name", text, ec);
  robot.setRailParameter<std::string>("name", "track", ec);
  robot.setRailParameter("softLimit", {-1, 1.5}, ec);
  robot.setRailParameter("softLimit", {0}, ec);
  robot.setRailParameter("maxSpeed", 0, ec);
  robot.setRailParameter("baseFrame", zivra::Frame(), ec);
#endif
}
