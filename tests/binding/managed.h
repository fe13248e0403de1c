// Managed robots that a simulated controller commands.
#pragma once

#include "binding/fixture.h"
#include "system/fixture.h"

namespace zivra::test {

class Managed : public SystemTest {
 protected:
  void done(const char* what) { EXPECT_EQ(ec_.value(), 0) << what << ": " << ec_.message().text(); }

  ErrorCode ec_;
};

}  // namespace zivra::test
