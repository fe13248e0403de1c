// Connects to a robot of any class and prints all that can be read from it. Nothing moves.
#include <any>
#include <cstdio>
#include <exception>
#include <initializer_list>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include <zivra/zivra.h>

namespace {

using zivra::CoordinateType;

template <class Numbers>
std::string list(const Numbers& numbers) {
  std::string text;
  for (const double number : numbers) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%s%.4f", text.empty() ? "" : "  ", number);
    text += digits;
  }
  return text;
}

class Report {
 public:
  void line(const char* name, const std::error_code& ec, const std::string& value) {
    ++read_;
    if (ec) {
      ++failed_;
      std::printf("%-22s failed: %s (%d)\n", name, ec.message().c_str(), ec.value());
    } else {
      std::printf("%-22s %s\n", name, value.c_str());
    }
  }
  int finish() const {
    if (failed_ > 0)
      std::fprintf(stderr, "read_everything: %d of %d readings failed\n", failed_, read_);
    else
      std::printf("all %d readings came\n", read_);
    return failed_ > 0 ? 1 : 0;
  }

 private:
  int read_ = 0, failed_ = 0;
};

std::string signalsOf(const zivra::StateList& state) {
  std::ostringstream text;
  for (const auto& [name, on] : state.digital_signals)
    if (on) text << name << " on  ";
  for (const auto& [name, value] : state.analog_signals) text << name << " " << value << "  ";
  return text.str();
}

template <class Robot>
int readFrom(const std::string& address) {
  Robot robot(address);
  std::error_code ec;
  Report report;

  const auto info = robot.robotInfo(ec);
  report.line("identity", ec,
              info.id + ", " + info.type + ", " + std::to_string(info.joint_num) + " axes, version " +
                  info.version + ", " + info.mac);
  // The values are read first: the order of evaluation within one call is free.
  const auto power = robot.powerState(ec);
  report.line("power", ec, to_string(power));
  const auto mode = robot.operateMode(ec);
  report.line("mode", ec, to_string(mode));
  const auto operation = robot.operationState(ec);
  report.line("operation", ec, to_string(operation));
  const auto joints = robot.jointPos(ec);
  report.line("joints [rad]", ec, list(joints));
  const auto velocities = robot.jointVel(ec);
  report.line("velocities [rad/s]", ec, list(velocities));
  const auto torques = robot.jointTorque(ec);
  report.line("torques [Nm]", ec, list(torques));
  const auto flange = robot.posture(CoordinateType::flangeInBase, ec);
  report.line("flange [m, rad]", ec, list(flange));
  const auto tool = robot.posture(CoordinateType::endInRef, ec);
  report.line("tool [m, rad]", ec, list(tool));
  const auto position = robot.cartPosture(CoordinateType::endInRef, ec);
  report.line("tool, as a target", ec, to_string(position));
  const auto base = robot.baseFrame(ec);
  report.line("base frame [m, rad]", ec, list(base));
  const auto state = robot.getStateList(ec);
  report.line("speed override", ec, list(std::initializer_list<double>{state.speed_override}));
  report.line("signals", ec, signalsOf(state));
  const auto news = robot.queryEventInfo(zivra::Event::moveExecution, ec);
  report.line("latest move", ec, ec ? "" : std::any_cast<std::string>(news.at("cmdID")));

  robot.disconnectFromRobot(ec);
  report.line("disconnecting", ec, "done");
  return report.finish();
}

struct RobotClass {
  const char* name;
  int (*read)(const std::string& address);
};

constexpr RobotClass kClasses[] = {
    {"TandiRobot", readFrom<zivra::TandiRobot>},
    {"TandiFiveRobot", readFrom<zivra::TandiFiveRobot>},
    {"TandiSevenRobot", readFrom<zivra::TandiSevenRobot>},
    {"QuillRobot", readFrom<zivra::QuillRobot>},
    {"StandardRobot", readFrom<zivra::StandardRobot>},
    {"TriaxRobot", readFrom<zivra::TriaxRobot>},
    {"QuadraxRobot", readFrom<zivra::QuadraxRobot>},
};

const RobotClass* classNamed(const std::string& name) {
  for (const RobotClass& robotClass : kClasses)
    if (name == robotClass.name) return &robotClass;
  return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  const bool help = arguments.size() == 1 && arguments[0] == "--help";
  const RobotClass* robotClass =
      arguments.size() == 3 && arguments[1] == "--class" ? classNamed(arguments[2]) : &kClasses[0];
  if (help || robotClass == nullptr || (arguments.size() != 1 && arguments.size() != 3) ||
      (arguments.size() == 3 && arguments[1] != "--class")) {
    std::FILE* out = help ? stdout : stderr;
    std::fputs("usage: read_everything ADDRESS [--class CLASS]\nCLASS is one of", out);
    for (const RobotClass& known : kClasses) std::fprintf(out, " %s", known.name);
    std::fputs("; TandiRobot if it isn't given.\n", out);
    return help ? 0 : 2;
  }
  try {
    return robotClass->read(arguments[0]);
  } catch (const std::exception& error) {
    std::fprintf(stderr,
                 "read_everything: no connection to \"%s\" as %s: %s\n"
                 "Is the controller on, at this address, and is this the robot's class (--class)?\n",
                 arguments[0].c_str(), robotClass->name, error.what());
    return 1;
  }
}
