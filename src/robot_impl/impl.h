// The state of one robot: its links, identity, motion control and handlers.
//
// Threads: connecting, disconnecting, switching the mode and starting the state stream take turns; the other
// members may be used from any thread. Handlers of the link reach `LinkEvents` only, never this object.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <vector>

#include <zivra/base_robot.h>
#include <zivra/types.h>

#include "core/user_function.h"
#include "motion_control/motion_control.h"
#include "network/data_receiver.h"
#include "network/xservice/xservice.h"
#include "robot_impl/link_events.h"

namespace zivra {

class BaseRobot::Impl {
 public:
  static constexpr std::uint32_t commandPort = 6666;
  static constexpr int defaultRtPort = 1337;
  static constexpr int defaultBroadcastPort = 1338;

  Impl();
  ~Impl();
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  // The whole connection sequence; throws NetworkException, ProtocolException or ExecutionException.
  void reconnect(const std::string& remoteIP, const std::string& localIP, WorkType requestedType,
                 unsigned short dof);
  // To the addresses held. 256, 266; resource_deadlock_would_occur on a thread that it would have to wait
  // for.
  void reconnect(WorkType requestedType, unsigned short dof, std::error_code& ec) noexcept;
  // Reconnects and tells the local address; on failure everything is stopped and the addresses are forgotten.
  void connect(const std::string& remoteIP, const std::string& localIP, WorkType requestedType,
               unsigned short dof, bool tellLocalAddress);
  // Tells the controller where the state stream goes, unless empty; NetworkException if it refuses.
  void setLocalAddress(const std::string& localIP);
  void disconnect(std::error_code& ec) noexcept;
  // Leaves the mode that the robot is in and enters another; kept only if all of it went well.
  void switchMode(MotionControlMode mode, std::error_code& ec) noexcept;
  // Stops a moving robot, ignoring the outcome; for the destructor of the robot.
  void stopIfMoving() noexcept;

  // Throws RealtimeControlException and RealtimeStateException; what was done before stays done.
  void startStream(std::chrono::nanoseconds interval, const std::vector<std::string>& fields,
                   unsigned short dof);
  // Nothing happens unless the stream is up.
  void stopStream() noexcept;

  // Null before the first connection.
  std::shared_ptr<MotionControl<1>> motion() const;
  // The same for an operation: null is a failure, which `ec` tells.
  std::shared_ptr<MotionControl<1>> motion(std::error_code& ec) const noexcept;
  // The same for moves, which not every mode takes.
  std::shared_ptr<MotionControl<1>> motionForMoves(std::error_code& ec) const noexcept;
  // True once the robot was switched to program tasks.
  bool hasRlTask() const;
  internal::Logger* logger() const;  // of the link; stays valid as long as this object

  internal::UserFunction<void(std::uint64_t done, std::uint64_t total)> transferProgress;

  // Type of the panel at the tool, asked for at first need; two threads may both ask.
  std::atomic<int> panelType{0};
  std::atomic<bool> panelTypeKnown{false};

  const std::shared_ptr<XService> service;
  const std::unique_ptr<XService> rtService;
  const std::unique_ptr<DataReceiver> receiver;
  const std::shared_ptr<internal::LinkEvents> events;
  std::atomic<MotionControlMode> mode{MotionControlMode::Idle};  // survives a reconnection
  // How the arm was last asked to be guided.
  std::atomic<DragParameter::Space> dragSpace{DragParameter::Space::jointSpace};
  std::atomic<DragParameter::Type> dragType{DragParameter::Type::freely};

 private:
  // One connecting or disconnecting at a time; nobody waits for a turn on a thread that the holder may be
  // waiting for.
  class Turn;

  enum class Farewell { tell, silent };  // whether the controller is told that no more states are wanted
  void stopLinks(std::error_code& ec, Farewell farewell = Farewell::tell) noexcept;
  void readIdentity(WorkType requestedType, unsigned short dof);
  void readPorts();
  void initLogger();
  void startMotion();
  bool onOwnThread() const;

  std::string remoteIP_, localIP_;
  int rtPort_ = defaultRtPort;
  int broadcastPort_ = defaultBroadcastPort;
  Info info_;
  bool unanswering_ = false;  // the controller didn't answer when the robot was about to go

  mutable std::mutex motionMutex_;  // guards the pointers
  std::shared_ptr<MotionControl<1>> motion_;
  std::unique_ptr<MotionControl<2>> rlTask_;  // made once, within a turn

  std::mutex turnMutex_;
  std::condition_variable turnFree_;
  bool turnTaken_ = false;
};

namespace internal {

// Decodes the value of "sys.info"; false if it isn't an object or a member has the wrong type.
bool readInfo(const Json::Value& value, Info& info);
// Throws unless version, axes and work type fit.
void checkController(const Info& info, WorkType actualType, WorkType requestedType, unsigned short dof);
// What the controller is told of this library, where it asks for the real-time client's version.
std::string protocolVersion();
// The word of "sys.state" as a state.
OperationState operationStateOf(const std::string& word);
OperationState readOperationState(XService& service, std::error_code& ec) noexcept;

}  // namespace internal

}  // namespace zivra
