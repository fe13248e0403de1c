#include "handlers/handlers.h"

namespace zivra::sim {

void Handlers::add(char form, const std::string& key, BatchHandler handler) {
  handlers_[{form, key}] = std::move(handler);
}

void Handlers::get(const std::string& key, Handler handler) {
  add(kGet, key, [handler = std::move(handler)](World& w, const Json::Value& parameter, const std::string&) {
    return handler(w, parameter);
  });
}

void Handlers::set(const std::string& key, Handler handler) {
  add(kSet, key, [handler = std::move(handler)](World& w, const Json::Value& parameter, const std::string&) {
    return handler(w, parameter);
  });
}

void Handlers::command(const std::string& key, Handler handler) {
  batch(key, [handler = std::move(handler)](World& w, const Json::Value& parameter, const std::string&) {
    return handler(w, parameter);
  });
}

void Handlers::batch(const std::string& key, BatchHandler handler) { add(kCommand, key, std::move(handler)); }

void Handlers::watch(const std::string& key) {
  // Who watches what belongs to the links; here it only matters that there is something to watch.
  add(kWatch, key,
      [](World&, const Json::Value& on, const std::string&) { return on.isBool() ? ok() : badParameter(); });
}

const BatchHandler* Handlers::find(char form, const std::string& key) const {
  const auto found = handlers_.find({form, key});
  return found == handlers_.end() ? nullptr : &found->second;
}

std::vector<std::string> Handlers::keys() const {
  std::vector<std::string> keys;
  for (const auto& [formAndKey, handler] : handlers_)
    keys.push_back(std::string{formAndKey.first, ' '} + formAndKey.second);
  return keys;
}

const Handlers& allHandlers() {
  static const Handlers& handlers = *[] {
    auto* h = new Handlers;
    addIdentityHandlers(*h);
    addPowerHandlers(*h);
    addModeHandlers(*h);
    addReadingHandlers(*h);
    addFrameHandlers(*h);
    addAlarmHandlers(*h);
    addRebootHandlers(*h);
    addSignalHandlers(*h);
    addProjectHandlers(*h);
    addProjectFileHandlers(*h);
    addMoveHandlers(*h);
    addMotionSettingHandlers(*h);
    addJogHandlers(*h);
    addPathCheckHandlers(*h);
    addSingularityHandlers(*h);
    addPanelHandlers(*h);
    addToolHandlers(*h);
    addKinematicsHandlers(*h);
    addGuidingHandlers(*h);
    addSafetyHandlers(*h);
    addWatchHandlers(*h);
    addRegisterHandlers(*h);
    addRailHandlers(*h);
    addCalibrationHandlers(*h);
    addClockHandlers(*h);
    addUserLogHandlers(*h);
    addEthercatHandlers(*h);
    addStreamHandlers(*h);
    addFileHandlers(*h);
    addForceControlHandlers(*h);
    return h;
  }();
  return handlers;
}

}  // namespace zivra::sim
