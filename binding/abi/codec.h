#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "abi/callbacks.h"
#include "abi/message.h"
#include "abi/source.h"
#include "clr/types.h"

/// How each type of the layer crosses: `put` and `get` for the message, `name` and `source` for the C# that
/// is generated from it. `least` is the shortest that a value can be, in bytes.
namespace zivra::clr::abi {

template <class T>
struct Codec;

template <class T>
constexpr bool isOptional = false;
template <class T>
constexpr bool isOptional<std::optional<T>> = true;
template <class T>
constexpr bool isDelegate = false;
template <class T>
constexpr bool isDelegate<std::function<T>> = true;

/// Types that no parameter has.
template <class T>
constexpr bool comesBackOnly =
    std::is_same_v<T, ErrorCode> || std::is_same_v<T, LogInfo> || std::is_same_v<T, RLProjectInfo>;

/// The C# that puts a value.
template <class T>
std::string putText(const std::string& value) {
  if (std::is_enum_v<T>) return "Put((int)" + value + ")";
  if (isDelegate<T>) return "PutDelegate(" + value + ")";
  return (isOptional<T> ? "PutOrNull(" : "Put(") + value + ")";
}
/// The C# that gets a value into a variable.
template <class T>
std::string getText(const std::string& variable) {
  return (isOptional<T> ? "GetOrNull(out " : "Get(out ") + variable + ")";
}

/// Numbers; the C# of these and of texts is written by hand.
template <class T, const char* csharp>
struct NumberCodec {
  static constexpr std::size_t least = sizeof(T);
  static std::string name() { return csharp; }
  static void source(Source&) {}
  static void put(Writer& to, T value) { to.number(value); }
  static T get(Reader& from) { return from.number<T>(); }
};

#define ZCLR_NUMBER(type, csharp)               \
  inline constexpr char k_##csharp[] = #csharp; \
  template <>                                   \
  struct Codec<type> : NumberCodec<type, k_##csharp> {};
ZCLR_NUMBER(std::uint8_t, byte)
ZCLR_NUMBER(std::uint16_t, ushort)
ZCLR_NUMBER(std::int32_t, int)
ZCLR_NUMBER(std::uint32_t, uint)
ZCLR_NUMBER(std::uint64_t, ulong)
ZCLR_NUMBER(float, float)
ZCLR_NUMBER(double, double)
#undef ZCLR_NUMBER

template <>
struct Codec<bool> {
  static constexpr std::size_t least = 1;
  static std::string name() { return "bool"; }
  static void source(Source&) {}
  static void put(Writer& to, bool value) { to.number<std::uint8_t>(value ? 1 : 0); }
  static bool get(Reader& from) { return from.number<std::uint8_t>() != 0; }
};

template <>
struct Codec<String> {
  static constexpr std::size_t least = 4;
  static std::string name() { return "string"; }
  static void source(Source&) {}
  static void put(Writer& to, const String& value) {
    if (value.isNull()) return to.number<std::int32_t>(-1);
    to.count(value.text().size());
    to.block(value.text().data(), value.text().size());
  }
  static String get(Reader& from) {
    const auto size = from.number<std::int32_t>();
    return size == -1 ? String(nullptr) : String(from.text(size));
  }
};

/// Name of an enumeration in C#, its members and their numbers (values.h).
template <class E>
struct EnumInfo;

template <class E>
requires std::is_enum_v<E>
struct Codec<E> {
  static_assert(sizeof(E) == sizeof(std::int32_t));
  static constexpr std::size_t least = 4;
  static std::string name() { return EnumInfo<E>::name; }
  static void source(Source& to) { to.type(name(), "", "Get(out int number); v = (" + name() + ")number;"); }
  static void put(Writer& to, E value) { to.number(static_cast<std::int32_t>(value)); }
  static E get(Reader& from) { return static_cast<E>(from.number<std::int32_t>()); }
};

/// Name of a value type in C# and its fields in order (values.h).
template <class T>
struct Fields;

template <class T>
concept Value = requires {
  Fields<T>::name;
};

template <class Class, class T>
struct Field {
  using Type = T;
  const char* name;
  T Class::*member;
};

template <Value T>
struct Codec<T> {
  static constexpr std::size_t least =
      std::apply([](auto... field) { return (Codec<typename decltype(field)::Type>::least + ... + 0); },
                 Fields<T>::list);
  static std::string name() { return Fields<T>::name; }
  static void source(Source& to) {
    std::string putting, getting = "v = new " + name() + "();";
    each([&](auto field) {
      using Of = Codec<typename decltype(field)::Type>;
      Of::source(to);
      // By a reference of the type declared here: the class, written by hand, has the same or doesn't
      // compile.
      putting += "{ ref " + Of::name() + " f = ref v." + field.name + "; " +
                 putText<typename decltype(field)::Type>("f") + "; } ";
      getting += " " + getText<typename decltype(field)::Type>(std::string("v.") + field.name) + ";";
    });
    to.type(name(), putting, getting);
  }
  static void put(Writer& to, const T& value) {
    each([&](auto field) { Codec<typename decltype(field)::Type>::put(to, value.*field.member); });
  }
  static T get(Reader& from) {
    T value;
    each([&](auto field) { value.*field.member = Codec<typename decltype(field)::Type>::get(from); });
    return value;
  }

 private:
  template <class Visitor>
  static void each(Visitor visit) {
    std::apply([&](auto... field) { (visit(field), ...); }, Fields<T>::list);
  }
};

/// Arrays and lists. Numbers that are no truth values lie in one block.
template <class Sequence, class T>
struct SequenceCodec {
  static constexpr std::size_t least = 4;
  static constexpr bool block = std::is_arithmetic_v<T> && !std::is_same_v<T, bool>;
  static void put(Writer& to, const Sequence& value) {
    to.count(value.size());
    if constexpr (block) {
      to.block(value.data(), value.size() * sizeof(T));
    } else {
      for (const auto& element : value) Codec<T>::put(to, element);
    }
  }
  static Sequence get(Reader& from) {
    const std::size_t size = from.count(Codec<T>::least);
    Sequence value;
    if constexpr (block) {
      value.resize(size);
      from.block(value.data(), size * sizeof(T));
    } else {
      value.reserve(size);
      for (std::size_t i = 0; i < size; ++i) value.push_back(Codec<T>::get(from));
    }
    return value;
  }
};

template <class T>
constexpr bool isNumber = std::is_arithmetic_v<T>;

template <class T>
struct Codec<Array<T>> : SequenceCodec<Array<T>, T> {
  static std::string name() { return Codec<T>::name() + "[]"; }
  static void source(Source& to) {
    if (isNumber<T>) return;
    Codec<T>::source(to);
    const std::string element = Codec<T>::name();
    const std::size_t bracket = element.find("[]");  // the size goes into the first pair
    const std::string made = bracket == std::string::npos
                                 ? element + "[n]"
                                 : element.substr(0, bracket) + "[n]" + element.substr(bracket);
    to.type(name(), "Put(v.Length); foreach (var e in v) " + putText<T>("e") + "; ",
            "int n = Count(); v = new " + made + "; for (int i = 0; i < n; i++) " + getText<T>("v[i]") + ";");
  }
};

template <class T>
struct Codec<List<T>> : SequenceCodec<List<T>, T> {
  static std::string name() { return "List<" + Codec<T>::name() + ">"; }
  static void source(Source& to) {
    Codec<T>::source(to);
    const std::string element = Codec<T>::name();
    to.type(name(),
            comesBackOnly<T>
                ? ""
                : "int n = v.Count; Put(n); for (int i = 0; i < n; i++) " + putText<T>("v[i]") + "; ",
            "int n = Count(); v = new " + name() + "(n); for (int i = 0; i < n; i++) { " +
                getText<T>(element + " e") + "; v.Add(e); }");
  }
};

template <>
struct Codec<Array2<double>> {
  static constexpr std::size_t least = 8;
  static std::string name() { return "double[,]"; }
  static void source(Source&) {}
  static void put(Writer& to, const Array2<double>& value) {
    to.count(value.rows());
    to.count(value.columns());
    to.block(value.data(), value.rows() * value.columns() * sizeof(double));
  }
  static Array2<double> get(Reader& from) {
    const std::size_t rows = from.count(0), columns = from.count(0);
    Reader ahead = from;
    // Both counts are below 2^31, so that their product and its bytes stay within 64 bits.
    if (columns != 0 && rows > (std::size_t{1} << 28) / columns) Reader::bad();
    std::vector<double> elements;
    for (std::size_t left = rows * columns; left > 0; --left) elements.push_back(ahead.number<double>());
    Array2<double> value(rows, columns);
    if (!elements.empty()) std::memcpy(value.data(), elements.data(), elements.size() * sizeof(double));
    from = ahead;
    return value;
  }
};

/// What may be null: a truth value, and the rest unless it is null.
template <class T>
struct Codec<std::optional<T>> {
  static constexpr std::size_t least = 1;
  static std::string name() { return Codec<T>::name(); }
  static void source(Source& to) {
    Codec<T>::source(to);
    to.nullable(name(), putText<T>("v"));
  }
  static void put(Writer& to, const std::optional<T>& value) {
    Codec<bool>::put(to, value.has_value());
    if (value) Codec<T>::put(to, *value);
  }
  static std::optional<T> get(Reader& from) {
    if (!Codec<bool>::get(from)) return std::nullopt;
    return Codec<T>::get(from);
  }
};

template <class... T>
struct Codec<std::tuple<T...>> {
  static constexpr std::size_t least = (Codec<T>::least + ... + 0);
  static std::string name() {
    std::string text;
    ((text += (text.empty() ? "(" : ", ") + Codec<T>::name()), ...);
    return text + ")";
  }
  static void source(Source& to) {
    std::string putting, getting;
    int item = 0;
    ((++item, Codec<T>::source(to), putting += putText<T>("v.Item" + std::to_string(item)) + "; ",
      getting += "Get(out v.Item" + std::to_string(item) + "); "),
     ...);
    to.type(name(), putting, getting);
  }
  static void put(Writer& to, const std::tuple<T...>& value) {
    std::apply([&](const auto&... element) { (Codec<T>::put(to, element), ...); }, value);
  }
  static std::tuple<T...> get(Reader& from) { return std::tuple<T...>{Codec<T>::get(from)...}; }
};

// What only comes back.

template <>
struct Codec<ErrorCode> {
  static constexpr std::size_t least = 8;
  static std::string name() { return "ErrorCode"; }
  static void source(Source&) {}
  static void put(Writer& to, const ErrorCode& value) {
    to.number<std::int32_t>(value.value());
    Codec<String>::put(to, value.message());
  }
};

template <>
struct Codec<LogInfo> {
  static constexpr std::size_t least = 16;
  static std::string name() { return "LogInfo"; }
  static void source(Source& to) {
    to.type(name(), "",
            "Get(out int id); Get(out string at); Get(out string text); Get(out string hint); "
            "v = new LogInfo(id, at, text, hint);");
  }
  static void put(Writer& to, const LogInfo& value) {
    to.number<std::int32_t>(value.id());
    for (const String* text : {&value.timestamp, &value.logText, &value.repairHint})
      Codec<String>::put(to, *text);
  }
};

template <>
struct Codec<RLProjectInfo> {
  static constexpr std::size_t least = 8;
  static std::string name() { return "RLProjectInfo"; }
  static void source(Source& to) {
    Codec<List<String>>::source(to);
    to.type(name(), "",
            "Get(out string name); Get(out List<string> tasks); v = new RLProjectInfo(name) { taskList = "
            "tasks };");
  }
  static void put(Writer& to, const RLProjectInfo& value) {
    Codec<String>::put(to, value.name);
    Codec<List<String>>::put(to, value.taskList);
  }
};

template <>
struct Codec<Dictionary> {
  static constexpr std::size_t least = 4;
  static_assert(std::is_same_v<Object, std::variant<int, double, String, bool, ErrorCode>>,
                "the kinds, in the order in which C# knows them (formVersion)");
  static std::string name() { return "Dictionary<string, object>"; }
  static void source(Source&) {}
  static void put(Writer& to, const Dictionary& value) {
    to.count(value.size());
    for (const auto& [key, held] : value) {
      Codec<String>::put(to, key);
      to.number(static_cast<std::uint8_t>(held.index()));
      std::visit([&](const auto& one) { Codec<std::decay_t<decltype(one)>>::put(to, one); }, held);
    }
  }
};

/// A delegate crosses as the number under which the managed side keeps it, 0 for null.
template <class Argument>
struct Codec<std::function<void(Argument)>> {
  static constexpr std::size_t least = 8;
  static constexpr bool isEvent = std::is_same_v<std::decay_t<Argument>, Dictionary>;
  static std::string name() { return isEvent ? "EventCallbackDelegate" : "ConnectionHandlerDelegate"; }
  static void source(Source&) {}
  static std::function<void(Argument)> get(Reader& from) {
    const auto number = from.number<std::uint64_t>();
    if (number == 0) return nullptr;
    return [token = std::make_shared<const DelegateToken>(number)](Argument argument) {
      Writer message;
      Codec<std::decay_t<Argument>>::put(message, argument);
      token->invoke(message);
    };
  }
};

}  // namespace zivra::clr::abi
