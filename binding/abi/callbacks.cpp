#include "abi/callbacks.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace zivra::clr::abi {
namespace {

/// Never destroyed: native threads may still deliver while the process ends.
struct Way {
  std::mutex mutex;
  std::condition_variable ended;
  InvokeDelegate invoke = nullptr;
  DropDelegate drop = nullptr;
  int underWay = 0;
};

Way& way() {
  static Way& one = *new Way;
  return one;
}

thread_local int ownDepth = 0;

/// Calls one of the two functions, and counts while it runs; no lock is held meanwhile.
template <class Function, class Call>
void through(Function Way::*which, Call call) noexcept {
  Way& the = way();
  Function function;
  {
    const std::lock_guard lock(the.mutex);
    function = the.*which;
    if (function == nullptr) return;
    ++the.underWay;
  }
  ++ownDepth;
  call(function);
  --ownDepth;
  {
    const std::lock_guard lock(the.mutex);
    --the.underWay;
  }
  the.ended.notify_all();
}

}  // namespace

void setCallbacks(InvokeDelegate invoke, DropDelegate drop) noexcept {
  Way& the = way();
  std::unique_lock lock(the.mutex);
  the.invoke = invoke;
  the.drop = drop;
  if (invoke == nullptr)
    the.ended.wait_for(lock, std::chrono::seconds(1), [&] { return the.underWay <= ownDepth; });
}

DelegateToken::~DelegateToken() {
  through(&Way::drop, [this](DropDelegate drop) { drop(number_); });
}

void DelegateToken::invoke(const Writer& message) const noexcept {
  through(&Way::invoke, [&](InvokeDelegate call) {
    call(number_, message.data(), static_cast<std::int32_t>(message.size()));
  });
}

}  // namespace zivra::clr::abi
