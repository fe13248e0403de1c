// Connecting, disconnecting and switching the mode take turns.
//
// Threads: lives on the stack of whoever takes the turn. A thread that the holder may be waiting for doesn't
// wait itself.
#pragma once

#include <mutex>

#include "robot_impl/impl.h"

namespace zivra {

class BaseRobot::Impl::Turn {
 public:
  explicit Turn(Impl& impl) : impl_(impl) {
    const bool mayWait = !impl.onOwnThread();
    std::unique_lock lock(impl.turnMutex_);
    // The holder's own steps all end, so this wait does.
    if (mayWait) impl.turnFree_.wait(lock, [&] { return !impl.turnTaken_; });
    if (impl.turnTaken_) return;
    impl.turnTaken_ = held_ = true;
  }
  ~Turn() {
    if (!held_) return;
    {
      const std::lock_guard lock(impl_.turnMutex_);
      impl_.turnTaken_ = false;
    }
    impl_.turnFree_.notify_one();
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

  bool held() const { return held_; }

 private:
  Impl& impl_;
  bool held_ = false;
};

}  // namespace zivra
