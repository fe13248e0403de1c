// Access to the slaves: its own link, refusals, and replies that don't fit the caller's buffer.
#include <optional>

#include "robot/fixture.h"
#include "robot/guarded_bytes.h"

namespace zivra::test {

namespace {

using Ec = std::error_code;
using Bytes = std::vector<std::uint8_t>;

class Ethercat : public RobotTest {
 protected:
  // Of a robot that stays, and from which nothing more is to come.
  BaseEthercat openBus() {
    robot_.connectToRobot(address());
    EXPECT_TRUE(controller_.waitForRequest(moveWatch, 2));
    return robot_.ethercat();
  }

 private:
  TandiRobot robot_;
};

// Every operation, with what it gives.
struct Call {
  const char* key;
  std::function<bool(BaseEthercat&, Ec&)> run;  // true: something else than the value of a failure
};
const Call calls[] = {
    {"ethercat.get_con_slaves_num", [](BaseEthercat& bus, Ec& ec) { return bus.GetSlaveCount(ec) != 0; }},
    {"ethercat.get_slave_info",
     [](BaseEthercat& bus, Ec& ec) { return !bus.GetSlaveInfo(1, ec).slaveName.empty(); }},
    {"ethercat.get_slaves_state", [](BaseEthercat& bus, Ec& ec) { return !bus.GetSlavesInfo(ec).empty(); }},
    {"ethercat.get_slaves_state", [](BaseEthercat& bus, Ec& ec) { return bus.GetSlaveState(1, ec) != 0; }},
    {"ethercat.read_SDO_data",
     [](BaseEthercat& bus, Ec& ec) { return bus.ReadSDO(1, 2, 3, 4, GuardedBytes(4).data(), 5, ec); }},
    {"ethercat.write_SDO_data",
     [](BaseEthercat& bus, Ec& ec) { return bus.WriteSDO(1, 2, 3, 0, nullptr, 5, ec); }},
    {"ethercat.write_multi_SDO_data", [](BaseEthercat& bus, Ec& ec) { return bus.WriteMultiSDO(1, {}, ec); }},
    {"ethercat.read_PDO_data",
     [](BaseEthercat& bus, Ec& ec) { return bus.ReadPDO(1, 2, 4, GuardedBytes(4).data(), ec); }},
    {"ethercat.write_PDO_data", [](BaseEthercat& bus, Ec& ec) { return bus.WritePDO(1, 2, 0, nullptr, ec); }},
};

TEST_F(Ethercat, HasALinkOfItsOwn) {
  std::optional<TandiRobot> robot(std::in_place, address());
  ASSERT_TRUE(controller_.waitForLinks(1));
  BaseEthercat first = robot->ethercat();
  BaseEthercat second = robot->ethercat();
  ASSERT_TRUE(controller_.waitForLinks(3));
  BaseEthercat moved(std::move(first));
  controller_.answer("ethercat.get_con_slaves_num", R"({"data":3})");
  Ec ec;
  robot->disconnectFromRobot(ec);
  ASSERT_TRUE(controller_.waitForLinks(2));
  EXPECT_EQ(moved.GetSlaveCount(ec), 3) << ec.message();
  robot.reset();
  EXPECT_EQ(second.GetSlaveCount(ec), 3) << ec.message();
  second = std::move(moved);
  ASSERT_TRUE(controller_.waitForLinks(1)) << "its former link";
  EXPECT_EQ(second.GetSlaveCount(ec), 3) << ec.message();
  for (const Call& call : calls) {
    SCOPED_TRACE(call.key);
    EXPECT_FALSE(call.run(first, ec));
    EXPECT_EQ(ec, Code::network) << "moved from";
  }
  { const BaseEthercat last(std::move(second)); }
  EXPECT_TRUE(controller_.waitForLinks(0));
}

TEST_F(Ethercat, NeedsAController) {
  TandiRobot never;
  EXPECT_NE(thrownBy<NetworkException>([&] { never.ethercat(); }), "");
  TandiRobot robot(address());
  controller_.die();
  EXPECT_NE(thrownBy<NetworkException>([&] { robot.ethercat(); }), "");
}

TEST_F(Ethercat, AnUnexplainedRefusalIsNoCode) {
  for (const Call& call : calls) controller_.answer(call.key, "-1");
  BaseEthercat bus = openBus();
  const int codes[] = {0, -1, 257, 257, 0, 0, 0, -1, 0};
  for (std::size_t i = 0; i < std::size(calls); ++i) {
    SCOPED_TRACE(calls[i].key);
    Ec ec(1, std::generic_category());
    EXPECT_FALSE(calls[i].run(bus, ec));
    EXPECT_EQ(ec, coded(codes[i]));
  }
}

TEST_F(Ethercat, ADeadLinkIsToldByEach) {
  BaseEthercat bus = openBus();
  controller_.die();
  for (const Call& call : calls) {
    SCOPED_TRACE(call.key);
    testing::internal::CaptureStderr();
    Ec ec;
    EXPECT_FALSE(call.run(bus, ec));
    EXPECT_EQ(ec, Code::network);
    const std::string told = testing::internal::GetCapturedStderr();
    const bool tells = std::string(call.key) == "ethercat.read_PDO_data";
    EXPECT_EQ(told, tells ? "ReadPDO ec: " + ec.message() + "\n" : "");
  }
  Ec ec;
  EXPECT_TRUE(bus.SetSlavesState(8, ec)) << "only the code tells";
  EXPECT_EQ(ec, Code::network);
}

TEST_F(Ethercat, ReadsFillTheBufferAndNoMore) {
  const struct {
    const char* reply;
    int length;
    bool read;
    Bytes bytes;  // at the buffer's beginning
    int code = 0;
  } rows[] = {
      {R"({"data":[1,2,3,4,5,6,7,8]})", 3, true, {1, 2, 3}},
      {R"({"data":[1,2]})", 3, true, {1, 2}},
      {R"({"data":[]})", 3, true, {}},
      {R"({"data":[256,-1,511]})", 3, true, {0, 255, 255}},
      {R"({"data":[18446744073709551615]})", 3, true, {255}},
      {R"({"data":[1,2,3]})", 0, true, {}},
      {R"({"data":[1,2,3]})", -5, true, {}},
      {R"({"data":[1,2,"3"]})", 3, false, {}, 257},
      {R"({"data":[1,2,3,4.5]})", 3, false, {}, 257},
      {R"({"data":[1,null]})", 3, false, {}, 257},
      {R"({"data":{"0":1}})", 3, false, {}, 257},
      {"{}", 3, false, {}, 257},
  };
  BaseEthercat bus = openBus();
  for (const auto& row : rows) {
    SCOPED_TRACE(row.reply);
    for (const bool sdo : {true, false}) {
      controller_.answer(sdo ? "ethercat.read_SDO_data" : "ethercat.read_PDO_data", row.reply);
      GuardedBytes buffer(static_cast<std::size_t>(std::max(row.length, 0)));
      Bytes expected = buffer.untouched();
      std::copy(row.bytes.begin(), row.bytes.end(), expected.begin());
      Ec ec;
      EXPECT_EQ(sdo ? bus.ReadSDO(1, 2, 3, row.length, buffer.data(), 0, ec)
                    : bus.ReadPDO(1, 2, row.length, buffer.data(), ec),
                row.read);
      EXPECT_EQ(ec, coded(row.code));
      EXPECT_EQ(buffer.bytes(), expected);
    }
  }
  Ec ec;
  EXPECT_FALSE(bus.ReadSDO(1, 2, 3, 4, nullptr, 0, ec));
  EXPECT_EQ(ec, Code::argumentInvalid);
  for (const char* integer : {"0", "-2", "7"}) {
    controller_.answer("ethercat.read_SDO_data", integer);
    EXPECT_FALSE(bus.ReadSDO(1, 2, 3, 0, nullptr, 0, ec));
    EXPECT_EQ(ec, Code::responseUnresolved);
    controller_.answer("ethercat.read_PDO_data", integer);
    EXPECT_FALSE(bus.ReadPDO(1, 2, 0, nullptr, ec));
    EXPECT_EQ(ec, coded(std::stoi(integer)));
  }
}

TEST_F(Ethercat, WritesSendWhatTheyAreGivenOrNothing) {
  for (const Call& call : calls) controller_.answer(call.key, "0");
  BaseEthercat bus = openBus();
  controller_.forgetRequests();
  Ec ec;
  EXPECT_TRUE(bus.WriteSDO(1, 2, 3, 0, nullptr, 5, ec));
  EXPECT_TRUE(bus.WritePDO(1, 2, -3, nullptr, ec));
  EXPECT_TRUE(bus.WriteMultiSDO(65535, {}, ec));
  SDOData whole;
  whole.length = 50;
  whole.data.fill(255);
  EXPECT_TRUE(bus.WriteMultiSDO(65535, {whole}, ec));
  const auto requests = controller_.requests();
  ASSERT_EQ(requests.size(), 4u);
  EXPECT_NE(requests[0].text.find(R"("data":[],)"), std::string::npos);
  EXPECT_NE(requests[1].text.find(R"("data":[],"offset":2,"size":-3)"), std::string::npos);
  EXPECT_NE(requests[2].text.find(R"({"ethercat.write_multi_SDO_data":[]})"), std::string::npos);
  std::string bytes = "255";
  for (int i = 1; i < 50; ++i) bytes += ",255";
  EXPECT_NE(requests[3].text.find(R"({"addr":65535,"data":[)" + bytes + "],"), std::string::npos);

  const auto sent = controller_.requests().size();
  SDOData tooLong;
  tooLong.length = 51;
  EXPECT_FALSE(bus.WriteMultiSDO(1, {whole, tooLong}, ec));
  EXPECT_EQ(ec, Code::parameterExceedsLimit);
  EXPECT_FALSE(bus.WriteSDO(1, 2, 3, 4, nullptr, 5, ec));
  EXPECT_EQ(ec, Code::argumentInvalid);
  EXPECT_FALSE(bus.WritePDO(1, 2, 4, nullptr, ec));
  EXPECT_EQ(ec, Code::argumentInvalid);
  EXPECT_EQ(controller_.requests().size(), sent);
}

TEST_F(Ethercat, StatesAreWords) {
  const char* const words[] = {nullptr, "init",  "preop", "bootstrap", "safeop",
                               nullptr, nullptr, nullptr, "op"};
  controller_.answer("ethercat.set_slaves_state", "0");
  BaseEthercat bus = openBus();
  for (unsigned state = 0; state <= 16; ++state) {
    SCOPED_TRACE(state);
    controller_.forgetRequests();
    const char* word = state < std::size(words) ? words[state] : nullptr;
    Ec ec(1, std::generic_category());
    EXPECT_EQ(bus.SetSlavesState(static_cast<std::uint16_t>(state), ec), word != nullptr);
    EXPECT_FALSE(ec);
    const auto requests = controller_.requests();
    ASSERT_EQ(requests.size(), word != nullptr ? 1u : 0u);
    if (word == nullptr) continue;
    EXPECT_NE(requests[0].text.find(R"({"state":")" + std::string(word) + "\"}"), std::string::npos);
  }
}

TEST_F(Ethercat, ListsWithSlavesThatCantBeRead) {
  const std::string one =
      R"("slaveId":1,"vendorId":2,"productCode":3,"reversionNumber":4,"slaveName":"one"}})";
  controller_.answer("ethercat.get_slaves_state",
                     R"({"data":[{"addr":1,"state":65544},{"addr":9,"state":1},{"addr":-2,"state":-1}]})");
  controller_.answerBy("ethercat.get_slave_info", [&](const Request& request) {
    const bool first = request.text.find(R"({"addr":1})") != std::string::npos;
    return std::vector{request.reply(first ? R"({"data":{"addr":1,)" + one : "-5")};
  });
  BaseEthercat bus = openBus();
  Ec ec;
  const auto slaves = bus.GetSlavesInfo(ec);
  EXPECT_EQ(ec, coded(-5)) << "that of the last";
  ASSERT_EQ(slaves.size(), 3u);
  EXPECT_EQ(slaves[0].slaveName, "one");
  EXPECT_EQ(slaves[0].alStatus, 8) << "cut to 16 bits";
  EXPECT_EQ(slaves[1].slaveAddr, 0);
  EXPECT_EQ(slaves[1].alStatus, 0);
  EXPECT_EQ(bus.GetSlaveState(-2, ec), 65535);
  EXPECT_EQ(bus.GetSlaveState(5, ec), 0) << "not on the bus";
  EXPECT_FALSE(ec) << ec.message();

  // A slave that the list doesn't name, and numbers too large for their members.
  controller_.answer("ethercat.get_slave_info", R"({"data":{"addr":7,)" + one);
  EXPECT_EQ(bus.GetSlaveInfo(7, ec).slaveAddr, 7);
  EXPECT_FALSE(ec) << ec.message();
  controller_.answer("ethercat.get_slave_info", R"({"data":{"addr":65536,)" + one);
  EXPECT_EQ(bus.GetSlaveInfo(7, ec).slaveName, "");
  EXPECT_EQ(ec, Code::responseUnresolved);
  controller_.answer("ethercat.get_slave_info", R"({"data":{"addr":1,)" + one);
  controller_.answer("ethercat.get_slaves_state", "{}");
  EXPECT_EQ(bus.GetSlaveInfo(1, ec).slaveName, "") << "no half of it";
  EXPECT_EQ(ec, Code::responseUnresolved);
}

}  // namespace

}  // namespace zivra::test
