// Identity, power, mode, state and readings.
#include <algorithm>

#include <zivra/version.h>

#include "core/wire_forms.h"
#include "robot/operation.h"

namespace zivra {

using internal::Operation;
using internal::Word;

namespace {

constexpr Word<PowerState> powerWords[] = {{"on", PowerState::on},
                                           {"off", PowerState::off},
                                           {"estop", PowerState::estop},
                                           {"gstop", PowerState::gstop}};

constexpr Word<OperateMode> modeWords[] = {{"auto", OperateMode::automatic}, {"manual", OperateMode::manual}};

constexpr Word<OperationState> stateWords[] = {
    {"idle", OperationState::idle},
    {"jog", OperationState::jog},
    {"rci", OperationState::rtControlling},
    {"drag", OperationState::drag},
    {"program", OperationState::rlProgram},
    {"demo", OperationState::demo},
    {"dynamic_identify", OperationState::dynamicIdentify},
    {"friction_identify", OperationState::frictionIdentify},
    {"load_identify", OperationState::loadIdentify},
    {"debug", OperationState::unknown},
    {"idleing", OperationState::moving},
    {"unknowning", OperationState::moving},
    {"joging", OperationState::jogging},
    {"unknown", OperationState::unknown},
};

const Word<OperationState>* findState(std::string_view text) {
  const auto* found = std::find_if(std::begin(stateWords), std::end(stateWords),
                                   [&](const auto& entry) { return entry.text == text; });
  return found == std::end(stateWords) ? nullptr : found;
}

const char* postureKey(CoordinateType ct) {
  return ct == CoordinateType::flangeInBase ? "sys.posture.flan_in_base" : "sys.posture";
}

}  // namespace

namespace internal {

OperationState operationStateOf(const std::string& word) {
  std::string_view text = word;
  text = text.substr(0, text.find('/'));
  // Some states come with "ing" behind them while the robot moves; only a few of those are states of their
  // own.
  if (const auto ing = text.find("ing"); ing != std::string_view::npos && findState(text) == nullptr) {
    text = text.substr(0, ing);
  }
  const auto* found = findState(text);
  return found == nullptr ? OperationState::unknown : found->value;
}

OperationState readOperationState(XService& service, std::error_code& ec) noexcept {
  Json::Value value;
  service.get("sys.state", Json::Value(), value, ec);
  const std::string word = Reply(ec, std::move(value)).text();
  return ec ? OperationState::unknown : operationStateOf(word);
}

}  // namespace internal

std::string BaseRobot::sdkVersion() { return text(libraryVersion()); }

Info BaseRobot::robotInfo(std::error_code& ec) noexcept {
  Info info;
  auto reply = Operation(impl(), ec).get("sys.info");
  if (!reply.failed() && !internal::readInfo(reply.value(), info)) reply.fail(Code::responseUnresolved);
  return info;
}

PowerState BaseRobot::powerState(std::error_code& ec) noexcept {
  return Operation(impl(), ec).get("sys.power").word(powerWords, PowerState::unknown);
}

void BaseRobot::setPowerState(bool on, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "setPowerState {}", on);
  op.command(on ? "sys.power.on" : "sys.power.off").code();
  op.end("setPowerState end, switch motor {} ({})", on, ec);
}

OperateMode BaseRobot::operateMode(std::error_code& ec) noexcept {
  return Operation(impl(), ec).get("sys.mode").word(modeWords, OperateMode::unknown);
}

void BaseRobot::setOperateMode(OperateMode mode, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "setOperateMode {}", mode);
  op.command("sys.mode.switch", mode == OperateMode::automatic ? "auto" : "manual").code();
  op.end("setOperationMode end, switch to {} ({})", mode, ec);
}

OperationState BaseRobot::operationState(std::error_code& ec) noexcept {
  return internal::readOperationState(*impl().service, ec);
}

std::vector<double> BaseRobot::jointPos(std::error_code& ec) noexcept {
  return Operation(impl(), ec).get("sys.rt.jnt_pos").numbers();
}

std::vector<double> BaseRobot::jointVel(std::error_code& ec) noexcept {
  return Operation(impl(), ec).get("sys.rt.jnt_vel").numbers();
}

std::array<double, 6> BaseRobot::posture(CoordinateType ct, std::error_code& ec) noexcept {
  return Operation(impl(), ec).get(postureKey(ct)).pose();
}

CartesianPosition BaseRobot::cartPosture(CoordinateType ct, std::error_code& ec) noexcept {
  auto reply = Operation(impl(), ec).get(postureKey(ct));
  if (reply.codeOrData().failed()) return {};
  if (!reply.value().isObject()) {
    // 0 is a code like the others: it brings no position, and no failure.
    if (!reply.isCode()) reply.fail(Code::responseUnresolved);
    return {};
  }
  bool malformed = false;
  CartesianPosition position = internal::readCartesian(reply.value(), &malformed);
  if (!malformed) return position;
  reply.fail(Code::responseUnresolved);
  return {};
}

std::array<double, 6> BaseRobot::baseFrame(std::error_code& ec) noexcept {
  return Operation(impl(), ec).get("ix.coord.base_in_world").pose();
}

void BaseRobot::setBaseFrame(const Frame& frame, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "setBaseFrame {}", frame);
  Json::Value value;
  internal::writeFrame(frame, value);
  op.set("ix.coord.base_in_world", value);
  op.end("setBaseFrame end, Set base frame to {} ({})", frame, ec);
}

void BaseRobot::rebootSystem(std::error_code& ec) noexcept {
  Operation op(impl(), ec, "rebootSystem");
  op.command("utils.reboot").code();
  op.end("rebootSystem({})", ec);
}

void BaseRobot::shutdownSystem(std::error_code& ec) noexcept {
  Json::Value option;
  option["option"] = "shutdown";
  Operation(impl(), ec).command("utils.reboot", option).code();
}

void BaseRobot::clearServoAlarm(std::error_code& ec) noexcept {
  Operation(impl(), ec).command("sys.servo.clear_alarm").code();
}

void BaseRobot::recoverState(int item, std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  if (item == 1) {
    op.command("rsc.emer_stop.reset");
  } else {
    ec = Code::argumentInvalid;
  }
  op.note("recover state, item: {}, id: {}", item, ec);
}

void BaseRobot::setTeachPendantMode(bool enable, std::error_code& ec) noexcept {
  Operation op(impl(), ec);
  Json::Value parameters;
  parameters["with"] = enable;
  op.command("sys.set_teach_pendant", parameters).code();
  op.end("setTeachPendantMode, enable: {} ({})", enable, ec);
}

}  // namespace zivra
