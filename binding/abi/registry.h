#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "abi/codec.h"
#include "abi/objects.h"
#include "abi/values.h"

/// The table of operations. A row names a method and its parameters, the compiler deduces the rest; from the
/// table come the calls by number, the C# and the number that tells whether both were made from the same one.
namespace zivra::clr::abi {

enum class Way {
  in,     ///< sent
  out,    ///< returned
  ref,    ///< sent and returned
  set,    ///< a `ref` in C#, whose old value isn't sent
  keep,   ///< `opt`: a `ref` that isn't sent, and stays as it is unless the call assigns it
  change  ///< `mut`: moves, sent; what the call appended to their `args` is appended to the caller's own
          ///< lists
};

/// The words of a row: "name, set value, out ec".
template <std::size_t size>
struct Words {
  consteval Words(const char (&words)[size]) { std::copy(words, words + size, text); }  // NOLINT: a literal
  char text[size]{};
};

struct Parameter {
  Way way = Way::in;
  std::string_view name;
};

constexpr std::size_t countParameters(std::string_view words) {
  return words.empty() ? 0 : static_cast<std::size_t>(std::count(words.begin(), words.end(), ',')) + 1;
}

template <std::size_t count>
constexpr std::array<Parameter, count> parseParameters(std::string_view words) {
  std::array<Parameter, count> parameters;
  for (auto& parameter : parameters) {
    std::size_t comma = 0;  // by hand: sanitized, the search of string_view isn't constant
    while (comma < words.size() && words[comma] != ',') ++comma;
    std::string_view one = words.substr(0, comma);
    words.remove_prefix(std::min(words.size(), one.size() + 2));
    constexpr std::pair<std::string_view, Way> ways[] = {{"out ", Way::out},
                                                         {"ref ", Way::ref},
                                                         {"set ", Way::set},
                                                         {"opt ", Way::keep},
                                                         {"mut ", Way::change}};
    for (const auto& [word, way] : ways) {
      if (one.substr(0, 4) != word) continue;
      parameter.way = way;
      one.remove_prefix(4);
    }
    parameter.name = one;
  }
  return parameters;
}

struct ParameterText {
  Way way;
  std::string name;
  std::string type;
  std::string put;  ///< what the call object is asked to do
};

struct Row {
  const char* owner;
  const char* name;  ///< that of the class for a constructor
  bool isStatic;
  std::string result;  ///< in C#; "void", and of a constructor ""
  std::vector<ParameterText> parameters;
  void (*source)(Source& to);
  void (*call)(std::uint64_t self, Reader& from, Writer& to);
};

/// What `mut` sends back.
struct Changes {
  static void put(Writer& to, const MoveCommand& command) {
    if (command.args)
      Codec<List<double>>::put(to, *command.args);
    else
      to.count(0);  // null, and of a kind that doesn't read it
  }
  static void put(Writer& to, const List<MoveCommand>& commands) {
    to.count(commands.size());
    for (const MoveCommand& command : commands) put(to, command);
  }
};

template <class T>
struct Result {
  static std::string name() { return Codec<T>::name(); }
  static void source(Source& to) { Codec<T>::source(to); }
  static void put(Writer& to, const T& value) { Codec<T>::put(to, value); }
};
/// An object that a method makes: it gets a number.
template <class T>
struct Result<std::unique_ptr<T>> {
  static std::string name() { return std::is_same_v<T, ForceControl> ? "ForceControl" : "BaseEthercat"; }
  static void source(Source&) {}
  static void put(Writer& to, std::unique_ptr<T> object) {
    to.number(addObject(std::shared_ptr<T>(std::move(object))));
  }
};
template <>
struct Result<void> {
  static std::string name() { return "void"; }
  static void source(Source&) {}
};

template <Words words, class... A>
struct Arguments {
  static constexpr std::size_t count = sizeof...(A);
  static_assert(countParameters(words.text) == count, "a row names each parameter of its method");
  static constexpr auto parameters = parseParameters<count>(words.text);
  template <std::size_t i>
  using Declared = std::tuple_element_t<i, std::tuple<A...>>;
  template <std::size_t i>
  using Type = std::decay_t<Declared<i>>;
  using All = std::make_index_sequence<count>;

  static std::tuple<std::decay_t<A>...> get(Reader& from) {
    return [&]<std::size_t... i>(std::index_sequence<i...>) {
      std::tuple<std::decay_t<A>...> values{one<i>(from)...};
      from.end();
      return values;
    }
    (All());
  }
  static void putBack(Writer& to, const std::tuple<std::decay_t<A>...>& values) {
    [&]<std::size_t... i>(std::index_sequence<i...>) { (back<i>(to, std::get<i>(values)), ...); }
    (All());
  }
  static void source(Source& to) {
    [&]<std::size_t... i>(std::index_sequence<i...>) { (sourceOf<i>(to), ...); }
    (All());
  }
  static std::vector<ParameterText> texts() {
    return [&]<std::size_t... i>(std::index_sequence<i...>) {
      return std::vector<ParameterText>{text<i>()...};
    }
    (All());
  }

 private:
  template <std::size_t i>
  static void sourceOf(Source& to) {
    Codec<Type<i>>::source(to);
    if constexpr (parameters[i].way == Way::keep) to.kept(Codec<Type<i>>::name());
  }
  template <std::size_t i>
  static Type<i> one(Reader& from) {
    constexpr Way way = parameters[i].way;
    static_assert(way == Way::in || (std::is_lvalue_reference_v<Declared<i>> &&
                                     !std::is_const_v<std::remove_reference_t<Declared<i>>>),
                  "what comes back is a reference in C++");
    static_assert(way != Way::in || !std::is_lvalue_reference_v<Declared<i>> ||
                      std::is_const_v<std::remove_reference_t<Declared<i>>>,
                  "a reference in C++ is out, ref, set or mut");
    static_assert(way != Way::keep || isOptional<Type<i>>, "only what has no value can be left alone");
    if constexpr (way == Way::out || way == Way::set || way == Way::keep)
      return Type<i>{};
    else
      return Codec<Type<i>>::get(from);
  }
  template <std::size_t i, class T>
  static void back(Writer& to, const T& value) {
    constexpr Way way = parameters[i].way;
    if constexpr (way == Way::change)
      Changes::put(to, value);
    else if constexpr (way != Way::in)
      Codec<T>::put(to, value);
  }
  template <std::size_t i>
  static ParameterText text() {
    const std::string name(parameters[i].name);
    std::string put;
    if constexpr (parameters[i].way == Way::change)
      put = "PutMoves(" + name + ")";
    else if constexpr (parameters[i].way == Way::in || parameters[i].way == Way::ref)
      put = putText<Type<i>>(name);
    return {parameters[i].way, name, Codec<Type<i>>::name(), put};
  }
};

template <class Class, auto method, Words words>
struct Call;

template <class Class, class Of, class R, class... A, R (Of::*method)(A...), Words words>
struct Call<Class, method, words> {
  using With = Arguments<words, A...>;
  static void call(std::uint64_t self, Reader& from, Writer& to) {
    const std::shared_ptr<Class> object = heldAs<Class>(self);
    auto values = With::get(from);
    const auto run = [&](auto&... value) -> R {
      return ((*object).*method)(static_cast<A>(static_cast<A&&>(value))...);
    };
    if constexpr (std::is_void_v<R>)
      std::apply(run, values);
    else
      Result<R>::put(to, std::apply(run, values));
    With::putBack(to, values);
  }
  static void source(Source& to) {
    Result<R>::source(to);
    With::source(to);
  }
  static Row row(const char* owner, const char* name) {
    return {owner, name, false, Result<R>::name(), With::texts(), source, call};
  }
};

template <class Class, class R, class... A, R (*function)(A...), Words words>
struct Call<Class, function, words> {
  using With = Arguments<words, A...>;
  static void call(std::uint64_t, Reader& from, Writer& to) {
    auto values = With::get(from);
    Result<R>::put(to, std::apply(function, values));
  }
  static void source(Source& to) {
    Result<R>::source(to);
    With::source(to);
  }
  static Row row(const char* owner, const char* name) {
    return {owner, name, true, Result<R>::name(), With::texts(), source, call};
  }
};

template <class Class, Words words, class... A>
struct Construct {
  using With = Arguments<words, A...>;
  static void call(std::uint64_t, Reader& from, Writer& to) {
    auto values = With::get(from);
    auto made = std::apply([](auto&... value) { return std::make_shared<Class>(value...); }, values);
    to.number(addObject(std::move(made)));
  }
  static Row row(const char* name) { return {name, name, true, "", With::texts(), With::source, call}; }
};

/// Picks one of several methods of a name by its parameters.
template <class... A>
struct Picked {
  template <class R, class Of>
  static constexpr auto of(R (Of::*method)(A...)) {
    return method;
  }
};

#define ZCLR_NEW(Class, ...) ::zivra::clr::abi::Construct<Class, __VA_ARGS__>::row(#Class)
#define ZCLR_OP(Class, method, words) \
  ::zivra::clr::abi::Call<Class, &Class::method, words>::row(#Class, #method)
#define ZCLR_OVER(Class, method, types, words)                                                   \
  ::zivra::clr::abi::Call<Class, ::zivra::clr::abi::Picked<ZCLR_BARE types>::of(&Class::method), \
                          words>::row(#Class, #method)
#define ZCLR_BARE(...) __VA_ARGS__

// One file a family.
std::vector<Row> rowsOfBaseRobot();
std::vector<Row> rowsOfServices();
std::vector<Row> rowsOfCobot();
std::vector<Row> rowsOfRobots();
std::vector<Row> rowsOfForceControl();
std::vector<Row> rowsOfDevices();

/// All of them; a row's number is its place.
const std::vector<Row>& rows();
/// Raise it with each change of what both sides write by hand: texts, `ErrorCode`, `double[,]`, `Dictionary`,
/// moves that are null, and how a reply begins.
constexpr int formVersion = 1;
/// Each fault's name and number.
std::vector<std::pair<std::string, int>> faultNumbers();
/// All that both layers have to agree on, as text, and a number made from it: libraries of other builds
/// differ in it.
std::string describeRows();
std::uint64_t schemaNumber();

}  // namespace zivra::clr::abi
