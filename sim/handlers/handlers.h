// The requests that the simulated controller answers, and how a handler says what it has to say. Handlers run
// with the world's mutex held, on the network thread; they neither send nor wait.
#pragma once

#include <functional>
#include <json/json.h>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "world.h"

namespace zivra::sim {

struct Reply {
  Json::Value value;
  Ticket later = 0;  // not 0: the value comes with World::answerLater
};

inline Reply ok() { return {0}; }
inline Reply refuse(int code) { return {code}; }
inline Reply result(int code) { return {code}; }  // 0 or a refusal
inline Reply badParameter() { return refuse(-260); }
inline Reply answer(Json::Value value) { return {std::move(value)}; }
// The two forms of an answer in an object: what was asked for, or what went wrong and why.
inline Reply data(Json::Value content) {
  Json::Value value(Json::objectValue);
  value["data"] = std::move(content);
  return answer(std::move(value));
}
inline Reply failure(int code, const std::string& why) {
  Json::Value value(Json::objectValue);
  value["error"] = code;
  value["data"]["msg"] = why;
  return answer(std::move(value));
}
inline Reply later(Ticket ticket) { return {Json::Value(), ticket}; }

using Handler = std::function<Reply(World&, const Json::Value& parameter)>;
using BatchHandler = std::function<Reply(World&, const Json::Value& parameter, const std::string& requestId)>;

// The forms of a request, by the letter of their body.
inline constexpr char kGet = 'g', kSet = 's', kCommand = 'c', kWatch = 'w';

class Handlers {
 public:
  void get(const std::string& key, Handler handler);
  void set(const std::string& key, Handler handler);
  void command(const std::string& key, Handler handler);
  void batch(const std::string& key, BatchHandler handler);  // a command whose id matters
  void watch(const std::string& key);                        // a key of pushes

  // Null: no such request.
  const BatchHandler* find(char form, const std::string& key) const;
  std::vector<std::string> keys() const;  // "c sys.power.on"

 private:
  void add(char form, const std::string& key, BatchHandler handler);

  std::map<std::pair<char, std::string>, BatchHandler> handlers_;
};

// One registry for the process, made on first use and never destroyed.
const Handlers& allHandlers();

void addIdentityHandlers(Handlers& h);
void addPowerHandlers(Handlers& h);
void addModeHandlers(Handlers& h);
void addReadingHandlers(Handlers& h);
void addFrameHandlers(Handlers& h);
void addAlarmHandlers(Handlers& h);
void addRebootHandlers(Handlers& h);
void addSignalHandlers(Handlers& h);
void addProjectHandlers(Handlers& h);
void addProjectFileHandlers(Handlers& h);
void addMoveHandlers(Handlers& h);
void addMotionSettingHandlers(Handlers& h);
void addJogHandlers(Handlers& h);
void addPathCheckHandlers(Handlers& h);
void addSingularityHandlers(Handlers& h);
void addPanelHandlers(Handlers& h);
void addToolHandlers(Handlers& h);
void addKinematicsHandlers(Handlers& h);
void addGuidingHandlers(Handlers& h);
void addSafetyHandlers(Handlers& h);
void addWatchHandlers(Handlers& h);
void addRegisterHandlers(Handlers& h);
void addRailHandlers(Handlers& h);
void addCalibrationHandlers(Handlers& h);
void addClockHandlers(Handlers& h);
void addUserLogHandlers(Handlers& h);
void addEthercatHandlers(Handlers& h);
void addStreamHandlers(Handlers& h);
void addFileHandlers(Handlers& h);
void addForceControlHandlers(Handlers& h);

}  // namespace zivra::sim
