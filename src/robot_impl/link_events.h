// What the handlers of a robot's link need. They hold it shared, so that one that still runs while the robot
// goes finds it whole.
//
// Threads: `linkChanged` runs on the link's network thread; everything else may be called from any thread.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include <zivra/base_robot.h>

namespace zivra {
class XService;
}

namespace zivra::internal {

// Key under which the controller pushes the kind; null for a kind that isn't known.
const char* pushKey(Event event) noexcept;

class LinkEvents {
 public:
  explicit LinkEvents(const std::shared_ptr<XService>& service);

  // The application's handler; the former one may still be running when this returns.
  void setUserHandler(std::function<void(bool)> handler);
  // The link came up or went down: sends the watches again if it was there before, then tells the
  // application.
  void linkChanged(bool connected) noexcept;
  // Sends all watches; waits for nothing.
  void resetEventWatcher() noexcept;

 private:
  std::weak_ptr<XService> service_;      // weak: the link's handlers hold this object
  std::atomic<int> connectionState_{0};  // 0 never connected, 1 connected, 2 disconnected
  std::mutex mutex_;                     // guards the members below; held across no call
  std::shared_ptr<const std::function<void(bool)>> userHandler_;
  std::map<Event, bool> watched_;
};

}  // namespace zivra::internal
