#include <string>

#include <zivra/error.h>

#include "core/texts.h"

namespace zivra {
namespace {

constexpr internal::Texts kArgument{"invalidArguments: ", "参数错误: "};
constexpr internal::Texts kNetwork{"network: ", "网络异常: "};
constexpr internal::Texts kExecution{"execute: ", "执行异常: "};
constexpr internal::Texts kProtocol{"protocol: ", "通信协议错误: "};
constexpr internal::Texts kRealtimeControl{"realtime: ", "实时模式异常: "};
constexpr internal::Texts kRealtimeMotion{"rtMotion: ", "运动错误: "};
constexpr internal::Texts kRealtimeState{"rtState: ", "状态错误: "};

}  // namespace

Exception::Exception(const std::string& text) : text_(text) {}
const char* Exception::what() const noexcept { return text_.c_str(); }

ArgumentException::ArgumentException(const std::string& text) : Exception(kArgument.current() + text) {}
NetworkException::NetworkException(const std::string& text) : Exception(kNetwork.current() + text) {}
ExecutionException::ExecutionException(const std::string& text) : Exception(kExecution.current() + text) {}
ProtocolException::ProtocolException(const std::string& text)
    : ExecutionException(kProtocol.current() + text) {}
RealtimeControlException::RealtimeControlException(const std::string& text)
    : Exception(kRealtimeControl.current() + text) {}
RealtimeMotionException::RealtimeMotionException(const std::string& text)
    : RealtimeControlException(kRealtimeMotion.current() + text) {}
RealtimeStateException::RealtimeStateException(const std::string& text)
    : RealtimeControlException(kRealtimeState.current() + text) {}

}  // namespace zivra
