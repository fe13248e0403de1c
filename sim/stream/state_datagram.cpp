#include "stream/state_datagram.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <kdl/frames.hpp>

#include "motion/geometry.h"

namespace zivra::sim {

namespace {

// By this much the commanded values are ahead of the measured ones, which the drives follow.
constexpr double kLead = 0.002;  // s
constexpr double kGearRatio = 101;
constexpr double kGearStiffness = 2e4;  // Nm/rad: a loaded gear twists

class Writer {
 public:
  void byte(unsigned value) { bytes_.push_back(static_cast<char>(value)); }
  void whole(std::uint64_t value) {
    for (int shift = 0; shift < 64; shift += 8) byte((value >> shift) & 0xff);
  }
  void real(double value) { whole(std::bit_cast<std::uint64_t>(value)); }
  template <typename Numbers>
  void reals(const Numbers& numbers) {
    for (const double number : numbers) real(number);
  }
  template <typename Flags>
  void flags(const Flags& flags) {
    for (const bool flag : flags) byte(flag ? 1 : 0);
  }
  std::string take() { return std::move(bytes_); }

 private:
  std::string bytes_;
};

using Sample = RobotSample;

// a + b * factor
Joints sum(Joints a, const Joints& b, double factor) {
  for (std::size_t i = 0; i < a.size(); ++i) a[i] += b[i] * factor;
  return a;
}

Joints scaled(Joints numbers, double factor) {
  for (double& number : numbers) number *= factor;
  return numbers;
}

KDL::Frame commandedPose(const Sample& s) {
  KDL::Frame frame = toFrame(s.pose);
  const auto& v = s.velocity;
  frame.p += KDL::Vector(v[0], v[1], v[2]) * kLead;
  const KDL::Vector turn = KDL::Vector(v[3], v[4], v[5]) * kLead;
  frame.M = KDL::Rotation::Rot(turn, turn.Norm()) * frame.M;
  return frame;
}

// Homogeneous matrix, row by row.
void matrix(Writer& out, const KDL::Frame& frame) {
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) out.real(frame.M(row, column));
    out.real(frame.p(row));
  }
  out.reals(std::array{0.0, 0.0, 0.0, 1.0});
}

// Nothing here has external axes, an elbow angle, an external force or a panel.
void sixZeros(const Sample&, Writer& out) { out.reals(std::array<double, 6>{}); }
void zero(const Sample&, Writer& out) { out.real(0.0); }

struct Field {
  std::string_view name;
  void (*write)(const Sample&, Writer&);
};

constexpr Field kFields[] = {
    {"q_m", [](const Sample& s, Writer& out) { out.reals(s.q); }},
    {"q_c", [](const Sample& s, Writer& out) { out.reals(sum(s.q, s.dq, kLead)); }},
    {"dq_m", [](const Sample& s, Writer& out) { out.reals(s.dq); }},
    {"dq_c", [](const Sample& s, Writer& out) { out.reals(sum(s.dq, s.ddq, kLead)); }},
    {"ddq_m", [](const Sample& s, Writer& out) { out.reals(s.ddq); }},
    {"ddq_c", [](const Sample& s, Writer& out) { out.reals(s.ddq); }},
    {"pos_m", [](const Sample& s, Writer& out) { matrix(out, toFrame(s.pose)); }},
    {"pos_c", [](const Sample& s, Writer& out) { matrix(out, commandedPose(s)); }},
    {"pos_abc_m",
     [](const Sample& s, Writer& out) {
       out.reals(s.pose.trans);
       out.reals(s.pose.rot);
     }},
    {"pos_vel_m", [](const Sample& s, Writer& out) { out.reals(s.velocity); }},
    {"pos_vel_c", [](const Sample& s, Writer& out) { out.reals(s.velocity); }},
    {"pos_acc_m", [](const Sample& s, Writer& out) { out.reals(s.acceleration); }},
    {"pos_acc_c", [](const Sample& s, Writer& out) { out.reals(s.acceleration); }},
    {"ex_q_m", sixZeros},
    {"ex_dq_m", sixZeros},
    {"ex_motor_m", sixZeros},
    {"psi_m", zero},
    {"psi_c", zero},
    {"psi_vel_c", zero},
    {"psi_acc_c", zero},
    {"tau_m", [](const Sample& s, Writer& out) { out.reals(s.torque); }},
    {"tau_c", [](const Sample& s, Writer& out) { out.reals(sum(s.torque, s.torqueRate, kLead)); }},
    {"tau_filtered_m", [](const Sample& s, Writer& out) { out.reals(s.filteredTorque); }},
    {"tau_vel_c", [](const Sample& s, Writer& out) { out.reals(s.torqueRate); }},
    {"tau_ext_base", sixZeros},
    {"tau_ext_stiff", sixZeros},
    {"theta_m", [](const Sample& s, Writer& out) { out.reals(sum(s.q, s.torque, 1 / kGearStiffness)); }},
    {"theta_vel_m",
     [](const Sample& s, Writer& out) { out.reals(sum(s.dq, s.torqueRate, 1 / kGearStiffness)); }},
    {"motor_tau", [](const Sample& s, Writer& out) { out.reals(scaled(s.torque, 1 / kGearRatio)); }},
    {"motor_tau_filtered",
     [](const Sample& s, Writer& out) { out.reals(scaled(s.filteredTorque, 1 / kGearRatio)); }},
    {"motion_mode", [](const Sample& s, Writer& out) { out.byte(s.motionMode); }},
    {"control_mode", [](const Sample& s, Writer& out) { out.byte(s.controlMode); }},
    {"io_keypad", [](const Sample&, Writer& out) { out.flags(std::array<bool, 7>{}); }},
};

// Fields that aren't the robot's own; asked for, they stand a second time.
constexpr std::string_view kTime = "ts", kErrors = "errors";

const Field* find(std::string_view name) {
  const auto* found = std::ranges::find(kFields, name, &Field::name);
  return found == std::end(kFields) ? nullptr : found;
}

// True for the one of many (-1: all) that are still to be hit.
bool takeOne(int& left) {
  if (left > 0) return --left, true;
  return left < 0;
}

}  // namespace

bool isStateField(std::string_view name) { return name == kTime || name == kErrors || find(name) != nullptr; }

std::string writeDatagram(const RobotSample& sample, const std::array<bool, 20>& errors,
                          const std::vector<std::string>& fields) {
  Writer out;
  const auto write = [&](std::string_view name) {
    if (name == kTime)
      out.whole(static_cast<std::uint64_t>(std::llround(sample.time * 1e6)));
    else if (name == kErrors)
      out.flags(errors);
    else if (const Field* field = find(name))
      field->write(sample, out);
  };
  write(kTime);
  write(kErrors);
  for (const std::string& field : fields) write(field);
  return out.take();
}

std::string nextDatagram(World& world) {
  StateStream& stream = world.stream;
  StreamFaults& faults = stream.faults;
  stream.previous = sampleRobot(world, stream.previous);
  std::string datagram =
      writeDatagram(*stream.previous, faults.errors, stream.fields.value_or(std::vector<std::string>()));
  if (takeOne(faults.drop)) return {};
  if (takeOne(faults.cut)) datagram.resize(std::min(datagram.size(), faults.cutTo));
  return datagram;
}

}  // namespace zivra::sim
