// Jogging by hand: an axis, or the tool in a space, moves by a step. Joints take the step in rad. Of a
// Cartesian space the indices 0 to 2 are shifts in m, 3 to 5 turns in rad.
#include <iterator>

#include "handlers/handlers.h"
#include "handlers/values.h"

namespace zivra::sim {

namespace {

constexpr JogSpace kSpaces[] = {JogSpace::world, JogSpace::flange,     JogSpace::base,
                                JogSpace::tool,  JogSpace::workObject, JogSpace::joints};
constexpr double kLeastRate = 0.01;

Reply jog(World& w, const Json::Value& parameter) {
  const Json::Value &space = member(parameter, "space"), &index = member(parameter, "index");
  const auto rate = readNumber(member(parameter, "rate"));
  const auto step = readNumber(member(parameter, "step"));
  const auto forwards = readFlag(member(parameter, "direction"));
  if (!space.isInt64() || !index.isInt64() || !rate || !step || !forwards) return badParameter();
  const Json::Int64 number = space.asInt64(), axis = index.asInt64();
  if (number < 0 || number >= static_cast<Json::Int64>(std::size(kSpaces))) return refuse(-50515);
  if (!(*rate >= kLeastRate && *rate <= 1)) return refuse(-50513);
  if (!(*step > 0)) return refuse(-50514);
  if (axis < 0) return refuse(-50516);
  Jog request;
  request.space = kSpaces[number];
  request.axis = static_cast<std::size_t>(axis);
  request.step = *forwards ? *step : -*step;
  request.rate = *rate;
  return result(w.startJog(request));
}

// No external axis is activated, so that there is nothing to move but the arm.
Reply jogWithExternalAxes(World& w, const Json::Value& parameter) {
  const auto external = readFlag(member(parameter, "is_ext"));
  if (!external || !readText(member(parameter, "fixed_name"))) return badParameter();
  return *external ? refuse(-50516) : jog(w, parameter);
}

}  // namespace

void addJogHandlers(Handlers& h) {
  h.command("move.jog", jog);
  h.command("move.jog_with_ext", jogWithExternalAxes);
}

}  // namespace zivra::sim
