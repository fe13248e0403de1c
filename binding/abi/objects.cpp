#include "abi/objects.h"

#include <mutex>
#include <unordered_map>
#include <utility>

namespace zivra::clr::abi {
namespace {

/// Never destroyed: a robot that nobody disposed of may still deliver events while the process ends.
struct Table {
  std::mutex mutex;
  std::unordered_map<std::uint64_t, Object> objects;
  std::uint64_t last = 0;
};

Table& table() {
  static Table& one = *new Table;
  return one;
}

}  // namespace

std::uint64_t addObject(Object object) {
  const std::lock_guard lock(table().mutex);
  const std::uint64_t number = table().last + 1;
  table().objects.emplace(number, std::move(object));
  return table().last = number;
}

template <class Root>
std::shared_ptr<Root> findObject(std::uint64_t number) {
  const std::lock_guard lock(table().mutex);
  const auto found = table().objects.find(number);
  if (found == table().objects.end()) throw BoundaryFault(kDisposed, "");
  const auto* object = std::get_if<std::shared_ptr<Root>>(&found->second);
  return object == nullptr ? nullptr : *object;
}
template std::shared_ptr<BaseRobot> findObject(std::uint64_t number);
template std::shared_ptr<ForceControl> findObject(std::uint64_t number);
template std::shared_ptr<BaseEthercat> findObject(std::uint64_t number);
template std::shared_ptr<BaseUpgrade> findObject(std::uint64_t number);

void releaseObject(std::uint64_t number) noexcept {
  std::unordered_map<std::uint64_t, Object>::node_type last;  // ends after the lock
  const std::lock_guard lock(table().mutex);
  last = table().objects.extract(number);
}

}  // namespace zivra::clr::abi
