// The simulated controller's world without links and wall clock: requests go straight to the handlers, and
// time passes as the test says.
#pragma once

#include <gtest/gtest.h>
#include <json/json.h>
#include <string>
#include <vector>

#include "handlers/handlers.h"
#include "sim/poses.h"
#include "sim/raw_client.h"
#include "world.h"

namespace zivra::sim::test {

class Bench {
 public:
  explicit Bench(Model model = Model::tandi) : world(Options{.model = model}) { world.boot(); }

  Json::Value ask(char form, const std::string& key, const std::string& parameter = "null") {
    const BatchHandler* handler = allHandlers().find(form, key);
    if (handler == nullptr) throw std::runtime_error("no handler of " + key);
    return (*handler)(world, json(parameter), "t#1").value;
  }
  Json::Value command(const std::string& key, const std::string& parameter = "null") {
    return ask('c', key, parameter);
  }

  void makeReady(OperateMode mode = OperateMode::automatic) {
    ASSERT_EQ(command("sys.power.on"), 0);
    world.mode = mode;
  }

  // Simulated seconds until nothing moves; `limit` of them at most.
  double run(double limit = 100) {
    double time = 0;
    for (; world.busy() && time < limit; time += kTick) world.advance(kTick);
    return time;
  }

  // A point some way from where the tool is, as requests spell it.
  std::string point(double dx, double dy, double dz, const std::string& more = "") const {
    const Pose pose = world.motion.toolInReference();
    Json::Value trans(Json::arrayValue), rot(Json::arrayValue);
    const double by[] = {dx, dy, dz};
    for (std::size_t i = 0; i < 3; ++i) {
      trans.append(pose.trans[i] + by[i]);
      rot.append(pose.rot[i]);
    }
    const auto text = [](const Json::Value& value) { return value.toStyledString(); };
    return "{\"trans\":" + text(trans) + ",\"rot\":" + text(rot) + ",\"elb\":0" + more + "}";
  }
  std::string jointsText() const {
    Json::Value value(Json::arrayValue);
    for (const double angle : world.motion.joints()) value.append(angle);
    return value.toStyledString();
  }

  // Payloads of a push so far, oldest first.
  std::vector<Json::Value> pushed(const std::string& key) const {
    std::vector<Json::Value> payloads;
    for (const Push& push : world.pushes)
      if (push.key == key) payloads.push_back(push.payload);
    return payloads;
  }

  static constexpr double kTick = 0.002;
  World world;
};

}  // namespace zivra::sim::test
