// What moves the arm: the client's moves, jogs, programs and hands; when it isn't let to, and what is told.
#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "world.h"

namespace zivra::sim {

namespace {

// The controller's own words. The code says it exactly; the words "finish" and "ik" have a meaning of their
// own to clients.
constexpr int kFirstInverseError = -41, kLastInverseError = -33, kInverseErrorBase = -32;

constexpr int kNeedsReset = -17320;    // a program has run
constexpr double kTolerableDrift = 5;  // Nm: with more the arm would move away under the hand

bool isInverseError(int code) { return code >= kFirstInverseError && code <= kLastInverseError; }

}  // namespace

int World::motionRefusal() const {
  if (safety.estopLatched) return -3;
  if (guiding.on()) return -18;
  if (mode != OperateMode::automatic) return -16;
  if (!powered_) return -17;
  if (taskSpace != TaskSpace::idle) return -18;
  if (force.running()) return -41459;
  return 0;
}

int World::startJog(Jog jog) {
  if (safety.estopLatched) return -3;
  if (taskSpace != TaskSpace::idle || guiding.on()) return -18;
  if (mode != OperateMode::manual) return -16;
  if (!powered_) return -17;
  if (force.running()) return -41459;
  jog.world = inverse(baseFrame_);
  if (const int code = motion.jog(jog); code != 0) return code;
  clearCollision();
  return 0;
}

int World::startProgram() {
  ProgramRunner& program = programs.runner;
  if (!program.loaded()) return -60005;
  if (program.running()) return -20;
  if (const int code = motionRefusal(); code != 0) return code;
  if (!program.atLine()) return -60014;
  if (motion.pending() && !program.usesMotion()) return -18;  // moves of the client's wait to be continued
  clearCollision();
  program.start(*this);
  return 0;
}

void World::forgetMoves() {
  unfinished_.clear();
  programs.runner.loseMoves();
}

int World::appendMoves(std::vector<Move> batch) {
  if (const int code = motionRefusal(); code != 0) return code;
  if (programs.runner.needsReset()) {
    // Clients read other codes than those of motionRefusal from notifications alone.
    reportMoveError(batch.front(), kNeedsReset);
    return kNeedsReset;
  }
  std::vector<Unfinished> appended;
  for (const Move& move : batch) appended.push_back({move.id, move.custom, move.point});
  if (const int code = motion.append(std::move(batch)); code != 0) return code;
  clearCollision();
  unfinished_.insert(unfinished_.end(), appended.begin(), appended.end());
  return 0;
}

int World::continueMoves() {
  if (!motion.pending()) return -1;
  if (programs.runner.needsReset()) return kNeedsReset;
  if (const int code = motionRefusal(); code != 0) return code;
  if (const int code = motion.start(); code != 0) return code;
  clearCollision();
  return 0;
}

void World::reportMoveError(const Move& move, int code) {
  MoveNotice notice;
  notice.id = move.id;
  notice.custom = move.custom;
  notice.point = move.point;
  notice.error = code;
  const std::string text = fmt::format("the move was rejected ({})", code);
  notify(notice, text);
  log(code, text);
}

void World::abortMotion(int code, const std::string& why, Ending ending) {
  ProgramRunner& program = programs.runner;
  if (program.running()) log(code, "the program was stopped: " + why);
  const bool movesOfClient = !program.usesMotion();
  program.loseMoves();
  const bool wasBusy =
      movesOfClient && (motion.jogging() ? motion.queued() > 0 : motion.pending() || motion.moving());
  leaveGuiding();
  protection.forgetRetreat();
  if (ending == Ending::soft) {
    motion.reset();
  } else {
    motion.halt();
  }
  force.abort(*this, code);
  if (wasBusy) {
    MoveNotice notice;
    if (!unfinished_.empty()) {
      notice.id = unfinished_.front().id;
      notice.custom = unfinished_.front().custom;
      notice.point = unfinished_.front().point;
    }
    notice.error = code;
    notify(notice, why);
  }
  unfinished_.clear();
}

int World::startGuiding(bool realTime, Guiding::Freedom freedom) {
  if (safety.estopLatched) return -3;
  if (realTime != (taskSpace == TaskSpace::realTime)) return -18;
  if (moving()) return -20;
  if (motion.pending()) return -18;
  if (force.running()) return -41459;
  if (realTime && !powered_) return -515;
  if (!realTime && mode != OperateMode::manual) return -16;
  if (!realTime && !guiding.on() && (powered_ || safety.gateOpen || safety.servoAlarm)) return -515;
  for (const double drift : protection.torqueDrift) {
    if (std::abs(drift) > kTolerableDrift) return -10040;
  }
  clearCollision();
  powered_ = true;
  guiding.begin(freedom);
  return 0;
}

int World::endGuiding(bool realTime) {
  if (realTime != (taskSpace == TaskSpace::realTime)) return -18;
  leaveGuiding();
  return 0;
}

void World::leaveGuiding() {
  if (!guiding.on()) return;
  motion.halt();
  guiding.end(-342);
  if (taskSpace == TaskSpace::idle) powered_ = false;
}

void World::advance(double seconds) {
  ethercat.advance(seconds);
  time += seconds;
  // In pieces while a program runs, so that what a line brings about begins when the line is reached.
  do {
    const bool program = programs.runner.running();
    const double piece = program ? std::min(seconds, ProgramRunner::kLineTime) : seconds;
    advanceMotion(piece);
    programs.runner.advance(*this, piece);
    seconds -= piece;
  } while (seconds > 0);
}

void World::advanceMotion(double seconds) {
  for (const MoveNotice& notice : motion.advance(seconds)) {
    if (notice.jog) {
      log(notice.error, fmt::format("the jog ended before its step was done ({})", notice.error));
      continue;
    }
    if (programs.runner.usesMotion()) {
      programs.runner.notice(*this, notice);
      continue;
    }
    if (notice.error != 0) {
      unfinished_.clear();
      const std::string text = fmt::format("the move failed ({})", notice.error);
      notify(notice, text);
      log(notice.error, text);
      continue;
    }
    if (notice.finish && !unfinished_.empty()) unfinished_.pop_front();
    notify(notice, "started");
  }
  protection.advance(*this);
  force.advance(*this, seconds);
  guiding.advance(*this, seconds);
}

void World::notify(const MoveNotice& notice, const std::string& text) {
  Json::Value payload(Json::objectValue);
  Json::Value& data = payload["data"];
  data["id"] = notice.custom.empty() ? notice.id : notice.id + "*" + notice.custom;
  data["point"] = notice.point;
  if (notice.error != 0) {
    const bool inverse = isInverseError(notice.error);
    payload["error"] = inverse ? notice.error - kInverseErrorBase : notice.error;
    data["msg"] = inverse ? "ik failed" : text;
  } else if (notice.finish) {
    data["msg"] = notice.remark == 0 ? "finish" : fmt::format("finish:{}", notice.remark);
  } else {
    data["msg"] = text;
  }
  push("move.last_error_with_setting", std::move(payload));
}

}  // namespace zivra::sim
