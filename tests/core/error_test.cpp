#include <array>
#include <climits>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <system_error>

#include <zivra/error.h>
#include <zivra/types.h>

#include "core/error_table.h"
#include "core/library_message.h"
#include "core/scoped_language.h"

namespace {

using zivra::category;
using zivra::Code;
using zivra::internal::Language;
using zivra::internal::Message;

// Runs before main: texts are there, and Chinese, before any robot was made.
const std::string textBeforeMain = category().message(-3);
const std::string exceptionBeforeMain = zivra::RealtimeStateException("x").what();

TEST(ErrorTexts, ExistBeforeMain) {
  EXPECT_EQ(textBeforeMain, "机器人急停按钮被按下, 请先恢复");
  EXPECT_EQ(exceptionBeforeMain, "实时模式异常: 状态错误: x");
}

TEST(ErrorTexts, OfCodes) {
  const struct {
    int code;
    const char* english;
    const char* chinese;
  } cases[] = {
      {0, "success", "操作成功完成"},
      {-1, "General failure", "发生错误"},
      {12345, "General failure", "发生错误"},
      {-2, "General failure", "发生错误"},
      {254, "General failure", "发生错误"},
      {INT_MIN, "General failure", "发生错误"},
      {INT_MAX, "General failure", "发生错误"},
      {-277, "funtion not correspond", "文件传输前后功能码不对应"},
      {-279, "file path dose not exist", "文件路径不存在"},
      {-37, "IK error (too large step)", "单步距离过大，无法计算逆解"},
      {-35, "IK error (out of working space)", "目标点超出运动范围"},
      {-36, "IK error (out of working space)", "目标点超出运动范围"},
      {-41449, "Failed during initialization", "力控指令尚未执行完毕，初始化失败 "},
      {-50002, "move target unreachable", "目标点超出运动范围, 或为奇异点"},
      {-60706, "Failed to meet the joint space interpolation condition",
       "不满足轴空间插补奇异规避的开启条件"},
      {255, "uninitialized nor connect", "未初始化连接机器人"},
      {769, "robot is stopping", "机器人停止中或当前状态无法暂停"},
  };
  for (const auto& c : cases) {
    const std::error_code ec(c.code, category());
    EXPECT_EQ((ScopedLanguage(Language::english), ec.message()), c.english) << c.code;
    EXPECT_EQ((ScopedLanguage(Language::chinese), ec.message()), c.chinese) << c.code;
  }
}

// Each block of codes has the number of codes that the controller's documentation lists.
TEST(ErrorTexts, AreComplete) {
  const struct {
    int from, to, count;
  } blocks[] = {
      {-20, -1, 7},        {-41, -32, 10},         {-273, -257, 6},      {-285, -277, 8},
      {-320, -288, 6},     {-353, -337, 8},        {-515, -513, 3},      {-10141, -10005, 8},
      {-17407, -14010, 6}, {-28711, -28672, 10},   {-41470, -41400, 23}, {-50533, -50000, 41},
      {-60706, -60005, 8}, {255, 273, 19},         {512, 513, 2},        {768, 769, 2},
      {0, 0, 1},           {-100000, 100000, 168},
  };
  for (const auto& block : blocks) {
    int count = 0;
    for (int code = block.from; code <= block.to; ++code) {
      const auto* texts = zivra::internal::textsOfCode(code);
      if (texts == nullptr) continue;
      ++count;
      EXPECT_GT(std::strlen(texts->english), 3u) << code;
      EXPECT_GT(std::strlen(texts->chinese), 3u) << code;
    }
    EXPECT_EQ(count, block.count) << block.from << " to " << block.to;
  }
}

TEST(ErrorCategory, IsOne) {
  const std::error_code ec = Code::timeout;
  EXPECT_EQ(ec.value(), 263);
  EXPECT_EQ(&ec.category(), &category());
  EXPECT_TRUE(ec == Code::timeout);
  EXPECT_FALSE(ec == Code::network);
  EXPECT_FALSE(std::error_code(Code::success));
  EXPECT_STREQ(category().name(), "Ostrel-SDK");
  EXPECT_NE(ec, std::error_code(263, std::generic_category()));
}

template <class E, class Base>
std::unique_ptr<std::exception> thrown() {
  try {
    throw E("x");
  } catch (const Base& caught) {
    return std::make_unique<E>(static_cast<const E&>(caught));
  }
}

TEST(Exceptions, AddUpTheirPrefixes) {
  using namespace zivra;
  const struct {
    std::function<std::unique_ptr<std::exception>()> make;
    const char* english;
    const char* chinese;
  } cases[] = {
      {thrown<Exception, std::exception>, "x", "x"},
      {thrown<ArgumentException, Exception>, "invalidArguments: x", "参数错误: x"},
      {thrown<NetworkException, Exception>, "network: x", "网络异常: x"},
      {thrown<ExecutionException, Exception>, "execute: x", "执行异常: x"},
      {thrown<ProtocolException, ExecutionException>, "execute: protocol: x", "执行异常: 通信协议错误: x"},
      {thrown<RealtimeControlException, Exception>, "realtime: x", "实时模式异常: x"},
      {thrown<RealtimeMotionException, RealtimeControlException>, "realtime: rtMotion: x",
       "实时模式异常: 运动错误: x"},
      {thrown<RealtimeStateException, RealtimeControlException>, "realtime: rtState: x",
       "实时模式异常: 状态错误: x"},
  };
  for (const auto& c : cases) {
    std::unique_ptr<std::exception> english, chinese;
    {
      const ScopedLanguage language(Language::english);
      english = c.make();
    }
    {
      const ScopedLanguage language(Language::chinese);
      chinese = c.make();
      EXPECT_STREQ(english->what(), c.english);  // the text stays as it was made
    }
    EXPECT_STREQ(chinese->what(), c.chinese);
  }
}

TEST(LibraryMessages, AreInTheirPlaces) {
  const struct {
    int index;
    const char* english;
    const char* chinese;
  } cases[] = {
      {static_cast<int>(Message::alreadyReceiving), "Client has already start receiving state data",
       "已开始接收数据"},
      {static_cast<int>(Message::socketNotOpened), "Failed to open UDP socket.", "UDP socket打开失败."},
      {static_cast<int>(Message::receiveFailed), "Failed to receive state data ", "接收机器人状态数据错误 "},
      {static_cast<int>(Message::minimumVersion), "Minimum required Ostrel version ", "Ostrel最低版本要求"},
      {static_cast<int>(Message::robotTypeMismatch),
       "Robot instance type does not match with the connected robot ", "机器人实例类型与连接的机型不符："},
      {static_cast<int>(Message::localAddressInvalid), "Local IPv4 address is invalid",
       "本机IPv4地址设置失败，不能为127.0.0.1或机器人地址"},
      {static_cast<int>(Message::elementCount), "Invalid number of elements, should be 6 or 16",
       "位姿初始化接收6或16个参数"},
      {static_cast<int>(Message::firstUnused), "Motion control mode is incorrect.",
       "运动控制模式错误, 非实时模式."},
      {33, "lowpass-filter: input value to be filtered is infinite NaN.", "滤波错误, 需滤波数据无限大"},
      {34, "", ""},
      {-1, "", ""},
  };
  for (const auto& c : cases) {
    EXPECT_STREQ((ScopedLanguage(Language::english), zivra::internal::libraryMessage(c.index)), c.english);
    EXPECT_STREQ((ScopedLanguage(Language::chinese), zivra::internal::libraryMessage(c.index)), c.chinese);
  }
}

TEST(RealtimeErrors, ThrowTheLowestFlag) {
  const ScopedLanguage language(Language::english);
  std::array<bool, 20> flags{};
  EXPECT_NO_THROW(zivra::throwFirstRtError(flags));
  flags[19] = flags[5] = true;
  try {
    zivra::throwFirstRtError(flags);
    FAIL();
  } catch (const zivra::RealtimeMotionException& e) {
    EXPECT_STREQ(e.what(), "realtime: rtMotion: (5-EStop)");
  }
}

// A text names its flag, so that one in a wrong place shows.
TEST(RealtimeErrors, NameTheirFlags) {
  for (unsigned flag = 0; flag < 20; ++flag) {
    const std::string mark = "(" + std::to_string(flag) + "-";
    for (const Language language : {Language::english, Language::chinese}) {
      const ScopedLanguage scoped(language);
      EXPECT_NE(zivra::rtErrorText(flag).find(mark), std::string::npos) << flag;
    }
  }
  const ScopedLanguage language(Language::chinese);
  EXPECT_EQ(zivra::rtErrorText(5), "急停触发 (5-kEstop)");
  EXPECT_EQ(zivra::rtErrorText(2), "实际臂角超限 (2-kActualCartesianMotionGeneratorElbowLimitViolation)");
  EXPECT_EQ(zivra::rtErrorText(20), "未知错误");
  EXPECT_EQ((ScopedLanguage(Language::english), zivra::rtErrorText(~0u)), "unknown error");
}

}  // namespace
