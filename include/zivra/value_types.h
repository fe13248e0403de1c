#pragma once

#include <string>
#include <type_traits>
#include <vector>

#include <zivra/types.h>

/// Which types the templates of BaseRobot take. Each of them returns nothing, by way of the list of its
/// types: for another type the compiler shows the list's sentence.
namespace zivra::internal {

template <class T, class... Listed>
inline constexpr bool isOneOf = (std::is_same_v<T, Listed> || ...);

template <class T>
struct RegisterTypes {
  static_assert(isOneOf<T, int, float, bool, std::vector<int>, std::vector<float>, std::vector<bool>>,
                "a register is an int, a float or a bool, or a std::vector of one of them; "
                "write 1.5f for a float, not 1.5");
  using Nothing = void;
};

template <class T>
struct RailTypes {
  static_assert(isOneOf<T, int, double, bool, std::string, std::vector<double>, Frame>,
                "a rail parameter is an int, a double, a bool, a std::string, a std::vector<double> or a "
                "zivra::Frame");
  using Nothing = void;
};

/// Texts that are no std::string have an overload of their own.
template <class T, bool isText = std::is_convertible_v<T, const char*>>
struct RailSettingTypes : RailTypes<T> {};
template <class T>
struct RailSettingTypes<T, true> {};

template <class T>
struct ExtAxisTypes {
  static_assert(isOneOf<T, int, double, bool, std::string, std::vector<std::string>>,
                "a parameter of an external axis is read as int, double, bool, std::string or "
                "std::vector<std::string>");
  using Nothing = void;
};

template <class T>
struct MechUnitTypes {
  static_assert(isOneOf<T, int, bool, std::vector<std::string>>,
                "a parameter of a mechanical unit is read as int, bool or std::vector<std::string>");
  using Nothing = void;
};

template <class T>
using ForRegister = typename RegisterTypes<T>::Nothing;
template <class T>
using ForRail = typename RailTypes<T>::Nothing;
template <class T>
using ForRailSetting = typename RailSettingTypes<T>::Nothing;
template <class T>
using ForExtAxis = typename ExtAxisTypes<T>::Nothing;
template <class T>
using ForMechUnit = typename MechUnitTypes<T>::Nothing;

}  // namespace zivra::internal
