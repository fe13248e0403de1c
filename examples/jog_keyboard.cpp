// Jogs a robot's axes with the arrow keys of a terminal.
//
// The robot really moves, in manual mode. Terminals don't tell of a released key: when a key isn't repeated
// for a while it counts as released, which stops the robot.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <system_error>
#include <termios.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include <zivra/zivra.h>

#include "moving.h"

namespace {

using namespace example;
using Clock = std::chrono::steady_clock;

constexpr double kRate = 0.1;  // of the fastest jog
constexpr double kStep = 0.5;  // rad at most with one press, should this program or its machine fail
// Keyboards wait before they repeat a key for the first time.
constexpr auto kUntilFirstRepeat = std::chrono::milliseconds(700);
constexpr auto kBetweenRepeats = std::chrono::milliseconds(200);
constexpr int kPollMs = 20;

termios savedSettings;
volatile std::sig_atomic_t settingsSaved = 0;

extern "C" void onSignal(int signal) {
  if (!interrupted) {
    interrupted = 1;
    return;
  }
  // The second one ends the program at once, but not with a terminal that shows nothing.
  if (settingsSaved) tcsetattr(STDIN_FILENO, TCSANOW, &savedSettings);
  _exit(128 + signal);
}

// Keys come at once and unseen while this lives. Leaves input that is no terminal alone.
class RawTerminal {
 public:
  RawTerminal() {
    if (tcgetattr(STDIN_FILENO, &savedSettings) != 0) return;
    termios raw = savedSettings;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    // A suspended program couldn't stop the robot.
    raw.c_cc[VSUSP] = _POSIX_VDISABLE;
    settingsSaved = 1;
    tcsetattr(STDIN_FILENO, TCSANOW, &raw);
  }
  ~RawTerminal() {
    if (!settingsSaved) return;
    tcsetattr(STDIN_FILENO, TCSANOW, &savedSettings);
    settingsSaved = 0;
  }
  RawTerminal(const RawTerminal&) = delete;
  RawTerminal& operator=(const RawTerminal&) = delete;
};

enum class Key { none, up, down, left, right, quit, endOfInput };

// Keys from standard input; an arrow is ESC, '[' or 'O', and a letter.
class Keyboard {
 public:
  // Waits a moment for a key.
  Key next() {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (poll(&input, 1, kPollMs) <= 0) return Key::none;
    char byte = 0;
    const auto got = read(STDIN_FILENO, &byte, 1);
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) return Key::none;
    return got == 1 ? keyOf(byte) : Key::endOfInput;
  }

 private:
  Key keyOf(char byte) {
    const int position = std::exchange(inSequence_, 0);
    if (byte == '\033') inSequence_ = 1;
    if (position == 1 && (byte == '[' || byte == 'O')) inSequence_ = 2;
    if (position == 0 && byte == 'q') return Key::quit;
    if (position != 2) return Key::none;
    switch (byte) {
      case 'A':
        return Key::up;
      case 'B':
        return Key::down;
      case 'C':
        return Key::right;
      case 'D':
        return Key::left;
      default:
        return Key::none;
    }
  }

  int inSequence_ = 0;  // bytes read of an arrow key
};

class Jogging {
 public:
  explicit Jogging(zivra::TandiRobot& robot) : robot_(robot) {}

  void press(unsigned axis, Key key) {
    const auto now = Clock::now();
    if (held_ == key) {  // a repetition
      releasedAt_ = now + kBetweenRepeats;
      return;
    }
    release();
    std::error_code ec;
    robot_.startJog(zivra::JogOpt::Space::jointSpace, kRate, kStep, axis, key == Key::right, ec);
    if (ec) {  // at the end of an axis, for instance: other keys may still do
      std::printf("axis %u doesn't move: %s\n", axis + 1, describe(ec).c_str());
      if (ec == zivra::Code::network) require(ec, "jogging");
    } else {
      std::printf("axis %u %s\n", axis + 1, key == Key::right ? "forwards" : "backwards");
      ++count_;
    }
    std::fflush(stdout);
    held_ = key;
    moving_ = !ec;
    releasedAt_ = Clock::now() + kUntilFirstRepeat;
  }
  void releaseIfDue() {
    if (held_ != Key::none && Clock::now() >= releasedAt_) release();
  }
  void release() {
    held_ = Key::none;
    if (!std::exchange(moving_, false)) return;
    std::error_code ec;
    robot_.stop(ec);
    if (ec != zivra::Code::robotStopping) require(ec, "stopping");
    waitUntilAtRest(robot_);
  }
  bool held() const { return held_ != Key::none; }
  int count() const { return count_; }

 private:
  zivra::TandiRobot& robot_;
  Key held_ = Key::none;
  bool moving_ = false;
  Clock::time_point releasedAt_;
  int count_ = 0;
};

void jogUntilQuit(zivra::TandiRobot& robot, unsigned axisCount, const std::atomic<bool>& linkLost,
                  int& jogs) {
  const RawTerminal terminal;
  Keyboard keyboard;
  Jogging jogging(robot);
  unsigned axis = 0;
  bool ended = false;
  while (!(ended && !jogging.held())) {
    if (interrupted) throw std::runtime_error("interrupted");
    if (linkLost) throw std::runtime_error("the link went down");
    jogging.releaseIfDue();
    // After the end of the input nothing tells of a release but time.
    const Key key = ended ? (poll(nullptr, 0, kPollMs), Key::none) : keyboard.next();
    switch (key) {
      case Key::up:
      case Key::down:
        jogging.release();
        axis = (axis + (key == Key::up ? 1 : axisCount - 1)) % axisCount;
        std::printf("axis %u\n", axis + 1);
        std::fflush(stdout);
        break;
      case Key::left:
      case Key::right:
        jogging.press(axis, key);
        break;
      case Key::quit:
        jogging.release();
        ended = true;
        break;
      case Key::endOfInput:
        ended = true;
        break;
      case Key::none:
        break;
    }
  }
  jogs = jogging.count();
}

void jogAt(const std::string& address) {
  std::atomic<bool> linkLost{false};
  zivra::TandiRobot robot;
  robot.setConnectionHandler([&linkLost](bool connected) {
    if (!connected) linkLost = true;
  });
  connect(robot, address);
  int jogs = 0;
  std::vector<double> moved;
  orStop(robot, [&] {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) std::signal(signal, onSignal);
    std::signal(SIGPIPE, SIG_IGN);
    std::error_code ec;
    enterMode(robot, zivra::OperateMode::manual);
    const auto before = robot.jointPos(ec);
    require(ec, "reading the axis angles");
    if (before.empty()) throw std::runtime_error("the robot tells of no axes");
    std::printf("ready: axis 1; up and down choose the axis, left and right jog it, q ends\n");
    std::fflush(stdout);
    jogUntilQuit(robot, static_cast<unsigned>(before.size()), linkLost, jogs);
    moved = robot.jointPos(ec);
    require(ec, "reading the axis angles");
    for (std::size_t i = 0; i < std::min(moved.size(), before.size()); ++i) moved[i] -= before[i];
  });
  std::printf("%d jogs, axes moved by %s rad\n", jogs, listOf(moved).c_str());
}

}  // namespace

int main(int argc, char** argv) {
  return runProgram(
      argc, argv, "jog_keyboard",
      "usage: jog_keyboard ADDRESS\n"
      "Jogs the axes of the 6-axis robot at ADDRESS with the arrow keys, in manual mode.\n"
      "  up, down     choose the axis, 1 at first\n"
      "  left, right  jog it backwards or forwards while held, 0.5 rad at most with one press\n"
      "  q            ends, and so does the end of the input\n"
      "  Ctrl-C       stops the robot and ends\n"
      "A key counts as released, and the robot stops, when it isn't repeated for 0.2 s, or for\n"
      "0.7 s after it was pressed.\n"
      "Keys may also come from a pipe.\n",
      jogAt);
}
