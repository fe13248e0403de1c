// Blinks a digital output and waits each time until a digital input has seen it: a lamp and the sensor that
// looks at it, or a wire between the two terminals. The robot doesn't move.
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <system_error>
#include <vector>

#include <zivra/zivra.h>

#include "moving.h"

namespace {

using namespace example;

constexpr int kBlinks = 3;
constexpr auto kLongestAnswer = std::chrono::seconds(5);

// Where a signal is: board and port, both from 0.
struct Place {
  unsigned board = 1, port = 0;
};

std::string nameOf(const char* kind, Place place) {
  return kind + std::to_string(place.board) + "_" + std::to_string(place.port);
}

// False for a text that isn't like "1_0".
bool readPlace(const std::string& text, Place& place) {
  const char* const end = text.data() + text.size();
  const auto board = std::from_chars(text.data(), end, place.board);
  if (board.ec != std::errc() || board.ptr == end || *board.ptr != '_') return false;
  const auto port = std::from_chars(board.ptr + 1, end, place.port);
  return port.ec == std::errc() && port.ptr == end;
}

void switchTo(zivra::BaseRobot& robot, Place output, bool on) {
  std::error_code ec;
  robot.setDO(output.board, output.port, on, ec);
  require(ec, "switching " + nameOf("DO", output));
}

void waitFor(zivra::BaseRobot& robot, Place input, bool on) {
  pollUntil(
      nameOf("DI", input) + (on ? " is on" : " is off"),
      [&] {
        std::error_code ec;
        const bool state = robot.getDI(input.board, input.port, ec);
        require(ec, "reading " + nameOf("DI", input));
        return state == on;
      },
      kLongestAnswer);
}

void blink(zivra::BaseRobot& robot, Place output, Place input) {
  for (int i = 1; i <= kBlinks; ++i) {
    std::printf("blink %d\n", i);
    std::fflush(stdout);
    for (const bool on : {true, false}) {
      switchTo(robot, output, on);
      waitFor(robot, input, on);
    }
  }
}

void blinkAt(const std::string& address, Place output, Place input) {
  zivra::TandiRobot robot;
  connect(robot, address);
  std::signal(SIGINT, noteInterrupt);
  std::signal(SIGTERM, noteInterrupt);
  std::error_code ec;
  try {
    switchTo(robot, output, false);
    blink(robot, output, input);
  } catch (...) {
    robot.setDO(output.board, output.port, false, ec);  // leave no lamp burning
    robot.disconnectFromRobot(ec);
    throw;
  }
  robot.disconnectFromRobot(ec);
  require(ec, "disconnecting");
  std::printf("%d blinks of %s seen at %s\n", kBlinks, nameOf("DO", output).c_str(),
              nameOf("DI", input).c_str());
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  const bool help = arguments.size() == 1 && arguments[0] == "--help";
  Place output, input;
  const bool places = arguments.size() == 3;
  if (help || !(arguments.size() == 1 || places)) {
    std::fputs(
        "usage: blink_output ADDRESS [OUTPUT INPUT]\n"
        "Blinks an output of the 6-axis robot at ADDRESS and waits for an input to see it.\n"
        "OUTPUT and INPUT are board and port, for instance 0_2; both are 1_0 if not given.\n",
        help ? stdout : stderr);
    return help ? 0 : 2;
  }
  if (places && !(readPlace(arguments[1], output) && readPlace(arguments[2], input))) {
    std::fprintf(stderr, "blink_output: OUTPUT and INPUT are board and port, for instance 0_2, not %s %s\n",
                 arguments[1].c_str(), arguments[2].c_str());
    return 2;
  }
  try {
    blinkAt(arguments[0], output, input);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "blink_output: %s\n", error.what());
    return interrupted ? 130 : 1;
  }
}
