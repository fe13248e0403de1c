// Identity, power, mode, state, readings and the state list.
#include "support/wire_case.h"

namespace zivra::test {

namespace {

using Robot = TandiRobot;
using Ec = std::error_code;

constexpr const char* pose = R"({"trans":[0.4,0.1,0.5],"rot":[3.1,0.2,3.1]})";
constexpr std::array<double, 6> poseNumbers{0.4, 0.1, 0.5, 3.1, 0.2, 3.1};
constexpr const char* position =
    R"({"trans":[0.4,0.1,0.5],"rot":[3.1,0.2,3.1],"elb":0.7,"conf":[1.5,2,-1.5,0,0,0,0,1],"external":[0.25]})";

CartesianPosition expectedPosition() {
  CartesianPosition expected({0.4, 0.1, 0.5}, {3.1, 0.2, 3.1});
  expected.elbow = 0.7;
  expected.confData = {1, 2, -1, 0, 0, 0, 0, 1};
  expected.external = {0.25};
  return expected;
}

// A pose is read tolerantly: what is missing or no array leaves zeros. Elements that are no numbers don't
// pass.
#define TOLERANT(at)                                                                                    \
  "-" at "/trans -" at "/rot -" at "/conf -" at "/elb -" at "/external " at "/trans=* " at "/rot=* " at \
  "/conf=* " at "/conf/*=real " at "/external=* " at "/elb=null <*" at "/*"

const char* stateListBody =
    R"({"device.io":null,"project.run_param":{"override":null},"sys.mode":null,"sys.posture":null,)"
    R"("sys.rt.jnt_pos":null})";
const char* stateListReply =
    R"({"sys.rt.jnt_pos":[0.1,0.2,0.3,0.4,0.5,0.6,0.7],)"
    R"("sys.posture":{"trans":[0.4,0.1,0.5],"rot":[3.1,0.2,3.1],"elb":0.7,"conf":[1.5,2,-1.5,0,0,0,0,1],)"
    R"("external":[0.25]},)"
    R"("device.io":{"DI":{"b":true,"a":false},"DO":{"c":true},"AI":{"d":0.5},"AO":{"e":-1.5}},)"
    R"("sys.mode":"auto","project.run_param":{"override":0.75}})";

void readStateList(Robot& r, Ec& ec) {
  const StateList list = r.getStateList(ec);
  StateList expected, failed;
  expected.joint_pos = {0.1, 0.2, 0.3, 0.4, 0.5, 0.6};
  expected.cart_pos = expectedPosition();
  expected.digital_signals = {{"a", false}, {"b", true}, {"c", true}};
  expected.analog_signals = {{"d", 0.5}, {"e", -1.5}};
  expected.operation_mode = OperateMode::automatic;
  expected.speed_override = 0.75;
  if (!list.joint_pos.empty()) failed.joint_pos.assign(6, 0.0);  // as it stood when the axes didn't fit
  expectEqual(list, expected, failed);
}

Info expectedInfo() { return {"r1", "02:00", "3.1.2", "Tandi", 6}; }

const WireCase rows[] = {
    {"identity", 'g', "sys.info", "null",
     R"({"id":"r1","mac":"02:00","version":"3.0.0","version_3.0":"3.1.2","type":"Tandi","joint_num":6})",
     nullptr, [](Robot& r, Ec& ec) { expectEqual(r.robotInfo(ec), expectedInfo()); },
     Rules().tolerates("-* /*=null /version=*")},
    {"identity of an old form", 'g', "sys.info", "null", R"({"id":"","version":"3.1.2"})", nullptr,
     [](Robot& r, Ec& ec) {
       expectEqual(r.robotInfo(ec), {"default", "", "3.1.2", "", 0});
     },
     Rules().tolerates("-* /*=null")},
    {"power on", 'c', "sys.power.on", "null", "0", "setPowerState end, switch motor true (0)",
     [](Robot& r, Ec& ec) { r.setPowerState(true, ec); }},
    {"power off", 'c', "sys.power.off", "null", "0", "setPowerState end, switch motor false (0)",
     [](Robot& r, Ec& ec) { r.setPowerState(false, ec); }},
    {"is on", 'g', "sys.power", "null", R"("on")", nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.powerState(ec), PowerState::on, PowerState::unknown); }},
    {"is off", 'g', "sys.power", "null", R"("off")", nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.powerState(ec), PowerState::off, PowerState::unknown); }},
    {"emergency stop", 'g', "sys.power", "null", R"("estop")", nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.powerState(ec), PowerState::estop, PowerState::unknown); }},
    {"gate stop", 'g', "sys.power", "null", R"("gstop")", nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.powerState(ec), PowerState::gstop, PowerState::unknown); }},
    {"some other power", 'g', "sys.power", "null", R"("On")", nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.powerState(ec), PowerState::unknown, PowerState::unknown); }},
    {"automatic", 'c', "sys.mode.switch", R"("auto")", "0", "setOperationMode end, switch to automatic (0)",
     [](Robot& r, Ec& ec) { r.setOperateMode(OperateMode::automatic, ec); }},
    {"manual", 'c', "sys.mode.switch", R"("manual")", "0", "setOperationMode end, switch to manual (0)",
     [](Robot& r, Ec& ec) { r.setOperateMode(OperateMode::manual, ec); }},
    {"unknown means manual", 'c', "sys.mode.switch", R"("manual")", "0",
     "setOperationMode end, switch to unknown (0)",
     [](Robot& r, Ec& ec) { r.setOperateMode(OperateMode::unknown, ec); }},
    {"is automatic", 'g', "sys.mode", "null", R"("auto")", nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.operateMode(ec), OperateMode::automatic, OperateMode::unknown); }},
    {"is manual", 'g', "sys.mode", "null", R"("manual")", nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.operateMode(ec), OperateMode::manual, OperateMode::unknown); }},
    {"some other mode", 'g', "sys.mode", "null", R"("automatic")", nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.operateMode(ec), OperateMode::unknown, OperateMode::unknown); }},
    {"operation state", 'g', "sys.state", "null", R"("idleing")", nullptr,
     [](Robot& r, Ec& ec) {
       expectEqual(r.operationState(ec), OperationState::moving, OperationState::unknown);
     }},
    {"joint positions", 'g', "sys.rt.jnt_pos", "null", "[1.0,-2.5,3.0]", nullptr,
     [](Robot& r, Ec& ec) {
       expectEqual(r.jointPos(ec), {1, -2.5, 3});
     },
     Rules().tolerates("<* >* =array")},
    {"joint velocities", 'g', "sys.rt.jnt_vel", "null", "[1e-3,0.0]", nullptr,
     [](Robot& r, Ec& ec) {
       expectEqual(r.jointVel(ec), {0.001, 0});
     },
     Rules().tolerates("<* >*")},
    {"joint torques", 'g', "sys.rt.jnt_trq", "null", "[1.0,2.0,3.0,4.0,5.0,6.5]", nullptr,
     [](Robot& r, Ec& ec) {
       expectEqual(r.jointTorque(ec), {1, 2, 3, 4, 5, 6.5});
     },
     Rules().tolerates(">*").otherCode(261)},
    {"torques of a robot with more axes", 'g', "sys.rt.jnt_trq", "null", "[1.0,2.0,3.0,4.0,5.0,6.0,7.0]",
     nullptr,
     [](Robot& r, Ec& ec) {
       expectEqual(r.jointTorque(ec), {1, 2, 3, 4, 5, 6});
     },
     Rules().tolerates("> < /6=*").otherCode(261)},
    {"torques of five axes", 'g', "sys.rt.jnt_trq", "null", "[1.0,2.0,3.0,4.0,5.0]", nullptr,
     [](TandiFiveRobot& r, Ec& ec) {
       expectEqual(r.jointTorque(ec), {1, 2, 3, 4, 5});
     },
     Rules().tolerates(">*").otherCode(261)},
    {"torques of three axes", 'g', "sys.rt.jnt_trq", "null", "[1.0,2.0,3.0]", nullptr,
     [](TriaxRobot& r, Ec& ec) {
       expectEqual(r.jointTorque(ec), {1, 2, 3});
     },
     Rules().tolerates(">*").otherCode(261)},
    {"posture of the tool", 'g', "sys.posture", "null", pose, nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.posture(CoordinateType::endInRef, ec), poseNumbers); },
     Rules().tolerates(">*")},
    {"posture of the flange", 'g', "sys.posture.flan_in_base", "null", pose, nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.posture(CoordinateType::flangeInBase, ec), poseNumbers); },
     Rules().tolerates(">*")},
    {"position of the tool", 'g', "sys.posture", "null", position, nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.cartPosture(CoordinateType::endInRef, ec), expectedPosition()); },
     Rules().tolerates(TOLERANT("") " >/* =object").integerIsCode()},
    {"position of the flange", 'g', "sys.posture.flan_in_base", "null", position, nullptr,
     [](Robot& r, Ec& ec) {
       expectEqual(r.cartPosture(CoordinateType::flangeInBase, ec), expectedPosition());
     },
     Rules().tolerates(TOLERANT("") " >/* =object").integerIsCode()},
    {"base frame", 'g', "ix.coord.base_in_world", "null", pose, nullptr,
     [](Robot& r, Ec& ec) { expectEqual(r.baseFrame(ec), poseNumbers); }, Rules().tolerates(">*")},
    {"set base frame", 's', "ix.coord.base_in_world", R"({"rot":[0.0,0.0,1.5],"trans":[1.0,0.25,-2.0]})", "0",
     "setBaseFrame end, Set base frame to trans:[1, 0.25, -2], rpy:[0, 0, 1.5] (0)",
     [](Robot& r, Ec& ec) {
       r.setBaseFrame(Frame({1, 0.25, -2}, {0, 0, 1.5}), ec);
     }},
    {"state list", 'g', "", stateListBody, stateListReply, nullptr,
     [](Robot& r, Ec& ec) { readStateList(r, ec); },
     Rules()
         .tolerates(
             TOLERANT("/sys.posture") " >/* </* -/sys.mode /sys.mode=null -/sys.posture /sys.posture=null")
         .tolerates(
             "-/device.io* /device.io=* /device.io/[AD][IO]=null /device.io/D?/?=int /device.io/D?/?=real")
         .tolerates("-/project.run_param* /project.run_param=* /project.run_param/override=null")
         .tolerates("</sys.rt.jnt_pos /sys.rt.jnt_pos/6=*")
         .otherCode(261)},
    {"reboot", 'c', "utils.reboot", "null", "0", "rebootSystem(0)",
     [](Robot& r, Ec& ec) { r.rebootSystem(ec); }},
    {"shut down", 'c', "utils.reboot", R"({"option":"shutdown"})", "0", nullptr,
     [](Robot& r, Ec& ec) { r.shutdownSystem(ec); }},
    {"clear alarm", 'c', "sys.servo.clear_alarm", "null", "0", nullptr,
     [](Robot& r, Ec& ec) { r.clearServoAlarm(ec); }},
    {"recover", 'c', "rsc.emer_stop.reset", "null", "0", "recover state, item: 1, id: 0",
     [](Robot& r, Ec& ec) { r.recoverState(1, ec); }, Rules().replyUnread().ownLogOnly()},
    {"teach pendant on", 'c', "sys.set_teach_pendant", R"({"with":true})", "0",
     "setTeachPendantMode, enable: true (0)", [](Robot& r, Ec& ec) { r.setTeachPendantMode(true, ec); }},
    {"teach pendant off", 'c', "sys.set_teach_pendant", R"({"with":false})", "0",
     "setTeachPendantMode, enable: false (0)", [](Robot& r, Ec& ec) { r.setTeachPendantMode(false, ec); }},
};
const WireTests tests("status", rows);

}  // namespace

}  // namespace zivra::test
