// The one state of the simulated controller: what one request changes, all others show. Knows nothing of
// links and locks: whoever calls holds the world's mutex.
#pragma once

#include <cstdint>
#include <deque>
#include <json/json.h>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ethercat.h"
#include "files.h"
#include "force/force_control.h"
#include "guiding.h"
#include "motion/motion.h"
#include "panel.h"
#include "programs/programs.h"
#include "protection.h"
#include "rail.h"
#include "registers.h"
#include "robot_models.h"
#include "signals.h"
#include "stream/state_stream.h"
#include "tools.h"
#include "user_log.h"
#include "wall_clock.h"

namespace zivra::sim {

struct Identity {
  std::string id, mac, version, address;
  RobotModel model;
  int rtPort = 0;
  int statePort = 1338;  // of the state datagrams
};

enum class OperateMode { manual, automatic };
enum class TaskSpace { idle, realTime };
enum class Restart { none, reboot, shutdown };

struct Safety {
  bool estopPressed = false;
  bool estopLatched = false;  // stays after the button until it is reset
  bool gateOpen = false;
  bool servoAlarm = false;
  bool collided = false;
};

// Something that the controller tells of its own accord to the links that watch the key.
struct Push {
  std::string key;
  Json::Value payload;
};

// An answer that comes later than its request: the handler gives a ticket in its place.
using Ticket = std::uint64_t;
struct LateAnswer {
  Ticket ticket;
  Json::Value value;
};

class World {
 public:
  explicit World(const Options& options);

  Identity identity;
  Motion motion;
  OperateMode mode = OperateMode::manual;
  TaskSpace taskSpace = TaskSpace::idle;
  Safety safety;
  Signals signals;
  Panel panel;
  Registers registers;
  Rail rail;
  WallClock clock;
  UserLog userLog;
  EthercatBus ethercat;
  Guiding guiding;
  Protection protection;
  std::string localAddress;  // where the client wants its state datagrams
  StateStream stream;
  double time = 0;  // s, simulated, since switching on
  bool teachPendant = true;
  Programs programs;
  Restart restart = Restart::none;
  std::vector<Push> pushes;  // not handed out yet
  ToolStore tools;
  std::optional<IncomingFile> incoming;  // the latest that was announced and isn't here yet
  std::optional<ReceivedFile> received;  // the latest file of the file link, whole and with the right digest
  ForceControl force;

  // As after switching on: power off, manual mode, no moves, default settings. What is mechanical (the
  // joints, the pressed button, the open gate) and what is stored (the base frame) stays.
  void boot();

  bool powered() const { return powered_; }
  bool moving() const { return motion.moving() || programs.runner.running() || guiding.moving(); }
  const char* powerText() const;
  const char* modeText() const;
  const char* stateText() const;
  // As they are read: simulated inputs as they are simulated, the system's signals as the state has it.
  Signals signalsShown() const;

  int switchPowerOn();  // 0 or the code of the refusal
  void switchPowerOff();
  void pressEmergencyStop();
  int resetEmergencyStop();
  void openGate(bool open);
  void raiseServoAlarm();
  void collide();
  void noteCollision();  // and tells of it
  void clearAlarms();

  const Pose& baseFrame() const { return baseFrame_; }
  void setBaseFrame(const Pose& frame);
  void setToolset(const Toolset& toolset);  // for poses and for the moves that are appended from now on
  Pose referenceInBase(const Toolset& toolset) const;
  Joints torques() const;  // Nm: what holds the arm and its load

  // 0 if moves are allowed now, else the code of the refusal.
  int motionRefusal() const;
  int startJog(Jog jog);  // 0 or the code of the refusal
  // 0 or the code of a refusal; a move that can't be planned is accepted and reported when its turn comes.
  int appendMoves(std::vector<Move> batch);
  int continueMoves();  // 0 or the code of a refusal
  void reportMoveError(const Move& move, int code);
  // Motion ends, at once or as fast as the arm can without a jerk, and the queue is gone; the client hears
  // why if there was anything to do.
  enum class Ending { atOnce, soft };
  void abortMotion(int code, const std::string& why, Ending ending = Ending::atOnce);
  void forgetMoves();
  int startProgram();  // 0 or the code of the refusal

  // 0 or the code of the refusal. In real time the motors are on before and after; otherwise guiding switches
  // them.
  int startGuiding(bool realTime, Guiding::Freedom freedom);
  int endGuiding(bool realTime);
  void leaveGuiding();

  // Something happens without a request.
  bool busy() const {
    return moving() || (motion.started() && motion.pending()) || ethercat.busy() || force.running() ||
           guiding.busy();
  }
  void advance(double seconds);

  void push(const std::string& key, Json::Value payload);
  void log(int code, const std::string& text);  // for the user's eyes: into the user log, and pushed
  void note(const std::string& text);           // into the user log only

  Ticket takeTicket() { return ++lastTicket_; }
  void answerLater(Ticket ticket, Json::Value value) { lateAnswers.push_back({ticket, std::move(value)}); }
  std::vector<LateAnswer> lateAnswers;                        // not handed out yet
  void abandon(Ticket ticket) { force.abandonWait(ticket); }  // its link has gone

 private:
  struct Unfinished {
    std::string id, custom;
    int point;
  };
  void advanceMotion(double seconds);
  void cutPower(int code, const std::string& why);
  void clearCollision();
  void notify(const MoveNotice& notice, const std::string& text);

  bool powered_ = false;
  Ticket lastTicket_ = 0;  // 0 is none
  Pose baseFrame_;
  std::deque<Unfinished> unfinished_;  // commands that the client waits to hear of, in order
};

}  // namespace zivra::sim
