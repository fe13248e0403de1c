// Questions about kinematics: the library has none of its own, the controller answers them all.
#include <zivra/model.h>
#include <zivra/robot.h>

#include "core/wire_forms.h"
#include "robot/operation.h"
#include "robot/typed_value.h"

namespace zivra {

using internal::Operation;

struct BaseModel::Impl {
  std::shared_ptr<XService> service;
};

BaseModel::BaseModel(std::shared_ptr<XService> service)
    : impl_(std::make_shared<Impl>(Impl{std::move(service)})) {}
BaseModel::BaseModel(const BaseModel& other) = default;
BaseModel& BaseModel::operator=(const BaseModel& other) = default;
BaseModel::~BaseModel() = default;

XService& BaseModel::service() const noexcept { return *impl_->service; }

namespace {

constexpr int inverseError = -32;

// False: there is no pose in the reply, nor the place for one.
bool askForPose(Operation& op, const Json::Value& question, CartesianPosition& pose) {
  auto reply = op.command("sys.calc.fk", question);
  if (!reply.failed() && !reply.value().isObject()) reply.code();
  if (reply.failed() || reply.isCode()) return false;
  bool malformed = false;
  CartesianPosition read = internal::readCartesian(internal::member(reply.value(), "data"), &malformed);
  if (malformed) {
    reply.fail(Code::responseUnresolved);
    return false;
  }
  pose = std::move(read);
  return true;
}

// The axis angles of the reply's "data"; true if the reply is one that has a place for them.
bool askForAngles(Operation& op, const Json::Value& question, double* out, std::size_t n,
                  std::error_code& ec) {
  auto reply = op.command("sys.calc.ik", question);
  if (reply.failed()) return false;
  if (internal::hasMember(reply.value(), "error")) {
    ec = {inverseError, category()};
    return false;
  }
  if (!reply.value().isObject()) {
    reply.code();
    if (!reply.failed()) reply.fail(Code::responseUnresolved);  // 0 is no answer either
    return false;
  }
  internal::Reply(ec, internal::member(reply.value(), "data")).numbers(out, n, Code::axisMismatch);
  return true;
}

Json::Value inverseQuestion(CartesianPosition& posture, std::size_t axes) {
  if (!posture.confData.empty()) posture.confData.resize(axes);
  Json::Value question;
  internal::writeCartesian(posture, true, question);
  return question;
}

// Appends a solution; 0, or the code of what is wrong with it.
std::error_code readSolution(const Json::Value& element, std::vector<std::vector<double>>& solutions,
                             std::vector<std::vector<int>>& confs) {
  const Json::Value& angles = internal::member(element, "jnt");
  const Json::Value& configuration = internal::member(element, "conf");
  if (!angles.isArray() || !configuration.isArray()) return Code::axisMismatch;
  std::vector<double> joints, numbers;
  std::vector<int> conf;
  if (internal::readVector(angles, joints) != 0 || internal::readVector(configuration, numbers) != 0)
    return Code::responseUnresolved;
  for (const double number : numbers) {
    const auto read = internal::fitting<int>(number);
    if (!read) return Code::responseUnresolved;
    conf.push_back(*read);
  }
  solutions.push_back(std::move(joints));
  confs.push_back(std::move(conf));
  return {};
}

}  // namespace

std::vector<std::vector<double>> BaseModel::calcAllIkSolutions(const CartesianPosition& posture,
                                                               std::vector<std::vector<int>>& confs,
                                                               std::error_code& ec) noexcept {
  Operation op(service(), ec);
  Json::Value question;
  internal::writeCartesian(posture, false, question);
  auto reply = op.command("utils.calc.all.ik", question);
  if (!reply.isData()) return {};
  const Json::Value& result = internal::member(internal::member(reply.value(), "data"), "result");
  if (!result.isArray()) {
    reply.fail(Code::responseUnresolved);
    return {};
  }
  std::vector<std::vector<double>> solutions;
  std::vector<std::vector<int>> read;
  for (const Json::Value& element : result) {
    ec = readSolution(element, solutions, read);
    if (ec) break;
  }
  // What can't be understood at all leaves the caller's list alone.
  if (ec != Code::responseUnresolved) confs = std::move(read);
  if (ec) solutions.clear();
  return solutions;
}

template <unsigned short N>
Model_T<N>::Model_T(std::shared_ptr<XService> service) : BaseModel(std::move(service)) {}
template <unsigned short N>
Model_T<N>::~Model_T() = default;

template <unsigned short N>
CartesianPosition Model_T<N>::calcFk(const std::array<double, N>& joints, std::error_code& ec) noexcept {
  Operation op(service(), ec);
  CartesianPosition pose;
  if (askForPose(op, internal::numbersJson(joints), pose))
    op.end("calcFk {}, ret:{} ({})", joints, pose, ec);
  else
    op.error("calcFk {} ({})", joints, ec);
  return pose;
}

template <unsigned short N>
CartesianPosition Model_T<N>::calcFk(const std::array<double, N>& joints, const Toolset& toolset,
                                     std::error_code& ec) noexcept {
  Operation op(service(), ec);
  Json::Value question;
  question["jnt_pos"] = internal::numbersJson(joints);
  internal::writeToolset(toolset, question["tool_set"]);
  CartesianPosition pose;
  if (askForPose(op, question, pose))
    op.end("calcFk {} {}, ret:{} ({})", joints, toolset, pose, ec);
  else
    op.error("calcFk {} {} ({})", joints, toolset, ec);
  return pose;
}

template <unsigned short N>
std::array<double, N> Model_T<N>::calcIk(CartesianPosition posture, std::error_code& ec) noexcept {
  Operation op(service(), ec);
  std::array<double, N> joints{};
  if (askForAngles(op, inverseQuestion(posture, N), joints.data(), N, ec))
    op.end("calcIk {}, ret:{} ({})", posture, joints, ec);
  else
    op.error("calcIk {} ({})", posture, ec);
  return joints;
}

template <unsigned short N>
std::array<double, N> Model_T<N>::calcIk(CartesianPosition posture, const Toolset& toolset,
                                         std::error_code& ec) noexcept {
  Operation op(service(), ec);
  Json::Value question = inverseQuestion(posture, N);
  internal::writeToolset(toolset, question["tool_set"]);
  std::array<double, N> joints{};
  if (askForAngles(op, question, joints.data(), N, ec))
    op.end("calcIk {} {}, ret:{} ({})", posture, toolset, joints, ec);
  else
    op.error("calcIk {} {} ({})", posture, toolset, ec);
  return joints;
}

template class Model_T<3>;
template class Model_T<4>;
template class Model_T<5>;
template class Model_T<6>;
template class Model_T<7>;

template <WorkType wt, unsigned short dof>
Model_T<dof> Robot_T<wt, dof>::model() {
  return Model_T<dof>(impl().service);
}

template Model_T<5> Robot_T<WorkType::collaborative, 5>::model();
template Model_T<6> Robot_T<WorkType::collaborative, 6>::model();
template Model_T<7> Robot_T<WorkType::collaborative, 7>::model();
template Model_T<3> Robot_T<WorkType::industrial, 3>::model();
template Model_T<4> Robot_T<WorkType::industrial, 4>::model();
template Model_T<6> Robot_T<WorkType::industrial, 6>::model();

std::vector<double> BaseRobot::getRobotCfg_DHparam(bool get_nominal, std::error_code& ec) noexcept {
  constexpr const char* nominalKey = "KINEMATICS.DH_PARAMS";
  Operation op(impl(), ec);
  Json::Value question;
  question["type"] = "json";
  question["key"] = get_nominal ? nominalKey : "KINEMATICS.DH_PARAMS_ALL";
  if (get_nominal) question["func"] = "std";
  const auto ask = [&] { return op.command("cfg.get", question).value(); };
  Json::Value reply = ask();
  const bool unknown = internal::hasMember(reply, "data") && internal::member(reply, "data").isNull();
  if (!ec && unknown && !get_nominal) {
    // The controller has no full set; it has the nominal one.
    question["key"] = nominalKey;
    reply = ask();
  }
  internal::Reply rules(ec, std::move(reply));
  if (!rules.isData()) return {};
  return internal::Reply(ec, internal::member(rules.value(), "data")).numbers();
}

}  // namespace zivra
