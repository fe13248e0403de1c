#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace zivra::internal {

// A function of the application's, which any thread may set while others call what was set before. Copying
// and destroying it runs the application's code, too, so neither happens within the lock.
template <class Signature>
class UserFunction {
 public:
  using Function = std::function<Signature>;

  void set(Function function) {
    auto made = std::make_shared<const Function>(std::move(function));
    const std::lock_guard lock(mutex_);
    function_.swap(made);
  }

  // Never null; the function itself may be empty.
  std::shared_ptr<const Function> get() const {
    const std::lock_guard lock(mutex_);
    return function_;
  }

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<const Function> function_ = std::make_shared<const Function>();
};

}  // namespace zivra::internal
