// A scripted controller, and English texts, in a folder of the test's own.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <system_error>

#include <zivra/error.h>
#include <zivra/robot.h>

#include "support/scripted_controller.h"
#include "support/temporary_folder.h"
#include "support/waiting.h"

namespace zivra::test {

class RobotTest : public testing::Test {
 protected:
  RobotTest() { ::setenv("LC_ALL", "C", 1); }

  const std::string& address() const { return controller_.address(); }

  TemporaryFolder folder_;
  ScriptedController controller_;
};

inline std::error_code coded(int code) { return {code, category()}; }

// How often a line stands in the robot's log; it has to be in that of the process too. Both have reached
// their files with a line at error level, and once the link has ended.
inline auto timesLogged(const std::string& line) {
  const auto own = robotLog("scripted"), global = globalLog();
  EXPECT_NE(std::find(global.begin(), global.end(), line), global.end()) << line;
  return std::count(own.begin(), own.end(), line);
}

// Text of the exception of that very type; empty if nothing was thrown.
template <class Exception>
std::string thrownBy(const std::function<void()>& call) {
  try {
    call();
  } catch (const zivra::Exception& e) {
    EXPECT_TRUE(typeid(e) == typeid(Exception)) << typeid(e).name() << ": " << e.what();
    return e.what();
  }
  return {};
}

inline constexpr const char* moveWatch = "move.last_error_with_setting";

// A move notification as the value of "n".
inline std::string moveNotice(const std::string& data) {
  return R"({"move.last_error_with_setting":{"data":)" + data + "}}";
}
inline const std::string finishNotice = moveNotice(R"({"id":"l#0","point":0,"msg":"finish"})");

inline std::string thisTest() { return testing::UnitTest::GetInstance()->current_test_info()->name(); }

}  // namespace zivra::test
