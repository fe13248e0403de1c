// Reads the controller's whole user log, page by page, newest first. Nothing moves.
#include <cstdio>
#include <string>
#include <system_error>

#include <zivra/zivra.h>

#include "moving.h"

namespace {

using namespace example;

constexpr unsigned kPage = 10;      // the controller gives no more at a time
constexpr unsigned kMost = 10'000;  // entries; the log grows while it is read

void pageLog(const std::string& address) {
  using Level = zivra::LogInfo::Level;
  zivra::TandiRobot robot;
  connect(robot, address);
  unsigned read = 0, pages = 0;
  while (read < kMost) {
    std::error_code ec;
    const auto entries = robot.queryControllerLog(kPage, {Level::info, Level::warning, Level::err}, ec, read);
    require(ec, "reading the log from entry " + std::to_string(read + 1));
    if (entries.empty()) break;
    for (const zivra::LogInfo& entry : entries) {
      std::printf("%s  %6d  %s\n", entry.timestamp.c_str(), entry.id, entry.logText.c_str());
      if (!entry.repairHint.empty()) std::printf("%29s%s\n", "-> ", entry.repairHint.c_str());
    }
    read += static_cast<unsigned>(entries.size());
    ++pages;
  }
  std::error_code ec;
  robot.disconnectFromRobot(ec);
  std::printf("%u entries on %u pages\n", read, pages);
}

}  // namespace

int main(int argc, char** argv) {
  return runProgram(argc, argv, "page_log",
                    "usage: page_log ADDRESS\n"
                    "Prints the user log of the controller of the 6-axis robot at ADDRESS.\n",
                    pageLog);
}
