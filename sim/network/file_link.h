// The file link: takes the bytes of the file that was announced, checks them and says how they arrived.
//
// Threads: the hooks run on the network thread of their server; faults may be laid from any thread.
#pragma once

#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

#include "network/fault_list.h"
#include "network/server.h"
#include "world.h"
#include "zivra/sim/controller.h"

namespace zivra::sim {

class FileLink {
 public:
  FileLink(World& world, std::mutex& worldMutex) : world_(world), worldMutex_(worldMutex) {}

  ServerHooks hooks();
  FaultList<FileFault>& faults() { return faults_; }

 private:
  void take(LinkId link, std::string_view bytes);
  void finish(LinkId link);
  void acknowledge(LinkId link, bool good);
  void forget(LinkId link);

  World& world_;
  std::mutex& worldMutex_;
  FaultList<FileFault> faults_;
  std::optional<FileFault> ails_;  // the file that comes in
  std::vector<Delivery> outbox_;
};

}  // namespace zivra::sim
