// What a program sees of a link that drops and comes back: operations fail at once with 256 while it is down,
// and work again without anything being done about it. By itself the program restarts the controller to show
// this, with --wait it waits for a drop from elsewhere.
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <zivra/zivra.h>

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kLongestWaitForDrop = std::chrono::seconds(60);
constexpr auto kLongestWaitForReturn = std::chrono::seconds(120);
constexpr auto kBetweenReads = std::chrono::milliseconds(50);

// The handler runs on the link's network thread, so it notes and leaves: an operation that waits for an
// answer would wait for its own thread there.
class LinkWatch {
 public:
  void changed(bool connected) {
    std::printf("the link is %s\n", connected ? "up" : "down");
    std::fflush(stdout);
    const std::lock_guard<std::mutex> lock(mutex_);
    ++(connected ? ups_ : downs_);
    changed_.notify_all();
  }
  bool dropped() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return downs_ > 0;
  }
  bool returned() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return ups_ > 1;
  }
  void pause() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, kBetweenReads);
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int ups_ = 0, downs_ = 0;
};

void require(const std::error_code& ec, const std::string& what) {
  if (ec) throw std::runtime_error(what + ": " + ec.message() + " (" + std::to_string(ec.value()) + ")");
}

void survive(const std::string& address, bool restart) {
  LinkWatch link;
  zivra::TandiRobot robot;
  robot.setConnectionHandler([&link](bool connected) { link.changed(connected); });
  robot.connectToRobot(address);

  std::error_code ec;
  if (restart) {
    std::printf("restarting the controller\n");
    robot.rebootSystem(ec);
    if (ec != zivra::Code::network) require(ec, "restarting the controller");  // it may go before it answers
  }

  const auto began = Clock::now();
  int reads = 0, failures = 0;
  while (!link.returned()) {
    const auto waited = Clock::now() - began;
    if (waited > kLongestWaitForReturn) throw std::runtime_error("the link didn't come back within 120 s");
    if (!link.dropped() && waited > kLongestWaitForDrop)
      throw std::runtime_error("the link didn't drop within 60 s");
    ++reads;
    robot.powerState(ec);
    if (ec) ++failures;
    if (ec && ec != zivra::Code::network) require(ec, "reading while the link was down");
    link.pause();
  }
  const auto joints = robot.jointPos(ec);
  require(ec, "reading after the link came back");
  robot.disconnectFromRobot(ec);
  require(ec, "disconnecting");
  std::printf("%d of %d reads failed; the link came back and %zu joint angles were read\n", failures, reads,
              joints.size());
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  const bool help = arguments.size() == 1 && arguments[0] == "--help";
  const bool wait = arguments.size() == 2 && arguments[1] == "--wait";
  if (help || !(arguments.size() == 1 || wait)) {
    std::fputs(
        "usage: survive_a_drop ADDRESS [--wait]\n"
        "Restarts the controller of the 6-axis robot at ADDRESS, or waits for its link to drop, and goes "
        "on.\n",
        help ? stdout : stderr);
    return help ? 0 : 2;
  }
  try {
    survive(arguments[0], !wait);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "survive_a_drop: at \"%s\": %s\n", arguments[0].c_str(), error.what());
    return 1;
  }
}
