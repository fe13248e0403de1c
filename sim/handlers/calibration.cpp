// Frames from taught points. A frame that is fixed in the cell is told in the world, one that the robot holds
// in its flange.
#include <algorithm>

#include "handlers/handlers.h"
#include "handlers/values.h"
#include "motion/frame_fit.h"

namespace zivra::sim {

namespace {

struct Taught {
  std::vector<Pose> flanges;  // in the base
  bool held = false;
  Place aux{};
};

Pose inWorld(const World& w, const Pose& inBase) { return compose(w.baseFrame(), inBase); }

std::optional<FrameFit> fitTool(const World& w, const Taught& taught) {
  auto fit = fitTip(taught.flanges, taught.held ? FixedTo::flange : FixedTo::base);
  if (fit && !taught.held) fit->frame = inWorld(w, fit->frame);
  return fit;
}

std::optional<FrameFit> fitThree(const World& w, const Taught& taught, bool held) {
  const Pose tool = w.motion.toolInFlange();
  std::vector<Place> places;
  for (const Pose& flange : taught.flanges) {
    // What the robot holds it moves past a tool that stands in the world.
    const Pose tip = held ? compose(inverse(inWorld(w, flange)), tool) : inWorld(w, compose(flange, tool));
    places.push_back(tip.trans);
  }
  return fitPlane(places[0], places[1], places[2]);
}

std::optional<FrameFit> fitWorkObject(const World& w, const Taught& taught) {
  return fitThree(w, taught, taught.held);
}

std::optional<FrameFit> fitRail(const World& w, const Taught& taught) { return fitThree(w, taught, false); }

// The tip touches the place "aux" of the world, and then goes along the world's x and along its z.
std::optional<FrameFit> fitBase(const World&, const Taught& taught) {
  auto fit = fitTip(taught.flanges, FixedTo::base);
  if (fit) fit->frame = compose(Pose{taught.aux, {}}, inverse(fit->frame));
  return fit;
}

struct Kind {
  const char* word;
  std::vector<std::size_t> counts;
  std::optional<FrameFit> (*fit)(const World&, const Taught&);
};

const Kind* kindNamed(const std::optional<std::string>& word) {
  static const auto& kinds = *new std::vector<Kind>{{"base", {6}, fitBase},
                                                    {"tool", {3, 4, 6}, fitTool},
                                                    {"wobj", {3}, fitWorkObject},
                                                    {"rail", {3}, fitRail}};
  const auto found = std::ranges::find_if(kinds, [&](const Kind& kind) { return word == kind.word; });
  return found == kinds.end() ? nullptr : &*found;
}

Reply calibrate(World& w, const Json::Value& parameter) {
  const Kind* kind = kindNamed(readText(member(parameter, "type")));
  const Json::Value& points = member(parameter, "points");
  const auto held = readFlag(member(parameter, "held"));
  const auto aux = readNumbers(member(parameter, "aux"), 3);
  if (kind == nullptr || !points.isArray() || !held || !aux || aux->size() != 3) return badParameter();
  if (std::ranges::find(kind->counts, points.size()) == kind->counts.end()) return badParameter();
  Taught taught;
  taught.held = *held;
  std::copy_n(aux->begin(), 3, taught.aux.begin());
  for (const Json::Value& point : points) {
    const auto joints = readNumbers(point, w.motion.arm().axes());
    if (!joints || joints->size() != w.motion.arm().axes()) return badParameter();
    taught.flanges.push_back(w.motion.arm().flange(*joints));
  }
  const auto fit = kind->fit(w, taught);
  if (!fit) return failure(-50003, "the points lie too close together");
  Json::Value value(Json::objectValue);
  value["frame"] = poseJson(fit->frame);
  value["errors"] = numbersJson(fit->errors);
  return data(value);
}

}  // namespace

void addCalibrationHandlers(Handlers& h) { h.command("utils.calibrate_frame", calibrate); }

}  // namespace zivra::sim
