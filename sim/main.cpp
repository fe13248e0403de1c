// zivra-sim: a simulated controller as a program.
#include <atomic>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <fmt/format.h>
#include <optional>
#include <pthread.h>
#include <signal.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zivra/sim/controller.h"

namespace {

using namespace zivra::sim;

constexpr int kBadOption = 1, kCannotListen = 2;

constexpr std::string_view kHelp = R"(zivra-sim - a simulated robot controller

usage: zivra-sim [options]

  --address A           IPv4 address to listen on (127.0.0.1)
  --port N              port of the command link (6666)
  --rt-port N           port of the second command link (1337)
  --file-port N         port of the file link (7777), 0 for none
  --upgrade-port N      port of the upgrade and backup service (4567), 0 for none
  --model M             triax, quadrax, standard, tandi-five, tandi or tandi-seven (tandi)
  --speed-factor X      simulated seconds for each second (1)
  --id TEXT             robot id (made from model and address)
  --version-reported V  controller version (3.1.2)
  --language L          english or chinese user log (english)
  --surface Z           a level surface Z metres above the world's origin, for the tool to meet
  --verbose             print each frame
  --help                print this text

faults, KEY being a request key or * for all; each may be given several times:
  --refuse KEY=CODE     answer requests of KEY with CODE and do nothing
  --delay KEY=MS        answer requests of KEY after MS milliseconds
  --mute KEY            never answer requests of KEY
  --drop-after N        break all links after every N frames received
  --upgrade-fault NAME  what ails the upgrade service, each time: hang-up, mute, damaged, refuse,
                        verdict-first, no-backup, partial or broken
  --collide-after S     the arm meets an obstacle S seconds after the start, once
  --hand-after S        no fault: a hand waves the arm whenever that lets itself be guided by hand and has
                        been left alone for S seconds

Ends at SIGINT or SIGTERM. Exit code: 0, 1 for a bad option, 2 if a port can't be had.
)";

struct Usage : std::runtime_error {
  using std::runtime_error::runtime_error;
};

template <typename Number>
Number number(std::string_view option, std::string_view text, Number least, Number most) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size() || !(value >= least && value <= most))
    throw Usage(fmt::format("{} needs a number from {} to {}, not \"{}\"", option, least, most, text));
  return value;
}

std::pair<std::string, int> keyAndNumber(std::string_view option, std::string_view text, int least) {
  const auto equals = text.rfind('=');
  if (equals == 0 || equals == std::string_view::npos)
    throw Usage(fmt::format("{} needs KEY=NUMBER, for instance sys.power.on=-514, not \"{}\"", option, text));
  return {std::string(text.substr(0, equals)), number(option, text.substr(equals + 1), least, 1'000'000'000)};
}

struct Settings {
  Options options;
  std::vector<Fault> faults;
  std::vector<UpgradeFault> upgradeFaults;
  int dropAfter = 0;
  double collideAfter = 0;  // s
  double handAfter = 0;     // s
  std::optional<double> surface;
  bool verbose = false, help = false;
};

Fault lasting(Fault::Kind kind, std::string key) {
  Fault fault;
  fault.kind = kind;
  fault.key = std::move(key);
  fault.times = -1;
  return fault;
}

Settings readArguments(int argc, char** argv) {
  Settings settings;
  for (int i = 1; i < argc; ++i) {
    const std::string_view option = argv[i];
    auto value = [&]() -> std::string_view {
      if (i + 1 == argc) throw Usage(fmt::format("{} needs a value", option));
      return argv[++i];
    };
    auto& options = settings.options;
    if (option == "--help") {
      settings.help = true;
    } else if (option == "--verbose") {
      settings.verbose = true;
    } else if (option == "--address") {
      options.address = value();
    } else if (option == "--port") {
      options.port = number<std::uint16_t>(option, value(), 1, 65535);
    } else if (option == "--rt-port") {
      options.rtPort = number<std::uint16_t>(option, value(), 1, 65535);
    } else if (option == "--file-port") {
      options.filePort = number<std::uint16_t>(option, value(), 0, 65535);
    } else if (option == "--upgrade-port") {
      options.upgradePort = number<std::uint16_t>(option, value(), 0, 65535);
    } else if (option == "--upgrade-fault") {
      const auto name = value();
      const auto kind = upgradeFaultNamed(name);
      if (!kind) throw Usage(fmt::format("there is no upgrade fault \"{}\"; --help lists them", name));
      settings.upgradeFaults.emplace_back().kind = *kind;
      settings.upgradeFaults.back().times = -1;
    } else if (option == "--model") {
      const auto name = value();
      const auto model = modelNamed(name);
      if (!model) throw Usage(fmt::format("there is no model \"{}\"; --help lists the models", name));
      options.model = *model;
    } else if (option == "--speed-factor") {
      options.speedFactor = number(option, value(), 0.001, 1000.0);
    } else if (option == "--language") {
      const auto name = value();
      if (name != "english" && name != "chinese")
        throw Usage(fmt::format("--language is english or chinese, not \"{}\"", name));
      options.language = name == "chinese" ? Language::chinese : Language::english;
    } else if (option == "--surface") {
      settings.surface = number(option, value(), -10.0, 10.0);
    } else if (option == "--id") {
      options.id = value();
    } else if (option == "--version-reported") {
      options.version = value();
    } else if (option == "--refuse") {
      auto [key, code] = keyAndNumber(option, value(), -1'000'000'000);
      settings.faults.push_back(lasting(Fault::Kind::refuse, std::move(key)));
      settings.faults.back().code = code;
    } else if (option == "--delay") {
      auto [key, milliseconds] = keyAndNumber(option, value(), 0);
      settings.faults.push_back(lasting(Fault::Kind::delay, std::move(key)));
      settings.faults.back().delay = std::chrono::milliseconds(milliseconds);
    } else if (option == "--mute") {
      settings.faults.push_back(lasting(Fault::Kind::mute, std::string(value())));
    } else if (option == "--drop-after") {
      settings.dropAfter = number(option, value(), 1, 1'000'000'000);
    } else if (option == "--collide-after") {
      settings.collideAfter = number(option, value(), 0.001, 1e6);
    } else if (option == "--hand-after") {
      settings.handAfter = number(option, value(), 0.001, 1e6);
    } else {
      throw Usage(fmt::format("unknown option \"{}\"", option));
    }
  }
  return settings;
}

void waveByHand(Controller& controller) {
  constexpr double kSeconds = 4;  // of simulated time
  const auto here = controller.jointPositions();
  const double side = here[0] > 0 ? -1 : 1;  // back and forth, wave by wave
  auto there = here, end = here;
  for (std::size_t axis = 0; axis < 2; ++axis) {
    there[axis] += 0.3 * side;
    end[axis] += 0.15 * side;
  }
  controller.guideByHand({there, end}, kSeconds);
}

// Does to the robot what was asked for until one of the signals comes.
void letHappen(Controller& controller, const Settings& settings, const sigset_t& ending) {
  using Clock = std::chrono::steady_clock;
  const auto since = [](Clock::time_point then) {
    return std::chrono::duration<double>(Clock::now() - then).count();
  };
  const auto begun = Clock::now();
  auto busy = begun;  // the arm, last
  bool collides = settings.collideAfter > 0;
  while (collides || settings.handAfter > 0) {
    constexpr timespec kLook{0, 20'000'000};
    if (sigtimedwait(&ending, nullptr, &kLook) > 0) return;
    if (collides && since(begun) >= settings.collideAfter) {
      controller.collide();
      collides = false;
    }
    if (!controller.guidedByHand() || !controller.waitUntilIdle(std::chrono::milliseconds(0))) {
      busy = Clock::now();
    } else if (settings.handAfter > 0 && since(busy) >= settings.handAfter) {
      waveByHand(controller);
    }
  }
  int signal = 0;
  sigwait(&ending, &signal);
}

int run(Settings settings) {
  // Before any thread exists, so that the signals end the program only where they are waited for.
  sigset_t ending;
  sigemptyset(&ending);
  sigaddset(&ending, SIGINT);
  sigaddset(&ending, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &ending, nullptr);

  Controller* running = nullptr;  // set before the first frame can come
  std::atomic<int> received{0};
  if (settings.verbose || settings.dropAfter > 0)
    settings.options.trace = [&](const std::string& frame) {
      if (settings.verbose) {
        fmt::print("{}\n", frame);
        std::fflush(stdout);
      }
      const bool inward = frame.rfind("<", 0) == 0;
      if (inward && settings.dropAfter > 0 && ++received % settings.dropAfter == 0) running->dropLinks();
    };

  Controller controller(settings.options);
  running = &controller;
  for (const Fault& fault : settings.faults) controller.inject(fault);
  for (const UpgradeFault& fault : settings.upgradeFaults) controller.inject(fault);
  if (settings.surface) controller.placeSurface({0, 0, *settings.surface}, {0, 0, 1});
  try {
    controller.start();
  } catch (const std::runtime_error& error) {
    fmt::print(stderr,
               "zivra-sim: {}\nEnd the program that holds the port, or choose another address with --address "
               "(127.0.0.2, ...) or another port with --port, --rt-port, "
               "--file-port and --upgrade-port.\n",
               error.what());
    return kCannotListen;
  }
  fmt::print("zivra-sim: {} on {}:{}\n", modelName(settings.options.model), settings.options.address,
             settings.options.port);
  std::fflush(stdout);

  letHappen(controller, settings, ending);
  controller.stop();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    Settings settings = readArguments(argc, argv);
    if (settings.help) {
      fmt::print("{}", kHelp);
      return 0;
    }
    return run(std::move(settings));
  } catch (const Usage& error) {
    fmt::print(stderr, "zivra-sim: {}\nzivra-sim --help lists the options.\n", error.what());
    return kBadOption;
  } catch (const std::exception& error) {
    fmt::print(stderr, "zivra-sim: {}\n", error.what());
    return kBadOption;
  }
}
