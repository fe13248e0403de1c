// Faults of one kind of link, waiting for what they hit. Any thread may call anything.
#pragma once

#include <list>
#include <mutex>
#include <optional>

namespace zivra::sim {

template <typename Fault>
class FaultList {
 public:
  void add(const Fault& fault) {
    std::lock_guard lock(mutex_);
    if (fault.times != 0) faults_.push_back(fault);
  }
  void clear() {
    std::lock_guard lock(mutex_);
    faults_.clear();
  }
  // The first of the kind, or of any kind; counts as a hit.
  std::optional<Fault> take(std::optional<typename Fault::Kind> kind = {}) {
    std::lock_guard lock(mutex_);
    for (auto at = faults_.begin(); at != faults_.end(); ++at) {
      if (kind && at->kind != *kind) continue;
      const Fault hit = *at;
      if (at->times > 0 && --at->times == 0) faults_.erase(at);
      return hit;
    }
    return std::nullopt;
  }

 private:
  std::mutex mutex_;
  std::list<Fault> faults_;
};

}  // namespace zivra::sim
