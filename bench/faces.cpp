#include "faces.h"

#include <charconv>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <zivra/robot.h>

#include "abi/capi.h"
#include "abi/registry.h"

namespace zivra::bench {

namespace {

constexpr std::size_t mostMoves = 10;

void expect(int code, const char* what) {
  if (code != 0) throw std::runtime_error(std::string(what) + ": " + std::to_string(code));
}

// What a robot's own class and the managed layer's are called alike for.
template <class Robot, class ErrorCode>
class RobotFace : public Face {
 public:
  RobotFace(const std::string& peer, const std::string& own) : robot_(peer, own) {}
  void powerState() override {
    robot_.powerState(ec_);
    expect(ec_.value(), "powerState");
  }
  void moveReset() override {
    robot_.moveReset(ec_);
    expect(ec_.value(), "moveReset");
  }
  void moveStart() override {
    robot_.moveStart(ec_);
    expect(ec_.value(), "moveStart");
  }
  void stop() override {
    robot_.stop(ec_);
    expect(ec_.value(), "stop");
  }

 protected:
  Robot robot_;
  ErrorCode ec_;
};

class NativeFace final : public RobotFace<TandiRobot, std::error_code> {
 public:
  NativeFace(const std::string& peer, const std::string& own) : RobotFace(peer, own) {
    for (std::size_t moves = 0; moves <= mostMoves; ++moves) {
      moves_.emplace_back(moves, MoveLCommand({0.4, 0.1234567, 0.5, 3.14159, 0.2, -3.1}, 200, 5));
    }
  }
  const char* name() const override { return "C++"; }
  void startStream() override {
    robot_.startReceiveRobotState(std::chrono::milliseconds(1), stateFields);
    robot_.drainRobotState();
  }
  bool takeState() override {
    return robot_.updateRobotState(std::chrono::milliseconds(1)) == stateLength &&
           robot_.getStateData("ts", ts_) == 0 && robot_.getStateData("psi_m", real_) == 0 &&
           robot_.getStateData("q_m", q_) == 0 && robot_.getStateData("dq_m", dq_) == 0 &&
           robot_.getStateData("tau_m", tau_) == 0;
  }
  void moveAppend(std::size_t moves) override {
    robot_.moveAppend(moves_[moves], id_, ec_);
    expect(ec_.value(), "moveAppend");
  }
  void watch(Heard& heard) override {
    robot_.setEventWatcher(
        Event::moveExecution,
        [&heard](const EventInfo& info) {
          const std::int64_t now = nowNs();
          heard.arrived(now, std::any_cast<const std::string&>(info.at("customInfo")));
        },
        ec_);
  }

 private:
  std::vector<std::vector<MoveLCommand>> moves_;
  std::string id_;
  std::uint64_t ts_ = 0;
  double real_ = 0;
  std::vector<double> q_, dq_, tau_;
};

clr::List<clr::MoveCommand> managedMoves(std::size_t count) {
  clr::MoveCommand move;
  move.cartTarget->trans = {0.4, 0.1234567, 0.5};
  move.cartTarget->rpy = {3.14159, 0.2, -3.1};
  move.speed = 200;
  move.zone = 5;
  return clr::List<clr::MoveCommand>(count, move);
}

class LayerFace final : public RobotFace<clr::TandiRobot, clr::ErrorCode> {
 public:
  LayerFace(const std::string& peer, const std::string& own) : RobotFace(peer, own) {
    for (std::size_t moves = 0; moves <= mostMoves; ++moves) moves_.push_back(managedMoves(moves));
  }
  const char* name() const override { return "zivra::clr"; }
  void startStream() override {
    robot_.startReceiveRobotState(1, clr::List<clr::String>(stateFields.begin(), stateFields.end()));
  }
  bool takeState() override {
    return robot_.updateRobotState(1) == stateLength && robot_.getStateData("ts", ts_) == 0 &&
           robot_.getStateData("psi_m", real_) == 0 && robot_.getStateData("q_m", q_) == 0 &&
           robot_.getStateData("dq_m", dq_) == 0 && robot_.getStateData("tau_m", tau_) == 0;
  }
  void moveAppend(std::size_t moves) override {
    robot_.moveAppend(clr::MoveCommand::Type::MoveL, moves_[moves], id_, ec_);
    expect(ec_.value(), "moveAppend");
  }
  void watch(Heard& heard) override {
    robot_.setEventWatcher(
        clr::Event::moveExecution,
        [&heard](const clr::Dictionary& info) {
          const std::int64_t now = nowNs();
          for (const auto& [key, value] : info) {
            if (key == clr::String("customInfo")) heard.arrived(now, std::get<clr::String>(value).text());
          }
        },
        ec_);
  }

 private:
  std::vector<clr::List<clr::MoveCommand>> moves_;
  clr::String id_;
  std::uint64_t ts_ = 0;
  double real_ = 0;
  clr::Array<double> q_, dq_, tau_;
};

// The place of a row in the table.
std::int32_t rowOf(std::string_view owner, std::string_view name, int overload = 0) {
  const auto& rows = clr::abi::rows();
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (rows[i].owner == owner && rows[i].name == name && overload-- == 0)
      return static_cast<std::int32_t>(i);
  }
  throw std::runtime_error("no operation " + std::string(name));
}

Heard* functionsHeard = nullptr;  // set before there are events

void invoked(std::uint64_t /*number*/, const void* message, std::int32_t size) {
  const std::int64_t now = nowNs();
  functionsHeard->arrived(now, {static_cast<const char*>(message), static_cast<std::size_t>(size)});
}

class FunctionsFace final : public Face {
 public:
  FunctionsFace(const std::string& peer, const std::string& own) {
    zivra_clr_callbacks(invoked, [](std::uint64_t) {});
    call(rowOf("TandiRobot", "TandiRobot", 2), clr::String(peer), clr::String(own));
    self_ = get<std::uint64_t>();
    for (std::size_t moves = 0; moves <= mostMoves; ++moves) moves_.push_back(managedMoves(moves));
  }
  ~FunctionsFace() override {
    zivra_clr_release(self_);
    zivra_clr_callbacks(nullptr, nullptr);
  }
  FunctionsFace(const FunctionsFace&) = delete;
  FunctionsFace& operator=(const FunctionsFace&) = delete;

  const char* name() const override { return "C functions"; }
  void startStream() override {
    call(rowOf("BaseRobot", "startReceiveRobotState"), 1,
         clr::List<clr::String>(stateFields.begin(), stateFields.end()));
  }
  bool takeState() override {
    call(update_, 1);
    if (get<std::uint32_t>() != stateLength) return false;
    call(readCount_, ts_, std::uint64_t{0});
    if (get<int>() != 0) return false;
    get<std::uint64_t>();
    call(readReal_, psi_, 0.0);
    if (get<int>() != 0) return false;
    get<double>();
    for (const clr::String* name : {&q_, &dq_, &tau_}) {
      call(readReals_, *name);
      if (get<int>() != 0 || get<clr::Array<double>>().size() != 6) return false;
    }
    return true;
  }
  void powerState() override {
    call(powerState_);
    get<int>();
    expect(get<int>(), "powerState");
  }
  void moveAppend(std::size_t moves) override {
    call(moveAppend_, clr::MoveCommand::Type::MoveL, moves_[moves], clr::String(""));
    for (auto left = get<int>(); left > 0; --left) get<clr::List<double>>();
    get<clr::String>();
    expect(get<int>(), "moveAppend");
  }
  void moveReset() override {
    call(moveReset_);
    expect(get<int>(), "moveReset");
  }
  void watch(Heard& heard) override {
    functionsHeard = &heard;
    call(rowOf("BaseRobot", "setEventWatcher"), clr::Event::moveExecution, std::uint64_t{1});
    expect(get<int>(), "setEventWatcher");
  }
  void moveStart() override {
    call(moveStart_);
    expect(get<int>(), "moveStart");
  }
  void stop() override {
    call(stop_);
    expect(get<int>(), "stop");
  }

 private:
  template <class... T>
  void call(std::int32_t row, const T&... values) {
    // One buffer both ways, as the assembly has it.
    constexpr auto room = static_cast<std::int32_t>(sizeof buffer_);
    clr::abi::Writer message(buffer_, sizeof buffer_);
    (clr::abi::Codec<T>::put(message, values), ...);
    const auto size =
        zivra_clr_call(self_, row, message.data(), static_cast<std::int32_t>(message.size()), buffer_, room);
    if (size > room) throw std::runtime_error("a long reply");
    reader_ = clr::abi::Reader(buffer_, static_cast<std::size_t>(size));
    if (get<int>() != 0) throw std::runtime_error(get<clr::String>().text());
  }
  template <class T>
  T get() {
    return clr::abi::Codec<T>::get(reader_);
  }

  const std::int32_t update_ = rowOf("BaseRobot", "updateRobotState");
  const std::int32_t readReal_ = rowOf("BaseRobot", "getStateData", 0);
  const std::int32_t readCount_ = rowOf("BaseRobot", "getStateData", 1);
  const std::int32_t readReals_ = rowOf("BaseRobot", "getStateData", 2);
  const std::int32_t powerState_ = rowOf("BaseRobot", "powerState");
  const std::int32_t moveAppend_ = rowOf("BaseRobot", "moveAppend", 0);
  const std::int32_t moveReset_ = rowOf("BaseRobot", "moveReset");
  const std::int32_t moveStart_ = rowOf("BaseRobot", "moveStart");
  const std::int32_t stop_ = rowOf("BaseRobot", "stop");
  const clr::String ts_ = "ts", psi_ = "psi_m", q_ = "q_m", dq_ = "dq_m", tau_ = "tau_m";
  std::uint64_t self_ = 0;
  std::vector<clr::List<clr::MoveCommand>> moves_;
  std::uint8_t buffer_[1 << 13];
  clr::abi::Reader reader_{nullptr, 0};
};

}  // namespace

void Heard::arrived(std::int64_t nowNs, std::string_view text) {
  text.remove_prefix(std::min(text.find('@') + 1, text.size()));
  std::int64_t sent = 0;
  if (std::from_chars(text.data(), text.data() + text.size(), sent).ec != std::errc{}) return;
  {
    const std::lock_guard lock(mutex_);
    delaysUs_.push_back(static_cast<double>(nowNs - sent) * 1e-3);
  }
  came_.notify_one();
}

double Heard::await(std::size_t count) {
  std::unique_lock lock(mutex_);
  if (!came_.wait_for(lock, std::chrono::seconds(10), [&] { return delaysUs_.size() >= count; }))
    throw std::runtime_error("events were lost");
  const double last = delaysUs_.back();
  delaysUs_.clear();
  return last;
}

std::unique_ptr<Face> nativeFace(const std::string& peer, const std::string& own) {
  return std::make_unique<NativeFace>(peer, own);
}
std::unique_ptr<Face> layerFace(const std::string& peer, const std::string& own) {
  return std::make_unique<LayerFace>(peer, own);
}
std::unique_ptr<Face> functionsFace(const std::string& peer, const std::string& own) {
  return std::make_unique<FunctionsFace>(peer, own);
}

}  // namespace zivra::bench
