// Every class of the layer against a controller of its kind: which native object a call goes to, and how long
// things live.
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "binding/managed.h"

namespace zivra::test {

namespace {

// What each chain of all robots does.
using Calls = std::vector<std::pair<const char*, std::function<void(clr::BaseRobot&, ErrorCode&)>>>;
Calls chains() {
  return {
      {"connectToRobot", [](auto& r, auto&) { r.connectToRobot("127.0.0.1", ""); }},
      {"connectToRobot", [](auto& r, auto&) { r.connectToRobot("127.0.0.1"); }},
      {"connectToRobot", [](auto& r, auto& ec) { r.connectToRobot(ec); }},
      {"jointTorque", [](auto& r, auto& ec) { r.jointTorque(ec); }},
      {"getStateList", [](auto& r, auto& ec) { r.getStateList(ec); }},
      {"calibrateFrame",
       [](auto& r, auto& ec) { r.calibrateFrame(clr::FrameType::tool, {}, false, {}, ec); }},
      {"getSoftLimit",
       [](auto& r, auto& ec) {
         Array2<double> limits;
         r.getSoftLimit(limits, ec);
       }},
      {"setSoftLimit", [](auto& r, auto& ec) { r.setSoftLimit(true, {}, ec); }},
      {"startReceiveRobotState", [](auto& r, auto&) { r.startReceiveRobotState(8, {"q_m"}); }},
      {"calcIk", [](auto& r, auto& ec) { r.calcIk({}, ec); }},
      {"calcIk", [](auto& r, auto& ec) { r.calcIk({}, {}, ec); }},
      {"calcFk", [](auto& r, auto& ec) { r.calcFk({}, ec); }},
      {"calcFk", [](auto& r, auto& ec) { r.calcFk({}, {}, ec); }},
      {"calcAllIkSolutions",
       [](auto& r, auto& ec) {
         Array<Array<int>> confs;
         r.calcAllIkSolutions({}, confs, ec);
       }},
      {"powerState", [](auto& r, auto& ec) { r.powerState(ec); }},
      {"ethercat", [](auto& r, auto&) { r.ethercat(); }},
      {"setConnectionHandler", [](auto& r, auto&) { r.setConnectionHandler(nullptr); }},
      {"updateRobotState", [](auto& r, auto&) { r.updateRobotState(1); }},
  };
}

Calls cobotChains() {
  const auto of = [](auto call) {
    return [call](clr::BaseRobot& r, ErrorCode& ec) { call(dynamic_cast<clr::Cobot&>(r), ec); };
  };
  return {
      {"enableCollisionDetection", of([](clr::Cobot& r, ErrorCode& ec) {
         r.enableCollisionDetection({}, clr::StopLevel::stop1, 0, ec);
       })},
      {"calibrateForceSensor", of([](clr::Cobot& r, ErrorCode& ec) { r.calibrateForceSensor(true, 0, ec); })},
      {"forceControl", of([](clr::Cobot& r, ErrorCode&) { r.forceControl(); })},
      {"getKeypadState", of([](clr::Cobot& r, ErrorCode& ec) { r.getKeypadState(ec); })},
  };
}

void expectNoObject(clr::BaseRobot& robot, const Calls& calls) {
  for (const auto& row : calls) {
    ErrorCode ec;
    EXPECT_EQ(faultOf([&] { row.second(robot, ec); }), Fault::nullReference) << row.first;
  }
}

void expectNoDynamics(clr::BaseRobot& robot) {
  Array<double> out;
  const std::function<void()> calls[] = {
      [&] { robot.setTcpCoor({}, {}); },
      [&] { robot.setGravityDirection(0, 0, 1); },
      [&] { robot.jacobian({}, clr::SegmentFrame::flange); },
      [&] { robot.jacobianDot({}, {}, clr::SegmentFrame::flange); },
      [&] { robot.getMassMatrix({}); },
      [&] { robot.getCoriolisVector({}, {}); },
      [&] { robot.getTorqueNoFriction({}, {}, {}, out, out, out, out); },
  };
  for (const auto& call : calls) {
    EXPECT_EQ(textOf<clr::NotSupportedException>(call), "TandiModel library is not enabled in this build.");
  }
}

TEST_F(Managed, WithoutANativeObjectThrow) {
  clr::BaseRobot base;
  clr::Cobot cobot;
  expectNoObject(base, chains());
  expectNoObject(cobot, chains());
  expectNoObject(cobot, cobotChains());
  expectNoDynamics(base);
}

template <class Robot, std::size_t axes>
void useClass(const std::string& address) {
  Robot robot(address);
  ErrorCode ec;
  const auto done = [&](const char* what) {
    EXPECT_EQ(ec.value(), 0) << what << ": " << ec.message().text();
  };
  EXPECT_EQ(robot.robotInfo(ec).joint_num, static_cast<int>(axes));
  EXPECT_EQ(robot.powerState(ec), clr::PowerState::off);
  EXPECT_EQ(robot.jointTorque(ec).size(), axes);
  done("torque");
  const auto states = robot.getStateList(ec);
  done("states");
  EXPECT_EQ(states.joint_pos, robot.jointPos(ec));
  EXPECT_EQ(states.operation_mode, clr::OperateMode::manual);
  Array2<double> limits, read;
  robot.getSoftLimit(limits, ec);
  done("limits");
  EXPECT_EQ(limits.rows(), axes);
  EXPECT_LT(limits.at(axes - 1, 0), limits.at(axes - 1, 1));
  limits.at(axes - 1, 1) -= 0.01;
  robot.setSoftLimit(true, limits, ec);
  done("set limits");
  robot.getSoftLimit(read, ec);
  EXPECT_EQ(read.at(axes - 1, 1), limits.at(axes - 1, 1));
  robot.calibrateFrame(clr::FrameType::tool, List<Array<double>>(5), false, {}, ec);
  EXPECT_EQ(ec.value(), 259);
  // Angles and poses, there and back, also with a tool.
  clr::Toolset tool;
  tool.end.trans = {0, 0, 0.1};
  const auto samePose = [](const clr::CartesianPosition& a, const clr::CartesianPosition& b) {
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(a.trans.at(i), b.trans.at(i), 1e-6);
  };
  const auto pose = robot.calcFk(states.joint_pos, ec);
  done("forward");
  const auto angles = robot.calcIk(pose, ec);
  done("inverse");
  samePose(robot.calcFk(angles, ec), pose);
  const auto held = robot.calcFk(states.joint_pos, tool, ec);
  done("forward with a tool");
  const auto heldAngles = robot.calcIk(held, tool, ec);
  done("inverse with a tool");
  samePose(robot.calcFk(heldAngles, tool, ec), held);
  EXPECT_GT(
      std::hypot(held.trans[0] - pose.trans[0], held.trans[1] - pose.trans[1], held.trans[2] - pose.trans[2]),
      0.05);
  Array<Array<int>> confs{{1}};
  const auto solutions = robot.calcAllIkSolutions(pose, confs, ec);
  done("all solutions");
  EXPECT_FALSE(solutions.empty());
  EXPECT_EQ(confs.size(), solutions.size());
  for (const auto& one : solutions) EXPECT_EQ(one.size(), axes);
  expectNoDynamics(robot);
  const auto start = [&] { robot.startReceiveRobotState(8, {"no such field"}); };
  if (axes < 5) {
    EXPECT_EQ(textOf<clr::NotSupportedException>(start), "The robot model doesn't support");
  } else {
    EXPECT_EQ(faultOf(start), Fault::api);
  }
  double value = 0;
  EXPECT_EQ(faultOf([&] { robot.getStateData("q_m", value); }), Fault::api);  // there is no stream
  if constexpr (std::is_base_of_v<clr::Cobot, Robot>) {
    const auto force = robot.forceControl();
    robot.setPowerState(true, ec);
    force->fcInit(clr::FrameType::world, ec);
    done("init");
    force->setControlType(0, ec);
    force->setJointStiffness({}, ec);
    done("stiffness");
    robot.calibrateForceSensor(false, axes - 1, ec);
    done("force sensor");
    robot.enableCollisionDetection(Array<double>(axes, 1.0), clr::StopLevel::stop1, 0.01, ec);
    done("collision detection");
    robot.disableCollisionDetection(ec);
    done("end of collision detection");
    EXPECT_EQ(robot.getKeypadStateArray(ec).size(), 7u);
  }
  robot.disconnectFromRobot(ec);
  done("disconnect");
  robot.connectToRobot(ec);
  done("connect again");
  robot.Dispose();
  robot.Dispose();
  expectNoObject(robot, chains());
  if constexpr (std::is_base_of_v<clr::Cobot, Robot>) expectNoObject(robot, cobotChains());

  Robot later;
  EXPECT_EQ(faultOf([&] { later.jointTorque(ec); }), Fault::none);
  EXPECT_NE(ec.value(), 0);
  later.connectToRobot(address, "127.0.0.1");
  EXPECT_EQ(later.jointPos(ec).size(), axes);
  done("later");
  if constexpr (axes > 4) {
    later.startReceiveRobotState(8, {"q_m"});
    EXPECT_GT(later.updateRobotState(2000), 0u);
    Array<double> streamed;
    EXPECT_EQ(later.getStateData("q_m", streamed), 0);
    EXPECT_EQ(streamed.size(), axes);
  }
}

TEST_F(Managed, EachClassReachesItsNativeOne) {
  struct Row {
    sim::Model model;
    void (*use)(const std::string&);
  };
  for (const Row& row : {Row{sim::Model::triax, useClass<clr::TriaxRobot, 3>},
                         Row{sim::Model::quadrax, useClass<clr::QuadraxRobot, 4>},
                         Row{sim::Model::standard, useClass<clr::StandardRobot, 6>},
                         Row{sim::Model::tandiFive, useClass<clr::TandiFiveRobot, 5>},
                         Row{sim::Model::tandi, useClass<clr::TandiRobot, 6>},
                         Row{sim::Model::tandiSeven, useClass<clr::TandiSevenRobot, 7>},
                         Row{sim::Model::tandiSeven, useClass<clr::QuillRobot, 7>}}) {
    SCOPED_TRACE(sim::modelName(row.model));
    startController(row.model);
    row.use(address());
  }
}

// Tells when its end begins.
template <class Native>
class Traced : public Native {
 public:
  template <class... A>
  Traced(std::vector<std::string>& ended, const char* name, const A&... a)
      : Native(a...), ended_(ended), name_(name) {}
  ~Traced() override { ended_.emplace_back(name_); }

 private:
  std::vector<std::string>& ended_;
  const char* name_;
};

struct Opened : clr::BaseRobot {
  using BaseRobot::cobot5, BaseRobot::cobot6, BaseRobot::cobot7, BaseRobot::ir3, BaseRobot::ir4,
      BaseRobot::ir6;
  using BaseRobot::model3, BaseRobot::model4, BaseRobot::model5, BaseRobot::model6, BaseRobot::model7;
};

template <class Facade, class Native, class Model>
void expectReleases(std::unique_ptr<Native> clr::BaseRobot::*owner,
                    std::unique_ptr<Model> clr::BaseRobot::*model) {
  for (const bool disposed : {true, false}) {
    std::vector<std::string> ended;
    {
      Facade robot;
      robot.*owner = std::make_unique<Traced<Native>>(ended, "robot");
      robot.*model = std::make_unique<Traced<Model>>(ended, "model", *(robot.*model));
      if (disposed) {
        robot.Dispose();
        EXPECT_EQ(ended.size(), 2u);
        robot.Dispose();
      }
    }
    EXPECT_EQ(ended, (std::vector<std::string>{"robot", "model"})) << disposed;
  }
}

TEST(ManagedRobots, ReleaseTheNativeOneThenItsModelOnce) {
  expectReleases<clr::TriaxRobot>(&Opened::ir3, &Opened::model3);
  expectReleases<clr::QuadraxRobot>(&Opened::ir4, &Opened::model4);
  expectReleases<clr::StandardRobot>(&Opened::ir6, &Opened::model6);
  expectReleases<clr::TandiFiveRobot>(&Opened::cobot5, &Opened::model5);
  expectReleases<clr::TandiRobot>(&Opened::cobot6, &Opened::model6);
  expectReleases<clr::TandiSevenRobot>(&Opened::cobot7, &Opened::model7);
  expectReleases<clr::QuillRobot>(&Opened::cobot7, &Opened::model7);
}

TEST_F(Managed, OperationsOfOneClass) {
  {
    startController(sim::Model::standard);
    clr::StandardRobot robot(address(), "");
    robot.enableCollisionDetection({1, 1, 1, 1, 1, 1}, 0.01, ec_);
    done("collision detection");
    robot.disableCollisionDetection(ec_);
    done("end of collision detection");
    robot.setAvoidSingularity(clr::AvoidSingularityMethod::lockAxis4, true, 0, ec_);
    done("singularity");
    EXPECT_TRUE(robot.getAvoidSingularity(clr::AvoidSingularityMethod::lockAxis4, ec_));
  }
  {
    startController(sim::Model::tandi);
    clr::TandiRobot robot(address(), "");
    robot.setAvoidSingularity(clr::AvoidSingularityMethod::wrist, true, 0.1, ec_);
    done("singularity");
    EXPECT_TRUE(robot.getAvoidSingularity(clr::AvoidSingularityMethod::wrist, ec_));
  }
  startController(sim::Model::tandiFive);
  clr::TandiFiveRobot robot(address(), "");
  robot.enableCompletePostureLerp(true, ec_);
  done("posture");
}

TEST_F(Managed, NativeExceptionsAreTranslatedWhereTheyMayBe) {
  const auto nativeText = [&](const auto& call) { return textOf<zivra::Exception>(call); };
  const std::string refused = nativeText([&] { zivra::TandiRobot robot(address()); });
  ASSERT_FALSE(refused.empty());
  EXPECT_EQ(textOf<clr::ApiException>([&] { clr::TandiRobot robot(address()); }), refused);
  EXPECT_EQ(textOf<clr::ApiException>([&] { clr::TriaxRobot robot(address()); }), refused);
  clr::TandiSevenRobot seven;
  EXPECT_EQ(textOf<clr::ApiException>([&] { seven.connectToRobot(address(), ""); }), refused);
  EXPECT_EQ(faultOf([&] { seven.updateRobotState(1); }), Fault::api);
  startController(sim::Model::tandi);
  EXPECT_EQ(faultOf([&] { seven.connectToRobot(address()); }), Fault::api);  // has another count of axes
  clr::TandiRobot robot(address());
  controller().stopListening();
  EXPECT_FALSE(nativeText([&] { robot.ethercat(); }).empty());
}

TEST_F(Managed, UpgradeConnectsOrThrows) {
  EXPECT_EQ(faultOf([&] { clr::BaseUpgrade client(address()); }), Fault::api);
  clr::BaseUpgrade client;
  EXPECT_EQ(faultOf([&] { client.connect(address()); }), Fault::api);
  startController();
  client.connect(address());
  client.connect(ec_);
  done("connect");
  client.upgrade("no such file", ec_);
  EXPECT_EQ(ec_.value(), -280);
  using clr::BackupItem;
  client.exportBackup("backup.zip", {BackupItem::rlProgram, BackupItem::rlProgram}, ec_);
  done("backup");
  EXPECT_GT(std::filesystem::file_size("backup.zip"), 0u);
  client.Dispose();
  client.Dispose();
  EXPECT_EQ(faultOf([&] { client.connect(ec_); }), Fault::nullReference);
}

TEST_F(Managed, StateStreamGivesFields) {
  startController();
  clr::TandiRobot robot(address(), "127.0.0.1");
  robot.startReceiveRobotState(8, {"q_m", "ts"});
  EXPECT_GT(robot.updateRobotState(2000), 0u);
  Array<double> joints{9};
  EXPECT_EQ(robot.getStateData("q_m", joints), 0);
  EXPECT_EQ(joints, robot.jointPos(ec_));
  std::uint64_t stamp = 0;
  EXPECT_EQ(robot.getStateData("ts", stamp), 0);
  EXPECT_GT(stamp, 0u);
  double number = 5;
  EXPECT_EQ(robot.getStateData("q_m", number), -1);
  EXPECT_EQ(number, 5);
  EXPECT_EQ(robot.getStateData("ts", joints), -1);
  EXPECT_TRUE(joints.empty());
  robot.stopReceiveRobotState();
  EXPECT_EQ(textOf<clr::ApiException>([&] { robot.updateRobotState(1); }).substr(0, 9), "realtime:");
}

}  // namespace

}  // namespace zivra::test
