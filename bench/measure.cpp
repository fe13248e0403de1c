#include "measure.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <fmt/format.h>
#include <fstream>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

namespace zivra::bench {

std::int64_t nowNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

double quantile(std::vector<double> values, double q) {
  if (values.empty()) return std::nan("");
  const auto index = static_cast<std::size_t>(q * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(index), values.end());
  return values[index];
}

std::int64_t contextSwitches() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return usage.ru_nvcsw + usage.ru_nivcsw;
}

double residentKiB() {
  std::ifstream file("/proc/self/statm");
  double total = 0;
  double resident = 0;
  file >> total >> resident;
  return resident * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1024.0;
}

void pinToOneCore(bool on) {
  cpu_set_t set;
  CPU_ZERO(&set);
  for (int cpu = 0; cpu < (on ? 1 : CPU_SETSIZE); ++cpu) CPU_SET(cpu, &set);
  ::sched_setaffinity(0, sizeof set, &set);
}

void Table::section(const std::string& title) {
  fmt::print("\n{}\n{:<52} {:>16} {:>22}  {}\n", title, "what", "figure", "baseline", "target");
}

void Table::row(const std::string& what, const std::string& figure, const std::string& baseline,
                const std::string& target) {
  fmt::print("{:<52} {:>16} {:>22}  {}\n", what, figure, baseline, target);
  std::fflush(stdout);
}

std::string number(double value, const char* unit, int digits) {
  return fmt::format("{:.{}f} {}", value, digits, unit);
}

}  // namespace zivra::bench
