#include "signals.h"

#include <cmath>
#include <fmt/format.h>

namespace zivra::sim {

namespace {

constexpr int kDigitalPorts = 8, kAnalogPorts = 2;
constexpr int kWiredBoard = 1;
constexpr double kLargestLevel = 10.0;  // V, of an analog output

bool isSystems(const std::string& name) {
  return name == kSafetyChainInput || name == kMovingOutput || name == kMotorsOutput;
}

bool isWired(const std::string& name) { return name.substr(2).starts_with(fmt::format("{}_", kWiredBoard)); }

template <typename Level>
bool put(std::map<std::string, Level>& group, const std::string& name, Level level) {
  const auto found = group.find(name);
  if (found == group.end() || isSystems(name)) return false;
  found->second = level;
  return true;
}

// The output "DO1_3" arrives at the input "DI1_3".
template <typename Level>
bool putWired(std::map<std::string, Level>& outputs, std::map<std::string, Level>& inputs,
              const std::string& name, Level level) {
  if (!put(outputs, name, level)) return false;
  if (isWired(name)) put(inputs, name.substr(0, 1) + 'I' + name.substr(2), level);
  return true;
}

}  // namespace

Signals::Signals() {
  for (int board : {0, kWiredBoard}) {
    for (int port = 0; port < kDigitalPorts; ++port) {
      di[fmt::format("DI{}_{}", board, port)] = board == 0 && port == 0;
      out[fmt::format("DO{}_{}", board, port)] = false;
    }
    for (int port = 0; port < kAnalogPorts; ++port) {
      ai[fmt::format("AI{}_{}", board, port)] = board == 0 ? 2.5 * port : 0.0;
      ao[fmt::format("AO{}_{}", board, port)] = 0.0;
    }
  }
}

bool Signals::simulate(const std::string& input, bool state) {
  if (!simulation || !di.contains(input) || isSystems(input)) return false;
  simulated[input] = state;
  return true;
}

bool Signals::drive(const std::string& output, bool state) { return putWired(out, di, output, state); }

bool Signals::drive(const std::string& output, double level) {
  return level >= -kLargestLevel && level <= kLargestLevel && putWired(ao, ai, output, level);
}

bool Signals::apply(const std::string& input, bool state) {
  return di.contains(input) && !isWired(input) && put(di, input, state);
}

bool Signals::apply(const std::string& input, double level) {
  return std::isfinite(level) && ai.contains(input) && !isWired(input) && put(ai, input, level);
}

void Signals::setSimulation(bool on) {
  simulation = on;
  simulated.clear();
}

void Signals::boot() {
  for (const auto& [name, state] : out) drive(name, false);
  for (const auto& [name, level] : ao) drive(name, 0.0);
  setSimulation(false);
}

}  // namespace zivra::sim
