// What a hostile controller can send: a stream in any pieces, parsed, routed and decoded by everything that
// reads replies.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/json.h"
#include "core/json_text.h"
#include "core/wire_forms.h"
#include "motion_control/move_notice.h"
#include "network/receive_buffer.h"
#include "network/xservice/routing.h"
#include "robot/operation.h"
#include "robot_impl/impl.h"

namespace {

void decode(const Json::Value& message) {
  using namespace zivra;
  using namespace zivra::internal;
  Info info;
  readInfo(message, info);
  bool malformed = false;
  readCartesian(message, &malformed);
  Toolset toolset;
  readToolset(message, toolset);
  operationStateOf(textOr(message));
  if (const auto notice = readNotice(message)) judgeNews(*notice);
  std::error_code ec;
  Reply(ec, message).numbers();
  ec.clear();
  Reply(ec, message).pose();
  ec.clear();
  Reply(ec, message).codeOrData();
}

void route(std::string_view frame) {
  using namespace zivra::internal;
  static JsonParser parser;
  Json::Value message;
  if (!parser.parse(frame, message)) return;
  routeOf(message);
  decode(message);
  for (const auto& member : message.isObject() ? message.getMemberNames() : Json::Value::Members()) {
    decode(message[member]);
  }
  std::string text;
  appendJson(text, message);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  // The first byte says how the stream is cut into pieces.
  const std::size_t piece = data[0] % 64 + 1;
  std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
  zivra::internal::ReceiveBuffer buffer('\r');
  while (!rest.empty()) {
    const auto space = buffer.prepare();
    const std::size_t count = std::min({piece, rest.size(), space.size});
    rest.copy(static_cast<char*>(space.data), count);
    rest.remove_prefix(count);
    buffer.commit(count);
    while (const auto frame = buffer.next()) route(*frame);
  }
  return 0;
}
