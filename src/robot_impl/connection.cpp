// From a robot object to a working connection, and back.
#include <system_error>
#include <utility>

#include <zivra/error.h>
#include <zivra/version.h>

#include "core/json.h"
#include "core/library_message.h"
#include "core/log.h"
#include "robot_impl/impl.h"
#include "robot_impl/turn.h"

namespace zivra {

using internal::LogLevel;

namespace {

constexpr std::int64_t watcherEndLimitNs = 5'000'000'000;

}  // namespace

BaseRobot::Impl::Impl()
    : service((internal::chooseLanguage(), std::make_shared<XService>())),
      rtService(std::make_unique<XService>()),
      receiver(std::make_unique<DataReceiver>()),
      events(std::make_shared<internal::LinkEvents>(service)) {
  service->setPushHandler([shared = events](const Json::Value& message) { shared->dispatch(message); });
  service->setConnectionHandler([shared = events](bool connected) { shared->linkChanged(connected); });
  service->setLogger(internal::consoleLogger());
  internal::prepareRobotLogging();
}

BaseRobot::Impl::~Impl() {
  // Small objects may keep the link beyond this robot: first of all nothing of it calls back any more.
  service->setPushHandler(nullptr);
  events->close();
  service->setConnectionHandler(nullptr);
  if (!unanswering_) stopStream();
  receiver->close();
  std::error_code ignored;
  if (const auto control = motion()) {
    control->setEventHandler(nullptr);
    control->_stop(ignored);
    // An operation on another thread may hold the motion control beyond this robot; its watcher ends here all
    // the same.
    control->waitForWatcher(watcherEndLimitNs);
  }
  rtService->stop();
  {
    const std::lock_guard lock(motionMutex_);
    motion_.reset();
  }
  service->logger()->flush();
}

std::shared_ptr<MotionControl<1>> BaseRobot::Impl::motion() const {
  const std::lock_guard lock(motionMutex_);
  return motion_;
}

std::shared_ptr<MotionControl<1>> BaseRobot::Impl::motion(std::error_code& ec) const noexcept {
  auto control = motion();
  if (!control) ec = Code::notConnected;
  return control;
}

bool BaseRobot::Impl::onOwnThread() const {
  if (service->onNetworkThread()) return true;
  const auto control = motion();
  return control && control->onOwnThread();
}

void BaseRobot::Impl::stopLinks(std::error_code& ec, Farewell farewell) noexcept {
  if (farewell == Farewell::tell) stopStream();
  receiver->close();
  if (const auto control = motion()) control->_stop(ec);
  service->stop();
  rtService->stop();
  service->logger()->flush();
  internal::shutDownLogging();
}

void BaseRobot::Impl::reconnect(const std::string& remoteIP, const std::string& localIP,
                                WorkType requestedType, unsigned short dof) {
  const Turn turn(*this);
  std::error_code ec;
  if (onOwnThread() || !turn.held()) {
    throw NetworkException(
        "connecting inside a callback would wait for the callback's own thread; connect from another one");
  }
  stopLinks(ec);
  remoteIP_ = remoteIP;

  service->setEndpoint(remoteIP_, commandPort);
  service->start(ec);
  if (ec) throw NetworkException(ec.message());
  readIdentity(requestedType, dof);
  readPorts();
  receiver->setup(static_cast<std::uint32_t>(broadcastPort_), remoteIP_, localIP);
  rtService->setEndpoint(remoteIP_, static_cast<std::uint32_t>(rtPort_));
  initLogger();
  startMotion();
  events->resetEventWatcher();
  internal::logBoth(service->logger().get(), LogLevel::info, "uid: {} | Connect to {} from {}",
                    internal::uid(), remoteIP_, localIP);
}

void BaseRobot::Impl::reconnect(WorkType requestedType, unsigned short dof, std::error_code& ec) noexcept {
  ec.clear();
  if (onOwnThread()) {
    ec = std::make_error_code(std::errc::resource_deadlock_would_occur);
    return;
  }
  try {
    const std::string remoteIP = remoteIP_;
    if (remoteIP.empty()) {
      ec = Code::network;
      return;
    }
    reconnect(remoteIP, localIP_, requestedType, dof);
  } catch (const NetworkException&) {
    ec = Code::network;
  } catch (...) {
    ec = Code::accessCheck;
  }
}

void BaseRobot::Impl::connect(const std::string& remoteIP, const std::string& localIP, WorkType requestedType,
                              unsigned short dof, bool tellLocalAddress) {
  try {
    reconnect(remoteIP, localIP, requestedType, dof);
    if (tellLocalAddress) setLocalAddress(localIP);
  } catch (...) {
    if (!onOwnThread()) {
      const Turn turn(*this);
      std::error_code ignored;
      stopLinks(ignored);
      remoteIP_.clear();
      localIP_.clear();
    }
    throw;
  }
}

void BaseRobot::Impl::readIdentity(WorkType requestedType, unsigned short dof) {
  std::error_code ec;
  Json::Value reply;
  service->get("sys.info", Json::Value(), reply, ec);
  if (!ec && !internal::readInfo(reply, info_)) ec = Code::responseUnresolved;
  if (ec) throw NetworkException(ec.message());

  WorkType actualType = requestedType;
  const std::string word = internal::textOr(internal::member(reply, "work_type"));
  if (word == "cobot") actualType = WorkType::collaborative;
  if (word == "industrial") actualType = WorkType::industrial;
  internal::setUid(internal::uidOf(info_.id));
  internal::checkController(info_, actualType, requestedType, dof);
}

void BaseRobot::Impl::readPorts() {
  std::error_code ec;
  Json::Value reply;
  service->get("eci.port", Json::Value(), reply, ec);
  if (ec || !reply.isObject()) return;
  const auto port = [&](const char* name, int otherwise) {
    const int value = internal::asInt(internal::member(reply, name)).value_or(otherwise);
    return value >= 1 && value <= 65535 ? value : otherwise;
  };
  rtPort_ = port("rt", defaultRtPort);
  broadcastPort_ = port("broadcast", defaultBroadcastPort);
}

void BaseRobot::Impl::initLogger() {
  const auto present = service->logger();
  if (present->name() == "_zivra_log_console_") service->setLogger(internal::robotLogger(info_.id, present));
}

void BaseRobot::Impl::startMotion() {
  if (const auto control = motion()) {
    control->_start();
    return;
  }
  auto control = std::make_shared<MotionControl<1>>(service);
  const std::lock_guard lock(motionMutex_);
  motion_ = std::move(control);
}

void BaseRobot::Impl::setLocalAddress(const std::string& localIP) {
  if (localIP.empty()) return;
  std::error_code ec;
  service->set("eci.ip", localIP, ec);
  if (ec) throw NetworkException(internal::libraryMessage(internal::Message::localAddressInvalid));
  localIP_ = localIP;
}

void BaseRobot::Impl::disconnect(std::error_code& ec) noexcept {
  internal::logGlobal(LogLevel::debug, "uid: {} | disconnectFromRobot", internal::uid());
  ec.clear();
  // The network thread can't read the replies that a disconnection waits for.
  const Turn turn(*this);
  if (service->onNetworkThread() || !turn.held()) {
    ec = std::make_error_code(std::errc::resource_deadlock_would_occur);
  } else {
    // A controller that doesn't answer is asked once, not three times.
    if (internal::readOperationState(*service, ec) == OperationState::moving) {
      if (const auto control = motion()) control->stop(ec);
    }
    std::error_code stopped;
    stopLinks(stopped, ec == Code::timeout ? Farewell::silent : Farewell::tell);
    if (stopped) ec = stopped;
  }
  internal::logBoth(service->logger().get(), LogLevel::info, "uid: {} | disconnectFromRobot end ({})",
                    internal::uid(), ec);
  service->logger()->flush();
}

void BaseRobot::Impl::stopIfMoving() noexcept {
  const auto control = motion();
  if (!control || !service->connected()) return;
  std::error_code ec;
  if (internal::readOperationState(*service, ec) == OperationState::moving) control->stop(ec);
  unanswering_ = ec == Code::timeout;
}

}  // namespace zivra
