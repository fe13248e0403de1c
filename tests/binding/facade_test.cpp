// What facades send and hand back where they do more than to pass arguments on.
#include <functional>
#include <optional>

#include "binding/fixture.h"
#include "robot/fixture.h"

namespace zivra::test {

namespace {

using Bytes = Array<std::uint8_t>;
using Robot = clr::TandiRobot;

class Facade : public RobotTest {
 protected:
  Facade() : robot_(address()), ec_(-99, "as before") {}

  // The text of the last request of that key.
  std::string sent(const std::string& key) const {
    std::string text;
    for (const Request& request : controller_.requests()) {
      if (request.key == key) text = request.text;
    }
    return text;
  }

  Robot robot_;
  ErrorCode ec_;
};

TEST_F(Facade, ConversionFailsBeforeAnythingIsSent) {
  ErrorCode answered;
  robot_.powerState(answered);  // whatever connecting sends without waiting has come by then
  const auto before = controller_.requests().size();
  const clr::Frame broken(Array<double>(2), Array<double>(3));
  Array2<double> limits(5, 2), narrow(6, 1);
  List<clr::MoveCommand> none;
  String id = "old";
  const std::pair<Fault, std::function<void()>> calls[] = {
      {Fault::indexOutOfRange, [&] { robot_.setBaseFrame(broken, ec_); }},
      {Fault::indexOutOfRange, [&] { robot_.setSoftLimit(true, limits, ec_); }},
      {Fault::indexOutOfRange, [&] { robot_.setSoftLimit(true, narrow, ec_); }},
      {Fault::indexOutOfRange, [&] { robot_.setRailParameter("baseFrame", broken, ec_); }},
      {Fault::argumentOutOfRange,
       [&] { robot_.moveAppend(clr::MoveCommand::Type::MoveWait, none, id, ec_); }},
      {Fault::argumentNull,
       [&] {
         int value = 0;
         robot_.getExtAxisInfo(nullptr, "resolution_ratio", value, ec_);
       }},
      {Fault::argument,
       [&] {
         std::optional<Array<String>> values;
         robot_.getMechUnit("u1", "\xFF", values, ec_);
       }},
  };
  for (const auto& [fault, call] : calls) EXPECT_EQ(faultOf(call), fault);
  EXPECT_EQ(controller_.requests().size(), before);
  EXPECT_EQ(ec_, ErrorCode(-99, "as before"));
  EXPECT_EQ(id, String("old"));
}

TEST_F(Facade, ReadsIntoNewValuesAndLeavesOldOnesOnFailure) {
  controller_.answer("sys.rt.jnt_trq", "[1,2,3,4,5,6]");
  EXPECT_EQ(robot_.jointTorque(ec_), (std::vector<double>{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(ec_.value(), 0);
  controller_.answer("rail_param", R"({"name":"\u00e9"})");
  String name = "before";
  robot_.getRailParameter("name", name, ec_);
  EXPECT_EQ(name, String("\u00e9"));
  robot_.getRailParameter("no such", name, ec_);
  EXPECT_EQ(ec_.value(), 259);
  EXPECT_EQ(name, String("\u00e9"));
  controller_.answer("ext_axis.get_mechanical_unit_info", "-1");
  std::optional<Array<String>> units = Array<String>{"before"};
  robot_.getMechUnit("u1", "axes_info", units, ec_);
  EXPECT_NE(ec_.value(), 0);
  EXPECT_EQ(units, std::vector<String>{"before"});
  std::optional<clr::Frame> base;
  robot_.getRailParameter("no such", base, ec_);
  EXPECT_FALSE(base);
  controller_.answer("rail_param", R"({"base_frame":{"trans":[1,2,3],"rot":[4,5,6]}})");
  robot_.getRailParameter("baseFrame", base, ec_);
  ASSERT_TRUE(base) << ec_.message().text();
  EXPECT_EQ(base->rpy, (std::vector<double>{4, 5, 6}));
  List<float> values{1};
  robot_.readRegister("unknown", values, ec_);
  EXPECT_NE(ec_.value(), 0);
  EXPECT_TRUE(values.empty());
  double acc = 5, jerk = 6;
  robot_.getAcceleration(acc, jerk, ec_);
  EXPECT_NE(ec_.value(), 0);
  EXPECT_EQ(acc + jerk, 11);
  controller_.answer("utils.calc.all.ik",
                     R"({"data":{"result":[{"jnt":[1,2],"conf":[3]},{"jnt":[1,2,3,4,5,6,7],"conf":[]}]}})");
  Array<Array<int>> confs;
  const auto solutions = robot_.calcAllIkSolutions({}, confs, ec_);
  EXPECT_EQ(solutions, (std::vector<Array<double>>{{1, 2, 0, 0, 0, 0}, {1, 2, 3, 4, 5, 6}}));
  EXPECT_EQ(confs, (std::vector<Array<int>>{{3}, {}}));
  Array2<double> limits;
  EXPECT_FALSE(robot_.getSoftLimit(limits, ec_));
  EXPECT_EQ(limits.rows(), 6u);
  EXPECT_EQ(limits.at(5, 1), 0);
  clr::CANFrame frame(1, 1, 2, Bytes{1}, 1);
  robot_.CANReceiveData(1, "uint8", frame, ec_);
  EXPECT_NE(ec_.value(), 0);
  EXPECT_EQ(frame.frame_type + frame.frame_id + frame.frame_format + frame.frame_valid_length, 0);
  EXPECT_EQ(robot_.getKeypadStateArray(ec_), std::vector<bool>(7));
  Array<int> registers{1, 2};
  robot_.NorvilRWModbusRTUReg(1, 99, 0, "int16", 2, registers, false, ec_);
  EXPECT_EQ(ec_.value(), 258);
  EXPECT_EQ(registers.size(), 2u);
}

TEST_F(Facade, OfForceControlCutsAndOutlivesItsRobot) {
  controller_.answer("eci.fc.set_callback", "0");
  controller_.answer("eci.fc.set", "0");
  const auto force = robot_.forceControl();
  force->setJointStiffness({1, 2, 3, 4, 5, 6, 7}, ec_);
  EXPECT_NE(sent("eci.fc.set").find(R"("values":[1.0,2.0,3.0,4.0,5.0,6.0])"), std::string::npos);
  EXPECT_EQ(ec_.value(), 0);
  controller_.answer("eci.fc.end_torque.ref_flange", R"({"joint":[1,2,3,4,5,6],"external":[7]})");
  Array<double> joints, external{9}, torque, forces;
  force->getEndTorque(clr::FrameType::flange, joints, external, torque, forces, ec_);
  EXPECT_EQ(ec_.value(), 261);
  EXPECT_EQ(joints, (std::vector<double>{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(external, std::vector<double>(6));
  EXPECT_EQ(torque, std::vector<double>(3));
  EXPECT_EQ(forces, std::vector<double>(3));
  robot_.Dispose();
  force->fcStart(ec_);
  EXPECT_NE(ec_.value(), 0);  // the link went with the robot
  force->Dispose();
  force->Dispose();
  ec_ = ErrorCode(-99, "as before");
  force->setFriction({}, ec_);
  force->getEndTorque(clr::FrameType::flange, joints, external, torque, forces, ec_);
  EXPECT_EQ(ec_, ErrorCode(-99, "as before"));
  EXPECT_EQ(joints.size(), 6u);
  EXPECT_EQ(faultOf([&] { force->fcStart(ec_); }), Fault::nullReference);
}

TEST_F(Facade, OfTheBusFitsItsBuffers) {
  for (const char* key :
       {"ethercat.write_SDO_data", "ethercat.write_PDO_data", "ethercat.write_multi_SDO_data"}) {
    controller_.answer(key, "0");
  }
  controller_.answer("ethercat.read_SDO_data", R"({"data":[200,7]})");
  const auto bus = robot_.ethercat();
  robot_.Dispose();  // the bus has a link of its own
  struct Write {
    std::optional<Bytes> data;
    int length;
    const char* bytes;
  };
  for (const Write& row : {Write{Bytes{1, 2, 3}, 2, "[1,2]"}, Write{Bytes{1}, 3, "[1,0,0]"},
                           Write{std::nullopt, 2, "[0,0]"}, Write{Bytes{1}, 0, "[]"}}) {
    EXPECT_TRUE(bus->WriteSDO(1, 2, 3, row.length, row.data, 500, ec_)) << row.bytes << ec_.message().text();
    const std::string member = R"("data":)" + std::string(row.bytes);
    EXPECT_NE(sent("ethercat.write_SDO_data").find(member), std::string::npos) << row.bytes;
    EXPECT_TRUE(bus->WritePDO(1, 2, row.length, row.data, ec_)) << row.bytes << ec_.message().text();
    EXPECT_NE(sent("ethercat.write_PDO_data").find(member), std::string::npos) << row.bytes;
  }
  EXPECT_TRUE(bus->WriteMultiSDO(1, {std::nullopt, clr::SDOData()}, ec_));
  Bytes data{9};
  EXPECT_TRUE(bus->ReadSDO(1, 2, 3, 4, data, 500, ec_));
  EXPECT_EQ(data, (std::vector<std::uint8_t>{200, 7, 0, 0}));
  const auto reads = controller_.count("ethercat.read_SDO_data");
  for (const int length : {0, -1}) {
    data = {9};
    EXPECT_TRUE(bus->ReadSDO(1, 2, 3, length, data, 500, ec_));
    EXPECT_EQ(ec_, ErrorCode(0, ""));
    EXPECT_TRUE(data.empty());
  }
  EXPECT_EQ(controller_.count("ethercat.read_SDO_data"), reads);
  EXPECT_FALSE(bus->ReadPDO(1, 2, -1, data, ec_));
  EXPECT_TRUE(data.empty());
  bus->Dispose();
  bus->Dispose();
  EXPECT_EQ(faultOf([&] { bus->GetSlaveCount(ec_); }), Fault::nullReference);
}

}  // namespace

}  // namespace zivra::test
