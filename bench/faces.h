// The three faces of the library in C++ that the managed one stands on, behind one form: the native class,
// the layer of the managed names, and the functions that the assembly calls.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "measure.h"

namespace zivra::bench {

/// Events that came in. Threads: `arrived` on the library's, the others on the benchmark's.
class Heard {
 public:
  /// `text` has the time when the peer sent it behind an "@".
  void arrived(std::int64_t nowNs, std::string_view text);
  /// From then until the last of `count` events arrived [us]; forgets them.
  double await(std::size_t count);

 private:
  std::mutex mutex_;
  std::condition_variable came_;
  std::vector<double> delaysUs_;
};

class Face {
 public:
  virtual ~Face() = default;
  virtual const char* name() const = 0;
  /// The state stream of `stateFields`; somebody has to send meanwhile.
  virtual void startStream() = 0;
  /// Takes the datagram that waits, and reads the five fields. False if there was none.
  virtual bool takeState() = 0;
  virtual void powerState() = 0;
  /// That many of the same move.
  virtual void moveAppend(std::size_t moves) = 0;
  virtual void moveReset() = 0;
  /// Events go to `heard` from here on: those of the layer have one receiver in the process.
  virtual void watch(Heard& heard) = 0;
  virtual void moveStart() = 0;
  virtual void stop() = 0;
};

/// Of a datagram, beside "ts", and how long that is: a real and three times the six axes.
inline const std::vector<std::string> stateFields{"psi_m", "q_m", "dq_m", "tau_m"};
constexpr std::size_t stateLength = 8 + 20 + 8 + 3 * 48;

std::unique_ptr<Face> nativeFace(const std::string& peer, const std::string& own);
std::unique_ptr<Face> layerFace(const std::string& peer, const std::string& own);
std::unique_ptr<Face> functionsFace(const std::string& peer, const std::string& own);

}  // namespace zivra::bench
