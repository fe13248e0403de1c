#include "backup.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <map>

#include "handlers/values.h"
#include "network/json_text.h"

namespace zivra::sim {

namespace {

constexpr std::size_t kBlock = 512;

// One entry of a tar archive, as POSIX has it. The time is always the same, so that equal worlds have equal
// backups.
std::string entry(const std::string& name, const std::string& content) {
  std::array<char, kBlock> head{};
  const auto put = [&head](std::size_t at, const std::string& text) {
    std::copy(text.begin(), text.end(), head.begin() + static_cast<std::ptrdiff_t>(at));
  };
  put(0, name);
  put(100, "0000644");
  put(108, "0000000");
  put(116, "0000000");
  put(124, fmt::format("{:011o}", content.size()));
  put(136, "00000000000");
  put(148, "        ");
  put(156, "0");
  put(257, "ustar");
  put(263, "00");
  unsigned sum = 0;
  for (const char byte : head) sum += static_cast<unsigned char>(byte);
  put(148, fmt::format("{:06o}", sum));
  head[154] = '\0';
  std::string bytes(head.begin(), head.end());
  bytes += content;
  bytes.append((kBlock - content.size() % kBlock) % kBlock, '\0');
  return bytes;
}

using Files = std::map<std::string, std::string>;

std::string text(const Json::Value& value) { return writeJson(value) + '\n'; }

Files settings(World& world) {
  Json::Value moves(Json::objectValue);
  moves["speed"] = world.motion.defaults().speed;
  moves["zone"] = world.motion.defaults().zone;
  moves["force_conf"] = world.motion.defaults().forceConf;
  return {{"moves.json", text(moves)}};
}

Files robotConfig(World& world) {
  Json::Value robot(Json::objectValue);
  robot["id"] = world.identity.id;
  robot["model"] = std::string(world.identity.model.name);
  robot["axes"] = static_cast<Json::UInt64>(world.identity.model.axes);
  robot["version"] = world.identity.version;
  return {{"robot.json", text(robot)}, {"local_cfg.json", text(poseJson(world.baseFrame()))}};
}

Files controllerLog(World& world) {
  return {{"controller.log", fmt::format("{} is {}, power {}, {}\n", world.identity.id, world.stateText(),
                                         world.powerText(), world.modeText())}};
}

Files systemLog(World& world) {
  return {{"syslog", fmt::format("controller {} on {}\n", world.identity.version, world.identity.address)}};
}

Files projects(World& world) {
  Files files;
  for (const auto& [name, project] : world.programs.projects.all())
    for (const auto& [path, bytes] : filesOf(project)) files[name + '/' + path] = bytes;
  return files;
}

Files nothing(World&) { return {}; }

using Item = Files (*)(World&);
const std::map<std::string, Item>& items() {
  static const auto& all = *new std::map<std::string, Item>{
      {"interactive", settings}, {"robot_cfg", robotConfig}, {"log", controllerLog},
      {"syslog", systemLog},     {"project", projects},      {"historical_engineering", nothing},
      {"sdk_path", nothing},
  };
  return all;
}

}  // namespace

std::string backUp(World& world, const std::vector<BackupRequest>& requests, Json::Value& result) {
  std::map<std::string, std::string> entries;
  for (const BackupRequest& request : requests) {
    const auto item = items().find(request.name);
    if (item == items().end()) {
      result[request.name] = "no such item";
      continue;
    }
    result[request.name] = "ok";
    for (auto& [name, content] : item->second(world)) {
      const std::string stem = name.substr(0, name.rfind('.'));
      const auto& without = request.exclude;
      if (std::find(without.begin(), without.end(), stem) != without.end()) continue;
      // A name that tar's short form has no room for is cut.
      entries[(request.name + '/' + name).substr(0, 99)] = content;
    }
  }
  std::string archive;
  for (const auto& [name, content] : entries) archive += entry(name, content);
  return archive.append(2 * kBlock, '\0');
}

}  // namespace zivra::sim
