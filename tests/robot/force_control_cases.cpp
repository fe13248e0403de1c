// Force control: every operation on the wire.
#include <limits>
#include <numeric>

#include <zivra/force_control.h>

#include "support/wire_case.h"

namespace zivra::test {

namespace {

using Ec = std::error_code;
using Fc = ForceControl_T<6>;

// Each call makes an object, which tells the controller of itself first.
Rules rules() { return Rules().after('c', "eci.fc.set_callback", "0", "0"); }

template <unsigned short dof, class Robot>
WireCall on(void (*call)(ForceControl_T<dof>&, Ec&)) {
  return [call](Robot& robot, Ec& ec) {
    auto force = robot.forceControl();
    call(force, ec);
  };
}

// Commands take whatever is neither a whole number nor has an "error" for a success.
WireCase fc(const char* name, const char* key, const char* payload, const char* log, void (*call)(Fc&, Ec&)) {
  return {name,
          'c',
          key,
          payload,
          "0",
          log,
          on<6, TandiRobot>(call),
          rules().tolerates("=null =bool =real =text =array =object")};
}
template <unsigned short dof, class Robot>
WireCase limit(const char* name, const char* payload, const char* log,
               void (*call)(ForceControl_T<dof>&, Ec&)) {
  return {name, 'c', "eci.fc.monitor",     payload,
          "0",  log, on<dof, Robot>(call), rules().tolerates("=null =bool =real =text =array =object")};
}
WireCase limit6(const char* name, const char* payload, const char* log, void (*call)(Fc&, Ec&)) {
  return limit<6, TandiRobot>(name, payload, log, call);
}

// What was read is whole, and in order; the rest is as it was.
template <unsigned short dof, FrameType frame = FrameType::world>
void readEndTorque(ForceControl_T<dof>& force, Ec& ec) {
  std::array<double, dof> joint{}, external{};
  std::array<double, 3> cartForce{}, cartTorque{};
  force.getEndTorque(frame, joint, external, cartTorque, cartForce, ec);
  bool goesOn = true;
  const auto expect = [&](const auto& read, double first) {
    auto whole = read, none = read;
    std::iota(whole.begin(), whole.end(), first);
    none.fill(0);
    goesOn = goesOn && read == whole;
    EXPECT_TRUE(goesOn || (ec && read == none));
  };
  expect(joint, 1);
  expect(external, 11);
  expect(cartForce, 21);
  expect(cartTorque, 31);
  EXPECT_FALSE(goesOn && ec) << "all was there";
}

#define END_TORQUE(joint, external)                  \
  R"({"joint":[)" joint R"(],"external":[)" external \
  R"(],"cart":{"force":[21.0,22.0,23.0],"torque":[31.0,32.0,33.0]}})"
constexpr const char* endTorque6 = END_TORQUE("1.0,2.0,3.0,4.0,5.0,6.0", "11.0,12.0,13.0,14.0,15.0,16.0");

Rules endTorqueRules() { return rules().tolerates(">*").otherCode(261).integerIsCode(); }

const WireCase rows[] = {
    fc("init world", "eci.fc.init", R"({"frame":"world"})", "fcInit world (0)",
       [](Fc& f, Ec& ec) { f.fcInit(FrameType::world, ec); }),
    fc("init base", "eci.fc.init", R"({"frame":"base"})", "fcInit base (0)",
       [](Fc& f, Ec& ec) { f.fcInit(FrameType::baseFrame, ec); }),
    fc("init flange", "eci.fc.init", R"({"frame":"flange"})", "fcInit flange (0)",
       [](Fc& f, Ec& ec) { f.fcInit(FrameType::flange, ec); }),
    fc("init tool", "eci.fc.init", R"({"frame":"tool"})", "fcInit tool (0)",
       [](Fc& f, Ec& ec) { f.fcInit(FrameType::tool, ec); }),
    fc("init wobj", "eci.fc.init", R"({"frame":"wobj"})", "fcInit wobj (0)",
       [](Fc& f, Ec& ec) { f.fcInit(FrameType::wobj, ec); }),
    fc("init path", "eci.fc.init", R"({"frame":"path"})", "fcInit path (0)",
       [](Fc& f, Ec& ec) { f.fcInit(FrameType::path, ec); }),
    fc("init rail", "eci.fc.init", R"({"frame":"world"})", "fcInit world (0)",
       [](Fc& f, Ec& ec) { f.fcInit(FrameType::rail, ec); }),
    fc("init unknown frame", "eci.fc.init", R"({"frame":"world"})", "fcInit world (0)",
       [](Fc& f, Ec& ec) { f.fcInit(static_cast<FrameType>(-7), ec); }),
    fc("start", "eci.fc.start", "null", "fcStart (0)", [](Fc& f, Ec& ec) { f.fcStart(ec); }),
    fc("stop", "eci.fc.stop", "null", "fcStop (0)", [](Fc& f, Ec& ec) { f.fcStop(ec); }),
    {"code in an object", 'c', "eci.fc.stop", "null", R"({"error":0})", "fcStop (0)",
     on<6, TandiRobot>([](Fc& f, Ec& ec) { f.fcStop(ec); }),
     rules().tolerates("=null =bool =real =text =array =object -/error /error=null")},
    fc("joint type", "eci.fc.set", R"({"cmd":"control_type","param":{"type":"joint"}})",
       "setControlType 0 (0)", [](Fc& f, Ec& ec) { f.setControlType(0, ec); }),
    fc("cartesian type", "eci.fc.set", R"({"cmd":"control_type","param":{"type":"cart"}})",
       "setControlType 1 (0)", [](Fc& f, Ec& ec) { f.setControlType(1, ec); }),
    fc("load", "eci.fc.set",
       R"({"cmd":"load","param":{"load":{"cog":[0.25,0.5,0.75],"inertia":[1.0,2.0,3.0],"mass":1.5}}})",
       "setFcLoad m:1.5, cog:[0.25, 0.5, 0.75] (0)",
       [](Fc& f, Ec& ec) {
         f.setLoad(Load(1.5, {0.25, 0.5, 0.75}, {1, 2, 3}), ec);
       }),
    fc("cartesian stiffness", "eci.fc.set",
       R"({"cmd":"cart_stiff","param":{"values":[1000.0,2000.0,3000.0,10.5,20.0,30.0]}})",
       "setCartesianStiffness [1000, 2000, 3000, 10.5, 20, 30] (0)",
       [](Fc& f, Ec& ec) {
         f.setCartesianStiffness({1000, 2000, 3000, 10.5, 20, 30}, ec);
       }),
    fc("null space stiffness", "eci.fc.set", R"({"cmd":"cart_ns_stiff","param":{"value":2.0}})",
       "setCartesianNullspaceStiffness 2 (0)",
       [](Fc& f, Ec& ec) { f.setCartesianNullspaceStiffness(2, ec); }),
    fc("desired force", "eci.fc.set", R"({"cmd":"cart_force","param":{"values":[1.0,2.0,3.0,4.0,-5.0,6.0]}})",
       "setCartesianDesiredForce [1, 2, 3, 4, -5, 6] (0)",
       [](Fc& f, Ec& ec) {
         f.setCartesianDesiredForce({1, 2, 3, 4, -5, 6}, ec);
       }),
    fc("joint stiffness", "eci.fc.set",
       R"({"cmd":"joint_stiff","param":{"values":[1.0,2.0,3.0,4.0,5.0,6.0]}})",
       "setJointStiffness [1, 2, 3, 4, 5, 6] (0)",
       [](Fc& f, Ec& ec) {
         f.setJointStiffness({1, 2, 3, 4, 5, 6}, ec);
       }),
    {"joint torque of five axes", 'c', "eci.fc.set",
     R"({"cmd":"joint_trq","param":{"values":[1.0,2.0,3.0,4.0,5.0]}})", "0",
     "setJointDesiredTorque [1, 2, 3, 4, 5] (0)", on<5, TandiFiveRobot>([](ForceControl_T<5>& f, Ec& ec) {
       f.setJointDesiredTorque({1, 2, 3, 4, 5}, ec);
     }),
     rules().tolerates("=null =bool =real =text =array =object")},

    {"torques in the world", 'g', "eci.fc.end_torque.ref_world", "null", endTorque6, nullptr,
     on<6, TandiRobot>(readEndTorque<6>), endTorqueRules()},
    {"torques at the flange", 'g', "eci.fc.end_torque.ref_flange", "null", endTorque6, nullptr,
     on<6, TandiRobot>(readEndTorque<6, FrameType::flange>), endTorqueRules()},
    {"torques at the tool of five axes", 'g', "eci.fc.end_torque.ref_tcp", "null",
     END_TORQUE("1.0,2.0,3.0,4.0,5.0", "11.0,12.0,13.0,14.0,15.0"), nullptr,
     on<5, TandiFiveRobot>(readEndTorque<5, FrameType::tool>), endTorqueRules()},
    {"torques of seven axes", 'g', "eci.fc.end_torque.ref_world", "null",
     END_TORQUE("1.0,2.0,3.0,4.0,5.0,6.0,7.0", "11.0,12.0,13.0,14.0,15.0,16.0,17.0"), nullptr,
     on<7, TandiSevenRobot>(readEndTorque<7>), endTorqueRules()},
    {"torques with more of all", 'g', "eci.fc.end_torque.ref_world", "null",
     END_TORQUE("1.0,2.0,3.0,4.0,5.0,6.0,7.0", "11.0,12.0,13.0,14.0,15.0,16.0,17.0"), nullptr,
     on<6, TandiRobot>(readEndTorque<6>), endTorqueRules().tolerates("</joint </external /*/6=*")},

    fc("sine overlay", "eci.fc.set",
       R"({"cmd":"sine_overlay","param":{"values":[2,-5.0,60.0,3.1415926535897931,10.0]}})",
       "setSineOverlay 2, -5Nm, 60Hz, 3.141592653589793rad, 10Nm (0)",
       [](Fc& f, Ec& ec) { f.setSineOverlay(2, -5, 60, 3.141592653589793, 10, ec); }),
    fc("lissajous overlay", "eci.fc.set",
       R"({"cmd":"lissajous_overlay","param":{"values":[1,20.0,5.0,1.0,2.5,0.5]}})",
       "setLissajousOverlay 1,20,5,1,2.5,0.5 (0)",
       [](Fc& f, Ec& ec) { f.setLissajousOverlay(1, 20, 5, 1, 2.5, 0.5, ec); }),
    fc("start overlay", "eci.fc.overlay", R"({"cmd":"start"})", "startOverlay (0)",
       [](Fc& f, Ec& ec) { f.startOverlay(ec); }),
    fc("stop overlay", "eci.fc.overlay", R"({"cmd":"stop"})", "stopOverlay (0)",
       [](Fc& f, Ec& ec) { f.stopOverlay(ec); }),
    fc("pause overlay", "eci.fc.overlay", R"({"cmd":"pause"})", "pauseOverlay (0)",
       [](Fc& f, Ec& ec) { f.pauseOverlay(ec); }),
    fc("restart overlay", "eci.fc.overlay", R"({"cmd":"restart"})", "restartOverlay (0)",
       [](Fc& f, Ec& ec) { f.restartOverlay(ec); }),

    fc("force condition", "eci.fc.set",
       R"({"cmd":"force_cond","param":{"inside":true,"timeout":600.0,"values":[-1.0,1.0,-2.0,2.0,-3.0,3.0]}})",
       "setForceCondition range:[-1, 1, -2, 2, -3, 3], inside:true, timeout:600|600000000000 (0)",
       [](Fc& f, Ec& ec) {
         f.setForceCondition({-1, 1, -2, 2, -3, 3}, true, 600, ec);
       }),
    fc("torque condition", "eci.fc.set",
       R"({"cmd":"torque_cond","param":{"inside":false,"timeout":600.0,"values":[-1.0,1.0,-2.0,2.0,-3.0,3.0]}})",
       "setTorqueCondition range:[-1, 1, -2, 2, -3, 3], inside:false, timeout:600|600000000000 (0)",
       [](Fc& f, Ec& ec) {
         f.setTorqueCondition({-1, 1, -2, 2, -3, 3}, false, 600, ec);
       }),
    fc("pose box condition", "eci.fc.set",
       R"({"cmd":"posbox_cond","param":{"frame":{"rot":[0.25,0.5,0.75],"trans":[1.0,2.0,3.0]},"inside":true,)"
       R"("timeout":600.0,"values":[-250.0,250.0,-500.0,500.0,0.0,1500.0]}})",
       "setPoseBoxCondition frame:trans:[1, 2, 3], rpy:[0.25, 0.5, 0.75], "
       "box:[-0.25, 0.25, -0.5, 0.5, 0, 1.5], inside:true, timeout:600|600000000000 (0)",
       [](Fc& f, Ec& ec) {
         f.setPoseBoxCondition(Frame({1, 2, 3}, {0.25, 0.5, 0.75}), {-0.25, 0.25, -0.5, 0.5, 0, 1.5}, true,
                               600, ec);
       }),
    fc("wait", "eci.fc.cond", R"({"cmd":"wait"})", "Execute waitCondition\nwaitCondition finish (0)",
       [](Fc& f, Ec& ec) { f.waitCondition(ec); }),

    fc("monitor on", "eci.fc.monitor", R"({"cmd":"monitor","param":{"enable":true}})", "fcMonitor (0)",
       [](Fc& f, Ec& ec) { f.fcMonitor(true, ec); }),
    fc("monitor off", "eci.fc.monitor", R"({"cmd":"monitor","param":{"enable":false}})", "fcMonitor (0)",
       [](Fc& f, Ec& ec) { f.fcMonitor(false, ec); }),
    limit6(
        "velocity of the tool",
        R"({"cmd":"cart_vel_max","param":{"values":[1.0,2.0,3.0,4.0,5.0,1.7976931348623157e+308]}})",
        "setCartesianMaxVel [1, 2, 3, 4, 5, 1.7976931348623157e+308] (0)",
        [](Fc& f, Ec& ec) { f.setCartesianMaxVel({1, 2, 3, 4, 5, std::numeric_limits<double>::max()}, ec); }),
    limit6("wrench", R"({"cmd":"cart_ctrl_max_wrench","param":{"values":[0.0,2.0,3.0,4.0,5.0,1000.0]}})",
           "setCartesianControlMaxWrench [0, 2, 3, 4, 5, 1000] (0)",
           [](Fc& f, Ec& ec) { f.setCartesianControlMaxWrench({0, 2, 3, 4, 5, 1000}, ec); }),
    limit6("controlled velocity of the tool",
           R"({"cmd":"cart_ctrl_max_vel","param":{"values":[1.0,2.0,3.0,3.5,5.0,10.0]}})",
           "setCartesianControlMaxVel [1, 2, 3, 3.5, 5, 10] (0)",
           [](Fc& f, Ec& ec) { f.setCartesianControlMaxVel({1, 2, 3, 3.5, 5, 10}, ec); }),
    limit6("velocity of the axes", R"({"cmd":"joint_vel_max","param":{"values":[1.0,2.0,3.0,4.0,5.0,6.0]}})",
           "setJointMaxVel [1, 2, 3, 4, 5, 6] (0)",
           [](Fc& f, Ec& ec) { f.setJointMaxVel({1, 2, 3, 4, 5, 6}, ec); }),
    limit<5, TandiFiveRobot>(
        "momentum of five axes", R"({"cmd":"joint_momentum_max","param":{"values":[1.0,2.0,3.0,4.0,5.0]}})",
        "setJointMaxMomentum [1, 2, 3, 4, 5] (0)",
        [](ForceControl_T<5>& f, Ec& ec) { f.setJointMaxMomentum({1, 2, 3, 4, 5}, ec); }),
    limit<7, QuillRobot>(
        "energy of seven axes",
        R"({"cmd":"joint_energy_max","param":{"values":[1.0,2.0,3.0,4.0,5.0,6.0,7.0]}})",
        "setJointMaxEnergy [1, 2, 3, 4, 5, 6, 7] (0)",
        [](ForceControl_T<7>& f, Ec& ec) { f.setJointMaxEnergy({1, 2, 3, 4, 5, 6, 7}, ec); }),
    limit6("torque of the axes",
           R"({"cmd":"jnt_ctrl_max_torque","param":{"values":[1.0,2.0,3.0,4.0,5.0,1000.0]}})",
           "setJointControlMaxTorque [1, 2, 3, 4, 5, 1000] (0)",
           [](Fc& f, Ec& ec) { f.setJointControlMaxTorque({1, 2, 3, 4, 5, 1000}, ec); }),
    limit6("controlled velocity of the axes",
           R"({"cmd":"jnt_ctrl_max_vel","param":{"values":[1.0,2.0,3.0,4.0,5.0,10.0]}})",
           "setJointControlMaxVel [1, 2, 3, 4, 5, 10] (0)",
           [](Fc& f, Ec& ec) { f.setJointControlMaxVel({1, 2, 3, 4, 5, 10}, ec); }),
    limit6("gain", R"({"cmd":"gain_value","param":{"values":[1.0,2.0,3.0,4.0,5.0,60.0]}})",
           "setFcGain [1, 2, 3, 4, 5, 60] (0)", [](Fc& f, Ec& ec) { f.setFcGain({1, 2, 3, 4, 5, 60}, ec); }),
    limit<7, TandiSevenRobot>(
        "friction of seven axes", R"({"cmd":"friction","param":{"values":[0.0,0.5,1.0,1.0,1.0,1.0,1.0]}})",
        "setFriction [0, 0.5, 1, 1, 1, 1, 1] (0)",
        [](ForceControl_T<7>& f, Ec& ec) { f.setFriction({0, 0.5, 1, 1, 1, 1, 1}, ec); }),
};
const WireTests tests("force_control", rows);

}  // namespace

}  // namespace zivra::test
