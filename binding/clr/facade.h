#pragma once

#include <cstddef>
#include <memory>
#include <set>
#include <system_error>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "clr/convert.h"

/// What facades are made of: a call with its conversions deduced from the native method's types, the choice
/// of the native object, and the translation of exceptions.
namespace zivra::clr {

inline zivra::Frame convertValue(const Frame& from) { return convertFrame(from); }
inline Frame convertValue(const zivra::Frame& from) { return convertFrame(from); }
inline zivra::CartesianPosition convertValue(const CartesianPosition& from) {
  return convertCartesianPosition(from);
}
inline CartesianPosition convertValue(const zivra::CartesianPosition& from) {
  return convertCartesianPosition(from);
}
inline zivra::Load convertValue(const Load& from) { return convertLoad(from); }
inline zivra::Toolset convertValue(const Toolset& from) { return convertToolset(from); }
inline Toolset convertValue(const zivra::Toolset& from) { return convertToolset(from); }
inline KeyPadState convertValue(const zivra::KeyPadState& from) { return convertKeyPadState(from); }
inline zivra::CANFrame convertValue(const CANFrame& from) { return convertCANFrame(from); }
inline CANFrame convertValue(const zivra::CANFrame& from) { return convertCANFrame(from); }
inline zivra::WorkToolInfo convertValue(const WorkToolInfo& from) { return convertWorkToolInfo(from); }
inline WorkToolInfo convertValue(const zivra::WorkToolInfo& from) { return convertWorkToolInfo(from); }
inline zivra::SDOData convertValue(const std::optional<SDOData>& from) { return toNativeSdo(from); }
inline Info convertValue(const zivra::Info& from) { return convertInfo(from); }
inline StateList convertValue(const zivra::StateList& from) { return convertStateList(from); }
inline LogInfo convertValue(const zivra::LogInfo& from) { return convertLogInfo(from); }
inline RLProjectInfo convertValue(const zivra::RLProjectInfo& from) { return convertProjectInfo(from); }
inline FrameCalibrationResult convertValue(const zivra::FrameCalibrationResult& from) {
  return convertCalibration(from);
}
inline SlaveInfo convertValue(const zivra::SlaveInfo& from) { return convertSlaveInfo(from); }
inline Dictionary convertValue(const zivra::EventInfo& from) { return _convertCallback(from); }
inline ErrorCode convertValue(const std::error_code& from) { return convertErrorCode(from); }

template <class T>
inline constexpr bool isList = false;
template <class T>
inline constexpr bool isList<std::vector<T>> = true;
template <class T>
inline constexpr bool isList<Array<T>> = true;
template <class T>
inline constexpr bool isList<List<T>> = true;
template <class T>
inline constexpr bool isSet = false;
template <class T>
inline constexpr bool isSet<std::set<T>> = true;
template <class T>
inline constexpr std::size_t lengthOf = 0;
template <std::size_t N>
inline constexpr std::size_t lengthOf<std::array<double, N>> = N;

/// Any value across the boundary, to the type that stands on the other side.
template <class To, class From>
To convert(const From& from) {
  if constexpr (std::is_same_v<To, From>) {
    return from;
  } else if constexpr (std::is_same_v<To, std::string>) {
    return convertString(from);
  } else if constexpr (std::is_same_v<From, std::string>) {
    return utf8StdStringToString(from);
  } else if constexpr (lengthOf<To> > 0) {
    return convertArray<lengthOf<To>>(from);
  } else if constexpr (lengthOf<From> > 0) {
    return To(convertArray(from));
  } else if constexpr ((isList<To> || isSet<To>)&&isList<From>) {
    To to;
    for (const typename From::value_type& element : from) {
      to.insert(to.end(), convert<typename To::value_type>(element));
    }
    return to;
  } else {
    return convertValue(from);
  }
}

/// One argument of a native call, of its parameter's type P. Where P is a reference to be written, what the
/// call leaves there is given back.
template <class P>
class Argument {
  static constexpr bool isWritten =
      std::is_lvalue_reference_v<P> && !std::is_const_v<std::remove_reference_t<P>>;

 public:
  template <class Managed>
  explicit Argument(const Managed& from) : value_(convert<std::remove_cvref_t<P>>(from)) {}
  explicit Argument(const ErrorCode& /*from*/) {}  // starts without an error

  P get() {
    if constexpr (std::is_lvalue_reference_v<P>) {
      return value_;
    } else {
      return std::move(value_);
    }
  }
  template <class Managed>
  void giveBack(Managed& to) const {
    if constexpr (isWritten) to = convert<Managed>(value_);
  }

 private:
  std::remove_cvref_t<P> value_{};
};

/// Where the managed argument for the native parameter `i` stands: `ec`, which may stand anywhere among the
/// native ones, is the last of the managed ones.
template <class... P>
constexpr std::size_t managedPosition(std::size_t i) {
  constexpr std::size_t codes = (std::is_same_v<P, std::error_code&> + ... + 0U);
  static_assert(codes <= 1, "which one is ec?");
  if (codes == 0) return i;
  std::size_t ec = 0, at = 0;
  ((std::is_same_v<P, std::error_code&> ? ec = at++ : at++), ...);
  return i == ec ? at - 1 : i < ec ? i : i - 1;
}

template <class Result, class Object, class Method, class... P, class Given, std::size_t... i>
Result callNative(Object& object, Method method, Given given, std::tuple<Argument<P>...>*,
                  std::index_sequence<i...>) {
  std::tuple<Argument<P>...> native(std::get<managedPosition<P...>(i)>(given)...);
  const auto giveBack = [&] {
    (std::get<i>(native).giveBack(std::get<managedPosition<P...>(i)>(given)), ...);
  };
  if constexpr (std::is_void_v<Result>) {
    (object.*method)(std::get<i>(native).get()...);
    giveBack();
  } else {
    const auto result = (object.*method)(std::get<i>(native).get()...);
    giveBack();
    return convert<Result>(result);
  }
}

/// The pattern of nearly all operations: converts the arguments, calls the native method, converts what it
/// wrote and what it returned, and assigns `ec`, which stands last here. Throws NullReferenceException for an
/// object that isn't there.
template <class Result = void, class Object, class Class, class Native, class... P, class... A>
Result forwardTo(Object* object, Native (Class::*method)(P...) noexcept, A&&... args) {
  static_assert(sizeof...(P) == sizeof...(A), "as many managed arguments as native ones");
  if (object == nullptr) throw NullReferenceException();
  return callNative<Result>(*object, method, std::forward_as_tuple(args...),
                            static_cast<std::tuple<Argument<P>...>*>(nullptr),
                            std::index_sequence_for<P...>());
}

/// The same for a call that has something of its own: `call` gets the native code to fill.
template <class F>
auto reporting(ErrorCode& ec, F&& call) {
  std::error_code native;
  if constexpr (std::is_void_v<decltype(call(native))>) {
    call(native);
    ec = convertErrorCode(native);
  } else {
    auto result = call(native);
    ec = convertErrorCode(native);
    return result;
  }
}

/// Calls `use` with the first of the objects that is set; throws NullReferenceException if none is.
template <class F, class First, class... Rest>
auto useFirst(F&& use, const First& first, const Rest&... rest) {
  if (first) return use(*first);
  if constexpr (sizeof...(rest) > 0) {
    return useFirst(use, rest...);
  } else {
    throw NullReferenceException();
  }
}

/// Makes an ApiException of a native exception.
template <class F>
auto translated(F&& call) {
  try {
    return call();
  } catch (const ManagedException&) {
    throw;
  } catch (const std::exception& e) {
    throw ApiException(validUtf8(e.what()));
  }
}

}  // namespace zivra::clr
