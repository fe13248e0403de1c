// An application that logs with the same logging library as this one does inside, as packaged: its registry,
// loggers, pattern, level and error handler are the same before, during and after a connection. Exit code 0
// if so.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <zivra/zivra.h>

namespace {

int failures = 0;
std::vector<std::string> errors;  // that the application's handler heard

void check(bool holds, const char* when, const char* what) {
  if (holds) return;
  ++failures;
  std::fprintf(stderr, "%s: %s\n", when, what);
}

class FailingSink final : public spdlog::sinks::base_sink<std::mutex> {
  void sink_it_(const spdlog::details::log_msg&) override { throw std::runtime_error("broken"); }
  void flush_() override {}
};

// What the application has set, and what it expects to find ever after.
class OwnLogging {
 public:
  OwnLogging() {
    auto logger = std::make_shared<spdlog::logger>(
        "application", std::make_shared<spdlog::sinks::ostream_sink_mt>(text_, true));
    spdlog::set_default_logger(logger);
    // Names that the library uses too.
    for (const char* name : {"global_logger", "_zivra_log_console_", "r1"})
      spdlog::register_logger(std::make_shared<spdlog::logger>(name, logger->sinks().front()));
    spdlog::register_logger(std::make_shared<spdlog::logger>("failing", std::make_shared<FailingSink>()));
    spdlog::set_level(spdlog::level::debug);
    spdlog::set_error_handler([](const std::string& problem) { errors.push_back(problem); });
    spdlog::set_pattern("<%n %l> %v", spdlog::pattern_time_type::utc);
    kept_ = registered();
  }

  void expectUntouched(const char* when) {
    check(registered() == kept_, when, "other loggers are registered");
    check(spdlog::default_logger() != nullptr && spdlog::default_logger()->name() == "application", when,
          "another default logger");
    if (spdlog::default_logger() == nullptr) return;
    text_.str("");
    spdlog::debug("one {}", 1);
    spdlog::trace("dropped");
    if (auto logger = spdlog::get("global_logger")) logger->error("two");
    check(text_.str() == "<application debug> one 1\n<global_logger error> two\n", when,
          "other pattern or level");
    errors.clear();
    if (auto logger = spdlog::get("failing")) logger->info("x");
    check(errors == std::vector<std::string>{"broken"}, when, "another error handler");
    // What is made now gets the application's pattern too.
    spdlog::details::registry::instance().initialize_logger(
        std::make_shared<spdlog::logger>("new", spdlog::default_logger()->sinks().front()));
    text_.str("");
    spdlog::get("new")->debug("three");
    check(text_.str() == "<new debug> three\n", when, "new loggers are set otherwise");
    spdlog::drop("new");
  }

 private:
  static std::vector<spdlog::logger*> registered() {
    std::vector<spdlog::logger*> loggers;
    spdlog::apply_all(
        [&](const std::shared_ptr<spdlog::logger>& logger) { loggers.push_back(logger.get()); });
    return loggers;
  }

  std::ostringstream text_;
  std::vector<spdlog::logger*> kept_;
};

std::string globalLog() {
  std::string all;
  for (const auto& entry : std::filesystem::directory_iterator("logs")) {
    std::ifstream in(entry.path(), std::ios::binary);
    all.append(std::istreambuf_iterator<char>(in), {});
  }
  return all;
}

}  // namespace

// Argument: the address of a controller whose robot id is "r1".
int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  if (argc != 2) return 2;
  std::string folder = (fs::temp_directory_path() / "zivra_host_XXXXXX").string();
  if (::mkdtemp(folder.data()) == nullptr) return 2;
  fs::current_path(folder);

  OwnLogging own;
  own.expectUntouched("before");
  {
    std::error_code ec;
    zivra::TandiRobot robot;
    own.expectUntouched("with a robot object");
    robot.connectToRobot(argv[1]);
    own.expectUntouched("connected");
    robot.setPowerState(true, ec);
    own.expectUntouched("in use");
    robot.disconnectFromRobot(ec);
    own.expectUntouched("disconnected");
    robot.setPowerState(true, ec);
    check(ec == zivra::Code::network, "disconnected", "the robot can still be switched on");
    robot.connectToRobot(ec);
    check(!ec, "connected again", "it failed");
    own.expectUntouched("connected again");
  }
  own.expectUntouched("after");
  const std::string log = globalLog();
  check(log.find("switch motor true (0)\r\n") != std::string::npos &&
            log.find("switch motor true (256)\r\n") != std::string::npos &&
            log.find("one 1") == std::string::npos,
        "in the end", "the library's log is not its own");
  check(fs::exists("_zivra_log_/r1"), "in the end", "the robot has no log");

  fs::current_path(fs::temp_directory_path());
  fs::remove_all(folder);
  std::printf("host application: %s\n", failures == 0 ? "untouched" : "disturbed");
  return failures == 0 ? 0 : 1;
}
