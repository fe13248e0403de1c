// Signals, registers and parameters whose value the caller types: what is read from which JSON, and what is
// refused before anything is sent.
#include <limits>

#include "robot/fixture.h"

namespace zivra::test {

namespace {

using Ec = std::error_code;

class TypedValues : public RobotTest {
 protected:
  TypedValues() : robot_(address()) {
    // The last that a connection sends, and nobody waits for.
    EXPECT_TRUE(controller_.waitForRequest(moveWatch, 2));
  }

  // None of the calls sends anything.
  void expectRefused(int code, const std::vector<std::function<void(Ec&)>>& calls) {
    controller_.forgetRequests();
    for (std::size_t i = 0; i < calls.size(); ++i) {
      Ec ec;
      calls[i](ec);
      EXPECT_EQ(ec, Ec(code, category())) << "call " << i;
    }
    robot_.powerState(ec_);
    EXPECT_EQ(controller_.frames().size(), 1u) << "the reading of the power alone";
  }

  template <class T>
  void expectRead(const std::string& reply, T value, int code, const T& expected) {
    SCOPED_TRACE(reply);
    controller_.answer("register.values", reply);
    robot_.readRegister("r", 2, value, ec_);
    EXPECT_EQ(ec_, Ec(code, category()));
    EXPECT_EQ(value, expected);
  }
  // One value of a register.
  template <class T>
  void expectOne(const std::string& raw, T value, int code, const T& expected) {
    expectRead<T>("{\"r.#2\":" + raw + "}", value, code, expected);
  }
  // A register of several; what fails leaves nothing of what there was.
  template <class T>
  void expectArray(const std::string& raw, int code, const std::vector<T>& expected) {
    expectRead<std::vector<T>>("{\"r\":" + raw + "}", {T(1)}, code, expected);
  }

  TandiRobot robot_;
  Ec ec_;
};

TEST_F(TypedValues, OneAnswerRefusesASignal) {
  struct Row {
    const char* key;
    int code;
    void (*set)(TandiRobot&, Ec&);
  };
  for (const Row& row :
       {Row{"device.io.simu.di", -10030, [](TandiRobot&r, Ec&ec) { r.setDI(0, 1, true, ec); }},
        Row{"device.io.out.do", -14501, [](TandiRobot&r, Ec&ec) { r.setDO(0, 1, true, ec); }},
        Row{"device.io.out.ao", -14501, [](TandiRobot&r, Ec&ec) { r.setAO(0, 1, 0.5, ec); }}}) {
    for (const auto& [reply, code] : {std::pair{"-1", row.code}, std::pair{"-2", 0}, std::pair{"-1.0", 0}}) {
      controller_.answer(row.key, reply);
      row.set(robot_, ec_);
      EXPECT_EQ(ec_, Ec(code, category())) << row.key << reply;
    }
  }
}

TEST_F(TypedValues, SignalsAreReadAsTheyStand) {
  struct Row {
    const char* reply;
    int digitalCode;
    bool digital;
    int analogCode;
    double analog;
  };
  for (const Row& row : {
           Row{"{}", 0, false, 257, 0},
           Row{R"({"DI.DI0_3":false,"AI.AI0_3":-3})", 0, false, 0, -3},
           Row{R"({"DI.DI0_3":0,"AI.AI0_3":18446744073709551615})", 0, false, 0, 18446744073709551615.0},
           Row{R"({"DI.DI0_3":-1,"AI.AI0_3":true})", 0, true, 257, 0},
           Row{R"({"DI":{"DI0_3":true}})", 0, false, 257, 0},
           Row{"-1", -1, false, -1, 0},
           Row{"0", 0, false, 0, 0},
           Row{"9999999999", 257, false, 257, 0},
           Row{"null", 257, false, 257, 0},
       }) {
    SCOPED_TRACE(row.reply);
    controller_.answer("device.io", row.reply);
    EXPECT_EQ(robot_.getDI(0, 3, ec_), row.digital);
    EXPECT_EQ(ec_, Ec(row.digitalCode, category()));
    EXPECT_EQ(robot_.getAI(0, 3, ec_), row.analog);
    EXPECT_EQ(ec_, Ec(row.analogCode, category()));
  }
}

TEST_F(TypedValues, ARegisterHasTheTypeThatIsAskedFor) {
  for (const auto& [reply, code] : {std::pair{"0", 0}, std::pair{"-1", -17001}, std::pair{"-14010", -14010},
                                    std::pair{"{}", -260}, std::pair{R"({"r":[1],"r.#2":1})", 0}}) {
    const bool read = *reply == '{' && code == 0;
    expectRead<int>(reply, 7, code, read ? 1 : 7);
    expectRead<std::vector<int>>(reply, {7}, code, read ? std::vector{1} : std::vector{7});
  }
  expectOne<int>("2147483647", 7, 0, 2147483647);
  expectOne<int>("-2147483648", 7, 0, std::numeric_limits<int>::min());
  for (const char* raw : {"2147483648", "-2147483649", "18446744073709551615", "1.5", "1.0", "true"})
    expectOne<int>(raw, 7, 259, 7);
  expectOne<float>("3", 7, 0, 3);
  expectOne<float>("3.4e38", 7, 0, 3.4e38f);
  expectOne<float>("true", 7, 259, 7);
  for (const char* raw : {"1e300", "-1e39"}) expectOne<float>(raw, 7, 257, 7);
  for (const char* raw : {"1", "true", "-0.5", "1e300"}) expectOne<bool>(raw, false, 0, true);
  for (const char* raw : {"0", "false", "0.0"}) expectOne<bool>(raw, true, 0, false);

  // Only the first element's type counts; the others are taken as far as they are numbers.
  expectArray<int>("[1,2.9,true,-2.9]", 0, {1, 2, 1, -2});
  expectArray<float>("[1,2.5,false]", 0, {1, 2.5f, 0});
  expectArray<bool>("[0.5,0,true]", 0, {true, false, true});
  for (const char* raw : {"[]", "[1.5]", "[true,1]", "5", "{}"}) expectArray<int>(raw, 259, {});
  for (const char* raw : {"[4294967296]", "[1,4294967296]", "[1,1e300]", "[1,null]", "[1,\"2\"]", "[1,[]]"})
    expectArray<int>(raw, 257, {});
  expectArray<float>("[1,1e300]", 257, {});
}

TEST_F(TypedValues, AnArrayIsRefusedByItsOwnCode) {
  for (const auto& [reply, one, array] :
       {std::tuple{"-1", -1, -17002}, std::tuple{"-14010", -14010, -14010}}) {
    controller_.answer("register.write", reply);
    robot_.writeRegister("r", 0, 5, ec_);
    EXPECT_EQ(ec_, Ec(one, category()));
    robot_.writeRegister("r", 0, {5}, ec_);
    EXPECT_EQ(ec_, Ec(array, category()));
  }
}

TEST_F(TypedValues, EachRailParameterHasItsKeyAndFactor) {
  struct Row {
    const char* name;
    const char* key;
    double factor;
  };
  for (const Row& row :
       {Row{"encoderResolution", "recolution_ratio", 1}, Row{"reductionRatio", "reduction_ratio", 1},
        Row{"maxSpeed", "max_speed", 1000}, Row{"maxAcc", "max_acc", 1000}, Row{"maxJerk", "max_jerk", 1000},
        Row{"motorSpeed", "motor_speed", 1}, Row{"enable", "enable", 1}, Row{"name", "name", 1},
        Row{"softLimit0", "soft_limit_lower", 1000}, Row{"softLimit1", "soft_limit_upper", 1000},
        Row{"range0", "lower", 1000}, Row{"range1", "upper", 1000}, Row{"baseFrame", "base_frame", 1}}) {
    SCOPED_TRACE(row.name);
    const std::string key = std::string("\"") + row.key + "\":";
    controller_.answerBy("rail_param", [&](const Request& r) {
      return std::vector{r.reply(r.form == 's' ? "0" : "{" + key + "-4000}")};
    });
    controller_.forgetRequests();
    robot_.setRailParameter(row.name, -50.0, ec_);
    EXPECT_EQ(ec_, Ec(0, category()));
    const std::string sent = row.factor == 1 ? "-50.0" : "-50000.0";
    EXPECT_NE(controller_.frames().at(0).find("{" + key + sent + "}"), std::string::npos)
        << controller_.frames().at(0);
    double value = 7;
    robot_.getRailParameter(row.name, value, ec_);
    EXPECT_EQ(ec_, Ec(0, category()));
    EXPECT_EQ(value, -4000 / row.factor);
  }
}

TEST_F(TypedValues, TheRailsNamesGoWithTheirTypes) {
  const char* noText = nullptr;
  double number = 7;
  std::vector<double> numbers{7};
  expectRefused(259, {
                         [&](Ec& ec) { robot_.setRailParameter("speed", 1.0, ec); },
                         [&](Ec& ec) { robot_.setRailParameter("max_speed", 1, ec); },
                         [&](Ec& ec) { robot_.setRailParameter("softLimit", 1.0, ec); },
                         [&](Ec& ec) { robot_.setRailParameter("", 1.0, ec); },
                         [&](Ec& ec) { robot_.setRailParameter("maxSpeed", true, ec); },
                         [&](Ec& ec) { robot_.setRailParameter("maxSpeed", "fast", ec); },
                         [&](Ec& ec) { robot_.setRailParameter("name", noText, ec); },
                         [&](Ec& ec) { robot_.setRailParameter("name", Frame(), ec); },
                         [&](Ec& ec) { robot_.setRailParameter("softLimit", {1.0}, ec); },
                         [&](Ec& ec) { robot_.setRailParameter("range", {}, ec); },
                         [&](Ec& ec) {
                           robot_.setRailParameter("maxSpeed", {1.0, 2.0}, ec);
                         },
                         [&](Ec& ec) {
                           robot_.setRailParameter("range0", {1.0, 2.0}, ec);
                         },
                         [&](Ec& ec) { robot_.getRailParameter("speed", number, ec); },
                         [&](Ec& ec) { robot_.getRailParameter("softLimit", number, ec); },
                         [&](Ec& ec) { robot_.getRailParameter("softLimit0", numbers, ec); },
                     });
  EXPECT_EQ(number, 7);
  EXPECT_EQ(numbers, std::vector<double>{7});
}

TEST_F(TypedValues, ARailParameterOfAnotherTypeIsRefused) {
  controller_.answer("rail_param", R"({"enable":1,"max_acc":1e300,"lower":"x","upper":1,"base_frame":5})");
  bool flag = true;
  int whole = 7;
  double number = 7;
  std::string text = "before";
  std::vector<double> numbers{7};
  Frame frame({7, 7, 7}, {});
  const std::function<void()> reads[] = {
      [&] { robot_.getRailParameter("enable", flag, ec_); },
      [&] { robot_.getRailParameter("maxAcc", flag, ec_); },
      [&] { robot_.getRailParameter("maxAcc", whole, ec_); },
      [&] { robot_.getRailParameter("maxSpeed", number, ec_); },
      [&] { robot_.getRailParameter("enable", text, ec_); },
      [&] { robot_.getRailParameter("range", numbers, ec_); },
      [&] { robot_.getRailParameter("baseFrame", frame, ec_); },
  };
  for (const auto& read : reads) {
    read();
    EXPECT_EQ(ec_, Code::argumentInvalid) << &read - reads;
  }
  EXPECT_TRUE(flag);
  EXPECT_EQ(whole, 7);
  EXPECT_EQ(number, 7);
  EXPECT_EQ(text, "before");
  EXPECT_EQ(numbers, std::vector<double>{7});
  EXPECT_EQ(frame.trans[0], 7);
  controller_.answer("rail_param", "{}");
  robot_.getRailParameter("baseFrame", frame, ec_);
  EXPECT_EQ(ec_, Code::success) << "a frame that isn't there is zero";
  EXPECT_EQ(frame.trans[0], 0);
}

TEST_F(TypedValues, AxesAndUnitsHaveFixedNames) {
  int value = 7;
  const auto axis = [&](const std::string& name, const std::string& info) {
    return [&, name, info](Ec& ec) { robot_.getExtAxisInfo(name, info, value, ec); };
  };
  const auto unit = [&](const std::string& name, const std::string& info) {
    return [&, name, info](Ec& ec) { robot_.getMechUnit(name, info, value, ec); };
  };
  expectRefused(259,
                {axis("axis7", "max_acc"), axis("axis0", "max_acc"), axis("Axis1", "max_acc"),
                 axis("axis1", "maxAcc"), axis("axis1", "max_acc "), axis("axis1", ""), axis("", "max_acc"),
                 axis("u1", "order"), axis("axis1", std::string("max_acc\0", 8)), unit("u7", "order"),
                 unit("u0", "order"), unit("u1", "max_acc"), unit("axis1", "order"), unit("", "")});
  EXPECT_EQ(value, 7);

  const auto expectListed = [&](const char* key, const std::vector<std::string>& names,
                                const std::vector<std::string>& infos, const auto& read) {
    for (const auto& name : names) {
      for (const auto& info : infos) {
        controller_.answer(key, R"({"data":{")" + name + "\":{\"" + info + "\":5}}}");
        value = 7;
        read(name, info)(ec_);
        EXPECT_EQ(ec_, Code::success) << name << ' ' << info;
        EXPECT_EQ(value, 5);
      }
    }
  };
  expectListed(
      "ext_axis.get_axis_info", {"axis1", "axis2", "axis3", "axis4", "axis5", "axis6"},
      {"ext_data_number", "ext_axis_number", "is_servo_gun", "max_acc", "max_jerk", "max_motor_speed",
       "max_speed", "soft_limit_lower", "soft_limit_upper", "zero_value", "motor_overload_coefficient",
       "motor_torque_limiting", "reduction_ratio", "rated_torque_of_motor", "resolution_ratio",
       "joint_orient", "coordinate_calibrated", "driver_name"},
      axis);
  expectListed("ext_axis.get_mechanical_unit_info", {"u1", "u2", "u3", "u4", "u5", "u6"},
               {"activation", "axes_info", "enable", "fixed_name", "mech_link_type", "order", "unit_name"},
               unit);

  controller_.answer("ext_axis.get_axis_info", "0");
  axis("axis1", "max_acc")(ec_);
  EXPECT_EQ(ec_, Code::success) << "no data, and no failure";
  EXPECT_EQ(value, 5);
}

}  // namespace

}  // namespace zivra::test
