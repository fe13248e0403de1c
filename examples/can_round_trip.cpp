// Sends frames on the CAN bus at the tool and shows what the peer answers.
#include "moving.h"

namespace {

using namespace example;

constexpr int kStandard = 0, kFlexibleRate = 1;
constexpr int kAnswerLimitMs = 500;

zivra::CANFrame frameOf(int id, std::vector<std::uint8_t> data) {
  zivra::CANFrame frame;
  frame.frame_id = id;
  frame.frame_format = kStandard;
  frame.frame_type = kFlexibleRate;
  frame.frame_valid_length = static_cast<int>(data.size());
  frame.data = std::move(data);
  return frame;
}

void print(const char* what, const zivra::CANFrame& frame) {
  std::printf("%s id 0x%03x:", what, static_cast<unsigned>(frame.frame_id));
  for (const auto byte : frame.data) std::printf(" %02x", byte);
  std::printf("\n");
}

void roundTripAt(const std::string& address) {
  zivra::TandiRobot robot;
  connect(robot, address);
  std::error_code ec;
  robot.setNorvilVout(zivra::NorvilOpt::Vout::supply24v, ec);
  require(ec, "supplying the bus");
  const std::vector<zivra::CANFrame> frames{frameOf(0x10, {1, 2, 3}),
                                            frameOf(0x11, {0xde, 0xad, 0xbe, 0xef})};
  robot.CANSendData("uint8", frames, ec);
  require(ec, "sending");
  for (const auto& frame : frames) print("sent    ", frame);

  for (std::size_t i = 0; i < frames.size(); ++i) {
    zivra::CANFrame answer;
    robot.CANReceiveData(kAnswerLimitMs, "uint8", answer, ec);
    require(ec, "waiting for an answer");
    print("received", answer);
  }
}

}  // namespace

int main(int argc, char** argv) {
  return runProgram(
      argc, argv, "can_round_trip",
      "usage: can_round_trip ADDRESS\n"
      "Sends frames on the CAN bus at the tool of the robot at ADDRESS and prints the answers.\n",
      roundTripAt);
}
