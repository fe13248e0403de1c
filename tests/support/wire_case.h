// One row for each operation: what goes over the wire, what comes back, what it means and what is logged. The
// runner checks for each row, on a real socket: the exact frame, the value and the log lines on success; a
// refusal; replies damaged in every way; a dead link.
//
//   const WireCase rows[] = {
//     {"power on", 'c', "sys.power.on", "null", "0", "setPowerState end, switch motor true (0)",
//      [](TandiRobot& r, std::error_code& ec) { r.setPowerState(true, ec); }},
//   };
//   const WireTests tests("power", rows);
#pragma once

#include <cstddef>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <zivra/error.h>
#include <zivra/robot.h>

#include "support/scripted_controller.h"

namespace zivra::test {

// The call of a row, made from a lambda whose first parameter says which robot class it needs.
class WireCall {
 public:
  template <class Call>
  WireCall(Call run) : WireCall(run, &Call::operator()) {}  // NOLINT: rows are written with bare lambdas

  ControllerIdentity identity;
  std::function<std::unique_ptr<BaseRobot>(const std::string& address)> connect;
  std::function<void(BaseRobot&, std::error_code&)> call;

 private:
  template <class Call, class Robot>
  WireCall(Call run, void (Call::*)(Robot&, std::error_code&) const)
      : identity(identityFor(static_cast<Robot*>(nullptr))),
        connect([](const std::string& address) { return std::make_unique<Robot>(address); }),
        call([run](BaseRobot& robot, std::error_code& ec) { run(dynamic_cast<Robot&>(robot), ec); }) {}

  template <WorkType wt, unsigned short dof>
  static ControllerIdentity identityFor(const Robot_T<wt, dof>*) {
    ControllerIdentity made;
    made.axes = dof;
    made.workType = wt == WorkType::collaborative ? "cobot" : "industrial";
    return made;
  }
};

// What differs from the common rules. Made by chaining: Rules().tolerates("-/elb").otherCode(261)
struct Rules {
  // Damages (see damage.h) that the operation has to put up with without an error.
  Rules&& tolerates(const char* patterns) && {
    return tolerated += std::string(" ") + patterns, std::move(*this);
  }
  // Another code than 257 that a damage may get, and what is no data at all does get.
  Rules&& otherCode(int code) && { return damageCode = code, std::move(*this); }
  // The exact code of these damages.
  Rules&& damaged(const char* patterns, int code) && {
    return damageCodes.emplace_back(patterns, code), std::move(*this);
  }
  // An integer in place of a get's data is the controller's code.
  Rules&& integerIsCode() && { return integerCode = true, std::move(*this); }
  // An integer in place of data is a failure with this code.
  Rules&& integerGives(int code) && { return codeOfInteger = code, std::move(*this); }
  // The reply's value is not looked at: no damage shows, only a reply without the key.
  Rules&& replyUnread() && { return tolerated += " *", std::move(*this); }
  // Nothing waits for the reply; a dead link gives `deadLinkCode` (0: it is told otherwise).
  Rules&& notAwaited(int deadLinkCode) && {
    return awaited = false, tolerated += " *", deadCode = deadLinkCode, std::move(*this);
  }
  // The request's id is "<prefix>#<number>".
  Rules&& queuedAs(const char* prefix) && {
    idPrefix = prefix;
    return std::move(*this).notAwaited(0);
  }
  // The log line is the robot's alone, without the uid.
  Rules&& ownLogOnly() && { return ownLog = true, std::move(*this); }
  // The lines of failures are others: the row names them all.
  Rules&& allLinesNamed() && { return linesOfFailures = false, std::move(*this); }
  // Its line isn't written if the link is down.
  Rules&& silentOnDeadLink() && { return deadLinkLogged = false, std::move(*this); }
  // A request that comes before, with its reply.
  Rules&& after(char form, const char* key, const char* payload, const char* reply) && {
    return preceding.push_back({form, key, payload, reply}), std::move(*this);
  }
  // A further request that follows, with its reply.
  Rules&& then(char form, const char* key, const char* payload, const char* reply) && {
    return further.push_back({form, key, payload, reply}), std::move(*this);
  }
  // The robot is switched to this mode first.
  Rules&& inMode(MotionControlMode wanted) && { return mode = wanted, std::move(*this); }
  // The controller has a file link, which acknowledges what comes.
  Rules&& sendsFile() && { return fileLink = true, std::move(*this); }

  struct Further {
    char form;
    std::string key, payload, reply;
  };
  std::string tolerated;
  int damageCode = 257;
  std::vector<std::pair<std::string, int>> damageCodes;
  bool integerCode = false;
  std::optional<int> codeOfInteger;
  bool awaited = true;
  int deadCode = 256;
  std::string idPrefix;
  bool ownLog = false, deadLinkLogged = true, linesOfFailures = true;
  std::vector<Further> preceding, further;
  MotionControlMode mode = MotionControlMode::Idle;
  bool fileLink = false;
};

struct WireCase {
  const char* name;
  char form;            // g, s, c or w
  const char* key;      // "" for a request of several keys: payload and reply are then the whole body
  const char* payload;  // as it stands on the wire
  const char* reply;    // of the value
  // The robot's log of a success: lines without the uid, '\n' between them, {id} for the request's id, "E: "
  // before one at error level; nullptr: none.
  const char* log;
  WireCall call;
  Rules rules = {};
};

// Registers one test for each row. An object of static storage in the file of the rows.
class WireTests {
 public:
  template <std::size_t n>
  WireTests(const char* family, const WireCase (&rows)[n]) : WireTests(family, rows, n) {}

  // Form letter and key of every request of all rows, as "c sys.power.on".
  static std::vector<std::string> keys();

 private:
  WireTests(const char* family, const WireCase* rows, std::size_t n);
};

void runWireCase(const WireCase& row);

// What the runner is after at the moment.
struct WireExpectation {
  const std::error_code* ec = nullptr;
  bool exact = true;  // false: the reply is damaged in a way that the operation puts up with
  std::string id;     // as the call reported it
};
WireExpectation& wireExpectation();

// What a value consists of, for comparing.
template <class T>
const T& fieldsOf(const T& value) {
  return value;
}
inline auto fieldsOf(const Info& v) { return std::tie(v.id, v.mac, v.version, v.type, v.joint_num); }
inline auto fieldsOf(const CartesianPosition& v) {
  return std::tie(v.trans, v.rpy, v.pos, v.elbow, v.hasElbow, v.confData, v.external);
}
inline auto fieldsOf(const StateList& v) {
  return std::tuple_cat(std::tie(v.joint_pos), fieldsOf(v.cart_pos),
                        std::tie(v.digital_signals, v.analog_signals, v.operation_mode, v.speed_override));
}

// The value on success; on failure the type's default, or `failed`, and never something in between.
template <class T>
void expectEqual(const T& actual, const std::type_identity_t<T>& expected,
                 const std::type_identity_t<T>& failed = {}) {
  const WireExpectation& now = wireExpectation();
  if (*now.ec) {
    EXPECT_TRUE(fieldsOf(actual) == fieldsOf(failed)) << "half a result with code " << now.ec->value();
  } else if (now.exact) {
    EXPECT_TRUE(fieldsOf(actual) == fieldsOf(expected)) << "another value than expected";
  }
}
// The id that an operation handed out.
inline void reportId(const std::string& id) { wireExpectation().id = id; }

}  // namespace zivra::test
