// The slaves behind the controller. Each call goes over a link made for it.
#include "robot/guarded_bytes.h"
#include "support/wire_case.h"

namespace zivra {

static bool operator==(const SlaveInfo& a, const SlaveInfo& b) {
  const auto fields = [](const SlaveInfo& v) {
    return std::tie(v.vendorId, v.productCode, v.reversionNumber, v.slaveAddr, v.slaveId, v.alStatus,
                    v.slaveName);
  };
  return fields(a) == fields(b);
}

}  // namespace zivra

namespace zivra::test {

namespace {

using Robot = TandiRobot;
using Ec = std::error_code;
using Bytes = std::vector<std::uint8_t>;

template <class Call>
void onBus(Robot& robot, Ec& ec, Call call) {
  try {
    BaseEthercat bus = robot.ethercat();
    call(bus);
  } catch (const NetworkException&) {
    ec = Code::network;  // a dead controller
  }
}

const char* const info =
    R"({"data":{"addr":2,"productCode":4294967295,"reversionNumber":65537,"slaveId":7,"slaveName":"drive",)"
    R"("vendorId":1337}})";
const char* const states = R"({"data":[{"addr":1,"state":8},{"addr":2,"state":4}]})";

SlaveInfo drive(std::uint16_t alStatus) {
  SlaveInfo slave;
  slave.vendorId = 1337;
  slave.productCode = 4294967295U;
  slave.reversionNumber = 65537;
  slave.slaveAddr = 2;
  slave.slaveId = 7;
  slave.alStatus = alStatus;
  slave.slaveName = "drive";
  return slave;
}

SDOData item() {
  SDOData data;
  data.index = 0x6081;
  data.sub_index = 1;
  data.length = 2;
  data.over_time = 500;
  data.wait_time = 10;
  data.print_data = 1;
  data.data = {200, 255, 3};
  return data;
}

const WireCase rows[] = {
    {"count", 'c', "ethercat.get_con_slaves_num", "null", R"({"data":3})", nullptr,
     [](Robot& r, Ec& ec) {
       onBus(r, ec, [&](BaseEthercat& bus) { expectEqual(bus.GetSlaveCount(ec), 3); });
     },
     Rules().tolerates("=* -/data /data=null")},
    {"one slave", 'c', "ethercat.get_slave_info", R"({"addr":2})", info, nullptr,
     [](Robot& r, Ec& ec) {
       onBus(r, ec, [&](BaseEthercat& bus) { expectEqual(bus.GetSlaveInfo(2, ec), drive(4)); });
     },
     Rules().then('c', "ethercat.get_slaves_state", "null", states)},
    {"all slaves", 'c', "ethercat.get_slaves_state", "null", states, nullptr,
     [](Robot& r, Ec& ec) {
       onBus(r, ec, [&](BaseEthercat& bus) { expectEqual(bus.GetSlavesInfo(ec), {drive(8), drive(4)}); });
     },
     Rules()
         .integerGives(257)
         .tolerates("<* >*")
         .then('c', "ethercat.get_slave_info", R"({"addr":1})", info)
         .then('c', "ethercat.get_slaves_state", "null", states)
         .then('c', "ethercat.get_slave_info", R"({"addr":2})", info)
         .then('c', "ethercat.get_slaves_state", "null", states)},
    {"state of a slave", 'c', "ethercat.get_slaves_state", "null", states, nullptr,
     [](Robot& r, Ec& ec) {
       onBus(r, ec, [&](BaseEthercat& bus) { expectEqual(bus.GetSlaveState(2, ec), 4); });
     },
     Rules().integerGives(257).tolerates("<* >*")},
    {"set the state", 'c', "ethercat.set_slaves_state", R"({"state":"op"})", "0", nullptr,
     [](Robot& r, Ec& ec) {
       onBus(r, ec, [&](BaseEthercat& bus) { EXPECT_TRUE(bus.SetSlavesState(8, ec)); });
     },
     Rules().replyUnread()},
    {"read an object", 'c', "ethercat.read_SDO_data",
     R"({"addr":2,"index":24705,"length":3,"over_time":500,"sub_index":1})", R"({"data":[1,255,0]})", nullptr,
     [](Robot& r, Ec& ec) {
       onBus(r, ec, [&](BaseEthercat& bus) {
         GuardedBytes buffer(3);
         const bool read = bus.ReadSDO(2, 0x6081, 1, 3, buffer.data(), 500, ec);
         expectEqual(std::pair(read, buffer.bytes()), {true, Bytes{1, 255, 0}}, {false, buffer.untouched()});
       });
     },
     Rules().integerGives(257).tolerates("</data <</data >/data")},
    {"write an object", 'c', "ethercat.write_SDO_data",
     R"({"addr":2,"data":[200,0,255],"index":24705,"length":3,"over_time":500,"sub_index":1})", "0", nullptr,
     [](Robot& r, Ec& ec) {
       onBus(r, ec, [&](BaseEthercat& bus) {
         const Bytes bytes{200, 0, 255, 9};
         expectEqual(bus.WriteSDO(2, 0x6081, 1, 3, bytes.data(), 500, ec), true);
       });
     },
     Rules().replyUnread()},
    {"write several objects", 'c', "ethercat.write_multi_SDO_data",
     R"([{"addr":2,"data":[200,255],"index":24705,"length":2,"over_time":500,"print_data":1,"sub_index":1,)"
     R"("wait_time":10},{"addr":2,"data":[],"index":0,"length":0,"over_time":0,"print_data":0,)"
     R"("sub_index":0,"wait_time":0}])",
     "0", nullptr,
     [](Robot& r, Ec& ec) {
       onBus(r, ec, [&](BaseEthercat& bus) {
         expectEqual(bus.WriteMultiSDO(2, {item(), SDOData{}}, ec), true);
       });
     },
     Rules().replyUnread()},
    {"read process data", 'c', "ethercat.read_PDO_data", R"({"addr":2,"offset":4,"size":2})",
     R"({"data":[128,7]})", nullptr,
     [](Robot& r, Ec& ec) {
       onBus(r, ec, [&](BaseEthercat& bus) {
         GuardedBytes buffer(2);
         const bool read = bus.ReadPDO(2, 4, 2, buffer.data(), ec);
         expectEqual(std::pair(read, buffer.bytes()), {true, Bytes{128, 7}}, {false, buffer.untouched()});
       });
     },
     Rules().tolerates("</data <</data >/data")},
    {"write process data", 'c', "ethercat.write_PDO_data", R"({"addr":2,"data":[128,7],"offset":4,"size":2})",
     "0", nullptr,
     [](Robot& r, Ec& ec) {
       onBus(r, ec, [&](BaseEthercat& bus) {
         const Bytes bytes{128, 7};
         expectEqual(bus.WritePDO(2, 4, 2, bytes.data(), ec), true);
       });
     },
     Rules().replyUnread()},
};
const WireTests tests("ethercat", rows);

}  // namespace

}  // namespace zivra::test
