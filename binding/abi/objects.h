#pragma once

#include <cstdint>
#include <memory>
#include <variant>

#include "abi/message.h"
#include "clr/clr.h"

/// The objects that managed ones hold, under numbers that are never used again: one that is stale or made up
/// is a fault and never a wild pointer. Any thread may call any of this.
namespace zivra::clr::abi {

/// The four kinds of objects, robots by their common base.
using Object = std::variant<std::shared_ptr<BaseRobot>, std::shared_ptr<ForceControl>,
                            std::shared_ptr<BaseEthercat>, std::shared_ptr<BaseUpgrade>>;

std::uint64_t addObject(Object object);
/// Throws kDisposed for a number that isn't there; null for an object of another kind.
template <class Root>
std::shared_ptr<Root> findObject(std::uint64_t number);
/// Forgets it. The object ends here, or with the last call that is inside of it.
void releaseObject(std::uint64_t number) noexcept;

/// The object as a `Class`, held for the time of a call. Throws kForeignHandle for one of another class.
template <class Class>
std::shared_ptr<Class> heldAs(std::uint64_t number) {
  using Root = std::conditional_t<std::is_base_of_v<BaseRobot, Class>, BaseRobot, Class>;
  std::shared_ptr<Class> result;
  if constexpr (std::is_same_v<Root, Class>)
    result = findObject<Root>(number);
  else
    result = std::dynamic_pointer_cast<Class>(findObject<Root>(number));
  if (result == nullptr) throw BoundaryFault(kForeignHandle, "the object is of another class than the call");
  return result;
}

}  // namespace zivra::clr::abi
