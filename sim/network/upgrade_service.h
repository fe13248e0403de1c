// The upgrade and backup service: packets of its own, a package in and a verdict out, a request in and a
// backup out.
//
// Threads: the hooks run on the network thread of their server; the rest may be called from any thread.
#pragma once

#include <cstdint>
#include <json/json.h>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "network/fault_list.h"
#include "network/server.h"
#include "world.h"
#include "zivra/sim/controller.h"

namespace zivra::sim {

class UpgradeService {
 public:
  UpgradeService(World& world, std::mutex& worldMutex) : world_(world), worldMutex_(worldMutex) {}

  ServerHooks hooks();
  FaultList<UpgradeFault>& faults() { return faults_; }
  std::vector<std::string> packages() const;  // digests

 private:
  void take(LinkId link, std::string_view bytes);
  // What is to go out, packet by packet.
  std::vector<std::string> answersToPackage(std::string_view payload);
  std::vector<std::string> answersToRequest(std::string_view payload);
  std::string judge(std::string_view package, const std::string& digest);
  void send(LinkId link, const std::vector<std::string>& packets);
  bool ails(UpgradeFault::Kind kind) { return faults_.take(kind).has_value(); }

  World& world_;
  std::mutex& worldMutex_;
  FaultList<UpgradeFault> faults_;
  std::map<LinkId, std::string> arrived_;
  std::vector<Delivery> outbox_;

  mutable std::mutex packagesMutex_;
  std::vector<std::string> packages_;
};

}  // namespace zivra::sim
