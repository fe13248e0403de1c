#include "network/faults.h"

#include <stdexcept>

#include "network/json_text.h"

namespace zivra::sim {

void Faults::add(const Fault& fault) {
  Laid laid{fault, {}};
  if (fault.kind == Fault::Kind::reply) {
    auto value = parseJson(fault.text);
    if (!value)
      throw std::invalid_argument("the text of a reply fault must be one JSON value: " + fault.text);
    laid.reply = std::move(*value);
  }
  if (fault.times == 0) return;
  std::lock_guard lock(mutex_);
  laid_.push_back(std::move(laid));
}

void Faults::clear() {
  std::lock_guard lock(mutex_);
  laid_.clear();
}

Faults::Hit Faults::take(const std::string& key) {
  Hit hit;
  std::lock_guard lock(mutex_);
  for (auto at = laid_.begin(); at != laid_.end();) {
    auto& [fault, reply] = *at;
    auto& slot = fault.kind == Fault::Kind::delay ? hit.delay : hit.other;
    if (slot || (fault.key != "*" && fault.key != key)) {
      ++at;
      continue;
    }
    slot = fault;
    if (fault.kind == Fault::Kind::reply) hit.reply = reply;
    at = fault.times > 0 && --fault.times == 0 ? laid_.erase(at) : std::next(at);
  }
  return hit;
}

}  // namespace zivra::sim
