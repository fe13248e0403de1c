// The moves of each kind as they leave the library, and what starts and drops them.
#include <chrono>

#include "support/wire_case.h"

namespace zivra::test {

namespace {

using Robot = TandiRobot;
using Ec = std::error_code;
using OffsetType = CartesianPosition::Offset::Type;

const CartesianPosition near({0.4, 0.1, 0.5}, {3.1, 0.2, 3.1});
const CartesianPosition far({0.5, 0.1, 0.5}, {3.1, 0.2, 3.1});

#define NEAR                                                                        \
  R"("elb":0.0,"rot":[3.1000000000000001,0.20000000000000001,3.1000000000000001],)" \
  R"("trans":[0.40000000000000002,0.10000000000000001,0.5])"
#define FAR                                                                         \
  R"("elb":0.0,"rot":[3.1000000000000001,0.20000000000000001,3.1000000000000001],)" \
  R"("trans":[0.5,0.10000000000000001,0.5])"
#define NEAR_TEXT "trans:[0.4, 0.1, 0.5], rpy:[3.1, 0.2, 3.1]"
#define FAR_TEXT "trans:[0.5, 0.1, 0.5], rpy:[3.1, 0.2, 3.1]"
#define CIRCLE_LINE "Process circle " NEAR_TEXT " , aux " FAR_TEXT " , s:-1, z:-1, rs:-1, -1\n"

template <class T>
void append(BaseRobot& r, std::vector<T> batch, Ec& ec) {
  std::string id;
  r.moveAppend(batch, id, ec);
  reportId(id);
}

// A move with all that a kind can carry, made by setting fields.
template <class T, class Change>
T with(T command, Change change) {
  change(command);
  return command;
}

void appendWait(Robot& r, std::chrono::nanoseconds time, Ec& ec) {
  std::string id;
  r.moveAppend(MoveWaitCommand(time), id, ec);
  reportId(id);
}

const WireCase rows[] = {
    {"joints", 'c', "move.j", R"({"point":[0.0,0.5,1.25,0.0,1.5,-1.0],"traj":{"speed":0.5,"zone":0.01}})",
     "0", "Process joints [0, 0.5, 1.25, 0, 1.5, -1], s:500, z:10, js:-1\nAppend cmd {id}",
     [](Robot& r, Ec& ec) {
       append<MoveAbsJCommand>(r, {{{0, 0.5, 1.25, 0, 1.5, -1}, 500, 10}}, ec);
     },
     Rules().queuedAs("absj")},
    {"joints with external axes", 'c', "move.j",
     R"({"custom":"a\"*b","point":[1.0,2.0,0.25],"traj":{"jnt_speed":0.0}})", "0",
     "Process joints [1, 2], s:-1, z:-1, js:0\nAppend cmd {id}",
     [](Robot& r, Ec& ec) {
       append(r,
              std::vector{with(MoveAbsJCommand({1, 2}),
                               [](auto& c) {
                                 c.jointTarget.external = {0.25};
                                 c.jointSpeed = 0;
                                 c.customInfo = "a\"*b";
                               })},
              ec);
     },
     Rules().queuedAs("absj")},
    {"joint move to a pose", 'c', "move.jc",
     R"({"point":{"elb":0.0,"offset":{"rot":[0.0,0.0,0.0],"trans":[0.0,0.0,0.10000000000000001],"type":"reltool"},)"
     R"("rot":[3.1000000000000001,0.20000000000000001,3.1000000000000001],)"
     R"("trans":[0.40000000000000002,0.10000000000000001,0.5]},"traj":{"jnt_speed":0.25}})",
     "0",
     "Process posture " NEAR_TEXT
     " offset:relTool trans:[0, 0, 0.1], rpy:[0, 0, 0], s:-1, z:-1, js:0.25\nAppend cmd {id}",
     [](Robot& r, Ec& ec) {
       append(r,
              std::vector{with(MoveJCommand(near),
                               [](auto& c) {
                                 c.cartTargetOffset = {OffsetType::relTool, Frame({0, 0, 0.1}, {})};
                                 c.jointSpeed = 0.25;
                               })},
              ec);
     },
     Rules().queuedAs("j")},
    {"line with nothing given", 'c', "move.l", "{\"point\":{" NEAR "}}", "0",
     "Process posture " NEAR_TEXT " , s:-1, z:-1, js:-1\nAppend cmd {id}",
     [](Robot& r, Ec& ec) { append<MoveLCommand>(r, {{near}}, ec); }, Rules().queuedAs("l")},
    {"line with configuration and external axes", 'c', "move.l",
     R"({"point":{"conf":[1.0,-1.0,0.0,2.0,0.0,0.0,0.0,0.0],"elb":0.5,"external":[0.125],)"
     R"("offset":{"rot":[0.0,0.0,1.0],"trans":[0.0,0.5,0.0],"type":"offs"},"rot":[0.0,0.0,0.0],)"
     R"("trans":[1.0,0.0,0.0]},"traj":{}})",
     "0",
     "Process posture trans:[1, 0, 0], rpy:[0, 0, 0], conf:[1, -1, 0, 2] offset:offs trans:[0, 0.5, 0], "
     "rpy:[0, 0, 1], "
     "s:-1, z:-1, js:-1\nAppend cmd {id}",
     [](Robot& r, Ec& ec) {
       append(r,
              std::vector{with(MoveLCommand(CartesianPosition({1, 0, 0}, {})),
                               [](auto& c) {
                                 c.cartTarget.confData = {1, -1, 0, 2};
                                 c.cartTarget.elbow = 0.5;
                                 c.cartTarget.external = {0.125};
                                 c.cartTargetOffset = {OffsetType::offs, Frame({0, 0.5, 0}, {0, 0, 1})};
                                 c.rotSpeed = -2;  // given, but no speed
                               })},
              ec);
     },
     Rules().queuedAs("l")},
    {"batch of lines", 'c', "move.l",
     "{\"path\":[{\"point\":{" NEAR "}},{\"custom\":\"b\",\"point\":{" FAR
     "},\"traj\":{\"rot_speed\":1.5,\"speed\":0.20000000000000001}},{\"point\":{" NEAR
     "},\"traj\":{\"speed\":-0.002,\"zone\":0.0}}]}",
     "0",
     "Process posture " NEAR_TEXT " , s:-1, z:-1, js:-1\nProcess posture " FAR_TEXT
     " , s:200, z:-1, js:-1\nProcess posture " NEAR_TEXT " , s:-2, z:0, js:-1\nAppend cmd {id}",
     [](Robot& r, Ec& ec) {
       append(r,
              std::vector{MoveLCommand(near),
                          with(MoveLCommand(far, 200),
                               [](auto& c) {
                                 c.customInfo = "b";
                                 c.rotSpeed = 1.5;
                               }),
                          MoveLCommand(near, -2, 0)},
              ec);
     },
     Rules().queuedAs("l")},
    {"arc", 'c', "move.c",
     "{\"aux\":{\"elb\":0.0,\"offset\":{\"rot\":[0.0,0.0,0.0],\"trans\":[0.0,0.0,1.0],\"type\":\"offs\"},"
     "\"rot\":[3.1000000000000001,0.20000000000000001,3.1000000000000001],\"trans\":[0.5,0.10000000000000001,"
     "0.5]},"
     "\"point\":{" NEAR "},\"traj\":{\"rot_speed\":2.0,\"speed\":0.125,\"zone\":0.0050000000000000001}}",
     "0",
     "Process circle " NEAR_TEXT " , aux " FAR_TEXT
     " offset:offs trans:[0, 0, 1], rpy:[0, 0, 0], s:125, z:5, rs:2, -1\nAppend cmd {id}",
     [](Robot& r, Ec& ec) {
       append(r,
              std::vector{with(MoveCCommand(near, far, 125, 5),
                               [](auto& c) {
                                 c.auxPointOffset = {OffsetType::offs, Frame({0, 0, 1}, {})};
                                 c.rotSpeed = 2;
                               })},
              ec);
     },
     Rules().queuedAs("c")},
    {"full circle", 'c', "move.cf",
     "{\"aux\":{" FAR "},\"circle\":{\"angle\":6.25,\"rot_type\":\"rot_axis\"},\"point\":{" NEAR "}}", "0",
     "Process circle " NEAR_TEXT " , aux " FAR_TEXT
     " , s:-1, z:-1, rs:-1, -1\nfull circle: 6.25, rot_axis\nAppend cmd {id}",
     [](Robot& r, Ec& ec) {
       append(r,
              std::vector{with(MoveCFCommand(near, far, 6.25),
                               [](auto& c) { c.rotType = MoveCFCommand::RotType::rotAxis; })},
              ec);
     },
     Rules().queuedAs("cf")},
    {"full circles of the other rotations", 'c', "move.cf",
     "{\"path\":[{\"aux\":{" FAR "},\"circle\":{\"angle\":1.0,\"rot_type\":\"const_pose\"},\"point\":{" NEAR
     "}},{\"aux\":{" FAR "},\"circle\":{\"angle\":-1.0,\"rot_type\":\"fixed_axis\"},\"point\":{" NEAR "}}]}",
     "0",
     CIRCLE_LINE "full circle: 1, const_pose\n" CIRCLE_LINE "full circle: -1, fixed_axis\nAppend cmd {id}",
     [](Robot& r, Ec& ec) {
       append(r,
              std::vector{MoveCFCommand(near, far, 1),
                          with(MoveCFCommand(near, far, -1),
                               [](auto& c) { c.rotType = MoveCFCommand::RotType::fixedAxis; })},
              ec);
     },
     Rules().queuedAs("cf")},
    {"spiral", 'c', "move.sp",
     "{\"point\":{" NEAR
     "},\"spiral\":{\"angle\":12.5,\"dir\":true,\"radius\":0.02,\"step\":0.0050000000000000001},"
     "\"traj\":{\"speed\":0.20000000000000001,\"zone\":0.0}}",
     "0", "Process spiral " NEAR_TEXT " , r:0.02,rs:0.005,a:12.5,d:true, s:200, z:0, rs:-1\nAppend cmd {id}",
     [](Robot& r, Ec& ec) {
       append<MoveSPCommand>(r, {{near, 0.02, 0.005, 12.5, true, 200}}, ec);
     },
     Rules().queuedAs("sp")},
    {"wait", 'c', "move.wait", R"({"time":0.5})", "0", "Append cmd {id}",
     [](Robot& r, Ec& ec) { appendWait(r, std::chrono::milliseconds(500), ec); }, Rules().queuedAs("wait")},
    {"wait of half a millisecond too much", 'c', "move.wait", R"({"time":0.001})", "0", "Append cmd {id}",
     [](Robot& r, Ec& ec) { appendWait(r, std::chrono::nanoseconds(1'500'000), ec); },
     Rules().queuedAs("wait")},
    {"execute lines", 'c', "move.l", "{\"path\":[{\"point\":{" NEAR "}},{\"point\":{" FAR "}}]}", "0",
     "Process posture " NEAR_TEXT " , s:-1, z:-1, js:-1\nProcess posture " FAR_TEXT
     " , s:-1, z:-1, js:-1\nexecuteCommand (0)",
     [](Robot& r, Ec& ec) {
       r.executeCommand(std::vector{MoveLCommand(near), MoveLCommand(far)}, ec);
     },
     Rules().then('c', "move.continue", "null", "0").notAwaited(256).silentOnDeadLink()},
    {"execute joints", 'c', "move.j", R"({"point":[1.0,2.0]})", "0",
     "Process joints [1, 2], s:-1, z:-1, js:-1\nexecuteCommand (0)",
     [](Robot& r, Ec& ec) {
       r.executeCommand(std::vector{MoveAbsJCommand({1, 2})}, ec);
     },
     Rules().then('c', "move.continue", "null", "-1").notAwaited(256).silentOnDeadLink()},
    {"execute a full circle", 'c', "move.cf",
     "{\"aux\":{" FAR "},\"circle\":{\"angle\":1.0,\"rot_type\":\"const_pose\"},\"point\":{" NEAR "}}", "0",
     CIRCLE_LINE "full circle: 1, const_pose\nexecuteCommand (0)",
     [](Robot& r, Ec& ec) { r.executeCommand(std::vector{MoveCFCommand(near, far, 1)}, ec); },
     Rules().then('c', "move.continue", "null", "0").notAwaited(256).silentOnDeadLink()},
    {"start", 'c', "move.continue", "0", "0", "moveStart end (0)", [](Robot& r, Ec& ec) { r.moveStart(ec); }},
    {"reset", 'c', "move.reset", R"({"remain_traj":true})", "0", "moveReset end (0)",
     [](Robot& r, Ec& ec) { r.moveReset(ec); }, Rules().tolerates("=null =bool =real =text =array =object")},
    {"watch moves", 'w', "move.last_error_with_setting", "true", "0", nullptr,
     [](Robot& r, Ec& ec) { r.setEventWatcher(Event::moveExecution, {}, ec); }, Rules().notAwaited(256)},
};
const WireTests tests("moves", rows);

}  // namespace

}  // namespace zivra::test
