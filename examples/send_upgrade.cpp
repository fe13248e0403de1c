// Sends an upgrade package to a controller and says what came of it. The controller checks the package before
// it takes it, and takes none while the robot moves.
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <zivra/zivra.h>

namespace {

// What to do about it.
const char* advice(const std::error_code& ec) {
  if (ec == zivra::Code::updateFileInvalid) return "; it arrived damaged, send it again";
  if (ec == zivra::Code::upgradeFailure)
    return "; the controller doesn't take it: is it a package for this controller, and does the robot stand "
           "still?";
  if (ec == zivra::Code::timeout)
    return "; nothing was heard of it: look at the controller's version before sending it again";
  return "";
}

void sendUpgrade(const std::string& address, const std::string& package) {
  zivra::BaseUpgrade service(address);
  std::uint64_t size = 0;
  int shown = -1;
  service.setTransferProgress([&](std::uint64_t done, std::uint64_t total) {
    size = total;
    const auto percent = static_cast<int>(total == 0 ? 100 : done * 100 / total);
    if (percent / 10 == shown / 10 && shown >= 0) return;
    shown = percent;
    std::printf("%d %% sent\n", percent);
    std::fflush(stdout);
  });
  std::error_code ec;
  service.upgrade(package, ec);
  if (ec)
    throw std::runtime_error("\"" + package + "\": " + ec.message() + " (" + std::to_string(ec.value()) +
                             ")" + advice(ec));
  std::printf("the controller took the package of %llu bytes\n", static_cast<unsigned long long>(size));
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  const bool help = arguments.size() == 1 && arguments[0] == "--help";
  if (help || arguments.size() != 2) {
    std::fputs(
        "usage: send_upgrade ADDRESS PACKAGE\n"
        "Sends the upgrade package in the file PACKAGE to the controller at ADDRESS and waits for its "
        "verdict.\n",
        help ? stdout : stderr);
    return help ? 0 : 2;
  }
  try {
    sendUpgrade(arguments[0], arguments[1]);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "send_upgrade: at \"%s\": %s\n", arguments[0].c_str(), error.what());
    return 1;
  }
}
