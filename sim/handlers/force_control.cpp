// Force control.
#include <algorithm>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "handlers/handlers.h"
#include "handlers/values.h"
#include "motion/angles.h"

namespace zivra::sim {

namespace {

constexpr double kMillimetres = 1000;
constexpr double kUnlimited = 1.7976931348623157e308;

using Frame = ForceControl::Frame;
using Measure = ForceControl::Measure;
using Numbers = std::vector<double>;

// What a command's "cmd" names gets its "param".
struct Command {
  const char* cmd;
  Reply (*run)(World& w, const Json::Value& param);
};

template <std::size_t n>
Handler commands(const Command (&table)[n]) {
  return [&table](World& w, const Json::Value& parameters) {
    const auto cmd = readText(member(parameters, "cmd"));
    for (const Command& command : table)
      if (cmd == command.cmd) return command.run(w, member(parameters, "param"));
    return badParameter();
  };
}

// "values", exactly so many.
std::optional<Numbers> values(const Json::Value& param, std::size_t count) {
  auto numbers = readNumbers(member(param, "values"), count);
  return numbers && numbers->size() == count ? numbers : std::nullopt;
}

Six sixOf(const Numbers& numbers) {
  Six six;
  std::copy_n(numbers.begin(), six.size(), six.begin());
  return six;
}

bool in(double value, double least, double most) { return value >= least && value <= most; }

template <int (ForceControl::*set)(const Six&)>
Reply setSix(World& w, const Json::Value& param) {
  const auto numbers = values(param, 6);
  return numbers ? result((w.force.*set)(sixOf(*numbers))) : badParameter();
}

template <int (ForceControl::*set)(const Joints&)>
Reply setAxes(World& w, const Json::Value& param) {
  const auto numbers = values(param, w.motion.arm().axes());
  return numbers ? result((w.force.*set)(*numbers)) : badParameter();
}

template <int (ForceControl::*step)()>
Reply act(World& w, const Json::Value&) {
  return result((w.force.*step)());
}

Reply init(World& w, const Json::Value& parameters) {
  constexpr std::pair<const char*, Frame> kFrames[] = {{"world", Frame::world},     {"base", Frame::base},
                                                       {"flange", Frame::flange},   {"tool", Frame::tool},
                                                       {"wobj", Frame::workObject}, {"path", Frame::path}};
  const auto name = readText(member(parameters, "frame"));
  for (const auto& [text, frame] : kFrames)
    if (name == text) return result(w.force.init(w, frame));
  return name ? refuse(-41430) : badParameter();
}

Reply start(World& w, const Json::Value&) { return result(w.force.start(w)); }
Reply stop(World& w, const Json::Value&) { return result(w.force.stop(w)); }

Reply setType(World& w, const Json::Value& param) {
  const auto type = readText(member(param, "type"));
  if (type != "joint" && type != "cart") return badParameter();
  return result(w.force.setType(type == "joint" ? ForceControl::Type::joint : ForceControl::Type::cartesian));
}

Reply setLoad(World& w, const Json::Value& param) {
  const Json::Value& load = member(param, "load");
  const auto mass = readNumber(member(load, "mass"));
  const auto centre = readNumbers(member(load, "cog"), 3);
  if (!mass || !centre || !readNumbers(member(load, "inertia"), 3)) return badParameter();
  return result(w.force.setLoad({*mass, {(*centre)[0], (*centre)[1], (*centre)[2]}}));
}

Reply setNullspaceStiffness(World& w, const Json::Value& param) {
  const auto stiffness = readNumber(member(param, "value"));
  return stiffness ? result(w.force.setNullspaceStiffness(*stiffness)) : badParameter();
}

// The first of "values", which must be an integer.
std::optional<std::size_t> direction(const Json::Value& param) {
  const Json::Value& first = member(param, "values")[0u];
  if (first.type() == Json::realValue) return std::nullopt;
  const double number = first.asDouble();
  return in(number, 0, 2) ? std::optional(static_cast<std::size_t>(number)) : std::nullopt;
}

Reply setSine(World& w, const Json::Value& param) {
  const auto v = values(param, 5);
  if (!v) return badParameter();
  const auto axis = direction(param);
  if (!axis || !in((*v)[3], 0, kPi) || !in((*v)[4], 0, 10)) return badParameter();
  return result(w.force.setOverlay(ForceControl::Sine{*axis, (*v)[1], (*v)[2], (*v)[3], (*v)[4]}));
}

Reply setLissajous(World& w, const Json::Value& param) {
  const auto v = values(param, 6);
  if (!v) return badParameter();
  const auto plane = direction(param);
  if (!plane || !in((*v)[1], 0, 20) || !in((*v)[2], 0, 5) || !in((*v)[3], 0, 20) || !in((*v)[4], 0, 5) ||
      !in((*v)[5], 0, kPi))
    return badParameter();
  return result(
      w.force.setOverlay(ForceControl::Lissajous{*plane, (*v)[1], (*v)[2], (*v)[3], (*v)[4], (*v)[5]}));
}

template <Measure measure>
Reply setCondition(World& w, const Json::Value& param) {
  const auto bounds = values(param, 6);
  const auto inside = readFlag(member(param, "inside"));
  const auto timeout = readNumber(member(param, "timeout"));
  if (!bounds || !inside || !timeout || !in(*timeout, 1, 600)) return badParameter();
  ForceCondition condition{sixOf(*bounds), *inside, *timeout, {}};
  if (measure == Measure::place) {
    const auto frame = readPose(member(param, "frame"));
    if (!frame) return badParameter();
    condition.frame = *frame;
    for (double& bound : condition.bounds) bound /= kMillimetres;
  }
  return result(w.force.setCondition(measure, condition));
}

Reply wait(World& w, const Json::Value&) {
  const Ticket ticket = w.takeTicket();
  const int code = w.force.beginWait(ticket);
  return code == 0 ? later(ticket) : refuse(code);
}

Reply supervise(World& w, const Json::Value& param) {
  const auto on = readFlag(member(param, "enable"));
  return on ? result(w.force.supervise(*on)) : badParameter();
}

// A limit of the tool's six directions, or of the axes.
constexpr struct Limit {
  const char* cmd;
  Numbers ForceLimits::*limit;
  bool ofTool;
  double most, mostOfTurns;
} kLimits[] = {
    {"cart_vel_max", &ForceLimits::toolVelocity, true, kUnlimited, kUnlimited},
    {"cart_ctrl_max_wrench", &ForceLimits::controlWrench, true, 1000, 1000},
    {"cart_ctrl_max_vel", &ForceLimits::controlToolVelocity, true, 3, 10},
    {"joint_vel_max", &ForceLimits::axisVelocity, false, kUnlimited, kUnlimited},
    {"joint_momentum_max", &ForceLimits::momentum, false, kUnlimited, kUnlimited},
    {"joint_energy_max", &ForceLimits::energy, false, kUnlimited, kUnlimited},
    {"jnt_ctrl_max_torque", &ForceLimits::controlTorque, false, 1000, 1000},
    {"jnt_ctrl_max_vel", &ForceLimits::controlAxisVelocity, false, 10, 10},
    {"gain_value", &ForceLimits::gain, false, 60, 60},
    {"friction", &ForceLimits::friction, false, 1, 1},
};

Reply monitor(World& w, const Json::Value& parameters) {
  const auto cmd = readText(member(parameters, "cmd"));
  const Json::Value& param = member(parameters, "param");
  if (cmd == "monitor") return supervise(w, param);
  for (const Limit& limit : kLimits) {
    if (cmd != limit.cmd) continue;
    auto numbers = values(param, limit.ofTool ? 6 : w.motion.arm().axes());
    if (!numbers) return badParameter();
    for (std::size_t i = 0; i < numbers->size(); ++i)
      if (!in((*numbers)[i], 0, i < 3 ? limit.most : limit.mostOfTurns)) return badParameter();
    return result(w.force.setLimit(limit.limit, std::move(*numbers)));
  }
  return badParameter();
}

template <Frame frame>
Reply endTorque(World& w, const Json::Value&) {
  const auto torques = w.force.torques(w, frame);
  const std::span<const double> all(torques.cartesian);
  Json::Value value(Json::objectValue);
  value["joint"] = numbersJson(torques.measured);
  value["external"] = numbersJson(torques.outside);
  value["cart"]["force"] = numbersJson(all.first(3));
  value["cart"]["torque"] = numbersJson(all.last(3));
  return answer(value);
}

constexpr Command kSettings[] = {
    {"control_type", setType},
    {"load", setLoad},
    {"cart_stiff", setSix<&ForceControl::setCartesianStiffness>},
    {"cart_ns_stiff", setNullspaceStiffness},
    {"cart_force", setSix<&ForceControl::setDesiredForce>},
    {"joint_stiff", setAxes<&ForceControl::setJointStiffness>},
    {"joint_trq", setAxes<&ForceControl::setDesiredTorque>},
    {"sine_overlay", setSine},
    {"lissajous_overlay", setLissajous},
    {"force_cond", setCondition<Measure::force>},
    {"torque_cond", setCondition<Measure::torque>},
    {"posbox_cond", setCondition<Measure::place>},
};

constexpr Command kOverlay[] = {
    {"start", act<&ForceControl::startOverlay>},
    {"stop", act<&ForceControl::stopOverlay>},
    {"pause", act<&ForceControl::pauseOverlay>},
    {"restart", act<&ForceControl::restartOverlay>},
};

constexpr Command kConditions[] = {{"wait", wait}};

// Only collaborative robots have force control.
Handler ofCobots(Handler handler) {
  return [handler = std::move(handler)](World& w, const Json::Value& parameters) {
    return w.identity.model.collaborative ? handler(w, parameters) : refuse(-259);
  };
}

}  // namespace

void addForceControlHandlers(Handlers& h) {
  const auto command = [&h](const char* key, Handler handler) {
    h.command(key, ofCobots(std::move(handler)));
  };
  command("eci.fc.set_callback", [](World&, const Json::Value&) { return ok(); });
  command("eci.fc.init", init);
  command("eci.fc.start", start);
  command("eci.fc.stop", stop);
  command("eci.fc.set", commands(kSettings));
  command("eci.fc.overlay", commands(kOverlay));
  command("eci.fc.cond", commands(kConditions));
  command("eci.fc.monitor", monitor);
  h.get("eci.fc.end_torque.ref_world", ofCobots(endTorque<Frame::world>));
  h.get("eci.fc.end_torque.ref_flange", ofCobots(endTorque<Frame::flange>));
  h.get("eci.fc.end_torque.ref_tcp", ofCobots(endTorque<Frame::tool>));
}

}  // namespace zivra::sim
