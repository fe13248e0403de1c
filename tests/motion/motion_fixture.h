#pragma once

#include <any>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "motion/recording_logger.h"
#include "motion_control/motion_control.h"
#include "network/xservice/xservice.h"
#include "support/scripted_controller.h"
#include "support/waiting.h"

namespace zivra::test {

template <class T>
T valueOf(const EventInfo& event, const char* key) {
  return std::any_cast<T>(event.at(key));
}
inline std::string cmdIdOf(const EventInfo& event) { return valueOf<std::string>(event, "cmdID"); }
inline int errorOf(const EventInfo& event) { return valueOf<std::error_code>(event, "error").value(); }

// A motion control on a link to a scripted controller that takes every batch without a word.
class MotionTest : public testing::Test {
 protected:
  MotionTest() {
    for (const char* key :
         {"move.j", "move.jc", "move.l", "move.c", "move.cf", "move.sp", "move.wait", "move.replay"}) {
      controller.mute(key);
    }
    controller.answer("move.stop", "0");
    service->setLogger(logger);
    connect();
    motion = std::make_shared<MotionControl<1>>(service);
    EXPECT_TRUE(controller.waitForRequest("move.last_error_with_setting"));
    controller.forgetRequests();
  }
  ~MotionTest() override {
    motion.reset();
    service->stop();
  }

  void connect() {
    std::error_code ec;
    service->setEndpoint(controller.address(), 6666);
    service->start(ec);
    EXPECT_FALSE(ec) << ec.message();
  }
  void killController() {
    controller.die();
    EXPECT_TRUE(eventually([&] { return !service->connected(); }));
  }

  std::string append(std::size_t count = 1) {
    std::string id = "untouched";
    std::error_code ec;
    motion->appendCommand(std::vector<MoveAbsJCommand>(count, MoveAbsJCommand({0.5})), id, ec);
    EXPECT_FALSE(ec);
    return id;
  }
  void watch(EventCallback also = {}) {
    motion->setEventHandler([this, also](const EventInfo& event) {
      heard.add(event);
      if (also) also(event);
    });
  }
  // `error` as JSON text; empty: no such member.
  void notice(const std::string& id, const std::string& msg, int point = 0, const std::string& error = {}) {
    const std::string head = error.empty() ? "{" : R"({"error":)" + error + ",";
    controller.push(R"({"move.last_error_with_setting":)" + head + R"("data":{"id":")" + id + R"(","msg":")" +
                    msg + R"(","point":)" + std::to_string(point) + "}}}");
  }
  // Ids of the batches that came, in order.
  std::vector<std::string> batchIds() const {
    std::vector<std::string> ids;
    for (const Request& request : controller.requests()) {
      if (request.id.size() > 1 && request.id.front() == '"')
        ids.push_back(request.id.substr(1, request.id.size() - 2));
    }
    return ids;
  }
  bool waitForBatches(std::size_t count) const {
    return eventually([&] { return batchIds().size() >= count; });
  }
  // A frame that the controller has got after all that was sent before.
  void settle() {
    std::error_code ec;
    Json::Value ignored;
    service->get("settle", ignored, ec);
    EXPECT_FALSE(ec);
  }

  ScriptedController controller{{}, 30};
  std::shared_ptr<RecordingLogger> logger = std::make_shared<RecordingLogger>();
  std::shared_ptr<XService> service = std::make_shared<XService>();
  Heard<EventInfo> heard;
  std::shared_ptr<MotionControl<1>> motion;
};

}  // namespace zivra::test
