// The faults that a test has laid out, waiting for the requests that they hit. Any thread may call anything.
#pragma once

#include <json/json.h>
#include <list>
#include <mutex>
#include <optional>
#include <string>

#include "zivra/sim/controller.h"

namespace zivra::sim {

class Faults {
 public:
  // Throws std::invalid_argument for a `reply` whose text is no JSON value.
  void add(const Fault& fault);
  void clear();

  // What hits the request now: the first delay that fits, and the first other fault that fits.
  struct Hit {
    std::optional<Fault> delay, other;
    Json::Value reply;  // for Fault::Kind::reply
  };
  Hit take(const std::string& key);

 private:
  struct Laid {
    Fault fault;
    Json::Value reply;
  };
  std::mutex mutex_;
  std::list<Laid> laid_;
};

}  // namespace zivra::sim
