// Guiding by hand, and the paths recorded by it.
#include <zivra/robot.h>

#include "core/json.h"
#include "robot/operation.h"

namespace zivra {

using internal::Operation;

namespace {

constexpr const char* realTimeKey = "eci.drag";

// Under real-time control another part of the controller guides the arm. A state that can't be read counts as
// any other one; the request that follows tells what is wrong with the link.
const char* dragKey(XService& service) {
  std::error_code ignored;
  const auto state = internal::readOperationState(service, ignored);
  return state == OperationState::rtControlling ? realTimeKey : "sys.drag";
}

Json::Value dragRequest(bool enable, DragParameter::Space space, DragParameter::Type type) {
  Json::Value request;
  request["enable"] = enable;
  request["space"] = static_cast<int>(space);
  request["type"] = static_cast<int>(type);
  return request;
}

}  // namespace

void BaseCobot::enableDrag(DragParameter::Space space, DragParameter::Type type, std::error_code& ec,
                           bool quick) noexcept {
  Operation op(impl(), ec, "enableDrag {}, {}", space, type);
  if (space == DragParameter::Space::jointSpace && type != DragParameter::Type::freely) {
    ec = Code::argumentInvalid;
    op.error("enableDrag not freely in joint space ({})", ec);
    return;
  }
  const char* key = dragKey(*impl().service);
  Json::Value request = dragRequest(true, space, type);
  request["quick"] = quick;
  auto reply = op.command(key, request);
  // A refused drag may be under way all the same: ending it has to name what was asked for last.
  impl().dragSpace = space;
  impl().dragType = type;
  reply.code();
  op.end("enableDrag end, rt:{} ({})", key == realTimeKey, ec);
}

void BaseCobot::disableDrag(std::error_code& ec) noexcept {
  Operation op(impl(), ec, "disableDrag");
  const char* key = dragKey(*impl().service);
  op.command(key, dragRequest(false, impl().dragSpace, impl().dragType)).code();
  op.end("disableDrag end, rt:{} ({})", key == realTimeKey, ec);
}

void BaseCobot::startRecordPath(int duration, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "startRecordPath {}", duration);
  Json::Value request;
  request["type"] = "time";
  request["duration"] = duration;
  request["signals"] = Json::Value(Json::arrayValue);
  op.command("move.record.start", request).code();
  op.end("startRecordPath end, duration: {}s ({})", duration, ec);
}

void BaseCobot::stopRecordPath(std::error_code& ec) noexcept {
  Operation op(impl(), ec, "stopRecordPath");
  op.command("move.record.stop").code();
  op.end("stopRecordPath end ({})", ec);
}

void BaseCobot::cancelRecordPath(std::error_code& ec) noexcept {
  Operation(impl(), ec).command("move.record.cancel").code();
}

void BaseCobot::saveRecordPath(const std::string& name, std::error_code& ec,
                               const std::string& saveAs) noexcept {
  Operation op(impl(), ec, "saveRecordPath {}, {}", name, saveAs);
  Json::Value request;
  request["name"] = name;
  if (!saveAs.empty()) request["as"] = saveAs;
  op.command("move.record.save", request).code();
  op.end("saveRecordPath end, name: {}, saveAs: {} ({})", name, saveAs, ec);
}

void BaseCobot::replayPath(const std::string& name, double rate, std::error_code& ec) noexcept {
  Operation op(impl(), ec, "replayPath {}, {}", name, rate);
  if (const auto motion = impl().motionForMoves(ec)) {
    Json::Value replay;
    replay["name"] = name;
    replay["rate"] = rate;
    motion->appendReplay(replay);
    op.end("replayPath end, name: {}, rate: {} ({})", name, rate, ec);
  } else if (ec == Code::motionControlMode) {
    op.error("replayPath control mode error {} ({})", impl().mode.load(), ec);
  }
}

void BaseCobot::removePath(const std::string& name, std::error_code& ec, bool removeAll) noexcept {
  Operation op(impl(), ec, "removePath {}, {}", name, removeAll);
  if (removeAll) {
    op.command("move.record.remove.all").code();
  } else {
    op.command("move.record.remove", name).code();
  }
  op.end("removePath end, name: {}, removeAll: {} ({})", name, removeAll, ec);
}

std::vector<std::string> BaseCobot::queryPathLists(std::error_code& ec) noexcept {
  return Operation(impl(), ec).get("move.record.paths").texts();
}

}  // namespace zivra
