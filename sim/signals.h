// Digital and analog signals. Board 0 leads to terminals; board 1 is wired to itself, each output to the
// input of its number, as on a test bench.
#pragma once

#include <map>
#include <string>

namespace zivra::sim {

// The signals that the controller itself uses; it doesn't leave them to requests.
inline constexpr const char* kSafetyChainInput = "DI0_7";  // closed unless the emergency stop is pressed
inline constexpr const char* kMovingOutput = "DO0_6";
inline constexpr const char* kMotorsOutput = "DO0_7";

struct Signals {
  Signals();

  // By name, as "DI0_3". Inputs as they stand at the terminals.
  std::map<std::string, bool> di, out;
  std::map<std::string, double> ai, ao;
  bool simulation = false;
  std::map<std::string, bool> simulated;  // inputs, while simulation mode is on

  // All false if there is no such signal for this.
  bool simulate(const std::string& input, bool state);
  bool drive(const std::string& output, bool state);
  bool drive(const std::string& output, double level);
  bool apply(const std::string& input, bool state);  // from outside; not to a wired one
  bool apply(const std::string& input, double level);

  void setSimulation(bool on);
  void boot();  // outputs off, no simulation
};

}  // namespace zivra::sim
