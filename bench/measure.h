// Clocks, counters and the table that a benchmark prints.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zivra::bench {

std::int64_t nowNs();  // steady clock
// The q-quantile (0..1).
double quantile(std::vector<double> values, double q);
inline double median(const std::vector<double>& values) { return quantile(values, 0.5); }

// Of this process so far, all threads.
std::int64_t contextSwitches();
double residentKiB();

// All threads of this process and those to come on one processor, or on all again.
void pinToOneCore(bool on);

class Table {
 public:
  // A section's heading.
  void section(const std::string& title);
  // What was measured, the figure and what it is measured against, the target.
  void row(const std::string& what, const std::string& figure, const std::string& baseline,
           const std::string& target);
};

std::string number(double value, const char* unit, int digits = 2);

}  // namespace zivra::bench
