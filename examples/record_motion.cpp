// Records the state of a robot a thousand times a second while it moves, and draws what was recorded.
//
// The robot really moves: to a pose with the tool pointing down, then within 20 cm of that place.
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <vector>

#include <zivra/zivra.h>

#include "moving.h"

namespace {

using namespace example;

constexpr std::size_t kAxes = 6;
constexpr auto kPeriod = std::chrono::milliseconds(1);
constexpr auto kPatience = std::chrono::milliseconds(20);  // with a datagram that is late
constexpr int kMostSilence = 100;                          // such waits in a row
constexpr std::size_t kMostPoints = 2000;                  // of a curve, more than a screen shows
const std::vector<std::string> kFields = {"q_m", "dq_m", "pos_abc_m"};

// Takes every state that comes, on a thread of its own, and writes it down.
class Recorder {
 public:
  Recorder(zivra::BaseRobot& robot, const std::string& file) : robot_(robot), file_(file), out_(file) {
    out_.precision(9);
    out_ << "time_s";
    for (const char* what : {"q", "dq"})
      for (std::size_t axis = 1; axis <= kAxes; ++axis)
        out_ << ',' << what << axis << (*what == 'q' ? "_rad" : "_rad_s");
    out_ << ",x_m,y_m,z_m,a_rad,b_rad,c_rad\n" << std::flush;
    check();
  }
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;
  ~Recorder() { end(); }

  void begin() {
    thread_ = std::thread([this] { run(); });
  }
  // Throws what went wrong.
  void finish() {
    end();
    if (failure_) std::rethrow_exception(failure_);
    out_.close();
    check();
  }

  std::size_t states() const { return states_; }
  double seconds() const { return seconds_; }

 private:
  void check() const {
    if (!out_) throw std::runtime_error("can't write " + file_);
  }
  void end() {
    ends_ = true;
    if (thread_.joinable()) thread_.join();
  }

  void run() {
    try {
      for (int silence = 0; !ends_;) {
        if (robot_.updateRobotState(kPatience) > 0) {
          writeState();
          silence = 0;
        } else if (++silence == kMostSilence) {
          throw std::runtime_error("the robot has stopped telling its state");
        }
      }
    } catch (...) {
      failure_ = std::current_exception();
    }
  }

  void writeState() {
    std::uint64_t ts = 0;
    robot_.getStateData("ts", ts);  // microseconds
    if (states_++ == 0) first_ = ts;
    seconds_ = static_cast<double>(ts - first_) * 1e-6;
    out_ << seconds_;
    for (const std::string& field : kFields) {
      if (robot_.getStateData(field, numbers_) != 0) throw std::runtime_error("the stream lacks " + field);
      for (const double number : numbers_) out_ << ',' << number;
    }
    out_ << '\n';
  }

  zivra::BaseRobot& robot_;
  const std::string file_;
  std::ofstream out_;
  std::vector<double> numbers_;
  std::uint64_t first_ = 0;
  double seconds_ = 0;
  std::size_t states_ = 0;
  std::exception_ptr failure_;
  std::atomic<bool> ends_{false};
  std::thread thread_;
};

void moveAround(zivra::TandiRobot& robot, MoveEvents& events) {
  using namespace zivra;
  std::error_code ec;
  const CartesianPosition start = robot.cartPosture(CoordinateType::endInRef, ec);
  require(ec, "reading the pose");
  const double speed = 250, zone = 10;  // mm/s, mm
  runMoves<MoveLCommand>(robot, events, "four lines, two of them sloping",
                         {named(MoveLCommand(shifted(start, 0, 0.15), speed, zone), "right"),
                          named(MoveLCommand(shifted(start, -0.15, 0.15, -0.08), speed, zone), "down"),
                          named(MoveLCommand(shifted(start, -0.15, 0, -0.08), speed, zone), "left"),
                          named(MoveLCommand(start, speed, 0), "up")});
  runMoves<MoveCFCommand>(
      robot, events, "full circle",
      {named(MoveCFCommand(shifted(start, -0.1, 0), shifted(start, -0.05, 0.05), 2 * kPi, speed, 0),
             "circle")});
  MoveAbsJCommand turn(JointPosition{0.3, kPi / 6, kPi / 2, 0.2, kPi / 3, 0.5});
  turn.jointSpeed = 0.3;
  runMoves<MoveAbsJCommand>(robot, events, "joint move aside and home", {named(turn, "aside"), moveHome()});
}

// As the plotting program reads a name: it takes quotes doubled, and some first letters for commands.
std::string quoted(const std::string& file) {
  std::string text = file.front() == '/' ? "'" : "'./";
  for (const char letter : file) text += letter == '\'' ? "''" : std::string(1, letter);
  return text + "'";
}

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Curves over time of the columns from `first` on, which are numbered from 1.
std::string curves(std::size_t first, const std::vector<std::string>& names, const std::string& factor) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i)
    text += (i == 0 ? "plot data" : ", data") + std::string(" every step skip 1 using 1:($") +
            std::to_string(first + i) + "*" + factor + ") with lines lt " + std::to_string(i + 1) +
            " title '" + names[i] + "'";
  return text + "\n";
}

// A panel from the lower to the upper share of the picture's height.
std::string panel(double bottom, double top, const char* title, const char* unit) {
  return "set bmargin at screen " + decimals(bottom) + "\nset tmargin at screen " + decimals(top) +
         "\nset title '" + title + "'\nset xlabel 'time [s]'\nset ylabel '" + unit + "'\n";
}

// Two coordinates of the tool against each other, at one scale, coloured by time.
std::string projection(const char* origin, const char* title, const char* up, int upColumn) {
  return std::string("set origin ") + origin + "\nset title '" + title + "'\nset ylabel '" + up +
         " [mm]'\nplot data every step skip 1 using ($14*1000):($" + std::to_string(upColumn) +
         "*1000):1 with lines lw 2 lc palette notitle\n";
}

std::string plotScript(const std::string& csv, const std::string& picture, std::size_t states) {
  std::vector<std::string> axes;
  for (std::size_t axis = 1; axis <= kAxes; ++axis) axes.push_back("axis " + std::to_string(axis));
  std::string script = "set terminal ";
  script += endsWith(picture, ".png") ? "pngcairo" : "svg background 'white'";
  script += " size 1100,1500 font 'sans,12'\nset output " + quoted(picture) + "\ndata = " + quoted(csv) +
            "\nstep = " + std::to_string(states / kMostPoints + 1) + "\n";
  // Dashed where curves often lie on each other.
  script += R"(set datafile separator ','
set linetype 1 lc rgb '#0072b2' lw 2
set linetype 2 lc rgb '#d55e00' lw 2
set linetype 3 lc rgb '#009e73' lw 2
set linetype 4 lc rgb '#cc79a7' lw 2 dt (6,6)
set linetype 5 lc rgb '#444444' lw 2 dt (6,6)
set linetype 6 lc rgb '#56b4e9' lw 2 dt (6,6)
set palette defined (0 '#440154', 1 '#3b528b', 2 '#21918c', 3 '#5ec962')
set grid
set key outside right top
set multiplot
set label 1 'Motion of the robot' at screen 0.5,0.98 center font 'sans,18'
set lmargin at screen 0.09
set rmargin at screen 0.87
)";
  script += panel(0.79, 0.935, "Joint angles", "angle [degrees]") + curves(2, axes, "180/pi");
  script += "unset label 1\n";
  script +=
      panel(0.56, 0.705, "Joint velocities", "velocity [degrees/s]") + curves(2 + kAxes, axes, "180/pi");
  script += panel(0.33, 0.475, "Position of the tool", "position [mm]") +
            curves(2 + 2 * kAxes, {"x", "y", "z"}, "1000");
  // Here the scale decides on the margins.
  script += R"(unset lmargin
unset rmargin
unset bmargin
unset tmargin
set size ratio -1
set size 0.44,0.26
set offsets 20,20,20,20
set xtics 50
set ytics 50
set xlabel 'x [mm]'
set cblabel 'time [s]'
unset colorbox
)";
  script += projection("0.01,0.005", "Path of the tool from above", "y", 15);
  script += "set colorbox user origin 0.91,0.05 size 0.02,0.17\n";
  script += projection("0.46,0.005", "Path of the tool from the side", "z", 16);
  return script + "unset multiplot\n";
}

void draw(const std::string& csv, const std::string& picture, std::size_t states) {
  std::signal(SIGPIPE, SIG_IGN);  // a plotting program that ends early is told of below
  std::FILE* plotter = popen("gnuplot", "w");
  if (plotter == nullptr) throw std::runtime_error("gnuplot can't be started; the recording is in " + csv);
  const std::string script = plotScript(csv, picture, states);
  std::fwrite(script.data(), 1, script.size(), plotter);
  const int status = pclose(plotter);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 127)
    throw std::runtime_error(
        "gnuplot isn't installed (gnuplot-nox has it), so there is no picture; the recording is in " + csv);
  if (status != 0 || !std::ifstream(picture))
    throw std::runtime_error("gnuplot couldn't draw " + picture + "; the recording is in " + csv);
}

struct Settings {
  std::string address, csv = "motion.csv", picture = "motion.svg";
};

void recordTo(const Settings& settings) {
  // State datagrams go to an address that the robot has to be told.
  const std::string local = zivra::localAddressTowards(settings.address);
  if (local.empty())
    throw std::runtime_error("no way from this machine to \"" + settings.address +
                             "\", which must be an IPv4 address");
  std::size_t states = 0;
  withMovingRobot(settings.address, local, [&](zivra::TandiRobot& robot, MoveEvents& events) {
    Recorder recorder(robot, settings.csv);
    enterMode(robot, zivra::OperateMode::automatic);
    runMoves<zivra::MoveAbsJCommand>(robot, events, "joint move home", {moveHome()});
    robot.startReceiveRobotState(kPeriod, kFields);
    recorder.begin();
    moveAround(robot, events);
    recorder.finish();
    const auto health = robot.stateStreamHealth();
    robot.stopReceiveRobotState();
    states = recorder.states();
    std::printf("%zu states of %s s in %s, never more than %s ms apart\n", states,
                decimals(recorder.seconds()).c_str(), settings.csv.c_str(),
                decimals(static_cast<double>(health.largestGap) * 1e-3).c_str());
  });
  draw(settings.csv, settings.picture, states);
  std::printf("recorded %zu states, drawn in %s\n", states, settings.picture.c_str());
}

// False if they make no sense.
bool readArguments(const std::vector<std::string>& arguments, Settings& settings) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    std::string& value = argument == "--csv"       ? settings.csv
                         : argument == "--picture" ? settings.picture
                                                   : settings.address;
    if (&value == &settings.address) {
      if (!value.empty() || argument.rfind("--", 0) == 0) return false;
      value = argument;
    } else {
      if (++i == arguments.size()) return false;
      value = arguments[i];
    }
  }
  const bool drawable = endsWith(settings.picture, ".svg") || endsWith(settings.picture, ".png");
  const bool oneLine = (settings.csv + settings.picture).find('\n') == std::string::npos;
  return !settings.address.empty() && !settings.csv.empty() && drawable && oneLine;
}

}  // namespace

int main(int argc, char** argv) {
  return runWithArguments(
      argc, argv, "record_motion",
      "usage: record_motion ADDRESS [--csv FILE] [--picture FILE]\n"
      "Moves the 6-axis robot at ADDRESS and records its state every millisecond: as a table, motion.csv,\n"
      "and as a picture that gnuplot draws, motion.svg.\n"
      "A picture's name ends in .svg or .png.\n",
      [](const Arguments& arguments) {
        Settings settings;
        if (!readArguments(arguments, settings)) return false;
        recordTo(settings);
        return true;
      });
}
