// Registers.
#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

Reply values(World& w, const Json::Value& parameter) {
  if (!parameter.isObject()) return badParameter();
  w.registers.bind("motors_on", w.powered());
  Json::Value named(Json::objectValue);
  for (const std::string& path : parameter.getMemberNames()) {
    const auto value = w.registers.read(path);
    if (!value) return refuse(-1);
    named[path] = *value;
  }
  return answer(named);
}

Reply write(World& w, const Json::Value& parameter) {
  const auto name = readText(member(parameter, "name"));
  const Json::Value &value = member(parameter, "value"), &type = member(parameter, "type"),
                    &bias = member(parameter, "bias");
  if (!name) return badParameter();
  if (type == "array") return value.isArray() ? result(w.registers.writeArray(*name, value)) : badParameter();
  if (!type.isNull() || bias.type() == Json::realValue || !bias.isUInt() || value.isNull())
    return badParameter();
  return result(w.registers.write(*name, bias.asUInt(), value));
}

}  // namespace

void addRegisterHandlers(Handlers& h) {
  h.get("register.values", values);
  h.command("register.write", write);
}

}  // namespace zivra::sim
