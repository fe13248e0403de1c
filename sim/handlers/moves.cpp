// Batches of moves and the running of the motion queue.
#include <vector>

#include "handlers/handlers.h"
#include "handlers/points.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

constexpr Json::ArrayIndex kLargestBatch = 100;

bool readSpiral(const Json::Value& spiral, Move& move) {
  const auto radius = readNumber(member(spiral, "radius"));
  const auto step = readNumber(member(spiral, "step"));
  const auto angle = readNumber(member(spiral, "angle"));
  const auto direction = readFlag(member(spiral, "dir"));
  if (!radius || !step || !angle || !direction) return false;
  move.radius = *radius;
  move.step = *step;
  move.angle = *angle;
  move.direction = *direction;
  return true;
}

bool readTrajectory(const Json::Value& trajectory, Move& move) {
  return (trajectory.isNull() || trajectory.isObject()) && readOptional(trajectory, "speed", move.speed) &&
         readOptional(trajectory, "zone", move.zone) &&
         readOptional(trajectory, "jnt_speed", move.jointSpeed) &&
         readOptional(trajectory, "rot_speed", move.rotSpeed);
}

bool readReplay(const World& w, const Json::Value& body, Move& move) {
  const auto name = readText(member(body, "name"));
  const auto rate = readNumber(member(body, "rate"));
  if (!name || !rate) return false;
  move.path = w.guiding.recorder.path(*name);
  move.rate = *rate;
  return true;
}

bool readBody(const World& w, const Json::Value& body, Move& move) {
  if (!body.isObject()) return false;
  if (move.kind == MoveKind::wait) {
    const auto seconds = readNumber(member(body, "time"));
    move.waitSeconds = seconds.value_or(-1);
    return move.waitSeconds >= 0;
  }
  if (move.kind == MoveKind::replay) return readReplay(w, body, move);
  if (const Json::Value& custom = member(body, "custom"); !custom.isNull()) {
    if (!custom.isString()) return false;
    move.custom = custom.asString();
  }
  if (!readTrajectory(member(body, "traj"), move)) return false;
  const Json::Value& point = member(body, "point");
  if (move.kind == MoveKind::absJ) {
    const auto joints = readNumbers(point, 0);
    if (!joints) return false;
    move.joints = *joints;
    const std::size_t axes = w.motion.arm().axes();
    if (move.joints.size() > axes) move.joints.resize(axes);  // what follows is for external axes
    return true;
  }
  if (!readTarget(point, move.target)) return false;
  const bool hasAux = move.kind == MoveKind::circle || move.kind == MoveKind::fullCircle;
  if (hasAux && !readTarget(member(body, "aux"), move.aux)) return false;
  if (move.kind == MoveKind::fullCircle) return readCircle(member(body, "circle"), move);
  if (move.kind == MoveKind::spiral) return readSpiral(member(body, "spiral"), move);
  return true;
}

// A client hears nothing of a malformed batch in its reply, so it is notified as well.
Reply malformed(World& w, const Move& move) {
  w.reportMoveError(move, -260);
  return badParameter();
}

Reply appendMoves(World& w, MoveKind kind, const Json::Value& value, const std::string& id) {
  const Json::Value& path = member(value, "path");
  const bool many = !path.isNull();
  Move move;
  move.kind = kind;
  move.id = id;
  if (many && (!path.isArray() || path.empty() || path.size() > kLargestBatch)) return malformed(w, move);
  std::vector<Move> batch;
  const Json::ArrayIndex count = many ? path.size() : 1;
  for (Json::ArrayIndex i = 0; i < count; ++i) {
    Move next = move;
    next.point = static_cast<int>(i);
    next.lastOfBatch = i + 1 == count;
    if (!readBody(w, many ? path[i] : value, next)) return malformed(w, next);
    batch.push_back(std::move(next));
  }
  return result(w.appendMoves(std::move(batch)));
}

Reply continueMoves(World& w, const Json::Value&) { return result(w.continueMoves()); }

// Whatever moves the arm comes to rest; a jog ends by it. -1: nothing to pause, or it is stopping already.
Reply pauseMoves(World& w, const Json::Value&) {
  if (w.programs.runner.running()) {
    w.programs.runner.pause(w);
    return ok();
  }
  if (w.motion.stopping()) return refuse(-1);
  if (w.motion.jogging()) {
    w.motion.stop();
    return ok();
  }
  if (!w.motion.started()) return refuse(-1);
  w.motion.pause();
  return ok();
}

Reply stopMoves(World& w, const Json::Value& parameter) {
  if (!parameter.isNull() && !readNumber(member(parameter, "task_space"))) return badParameter();
  if (w.motion.stopping()) return refuse(-1);
  if (!w.motion.jogging()) w.forgetMoves();  // a jog leaves them in the queue
  w.motion.stop();
  return ok();
}

Reply resetMoves(World& w, const Json::Value& parameter) {
  if (!parameter.isNull() && !readFlag(member(parameter, "remain_traj"))) return badParameter();
  w.motion.reset();  // the arm decelerates along its path either way
  w.forgetMoves();
  w.programs.runner.queueWasReset();
  return ok();
}

}  // namespace

void addMoveHandlers(Handlers& h) {
  constexpr std::pair<const char*, MoveKind> kKinds[] = {
      {"move.j", MoveKind::absJ},    {"move.jc", MoveKind::joint},      {"move.l", MoveKind::line},
      {"move.c", MoveKind::circle},  {"move.cf", MoveKind::fullCircle}, {"move.sp", MoveKind::spiral},
      {"move.wait", MoveKind::wait}, {"move.replay", MoveKind::replay}};
  for (const auto& [key, kind] : kKinds)
    h.batch(key, [kind = kind](World& w, const Json::Value& value, const std::string& id) {
      return appendMoves(w, kind, value, id);
    });
  h.command("move.continue", continueMoves);
  h.command("move.pause", pauseMoves);
  h.command("move.stop", stopMoves);
  h.command("move.reset", resetMoves);
}

}  // namespace zivra::sim
