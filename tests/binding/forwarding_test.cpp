// Every operation of the facades reaches the native one of its name, with each argument in its place: of two
// that take the same arguments only the request tells which one was called.
#include <algorithm>
#include <fstream>
#include <functional>
#include <json/json.h>
#include <memory>
#include <optional>

#include "binding/fixture.h"
#include "robot/event_news.h"
#include "support/acknowledging_link.h"

namespace zivra::test {

namespace {

using Bytes = Array<std::uint8_t>;
using Numbers = std::vector<double>;
using Robot = clr::TandiRobot;
using Force = clr::ForceControl;
using Bus = clr::BaseEthercat;
using Drag = clr::DragParameter;

template <class Object>
struct Row {
  const char* key;
  const char* payload;
  std::function<void(Object&, ErrorCode&)> call;
  const char* answer = "0";
};

class Forwarding : public RobotTest {
 protected:
  Forwarding() : files_(address()) {
    controller_.answer("norvil_support_rs485_param", "2");
    controller_.answer("ix.sdk.import_project", R"({"data":{"project_name":"p_1"}})");
    controller_.answer("eci.file_transfer.import_project_file", R"({"data":{"file_name":"a.json"}})");
    for (const char* key : {"eci.fc.set_callback", "eci.fc.set", "eci.fc.overlay", "eci.fc.monitor"})
      controller_.answer(key, "0");
    std::ofstream("p.zip") << "abc";
    std::ofstream("a.json") << "abc";
    robot_.connectToRobot(address());
  }

  template <class Object, std::size_t n>
  void expectRequests(Object& object, const Row<Object> (&rows)[n]) {
    for (const Row<Object>& row : rows) {
      SCOPED_TRACE(std::string(row.key) + ": " + row.payload);
      controller_.answer(row.key, row.answer);
      controller_.forgetRequests();
      ErrorCode ec(-99, "as before");
      row.call(object, ec);
      EXPECT_EQ(ec.value(), 0) << ec.message().text();
      ASSERT_TRUE(controller_.waitForRequest(row.key));
      for (const Request& request : controller_.requests()) {
        if (request.key == row.key) {
          EXPECT_EQ(parsed(request.text)[std::string(1, request.form)][row.key], parsed(row.payload))
              << request.text;
        }
      }
    }
  }

  AcknowledgingLink files_;
  Robot robot_;

 private:
  // Members may come in any order: both sides go through one reader.
  static Json::Value parsed(const std::string& text) {
    Json::Value value;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &value, nullptr)) << text;
    return value;
  }
};

clr::CartesianPosition at(double x) {
  clr::CartesianPosition position;
  position.trans = {x, 0, 0};
  return position;
}

clr::Toolset toolset() {
  return {clr::Load(2.5, {0.5, 0, 0}, {0, 1, 0}), clr::Frame({0, 0, 0.5}, {0, 1.5, 0}),
          clr::Frame({1, 2, 3}, {0.5, 0, 0})};
}

clr::WorkToolInfo torch(const char* name) {
  return {name, "arc", true, clr::Frame({0.125, -0.25, 0.5}, {0, 0, 0}),
          clr::Load(2, {0.5, 0, 0}, {0, 1, 0})};
}

#define ORIGIN(x) R"({"elb":0.0,"rot":[0.0,0.0,0.0],"trans":[)" x R"(,0.0,0.0]})"
#define START R"("point0":{"elb":0.0,"near":[0.5],"rot":[0.0,0.0,0.0],"trans":[0.0,0.0,0.0]},)"
#define SIX_ZEROS "[0.0,0.0,0.0,0.0,0.0,0.0]"
#define ONE_TO_SIX "[1.0,2.0,3.0,4.0,5.0,6.0]"
#define FILE(function, name, overwrite)                                                             \
  R"({"function":")" function R"(","len":3,"md5":"900150983cd24fb0d6963f7d28e17f72","name":")" name \
  "\","                                                                                             \
  R"("overwrite":)" overwrite "}"
#define LOAD R"("load":{"cog":[0.5,0.0,0.0],"inertia":[0.0,1.0,0.0],"mass":2.5})"
#define END R"("rot":[0.0,1.5,0.0],"trans":[0.0,0.0,0.5])"
#define REF R"("rot":[0.5,0.0,0.0],"trans":[1.0,2.0,3.0])"
#define IN_FORCE R"({"end":{)" END "}," LOAD R"(,"ref":{)" REF "}}"
#define TORCH(name)                                                                                           \
  R"("calibrated":true,"description":"arc","frame":{"ori":{"euler":{"a":0.0,"b":0.0,"c":0.0},"quaternion":{)" \
  R"("q1":1.0,"q2":0.0,"q3":0.0,"q4":0.0}},"pos":{"x":125.0,"y":-250.0,"z":500.0}},"identified":true,)"       \
  R"("load":{"mass":2.0,"moment":[0.0,1000000.0,0.0],"pose":{"ori":{"euler":{"a":0,"b":0,"c":0},"quaternion)" \
  R"(":{"q1":1,"q2":0,"q3":0,"q4":0}},"pos":{"x":500.0,"y":0.0,"z":0.0}}},"method":3,"name":")" name          \
  R"(","pers":false,"robhold":true,)"
#define TOOLS(kind) R"({")" kind R"(":{"torch":{)" LOAD R"(,"coord":{)" END R"(},"held":true}}})"
const char* const logPage =
    R"({"data":{"logs":[{"content":"stop","err_code":-3,"repair":"release","time":"2026-01-02"}]}})";

void expectTorch(const List<clr::WorkToolInfo>& all) {
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0].name, String("torch"));
  EXPECT_TRUE(all[0].robotHeld);
  EXPECT_EQ(all[0].pos.rpy, (Numbers{0, 1.5, 0}));
  EXPECT_EQ(all[0].load.mass, 2.5);
}

void expectLog(const List<clr::LogInfo>& all) {
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0].id(), -3);
  EXPECT_EQ(std::tie(all[0].timestamp, all[0].logText, all[0].repairHint),
            std::tuple(String("2026-01-02"), String("stop"), String("release")));
}

template <class T>
void expectRegister(Robot& robot, ErrorCode& ec, T expected) {
  T value{};
  robot.readRegister("r", 2, value, ec);
  EXPECT_EQ(value, expected);
}
template <class T>
void expectRegisters(Robot& robot, ErrorCode& ec, const std::vector<T>& expected) {
  List<T> values(5);
  robot.readRegister("r", values, ec);
  EXPECT_EQ(values, expected);
}

// Keeps most rows to a line or two.
#define CALL(...) [](auto& it, auto& ec) { __VA_ARGS__; }

const Row<Robot> stateRows[] = {
    {"sys.rt.jnt_vel", "null", CALL(EXPECT_EQ(it.jointVel(ec), (Numbers{1, -2}))), "[1,-2]"},
    {"sys.mode", "null", CALL(EXPECT_EQ(it.operateMode(ec), clr::OperateMode::automatic)), R"("auto")"},
    {"sys.state", "null", CALL(EXPECT_EQ(it.operationState(ec), clr::OperationState::demo)), R"("demo")"},
    {"utils.reboot", "null", CALL(it.rebootSystem(ec))},
    {"utils.reboot", R"({"option":"shutdown"})", CALL(it.shutdownSystem(ec))},
    {"sys.servo.clear_alarm", "null", CALL(it.clearServoAlarm(ec))},
    {"rsc.emer_stop.reset", "null", CALL(it.recoverState(1, ec))},
    {"sys.set_teach_pendant", R"({"with":true})", CALL(it.setTeachPendantMode(true, ec))},
    {"sys.ntp.config", R"({"server":""})", CALL(it.configNtp(nullptr, ec))},
    {"sys.ntp.sync", "null", CALL(it.syncTimeWithServer(ec))},
    {"cfg.get", R"({"func":"std","key":"KINEMATICS.DH_PARAMS","type":"json"})",
     CALL(EXPECT_EQ(it.getRobotCfg_DHparam(true, ec), (Numbers{0.5, -1}))), R"({"data":[0.5,-1.0]})"},
    {"cfg.get", R"({"key":"KINEMATICS.DH_PARAMS_ALL","type":"json"})",
     CALL(it.getRobotCfg_DHparam(false, ec)), R"({"data":[]})"},
    {"user_log.query", R"({"filter":{"level":[]},"limit":3,"offset":7,"order":"time DESC"})",
     CALL(expectLog(it.queryControllerLog(3, std::nullopt, 7, ec))), logPage},
    {"user_log.query", R"({"filter":{"level":["error"]},"limit":3,"offset":0,"order":"time DESC"})",
     CALL(expectLog(it.queryControllerLog(3, clr::LogInfoLevel::err, ec))), logPage},
    {"utils.calibrate_frame",
     R"({"aux":[1.0,0.0,0.0],"held":true,"points":[)" SIX_ZEROS ",[1.0,2.0,0.0,0.0,0.0,0.0]," ONE_TO_SIX
     R"(],"type":"wobj"})",
     [](auto& r, auto& ec) {
       const auto fit =
           r.calibrateFrame(clr::FrameType::wobj, {{}, {1, 2}, {1, 2, 3, 4, 5, 6, 7}}, true, {1}, ec);
       EXPECT_EQ(fit.frame.trans, (Numbers{1, 2, -3}));
       EXPECT_EQ(fit.frame.rpy, (Numbers{0.1, 0.2, 0.3}));
       EXPECT_EQ(fit.errors, (Numbers{0.001, 0.002, 0.5}));
     },
     R"({"data":{"errors":[0.001,0.002,0.5],"frame":{"rot":[0.1,0.2,0.3],"trans":[1.0,2.0,-3.0]}}})"},
    {"safety.soft_limit", R"({"enable":true,"lower":)" SIX_ZEROS R"(,"upper":)" SIX_ZEROS "}",
     CALL(it.setSoftLimit(true, Array2<double>(0, 2), ec))},
    {"safety.soft_limit",
     R"({"enable":true,"lower":[0.0,1.0,2.0,3.0,4.0,5.0],"upper":[0.5,1.5,2.5,3.5,4.5,5.5]})",
     [](auto& r, auto& ec) {
       Array2<double> limits(8, 3);
       for (std::size_t row = 0; row < 8; ++row) {
         for (std::size_t column = 0; column < 3; ++column) limits.at(row, column) = row + column / 2.0;
       }
       r.setSoftLimit(true, limits, ec);
     }},
};

const Row<Robot> motionRows[] = {
    {"move.default_speed", "0.25", CALL(it.setDefaultSpeed(250, ec))},
    {"move.default_zone", "0.25", CALL(it.setDefaultZone(250, ec))},
    {"move.default_conf", "true", CALL(it.setDefaultConfOpt(true, ec))},
    {"move.ignore_zone", "true", CALL(it.setAutoIgnoreZone(true, ec))},
    {"move.override_rate", "0.5", CALL(it.adjustSpeedOnline(0.5, ec))},
    {"move.acc", R"({"acc":0.5,"jerk":1.5})", CALL(it.adjustAcceleration(0.5, 1.5, ec))},
    {"move.reset", R"({"remain_traj":true})", CALL(it.moveReset(ec))},
    {"move.pause", "null", CALL(it.stop(ec))},
    {"move.jog", R"({"direction":true,"index":2,"rate":0.5,"space":5,"step":0.25})",
     CALL(it.startJog(clr::JogOpt::Space::jointSpace, 0.5, 0.25, 2, true, ec))},
    {"move.jog_with_ext",
     R"({"direction":true,"fixed_name":"track","index":1,"is_ext":false,"rate":0.25,"space":3,"step":2.0})",
     CALL(it.startJogWithExt(clr::JogOpt::Space::toolFrame, 0.25, 2, 1, true, "track", false, ec))},
    {"move.path.check", "{" START R"("point1":)" ORIGIN("1.0") "}",
     CALL(EXPECT_EQ(it.checkPath(at(0), {0.5}, at(1), ec), (Numbers{0.5, 1.25}))),
     R"({"data":[0.5,1.25],"error":0})"},
    {"move.path.check",
     R"({"circle":{"angle":1.5,"rot_type":"rot_axis"},)" START
     R"("point1":)" ORIGIN("1.0") R"(,"point2":)" ORIGIN("2.0") "}",
     CALL(it.checkPath(at(0), {0.5}, at(1), at(2), 1.5, 1.9, ec)), R"({"error":0})"},
    {"move.path.check", "{" START R"("point1":)" ORIGIN("1.0") R"(,"point2":)" ORIGIN("2.0") "}",
     CALL(it.checkPath(at(0), {0.5}, at(1), at(2), ec)), R"({"error":0})"},
    {"sys.drag", R"({"enable":true,"quick":false,"space":1,"type":0})",
     CALL(it.enableDrag(Drag::Space::cartesianSpace, Drag::Type::translationOnly, ec))},
    {"sys.drag", R"({"enable":true,"quick":true,"space":0,"type":2})",
     CALL(it.enableDrag(Drag::Space::jointSpace, Drag::Type::freely, true, ec))},
    {"sys.drag", R"({"enable":false,"space":0,"type":2})", CALL(it.disableDrag(ec))},
    {"move.record.start", R"({"duration":30,"signals":[],"type":"time"})", CALL(it.startRecordPath(ec))},
    {"move.record.stop", "null", CALL(it.stopRecordPath(ec))},
    {"move.record.cancel", "null", CALL(it.cancelRecordPath(ec))},
    {"move.record.save", R"({"as":"b","name":"a"})", CALL(it.saveRecordPath("a", "b", ec))},
    {"move.record.save", R"({"name":"a"})", CALL(it.saveRecordPath("a", nullptr, ec))},
    {"move.replay", R"({"name":"a","rate":0.5})", CALL(it.replayPath("a", 0.5, ec))},
    {"move.record.remove", R"("a")", CALL(it.removePath("a", false, ec))},
    {"move.record.remove.all", "null", CALL(it.removePath("a", true, ec))},
    {"move.record.paths", "null", CALL(EXPECT_EQ(it.queryPathLists(ec), (std::vector<String>{"a", "b c"}))),
     R"(["a","b c"])"},
};

const Row<Robot> signalRows[] = {
    {"device.io", R"({"DI.DI0_3":null})", CALL(EXPECT_TRUE(it.getDI(0, 3, ec))), R"({"DI.DI0_3":true})"},
    {"device.io", R"({"DO.DO1_2":null})", CALL(EXPECT_TRUE(it.getDO(1, 2, ec))), R"({"DO.DO1_2":true})"},
    {"device.io", R"({"AI.AI1_0":null})", CALL(EXPECT_EQ(it.getAI(1, 0, ec), 2.5)), R"({"AI.AI1_0":2.5})"},
    {"device.io.simu.di", R"({"name":"DI0_3","value":true})", CALL(it.setDI(0, 3, true, ec))},
    {"device.io.out.do", R"({"name":"DO1_0","value":true})", CALL(it.setDO(1, 0, true, ec))},
    {"device.io.out.ao", R"({"name":"AO0_1","value":-2.5})", CALL(it.setAO(0, 1, -2.5, ec))},
    {"device.io.simu.on", "null", CALL(it.setSimulationMode(true, ec))},
    {"device.io.simu.off", "null", CALL(it.setSimulationMode(false, ec))},
    {"register.values", R"({"r.#2":null})", CALL(expectRegister(it, ec, 2.5F)), R"({"r.#2":2.5})"},
    {"register.values", R"({"r.#2":null})", CALL(expectRegister(it, ec, -5)), R"({"r.#2":-5})"},
    {"register.values", R"({"r.#2":null})", CALL(expectRegister(it, ec, true)), R"({"r.#2":true})"},
    {"register.values", R"({"r":null})", CALL(expectRegisters<float>(it, ec, {1, 2.5F})), R"({"r":[1,2.5]})"},
    {"register.values", R"({"r":null})", CALL(expectRegisters<int>(it, ec, {5, -7})), R"({"r":[5,-7]})"},
    {"register.values", R"({"r":null})", CALL(expectRegisters<bool>(it, ec, {true, false})),
     R"({"r":[true,false]})"},
    {"register.write", R"({"bias":2,"name":"r","value":-2.5})", CALL(it.writeRegister("r", 2, -2.5F, ec))},
    {"register.write", R"({"bias":2,"name":"r","value":-5})", CALL(it.writeRegister("r", 2, -5, ec))},
    {"register.write", R"({"bias":2,"name":"r","value":true})", CALL(it.writeRegister("r", 2, true, ec))},
    {"register.write", R"({"name":"r","type":"array","value":[1.5,2.0]})",
     CALL(it.writeRegister("r", 0, Array<float>{1.5F, 2}, ec))},
    {"register.write", R"({"name":"r","type":"array","value":[1,-2]})",
     CALL(it.writeRegister("r", 0, Array<int>{1, -2}, ec))},
    {"register.write", R"({"name":"r","type":"array","value":[true,false]})",
     CALL(it.writeRegister("r", 0, Array<bool>{true, false}, ec))},
    {"rail_param", R"({"name":"track"})", CALL(it.setRailParameter("name", "track", ec))},
    {"rail_param", R"({"max_speed":2000.0})", CALL(it.setRailParameter("maxSpeed", 2, ec))},
    {"rail_param", R"({"max_speed":500.0})", CALL(it.setRailParameter("maxSpeed", 0.5, ec))},
    {"rail_param", R"({"enable":true})", CALL(it.setRailParameter("enable", true, ec))},
    {"rail_param", R"({"lower":-1500.0,"upper":2000.0})",
     CALL(it.setRailParameter("range", Array<double>{-1.5, 2}, ec))},
    {"rail.set_rail_frame", R"({"rot":[0.0,1.5,0.0],"trans":[0.0,0.0,0.5]})",
     CALL(it.setRailParameter("baseFrame", toolset().end, ec))},
};

const Row<Robot> projectRows[] = {
    {"project.list", "null",
     [](auto& r, auto& ec) {
       const auto all = r.projectsInfo(ec);
       ASSERT_EQ(all.size(), 1u);
       EXPECT_EQ(all[0].name, String("a"));
       EXPECT_EQ(all[0].taskList, (std::vector<String>{"x", "y"}));
     },
     R"([{"name":"a","tasks":["x","y"]}])"},
    {"project.load", R"({"name":"p","tasks":["a","b"]})", CALL(it.loadProject("p", {"a", "b"}, ec))},
    {"project.pp.main", "null", CALL(it.ppToMain(ec))},
    {"project.start", "null", CALL(it.runProject(ec))},
    {"project.stop", "null", CALL(it.pauseProject(ec))},
    {"project.run_param", R"({"loop_mode":true,"override":0.25})",
     CALL(it.setProjectRunningOpt(0.25, true, ec))},
    {"ix.sdk.transferInit", FILE("import_project", "p", "true"),
     CALL(EXPECT_EQ(it.importProject("p.zip", true, ec), String("p_1")))},
    {"ix.sdk.transferInit", FILE("import_project_file", "a", "false"),
     CALL(EXPECT_EQ(it.importFile("a.json", "project/P", false, ec), String("a.json")))},
    {"ix.sdk.remove_project", R"({"name":"p","remove_all":true})", CALL(it.removeProject("p", true, ec))},
    {"project.remove_files", R"({"list":[{"project":"P","task":"T"}]})",
     CALL(it.removeFiles({"project/P/T"}, ec))},
    {"ix.coord.toolset", "null",
     [](auto& r, auto& ec) {
       const auto read = r.toolset(ec);
       EXPECT_EQ(read.load.mass, 2.5);
       EXPECT_EQ(read.end.rpy, (Numbers{0, 1.5, 0}));
       EXPECT_EQ(read.reference.trans, (Numbers{1, 2, 3}));
     },
     IN_FORCE},
    {"ix.coord.toolset", R"({"end":{"name":"",)" END "}," LOAD R"(,"ref":{"name":"",)" REF "}}",
     CALL(it.setToolset(toolset(), ec))},
    {"sys.toolset.query", R"({"tool":"torch","wobj":"table"})",
     CALL(EXPECT_EQ(it.setToolset("torch", "table", ec).load.mass, 2.5)), R"({"data":)" IN_FORCE "}"},
    {"project.tool.info", "null", CALL(expectTorch(it.toolsInfo(ec))), TOOLS("tool")},
    {"project.wobj.info", "null", CALL(expectTorch(it.wobjsInfo(ec))), TOOLS("wobj")},
    {"global.tools.set.one",
     "{" TORCH("g_tool_15") R"("id":15,"envelope":{"box_envelope":[0,0,0],"shape":0,"sphere_envelope":0}})",
     CALL(it.setToolInfo(torch("g_tool_15"), ec))},
    {"global.wobjs.set.one",
     "{" TORCH(
         "g_wobj_2") R"("id":2,"mechanic":"robot","movable":true,"related_frame":"g_user_0","uf_id":-100})",
     CALL(it.setWobjInfo(torch("g_wobj_2"), ec))},
};

const Row<Robot> panelRows[] = {
    {"safety.collision_detection",
     R"({"compliance":0.5,"enable":true,"sensitivity":[1.0,2.0,0.0,0.0,0.0,0.0],)"
     R"("action":{"behaviour":"fcimpedstop"}})",
     CALL(it.enableCollisionDetection({1, 2}, clr::StopLevel::suppleStop, 0.5, ec))},
    {"utils.calibrate_force_sensor", R"({"index":3})", CALL(it.calibrateForceSensor(false, 3, ec))},
    {"device.io.norvil", R"({"vout":"12v"})", CALL(it.setNorvilVout(clr::NorvilOpt::Vout::supply12v, ec))},
    {"device.io.norvil", R"({"mode":"rs485","vout":"24v"})",
     CALL(it.setNorvilRS485(clr::NorvilOpt::Vout::supply24v, true, ec))},
    {"modbusRTU.register.rw",
     R"({"data_array":[7,8],"fun_cmd":16,"if_crc_reverse":true,"num":2,"reg_addr":4,"slave_addr":1})",
     [](auto& r, auto& ec) {
       Array<int> values{7, 8};
       r.NorvilRWModbusRTUReg(1, 16, 4, "int16", 2, values, true, ec);
       EXPECT_EQ(values, (std::vector<int>{5, 6}));
     },
     R"({"data":{"data_array":[5,6]}})"},
    {"modbusRTU.coil.rw",
     R"({"coil_addr":4,"data_array":[false,true],"fun_cmd":1,"if_crc_reverse":true,"num":2,"slave_addr":3})",
     [](auto& r, auto& ec) {
       Array<bool> values{false, true};
       r.NorvilRWModbusRTUCoil(3, 1, 4, 2, values, true, ec);
       EXPECT_EQ(values, (std::vector<bool>{true, false}));
     },
     R"({"data":{"rev_data":[true,false]}})"},
    {"modbusRTU.data.rw", R"({"rev_len":3,"send_data":[1,255],"send_len":2})",
     [](auto& r, auto& ec) {
       Bytes received(3);
       r.NorvilRS485SendData(2, 3, {1, 255}, received, ec);
       EXPECT_EQ(received, (std::vector<std::uint8_t>{3, 200, 0}));
     },
     R"({"data":{"rev_data":[3,200]}})"},
    {"modbusRTU.can.send", R"({"send_frames":[]})", CALL(it.CANSendData("uint8", std::nullopt, ec))},
    {"modbusRTU.can.send",
     R"({"send_frames":[{"data_array":[1,2],"frame_format":1,"frame_id":7,"frame_type":2,"frame_valid_length":2}]})",
     CALL(it.CANSendData("uint8", Array<clr::CANFrame>{{7, 1, 2, Bytes{1, 2}, 2}}, ec))},
    {"modbusRTU.can.recv", R"({"timeout_ms":20})",
     [](auto& r, auto& ec) {
       clr::CANFrame frame;
       r.CANReceiveData(20, "uint8", frame, ec);
       EXPECT_EQ(std::tie(frame.frame_id, frame.frame_format, frame.frame_type, frame.frame_valid_length),
                 std::tuple(7, 1, 0, 2));
       EXPECT_EQ(frame.data, (std::vector<std::uint8_t>{4, 5}));
     },
     R"({"data":{"data_array":[4,5],"frame_format":1,"frame_id":7,"frame_type":0,"frame_valid_length":2}})"},
    {"device.io.keypad", "null",
     CALL(EXPECT_EQ(it.getKeypadStateArray(ec),
                    (std::vector<bool>{true, false, true, false, false, true, false}))),
     "[true,false,true,false,false,true,false]"},
    {"eci.rci.cfg", R"({"protocol_version":""})", CALL(it.useRciClient(true, ec))},
};

#define SET(cmd, param) R"({"cmd":")" cmd R"(","param":)" param "}"
#define VALUES(cmd, values) SET(cmd, R"({"values":)" values "}")
const Array<double> oneToSix{1, 2, 3, 4, 5, 6, 7};  // the last is cut

const Row<Force> forceRows[] = {
    {"eci.fc.init", R"({"frame":"path"})", CALL(it.fcInit(clr::FrameType::path, ec))},
    {"eci.fc.start", "null", CALL(it.fcStart(ec))},
    {"eci.fc.stop", "null", CALL(it.fcStop(ec))},
    {"eci.fc.set", SET("control_type", R"({"type":"cart"})"), CALL(it.setControlType(1, ec))},
    {"eci.fc.set", SET("load", "{" LOAD "}"), CALL(it.setLoad(toolset().load, ec))},
    {"eci.fc.set", VALUES("cart_stiff", ONE_TO_SIX), CALL(it.setCartesianStiffness(oneToSix, ec))},
    {"eci.fc.set", SET("cart_ns_stiff", R"({"value":2.0})"), CALL(it.setCartesianNullspaceStiffness(2, ec))},
    {"eci.fc.set", VALUES("cart_force", ONE_TO_SIX), CALL(it.setCartesianDesiredForce(oneToSix, ec))},
    {"eci.fc.set", VALUES("joint_stiff", ONE_TO_SIX), CALL(it.setJointStiffness(oneToSix, ec))},
    {"eci.fc.set", VALUES("joint_trq", ONE_TO_SIX), CALL(it.setJointDesiredTorque(oneToSix, ec))},
    {"eci.fc.end_torque.ref_tcp", "null",
     [](auto& f, auto& ec) {
       Array<double> joint, external, torque, force;
       f.getEndTorque(clr::FrameType::tool, joint, external, torque, force, ec);
       EXPECT_EQ(joint, (Numbers{1, 2, 3, 4, 5, 6}));
       EXPECT_EQ(external, (Numbers{11, 12, 13, 14, 15, 16}));
       EXPECT_EQ(torque, (Numbers{31, 32, 33}));
       EXPECT_EQ(force, (Numbers{21, 22, 23}));
     },
     R"({"joint":[1,2,3,4,5,6],"external":[11,12,13,14,15,16],)"
     R"("cart":{"force":[21,22,23],"torque":[31,32,33]}})"},
    {"eci.fc.set", VALUES("sine_overlay", "[2,-5.0,6.0,3.0,1.0]"),
     CALL(it.setSineOverlay(2, -5, 6, 3, 1, ec))},
    {"eci.fc.set", VALUES("lissajous_overlay", "[1,20.0,5.0,1.0,2.5,0.5]"),
     CALL(it.setLissajousOverlay(1, 20, 5, 1, 2.5, 0.5, ec))},
    {"eci.fc.overlay", R"({"cmd":"start"})", CALL(it.startOverlay(ec))},
    {"eci.fc.overlay", R"({"cmd":"stop"})", CALL(it.stopOverlay(ec))},
    {"eci.fc.overlay", R"({"cmd":"pause"})", CALL(it.pauseOverlay(ec))},
    {"eci.fc.overlay", R"({"cmd":"restart"})", CALL(it.restartOverlay(ec))},
    {"eci.fc.set", SET("force_cond", R"({"inside":true,"timeout":60.0,"values":)" ONE_TO_SIX "}"),
     CALL(it.setForceCondition(oneToSix, true, 60, ec))},
    {"eci.fc.set", SET("torque_cond", R"({"inside":true,"timeout":60.0,"values":)" ONE_TO_SIX "}"),
     CALL(it.setTorqueCondition(oneToSix, true, 60, ec))},
    {"eci.fc.set",
     SET("posbox_cond", R"({"frame":{)" REF R"(},"inside":true,"timeout":60.0,)"
                        R"("values":[-250.0,250.0,-500.0,500.0,0.0,1500.0]})"),
     CALL(it.setPoseBoxCondition(toolset().reference, {-0.25, 0.25, -0.5, 0.5, 0, 1.5}, true, 60, ec))},
    {"eci.fc.cond", R"({"cmd":"wait"})", CALL(it.waitCondition(ec))},
    {"eci.fc.monitor", SET("monitor", R"({"enable":true})"), CALL(it.fcMonitor(true, ec))},
    {"eci.fc.monitor", VALUES("cart_vel_max", ONE_TO_SIX), CALL(it.setCartesianMaxVel(oneToSix, ec))},
    {"eci.fc.monitor", VALUES("cart_ctrl_max_wrench", ONE_TO_SIX),
     CALL(it.setCartesianControlMaxWrench(oneToSix, ec))},
    {"eci.fc.monitor", VALUES("cart_ctrl_max_vel", ONE_TO_SIX),
     CALL(it.setCartesianControlMaxVel(oneToSix, ec))},
    {"eci.fc.monitor", VALUES("joint_vel_max", ONE_TO_SIX), CALL(it.setJointMaxVel(oneToSix, ec))},
    {"eci.fc.monitor", VALUES("joint_momentum_max", ONE_TO_SIX), CALL(it.setJointMaxMomentum(oneToSix, ec))},
    {"eci.fc.monitor", VALUES("joint_energy_max", ONE_TO_SIX), CALL(it.setJointMaxEnergy(oneToSix, ec))},
    {"eci.fc.monitor", VALUES("jnt_ctrl_max_torque", ONE_TO_SIX),
     CALL(it.setJointControlMaxTorque(oneToSix, ec))},
    {"eci.fc.monitor", VALUES("jnt_ctrl_max_vel", ONE_TO_SIX), CALL(it.setJointControlMaxVel(oneToSix, ec))},
    {"eci.fc.monitor", VALUES("gain_value", ONE_TO_SIX), CALL(it.setFcGain(oneToSix, ec))},
    {"eci.fc.monitor", VALUES("friction", "[1.0,0.5,0.0,0.0,0.0,0.0]"), CALL(it.setFriction({1, 0.5}, ec))},
};

// The answer with the states serves the operation that asks for them besides.
const Row<Bus> busRows[] = {
    {"ethercat.get_con_slaves_num", "null", CALL(EXPECT_EQ(it.GetSlaveCount(ec), 3)), R"({"data":3})"},
    {"ethercat.get_slaves_state", "null", CALL(EXPECT_EQ(it.GetSlaveState(2, ec), 4)),
     R"({"data":[{"addr":1,"state":8},{"addr":2,"state":4}]})"},
    {"ethercat.get_slave_info", R"({"addr":2})",
     [](auto& b, auto& ec) {
       const clr::SlaveInfo s = b.GetSlaveInfo(2, ec);
       EXPECT_EQ(std::tuple(s.vendorId, s.productCode, s.reversionNumber, s.slaveAddr, s.slaveId, s.alStatus),
                 std::tuple(1337U, 4294967295U, 65537U, 2U, 7U, 4U));
       EXPECT_EQ(s.slaveName, String("drive"));
     },
     R"({"data":{"addr":2,"productCode":4294967295,"reversionNumber":65537,"slaveId":7,"slaveName":"drive",)"
     R"("vendorId":1337}})"},
    {"ethercat.set_slaves_state", R"({"state":"op"})", CALL(EXPECT_TRUE(it.SetSlavesState(8, ec)))},
    {"ethercat.write_multi_SDO_data",
     R"([{"addr":2,"data":[9,8],"index":1,"length":2,"over_time":3,"print_data":4,"sub_index":5,"wait_time":6}])",
     [](auto& b, auto& ec) {
       clr::SDOData item;
       item.index = 1;
       item.length = 2;
       item.over_time = 3;
       item.print_data = 4;
       item.sub_index = 5;
       item.wait_time = 6;
       item.data = Bytes{9, 8, 7};
       EXPECT_TRUE(b.WriteMultiSDO(2, {item}, ec));
     }},
};

TEST_F(Forwarding, OfRobots) {
  ErrorCode ec;
  expectRequests(robot_, stateRows);
  // Programs run in a mode that stays allowed once it was entered; paths are replayed in the other.
  robot_.setMotionControlMode(clr::MotionControlMode::NrtRLTask, ec);
  robot_.setMotionControlMode(clr::MotionControlMode::NrtCommand, ec);
  ASSERT_EQ(ec.value(), 0);
  expectRequests(robot_, motionRows);
  expectRequests(robot_, signalRows);
  expectRequests(robot_, projectRows);
  expectRequests(robot_, panelRows);
}

TEST_F(Forwarding, OfChildObjects) {
  expectRequests(*robot_.forceControl(), forceRows);
  expectRequests(*robot_.ethercat(), busRows);
}

TEST_F(Forwarding, OfEachKindOfEventToItsDelegate) {
  Heard<Event> heard;
  ErrorCode ec;
  for (const Event kind : everyKind) {
    robot_.setEventWatcher(
        static_cast<clr::Event>(kind), [&heard, kind](const auto&) { heard.add(kind); }, ec);
    EXPECT_EQ(ec.value(), 0);
  }
  std::size_t count = 0;
  for (const Event kind : everyKind) {
    controller_.push(newsOf(kind));
    ASSERT_TRUE(heard.waitFor(++count));
    EXPECT_EQ(heard.all().back(), kind);
    EXPECT_FALSE(robot_.queryEventInfo(static_cast<clr::Event>(kind), ec).empty());
  }
  for (const Event kind : everyKind) robot_.setEventWatcher(static_cast<clr::Event>(kind), nullptr, ec);
}

// It sends nothing, and tells the log.
TEST_F(Forwarding, OfTheSizeOfTheQueue) {
  ErrorCode ec(-99, "");
  robot_.setMaxCacheSize(1, ec);
  EXPECT_EQ(ec.value(), 0);
  robot_.Dispose();
  const auto log = robotLog("scripted");
  EXPECT_TRUE(std::any_of(log.begin(), log.end(),
                          [](const auto& line) { return line.find("setMaxCacheSize") != line.npos; }));
}

}  // namespace

}  // namespace zivra::test
