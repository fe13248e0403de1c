// The panel at the tool: supply, keypad, Modbus, plain bytes, CAN.
#include <fmt/format.h>

#include "robot/fixture.h"
#include "support/wire_case.h"

namespace zivra::test {

bool operator==(const CANFrame& a, const CANFrame& b) {
  return std::tie(a.frame_id, a.frame_format, a.frame_type, a.data, a.frame_valid_length) ==
         std::tie(b.frame_id, b.frame_format, b.frame_type, b.data, b.frame_valid_length);
}

namespace {

using Robot = TandiRobot;
using Ec = std::error_code;
using Vout = NorvilOpt::Vout;
using Bytes = std::vector<std::uint8_t>;

Rules panel(const char* type) { return Rules().after('g', "norvil_support_rs485_param", "null", type); }
// What is missing in the answer reads as 0.
Rules reading() {
  return panel("2").tolerates(
      "=null =object -/* /data=null /data=object -/data/* /data/data_array=null /data/rev_data=null </data/* "
      "<</data/* >/data/*");
}

void rwRegisters(Robot& r, int function, const char* type, std::vector<int> values,
                 const std::vector<int>& expected, Ec& ec) {
  const int count = static_cast<int>(values.size());
  r.NorvilRWModbusRTUReg(65535, function, 0, type, count, values, true, ec);
  expectEqual(values, expected, std::vector<int>(values.size(), 0));
}
void rwCoils(Robot& r, int function, std::vector<bool> values, const std::vector<bool>& expected, Ec& ec) {
  const int count = static_cast<int>(values.size());
  r.NorvilRWModbusRTUCoil(1, function, 65535, count, values, false, ec);
  expectEqual(values, expected, std::vector<bool>(values.size(), false));
}

CANFrame frameOf(int id, int format, int type, Bytes data, int length) {
  CANFrame frame;
  frame.frame_id = id;
  frame.frame_format = format;
  frame.frame_type = type;
  frame.data = std::move(data);
  frame.frame_valid_length = length;
  return frame;
}
CANFrame frameOf(int type, Bytes data) {
  const int length = static_cast<int>(data.size());
  return frameOf(7, 1, type, std::move(data), length);
}

const char* canReply =
    R"({"data":{"data_array":[1,2,259,4,5],"frame_format":1,"frame_id":7,"frame_type":2,"frame_valid_length":5}})";

#define REGISTERS_LOG " NorvilRWModbusRTUReg valid_size  | (59)\n NorvilRWModbusRTUReg end, ec:0"
#define COILS_LOG " NorvilRWModbusRTUCoil valid_size  | (944)\n NorvilRWModbusRTUCoil end, ec:0"
#define BYTES_LOG " NorvilRS485SendData valid_size  | (128)\n NorvilRS485SendData end, ec:0"

const WireCase rows[] = {
    {"supply off", 's', "device.io.norvil", R"({"vout":"off"})", "0", "setNorvilVout end, opt: off (0)",
     [](Robot& r, Ec& ec) { r.setNorvilVout(Vout::off, ec); }},
    {"supply reserved", 's', "device.io.norvil", R"({"vout":"reserve"})", "0",
     "setNorvilVout end, opt: reserve (0)", [](Robot& r, Ec& ec) { r.setNorvilVout(Vout::reserve, ec); }},
    {"supply 12 V", 's', "device.io.norvil", R"({"vout":"12v"})", "0", "setNorvilVout end, opt: 12v (0)",
     [](Robot& r, Ec& ec) { r.setNorvilVout(Vout::supply12v, ec); }},
    {"a supply that isn't one", 's', "device.io.norvil", R"({"vout":"off"})", "0",
     "setNorvilVout end, opt: invalid (0)",
     [](Robot& r, Ec& ec) { r.setNorvilVout(static_cast<Vout>(4), ec); }},
    {"serial port", 's', "device.io.norvil", R"({"mode":"rs485","vout":"24v"})", "0",
     "setNorvilRTU end, opt: 24v, true (0)",
     [](Robot& r, Ec& ec) { r.setNorvilRS485(Vout::supply24v, true, ec); }},
    {"serial port whatever the flag says", 's', "device.io.norvil", R"({"mode":"rs485","vout":"off"})", "0",
     "setNorvilRTU end, opt: off, false (0)",
     [](Robot& r, Ec& ec) { r.setNorvilRS485(Vout::off, false, ec); }},
    {"read registers", 'c', "modbusRTU.register.rw",
     R"({"data_array":[0,0,0],"fun_cmd":3,"if_crc_reverse":true,"num":3,"reg_addr":0,"slave_addr":65535})",
     R"({"data":{"data_array":[1,65535,65537]}})", REGISTERS_LOG,
     [](Robot& r, Ec& ec) {
       rwRegisters(r, 3, "int16", {0, 0, 0}, {1, 65535, 1}, ec);
     },
     reading()},
    {"read wide registers", 'c', "modbusRTU.register.rw",
     R"({"data_array":[0,0],"fun_cmd":4,"if_crc_reverse":true,"num":2,"reg_addr":0,"slave_addr":65535})",
     R"({"data":{"data_array":[4660,22136]}})", REGISTERS_LOG,
     [](Robot& r, Ec& ec) { rwRegisters(r, 4, "uint32", {0}, {0x56781234}, ec); }, reading()},
    {"write wide registers", 'c', "modbusRTU.register.rw",
     R"({"data_array":[65535,65535,2,1],"fun_cmd":16,"if_crc_reverse":true,"num":4,"reg_addr":0,"slave_addr":65535})",
     R"({"data":{"data_array":[65535,65535,2,1]}})", REGISTERS_LOG,
     [](Robot& r, Ec& ec) {
       rwRegisters(r, 16, "int32", {-1, 65538}, {-1, 65538}, ec);
     },
     reading()},
    {"write one register of an array too short", 'c', "modbusRTU.register.rw",
     R"({"data_array":[65534,0],"fun_cmd":6,"if_crc_reverse":false,"num":2,"reg_addr":65535,"slave_addr":0})",
     R"({"data":{"data_array":[65534]}})", REGISTERS_LOG,
     [](Robot& r, Ec& ec) {
       std::vector<int> values{-2};
       r.NorvilRWModbusRTUReg(0, 6, 65535, "uint16", 2, values, false, ec);
       expectEqual(values, {65534, 0}, {0, 0});
     },
     reading()},
    {"no registers", 'c', "modbusRTU.register.rw",
     R"({"fun_cmd":3,"if_crc_reverse":true,"num":0,"reg_addr":0,"slave_addr":65535})",
     R"({"data":{"data_array":[1]}})", REGISTERS_LOG,
     [](Robot& r, Ec& ec) { rwRegisters(r, 3, "int16", {}, {}, ec); },
     reading().tolerates("/data/data_array/*")},
    {"read coils", 'c', "modbusRTU.coil.rw",
     R"({"coil_addr":65535,"data_array":[false,false],"fun_cmd":1,"if_crc_reverse":false,"num":2,"slave_addr":1})",
     R"({"data":{"rev_data":[true,0]}})", COILS_LOG,
     [](Robot& r, Ec& ec) {
       rwCoils(r, 1, {false, false}, {true, false}, ec);
     },
     reading().tolerates("/data/rev_data/*=bool /data/rev_data/*=int /data/rev_data/*=real")},
    {"write a coil of an array too long", 'c', "modbusRTU.coil.rw",
     R"({"coil_addr":0,"data_array":[true],"fun_cmd":5,"if_crc_reverse":false,"num":1,"slave_addr":0})",
     R"({"data":{"rev_data":[true]}})", COILS_LOG,
     [](Robot& r, Ec& ec) {
       std::vector<bool> values{true, true, true};
       r.NorvilRWModbusRTUCoil(0, 5, 0, 1, values, false, ec);
       expectEqual(values, {true}, {false});
     },
     reading().tolerates("/data/rev_data/*=int /data/rev_data/*=real")},
    {"bytes", 'c', "modbusRTU.data.rw", R"({"rev_len":3,"send_data":[1,255],"send_len":2})",
     R"({"data":{"rev_data":[3,511]}})", BYTES_LOG,
     [](Robot& r, Ec& ec) {
       Bytes received(3, 9);
       r.NorvilRS485SendData(2, 3, {1, 255}, received, ec);
       expectEqual(received, {3, 255, 0}, {0, 0, 0});
     },
     reading()},
    {"no bytes", 'c', "modbusRTU.data.rw", R"({"rev_len":0,"send_len":0})", "null", BYTES_LOG,
     [](Robot& r, Ec& ec) {
       Bytes received;
       r.NorvilRS485SendData(0, 0, {}, received, ec);
       expectEqual(received, {});
     },
     panel("2").tolerates("=object")},
    {"send frames of bytes", 'c', "modbusRTU.can.send",
     R"({"send_frames":[{"data_array":[1,2],"frame_format":1,"frame_id":7,"frame_type":2,"frame_valid_length":2},)"
     R"({"frame_format":0,"frame_id":0,"frame_type":0,"frame_valid_length":0}]})",
     "0", " CANSendData end, ec:0",
     [](Robot& r, Ec& ec) {
       r.CANSendData("uint8", {frameOf(2, {1, 2}), frameOf(0, 0, 0, {}, 0)}, ec);
     },
     Rules().replyUnread()},
    {"send frames of words", 'c', "modbusRTU.can.send",
     R"({"send_frames":[{"data_array":[1,0,255,0],"frame_format":1,"frame_id":7,"frame_type":1,"frame_valid_length":4}]})",
     "0", " CANSendData end, ec:0",
     [](Robot& r, Ec& ec) {
       r.CANSendData("int16", {frameOf(1, {1, 255})}, ec);
     },
     Rules().replyUnread()},
    {"send frames of a type that isn't known", 'c', "modbusRTU.can.send",
     R"({"send_frames":[{"frame_format":1,"frame_id":7,"frame_type":2,"frame_valid_length":0}]})", "0",
     " CANSendData end, ec:0", [](Robot& r, Ec& ec) { r.CANSendData("int8", {frameOf(2, Bytes(20))}, ec); },
     Rules().replyUnread()},
    {"send no frame", 'c', "modbusRTU.can.send", R"({"send_frames":[]})", "0", " CANSendData end, ec:0",
     [](Robot& r, Ec& ec) { r.CANSendData("uint8", {}, ec); }, Rules().replyUnread()},
    {"keys", 'g', "device.io.keypad", "null", "[true,0,1,false,false,false,true]", nullptr,
     [](Robot& r, Ec& ec) {
       const KeyPadState s = r.getKeypadState(ec);
       expectEqual(std::array{s.key1_state, s.key2_state, s.key3_state, s.key4_state, s.key5_state,
                              s.key6_state, s.key7_state},
                   {true, false, true, false, false, false, true});
     },
     Rules().tolerates("< << > =array /*=int /*=real /*=bool")},
    {"another real-time client", 's', "eci.rci.cfg", R"({"protocol_version":""})", "0",
     "useRciClient end, use: true (0)", [](Robot& r, Ec& ec) { r.useRciClient(true, ec); }},
    {"this library", 's', "eci.rci.cfg", R"({"protocol_version":"sdk0.7.1"})", "0",
     "useRciClient end, use: false (0)", [](Robot& r, Ec& ec) { r.useRciClient(false, ec); }},
};
const WireTests tests("panel", rows);

class Panel : public RobotTest {
 protected:
  Panel() : robot_(address()) {
    for (const char* key :
         {"modbusRTU.register.rw", "modbusRTU.coil.rw", "modbusRTU.data.rw", "modbusRTU.can.send"}) {
      controller_.answer(key, R"({"data":{}})");
    }
  }
  // The code of each operation with arguments given; what is refused isn't sent.
  int registers(int slave, int function, int address, const char* type, int num, std::size_t size) {
    std::vector<int> values(size);
    return judged("modbusRTU.register.rw", [&](Ec& ec) {
      robot_.NorvilRWModbusRTUReg(slave, function, address, type, num, values, false, ec);
    });
  }
  int coils(int slave, int function, int address, int num, std::size_t size) {
    std::vector<bool> values(size);
    return judged("modbusRTU.coil.rw", [&](Ec& ec) {
      robot_.NorvilRWModbusRTUCoil(slave, function, address, num, values, false, ec);
    });
  }
  int bytes(int send, int receive, std::size_t sent, std::size_t received) {
    Bytes in(received);
    return judged("modbusRTU.data.rw",
                  [&](Ec& ec) { robot_.NorvilRS485SendData(send, receive, Bytes(sent), in, ec); });
  }
  int can(const char* type, const std::vector<CANFrame>& frames) {
    return judged("modbusRTU.can.send", [&](Ec& ec) { robot_.CANSendData(type, frames, ec); });
  }
  template <class Call>
  int judged(const char* key, Call call) {
    const std::size_t before = controller_.count(key);
    Ec ec;
    call(ec);
    EXPECT_EQ(controller_.count(key), before + (ec ? 0 : 1));
    return ec.value();
  }

  // The lines of this operation's that have `word` in them, all of them and in this order.
  void expectLines(const std::string& word, std::vector<std::string> expected) {
    Ec ec;
    robot_.disconnectFromRobot(ec);  // what was logged is in the file then
    for (std::string& line : expected) line.insert(0, "uid: scripted | ");
    std::vector<std::string> lines = robotLog("scripted");
    std::erase_if(lines, [&](const auto& line) { return line.find(word) == std::string::npos; });
    EXPECT_EQ(lines, expected);
  }

  TandiRobot robot_;
};

TEST_F(Panel, BoundsOfTheArguments) {
  controller_.answer("norvil_support_rs485_param", "2");
  std::vector<std::string> refusals;
  // 258 and the line, or success without one.
  const auto expectJudged = [&](const char* operation, const char* line, int code) {
    SCOPED_TRACE(line == nullptr ? "fits" : line);
    EXPECT_EQ(code, line == nullptr ? 0 : 258);
    if (line != nullptr) refusals.push_back(fmt::format(" {} error: Parameter {} | (258)", operation, line));
  };
  const struct {
    int slave, function, address;
    const char* type;
    int num;
    std::size_t size;
    const char* line;
  } registerCases[] = {
      {65535, 3, 65535, "int16", 59, 59, nullptr},
      {0, 3, 0, "int32", 29, 29, nullptr},
      {0, 6, 0, "int16", 1, 9, nullptr},
      {65536, 3, 0, "int16", 1, 1, "slaver_addr out of range"},
      {-1, 3, 0, "int16", 1, 1, "slaver_addr out of range"},
      {0, 5, 0, "int16", 1, 1, "fun_cmd out of range"},
      {0, 15, 0, "int16", 1, 1, "fun_cmd out of range"},
      {0, 3, -1, "int16", 1, 1, "reg_addr out of range"},
      {0, 3, 65536, "int16", 1, 1, "reg_addr out of range"},
      {0, 3, 0, "uint16", 60, 60, "num does not match data_type"},
      {0, 3, 0, "int16", -1, 0, "num does not match data_type"},
      {0, 3, 0, "uint32", 30, 30, "num does not match data_type "},
      {0, 6, 0, "int32", 1, 1, "num does not match data_type "},
      {0, 3, 0, "int8", 1, 1, "data_type out of range "},
      {0, 16, 0, "int16", 2, 1, "data_array does not match num"},
      {0, 3, 0, "int16", 1, 2, "data_array does not match num"},
  };
  for (const auto& c : registerCases) {
    expectJudged("NorvilRWModbusRTUReg", c.line,
                 registers(c.slave, c.function, c.address, c.type, c.num, c.size));
  }
  const struct {
    int slave, function, address, num;
    std::size_t size;
    const char* line;
  } coilCases[] = {
      {65535, 1, 65535, 944, 944, nullptr},
      {0, 5, 0, 1, 0, nullptr},
      {65536, 1, 0, 1, 1, "slaver_addr out of range"},
      {0, 6, 0, 1, 1, "fun_cmd out of range"},
      {0, 15, 65536, 1, 1, "coi_addr out of range"},
      {0, 2, 0, 945, 945, "num out of range"},
      {0, 2, 0, -1, 0, "num out of range"},
      {0, 15, 0, 2, 1, "data_array does not match num "},
  };
  for (const auto& c : coilCases) {
    expectJudged("NorvilRWModbusRTUCoil", c.line, coils(c.slave, c.function, c.address, c.num, c.size));
  }
  const struct {
    int send, receive;
    std::size_t sent, received;
    const char* line;
  } byteCases[] = {
      {128, 128, 128, 128, nullptr},
      {129, 0, 129, 0, "send_byte or rev_byte out of range"},
      {0, 129, 0, 129, "send_byte or rev_byte out of range"},
      {-1, 0, 0, 0, "send_byte or rev_byte out of range"},
      {2, 0, 1, 0, "byte len does not match data array size"},
      {0, 2, 0, 1, "byte len does not match data array size"},
  };
  for (const auto& c : byteCases) {
    expectJudged("NorvilRS485SendData", c.line, bytes(c.send, c.receive, c.sent, c.received));
  }
  expectLines(" error: ", refusals);
}

TEST_F(Panel, HowMuchFitsDependsOnTheTypeOfThePanel) {
  const struct {
    const char* type;
    int registers, coils, bytes;
    std::size_t asked;  // how often, for eight operations
  } cases[] = {{"3", 27, 432, 64, 1}, {"4", 59, 944, 128, 1},  {"0", 3, 48, 16, 1},
               {"9", 3, 48, 16, 1},   {"\"2\"", 3, 48, 16, 8}, {"null", 3, 48, 16, 8}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    TandiRobot robot(address());
    controller_.answer("norvil_support_rs485_param", c.type);
    controller_.forgetRequests();
    const auto fits = [&](int count, auto call) {
      Ec ec;
      call(count, ec);
      EXPECT_EQ(ec.value(), 0) << count;
      call(count + 1, ec);
      EXPECT_EQ(ec, Code::parameterExceedsLimit) << count + 1;
    };
    const auto registersOf = [&](const char* type) {
      return [&robot, type](int count, Ec& ec) {
        std::vector<int> values(static_cast<std::size_t>(count));
        robot.NorvilRWModbusRTUReg(1, 3, 0, type, count, values, false, ec);
      };
    };
    fits(c.registers, registersOf("int16"));
    fits(c.registers / 2, registersOf("int32"));
    fits(c.coils, [&](int count, Ec& ec) {
      std::vector<bool> values(static_cast<std::size_t>(count));
      robot.NorvilRWModbusRTUCoil(1, 1, 0, count, values, false, ec);
    });
    fits(c.bytes, [&](int count, Ec& ec) {
      Bytes in(static_cast<std::size_t>(count));
      robot.NorvilRS485SendData(0, count, {}, in, ec);
    });
    EXPECT_EQ(controller_.count("norvil_support_rs485_param"), c.asked);
  }
}

TEST_F(Panel, AFailedTransferIsMinusOneAndLeavesTheArrays) {
  controller_.answer("norvil_support_rs485_param", "2");
  for (const char* error : {"0", "-7", "\"x\"", "[]"}) {
    SCOPED_TRACE(error);
    for (const char* key : {"modbusRTU.register.rw", "modbusRTU.coil.rw", "modbusRTU.data.rw"}) {
      controller_.answer(key,
                         fmt::format(R"({{"error":{},"data":{{"data_array":[1],"rev_data":[1]}}}})", error));
    }
    std::vector<int> values{5};
    Ec ec;
    robot_.NorvilRWModbusRTUReg(1, 3, 0, "int16", 1, values, false, ec);
    EXPECT_EQ(ec, Ec(-1, category()));
    EXPECT_EQ(values, std::vector<int>{5});
    std::vector<bool> coils{true};
    robot_.NorvilRWModbusRTUCoil(1, 1, 0, 1, coils, false, ec);
    EXPECT_EQ(ec, Ec(-1, category()));
    EXPECT_EQ(coils, std::vector<bool>{true});
    Bytes received{5};
    robot_.NorvilRS485SendData(0, 1, {}, received, ec);
    EXPECT_EQ(ec, Ec(-1, category()));
    EXPECT_EQ(received, Bytes{});
  }
}

TEST_F(Panel, FramesThatDontFitAreNotSent) {
  const CANFrame good = frameOf(2, {1});
  const struct {
    const char* type;
    CANFrame frame;
    const char* line;  // null: it fits
  } cases[] = {
      {"uint8", frameOf(-1, 0, 2, {}, 0), "slaver_addr out of range"},
      {"uint8", frameOf(0, 2, 2, {}, 0), "frame_format out of range"},
      {"uint8", frameOf(0, -1, 2, {}, 0), "frame_format out of range"},
      {"uint8", frameOf(0, 0, 3, {}, 0), "frame_type out of range"},
      {"uint8", frameOf(2, Bytes(8)), nullptr},
      {"uint8", frameOf(2, Bytes(9)),
       "frame_valid_length exceeds the limit, the data_type is uint8, length range is 0-8 "},
      {"int16", frameOf(2, Bytes(4)), nullptr},
      {"uint16", frameOf(2, Bytes(6)),
       "frame_valid_length exceeds the limit, the data_type is int16/uint16, length range is 0-4 "},
      {"uint16", frameOf(0, 0, 2, {}, -1),
       "frame_valid_length exceeds the limit, the data_type is int16/uint16, length range is 0-4 "},
      {"int16", frameOf(0, Bytes(6)), nullptr},
      {"int16", frameOf(1, Bytes(32)), nullptr},
      {"int16", frameOf(1, Bytes(5)),
       "frame_valid_length exceeds the limit, the data_type is int16/uint16, length range is "
       "(0-4)/6/8/10/12/16/24/32"},
      {"uint8", frameOf(1, Bytes(12)), nullptr},
      {"uint8", frameOf(0, Bytes(64)), nullptr},
      {"uint8", frameOf(1, Bytes(9)),
       "frame_valid_length exceeds the limit, the data_type is uint8, length range is "
       "(0-8)/12/16/20/24/32/48/64"},
      {"int16", frameOf(0, 0, 1, {}, -1), "frame_valid_length exceeds the limit "},
      {"text", frameOf(0, 0, 0, {}, -1), "frame_valid_length exceeds the limit "},
      {"text", frameOf(1, Bytes(200)), nullptr},
      {"uint8", frameOf(0, 0, 2, {1, 2}, 1), "data does not match frame_valid_length"},
      {"text", frameOf(0, 0, 2, {}, -1), "data does not match frame_valid_length"},
  };
  std::vector<std::string> refusals;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line == nullptr ? "fits" : c.line);
    // The third of three: none goes out.
    EXPECT_EQ(can(c.type, {good, good, c.frame}), c.line == nullptr ? 0 : 258);
    if (c.line != nullptr)
      refusals.push_back(fmt::format(" CANSendData error: Parameter {} | (258)", c.line));
  }
  expectLines(" error: ", refusals);
}

TEST_F(Panel, FramesReceived) {
  const struct {
    const char* name;
    const char* reply;
    const char* type;
    int code;
    CANFrame expected;
    std::vector<int> bytes = {};  // that are logged
  } cases[] = {
      {"bytes", canReply, "uint8", 0, frameOf(7, 1, 2, {1, 2, 3, 4, 5}, 5), {1, 2, 3, 4, 5}},
      {"words, a last odd byte dropped", canReply, "uint16", 0, frameOf(7, 1, 2, {1, 3}, 2), {1, 2, 3, 4, 5}},
      {"of a type that isn't known", canReply, "float", 0, frameOf(7, 1, 2, {}, 0), {1, 2, 3, 4, 5}},
      {"nothing in it", "{}", "uint8", 0, frameOf(0, 0, 0, {}, 0)},
      {"a length beyond what came",
       R"({"data":{"frame_valid_length":2000000000,"data_array":[1]}})",
       "uint8",
       0,
       frameOf(0, 0, 0, {1}, 1),
       {1}},
      {"a length below nothing", R"({"data":{"frame_valid_length":-3,"data_array":[1]}})", "uint8", 0,
       frameOf(0, 0, 0, {}, 0)},
      {"half of it wrong", R"({"data":{"frame_id":3,"frame_type":"x"}})", "uint8", 257, {}},
      {"no numbers", R"({"data":{"frame_valid_length":1,"data_array":["x"]}})", "uint8", 257, {}},
      {"no frame", "-290", "uint8", -1, {}},
      {"no frame at all", "null", "uint8", -1, {}},
      {"a text", R"("x")", "uint8", -1, {}},
  };
  const CANFrame before = frameOf(1, 1, 1, {9}, 1);
  const std::string nothing = "CANReceiveData warning : No data received after timeout | (-1)";
  std::vector<std::string> lines;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    controller_.answer("modbusRTU.can.recv", c.reply);
    CANFrame frame = before;
    Ec ec;
    robot_.CANReceiveData(-5, c.type, frame, ec);
    EXPECT_EQ(ec, Ec(c.code, category()));
    EXPECT_TRUE(frame == (c.code == 0 ? c.expected : before));
    for (const int byte : c.bytes) lines.push_back(fmt::format(" CANReceiveData data:{}", byte));
    lines.push_back(c.code == -1 ? nothing : fmt::format(" CANReceiveData end, ec:{}", c.code));
  }
  EXPECT_NE(controller_.frames().back().find(R"("modbusRTU.can.recv":{"timeout_ms":-5})"), std::string::npos);
  controller_.die();
  Ec ec;
  CANFrame frame;
  robot_.CANReceiveData(1, "uint8", frame, ec);
  EXPECT_EQ(ec, Ec(-1, category())) << "a link that is down shows no other code";
  lines.push_back(nothing);
  expectLines("CANReceiveData", lines);
}

}  // namespace

}  // namespace zivra::test
