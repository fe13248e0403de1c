// A connected command link with a bare peer.
#pragma once

#include <gtest/gtest.h>
#include <json/json.h>
#include <string>

#include "core/json_text.h"
#include "network/tcp_client.h"
#include "network/xservice/xservice.h"
#include "support/raw_peer.h"

namespace zivra::test {

using namespace std::chrono_literals;

inline std::string compact(const Json::Value& value) {
  std::string text;
  internal::appendJson(text, value);
  return text;
}

// The id of a request, as text.
inline std::string idOf(const std::string& frame) {
  const auto at = frame.find("\"id\":");
  if (at == std::string::npos) return "no id in " + frame;
  return frame.substr(at + 5, frame.find_first_of(",}", at) - at - 5);
}

inline internal::LinkLimits shortLimits() {
  internal::LinkLimits limits;
  limits.retryPause = 20ms;
  return limits;
}

struct LinkTest : ::testing::Test {
  LinkTest() {
    service.setConnectionHandler([this](bool up) { connections.add(up); });
    service.setPushHandler([this](const Json::Value& message) { pushes.add(compact(message)); });
    service.setMotionHandler([this](const Json::Value& message) { motions.add(compact(message)); });
    service.setEndpoint(peer.address(), RawPeer::port);
    std::error_code ec;
    service.start(ec);
    EXPECT_FALSE(ec);
    peerLink = peer.accept();
  }
  ~LinkTest() override { service.stop(); }

  RawPeer peer;
  RawConnection peerLink;
  Heard<bool> connections;
  Heard<std::string> pushes, motions;
  XService service{shortLimits()};
};

}  // namespace zivra::test
