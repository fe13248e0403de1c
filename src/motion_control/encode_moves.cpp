#include "motion_control/encode_moves.h"

#include <type_traits>

#include "core/json_text.h"
#include "core/wire_forms.h"

namespace zivra::internal {

namespace {

template <class T, class AppendBody>
void appendBatch(JsonText& json, const std::vector<T>& commands, AppendBody appendBody) {
  if (commands.size() == 1) {
    appendBody(commands.front());
    return;
  }
  json.beginObject().key("path").beginArray();
  for (const T& command : commands) appendBody(command);
  json.endArray().endObject();
}

void appendCustom(JsonText& json, const NrtCommand& command) {
  if (!command.customInfo.empty()) json.key("custom").text(command.customInfo);
}

// -1 means not given. Speed and zone are left out for exactly -1, the two others for anything negative, so
// that the object may be empty.
void appendTraj(JsonText& json, const NrtCommand& command, double jointSpeed, double rotSpeed) {
  const bool speedGiven = command.speed != -1;
  const bool zoneGiven = command.zone != -1;
  if (!speedGiven && !zoneGiven && jointSpeed == -1 && rotSpeed == -1) return;
  json.key("traj").beginObject();
  if (jointSpeed >= 0) json.key("jnt_speed").number(jointSpeed);
  if (rotSpeed >= 0) json.key("rot_speed").number(rotSpeed);
  if (speedGiven) json.key("speed").number(command.speed / speedAndZoneScale);
  if (zoneGiven) json.key("zone").number(command.zone / speedAndZoneScale);
  json.endObject();
}

void appendJoint(JsonText& json, const std::vector<MoveAbsJCommand>& commands) {
  appendBatch(json, commands, [&](const MoveAbsJCommand& command) {
    json.beginObject();
    appendCustom(json, command);
    json.key("point").beginArray();
    for (const double angle : command.jointTarget.joints) json.number(angle);
    for (const double position : command.jointTarget.external) json.number(position);
    json.endArray();
    appendTraj(json, command, command.jointSpeed, -1);
    json.endObject();
  });
}

template <class T>  // MoveJCommand, MoveLCommand
void appendPosture(JsonText& json, const std::vector<T>& commands) {
  appendBatch(json, commands, [&](const T& command) {
    double jointSpeed = -1;
    double rotSpeed = -1;
    if constexpr (std::is_same_v<T, MoveJCommand>) jointSpeed = command.jointSpeed;
    if constexpr (std::is_same_v<T, MoveLCommand>) rotSpeed = command.rotSpeed;
    json.beginObject();
    appendCustom(json, command);
    json.key("point");
    appendPoint(command.cartTarget, command.cartTargetOffset, json);
    appendTraj(json, command, jointSpeed, rotSpeed);
    json.endObject();
  });
}

template <class T>  // MoveCCommand, MoveCFCommand
void appendCircle(JsonText& json, const std::vector<T>& commands) {
  appendBatch(json, commands, [&](const T& command) {
    json.beginObject().key("aux");
    appendPoint(command.auxPoint, command.auxPointOffset, json);
    if constexpr (std::is_same_v<T, MoveCFCommand>) {
      json.key("circle").beginObject();
      json.key("angle").number(command.angle);
      json.key("rot_type").text(rotTypeText(command.rotType));
      json.endObject();
    }
    appendCustom(json, command);
    json.key("point");
    appendPoint(command.cartTarget, command.cartTargetOffset, json);
    appendTraj(json, command, -1, command.rotSpeed);
    json.endObject();
  });
}

void appendSpiral(JsonText& json, const std::vector<MoveSPCommand>& commands) {
  appendBatch(json, commands, [&](const MoveSPCommand& command) {
    json.beginObject();
    appendCustom(json, command);
    json.key("point");
    appendPoint(command.cartTarget, command.cartTargetOffset, json);
    json.key("spiral").beginObject();
    json.key("angle").number(command.angle);
    json.key("dir").boolean(command.direction);
    json.key("radius").number(command.radius);
    json.key("step").number(command.radiusStep);
    json.endObject();
    appendTraj(json, command, -1, command.rotSpeed);
    json.endObject();
  });
}

void appendWait(JsonText& json, const MoveWaitCommand& command) {
  const auto wholeMs = std::chrono::duration_cast<std::chrono::milliseconds>(command.duration);
  json.beginObject();
  json.key("time").number(static_cast<double>(wholeMs.count()) / 1000.0);
  json.endObject();
}

void logMove(const MoveAbsJCommand& command, const MotionLog& log) {
  log.info("uid: {} | Process joints {}, s:{}, z:{}, js:{}", command.jointTarget.joints, command.speed,
           command.zone, command.jointSpeed);
}

void logPosture(const NrtCommand& command, const CartesianPosition& target,
                const CartesianPosition::Offset& offset, double jointSpeed, const MotionLog& log) {
  log.info("uid: {} | Process posture {} {}, s:{}, z:{}, js:{}", target, offset, command.speed, command.zone,
           jointSpeed);
}

void logMove(const MoveJCommand& command, const MotionLog& log) {
  logPosture(command, command.cartTarget, command.cartTargetOffset, command.jointSpeed, log);
}

void logMove(const MoveLCommand& command, const MotionLog& log) {
  logPosture(command, command.cartTarget, command.cartTargetOffset, -1, log);
}

void logMove(const MoveCCommand& command, const MotionLog& log) {
  log.info("uid: {} | Process circle {} {}, aux {} {}, s:{}, z:{}, rs:{}, {}", command.cartTarget,
           command.cartTargetOffset, command.auxPoint, command.auxPointOffset, command.speed, command.zone,
           command.rotSpeed, -1);
}

void logMove(const MoveCFCommand& command, const MotionLog& log) {
  logMove(static_cast<const MoveCCommand&>(command), log);
  log.info("uid: {} | full circle: {}, {}", command.angle, rotTypeText(command.rotType));
}

void logMove(const MoveSPCommand& command, const MotionLog& log) {
  log.info("uid: {} | Process spiral {} {}, r:{},rs:{},a:{},d:{}, s:{}, z:{}, rs:{}", command.cartTarget,
           command.cartTargetOffset, command.radius, command.radiusStep, command.angle, command.direction,
           command.speed, command.zone, command.rotSpeed);
}

void logMove(const MoveWaitCommand&, const MotionLog&) {}

// Enough for a point with a few members, so that a batch is written without moving the text.
constexpr std::size_t usualBodyBytes = 256;

}  // namespace

const char* rotTypeText(MoveCFCommand::RotType type) {
  switch (type) {
    case MoveCFCommand::RotType::rotAxis:
      return "rot_axis";
    case MoveCFCommand::RotType::fixedAxis:
      return "fixed_axis";
    case MoveCFCommand::RotType::constPose:
      break;
  }
  return "const_pose";
}

std::string nextCommandId(const char* prefix) {
  std::string id = prefix;
  id += '#';
  id += fmt::format_int(nextCommandNumber()).c_str();
  return id;
}

template <class T>
void appendMoves(std::string& out, const std::vector<T>& commands) {
  out.reserve(out.size() + commands.size() * usualBodyBytes);
  JsonText json(out);
  if constexpr (std::is_same_v<T, MoveAbsJCommand>) {
    appendJoint(json, commands);
  } else if constexpr (std::is_same_v<T, MoveJCommand> || std::is_same_v<T, MoveLCommand>) {
    appendPosture(json, commands);
  } else if constexpr (std::is_base_of_v<MoveCCommand, T>) {
    appendCircle(json, commands);
  } else if constexpr (std::is_same_v<T, MoveSPCommand>) {
    appendSpiral(json, commands);
  } else {
    appendWait(json, commands.front());
  }
}

template <class T>
void logMoves(const std::vector<T>& commands, const MotionLog& log) {
  for (const T& command : commands) logMove(command, log);
}

template void appendMoves(std::string&, const std::vector<MoveAbsJCommand>&);
template void logMoves(const std::vector<MoveAbsJCommand>&, const MotionLog&);
template void appendMoves(std::string&, const std::vector<MoveJCommand>&);
template void logMoves(const std::vector<MoveJCommand>&, const MotionLog&);
template void appendMoves(std::string&, const std::vector<MoveLCommand>&);
template void logMoves(const std::vector<MoveLCommand>&, const MotionLog&);
template void appendMoves(std::string&, const std::vector<MoveCCommand>&);
template void logMoves(const std::vector<MoveCCommand>&, const MotionLog&);
template void appendMoves(std::string&, const std::vector<MoveCFCommand>&);
template void logMoves(const std::vector<MoveCFCommand>&, const MotionLog&);
template void appendMoves(std::string&, const std::vector<MoveSPCommand>&);
template void logMoves(const std::vector<MoveSPCommand>&, const MotionLog&);
template void appendMoves(std::string&, const std::vector<MoveWaitCommand>&);
template void logMoves(const std::vector<MoveWaitCommand>&, const MotionLog&);

}  // namespace zivra::internal
