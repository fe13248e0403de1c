// Named registers of one type each, single ones and arrays.
#pragma once

#include <cstddef>
#include <json/json.h>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zivra::sim {

struct Register {
  enum class Type { integer, real, flag };

  Type type = Type::integer;
  bool array = false;
  bool systems = false;        // bound to a system signal: read only
  std::vector<double> values;  // every type's values are exact as double
};

class Registers {
 public:
  Registers();

  // A value for "name.#0", and for the bare name of an array all of its values; nothing if there is none.
  std::optional<Json::Value> read(const std::string& path) const;
  // 0 or the code of the refusal.
  int write(const std::string& name, std::size_t index, const Json::Value& value);
  int writeArray(const std::string& name, const Json::Value& values);

  // Makes or replaces a register of the value's own type; false for a value that no register holds.
  bool define(const std::string& name, const Json::Value& value);
  void bind(const std::string& name, double value);  // a system register's value

 private:
  std::map<std::string, Register> registers_;
};

}  // namespace zivra::sim
