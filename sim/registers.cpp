#include "registers.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace zivra::sim {

namespace {

constexpr int kCantWrite = -1, kSystems = -14010;
constexpr std::size_t kArraySize = 10;

Json::Value toJson(Register::Type type, double value) {
  switch (type) {
    case Register::Type::integer:
      return static_cast<Json::Int>(value);
    case Register::Type::flag:
      return value != 0;
    default:
      return value;
  }
}

// The type that a JSON value is by itself.
std::optional<Register::Type> typeOf(const Json::Value& value) {
  if (value.isBool()) return Register::Type::flag;
  if (value.type() == Json::realValue) return Register::Type::real;
  if (value.isInt()) return Register::Type::integer;
  return std::nullopt;
}

// What the register would hold of it; nothing for another type or a number beyond the range.
std::optional<double> held(Register::Type type, const Json::Value& value) {
  const auto given = typeOf(value);
  const bool fits = given == type || (type == Register::Type::real && given == Register::Type::integer);
  if (!fits) return std::nullopt;
  const double number = value.asDouble();
  if (type == Register::Type::real) {
    if (!(std::abs(number) <= std::numeric_limits<float>::max())) return std::nullopt;
    return static_cast<float>(number);
  }
  return number;
}

std::optional<std::vector<double>> heldAll(Register::Type type, const Json::Value& values) {
  std::vector<double> all;
  for (const Json::Value& value : values) {
    const auto one = held(type, value);
    if (!one) return std::nullopt;
    all.push_back(*one);
  }
  return all;
}

}  // namespace

Registers::Registers() {
  using Type = Register::Type;
  const std::vector<double> zeros(kArraySize);
  registers_ = {
      {"int_array", {Type::integer, true, false, zeros}}, {"float_array", {Type::real, true, false, zeros}},
      {"bool_array", {Type::flag, true, false, zeros}},   {"int_single", {Type::integer, false, false, {0}}},
      {"float_single", {Type::real, false, false, {0}}},  {"bool_single", {Type::flag, false, false, {0}}},
      {"motors_on", {Type::flag, false, true, {0}}}};
}

std::optional<Json::Value> Registers::read(const std::string& path) const {
  const auto mark = path.rfind(".#");
  const auto found = registers_.find(path.substr(0, mark));
  if (found == registers_.end()) return std::nullopt;
  const Register& wanted = found->second;
  if (mark != std::string::npos) {
    std::size_t index = 0;
    const char* end = path.data() + path.size();
    const auto [rest, error] = std::from_chars(path.data() + mark + 2, end, index);
    if (error != std::errc{} || rest != end || index >= wanted.values.size()) return std::nullopt;
    return toJson(wanted.type, wanted.values[index]);
  }
  if (!wanted.array) return toJson(wanted.type, wanted.values[0]);
  Json::Value all(Json::arrayValue);
  for (const double value : wanted.values) all.append(toJson(wanted.type, value));
  return all;
}

int Registers::write(const std::string& name, std::size_t index, const Json::Value& value) {
  const auto found = registers_.find(name);
  if (found == registers_.end()) return kCantWrite;
  Register& target = found->second;
  if (target.systems) return kSystems;
  const auto number = held(target.type, value);
  if (!number || index >= target.values.size()) return kCantWrite;
  target.values[index] = *number;
  return 0;
}

int Registers::writeArray(const std::string& name, const Json::Value& values) {
  const auto found = registers_.find(name);
  if (found == registers_.end()) return kCantWrite;
  Register& target = found->second;
  if (target.systems) return kSystems;
  const auto numbers = heldAll(target.type, values);
  if (!numbers || !target.array || numbers->size() > target.values.size()) return kCantWrite;
  std::copy(numbers->begin(), numbers->end(), target.values.begin());
  return 0;
}

bool Registers::define(const std::string& name, const Json::Value& value) {
  Register made;
  made.array = value.isArray();
  const Json::Value all = made.array ? value : [&] {
    Json::Value one(Json::arrayValue);
    one.append(value);
    return one;
  }();
  const auto type = all.empty() ? std::nullopt : typeOf(all[0]);
  if (!type) return false;
  made.type = *type;
  auto values = heldAll(made.type, all);
  if (!values) return false;
  made.values = std::move(*values);
  registers_[name] = std::move(made);
  return true;
}

void Registers::bind(const std::string& name, double value) {
  if (const auto found = registers_.find(name); found != registers_.end() && found->second.systems)
    found->second.values = {value};
}

}  // namespace zivra::sim
