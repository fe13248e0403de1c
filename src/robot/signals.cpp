// Digital and analog signals.
#include <zivra/base_robot.h>

#include "robot/operation.h"

namespace zivra {

using internal::Operation;
using internal::Reply;

namespace {

constexpr int noSimulation = -10030, noSuchOutput = -14501;

std::string signalName(const char* kind, unsigned board, unsigned port) {
  return fmt::format("{}{}_{}", kind, board, port);
}

// The reply, and under which name it has the signal.
struct SignalReading {
  SignalReading(BaseRobot::Impl& impl, const char* kind, unsigned board, unsigned port, std::error_code& ec)
      : path(std::string(kind) + '.' + signalName(kind, board, port)),
        reply(Operation(impl, ec).get("device.io", wanted(path))) {}

  static Json::Value wanted(const std::string& path) {
    Json::Value names(Json::objectValue);
    names[path] = Json::Value();
    return names;
  }

  std::string path;
  Reply reply;
};

// A signal that the controller doesn't name is off.
bool readDigital(BaseRobot::Impl& impl, const char* kind, unsigned board, unsigned port,
                 std::error_code& ec) noexcept {
  SignalReading reading(impl, kind, board, port, ec);
  if (!reading.reply.isData()) return false;
  const Json::Value& signal = internal::member(reading.reply.value(), reading.path);
  const auto state = signal.isNull() ? false : internal::asTruth(signal);
  if (!reading.reply.value().isObject() || !state) reading.reply.fail(Code::responseUnresolved);
  return state.value_or(false);
}

// How a kind of signal is written: -1 is the only answer that tells of a refusal.
struct SignalWriting {
  const char* operation;
  const char* kind;
  const char* key;
  int refusal;
};

template <class T>
void writeSignal(BaseRobot::Impl& impl, const SignalWriting& how, unsigned board, unsigned port, T value,
                 std::error_code& ec) noexcept {
  Operation op(impl, ec, "{} {}, {}, {}", how.operation, board, port, value);
  Json::Value parameters;
  parameters["name"] = signalName(how.kind, board, port);
  parameters["value"] = value;
  const Reply reply = op.command(how.key, parameters);
  if (!reply.failed() && internal::asInt(reply.value()) == -1) {
    ec.assign(how.refusal, category());
  }
  op.end("{} end, set {}{}_{} to {} ({})", how.operation, how.kind, board, port, value, ec);
}

}  // namespace

bool BaseRobot::getDI(unsigned board, unsigned port, std::error_code& ec) noexcept {
  return readDigital(impl(), "DI", board, port, ec);
}

bool BaseRobot::getDO(unsigned board, unsigned port, std::error_code& ec) noexcept {
  return readDigital(impl(), "DO", board, port, ec);
}

double BaseRobot::getAI(unsigned board, unsigned port, std::error_code& ec) noexcept {
  SignalReading reading(impl(), "AI", board, port, ec);
  if (!reading.reply.isData()) return 0;
  const auto level = internal::asNumber(internal::member(reading.reply.value(), reading.path));
  if (!level) reading.reply.fail(Code::responseUnresolved);
  return level.value_or(0);
}

void BaseRobot::setDI(unsigned board, unsigned port, bool state, std::error_code& ec) noexcept {
  writeSignal(impl(), {"setDI", "DI", "device.io.simu.di", noSimulation}, board, port, state, ec);
}

void BaseRobot::setDO(unsigned board, unsigned port, bool state, std::error_code& ec) noexcept {
  writeSignal(impl(), {"setDO", "DO", "device.io.out.do", noSuchOutput}, board, port, state, ec);
}

void BaseRobot::setAO(unsigned board, unsigned port, double value, std::error_code& ec) noexcept {
  writeSignal(impl(), {"setAO", "AO", "device.io.out.ao", noSuchOutput}, board, port, value, ec);
}

void BaseRobot::setSimulationMode(bool state, std::error_code& ec) noexcept {
  Operation(impl(), ec).command(state ? "device.io.simu.on" : "device.io.simu.off").code();
}

}  // namespace zivra
